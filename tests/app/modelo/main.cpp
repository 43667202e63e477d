// SPDX-License-Identifier: GPL-3.0-or-later
// Runs every registered test class under one application, inside one fake home made before
// anything reads the environment: GIO fixes the trash's location on its first use, for the
// rest of the process.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QCoreApplication>
#include <QTest>

int main(int argc, char* argv[])
{
    tarrafa::app::teste::Casa::montar();
    QCoreApplication aplicacao(argc, argv);
    int falhas = 0;
    // One class alone when asked (a test run by itself, with its functions named on the
    // command line, which the other classes do not have).
    const QByteArray soEsta = qgetenv("TARRAFA_TESTE_CLASSE");
    for (const auto& fabrica : tarrafa::app::teste::testesRegistrados()) {
        const std::unique_ptr<QObject> teste = fabrica();
        if (!soEsta.isEmpty() && soEsta != teste->metaObject()->className()) {
            continue;
        }
        falhas += QTest::qExec(teste.get(), argc, argv);
    }
    tarrafa::app::teste::Casa::desmontar();
    return falhas == 0 ? 0 : 1;
}

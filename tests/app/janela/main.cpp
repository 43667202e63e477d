// SPDX-License-Identifier: GPL-3.0-or-later
// Runs every registered test class under one application, inside one fake home: GIO reads
// the trash location once per process, so the home cannot change from test to test.
#include "CasaFalsa.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QApplication>
#include <QTemporaryDir>
#include <QTest>

int main(int argc, char* argv[])
{
    QTemporaryDir casa;
    if (!casa.isValid()) {
        qFatal("could not create the fake home");
    }
    tarrafa::app::teste::morarEm(casa.path());

    QApplication aplicacao(argc, argv);
    // As the program's own main does.
    tarrafa::app::aparencia::manterPaletaLegivel();
    int falhas = 0;
    for (const auto& fabrica : tarrafa::app::teste::testesRegistrados()) {
        const std::unique_ptr<QObject> teste = fabrica();
        falhas += QTest::qExec(teste.get(), argc, argv);
    }
    return falhas == 0 ? 0 : 1;
}

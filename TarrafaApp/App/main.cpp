// SPDX-License-Identifier: GPL-3.0-or-later
// Tarrafa: the Downloads folder as an inbox. One model for the whole life of the program,
// one window over it; the model starts the first scan by itself.
#include "TarrafaApp/App/IconeDoAplicativo.hpp"
#include "TarrafaApp/App/InstanciaUnica.hpp"
#include "TarrafaApp/App/JanelaPrincipal.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QApplication>

#include "TarrafaCore/BancoCopiado.hpp"

int main(int argc, char* argv[])
{
    // A session that ends while a scan copies a browser history leaves no copy behind.
    tarrafa::BancoCopiado::removerCopiasAoSinal();
    QApplication aplicacao(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tarrafa"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarrafa"));
    QApplication::setApplicationVersion(QStringLiteral(TARRAFA_VERSAO));
    QGuiApplication::setDesktopFileName(QString::fromLatin1(tarrafa::app::kIdDoAplicativo));
    QApplication::setWindowIcon(tarrafa::app::iconeDoAplicativo());

    // A second launch shows the window already open and ends; should that one not answer,
    // this one opens its own (the decision file keeps what both write).
    tarrafa::app::InstanciaUnica instancia;
    if (instancia.papel() == tarrafa::app::InstanciaUnica::Papel::outraAberta && instancia.ativarAOutra()) {
        return 0;
    }

    tarrafa::app::Modelo modelo;
    // The inbox people keep open: what arrives, changes or goes shows by itself.
    modelo.setAoVivo(true);
    tarrafa::app::JanelaPrincipal janela(modelo);
    QObject::connect(&instancia, &tarrafa::app::InstanciaUnica::ativacaoPedida, &janela, [&janela] {
        janela.setWindowState((janela.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
        janela.show();
        janela.raise();
        janela.activateWindow();
    });
    janela.show();
    return QApplication::exec();
}

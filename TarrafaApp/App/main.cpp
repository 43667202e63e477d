// SPDX-License-Identifier: GPL-3.0-or-later
// Tarrafa: the Downloads folder as an inbox. One model for the whole life of the program,
// one window over it; the model starts the first scan by itself.
#include "TarrafaApp/App/IconeDoAplicativo.hpp"
#include "TarrafaApp/App/InstanciaUnica.hpp"
#include "TarrafaApp/App/JanelaPrincipal.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Barramento.hpp"

#include <QApplication>

#include "TarrafaCore/BancoCopiado.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr const char* kAjuda = "Uso: tarrafa [--help|--version]\n"
                               "Abre a sua pasta Downloads como caixa de entrada: os arquivos agrupados por\n"
                               "origem, cada um com o motivo de talvez ser entulho, para decidir um a um.\n"
                               "Nada é apagado: os arquivos só vão para a Lixeira, depois de perguntar.\n"
                               "  -h, --help  mostra esta ajuda\n"
                               "  --version   mostra a versão\n"
                               "Sem janela, o mesmo está em tarrafa-cli. Mais em man tarrafa.\n";

// The window's life: the single-window check, the model, the window, the event loop. All of it
// is gone, the decisions saved, when this returns.
int executar()
{
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

} // namespace

int main(int argc, char* argv[])
{
    // Answered before any window system is asked for: they work over ssh and in scripts.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(kAjuda, stdout);
            return 0;
        }
        if (std::strcmp(argv[i], "--version") == 0) {
            std::fputs("tarrafa " TARRAFA_VERSAO "\n", stdout);
            return 0;
        }
    }
    // A session that ends while a scan copies a browser history leaves no copy behind.
    tarrafa::BancoCopiado::removerCopiasAoSinal();
    QApplication aplicacao(argc, argv);
    // What Qt did not take as its own (-platform, -style...) is not for us.
    const QStringList argumentos = QApplication::arguments();
    if (argumentos.size() > 1) {
        std::fprintf(stderr, "tarrafa: opção desconhecida: %s\n", qPrintable(argumentos[1]));
        std::fputs("Uso: tarrafa [--help|--version]\n", stderr);
        return 2;
    }
    QApplication::setApplicationName(QStringLiteral("tarrafa"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarrafa"));
    QApplication::setApplicationVersion(QStringLiteral(TARRAFA_VERSAO));
    QGuiApplication::setDesktopFileName(QString::fromLatin1(tarrafa::app::kIdDoAplicativo));
    QApplication::setWindowIcon(tarrafa::app::iconeDoAplicativo());
    // Before anything asks the session bus for something: one that does not answer must not
    // keep the window from opening.
    tarrafa::app::Barramento::conferirSessao();
    // Some themes leave fields with a placeholder that cannot be read: mended here and on
    // every later change of the palette.
    tarrafa::app::aparencia::manterPaletaLegivel();

    const int codigo = executar();
    // A thread still waits on a session bus that never answered; waiting for it at exit would
    // hold the process for as long again. Everything of ours is closed and saved by now.
    if (tarrafa::app::Barramento::sessaoTravada()) {
        std::fflush(nullptr);
        std::_Exit(codigo);
    }
    return codigo;
}

// SPDX-License-Identifier: GPL-3.0-or-later
// How quickly the window answers on a large Downloads folder (10,000 entries, a third of
// them with an origin address): the time from building the window to the first painted
// inbox after the first scan, and the time from one keystroke in the search field to the
// filtered list painted on screen. Runs on the offscreen platform unless another is asked
// for (QT_QPA_PLATFORM=xcb under xvfb-run, for example), in a throw-away fake home.
//
//   responsividade [ENTRADAS] [REPETICOES]
#include "TarrafaApp/App/JanelaPrincipal.hpp"
#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <ctime>
#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace tarrafa::app;

namespace {

void morarEm(const QString& raiz)
{
    const QByteArray casa = QFile::encodeName(raiz);
    qputenv("HOME", casa);
    qputenv("XDG_DATA_HOME", casa + "/.local/share");
    qputenv("XDG_CONFIG_HOME", casa + "/.config");
    qputenv("XDG_CACHE_HOME", casa + "/.cache");
    qputenv("XDG_DATA_DIRS", casa + "/usr/share");
    for (const char* pasta : {"/.local/share", "/.config", "/.cache", "/usr/share"}) {
        QDir().mkpath(raiz + QString::fromLatin1(pasta));
    }
}

// Names as a Downloads folder has them: documents, pictures, copies, opaque hashes.
void gerarPasta(const std::string& pasta, int entradas)
{
    static constexpr std::array<const char*, 12> kModelos = {"relatorio-%d.pdf", "IMG_%d.jpg",
        "Documento (%d).docx", "planilha_%d.xlsx", "%08x.pdf", "fatura-%d.pdf", "apresentacao %d.pptx",
        "Captura de tela %d.png", "contrato_%d_assinado.pdf", "setup-%d.deb", "foto_%d.jpeg", "notas %d.txt"};
    static constexpr std::array<const char*, 8> kServicos = {"https://teams.microsoft.com/f/",
        "https://mail.google.com/m/", "https://drive.google.com/d/", "https://github.com/o/r/releases/",
        "https://web.whatsapp.com/", "https://contoso-my.sharepoint.com/personal/ana_contoso_com/Documents/",
        "https://slack.com/files/", "https://www.dropbox.com/s/"};
    std::mt19937 sorteio(20240521);
    std::uniform_int_distribution<int> tamanho(1000, 50'000'000);
    for (int i = 0; i < entradas; ++i) {
        char nome[64];
        const char* modelo = kModelos[static_cast<std::size_t>(i) % kModelos.size()];
        std::snprintf(nome, sizeof nome, modelo, i);
        const std::string caminho = pasta + "/" + nome;
        const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || ::ftruncate(fd, tamanho(sorteio)) != 0) {
            qFatal("could not create %s", caminho.c_str());
        }
        ::close(fd);
        if (i % 3 == 0) {
            // Eight services and a long tail of 60 plain hosts.
            const int quem = (i / 3) % 68;
            const std::string endereco = quem < 8
                ? std::string(kServicos[static_cast<std::size_t>(quem)]) + nome
                : "https://host" + std::to_string(quem) + ".exemplo.com/" + nome;
            ::setxattr(caminho.c_str(), "user.xdg.origin.url", endereco.data(), endereco.size(), 0);
        }
    }
}

// Waits until a widget inside raiz paints; returns false after five seconds without one.
class EsperaPintura final : public QObject {
public:
    explicit EsperaPintura(QWidget* raiz)
        : raiz_(raiz)
    {
    }

    bool esperar()
    {
        QEventLoop laco;
        laco_ = &laco;
        qApp->installEventFilter(this);
        QTimer limite;
        limite.setSingleShot(true);
        QObject::connect(&limite, &QTimer::timeout, &laco, [&laco] { laco.exit(1); });
        limite.start(5000);
        const int resultado = laco.exec();
        qApp->removeEventFilter(this);
        laco_ = nullptr;
        return resultado == 0;
    }

protected:
    bool eventFilter(QObject* objeto, QEvent* evento) override
    {
        if (evento->type() == QEvent::Paint && laco_) {
            auto* widget = qobject_cast<QWidget*>(objeto);
            if (widget && (widget == raiz_ || raiz_->isAncestorOf(widget)) && raiz_->isVisible()) {
                // Once this paint is done, the frame holds the new content.
                QEventLoop* laco = laco_;
                laco_ = nullptr;
                QTimer::singleShot(0, laco, [laco] { laco->exit(0); });
            }
        }
        return false;
    }

private:
    QWidget* raiz_;
    QEventLoop* laco_ = nullptr;
};

struct Resumo {
    double mediana;
    double minimo;
    double maximo;
};

Resumo resumir(std::vector<double> tempos)
{
    std::sort(tempos.begin(), tempos.end());
    return {tempos[tempos.size() / 2], tempos.front(), tempos.back()};
}

double ms(const QElapsedTimer& relogio)
{
    return static_cast<double>(relogio.nsecsElapsed()) / 1e6;
}

// CPU time this thread has used, in milliseconds.
double cpuDoFio()
{
    timespec t {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QTemporaryDir casa;
    if (!casa.isValid()) {
        qFatal("could not create the fake home");
    }
    morarEm(casa.path());
    QApplication aplicacao(argc, argv);
    const QStringList argumentos = QApplication::arguments();
    const int entradas = argumentos.size() > 1 ? argumentos[1].toInt() : 10'000;
    const int repeticoes = argumentos.size() > 2 ? argumentos[2].toInt() : 15;

    const std::string pasta = casa.path().toStdString() + "/Downloads";
    QDir().mkpath(QString::fromStdString(pasta));
    gerarPasta(pasta, entradas);
    std::printf("pasta: %d entradas, plataforma %s\n", entradas, qPrintable(QGuiApplication::platformName()));

    // From building the window to the inbox painted with the first scan's groups.
    QElapsedTimer relogio;
    relogio.start();
    Modelo modelo(pasta, casa.path() + QStringLiteral("/decisoes.json"));
    QSignalSpy varreduras(&modelo, &Modelo::varreduraTerminada);
    QSignalSpy comparadas(&modelo, &Modelo::duplicatasComparadas);
    JanelaPrincipal janela(modelo);
    janela.resize(1120, 720);
    janela.show();
    const double janelaPronta = ms(relogio);
    if (!varreduras.wait(120000)) {
        qFatal("the first scan did not end");
    }
    const double varreduraPronta = ms(relogio);
    auto* grupos = janela.findChild<QWidget*>(QStringLiteral("listaDeGrupos"));
    if (!grupos || !EsperaPintura(grupos).esperar()) {
        qFatal("the inbox was never painted");
    }
    const double caixaPintada = ms(relogio);
    std::printf("janela construída e mostrada:        %8.1f ms\n", janelaPronta);
    std::printf("primeira varredura terminada:        %8.1f ms\n", varreduraPronta);
    std::printf("caixa de entrada pintada:            %8.1f ms (depois da varredura: %.1f ms)\n",
        caixaPintada, caixaPintada - varreduraPronta);
    // The contents compared in the background (no cache of hashes yet), their badges applied.
    if (comparadas.isEmpty() && !comparadas.wait(600000)) {
        qFatal("the comparison of contents did not end");
    }
    std::printf("cópias comparadas (sem cache):       %8.1f ms (depois da varredura: %.1f ms)\n", ms(relogio),
        ms(relogio) - varreduraPronta);

    // One keystroke, then the painted result. The first letter turns the inbox from group
    // cards into the flat file list; the next ones narrow the list.
    QLineEdit& busca = janela.busca();
    busca.setFocus();
    auto* arquivos = janela.findChild<QWidget*>(QStringLiteral("listaDeArquivos"));
    std::vector<double> primeira;
    std::vector<double> segunda;
    std::vector<double> terceira;
    std::vector<double> apagar;
    for (int i = 0; i < repeticoes; ++i) {
        const auto tecla = [&](Qt::Key codigo, char letra, QWidget* alvo, std::vector<double>& tempos) {
            QElapsedTimer tempo;
            tempo.start();
            QTest::keyClick(&busca, codigo, Qt::NoModifier);
            if (letra != 0 && busca.text().back() != QLatin1Char(letra)) {
                qFatal("the keystroke did not reach the search field");
            }
            if (!EsperaPintura(alvo).esperar()) {
                qFatal("nothing was painted after a keystroke");
            }
            tempos.push_back(ms(tempo));
        };
        tecla(Qt::Key_R, 'r', arquivos, primeira);
        tecla(Qt::Key_E, 'e', arquivos, segunda);
        tecla(Qt::Key_L, 'l', arquivos, terceira);
        tecla(Qt::Key_Backspace, 0, arquivos, apagar);
        busca.clear();
        EsperaPintura(grupos).esperar();
    }
    const auto mostrar = [](const char* nome, const std::vector<double>& tempos) {
        const Resumo r = resumir(tempos);
        std::printf("%-36s %8.1f ms (mín. %.1f, máx. %.1f)\n", nome, r.mediana, r.minimo, r.maximo);
    };
    std::printf("tecla na busca até a lista pintada, mediana de %d:\n", repeticoes);
    mostrar("  \"r\" (grupos -> lista de arquivos)", primeira);
    mostrar("  \"re\"", segunda);
    mostrar("  \"rel\"", terceira);
    mostrar("  apagar (\"rel\" -> \"re\")", apagar);

    // "Adiar" on every row a broad search lists (nearly the whole folder), from the click to
    // the painted list; then Ctrl+Z, the same way.
    busca.setText(QStringLiteral("."));
    EsperaPintura(arquivos).esperar();
    auto* adiar = janela.findChild<QPushButton*>(QStringLiteral("adiar"));
    if (adiar == nullptr) {
        qFatal("no Adiar button");
    }
    std::vector<double> adiando;
    std::vector<double> desfazendo;
    std::size_t linhas = 0;
    for (int i = 0; i < repeticoes; ++i) {
        arquivos->setFocus();
        QTest::keyClick(arquivos, Qt::Key_A, Qt::ControlModifier);
        linhas = modelo.itens(modelo.selecao()).size();
        QElapsedTimer tempo;
        tempo.start();
        QTest::mouseClick(adiar, Qt::LeftButton);
        QCoreApplication::sendPostedEvents();
        EsperaPintura(janela.findChild<QWidget*>(QStringLiteral("painel"))).esperar();
        adiando.push_back(ms(tempo));
        tempo.start();
        QTest::keyClick(&janela, Qt::Key_Z, Qt::ControlModifier);
        QCoreApplication::sendPostedEvents();
        EsperaPintura(arquivos).esperar();
        desfazendo.push_back(ms(tempo));
    }
    std::printf("\"Adiar\" em %zu linhas selecionadas até a tela pintada, mediana de %d:\n", linhas, repeticoes);
    mostrar("  Adiar", adiando);
    mostrar("  Ctrl+Z", desfazendo);

    // The live folder: one file written and closed, to the model updated by the watcher (a
    // quarter of a second of calm included) and to the inbox painted; and what that update
    // cost the interface thread.
    busca.clear();
    EsperaPintura(grupos).esperar();
    modelo.setAoVivo(true);
    modelo.varrer();
    if (!varreduras.wait(120000)) {
        qFatal("the scan that starts the watch did not end");
    }
    if (!comparadas.wait(120000)) {
        qFatal("the comparison after the scan did not end");
    }
    QSignalSpy mudancas(&modelo, &Modelo::mudancasAplicadas);
    std::vector<double> ateOModelo;
    std::vector<double> ateAPintura;
    std::vector<double> cpuDaInterface;
    std::vector<double> cpuComComparacao;
    for (int i = 0; i < repeticoes; ++i) {
        const std::string caminho = pasta + "/chegou agora " + std::to_string(i) + ".pdf";
        const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0 || ::write(fd, "%PDF", 4) != 4) {
            qFatal("could not write a new file");
        }
        const double cpuAntes = cpuDoFio();
        QElapsedTimer tempo;
        tempo.start();
        ::close(fd);
        const qsizetype antes = mudancas.count();
        while (mudancas.count() == antes) {
            if (!mudancas.wait(5000)) {
                qFatal("the watcher did not report a new file");
            }
        }
        ateOModelo.push_back(ms(tempo));
        cpuDaInterface.push_back(cpuDoFio() - cpuAntes);
        EsperaPintura(grupos).esperar();
        ateAPintura.push_back(ms(tempo));
        // The comparison the change sets off, a moment later, and its badges.
        const qsizetype comparacoes = comparadas.count();
        while (comparadas.count() == comparacoes) {
            if (!comparadas.wait(5000)) {
                qFatal("the comparison after a change did not end");
            }
        }
        cpuComComparacao.push_back(cpuDoFio() - cpuAntes);
        ::unlink(caminho.c_str());
        const qsizetype depois = mudancas.count();
        while (mudancas.count() == depois && mudancas.wait(5000)) {
        }
        const qsizetype depoisDeSair = comparadas.count();
        while (comparadas.count() == depoisDeSair && comparadas.wait(5000)) {
        }
    }
    std::printf("arquivo novo fechado, mediana de %d:\n", repeticoes);
    mostrar("  até o modelo atualizado", ateOModelo);
    mostrar("  até a caixa de entrada pintada", ateAPintura);
    mostrar("  CPU da linha da interface", cpuDaInterface);
    mostrar("  CPU da linha da interface, com a comparação de conteúdos", cpuComComparacao);
    modelo.concluirGravacoes();
    return 0;
}

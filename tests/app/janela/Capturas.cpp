// SPDX-License-Identifier: GPL-3.0-or-later
// Renders the window over a made-up Downloads folder into PNG pictures, one per screen:
// the inbox, one group with two files selected, the postponed list, the diagnostics, the
// details pane for a PDF, a photo and an installer, the Trash question, and the two placeholders (nothing found, folder unreadable). Everything happens in a fake
// home; nothing real is read or moved.
//
//   tarrafa_capturas PASTA_DE_SAIDA
#include "Ajudantes.hpp"
#include "CasaFalsa.hpp"
#include "Downloads.hpp"

#include "TarrafaApp/App/IconeDoAplicativo.hpp"
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"
#include "TarrafaApp/Painel/Detalhes.hpp"
#include "TarrafaApp/Painel/Previa.hpp"
#include "TarrafaApp/Painel/Revelar.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QAbstractButton>
#include <QApplication>
#include <QCryptographicHash>
#include <QLinearGradient>
#include <QDeadlineTimer>
#include <QDir>
#include <QIcon>
#include <QFile>
#include <QPainter>
#include <QPalette>
#include <QUndoStack>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

const std::string kTeams = "https://teams.microsoft.com/l/file/";
const std::string kAna = "https://contoso-my.sharepoint.com/personal/ana_souza_contoso_com/Documents/";
const std::string kFinanceiro = "https://contoso.sharepoint.com/sites/financeiro/Shared%20Documents/";
const std::string kGmail = "https://mail.google.com/mail/u/0/";
const std::string kGitHub = "https://github.com/exemplo/projeto/releases/download/";
const std::string kDrive = "https://drive.google.com/file/d/";
const std::string kWhatsApp = "https://web.whatsapp.com/";
const std::string kGov = "https://www.gov.br/receitafederal/";
const std::string kSiteDoExemplo = "https://arquivos.exemplo.com.br/";

constexpr std::int64_t KB = 1000;
constexpr std::int64_t MB = 1000 * KB;

// A Downloads folder like many: a few busy origins, a tail of single hosts, installers,
// screenshots, copies and names that say nothing.
std::vector<Arquivo> pastaDeExemplo()
{
    return {
        {.nome = "Ata da reunião de planejamento.docx",
            .tamanho = 84 * KB,
            .origem = kTeams,
            .baixadoHaDias = 3,
            .usadoHaDias = 2},
        {.nome = "Apresentação Q3 final.pptx", .tamanho = 12 * MB, .origem = kTeams, .baixadoHaDias = 20},
        {.nome = "Apresentação Q3 final (1).pptx", .tamanho = 12 * MB, .origem = kTeams, .baixadoHaDias = 19},
        {.nome = "Cronograma.xlsx",
            .tamanho = 230 * KB,
            .origem = kTeams,
            .baixadoHaDias = 41,
            .usadoHaDias = 40},
        {.nome = "Orçamento 2025.xlsx",
            .tamanho = 410 * KB,
            .origem = kAna + "orcamento.xlsx",
            .baixadoHaDias = 12},
        {.nome = "Planilha de custos.xlsx",
            .tamanho = 180 * KB,
            .origem = kAna + "custos.xlsx",
            .baixadoHaDias = 33,
            .usadoHaDias = 30},
        {.nome = "Relatório mensal de março.pdf",
            .tamanho = 2400 * KB,
            .origem = kFinanceiro + "marco.pdf",
            .baixadoHaDias = 64},
        {.nome = "boleto-condominio.pdf", .tamanho = 96 * KB, .origem = kGmail, .baixadoHaDias = 8},
        {.nome = "comprovante.pdf", .tamanho = 120 * KB, .origem = kGmail, .baixadoHaDias = 15},
        {.nome = "comprovante (2).pdf", .tamanho = 121 * KB, .origem = kGmail, .baixadoHaDias = 14},
        {.nome = "IMG_4821.jpg", .tamanho = 3100 * KB, .origem = kGmail, .baixadoHaDias = 90},
        {.nome = "IMG_4822.jpg", .tamanho = 2900 * KB, .origem = kGmail, .baixadoHaDias = 90},
        {.nome = "Convite aniversário da Helena - versão para impressão em alta resolução.pdf",
            .tamanho = 5200 * KB,
            .origem = kGmail,
            .baixadoHaDias = 120,
            .usadoHaDias = 118},
        {.nome = "projeto-v2.3.1.tar.gz",
            .tamanho = 38 * MB,
            .origem = kGitHub + "v2.3.1/projeto.tar.gz",
            .baixadoHaDias = 50},
        {.nome = "ferramenta_1.4.0_amd64.deb",
            .tamanho = 64 * MB,
            .origem = kGitHub + "v1.4.0/ferramenta.deb",
            .baixadoHaDias = 52},
        {.nome = "Inkscape-1.3.2-x86_64.AppImage", .tamanho = 180 * MB, .baixadoHaDias = 200},
        {.nome = "Contrato assinado.pdf",
            .tamanho = 890 * KB,
            .origem = kDrive + "contrato",
            .baixadoHaDias = 25,
            .usadoHaDias = 24},
        {.nome = "Documento sem título.docx",
            .tamanho = 45 * KB,
            .origem = kDrive + "doc",
            .baixadoHaDias = 70},
        {.nome = "WhatsApp Image 2025-03-02 at 10.15.32.jpeg",
            .tamanho = 420 * KB,
            .origem = kWhatsApp,
            .baixadoHaDias = 28},
        {.nome = "WhatsApp Audio 2025-03-01 at 18.02.11.ogg",
            .tamanho = 160 * KB,
            .origem = kWhatsApp,
            .baixadoHaDias = 29},
        {.nome = "declaracao-irpf-2025.pdf",
            .tamanho = 350 * KB,
            .origem = kGov + "irpf.pdf",
            .baixadoHaDias = 150,
            .usadoHaDias = 149},
        {.nome = "download.pdf",
            .tamanho = 77 * KB,
            .origem = kSiteDoExemplo + "download.pdf",
            .baixadoHaDias = 300},
        {.nome = "a7f3c9e1b2d4.pdf",
            .tamanho = 1300 * KB,
            .origem = kSiteDoExemplo + "compartilhado/a7f3c9e1b2d4.pdf?token=9f8e7d6c5b4a3f2e&expira=1735689600",
            .baixadoHaDias = 310},
        {.nome = "file.zip", .tamanho = 14 * MB, .origem = kSiteDoExemplo + "file.zip", .baixadoHaDias = 320},
        {.nome = "Captura de tela de 2025-03-10 14-22-01.png",
            .tamanho = 640 * KB,
            .baixadoHaDias = 9,
            .captura = true},
        {.nome = "Captura de tela de 2025-03-11 09-05-44.png",
            .tamanho = 580 * KB,
            .baixadoHaDias = 8,
            .captura = true},
        {.nome = "notas.txt", .tamanho = 3 * KB, .baixadoHaDias = 400, .usadoHaDias = 10},
        {.nome = "Fotos da viagem", .baixadoHaDias = 180, .pasta = true},
    };
}

// What a desktop thumbnailer leaves for a PDF: the first page, small, in the shared cache,
// with the file's URI and modification time written in the picture.
void escreverMiniaturaDePdf(const std::string& caminho)
{
    QImage pagina(181, 256, QImage::Format_ARGB32);
    pagina.fill(Qt::white);
    QPainter p(&pagina);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(QRect(16, 18, 120, 12), QColor(0x1f, 0x4e, 0x79));
    p.fillRect(QRect(16, 38, 80, 6), QColor(0x9b, 0xa7, 0xb4));
    for (int y = 60; y < 236; y += 11) {
        const int largura = (y / 11) % 4 == 3 ? 96 : 149;
        p.fillRect(QRect(16, y, largura, 5), QColor(0xc8, 0xcf, 0xd6));
    }
    p.setPen(QColor(0xd0, 0xd0, 0xd0));
    p.drawRect(pagina.rect().adjusted(0, 0, -1, -1));
    p.end();
    struct stat info {};
    ::stat(caminho.c_str(), &info);
    const QByteArray uri = uriDoArquivo(caminho).toLatin1();
    pagina.setText(QStringLiteral("Thumb::URI"), QString::fromUtf8(uri));
    pagina.setText(QStringLiteral("Thumb::MTime"), QString::number(static_cast<qint64>(info.st_mtime)));
    const QString pasta = Previa::pastaDasMiniaturas() + QStringLiteral("/large");
    QDir().mkpath(pasta);
    pagina.save(pasta + QLatin1Char('/')
            + QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex())
            + QStringLiteral(".png"),
        "PNG");
}

// A photo: sky, sea and sun, as a camera would save it.
void escreverFoto(const std::string& caminho)
{
    QImage foto(1600, 1200, QImage::Format_RGB32);
    QPainter p(&foto);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient ceu(0, 0, 0, 700);
    ceu.setColorAt(0, QColor(0x3a, 0x7b, 0xd5));
    ceu.setColorAt(1, QColor(0xf6, 0xc1, 0x8b));
    p.fillRect(QRect(0, 0, 1600, 700), ceu);
    p.setBrush(QColor(0xff, 0xe0, 0x8a));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPoint(1120, 560), 130, 130);
    QLinearGradient mar(0, 700, 0, 1200);
    mar.setColorAt(0, QColor(0x1c, 0x6e, 0x8c));
    mar.setColorAt(1, QColor(0x0b, 0x3a, 0x53));
    p.fillRect(QRect(0, 700, 1600, 500), mar);
    p.setBrush(QColor(0xe9, 0xd6, 0xa8));
    p.drawEllipse(QRect(-300, 1000, 1200, 500));
    p.end();
    foto.save(QString::fromStdString(caminho), "JPEG", 88);
}

bool salvar(const QPixmap& imagem, const QString& pasta, const char* nome)
{
    const QString caminho = pasta + QLatin1Char('/') + QString::fromLatin1(nome);
    if (!imagem.save(caminho, "PNG")) {
        std::fprintf(stderr, "não consegui gravar %s\n", qPrintable(caminho));
        return false;
    }
    std::printf("%s\n", qPrintable(caminho));
    return true;
}

// The window with the dialog drawn over it where a window-modal dialog sits: centred near
// the top, the window a little dimmed behind it.
QPixmap comDialogo(JanelaPrincipal& janela, QWidget& dialogo)
{
    QPixmap imagem = janela.grab();
    QPainter pintor(&imagem);
    pintor.fillRect(imagem.rect(), QColor(0, 0, 0, 40));
    const QPixmap caixa = dialogo.grab();
    const QSize tamanho = caixa.deviceIndependentSize().toSize();
    const QPoint canto((janela.width() - tamanho.width()) / 2, janela.height() / 4);
    pintor.setPen(QColor(0, 0, 0, 70));
    pintor.drawRect(QRect(canto, tamanho).adjusted(-1, -1, 0, 0));
    pintor.drawPixmap(canto, caixa);
    return imagem;
}

} // namespace

int main(int argc, char* argv[])
{
    QTemporaryDir casa;
    if (!casa.isValid()) {
        qFatal("could not create the fake home");
    }
    morarEm(casa.path());
    QApplication aplicacao(argc, argv);
    const QStringList argumentos = QApplication::arguments();
    if (argumentos.size() != 2) {
        std::fprintf(stderr, "uso: tarrafa_capturas PASTA_DE_SAIDA\n");
        return 2;
    }
    const QString saida = QDir(argumentos[1]).absolutePath();
    QDir().mkpath(saida);

    Downloads cenario;
    const std::vector<Arquivo> arquivos = pastaDeExemplo();
    cenario.criarTodos(arquivos);
    cenario.decisoes({{cenario.pasta() + "/Cronograma.xlsx", "adiado"},
        {cenario.pasta() + "/Orçamento 2025.xlsx", "adiado"}, {cenario.pasta() + "/notas.txt", "adiado"},
        {cenario.pasta() + "/declaracao-irpf-2025.pdf", "resolvido"}});

    QApplication::setWindowIcon(iconeDoAplicativo());
    JanelaDeTeste t(cenario);
    t.modelo->setAoVivo(true); // as the application runs: downloads under way show by themselves
    t.janela->resize(1120, 720);
    if (!t.abrir()) {
        std::fprintf(stderr, "a varredura não terminou\n");
        return 1;
    }
    Painel& painel = t.janela->painel();
    const auto mostrar = [&](const Destino& destino) {
        t.modelo->setSelecao(destino);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    };
    bool ok = true;

    mostrar(Destino::entrada());
    ok = salvar(t.janela->grab(), saida, "caixa-de-entrada.png") && ok;

    mostrar(Destino::grupo("gmail"));
    std::set<std::string> dois
        = {cenario.pasta() + "/comprovante.pdf", cenario.pasta() + "/comprovante (2).pdf"};
    painel.selecao().setSelecionados(dois);
    QCoreApplication::processEvents();
    ok = salvar(t.janela->grab(), saida, "grupo.png") && ok;

    auto* mover = painel.findChild<QAbstractButton*>(QStringLiteral("moverParaLixeira"));
    if (mover) {
        mover->click();
    } else {
        painel.selecao().setConfirmandoLixeira(true);
    }
    if (ConfirmacaoLixeira* pergunta = painel.confirmacao()) {
        ok = QTest::qWaitForWindowExposed(pergunta) && ok;
        ok = salvar(comDialogo(*t.janela, *pergunta), saida, "confirmacao.png") && ok;
        ok = salvar(pergunta->grab(), saida, "confirmacao-dialogo.png") && ok;
        pergunta->reject();
    } else {
        std::fprintf(stderr, "a pergunta da Lixeira não apareceu\n");
        ok = false;
    }

    mostrar(Destino::adiados());
    ok = salvar(t.janela->grab(), saida, "adiados.png") && ok;

    // The group that holds postponed files lists them, dimmed, with their state.
    for (const tarrafa::GrupoOrigem& grupo : t.modelo->grupos()) {
        const auto& itens = grupo.itens();
        if (std::any_of(itens.begin(), itens.end(),
                [&](const tarrafa::ItemTriado& item) { return t.modelo->decisao(item.id()) == tarrafa::Decisao::adiado; })) {
            mostrar(Destino::grupo(grupo.origem().chave()));
            ok = salvar(t.janela->grab(), saida, "grupo-com-adiados.png") && ok;
            // And the notice after an action, which offers to undo it.
            std::vector<std::string> novos;
            for (const tarrafa::ItemTriado& item : itens) {
                if (t.modelo->decisao(item.id()) == tarrafa::Decisao::novo && novos.size() < 2) {
                    novos.push_back(item.id());
                }
            }
            t.modelo->decidir(novos, tarrafa::Decisao::adiado);
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents();
            ok = salvar(t.janela->grab(), saida, "aviso-de-desfazer.png") && ok;
            t.modelo->pilhaDeDesfazer().undo();
            break;
        }
    }

    // "Resolvidos" with files in the Trash, at the window's narrowest and at its usual width,
    // in both palettes, a row chosen so that the bar's actions are lit.
    {
        const std::vector<tarrafa::ItemTriado> todos = t.modelo->itensTodos();
        std::vector<tarrafa::ItemTriado> paraALixeira;
        std::copy_if(todos.begin(), todos.end(), std::back_inserter(paraALixeira),
            [&](const tarrafa::ItemTriado& item) { return dois.contains(item.id()); });
        const int antes = static_cast<int>(t.varreduras->count());
        t.modelo->moverParaLixeira(paraALixeira);
        ok = t.esperarVarreduras(antes + 1) && ok;
        const QPalette clara = QApplication::palette();
        for (const bool escura : {false, true}) {
            if (escura) {
                QApplication::setPalette(paletaEscura());
            }
            for (const int largura : {640, 1080}) {
                t.janela->resize(largura, 720);
                mostrar(Destino::resolvidos());
                const std::vector<tarrafa::ItemTriado> resolvidos = t.modelo->itens(Destino::resolvidos());
                if (!resolvidos.empty()) {
                    painel.selecao().setSelecionados({resolvidos.front().id()});
                }
                QCoreApplication::processEvents();
                const std::string nome = "resolvidos-" + std::to_string(largura) + (escura ? "-escura" : "-clara") + ".png";
                ok = salvar(t.janela->grab(), saida, nome.c_str()) && ok;
            }
        }
        QApplication::setPalette(clara);
        painel.selecao().setSelecionados({});
        t.janela->resize(1120, 720);
        QCoreApplication::processEvents();
    }

    // The same inbox in a dark palette.
    {
        const QPalette clara = QApplication::palette();
        QApplication::setPalette(paletaEscura());
        mostrar(Destino::entrada());
        ok = salvar(t.janela->grab(), saida, "escura.png") && ok;
        QApplication::setPalette(clara);
        QCoreApplication::processEvents();
    }

    mostrar(Destino::raioX());
    ok = salvar(t.janela->grab(), saida, "raio-x.png") && ok;

    // The details pane: a PDF the desktop already made a thumbnail of, reached through a
    // signed link from a page; a photo, decoded here; an installer, shown by its type's icon.
    {
        const std::string pdf = cenario.pasta() + "/a7f3c9e1b2d4.pdf";
        const std::string pagina = kSiteDoExemplo + "compartilhado/?pasta=contabilidade";
        ::setxattr(pdf.c_str(), "user.xdg.referrer.url", pagina.data(), pagina.size(), 0);
        escreverFoto(cenario.pasta() + "/IMG_4821.jpg");
        escreverMiniaturaDePdf(pdf);
        const int antes = static_cast<int>(t.varreduras->count());
        t.modelo->varrer();
        ok = t.esperarVarreduras(antes + 1) && ok;
        // As on a desktop, file types have their icons from a theme: Adwaita's file-type icons
        // alone, so that the sidebar keeps the symbols every other picture shows.
        const QStringList caminhosDosTemas = QIcon::themeSearchPaths();
        const QString tema = QIcon::themeName();
        const QTemporaryDir temas;
        QDir().mkpath(temas.path() + QStringLiteral("/Tipos/48x48"));
        QFile::link(QStringLiteral("/usr/share/icons/Adwaita/48x48/mimetypes"),
            temas.path() + QStringLiteral("/Tipos/48x48/mimetypes"));
        QFile indice(temas.path() + QStringLiteral("/Tipos/index.theme"));
        if (indice.open(QIODevice::WriteOnly)) {
            indice.write("[Icon Theme]\nName=Tipos\nDirectories=48x48/mimetypes\n\n[48x48/mimetypes]\nSize=48\n"
                         "Context=MimeTypes\nType=Scalable\nMinSize=16\nMaxSize=256\n");
            indice.close();
        }
        QIcon::setThemeSearchPaths({temas.path()});
        QIcon::setThemeName(QStringLiteral("Tipos"));
        const auto detalharUm = [&](const Destino& destino, const std::string& nome, const char* arquivo) {
            mostrar(destino);
            QSignalSpy pronta(&painel.detalhes(), &Detalhes::previaPronta);
            painel.selecao().setSelecionados({cenario.pasta() + "/" + nome});
            bool veio = pronta.count() > 0 || pronta.wait(10000);
            // Until nothing more comes: the watcher and the comparison of contents may still
            // bring the same file with news.
            while (veio && pronta.wait(500)) {
            }
            QCoreApplication::processEvents();
            if (!veio || !painel.detalhes().item() || painel.detalhes().item()->nome() != nome) {
                std::fprintf(stderr, "os detalhes de %s não apareceram\n", nome.c_str());
                return false;
            }
            return salvar(t.janela->grab(), saida, arquivo);
        };
        ok = detalharUm(Destino::grupo("host:arquivos.exemplo.com.br"), "a7f3c9e1b2d4.pdf", "detalhes-pdf.png") && ok;
        ok = painel.detalhes().fonteDaPrevia() == Previa::Fonte::miniatura && ok;
        ok = detalharUm(Destino::grupo("gmail"), "IMG_4821.jpg", "detalhes-imagem.png") && ok;
        ok = painel.detalhes().fonteDaPrevia() == Previa::Fonte::imagem && ok;
        ok = detalharUm(Destino::grupo("_instaladores"), "ferramenta_1.4.0_amd64.deb", "detalhes-instalador.png") && ok;
        painel.selecao().setSelecionados({});
        QIcon::setThemeSearchPaths(caminhosDosTemas);
        QIcon::setThemeName(tema);
    }

    // Two downloads under way (Chromium's, and Firefox's pair of files), then done.
    cenario.criar({.nome = "Apresentação do trimestre.pptx.crdownload", .tamanho = 3'400'000});
    cenario.criar({.nome = "aula-gravada.mp4", .tamanho = 0});
    cenario.criar({.nome = "aula-gravada.mp4.part", .tamanho = 180'000'000});
    const auto esperarBaixando = [&](std::size_t quantos) {
        QDeadlineTimer prazo(10000);
        while (t.modelo->baixando().size() != quantos && !prazo.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        }
        return t.modelo->baixando().size() == quantos;
    };
    mostrar(Destino::entrada());
    ok = esperarBaixando(3) && ok;
    mostrar(Destino::entrada());
    ok = salvar(t.janela->grab(), saida, "baixando.png") && ok;
    for (const char* nome : {"Apresentação do trimestre.pptx.crdownload", "aula-gravada.mp4", "aula-gravada.mp4.part"}) {
        QFile::remove(QString::fromStdString(cenario.pasta() + "/" + nome));
    }
    ok = esperarBaixando(0) && ok;

    // The two placeholders: a search that finds nothing, then a folder that cannot be read.
    mostrar(Destino::entrada());
    t.modelo->setBusca(QStringLiteral("orçamento de 2019"));
    QCoreApplication::sendPostedEvents();
    ok = salvar(t.janela->grab(), saida, "nada-aqui.png") && ok;
    t.modelo->setBusca(QString());
    QDir(QString::fromStdString(cenario.pasta())).removeRecursively();
    const int antesDoErro = static_cast<int>(t.varreduras->count());
    t.modelo->varrer();
    ok = t.esperarVarreduras(antesDoErro + 1) && salvar(t.janela->grab(), saida, "erro.png") && ok;

    // A Downloads folder turned off (pointing at the home): said, not scanned.
    Modelo semDownloads(QFile::encodeName(casa.path()).toStdString(), casa.path() + QStringLiteral("/d7.json"));
    QSignalSpy fim(&semDownloads, &Modelo::varreduraTerminada);
    JanelaPrincipal desligada(semDownloads);
    desligada.resize(1120, 720);
    desligada.show();
    ok = (fim.count() > 0 || fim.wait(20000)) && ok;
    QCoreApplication::processEvents();
    ok = salvar(desligada.grab(), saida, "nao-configurada.png") && ok;
    return ok ? 0 : 1;
}

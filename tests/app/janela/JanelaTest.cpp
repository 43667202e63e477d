// SPDX-License-Identifier: GPL-3.0-or-later
// The window's frame: sizes, the split view, the toolbar, the search field, the menu
// command and the keyboard shortcuts.
#include "Ajudantes.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"
#include "TarrafaApp/Painel/FaixaResumo.hpp"
#include "TarrafaApp/Painel/LinhaGrupo.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/Painel.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"

#include <QAction>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QImage>
#include <QLabel>
#include <QApplication>
#include <QFontMetrics>
#include <QScopeGuard>
#include <QTest>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <map>
namespace tarrafa::app::teste {

namespace {


QMenu* menuArquivo(JanelaPrincipal& janela)
{
    for (QAction* acao : janela.menuBar()->actions()) {
        if (acao->menu() && acao->text() == QStringLiteral("&Arquivo")) {
            return acao->menu();
        }
    }
    return nullptr;
}

// WCAG's relative luminance of an opaque colour.
double luminancia(QColor cor)
{
    const auto canal = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * canal(cor.redF()) + 0.7152 * canal(cor.greenF()) + 0.0722 * canal(cor.blueF());
}

// The contrast of text drawn in a region of a screenshot: its ground is the commonest colour
// there, its ink the colour farthest from it in luminance (the strokes' full colour).
double contrasteDoTexto(const QImage& imagem, const QRect& regiao)
{
    std::map<QRgb, int> contagem;
    for (int y = regiao.top(); y <= regiao.bottom(); ++y) {
        for (int x = regiao.left(); x <= regiao.right(); ++x) {
            ++contagem[imagem.pixel(x, y)];
        }
    }
    const QRgb fundo = std::max_element(contagem.begin(), contagem.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
    })->first;
    const double lFundo = luminancia(QColor(fundo));
    double melhor = 1;
    for (const auto& [cor, vezes] : contagem) {
        const double l = luminancia(QColor(cor));
        melhor = std::max(melhor, (std::max(l, lFundo) + 0.05) / (std::min(l, lFundo) + 0.05));
    }
    return melhor;
}


} // namespace

class JanelaTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void janelaVaiAte640Por480ENaoMenosEOConteudoCabe()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QWidget* conteudo = t.janela->centralWidget();
        QCOMPARE(t.janela->minimumSize(), QSize(640, 480));
        // What the content needs fits in that: nothing is cut off at the smallest size.
        QVERIFY(conteudo->minimumSizeHint().width() <= 640);
        t.janela->resize(400, 300);
        QTRY_COMPARE(t.janela->size(), QSize(640, 480));
        QVERIFY(conteudo->width() >= conteudo->minimumSizeHint().width());
        QVERIFY(conteudo->height() >= conteudo->minimumSizeHint().height());
    }

    void barraLateralComecaCom236EFicaEntre160E280()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        auto* divisao = t.janela->findChild<QSplitter*>(QStringLiteral("divisao"));
        QVERIFY(divisao);
        BarraLateral& barra = t.janela->barraLateral();
        QCOMPARE(barra.width(), 236);

        // Dragging the divider far to the right stops at 280, far to the left at 160.
        QWidget* alca = divisao->handle(1);
        const QPoint meio = alca->rect().center();
        QTest::mousePress(alca, Qt::LeftButton, {}, meio);
        QTest::mouseMove(alca, meio + QPoint(300, 0));
        QTest::mouseRelease(alca, Qt::LeftButton, {}, meio + QPoint(300, 0));
        QTRY_COMPARE(barra.width(), 280);
        QTest::mousePress(alca, Qt::LeftButton, {}, meio);
        QTest::mouseMove(alca, meio - QPoint(300, 0));
        QTest::mouseRelease(alca, Qt::LeftButton, {}, meio - QPoint(300, 0));
        QTRY_COMPARE(barra.width(), 160);

        // The handle is wide enough to be grabbed.
        QVERIFY(divisao->handleWidth() >= 5);

        // A wider window widens the panel, not the sidebar.
        t.janela->resize(t.janela->width() + 200, t.janela->height());
        QTRY_COMPARE(barra.width(), 160);
        QVERIFY(!divisao->isCollapsible(0) || !divisao->childrenCollapsible());
    }

    void mostrarAJanelaNaoComecaOutraVarredura()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QCOMPARE(t.varreduras->count(), 1);
        t.janela->hide();
        t.janela->show();
        QVERIFY(QTest::qWaitForWindowExposed(t.janela.get()));
        QCoreApplication::sendPostedEvents();
        QVERIFY(!t.modelo->carregando());
        QCOMPARE(t.varreduras->count(), 1);
    }

    void cadaTeclaNaBuscaMudaABusca()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QLineEdit& busca = t.janela->busca();
        QCOMPARE(busca.objectName(), QStringLiteral("busca"));
        QCOMPARE(busca.placeholderText(), QStringLiteral("Buscar por nome de arquivo"));

        QSignalSpy mudancas(t.modelo.get(), &Modelo::buscaChanged);
        QTest::keyClicks(&busca, QStringLiteral("rel"));
        QCOMPARE(mudancas.count(), 3);
        QCOMPARE(t.modelo->busca(), QStringLiteral("rel"));
        QTest::keyClick(&busca, Qt::Key_Backspace);
        QCOMPARE(t.modelo->busca(), QStringLiteral("re"));

        // And the field shows a search set elsewhere.
        t.modelo->setBusca(QStringLiteral("outra"));
        QCOMPARE(busca.text(), QStringLiteral("outra"));
    }

    void escapeLimpaABuscaEBrancosNaoViramListaSolta()
    {
        Downloads cenario;
        cenario.criar({.nome = "Relatório anual.pdf", .origem = "https://arquivos.exemplo.com.br/x"});
        cenario.criar({.nome = "foto.jpg", .origem = "https://arquivos.exemplo.com.br/y"});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QLineEdit& busca = t.janela->busca();
        auto* cartoes = t.janela->findChild<QWidget*>(QStringLiteral("listaDeGrupos"));
        QVERIFY(cartoes);
        QTRY_VERIFY(cartoes->isVisible());

        // Without the accent, as people type.
        busca.setFocus();
        QTest::keyClicks(&busca, QStringLiteral("relatorio"));
        const std::vector<ItemTriado> achados = t.modelo->itens(Destino::entrada());
        QCOMPARE(achados.size(), std::size_t(1));
        QCOMPARE(achados.front().nome(), std::string("Relatório anual.pdf"));
        QTRY_VERIFY(!cartoes->isVisible());

        QTest::keyClick(&busca, Qt::Key_Escape);
        QCOMPARE(busca.text(), QString());
        QCOMPARE(t.modelo->busca(), QString());
        QTRY_VERIFY(cartoes->isVisible());

        // One blank looks like an empty field, and is one: the groups stay.
        QTest::keyClick(&busca, Qt::Key_Space);
        QCOMPARE(t.modelo->busca(), QStringLiteral(" "));
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY(cartoes->isVisible());
        QCOMPARE(t.modelo->itens(Destino::entrada()).size(), std::size_t(2));
    }

    void menusPeloTecladoEContrasteDeTextosSecundariosNasPaletasClaraEEscura()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const QPalette original = QApplication::palette();
        for (const bool escura : {false, true}) {
            if (escura) {
                QApplication::setPalette(paletaEscura());
            }
            JanelaDeTeste t(cenario);
            QVERIFY(t.abrir());
            QCoreApplication::processEvents();
            // A dark palette gives a dark window.
            QCOMPARE(t.janela->palette().color(QPalette::Window).lightnessF() < 0.5, escura);

            // "Origens" above the groups, and "nenhum selecionado" over a group's list.
            BarraLateral& barra = t.janela->barraLateral();
            QModelIndex cabecalho;
            for (int linha = 0; linha < barra.model()->rowCount(); ++linha) {
                if (barra.model()->index(linha, 0).data().toString() == QStringLiteral("Origens")) {
                    cabecalho = barra.model()->index(linha, 0);
                }
            }
            QVERIFY(cabecalho.isValid());
            QVERIFY(clicarLinha(barra, Destino::grupo("host:arquivos.exemplo.com.br")));
            auto* contagem = t.janela->findChild<QLabel*>(QStringLiteral("contagemSelecionados"));
            QTRY_VERIFY(contagem && contagem->isVisible());
            const QImage tela = t.janela->grab().toImage();
            const QRect noCabecalho(barra.viewport()->mapTo(t.janela.get(), barra.visualRect(cabecalho).topLeft()),
                barra.visualRect(cabecalho).size());
            const QRect naContagem(contagem->mapTo(t.janela.get(), QPoint(0, 0)), contagem->size());
            const double noSidebar = contrasteDoTexto(tela, noCabecalho);
            const double naBarra = contrasteDoTexto(tela, naContagem);
            QVERIFY2(noSidebar >= 4.5, qPrintable(QStringLiteral("Origens: %1:1").arg(noSidebar)));
            QVERIFY2(naBarra >= 4.5, qPrintable(QStringLiteral("nenhum selecionado: %1:1").arg(naBarra)));
            capturar(*t.janela, escura ? QStringLiteral("janela-escura") : QStringLiteral("janela-clara"));

            // The menus from the keyboard: mnemonics, and F10 opens the first.
            QStringList titulos;
            for (QAction* acao : t.janela->menuBar()->actions()) {
                titulos << acao->text();
            }
            QCOMPARE(titulos,
                (QStringList {QStringLiteral("&Arquivo"), QStringLiteral("&Editar"), QStringLiteral("Açõe&s"),
                    QStringLiteral("Aj&uda")}));
            QTest::keyClick(t.janela.get(), Qt::Key_F10);
            QTRY_VERIFY(t.janela->menuBar()->activeAction() != nullptr);
            QCOMPARE(t.janela->menuBar()->activeAction()->text(), QStringLiteral("&Arquivo"));
            QTest::keyClick(t.janela->menuBar(), Qt::Key_Escape);
        }
        QApplication::setPalette(original);
    }

    void chipsCartoesLinhasEsmaecidasESelecionadasEBuscaLegiveisNasPaletasClaraEEscura()
    {
        Downloads cenario;
        // Sizes of their own: no file is an identical copy of another here.
        cenario.criar({.nome = "contrato (1).pdf", .tamanho = 1001, .origem = kExemplo}); // an orange chip
        cenario.criar({.nome = "planilha.xlsx",
            .tamanho = 1002,
            .origem = kExemplo,
            .baixadoHaDias = 10,
            .usadoHaDias = 2}); // a green one, on the row that will be selected
        cenario.criar({.nome = "relatorio.odt",
            .tamanho = 1005,
            .origem = kExemplo,
            .baixadoHaDias = 10,
            .usadoHaDias = 3}); // a green one, unselected
        const std::string adiado = cenario.criar({.nome = "ata.docx", .tamanho = 1003, .origem = kExemplo});
        cenario.criar({.nome = "foto.jpg", .tamanho = 1004, .origem = "https://outro.exemplo.org/x"});
        const QPalette original = QApplication::palette();
        // Put back even when a check fails half-way: the next tests expect the light palette.
        const auto restaurar = qScopeGuard([&original] { QApplication::setPalette(original); });
        for (const bool escura : {false, true}) {
            if (escura) {
                // A dark theme that sets the text colours and leaves the placeholder the light
                // palette's half-black, as several do.
                QPalette tema = paletaEscura();
                tema.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128));
                QApplication::setPalette(tema);
            }
            const QString paleta = escura ? QStringLiteral("escura") : QStringLiteral("clara");
            JanelaDeTeste t(cenario);
            QVERIFY(t.abrir());
            t.modelo->decidir({adiado}, Decisao::adiado);
            QWidget* janela = t.janela.get();
            std::vector<std::pair<QString, QRect>> medidas;
            const auto medir = [&](const QString& oque, QWidget* onde, const QRect& regiao) {
                medidas.emplace_back(oque, QRect(onde->mapTo(janela, regiao.topLeft()), regiao.size()));
            };
            // Every region measured, and what fell short of 4.5:1.
            const auto abaixoDoMinimo = [&](const QImage& tela) {
                QStringList abaixo;
                for (const auto& [oque, regiao] : medidas) {
                    if (regiao.isEmpty() || !tela.rect().contains(regiao)) {
                        abaixo << oque + QStringLiteral(": fora da tela");
                        continue;
                    }
                    const double razao = contrasteDoTexto(tela, regiao);
                    qInfo("%s, paleta %s: %.2f:1", qPrintable(oque), qPrintable(paleta), razao);
                    if (razao < 4.5) {
                        abaixo << QStringLiteral("%1: %2:1").arg(oque).arg(razao, 0, 'f', 2);
                    }
                }
                medidas.clear();
                return abaixo.join(QStringLiteral("; "));
            };

            // The inbox: the search field's placeholder, the summary's small lines, the cards.
            QLineEdit& busca = t.janela->busca();
            QVERIFY(busca.text().isEmpty());
            // Past the magnifier, over the placeholder's words.
            const int larguraDoTexto = QFontMetrics(busca.font()).horizontalAdvance(busca.placeholderText());
            medir(QStringLiteral("busca vazia"), &busca,
                QRect(30, 4, std::min(larguraDoTexto, busca.width() - 40), busca.height() - 8));
            auto* cartoes = t.janela->findChild<CartoesDeGrupos*>();
            QVERIFY(cartoes);
            QTRY_VERIFY(cartoes->isVisible() && cartoes->model()->rowCount() >= 1);
            for (int linha = 0; linha < cartoes->model()->rowCount(); ++linha) {
                QStyleOptionViewItem opcao;
                opcao.initFrom(cartoes->viewport());
                opcao.rect = cartoes->visualRect(cartoes->model()->index(linha, 0));
                const LinhaGrupo::Disposicao d = cartoes->delegado().dispor(opcao, cartoes->model()->index(linha, 0));
                medir(QStringLiteral("resumo do cartão %1").arg(linha), cartoes->viewport(), d.resumo);
                medir(QStringLiteral("unidade do cartão %1").arg(linha), cartoes->viewport(), d.unidade);
            }
            const int alturaDoSub = QFontMetrics(aparencia::fonte(aparencia::kLegendaMenor)).height();
            int celulas = 0;
            for (QWidget* celula : t.janela->findChildren<QWidget*>()) {
                if (celula->objectName().startsWith(QStringLiteral("celula")) && celula->isVisible()) {
                    // The cell's last line, the small one under the big number.
                    medir(QStringLiteral("linha pequena da %1").arg(celula->objectName()), celula,
                        QRect(14, celula->height() - 10 - alturaDoSub, celula->width() - 28, alturaDoSub));
                    ++celulas;
                }
            }
            QVERIFY(celulas > 0);
            const QImage entrada = janela->grab().toImage();
            capturar(*janela, QStringLiteral("contraste-entrada-") + paleta);
            const QString naEntrada = abaixoDoMinimo(entrada);
            QVERIFY2(naEntrada.isEmpty(), qPrintable(paleta + QStringLiteral(": ") + naEntrada));

            // A group's files: coloured chips, a postponed row, a selected row.
            BarraLateral& barra = t.janela->barraLateral();
            QVERIFY(clicarLinha(barra, Destino::grupo("host:arquivos.exemplo.com.br")));
            auto* lista = t.janela->findChild<ListaDeArquivos*>(QStringLiteral("listaDeArquivos"));
            QVERIFY(lista);
            QTRY_VERIFY(lista->isVisible() && lista->model()->rowCount() == 4);
            const auto linhaDoArquivo = [&](const QString& nome) {
                for (int linha = 0; linha < lista->model()->rowCount(); ++linha) {
                    if (lista->model()->index(linha, 0).data().toString() == nome) {
                        return linha;
                    }
                }
                return -1;
            };
            const int selecionada = linhaDoArquivo(QStringLiteral("planilha.xlsx"));
            QVERIFY(selecionada >= 0);
            QTest::mouseClick(lista->viewport(), Qt::LeftButton, {},
                lista->visualRect(lista->model()->index(selecionada, 0)).center());
            QTRY_VERIFY(lista->selectionModel()->isSelected(lista->model()->index(selecionada, 0)));
            QTRY_COMPARE(lista->model()->index(linhaDoArquivo(QStringLiteral("ata.docx")), 0)
                             .data(ModeloDeArquivos::PapelEstado).toString(),
                QStringLiteral("Adiado"));
            // Away from the rows, so no hover changes their ground.
            QTest::mouseMove(janela, QPoint(1, 1));
            QCoreApplication::processEvents();
            int chips = 0;
            for (int linha = 0; linha < lista->model()->rowCount(); ++linha) {
                const QModelIndex indice = lista->model()->index(linha, 0);
                QStyleOptionViewItem opcao;
                opcao.initFrom(lista->viewport());
                opcao.rect = lista->visualRect(indice);
                const DelegadoDeArquivos::Disposicao d = lista->delegado().dispor(opcao, indice);
                const QString nome = indice.data().toString() + (linha == selecionada ? QStringLiteral(" (selecionada)") : QString());
                for (std::size_t i = 0; i < d.selos.size(); ++i) {
                    // Inside the pill, over its words.
                    medir(QStringLiteral("chip \"%1\" de %2").arg(d.rotulos[i], nome), lista->viewport(),
                        d.selos[i].adjusted(6, 2, -6, -2));
                    ++chips;
                }
                medir(QStringLiteral("tamanho de %1").arg(nome), lista->viewport(), d.tamanho);
                medir(QStringLiteral("nome de %1").arg(nome), lista->viewport(), d.nome);
            }
            QVERIFY(chips >= 4);
            const QImage grupo = janela->grab().toImage();
            capturar(*janela, QStringLiteral("contraste-grupo-") + paleta);
            const QString noGrupo = abaixoDoMinimo(grupo);
            QVERIFY2(noGrupo.isEmpty(), qPrintable(paleta + QStringLiteral(": ") + noGrupo));
        }
    }

    void contagensComSeparadorDeMilharNaBarraLateralENoResumo()
    {
        Downloads cenario;
        cenario.criarVarios(1001, "nota", kExemplo);
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        QTRY_COMPARE(linhaDe(barra, Destino::entrada()).data(Qt::AccessibleTextRole).toString(),
            QStringLiteral("Caixa de entrada, 1.001"));
        QCOMPARE(linhaDe(barra, Destino::grupo("host:arquivos.exemplo.com.br")).data(Qt::AccessibleTextRole).toString(),
            QStringLiteral("arquivos.exemplo.com.br, 1.001"));
        auto* faixa = t.janela->findChild<FaixaResumo*>();
        QVERIFY(faixa);
        QTRY_VERIFY(!faixa->celulas().empty());
        QCOMPARE(faixa->celulas().front().valor, QStringLiteral("1.001"));
        auto* subtitulo = t.janela->findChild<QLabel*>(QStringLiteral("subtituloDoPainel"));
        QVERIFY(subtitulo);
        QTRY_VERIFY2(subtitulo->text().startsWith(QStringLiteral("1.001 itens")), qPrintable(subtitulo->text()));
        QCOMPARE(aparencia::contagem(100000), QStringLiteral("100.000"));
        QCOMPARE(aparencia::contagem(999), QStringLiteral("999"));
        QCOMPARE(aparencia::contagem(1234567), QStringLiteral("1.234.567"));
    }

    void focoDoTecladoNaBarraLateralAparece()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        BarraLateral& barra = t.janela->barraLateral();
        const QColor realce = barra.palette().color(QPalette::Active, QPalette::Highlight);
        // Adiados: not selected. Count the highlight-coloured pixels of its row.
        const QModelIndex adiados = linhaDe(barra, Destino::adiados());
        QVERIFY(adiados.isValid());
        const auto pixelsDeRealce = [&] {
            const QImage imagem = barra.viewport()->grab(barra.visualRect(adiados)).toImage();
            int quantos = 0;
            for (int y = 0; y < imagem.height(); ++y) {
                for (int x = 0; x < imagem.width(); ++x) {
                    const QColor cor = imagem.pixelColor(x, y);
                    quantos += std::abs(cor.red() - realce.red()) + std::abs(cor.green() - realce.green())
                            + std::abs(cor.blue() - realce.blue()) < 40;
                }
            }
            return quantos;
        };
        barra.clearFocus();
        QCoreApplication::processEvents();
        const int semFoco = pixelsDeRealce();
        barra.setFocus(Qt::TabFocusReason);
        barra.selectionModel()->setCurrentIndex(adiados, QItemSelectionModel::NoUpdate);
        QTRY_VERIFY(barra.hasFocus());
        const int comFoco = pixelsDeRealce();
        QVERIFY2(comFoco > semFoco + 50, qPrintable(QStringLiteral("%1 vs %2").arg(comFoco).arg(semFoco)));
    }

    void menuArquivoVarreDeNovoComF5ECtrlRSempreHabilitado()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        QMenu* arquivo = menuArquivo(*t.janela);
        QVERIFY(arquivo);
        QAction* varrer = arquivo->actions().value(0);
        QVERIFY(varrer);
        QCOMPARE(varrer->text(), QStringLiteral("&Varrer de novo"));
        QCOMPARE(varrer->shortcuts(), (QList<QKeySequence> {QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)}));
        QVERIFY(varrer->isEnabled());

        varrer->trigger();
        QVERIFY(t.modelo->carregando());
        QVERIFY(varrer->isEnabled());
        QVERIFY(t.esperarVarreduras(2));
        QVERIFY(varrer->isEnabled());

        auto* botao = t.janela->findChild<QToolButton*>(QStringLiteral("varrerDeNovo"));
        QVERIFY(botao);
        QVERIFY(!botao->icon().isNull());
        QCOMPARE(botao->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    }

    void ctrlFLevaABusca()
    {
        Downloads cenario;
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        t.janela->barraLateral().setFocus();
        t.modelo->setBusca(QStringLiteral("antiga"));
        QTest::keyClick(t.janela.get(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(t.janela->busca().hasFocus());
        QCOMPARE(t.janela->busca().selectedText(), QStringLiteral("antiga"));
        // Typing replaces the whole old search.
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("nova"));
        QCOMPARE(t.modelo->busca(), QStringLiteral("nova"));
    }

    void ctrlASelecionaTodosOsArquivosDaLista()
    {
        Downloads cenario;
        const std::string a = cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        const std::string b = cenario.criar({.nome = "b.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();

        // The inbox as groups lists no files: nothing to select.
        t.janela->barraLateral().setFocus();
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QVERIFY(painel.selecao().selecionados().empty());

        QVERIFY(clicarLinha(t.janela->barraLateral(), Destino::grupo("host:arquivos.exemplo.com.br")));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);
        QTest::keyClick(t.janela.get(), Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(painel.selecao().selecionados(), (std::set<std::string> {a, b}));
    }

    void naBuscaCtrlAEDeleteEditamOTexto()
    {
        Downloads cenario;
        cenario.criar({.nome = "a.pdf", .origem = kExemplo});
        JanelaDeTeste t(cenario);
        QVERIFY(t.abrir());
        Painel& painel = t.janela->painel();
        QLineEdit& busca = t.janela->busca();
        busca.setFocus();
        QTest::keyClicks(&busca, QStringLiteral("a.p"));
        QTRY_VERIFY(painel.conteudo() == Conteudo::arquivos);

        QTest::keyClick(&busca, Qt::Key_A, Qt::ControlModifier);
        QCOMPARE(busca.selectedText(), QStringLiteral("a.p"));
        QVERIFY(painel.selecao().selecionados().empty());

        busca.setCursorPosition(0);
        painel.selecao().setSelecionados({cenario.pasta() + "/a.pdf"});
        QTest::keyClick(&busca, Qt::Key_Delete);
        QCOMPARE(busca.text(), QStringLiteral(".p"));
        QVERIFY(!painel.selecao().confirmandoLixeira());
        QVERIFY(!painel.confirmacao());
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::JanelaTest;
TARRAFA_REGISTRAR_TESTE(JanelaTest)

#include "JanelaTest.moc"

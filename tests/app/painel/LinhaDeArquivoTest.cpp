// SPDX-License-Identifier: GPL-3.0-or-later
// How a row of the file list is drawn: names cut in the middle, badges folded into "+N" (never
// the identical-copy one), their colours and pills, the symbol and the size at the end.
#include "Bancada.hpp"
#include "Downloads.hpp"

#include "TarrafaApp/Painel/Revelar.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"
#include "TarrafaApp/Painel/DelegadoDeArquivos.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Detalhes.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"
#include "TarrafaApp/Painel/SeloView.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <filesystem>

namespace tarrafa::app::teste {

namespace {






// Two colours differ by no more than a rounding step in any channel.
bool quaseIgual(const QColor& a, const QColor& b)
{
    return std::abs(a.red() - b.red()) <= 3 && std::abs(a.green() - b.green()) <= 3
        && std::abs(a.blue() - b.blue()) <= 3;
}

QColor sobre(const QColor& frente, const QColor& fundo)
{
    const float a = frente.alphaF();
    return QColor::fromRgbF(frente.redF() * a + fundo.redF() * (1 - a),
        frente.greenF() * a + fundo.greenF() * (1 - a), frente.blueF() * a + fundo.blueF() * (1 - a));
}

} // namespace

class LinhaDeArquivoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void copiaIdenticaNuncaViraMaisN()
    {
        Downloads downloads;
        // The same bytes (both files are zeros of one size): the newer is an identical copy.
        downloads.criar({.nome = "contrato.pdf", .tamanho = 4242, .origem = kOrigem, .baixadoHaDias = 5});
        const std::string id = downloads.criar({.nome = "proposta-comercial-revisada-para-o-cliente-final.pdf",
            .tamanho = 4242,
            .origem = kOrigem,
            .baixadoHaDias = 3});
        auto modelo = downloads.modeloNovo();
        QSignalSpy comparadas(modelo.get(), &Modelo::duplicatasComparadas);
        QVERIFY(comparadas.wait(60000));
        modelo->decidir({id}, Decisao::adiado); // its state is a chip too
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const int linha = b.linhaDe("proposta-comercial-revisada-para-o-cliente-final.pdf");
        const QModelIndex indice = b.lista->model()->index(linha, 0);
        const QStringList selos = indice.data(ModeloDeArquivos::PapelSelos).toStringList();
        const QString copia = QStringLiteral("cópia idêntica de contrato.pdf");
        QVERIFY2(selos.contains(copia) && selos.size() >= 2, qPrintable(selos.join(QLatin1Char(','))));
        // The item badges it after the others; the list's model puts it first.
        QCOMPARE(selos.front(), copia);
        const std::vector<ItemTriado> todos = modelo->itensTodos();
        const ItemTriado item = *std::find_if(todos.begin(), todos.end(), [&](const ItemTriado& i) { return i.id() == id; });
        QCOMPARE(item.selos().back().caso(), Selo::Caso::copiaIdentica);

        // At every width where some chips are folded into "+N" but others still show, the
        // copy's is among those shown.
        int dobradas = 0;
        for (int largura = 1200; largura >= 300; largura -= 10) {
            QStyleOptionViewItem opcao;
            opcao.initFrom(b.lista->viewport());
            opcao.rect = b.lista->visualRect(indice);
            opcao.rect.setWidth(largura);
            const DelegadoDeArquivos::Disposicao d = b.lista->delegado().dispor(opcao, indice);
            if (d.mais.isEmpty() || d.rotulos.size() < 2) {
                continue;
            }
            ++dobradas;
            QCOMPARE(d.rotulos.front(), QStringLiteral("Adiado"));
            QVERIFY2(std::find(d.rotulos.begin(), d.rotulos.end(), copia) != d.rotulos.end(),
                qPrintable(QStringLiteral("%1 px: %2").arg(largura).arg(QStringList(d.rotulos.begin(), d.rotulos.end()).join(QLatin1Char(',')))));
        }
        QVERIFY(dobradas > 0);
    }

    void nomeDoOriginalNaCopiaIdenticaNaoReordenaOTexto()
    {
        Downloads downloads;
        // Reads "faturaexe.pdf" where direction marks are obeyed.
        const std::string original = "fatura\u202Efdp.exe";
        downloads.criar({.nome = original, .tamanho = 777, .origem = kOrigem, .baixadoHaDias = 5});
        const std::string id = downloads.criar({.nome = "copia.pdf", .tamanho = 777, .origem = kOrigem, .baixadoHaDias = 3});
        auto modelo = downloads.modeloNovo();
        QSignalSpy comparadas(modelo.get(), &Modelo::duplicatasComparadas);
        QVERIFY(comparadas.wait(60000));
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const QModelIndex indice = b.lista->model()->index(b.linhaDe("copia.pdf"), 0);
        const QString esperado = QStringLiteral("cópia idêntica de fatura\\u202efdp.exe");
        QVERIFY2(indice.data(ModeloDeArquivos::PapelSelos).toStringList().contains(esperado),
            qPrintable(indice.data(ModeloDeArquivos::PapelSelos).toStringList().join(QLatin1Char(','))));
        for (const int papel : {int(Qt::ToolTipRole), int(Qt::AccessibleTextRole)}) {
            const QString texto = indice.data(papel).toString();
            QVERIFY2(!texto.contains(QChar(0x202E)) && texto.contains(esperado), qPrintable(texto));
        }
        const std::vector<ItemTriado> todos = modelo->itensTodos();
        const auto item = std::find_if(todos.begin(), todos.end(), [&](const ItemTriado& i) { return i.id() == id; });
        QVERIFY(item != todos.end());
        for (const Selo& selo : item->selos()) {
            QVERIFY(!rotuloNaJanela(selo).contains(QChar(0x202E)));
            QVERIFY(!SeloView(selo).rotulo().contains(QChar(0x202E)));
        }
        // And the details pane, for the copy and for the original.
        Detalhes detalhes(*modelo);
        detalhes.mostrar(*item);
        const auto* copiaDe = detalhes.findChild<QLabel*>(QStringLiteral("copiaDe"));
        QVERIFY(copiaDe);
        QCOMPARE(copiaDe->text().remove(QChar(0x200B)), esperado);
        const auto doOriginal = std::find_if(todos.begin(), todos.end(), [&](const ItemTriado& i) { return i.nome() == original; });
        QVERIFY(doOriginal != todos.end());
        detalhes.mostrar(*doOriginal);
        const auto* nome = detalhes.findChild<QLabel*>(QStringLiteral("nomeNosDetalhes"));
        QVERIFY(nome);
        QCOMPARE(nome->text(), QStringLiteral("fatura\\u202efdp.exe"));
    }

    void selosQueNaoCabemViramMaisNEODicaListaTodos()
    {
        Downloads downloads;
        const std::string nome = "proposta-comercial-revisada-para-o-cliente-versao-final (1).pdf";
        const std::string id = downloads.criar({.nome = nome, .origem = kOrigem, .baixadoHaDias = 3});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        modelo->decidir({id}, Decisao::adiado); // its state is a chip too
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const QStringList selos = b.lista->model()->index(0, 0).data(ModeloDeArquivos::PapelSelos).toStringList();
        QVERIFY2(selos.size() >= 2, qPrintable(selos.join(QLatin1Char(','))));
        const std::size_t chips = static_cast<std::size_t>(selos.size()) + 1;
        b.janela.resize(1000, 300);
        QTRY_COMPARE(b.lista->viewport()->width(), 1000);
        QCOMPARE(disposicao(b, 0).rotulos.size(), chips);
        QVERIFY(disposicao(b, 0).mais.isEmpty());

        // A row too narrow for them all: the chips that do not fit are counted, never dropped.
        QStyleOptionViewItem opcao;
        opcao.initFrom(b.lista->viewport());
        opcao.rect = b.lista->visualRect(b.lista->model()->index(0, 0));
        opcao.rect.setWidth(380);
        const DelegadoDeArquivos::Disposicao d = b.lista->delegado().dispor(opcao, b.lista->model()->index(0, 0));
        QVERIFY(d.rotulos.size() < chips);
        QCOMPARE(d.rotulos.front(), QStringLiteral("Adiado"));
        QCOMPARE(d.mais, QStringLiteral("+") + QString::number(chips - d.rotulos.size()));
        QVERIFY(!d.selosAMais.isNull());
        QVERIFY(d.selosAMais.right() < d.tamanho.left());
        b.janela.resize(b.janela.minimumWidth(), 300);
        capturar(b.janela, QStringLiteral("arquivos-selos-a-mais"));
        const QString dica = b.lista->model()->index(0, 0).data(Qt::ToolTipRole).toString();
        for (const QString& selo : selos) {
            QVERIFY2(dica.contains(selo), qPrintable(dica));
        }
    }

    void nomeMuitoLongoECortadoNoMeio()
    {
        Downloads downloads;
        const std::string longo = "Relatorio-trimestral-consolidado-da-diretoria-financeira-com-anexos-"
                                  "e-demonstrativos-de-resultados-versao-revisada-pelo-conselho-final.pdf";
        downloads.criar({.nome = longo, .origem = kOrigem});
        downloads.criar({.nome = "curto.pdf", .origem = kOrigem});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        capturar(b.janela, QStringLiteral("arquivos-nome-longo"));

        const QString nome = QString::fromStdString(longo);
        const DelegadoDeArquivos::Disposicao d = disposicao(b, b.linhaDe(longo));
        const QString visivel = d.nomeVisivel;
        QVERIFY2(visivel.contains(QChar(0x2026)), qPrintable(visivel));
        QVERIFY(visivel.size() < nome.size());
        // Its start and its extension both remain.
        QVERIFY2(visivel.startsWith(QStringLiteral("Relatorio-tri")), qPrintable(visivel));
        QVERIFY2(visivel.endsWith(QStringLiteral("final.pdf")), qPrintable(visivel));
        QVERIFY(!visivel.endsWith(QChar(0x2026)));
        // Nothing overlaps: name, then chips, then the size at the far end.
        QVERIFY(d.nome.right() < d.tamanho.left());
        for (const QRect& selo : d.selos) {
            QVERIFY(selo.left() > d.nome.right());
            QVERIFY(selo.right() < d.tamanho.left());
        }

        // A short name is whole, and the narrower the list the more is cut, always inside.
        QCOMPARE(disposicao(b, b.linhaDe("curto.pdf")).nomeVisivel, QStringLiteral("curto.pdf"));
        b.janela.resize(420, 300);
        QTRY_COMPARE(b.lista->viewport()->width(), b.janela.width());
        const QString estreito = disposicao(b, b.linhaDe(longo)).nomeVisivel;
        QVERIFY(estreito.size() < visivel.size());
        QVERIFY(estreito.endsWith(QStringLiteral(".pdf")));
        capturar(b.janela, QStringLiteral("arquivos-nome-longo-estreito"));
    }

    void pastaMostraPastaEODemaisDocumento()
    {
        Downloads downloads;
        downloads.criar({.nome = "fotos-da-viagem", .origem = kOrigem, .pasta = true});
        downloads.criar({.nome = "roteiro.pdf", .origem = kOrigem});
        downloads.criar({.nome = "sem-extensao", .origem = kOrigem});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const auto simboloDe = [&](const char* nome) {
            return b.lista->model()
                ->index(b.linhaDe(nome), 0)
                .data(ModeloDeArquivos::PapelSimbolo)
                .toString();
        };
        QCOMPARE(simboloDe("fotos-da-viagem"), QStringLiteral("folder"));
        QCOMPARE(simboloDe("roteiro.pdf"), QStringLiteral("doc"));
        QCOMPARE(simboloDe("sem-extensao"), QStringLiteral("doc"));

        // And that is what is drawn at the start of each row.
        const QImage tela = b.lista->viewport()->grab().toImage();
        const auto recorte = [&](const char* nome) {
            const QRect r = disposicao(b, b.linhaDe(nome)).simbolo;
            return tela.copy(
                QRect(r.topLeft() * tela.devicePixelRatio(), r.size() * tela.devicePixelRatio()));
        };
        QVERIFY(recorte("fotos-da-viagem") != recorte("roteiro.pdf"));
        QCOMPARE(recorte("roteiro.pdf"), recorte("sem-extensao"));
        capturar(b.janela, QStringLiteral("arquivos-pasta-e-documentos"));
    }

    void selosColoridosPeloTom()
    {
        Downloads downloads;
        // A copy (orange), a file opened on a day (green), a series (blue), and badges in grey.
        downloads.criar({.nome = "proposta comercial (1).pdf", .origem = kOrigem, .baixadoHaDias = 3});
        downloads.criar(
            {.nome = "ata-de-reuniao.docx", .origem = kOrigem, .baixadoHaDias = 9, .usadoHaDias = 2});
        downloads.criar({.nome = "extrato-janeiro.pdf", .origem = kOrigem, .baixadoHaDias = 4});
        downloads.criar({.nome = "extrato-janeiro.xlsx", .origem = kOrigem, .baixadoHaDias = 4});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        capturar(b.janela, QStringLiteral("arquivos-selos"));

        const QImage tela = b.lista->viewport()->grab().toImage();
        const QPalette paleta = b.lista->viewport()->palette();
        const QColor fundo = paleta.color(QPalette::Base);
        std::set<Selo::Tom> vistos;
        for (int linha = 0; linha < b.lista->model()->rowCount(); ++linha) {
            const QModelIndex indice = b.lista->model()->index(linha, 0);
            const QVariantList tons = indice.data(ModeloDeArquivos::PapelTons).toList();
            const DelegadoDeArquivos::Disposicao d = disposicao(b, linha);
            QCOMPARE(d.selos.size(), std::size_t(tons.size()));
            for (std::size_t i = 0; i < d.selos.size(); ++i) {
                const auto tom = static_cast<Selo::Tom>(tons[qsizetype(i)].toInt());
                vistos.insert(tom);
                // Left of the text, inside the pill: the tone at 0.16 over the row.
                const QColor cor = aparencia::corDoTom(tom, paleta, QPalette::Text);
                const QPoint ponto(d.selos[i].left() + 4, d.selos[i].center().y());
                const QColor visto = tela.pixelColor(ponto * tela.devicePixelRatio());
                const QColor esperado
                    = sobre(aparencia::comOpacidade(cor, aparencia::kOpacidadeDoFundoDoSelo), fundo);
                QVERIFY2(quaseIgual(visto, esperado),
                    qPrintable(indice.data().toString() + QStringLiteral(": ") + visto.name()
                        + QStringLiteral(" != ") + esperado.name()));
            }
        }
        QCOMPARE(vistos,
            (std::set<Selo::Tom> {Selo::Tom::neutro, Selo::Tom::aviso, Selo::Tom::ok, Selo::Tom::info}));
        QCOMPARE(aparencia::corDoTom(Selo::Tom::aviso, paleta), aparencia::laranja(paleta));
        QCOMPARE(aparencia::corDoTom(Selo::Tom::ok, paleta), aparencia::verde(paleta));
        QCOMPARE(aparencia::corDoTom(Selo::Tom::info, paleta), aparencia::azul(paleta));
        QCOMPARE(aparencia::corDoTom(Selo::Tom::neutro, paleta), aparencia::secundaria(paleta));
    }

    void seloSozinhoTemAMesmaPilula()
    {
        QWidget fundo;
        fundo.setAutoFillBackground(true);
        auto* linha = new QHBoxLayout(&fundo);
        std::vector<SeloView*> selos;
        for (const Selo& selo : {Selo::nuncaAberto(), Selo::sufixoDeCopia(), Selo::instaladorUsado(),
                 Selo::pareceRelacionado(2)}) {
            selos.push_back(new SeloView(selo, &fundo));
            linha->addWidget(selos.back());
        }
        fundo.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fundo));
        capturar(fundo, QStringLiteral("selos"));
        const QImage imagem = fundo.grab().toImage();
        for (SeloView* vista : selos) {
            QCOMPARE(vista->rotulo(), QString::fromStdString(vista->selo().rotulo()));
            QCOMPARE(vista->size(), chip::tamanho(QFontMetrics(chip::fonte()), vista->rotulo()));
            const QColor cor = aparencia::corDoTom(vista->selo().tom(), fundo.palette());
            const QPoint ponto = vista->geometry().topLeft() + QPoint(4, vista->height() / 2);
            const QColor esperado = sobre(aparencia::comOpacidade(cor, aparencia::kOpacidadeDoFundoDoSelo),
                fundo.palette().color(QPalette::Window));
            QVERIFY(quaseIgual(imagem.pixelColor(ponto * imagem.devicePixelRatio()), esperado));
        }
        QVERIFY(selos[1]->rotulo() == QStringLiteral("sufixo de cópia"));
    }

    void tamanhoNoFimDaLinha()
    {
        Downloads downloads;
        downloads.criar({.nome = "video.mp4", .tamanho = 1500000, .origem = kOrigem});
        const auto modelo = downloads.modelo();
        QVERIFY(modelo);
        Bancada b(*modelo, kGrupo);
        QVERIFY(b.exposta());
        const QModelIndex indice = b.lista->model()->index(0, 0);
        QCOMPARE(indice.data(ModeloDeArquivos::PapelTamanho).toString(), QStringLiteral("1,5 MB"));
        const DelegadoDeArquivos::Disposicao d = disposicao(b, 0);
        const QRect linha = b.lista->visualRect(indice);
        // Right-aligned, inside the row's rounded highlight.
        QVERIFY(d.tamanho.right() < linha.right());
        QVERIFY(d.tamanho.right() > linha.right() - 40);
        QVERIFY(d.fundo.contains(d.tamanho));
    }
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::LinhaDeArquivoTest;
TARRAFA_REGISTRAR_TESTE(LinhaDeArquivoTest)

#include "LinhaDeArquivoTest.moc"

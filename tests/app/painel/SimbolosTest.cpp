// SPDX-License-Identifier: GPL-3.0-or-later
// Symbols: every name the screens use shows something, from the icon theme when it has the
// icon, from our own drawings (SVG files in the resources) when it does not (or when there is
// no theme at all).
#include "Paleta.hpp"
#include "Registro.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QDir>
#include <QFile>
#include <QFontInfo>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTest>

#include <algorithm>

namespace tarrafa::app::teste {

namespace {

int pixelsVisiveis(const QImage& imagem)
{
    int visiveis = 0;
    for (int y = 0; y < imagem.height(); ++y) {
        for (int x = 0; x < imagem.width(); ++x) {
            if (qAlpha(imagem.pixel(x, y)) > 32) {
                ++visiveis;
            }
        }
    }
    return visiveis;
}

QString arquivoDoDesenho(const QString& nome)
{
    return QStringLiteral(":/tarrafa/simbolos/%1.svg").arg(nome);
}

// Pixels that are not of the colour, once their coverage is taken into account: every drawn
// pixel of a one-colour symbol is the colour at some opacity. Compared premultiplied, as the
// pixmap stores them, with one step of rounding allowed.
int pixelsDeOutraCor(const QImage& imagem, const QColor& cor)
{
    const QImage premultiplicada = imagem.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    int outras = 0;
    for (int y = 0; y < premultiplicada.height(); ++y) {
        for (int x = 0; x < premultiplicada.width(); ++x) {
            const QRgb pixel = premultiplicada.pixel(x, y);
            const QRgb esperado = qPremultiply(qRgba(cor.red(), cor.green(), cor.blue(), qAlpha(pixel)));
            if (std::abs(qRed(pixel) - qRed(esperado)) > 1 || std::abs(qGreen(pixel) - qGreen(esperado)) > 1
                || std::abs(qBlue(pixel) - qBlue(esperado)) > 1) {
                ++outras;
            }
        }
    }
    return outras;
}

// The coverage alone: what the drawing's shape is, whatever its colour.
QImage alfa(const QImage& imagem)
{
    return imagem.convertToFormat(QImage::Format_ARGB32).convertToFormat(QImage::Format_Alpha8);
}

// Every symbol name the panels and the sidebar ask for.
const QStringList kUsados {QStringLiteral("tray.full"), QStringLiteral("clock"),
    QStringLiteral("checkmark.circle"), QStringLiteral("chart.bar.doc.horizontal"),
    QStringLiteral("questionmark.circle"), QStringLiteral("shippingbox"),
    QStringLiteral("person.crop.square"), QStringLiteral("bubble.left.and.bubble.right"),
    QStringLiteral("chevron.left.forwardslash.chevron.right"), QStringLiteral("externaldrive"),
    QStringLiteral("envelope"), QStringLiteral("globe"), QStringLiteral("arrow.clockwise"),
    QStringLiteral("exclamationmark.triangle"), QStringLiteral("tray"), QStringLiteral("info.circle"),
    QStringLiteral("folder"), QStringLiteral("doc"), QStringLiteral("chevron.right")};

} // namespace

class SimbolosTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        temaAnterior_ = QIcon::themeName();
        caminhosAnteriores_ = QIcon::themeSearchPaths();
    }

    void cleanup()
    {
        QIcon::setThemeSearchPaths(caminhosAnteriores_);
        QIcon::setThemeName(temaAnterior_);
    }

    void semTemaTodoSimboloAparece()
    {
        QIcon::setThemeSearchPaths({});
        QIcon::setThemeName(QString());
        QCOMPARE(simbolosConhecidos(), kUsados);
        std::vector<QImage> desenhos;
        for (const QString& nome : kUsados) {
            const QIcon icone = simbolo(nome);
            QVERIFY2(!icone.isNull(), qPrintable(nome));
            QVERIFY2(!nomesNoTema(nome).isEmpty(), qPrintable(nome));
            const QImage imagem = icone.pixmap(QSize(32, 32), 1.0).toImage();
            QCOMPARE(imagem.size(), QSize(32, 32));
            // A line drawing: clearly something, clearly not a filled square.
            const int visiveis = pixelsVisiveis(imagem);
            QVERIFY2(visiveis > 40, qPrintable(nome));
            QVERIFY2(visiveis < 32 * 32 * 3 / 4, qPrintable(nome));
            desenhos.push_back(imagem);
        }
        const QString capturas = qEnvironmentVariable("TARRAFA_CAPTURAS");
        if (!capturas.isEmpty()) {
            QImage folha(QSize(static_cast<int>(kUsados.size()) * 44, 60) * 2, QImage::Format_ARGB32);
            folha.setDevicePixelRatio(2);
            folha.fill(QGuiApplication::palette().color(QPalette::Window));
            QPainter pintor(&folha);
            for (int i = 0; i < static_cast<int>(kUsados.size()); ++i) {
                simbolo(kUsados[i]).paint(&pintor, QRect(i * 44 + 14, 6, 16, 16));
                simbolo(kUsados[i]).paint(&pintor, QRect(i * 44 + 6, 26, 32, 32));
            }
            pintor.end();
            QDir().mkpath(capturas);
            folha.save(capturas + QStringLiteral("/simbolos.png"));
        }
        // No two symbols share a drawing.
        for (std::size_t i = 0; i < desenhos.size(); ++i) {
            for (std::size_t j = i + 1; j < desenhos.size(); ++j) {
                QVERIFY2(desenhos[i] != desenhos[j],
                    qPrintable(kUsados[int(i)] + QStringLiteral(" = ") + kUsados[int(j)]));
            }
        }
    }

    void desenhoSegueAPaletaEOModo()
    {
        const QIcon icone = simboloDesenhado(u"folder");
        const QImage normal = icone.pixmap(QSize(24, 24), 2.0).toImage();
        QCOMPARE(normal.size(), QSize(48, 48)); // sharp on a high-density screen
        QPalette paleta = QGuiApplication::palette();
        const QColor texto = paleta.color(QPalette::WindowText);
        // The most opaque pixel carries the palette's text colour.
        QRgb maisForte = 0;
        for (int y = 0; y < normal.height(); ++y) {
            for (int x = 0; x < normal.width(); ++x) {
                if (qAlpha(normal.pixel(x, y)) > qAlpha(maisForte)) {
                    maisForte = normal.pixel(x, y);
                }
            }
        }
        QCOMPARE(qAlpha(maisForte), 255);
        QCOMPARE(QColor(maisForte).rgb(), texto.rgb());
        const QImage desativado = icone.pixmap(QSize(24, 24), 2.0, QIcon::Disabled).toImage();
        QVERIFY(desativado != normal);
    }

    void cadaSimboloTemSeuDesenhoNosRecursos()
    {
        QStringList esperados;
        for (const QString& nome : simbolosConhecidos()) {
            QSvgRenderer desenho(arquivoDoDesenho(nome));
            QVERIFY2(desenho.isValid(), qPrintable(nome));
            // All drawn on the same grid, so they line up at every size.
            QCOMPARE(desenho.viewBoxF(), QRectF(0, 0, 16, 16));
            esperados.append(nome + QStringLiteral(".svg"));
        }
        // And no drawing that no symbol name reaches.
        QStringList presentes = QDir(QStringLiteral(":/tarrafa/simbolos")).entryList(QDir::Files);
        presentes.sort();
        esperados.sort();
        QCOMPARE(presentes, esperados);
    }

    void desenhoEhDeUmaSoCorNaPaletaClaraENaEscura()
    {
        const QPalette anterior = QGuiApplication::palette();
        const QIcon pasta = simboloDesenhado(u"folder"); // made once, painted under both palettes
        QImage pastaNaClara;
        for (const QPalette& paleta : {anterior, paletaEscura()}) {
            QGuiApplication::setPalette(paleta);
            const QColor texto = paleta.color(QPalette::WindowText);
            for (const QString& nome : simbolosConhecidos()) {
                for (const qreal escala : {1.0, 2.0}) {
                    const QImage imagem = simboloDesenhado(nome).pixmap(QSize(16, 16), escala).toImage();
                    QCOMPARE(imagem.size(), QSize(16, 16) * escala);
                    QVERIFY2(pixelsVisiveis(imagem) > 10 * escala * escala, qPrintable(nome));
                    QVERIFY2(pixelsDeOutraCor(imagem, texto) == 0, qPrintable(nome));
                }
            }
            const QImage daPasta = pasta.pixmap(QSize(16, 16), 1.0).toImage();
            QCOMPARE(pixelsDeOutraCor(daPasta, texto), 0);
            if (pastaNaClara.isNull()) {
                pastaNaClara = daPasta;
            } else {
                // Same shape, the other colour: the icon follows the palette without being made again.
                QVERIFY(daPasta != pastaNaClara);
                QCOMPARE(alfa(daPasta), alfa(pastaNaClara));
            }
        }
        QGuiApplication::setPalette(anterior);
        QVERIFY(anterior.color(QPalette::WindowText) != paletaEscura().color(QPalette::WindowText));
    }

    void oQueSePintaEhODesenhoDosRecursos()
    {
        QVERIFY(simboloDesenhado(u"no.such.symbol").isNull());
        for (const QString& nome : simbolosConhecidos()) {
            for (const int lado : {16, 32}) {
                QImage doArquivo(lado, lado, QImage::Format_ARGB32_Premultiplied);
                doArquivo.fill(Qt::transparent);
                {
                    QPainter pintor(&doArquivo);
                    pintor.setRenderHint(QPainter::Antialiasing);
                    QSvgRenderer(arquivoDoDesenho(nome)).render(&pintor, QRectF(0, 0, lado, lado));
                }
                const QImage pintado = simboloDesenhado(nome).pixmap(QSize(lado, lado), 1.0).toImage();
                QVERIFY2(alfa(pintado) == alfa(doArquivo), qPrintable(nome));
            }
        }
        // A rectangle that is not square gets the drawing centred, not stretched.
        const QImage largo = simboloDesenhado(u"chevron.right").pixmap(QSize(32, 16), 1.0).toImage();
        QCOMPARE(largo.size(), QSize(32, 16));
        QCOMPARE(alfa(largo.copy(8, 0, 16, 16)),
            alfa(simboloDesenhado(u"chevron.right").pixmap(QSize(16, 16), 1.0).toImage()));
        QCOMPARE(pixelsVisiveis(largo.copy(0, 0, 8, 16)) + pixelsVisiveis(largo.copy(24, 0, 8, 16)), 0);
    }

    void nomeDesconhecidoNaoTemIcone()
    {
        QVERIFY(simbolo(u"no.such.symbol").isNull());
        QVERIFY(nomesNoTema(u"no.such.symbol").isEmpty());
    }

    void temaComOIconeVenceODesenho()
    {
        // A tiny theme with a folder icon only, in the fake home.
        const QString raiz = QDir::homePath() + QStringLiteral("/icones");
        const QString pasta = raiz + QStringLiteral("/Teste/16x16/places");
        QVERIFY(QDir().mkpath(pasta));
        QFile indice(raiz + QStringLiteral("/Teste/index.theme"));
        QVERIFY(indice.open(QIODevice::WriteOnly));
        indice.write(
            "[Icon Theme]\nName=Teste\nDirectories=16x16/places\n\n[16x16/places]\nSize=16\nContext=Places\n"
            "Type=Fixed\n");
        indice.close();
        // A full-colour folder in red, its symbolic variant in blue; a full-colour document alone.
        QImage vermelho(16, 16, QImage::Format_ARGB32);
        vermelho.fill(Qt::red);
        QVERIFY(vermelho.save(pasta + QStringLiteral("/folder.png")));
        QVERIFY(vermelho.save(pasta + QStringLiteral("/text-x-generic.png")));
        QImage azul(16, 16, QImage::Format_ARGB32);
        azul.fill(Qt::blue);
        QVERIFY(azul.save(pasta + QStringLiteral("/folder-symbolic.png")));

        QIcon::setThemeSearchPaths({raiz});
        QIcon::setThemeName(QStringLiteral("Teste"));
        // The symbolic one: the sidebar and the list keep one style of icon.
        const QImage daPasta = simbolo(u"folder").pixmap(QSize(16, 16), 1.0).toImage();
        QCOMPARE(QColor(daPasta.pixel(8, 8)), QColor(Qt::blue));
        // The theme has no symbolic document icon: ours is drawn, not its full-colour one.
        const QImage doDocumento = simbolo(u"doc").pixmap(QSize(16, 16), 1.0).toImage();
        QCOMPARE(doDocumento, simboloDesenhado(u"doc").pixmap(QSize(16, 16), 1.0).toImage());
    }

    void numerosGrandesComAlgarismosDeLarguraIgual()
    {
        const QFont serifada = aparencia::fonteSerifada(26);
        // One of the serif families known for equal-width digits is what the screen gets.
        QVERIFY2(serifada.families().contains(QFontInfo(serifada).family()),
            qPrintable(QFontInfo(serifada).family()));
        const QFontMetricsF metricas(serifada);
        const qreal largura = metricas.horizontalAdvance(QLatin1Char('0'));
        for (char c = '1'; c <= '9'; ++c) {
            QCOMPARE(metricas.horizontalAdvance(QLatin1Char(c)), largura);
        }
        // Scaled from the desktop's body text: 26 on a 13-point body is twice the body.
        QCOMPARE(serifada.pointSizeF(), QApplication::font().pointSizeF() * 2);
    }

    void fonteMonoespacadaMedeComoUmaQualquerQueSejaAFonteInstalada()
    {
        // Measured, not taken from the font's own claim: whichever fonts this machine has
        // (Noto Sans Mono, which fontconfig does not mark as fixed, the URW fonts of
        // Ghostscript...), every character of a size or a date takes the same room.
        const QFont mono = aparencia::fonteMonoespacada(13);
        const QFontMetricsF metricas(mono);
        const qreal largura = metricas.horizontalAdvance(QLatin1Char('M'));
        QVERIFY(largura > 0);
        for (const QChar c : QStringLiteral("0123456789 .,:/-ilWBkMGT")) {
            QCOMPARE(metricas.horizontalAdvance(c), largura);
        }
        QCOMPARE(metricas.horizontalAdvance(QStringLiteral("111,1 MB")),
            metricas.horizontalAdvance(QStringLiteral("888,8 WW")));
        QCOMPARE(mono.pointSizeF(), QApplication::font().pointSizeF());
    }

private:
    QString temaAnterior_;
    QStringList caminhosAnteriores_;
};

} // namespace tarrafa::app::teste

using tarrafa::app::teste::SimbolosTest;
TARRAFA_REGISTRAR_TESTE(SimbolosTest)

#include "SimbolosTest.moc"

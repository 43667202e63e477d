// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace tarrafa::app {

namespace {

struct Entrada {
    QStringView nome;
    std::array<QStringView, 4> tema; // empty entries end the list
};

// Names from the freedesktop icon naming standard first, then the ones the common
// themes (Breeze, Adwaita, Papirus) ship for the same idea.
constexpr std::array kEntradas {
    Entrada {u"tray.full", {u"mail-folder-inbox", u"folder-inbox"}},
    Entrada {u"clock", {u"appointment-soon", u"chronometer", u"clock"}},
    Entrada {u"checkmark.circle", {u"emblem-ok", u"emblem-default", u"checkmark"}},
    Entrada {
        u"chart.bar.doc.horizontal", {u"view-statistics", u"office-chart-bar", u"utilities-system-monitor"}},
    Entrada {u"questionmark.circle", {u"dialog-question", u"help-about"}},
    Entrada {u"shippingbox", {u"package-x-generic"}},
    Entrada {u"person.crop.square", {u"avatar-default", u"user-identity"}},
    Entrada {u"bubble.left.and.bubble.right", {u"internet-group-chat", u"dialog-messages"}},
    Entrada {u"chevron.left.forwardslash.chevron.right", {u"text-x-script", u"applications-development"}},
    Entrada {u"externaldrive", {u"drive-harddisk"}},
    Entrada {u"envelope", {u"mail-message", u"internet-mail", u"mail-unread"}},
    Entrada {u"globe", {u"globe", u"web-browser", u"applications-internet"}},
    Entrada {u"arrow.clockwise", {u"view-refresh"}},
    Entrada {u"exclamationmark.triangle", {u"dialog-warning"}},
    Entrada {u"tray", {u"mail-folder-inbox", u"folder-inbox"}},
    Entrada {u"info.circle", {u"dialog-information"}},
    Entrada {u"folder", {u"folder"}},
    Entrada {u"doc", {u"text-x-generic", u"document"}},
    Entrada {u"chevron.right", {u"go-next"}},
};

const Entrada* procurar(QStringView nome)
{
    for (const Entrada& entrada : kEntradas) {
        if (entrada.nome == nome) {
            return &entrada;
        }
    }
    return nullptr;
}

// Our drawings are SVG files in the program's resources, one per symbol, drawn in black on a
// 16 × 16 grid: only their shape counts, the colour comes from the palette when painted.
QString arquivoDoDesenho(QStringView nome)
{
    return QStringLiteral(":/tarrafa/simbolos/%1.svg").arg(nome);
}

// Read once per symbol: the list's rows ask for their symbols at every paint. The icons are
// made and painted on the interface's thread only.
std::shared_ptr<QSvgRenderer> desenhoDe(const Entrada& entrada)
{
    static QHash<QString, std::shared_ptr<QSvgRenderer>> lidos;
    const QString nome = entrada.nome.toString();
    auto lido = lidos.constFind(nome);
    if (lido == lidos.cend()) {
        auto desenho = std::make_shared<QSvgRenderer>(arquivoDoDesenho(entrada.nome));
        lido = lidos.insert(nome, desenho->isValid() ? std::move(desenho) : nullptr);
    }
    return *lido;
}

// Paints the symbol at any size, in the colour the application palette gives the icon's
// mode at the moment of painting: a change to a dark palette needs no new icon.
class MotorDoSimbolo final : public QIconEngine {
public:
    MotorDoSimbolo(QString nome, std::shared_ptr<QSvgRenderer> desenho)
        : nome_(std::move(nome))
        , desenho_(std::move(desenho))
    {
    }

    void paint(QPainter* pintor, const QRect& retangulo, QIcon::Mode modo, QIcon::State estado) override
    {
        // Drawn at the density of what is painted on, so a 2× screen gets a sharp symbol.
        const qreal escala = pintor->device() ? pintor->device()->devicePixelRatioF() : 1.0;
        const QSize emPixels(qRound(retangulo.width() * escala), qRound(retangulo.height() * escala));
        pintor->drawPixmap(retangulo, scaledPixmap(emPixels, modo, estado, escala));
    }

    QPixmap pixmap(const QSize& tamanho, QIcon::Mode modo, QIcon::State estado) override
    {
        return scaledPixmap(tamanho, modo, estado, 1.0);
    }

    // tamanho is already in device pixels; escala only marks the result's density.
    QPixmap scaledPixmap(const QSize& tamanho, QIcon::Mode modo, QIcon::State, qreal escala) override
    {
        if (tamanho.isEmpty()) {
            return {};
        }
        const QColor cor = corPara(modo);
        // The list and the sidebar paint the same few symbols over and over: rendering the
        // SVG once per size and colour is enough.
        const QString chave = QStringLiteral("tarrafa.simbolo/%1/%2x%3/%4")
                                  .arg(nome_)
                                  .arg(tamanho.width())
                                  .arg(tamanho.height())
                                  .arg(cor.rgba(), 8, 16, QLatin1Char('0'));
        QPixmap imagem;
        if (!QPixmapCache::find(chave, &imagem)) {
            imagem = QPixmap(tamanho);
            imagem.fill(Qt::transparent);
            {
                QPainter pintor(&imagem);
                pintor.setRenderHint(QPainter::Antialiasing);
                // The drawing is square: centred in whatever rectangle it is given.
                const int lado = std::min(tamanho.width(), tamanho.height());
                desenho_->render(&pintor,
                    QRectF((tamanho.width() - lado) / 2.0, (tamanho.height() - lado) / 2.0, lado, lado));
                // Every drawn pixel takes the colour, each keeping its own coverage.
                pintor.setCompositionMode(QPainter::CompositionMode_SourceIn);
                pintor.fillRect(imagem.rect(), cor);
            }
            QPixmapCache::insert(chave, imagem);
        }
        imagem.setDevicePixelRatio(escala);
        return imagem;
    }

    QSize actualSize(const QSize& tamanho, QIcon::Mode, QIcon::State) override { return tamanho; }
    QIconEngine* clone() const override { return new MotorDoSimbolo(nome_, desenho_); }
    QString key() const override { return QStringLiteral("tarrafa.simbolo"); }
    QString iconName() override { return nome_; }

private:
    static QColor corPara(QIcon::Mode modo)
    {
        const QPalette paleta = QGuiApplication::palette();
        QColor cor = paleta.color(QPalette::WindowText);
        if (modo == QIcon::Selected) {
            cor = paleta.color(QPalette::HighlightedText);
        } else if (modo == QIcon::Disabled) {
            cor.setAlphaF(0.38f);
        }
        return cor;
    }

    QString nome_;
    std::shared_ptr<QSvgRenderer> desenho_;
};

} // namespace

QIcon simboloDesenhado(QStringView nomeDoSistema)
{
    const Entrada* entrada = procurar(nomeDoSistema);
    if (!entrada) {
        return {};
    }
    auto desenho = desenhoDe(*entrada);
    if (!desenho) {
        return {};
    }
    return QIcon(new MotorDoSimbolo(nomeDoSistema.toString(), std::move(desenho)));
}

QStringList nomesNoTema(QStringView nomeDoSistema)
{
    QStringList nomes;
    if (const Entrada* entrada = procurar(nomeDoSistema)) {
        // Only the symbolic (one-colour) variants: a theme's full-colour icon beside our line
        // drawings, or beside its own symbolic ones, would mix two styles in one sidebar.
        for (QStringView nome : entrada->tema) {
            if (!nome.isEmpty()) {
                nomes.append(nome.toString() + QStringLiteral("-symbolic"));
            }
        }
    }
    return nomes;
}

QIcon simbolo(QStringView nomeDoSistema)
{
    if (!QIcon::themeName().isEmpty()) {
        for (const QString& nome : nomesNoTema(nomeDoSistema)) {
            if (QIcon::hasThemeIcon(nome)) {
                return QIcon::fromTheme(nome);
            }
        }
    }
    return simboloDesenhado(nomeDoSistema);
}

QPixmap tingido(const QIcon& icone, QSize tamanho, qreal escala, const QColor& cor)
{
    QPixmap imagem = icone.pixmap(tamanho, escala);
    if (imagem.isNull()) {
        return imagem;
    }
    QPainter pintor(&imagem);
    pintor.setCompositionMode(QPainter::CompositionMode_SourceIn);
    pintor.fillRect(QRect(QPoint(0, 0), imagem.size()), cor);
    return imagem;
}

QStringList simbolosConhecidos()
{
    QStringList nomes;
    for (const Entrada& entrada : kEntradas) {
        nomes.append(entrada.nome.toString());
    }
    return nomes;
}

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QGuiApplication>
#include <QIconEngine>
#include <QLineF>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <QtMath>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace tarrafa::app {

namespace {

enum class Desenho {
    bandejaCheia,
    bandeja,
    relogio,
    confirmado,
    relatorio,
    interrogacao,
    caixa,
    pessoa,
    baloes,
    codigo,
    disco,
    envelope,
    globo,
    recarregar,
    alerta,
    informacao,
    pasta,
    documento,
    seta,
};

struct Entrada {
    QStringView nome;
    Desenho desenho;
    std::array<QStringView, 4> tema; // empty entries end the list
};

// Names from the freedesktop icon naming standard first, then the ones the common
// themes (Breeze, Adwaita, Papirus) ship for the same idea.
constexpr std::array kEntradas {
    Entrada {u"tray.full", Desenho::bandejaCheia, {u"mail-folder-inbox", u"folder-inbox"}},
    Entrada {u"clock", Desenho::relogio, {u"appointment-soon", u"chronometer", u"clock"}},
    Entrada {u"checkmark.circle", Desenho::confirmado, {u"emblem-ok", u"emblem-default", u"checkmark"}},
    Entrada {u"chart.bar.doc.horizontal", Desenho::relatorio,
        {u"view-statistics", u"office-chart-bar", u"utilities-system-monitor"}},
    Entrada {u"questionmark.circle", Desenho::interrogacao, {u"dialog-question", u"help-about"}},
    Entrada {u"shippingbox", Desenho::caixa, {u"package-x-generic"}},
    Entrada {u"person.crop.square", Desenho::pessoa, {u"avatar-default", u"user-identity"}},
    Entrada {u"bubble.left.and.bubble.right", Desenho::baloes, {u"internet-group-chat", u"dialog-messages"}},
    Entrada {u"chevron.left.forwardslash.chevron.right", Desenho::codigo,
        {u"text-x-script", u"applications-development"}},
    Entrada {u"externaldrive", Desenho::disco, {u"drive-harddisk"}},
    Entrada {u"envelope", Desenho::envelope, {u"mail-message", u"internet-mail", u"mail-unread"}},
    Entrada {u"globe", Desenho::globo, {u"globe", u"web-browser", u"applications-internet"}},
    Entrada {u"arrow.clockwise", Desenho::recarregar, {u"view-refresh"}},
    Entrada {u"exclamationmark.triangle", Desenho::alerta, {u"dialog-warning"}},
    Entrada {u"tray", Desenho::bandeja, {u"mail-folder-inbox", u"folder-inbox"}},
    Entrada {u"info.circle", Desenho::informacao, {u"dialog-information"}},
    Entrada {u"folder", Desenho::pasta, {u"folder"}},
    Entrada {u"doc", Desenho::documento, {u"text-x-generic", u"document"}},
    Entrada {u"chevron.right", Desenho::seta, {u"go-next"}},
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

// Drawings on a 16 × 16 grid, stroked with round ends like the system's line symbols.
void desenhar(QPainter& p, Desenho desenho, const QColor& cor)
{
    const QPen traco(cor, 1.3, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(traco);
    p.setBrush(Qt::NoBrush);
    const auto ponto = [&](qreal x, qreal y, qreal raio = 0.85) {
        p.save();
        p.setPen(Qt::NoPen);
        p.setBrush(cor);
        p.drawEllipse(QPointF(x, y), raio, raio);
        p.restore();
    };
    const auto circulo = [&] { p.drawEllipse(QPointF(8, 8), 6.2, 6.2); };

    switch (desenho) {
    case Desenho::bandejaCheia:
    case Desenho::bandeja: {
        QPainterPath bandeja;
        bandeja.moveTo(2, 9);
        bandeja.lineTo(4.2, 3.2);
        bandeja.lineTo(11.8, 3.2);
        bandeja.lineTo(14, 9);
        bandeja.lineTo(14, 12.2);
        bandeja.quadTo(14, 13.6, 12.6, 13.6);
        bandeja.lineTo(3.4, 13.6);
        bandeja.quadTo(2, 13.6, 2, 12.2);
        bandeja.closeSubpath();
        bandeja.moveTo(2, 9);
        bandeja.lineTo(5.4, 9);
        bandeja.lineTo(6.4, 10.6);
        bandeja.lineTo(9.6, 10.6);
        bandeja.lineTo(10.6, 9);
        bandeja.lineTo(14, 9);
        p.drawPath(bandeja);
        if (desenho == Desenho::bandejaCheia) {
            p.drawLine(QPointF(5.8, 5.2), QPointF(10.2, 5.2));
            p.drawLine(QPointF(5.2, 7.2), QPointF(10.8, 7.2));
        }
        break;
    }
    case Desenho::relogio:
        circulo();
        p.drawPolyline(QPolygonF({QPointF(8, 4.4), QPointF(8, 8), QPointF(10.6, 9.6)}));
        break;
    case Desenho::confirmado:
        circulo();
        p.drawPolyline(QPolygonF({QPointF(5.3, 8.2), QPointF(7.2, 10.1), QPointF(10.8, 6.1)}));
        break;
    case Desenho::relatorio: {
        QPainterPath folha;
        folha.addRoundedRect(QRectF(2.6, 1.6, 10.8, 12.8), 1.8, 1.8);
        p.drawPath(folha);
        p.setPen(QPen(cor, 1.6, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(5.2, 5), QPointF(10.8, 5));
        p.drawLine(QPointF(5.2, 8), QPointF(8.4, 8));
        p.drawLine(QPointF(5.2, 11), QPointF(9.8, 11));
        break;
    }
    case Desenho::interrogacao: {
        circulo();
        QPainterPath gancho;
        gancho.moveTo(6, 6.4);
        gancho.cubicTo(6, 5, 6.9, 4.3, 8, 4.3);
        gancho.cubicTo(9.2, 4.3, 10.1, 5.1, 10.1, 6.2);
        gancho.cubicTo(10.1, 7.6, 8, 7.7, 8, 9.2);
        p.drawPath(gancho);
        ponto(8, 11.5);
        break;
    }
    case Desenho::caixa: {
        p.drawPolygon(QPolygonF({QPointF(8, 1.8), QPointF(14, 4.8), QPointF(14, 11.2), QPointF(8, 14.2),
            QPointF(2, 11.2), QPointF(2, 4.8)}));
        p.drawPolyline(QPolygonF({QPointF(2, 4.8), QPointF(8, 7.8), QPointF(14, 4.8)}));
        p.drawLine(QPointF(8, 7.8), QPointF(8, 14.2));
        p.drawLine(QPointF(5, 3.3), QPointF(11, 6.3));
        break;
    }
    case Desenho::pessoa: {
        QPainterPath quadro;
        quadro.addRoundedRect(QRectF(1.8, 1.8, 12.4, 12.4), 2.6, 2.6);
        p.drawPath(quadro);
        p.drawEllipse(QPointF(8, 6.6), 2.2, 2.2);
        QPainterPath ombros;
        ombros.moveTo(4.4, 14);
        ombros.cubicTo(4.9, 11.4, 6.3, 10.4, 8, 10.4);
        ombros.cubicTo(9.7, 10.4, 11.1, 11.4, 11.6, 14);
        p.drawPath(ombros);
        break;
    }
    case Desenho::baloes: {
        QPainterPath esquerdo;
        esquerdo.addRoundedRect(QRectF(1.2, 2, 9, 6.6), 3, 3);
        QPainterPath caudaEsquerda;
        caudaEsquerda.moveTo(3, 8);
        caudaEsquerda.lineTo(2.2, 10.6);
        caudaEsquerda.lineTo(5.4, 8.4);
        esquerdo = esquerdo.united(caudaEsquerda);
        QPainterPath direito;
        direito.addRoundedRect(QRectF(6, 6.4, 8.8, 6.4), 3, 3);
        QPainterPath caudaDireita;
        caudaDireita.moveTo(13, 12.2);
        caudaDireita.lineTo(13.8, 14.6);
        caudaDireita.lineTo(10.8, 12.6);
        direito = direito.united(caudaDireita);
        p.drawPath(esquerdo);
        // The right balloon passes behind the left one.
        QPainterPath fora;
        fora.addRect(QRectF(0, 0, 16, 16));
        QPainterPathStroker contorno;
        contorno.setWidth(2.4);
        p.save();
        p.setClipPath(fora.subtracted(esquerdo.united(contorno.createStroke(esquerdo))));
        p.drawPath(direito);
        p.restore();
        break;
    }
    case Desenho::codigo:
        p.drawPolyline(QPolygonF({QPointF(5, 4.6), QPointF(1.8, 8), QPointF(5, 11.4)}));
        p.drawPolyline(QPolygonF({QPointF(11, 4.6), QPointF(14.2, 8), QPointF(11, 11.4)}));
        p.drawLine(QPointF(9.3, 3.4), QPointF(6.7, 12.6));
        break;
    case Desenho::disco: {
        QPainterPath corpo;
        corpo.addRoundedRect(QRectF(1.4, 4.4, 13.2, 7.2), 2.2, 2.2);
        p.drawPath(corpo);
        p.drawLine(QPointF(3.6, 9.2), QPointF(8.4, 9.2));
        ponto(11.6, 9.1, 0.95);
        break;
    }
    case Desenho::envelope: {
        QPainterPath corpo;
        corpo.addRoundedRect(QRectF(1.5, 3.4, 13, 9.4), 1.8, 1.8);
        p.drawPath(corpo);
        p.drawPolyline(QPolygonF({QPointF(2.2, 4.3), QPointF(8, 8.9), QPointF(13.8, 4.3)}));
        break;
    }
    case Desenho::globo:
        circulo();
        p.drawEllipse(QPointF(8, 8), 2.7, 6.2);
        p.drawLine(QPointF(1.8, 8), QPointF(14.2, 8));
        p.drawLine(QPointF(3, 4.8), QPointF(13, 4.8));
        p.drawLine(QPointF(3, 11.2), QPointF(13, 11.2));
        break;
    case Desenho::recarregar: {
        // Clockwise from the right, round the bottom and the top, to a head at the upper
        // right that points on down the circle.
        const QRectF caixa(2.2, 2.2, 11.6, 11.6);
        QPainterPath arco;
        arco.arcMoveTo(caixa, -35);
        arco.arcTo(caixa, -35, -285);
        p.drawPath(arco);
        const QPointF ponta = arco.currentPosition();
        const qreal tras = QLineF(
            QPointF(0, 0), QPointF(-std::sin(qDegreesToRadians(40.0)), -std::cos(qDegreesToRadians(40.0))))
                               .angle();
        p.drawPolyline(QPolygonF({QLineF::fromPolar(3.4, tras + 38).translated(ponta).p2(), ponta,
            QLineF::fromPolar(3.4, tras - 38).translated(ponta).p2()}));
        break;
    }
    case Desenho::alerta: {
        QPainterPath triangulo;
        triangulo.moveTo(8, 1.9);
        triangulo.lineTo(14.6, 13.6);
        triangulo.lineTo(1.4, 13.6);
        triangulo.closeSubpath();
        p.drawPath(triangulo);
        p.drawLine(QPointF(8, 6.2), QPointF(8, 9.4));
        ponto(8, 11.6);
        break;
    }
    case Desenho::informacao:
        circulo();
        p.drawLine(QPointF(8, 7.4), QPointF(8, 11.4));
        ponto(8, 5);
        break;
    case Desenho::pasta: {
        QPainterPath pasta;
        pasta.moveTo(1.6, 4.2);
        pasta.quadTo(1.6, 2.8, 3, 2.8);
        pasta.lineTo(6, 2.8);
        pasta.lineTo(7.5, 4.4);
        pasta.lineTo(13, 4.4);
        pasta.quadTo(14.4, 4.4, 14.4, 5.8);
        pasta.lineTo(14.4, 12);
        pasta.quadTo(14.4, 13.4, 13, 13.4);
        pasta.lineTo(3, 13.4);
        pasta.quadTo(1.6, 13.4, 1.6, 12);
        pasta.closeSubpath();
        p.drawPath(pasta);
        p.drawLine(QPointF(1.6, 6.6), QPointF(14.4, 6.6));
        break;
    }
    case Desenho::documento: {
        QPainterPath folha;
        folha.moveTo(3.2, 2.6);
        folha.quadTo(3.2, 1.4, 4.4, 1.4);
        folha.lineTo(9.4, 1.4);
        folha.lineTo(12.8, 4.8);
        folha.lineTo(12.8, 13.4);
        folha.quadTo(12.8, 14.6, 11.6, 14.6);
        folha.lineTo(4.4, 14.6);
        folha.quadTo(3.2, 14.6, 3.2, 13.4);
        folha.closeSubpath();
        p.drawPath(folha);
        p.drawPolyline(QPolygonF({QPointF(9.4, 1.6), QPointF(9.4, 4.8), QPointF(12.6, 4.8)}));
        break;
    }
    case Desenho::seta:
        p.drawPolyline(QPolygonF({QPointF(6, 3.4), QPointF(10.6, 8), QPointF(6, 12.6)}));
        break;
    }
}

// Paints the symbol at any size, in the colour the application palette gives the icon's
// mode at the moment of painting: a change to a dark palette needs no new icon.
class MotorDoSimbolo final : public QIconEngine {
public:
    MotorDoSimbolo(Desenho desenho, QString nome)
        : desenho_(desenho)
        , nome_(std::move(nome))
    {
    }

    void paint(QPainter* pintor, const QRect& retangulo, QIcon::Mode modo, QIcon::State) override
    {
        const QPalette paleta = QGuiApplication::palette();
        QColor cor = paleta.color(QPalette::WindowText);
        if (modo == QIcon::Selected) {
            cor = paleta.color(QPalette::HighlightedText);
        } else if (modo == QIcon::Disabled) {
            cor.setAlphaF(0.38f);
        }
        const qreal lado = std::min(retangulo.width(), retangulo.height());
        pintor->save();
        pintor->setRenderHint(QPainter::Antialiasing);
        pintor->translate(retangulo.x() + (retangulo.width() - lado) / 2.0,
            retangulo.y() + (retangulo.height() - lado) / 2.0);
        pintor->scale(lado / 16.0, lado / 16.0);
        desenhar(*pintor, desenho_, cor);
        pintor->restore();
    }

    QPixmap pixmap(const QSize& tamanho, QIcon::Mode modo, QIcon::State estado) override
    {
        return scaledPixmap(tamanho, modo, estado, 1.0);
    }

    // tamanho is already in device pixels; escala only marks the result's density.
    QPixmap scaledPixmap(const QSize& tamanho, QIcon::Mode modo, QIcon::State estado, qreal escala) override
    {
        QPixmap imagem(tamanho);
        imagem.fill(Qt::transparent);
        {
            QPainter pintor(&imagem);
            paint(&pintor, QRect(QPoint(0, 0), imagem.size()), modo, estado);
        }
        imagem.setDevicePixelRatio(escala);
        return imagem;
    }

    QSize actualSize(const QSize& tamanho, QIcon::Mode, QIcon::State) override { return tamanho; }
    QIconEngine* clone() const override { return new MotorDoSimbolo(desenho_, nome_); }
    QString key() const override { return QStringLiteral("tarrafa.simbolo"); }
    QString iconName() override { return nome_; }

private:
    Desenho desenho_;
    QString nome_;
};

} // namespace

QIcon simboloDesenhado(QStringView nomeDoSistema)
{
    const Entrada* entrada = procurar(nomeDoSistema);
    if (!entrada) {
        return {};
    }
    return QIcon(new MotorDoSimbolo(entrada->desenho, nomeDoSistema.toString()));
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ConteudoIndisponivel.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tarrafa::app {

namespace {

constexpr int kLadoDoSimbolo = 44;
constexpr int kLarguraDoTexto = 420;

} // namespace

ConteudoIndisponivel::ConteudoIndisponivel(
    const QString& simbolo, const QString& titulo, const QString& descricao, QWidget* parent)
    : QWidget(parent)
    , simbolo_(simbolo)
    , icone_(new QLabel(this))
    , titulo_(new QLabel(titulo, this))
    , descricao_(new QLabel(descricao, this))
    , acao_(new QPushButton(this))
{
    icone_->setObjectName(QStringLiteral("simbolo"));
    icone_->setAlignment(Qt::AlignCenter);
    pintarSimbolo();

    titulo_->setObjectName(QStringLiteral("titulo"));
    titulo_->setAlignment(Qt::AlignCenter);
    titulo_->setTextFormat(Qt::PlainText);
    titulo_->setWordWrap(true);
    titulo_->setFont(aparencia::fonte(20, QFont::Bold));

    // Shown verbatim (an error text may hold anything) and selectable, so it can be copied.
    descricao_->setObjectName(QStringLiteral("descricao"));
    descricao_->setAlignment(Qt::AlignCenter);
    descricao_->setTextFormat(Qt::PlainText);
    descricao_->setWordWrap(true);
    descricao_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    descricao_->setFont(aparencia::fonte(aparencia::kCorpo));

    // The texts wrap inside a column of bounded width, centred; a wrapped label placed
    // with an alignment of its own would get its one-line height and be clipped.
    auto* textos = new QWidget(this);
    textos->setMaximumWidth(kLarguraDoTexto);
    auto* linhas = new QVBoxLayout(textos);
    linhas->setContentsMargins(0, 0, 0, 0);
    linhas->setSpacing(6);
    linhas->addWidget(icone_);
    linhas->addSpacing(6);
    linhas->addWidget(titulo_);
    linhas->addWidget(descricao_);
    acao_->setObjectName(QStringLiteral("acao"));
    acao_->setAutoDefault(false);
    acao_->hide();
    linhas->addSpacing(6);
    linhas->addWidget(acao_, 0, Qt::AlignHCenter);
    connect(acao_, &QPushButton::clicked, this, &ConteudoIndisponivel::acaoPedida);

    auto* centro = new QHBoxLayout;
    centro->addStretch(1);
    centro->addWidget(textos, 4);
    centro->addStretch(1);

    auto* coluna = new QVBoxLayout(this);
    coluna->setContentsMargins(24, 24, 24, 24);
    coluna->addStretch(1);
    coluna->addLayout(centro);
    coluna->addStretch(1);
}

QString ConteudoIndisponivel::titulo() const
{
    return titulo_->text();
}

void ConteudoIndisponivel::setTitulo(const QString& titulo)
{
    titulo_->setText(titulo);
}

void ConteudoIndisponivel::setAcao(const QString& texto)
{
    acao_->setText(texto);
    acao_->setAccessibleName(texto);
    acao_->setVisible(!texto.isEmpty());
}

QString ConteudoIndisponivel::descricao() const
{
    return descricao_->text();
}

void ConteudoIndisponivel::setDescricao(const QString& descricao)
{
    descricao_->setText(descricao);
}

void ConteudoIndisponivel::changeEvent(QEvent* evento)
{
    QWidget::changeEvent(evento);
    if (evento->type() == QEvent::PaletteChange || evento->type() == QEvent::StyleChange) {
        pintarSimbolo();
    }
}

void ConteudoIndisponivel::pintarSimbolo()
{
    const QColor cor = aparencia::secundaria(palette());
    icone_->setPixmap(
        tingido(simbolo(simbolo_), QSize(kLadoDoSimbolo, kLadoDoSimbolo), devicePixelRatioF(), cor));
    QPalette paleta = descricao_->palette();
    paleta.setColor(QPalette::WindowText, cor);
    descricao_->setPalette(paleta);
}

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Recado.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace tarrafa::app {

namespace {

constexpr qreal kOpacidadeDoFundo = 0.12;

} // namespace

Recado::Recado(Modelo& modelo, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , texto_(new QLabel(this))
    , fechar_(new QPushButton(QStringLiteral("Fechar"), this))
{
    setObjectName(QStringLiteral("recado"));
    texto_->setObjectName(QStringLiteral("textoDoRecado"));
    texto_->setWordWrap(true);
    texto_->setTextFormat(Qt::PlainText);
    texto_->setFont(aparencia::fonte(aparencia::kCorpo));
    texto_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    fechar_->setObjectName(QStringLiteral("fecharRecado"));
    fechar_->setAutoDefault(false);
    fechar_->setAccessibleName(QStringLiteral("Fechar a mensagem"));

    auto* linha = new QHBoxLayout(this);
    linha->setContentsMargins(20, 10, 20, 10);
    linha->setSpacing(12);
    linha->addWidget(texto_, 1, Qt::AlignVCenter);
    linha->addWidget(fechar_, 0, Qt::AlignTop);

    connect(fechar_, &QPushButton::clicked, &modelo_, &Modelo::dispensarMensagem);
    connect(&modelo_, &Modelo::mensagemChanged, this, &Recado::atualizar);
    atualizar();
}

QString Recado::texto() const
{
    return texto_->text();
}

void Recado::atualizar()
{
    const std::optional<QString>& mensagem = modelo_.mensagem();
    texto_->setText(mensagem.value_or(QString()));
    setAccessibleDescription(mensagem.value_or(QString()));
    setVisible(mensagem.has_value());
}

void Recado::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.fillRect(rect(), aparencia::comOpacidade(aparencia::vermelho(palette()), kOpacidadeDoFundo));
}

} // namespace tarrafa::app

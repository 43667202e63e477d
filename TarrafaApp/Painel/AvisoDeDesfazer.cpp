// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/AvisoDeDesfazer.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

namespace tarrafa::app {

AvisoDeDesfazer::AvisoDeDesfazer(Modelo& modelo, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , texto_(new QLabel(this))
    , desfazer_(new QPushButton(QStringLiteral("Desfazer"), this))
{
    setObjectName(QStringLiteral("avisoDeDesfazer"));
    texto_->setObjectName(QStringLiteral("textoDoAvisoDeDesfazer"));
    texto_->setTextFormat(Qt::PlainText);
    texto_->setFont(aparencia::fonte(aparencia::kCorpo));
    desfazer_->setObjectName(QStringLiteral("desfazerDoAviso"));
    desfazer_->setAutoDefault(false);
    desfazer_->setFlat(true);
    QFont negrito = desfazer_->font();
    negrito.setBold(true);
    desfazer_->setFont(negrito);

    auto* linha = new QHBoxLayout(this);
    linha->setContentsMargins(20, 8, 20, 8);
    linha->setSpacing(6);
    linha->addWidget(texto_, 0, Qt::AlignVCenter);
    auto* ponto = new QLabel(QStringLiteral("·"), this);
    linha->addWidget(ponto, 0, Qt::AlignVCenter);
    linha->addWidget(desfazer_, 0, Qt::AlignVCenter);
    linha->addStretch(1);

    relogio_.setSingleShot(true);
    relogio_.setInterval(kDuracaoMs);
    connect(&relogio_, &QTimer::timeout, this, &QWidget::hide);
    connect(desfazer_, &QPushButton::clicked, this, [this] {
        hide();
        modelo_.pilhaDeDesfazer().undo();
    });
    // Undone or redone from the menu, the action the notice speaks of is no longer the last:
    // the notice goes (a new action's notice comes right after its push).
    connect(&modelo_.pilhaDeDesfazer(), &QUndoStack::indexChanged, this, &QWidget::hide);
    connect(&modelo_, &Modelo::acaoFeita, this, &AvisoDeDesfazer::mostrar);
    hide();
}

QString AvisoDeDesfazer::texto() const
{
    return texto_->text();
}

void AvisoDeDesfazer::mostrar(const QString& texto)
{
    texto_->setText(texto);
    setAccessibleDescription(texto);
    show();
    relogio_.start();
}

void AvisoDeDesfazer::paintEvent(QPaintEvent*)
{
    QPainter pintor(this);
    pintor.fillRect(rect(), aparencia::comOpacidade(aparencia::azul(palette()), 0.12));
}

} // namespace tarrafa::app

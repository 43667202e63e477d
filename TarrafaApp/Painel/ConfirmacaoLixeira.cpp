// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"

#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace tarrafa::app {

namespace {

const char* const kPapel = "papel";

QPushButton* botao(
    const QString& texto, QDialogButtonBox::ButtonRole papel, const QString& nome, QWidget* pai)
{
    auto* novo = new QPushButton(texto, pai);
    novo->setObjectName(nome);
    novo->setProperty(kPapel, QVariant::fromValue(papel));
    return novo;
}

} // namespace

ConfirmacaoLixeira::ConfirmacaoLixeira(const QStringList& nomes, QWidget* parent)
    : QDialog(parent)
    , titulo_(new QLabel(this))
    , mensagem_(new QLabel(this))
    , arquivos_(new QLabel(this))
    , cancelar_(
          botao(QStringLiteral("Cancelar"), QDialogButtonBox::RejectRole, QStringLiteral("cancelar"), this))
    , mover_(botao(QStringLiteral("Mover para a Lixeira"), QDialogButtonBox::DestructiveRole,
          QStringLiteral("moverConfirmado"), this))
{
    setObjectName(QStringLiteral("confirmacaoLixeira"));
    const qsizetype quantidade = nomes.size();
    // One file is named as one ("Mover 1 arquivo"); more are counted without a noun.
    const QString titulo = quantidade == 1
        ? QStringLiteral("Mover 1 arquivo para a Lixeira?")
        : QStringLiteral("Mover ") + QString::number(quantidade) + QStringLiteral(" para a Lixeira?");
    setWindowTitle(titulo);
    // A question, not a window of its own: a title and a close button, nothing to minimise
    // or maximise.
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    setModal(true);
    setWindowModality(Qt::WindowModal);

    auto* icone = new QLabel(this);
    icone->setObjectName(QStringLiteral("simbolo"));
    icone->setPixmap(tingido(simbolo(u"exclamationmark.triangle"), QSize(40, 40), devicePixelRatioF(),
        aparencia::laranja(palette())));
    icone->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

    titulo_->setObjectName(QStringLiteral("titulo"));
    titulo_->setText(titulo);
    titulo_->setTextFormat(Qt::PlainText);
    titulo_->setWordWrap(true);
    QFont fonte = titulo_->font();
    fonte.setPointSizeF(fonte.pointSizeF() * 1.15);
    fonte.setWeight(QFont::Bold);
    titulo_->setFont(fonte);

    mensagem_->setObjectName(QStringLiteral("mensagem"));
    mensagem_->setText(
        QStringLiteral("Os arquivos vão para a Lixeira do sistema e podem ser recuperados pelo "
                       "gerenciador de arquivos. Nada é apagado de vez."));
    mensagem_->setTextFormat(Qt::PlainText);
    mensagem_->setWordWrap(true);

    // What will move, by name: the person confirms files, not a number.
    QStringList linhas = nomes.mid(0, kNomesMostrados);
    if (quantidade > kNomesMostrados) {
        linhas.append(QStringLiteral("e mais ") + QString::number(quantidade - kNomesMostrados));
    }
    arquivos_->setObjectName(QStringLiteral("arquivos"));
    arquivos_->setText(linhas.join(QLatin1Char('\n')));
    arquivos_->setTextFormat(Qt::PlainText);
    arquivos_->setWordWrap(true);
    arquivos_->setTextInteractionFlags(Qt::TextSelectableByMouse);

    // Return with nothing else in focus must never destroy anything: the default button is the
    // cancel one. Return on the focused button presses that one, as in any dialog: a person
    // who tabbed to "Mover para a Lixeira" chose it.
    cancelar_->setDefault(true);
    cancelar_->setAutoDefault(true);
    mover_->setAutoDefault(true);
    mover_->setProperty("destrutivo", true);
    QPalette paleta = mover_->palette();
    for (const QPalette::ColorGroup grupo : {QPalette::Active, QPalette::Inactive}) {
        paleta.setColor(grupo, QPalette::ButtonText, aparencia::vermelho(paleta));
    }
    mover_->setPalette(paleta);
    connect(cancelar_, &QPushButton::clicked, this, &QDialog::reject);
    connect(mover_, &QPushButton::clicked, this, &QDialog::accept);

    auto* textos = new QVBoxLayout;
    textos->setSpacing(8);
    textos->addWidget(titulo_);
    textos->addWidget(arquivos_);
    textos->addWidget(mensagem_);
    textos->addStretch(1);

    auto* corpo = new QHBoxLayout;
    corpo->setSpacing(16);
    corpo->addWidget(icone, 0, Qt::AlignTop);
    corpo->addLayout(textos, 1);

    auto* botoesLinha = new QHBoxLayout;
    botoesLinha->setSpacing(8);
    botoesLinha->addStretch(1);
    botoesLinha->addWidget(cancelar_);
    botoesLinha->addWidget(mover_);

    auto* tudo = new QVBoxLayout(this);
    tudo->setContentsMargins(20, 20, 20, 16);
    tudo->setSpacing(20);
    tudo->addLayout(corpo, 1);
    tudo->addLayout(botoesLinha);
    tudo->setSizeConstraint(QLayout::SetFixedSize);
    mensagem_->setFixedWidth(360);
    cancelar_->setFocus(Qt::OtherFocusReason);
}

QString ConfirmacaoLixeira::titulo() const
{
    return titulo_->text();
}

QString ConfirmacaoLixeira::arquivos() const
{
    return arquivos_->text();
}

QString ConfirmacaoLixeira::mensagem() const
{
    return mensagem_->text();
}

QList<QPushButton*> ConfirmacaoLixeira::botoes() const
{
    QList<QPushButton*> todos = {cancelar_, mover_};
    std::sort(todos.begin(), todos.end(),
        [](const QPushButton* a, const QPushButton* b) { return a->geometry().x() < b->geometry().x(); });
    return todos;
}

QDialogButtonBox::ButtonRole ConfirmacaoLixeira::papel(const QAbstractButton& botao)
{
    const QVariant papel = botao.property(kPapel);
    return papel.isValid() ? papel.value<QDialogButtonBox::ButtonRole>() : QDialogButtonBox::InvalidRole;
}

} // namespace tarrafa::app

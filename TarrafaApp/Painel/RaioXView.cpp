// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/RaioXView.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Barra.hpp"
#include "TarrafaCore/Apresentacao.hpp"

#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

namespace tarrafa::app {

namespace {

QString numero(int n)
{
    return QString::number(n);
}

} // namespace

RaioXView::RaioXView(Modelo& modelo, QWidget* parent)
    : QScrollArea(parent)
    , modelo_(modelo)
    , conteudo_(new QWidget)
    , caixa_(new QGroupBox(QStringLiteral("O que isso quer dizer")))
    , leitura_(new QLabel)
    , somenteLeitura_(new QLabel(QStringLiteral("Somente leitura. Nada foi movido, renomeado ou apagado.")))
{
    setObjectName(QStringLiteral("raioXView"));
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    conteudo_->setObjectName(QStringLiteral("conteudoDoRaioX"));

    auto* pilha = new QVBoxLayout(conteudo_);
    pilha->setContentsMargins(24, 24, 24, 24);
    pilha->setSpacing(22);
    const char* nomes[] = {"barraOpacos", "barraNuncaAbertos", "barraComOrigem", "barraConcentracao"};
    for (std::size_t i = 0; i < barras_.size(); ++i) {
        barras_[i] = new Barra(conteudo_);
        barras_[i]->setObjectName(QString::fromLatin1(nomes[i]));
        pilha->addWidget(barras_[i]);
    }

    caixa_->setObjectName(QStringLiteral("oQueIssoQuerDizer"));
    caixa_->setFont(aparencia::fonte(aparencia::kCorpo, QFont::DemiBold));
    leitura_->setObjectName(QStringLiteral("leitura"));
    leitura_->setFont(aparencia::fonte(aparencia::kCorpo));
    leitura_->setWordWrap(true);
    leitura_->setTextFormat(Qt::PlainText);
    leitura_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    leitura_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* dentroDaCaixa = new QVBoxLayout(caixa_);
    dentroDaCaixa->addWidget(leitura_);
    pilha->addWidget(caixa_);

    somenteLeitura_->setObjectName(QStringLiteral("somenteLeitura"));
    somenteLeitura_->setFont(aparencia::fonte(aparencia::kLegendaMenor));
    somenteLeitura_->setWordWrap(true);
    pilha->addWidget(somenteLeitura_);
    pilha->addStretch(1);

    setWidget(conteudo_);
    // The scrolling area shows the window's own ground, like the rest of the panel.
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);
    conteudo_->setBackgroundRole(QPalette::Window);

    connect(&modelo_, &Modelo::raioXChanged, this, &RaioXView::atualizar);
    atualizar();
}

bool RaioXView::temConteudo() const
{
    return !conteudo_->isHidden();
}

void RaioXView::atualizar()
{
    const std::optional<RaioX>& talvez = modelo_.raioX();
    conteudo_->setHidden(!talvez.has_value());
    if (!talvez) {
        return;
    }
    const RaioX& r = *talvez;
    const QString de = QStringLiteral(" de ") + numero(r.total());
    const QString separador = QStringLiteral(" · ");
    barras_[0]->mostrar(QStringLiteral("Você não consegue identificar pelo nome"), r.pct(r.nomesOpacos()),
        numero(r.nomesOpacos()) + de, aparencia::laranja(palette()));
    barras_[1]->mostrar(QStringLiteral("Nunca foram abertos depois do download"), r.pct(r.nuncaAbertos()),
        numero(r.nuncaAbertos()) + de, std::nullopt);
    barras_[2]->mostrar(QStringLiteral("Guardam de onde vieram"), r.pct(r.comOrigem()),
        numero(r.comOrigem()) + de + separador + QStringLiteral("é esse dado que o app usa para agrupar"),
        aparencia::verde(palette()));
    barras_[3]->mostrar(QStringLiteral("Concentração das 3 maiores origens"),
        Apresentacao::porcentoTruncado(r.concentracaoTop3()),
        numero(r.origensDistintas()) + QStringLiteral(" origens distintas") + separador
            + QStringLiteral("quanto maior, melhor o agrupamento funciona"),
        aparencia::azul(palette()));
    leitura_->setText(QString::fromStdString(tarrafa::leitura(r)));
    aplicarCores();
}

void RaioXView::aplicarCores()
{
    QPalette secundaria = leitura_->palette();
    secundaria.setColor(QPalette::WindowText, aparencia::secundaria(palette()));
    leitura_->setPalette(secundaria);
}

void RaioXView::changeEvent(QEvent* evento)
{
    if (evento->type() == QEvent::PaletteChange) {
        atualizar(); // the tone colours have a shade for light and one for dark grounds
    }
    QScrollArea::changeEvent(evento);
}

} // namespace tarrafa::app

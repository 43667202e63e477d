// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Fluxo.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"
#include "TarrafaCore/Plural.hpp"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <set>

namespace tarrafa::app {

namespace {

constexpr qreal kOpacidadeSemSelecao = 0.6;

QPushButton* botao(const QString& texto, const char* nome, QWidget* pai)
{
    auto* b = new QPushButton(texto, pai);
    b->setObjectName(QString::fromLatin1(nome));
    b->setAutoDefault(false);
    return b;
}

} // namespace

BarraDeAcoes::BarraDeAcoes(Modelo& modelo, Selecao& selecao, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , selecao_(selecao)
    , alternar_(botao(QStringLiteral("Selecionar tudo"), "selecionarTudo", this))
    , contagem_(new QLabel(this))
    , adiar_(botao(QStringLiteral("Adiar"), "adiar", this))
    , resolver_(botao(QStringLiteral("Resolver"), "resolver", this))
    , ignorar_(botao(QStringLiteral("Ignorar"), "ignorar", this))
    , lixeira_(botao(QStringLiteral("Mover para a Lixeira"), "moverParaLixeira", this))
    , devolver_(botao(QStringLiteral("Devolver à caixa de entrada"), "devolver", this))
    , restaurar_(botao(QStringLiteral("Restaurar"), "restaurar", this))
    , detalhes_(botao(QStringLiteral("Detalhes"), "alternarDetalhes", this))
    , opacidade_(new QGraphicsOpacityEffect(this))
{
    setObjectName(QStringLiteral("barraDeAcoes"));
    contagem_->setObjectName(QStringLiteral("contagemSelecionados"));
    contagem_->setFont(aparencia::fonte(aparencia::kLegenda));
    aplicarCores();

    auto* linhas = new Fluxo(this, 8, 6);
    linhas->setContentsMargins(20, 10, 20, 10);
    linhas->addWidget(alternar_);
    linhas->addWidget(contagem_);
    linhas->addMola();
    linhas->addWidget(restaurar_);
    linhas->addWidget(devolver_);
    linhas->addWidget(adiar_);
    linhas->addWidget(resolver_);
    linhas->addWidget(ignorar_);
    linhas->addWidget(lixeira_);
    linhas->addWidget(detalhes_);
    detalhes_->setCheckable(true);
    detalhes_->setToolTip(QStringLiteral("Mostrar ou esconder a prévia e a procedência (Espaço)"));

    setGraphicsEffect(opacidade_);

    connect(alternar_, &QPushButton::clicked, this, &BarraDeAcoes::alternar);
    connect(adiar_, &QPushButton::clicked, this, [this] { decidirSelecionados(Decisao::adiado); });
    connect(resolver_, &QPushButton::clicked, this, [this] { decidirSelecionados(Decisao::resolvido); });
    connect(ignorar_, &QPushButton::clicked, this, [this] { decidirSelecionados(Decisao::ignorado); });
    connect(devolver_, &QPushButton::clicked, this, [this] { decidirSelecionados(Decisao::novo); });
    connect(restaurar_, &QPushButton::clicked, this, [this] {
        const std::set<std::string>& escolhidos = selecao_.selecionados();
        const std::vector<std::string> ids(escolhidos.begin(), escolhidos.end());
        selecao_.setSelecionados({});
        modelo_.restaurar(ids);
    });
    connect(&modelo_, &Modelo::lixeiraChanged, this, &BarraDeAcoes::atualizar);
    connect(&modelo_, &Modelo::selecaoChanged, this, &BarraDeAcoes::atualizar);
    // The panel asks before anything moves, even with nothing chosen.
    connect(lixeira_, &QPushButton::clicked, this, [this] { selecao_.setConfirmandoLixeira(true); });
    connect(&selecao_, &Selecao::selecionadosChanged, this, &BarraDeAcoes::atualizar);
    connect(&modelo_, &Modelo::carregandoChanged, this, &BarraDeAcoes::atualizar);
    atualizar();
}

void BarraDeAcoes::setItens(std::vector<ItemTriado> itens)
{
    ids_.clear();
    ids_.reserve(itens.size());
    for (const ItemTriado& item : itens) {
        ids_.push_back(item.id());
    }
    atualizar();
}

qreal BarraDeAcoes::opacidade() const
{
    return opacidade_->opacity();
}

QString BarraDeAcoes::textoDaContagem(std::size_t selecionados)
{
    if (selecionados == 0) {
        return QStringLiteral("nenhum selecionado");
    }
    return QString::fromStdString(Plural::contagem(static_cast<long long>(selecionados), "selecionado", "selecionados"));
}

void BarraDeAcoes::atualizar()
{
    const std::size_t escolhidos = selecao_.selecionados().size();
    // Counts only: chosen files that left the list still count as chosen.
    alternar_->setText(
        escolhidos == ids_.size() ? QStringLiteral("Limpar seleção") : QStringLiteral("Selecionar tudo"));
    contagem_->setText(textoDaContagem(escolhidos));
    opacidade_->setOpacity(escolhidos == 0 ? kOpacidadeSemSelecao : 1.0);
    // At full opacity the effect would only cost an off-screen pass.
    opacidade_->setEnabled(escolhidos == 0);
    // A file in the Trash can only be restored; the other actions need one still in the folder
    // (with nothing chosen they stay clickable and decide nothing). Never "Mover 0": with
    // nothing chosen there is nothing to confirm.
    const std::set<std::string>& escolhidosAgora = selecao_.selecionados();
    const auto naLixeira = static_cast<std::size_t>(std::count_if(escolhidosAgora.begin(), escolhidosAgora.end(),
        [this](const std::string& id) { return modelo_.estaNaLixeira(id); }));
    const bool soNaLixeira = escolhidos > 0 && naLixeira == escolhidos;
    for (QPushButton* acao : {adiar_, resolver_, ignorar_, devolver_}) {
        acao->setEnabled(!soNaLixeira);
    }
    lixeira_->setEnabled(escolhidos > naLixeira);
    // What each list holds decides what can be done to it: the inbox and a group hold files
    // still to decide; "Adiados" the postponed ones; "Resolvidos" the resolved and ignored ones
    // and the Trash's.
    const Destino::Caso caso = modelo_.selecao().caso();
    adiar_->setVisible(caso != Destino::Caso::adiados && caso != Destino::Caso::resolvidos);
    resolver_->setVisible(caso != Destino::Caso::resolvidos);
    ignorar_->setVisible(caso != Destino::Caso::resolvidos);
    devolver_->setVisible(caso == Destino::Caso::adiados || caso == Destino::Caso::resolvidos);
    restaurar_->setVisible(caso == Destino::Caso::resolvidos);
    restaurar_->setEnabled(naLixeira > 0);
    setEnabled(!modelo_.carregando());
}

void BarraDeAcoes::alternar()
{
    if (selecao_.selecionados().size() != ids_.size()) {
        selecao_.setSelecionados(std::set<std::string>(ids_.begin(), ids_.end()));
    } else {
        selecao_.setSelecionados({});
    }
}

void BarraDeAcoes::decidirSelecionados(Decisao decisao)
{
    const std::set<std::string>& escolhidos = selecao_.selecionados();
    const std::vector<std::string> ids(escolhidos.begin(), escolhidos.end());
    modelo_.decidir(ids, decisao);
    selecao_.setSelecionados({});
}

void BarraDeAcoes::aplicarCores()
{
    QPalette paleta = lixeira_->palette();
    const QColor vermelho = aparencia::vermelho(palette());
    for (const QPalette::ColorGroup grupo : {QPalette::Active, QPalette::Inactive}) {
        paleta.setColor(grupo, QPalette::ButtonText, vermelho);
    }
    paleta.setColor(QPalette::Disabled, QPalette::ButtonText, aparencia::comOpacidade(vermelho, 0.45));
    lixeira_->setPalette(paleta);

    // The count is in the text's own colour: the bar is already dimmed while nothing is
    // chosen, and a secondary colour under that would fall below 4.5:1.
    QPalette paletaDaContagem = contagem_->palette();
    paletaDaContagem.setColor(QPalette::WindowText, palette().color(QPalette::WindowText));
    contagem_->setPalette(paletaDaContagem);
}

void BarraDeAcoes::changeEvent(QEvent* evento)
{
    if (evento->type() == QEvent::PaletteChange || evento->type() == QEvent::StyleChange) {
        aplicarCores();
    }
    QWidget::changeEvent(evento);
}

} // namespace tarrafa::app

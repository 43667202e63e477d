// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/ListaDeGrupos.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aviso.hpp"
#include "TarrafaApp/Painel/CartoesDeGrupos.hpp"
#include "TarrafaApp/Painel/ConteudoIndisponivel.hpp"
#include "TarrafaApp/Painel/ModeloDeGrupos.hpp"
#include "TarrafaCore/Apresentacao.hpp"

#include <QVBoxLayout>

namespace tarrafa::app {

ListaDeGrupos::ListaDeGrupos(Modelo& modelo, QWidget* parent)
    : QScrollArea(parent)
    , modelo_(modelo)
    , conteudo_(new QWidget)
    , aviso_(new Aviso(conteudo_))
    , cartoes_(new CartoesDeGrupos(conteudo_))
    , vazio_(new QWidget(conteudo_))
    , indisponivel_(new ConteudoIndisponivel(QStringLiteral("checkmark.circle"),
          QStringLiteral("Caixa de entrada vazia"),
          QStringLiteral("Nada esperando decisão na sua pasta Downloads."), vazio_))
{
    setObjectName(QStringLiteral("listaDeGrupos"));
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    conteudo_->setObjectName(QStringLiteral("conteudoDaListaDeGrupos"));

    // "Caixa de entrada vazia", 40 below the top of the page.
    vazio_->setObjectName(QStringLiteral("caixaDeEntradaVazia"));
    auto* margem = new QVBoxLayout(vazio_);
    margem->setContentsMargins(0, 40, 0, 0);
    margem->addWidget(indisponivel_);

    auto* pilha = new QVBoxLayout(conteudo_);
    pilha->setContentsMargins(20, 20, 20, 20);
    pilha->setSpacing(8);
    pilha->addWidget(aviso_);
    pilha->addWidget(cartoes_);
    pilha->addWidget(vazio_);
    pilha->addStretch(1);
    setWidget(conteudo_);
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);

    connect(cartoes_, &CartoesDeGrupos::grupoEscolhido, this,
        [this](const QString& chave) { modelo_.setSelecao(Destino::grupo(chave.toStdString())); });
    connect(&modelo_, &Modelo::gruposChanged, this, &ListaDeGrupos::agendar);
    connect(&modelo_, &Modelo::decisoesChanged, this, &ListaDeGrupos::agendar);
    connect(&modelo_, &Modelo::raioXChanged, this, &ListaDeGrupos::agendar);
    connect(&modelo_, &Modelo::carregandoChanged, this, &ListaDeGrupos::agendar);
    atualizar();
}

void ListaDeGrupos::agendar()
{
    // A scan or a decision on many files sends a burst of changes: read the model once after.
    if (agendado_) {
        return;
    }
    agendado_ = true;
    QMetaObject::invokeMethod(this, &ListaDeGrupos::atualizar, Qt::QueuedConnection);
}

void ListaDeGrupos::atualizar()
{
    agendado_ = false;
    const std::optional<RaioX>& raioX = modelo_.raioX();
    const std::optional<std::string> aviso = Apresentacao::avisoDeEspalhamento(raioX ? &*raioX : nullptr);
    aviso_->setTexto(aviso ? QString::fromStdString(*aviso) : QString());
    aviso_->setVisible(aviso.has_value());

    std::vector<GrupoOrigem> grupos = modelo_.gruposVisiveis();
    const bool semGrupos = grupos.empty();
    cartoes_->grupos().setGrupos(std::move(grupos));
    cartoes_->setVisible(!semGrupos);
    // While a scan runs the panel's progress indicator is the only sign.
    vazio_->setVisible(semGrupos && !modelo_.carregando());
}

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
// The panel's question before files go to the Trash, the move once it is answered, and the row
// the person goes on from afterwards.
#include "TarrafaApp/Painel/Painel.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/ConfirmacaoLixeira.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Selecao.hpp"
#include "TarrafaCore/Escapes.hpp"

#include <QPushButton>
#include <QStringList>

#include <optional>
#include <set>
#include <utility>

namespace tarrafa::app {

ConfirmacaoLixeira* Painel::confirmacao() const
{
    return confirmacao_.data();
}

void Painel::pedirParaMoverSelecionados()
{
    if (conteudo_ != Conteudo::arquivos || modelo_.carregando() || selecao_->selecionados().empty()) {
        return;
    }
    selecao_->setConfirmandoLixeira(true);
}

void Painel::responderProximaConfirmacao(Resposta resposta)
{
    proximaResposta_ = resposta;
}

void Painel::aoPedirConfirmacao()
{
    if (!selecao_->confirmandoLixeira() || confirmacao_) {
        return;
    }
    // Only what is chosen and listed: a file hidden by the search is not what the person sees.
    QStringList nomes;
    confirmados_ = escolhidosNaLista();
    for (const ItemTriado& item : confirmados_) {
        nomes.append(QString::fromStdString(Escapes::paraJanela(item.nome())));
    }
    if (nomes.isEmpty()) {
        selecao_->setConfirmandoLixeira(false);
        return;
    }
    auto* pergunta = new ConfirmacaoLixeira(nomes, this);
    pergunta->setAttribute(Qt::WA_DeleteOnClose);
    confirmacao_ = pergunta;
    connect(pergunta, &QDialog::finished, this, &Painel::aoResponder);
    pergunta->open();
    if (proximaResposta_) {
        const Resposta resposta = *proximaResposta_;
        proximaResposta_.reset();
        (resposta == Resposta::mover ? pergunta->mover() : pergunta->cancelar())->click();
    }
}

void Painel::aoResponder(int resultado)
{
    confirmacao_ = nullptr;
    if (resultado == QDialog::Accepted) {
        moverSelecionados();
    }
    selecao_->setConfirmandoLixeira(false);
}

std::vector<ItemTriado> Painel::escolhidosNaLista() const
{
    const std::set<std::string>& escolhidos = selecao_->selecionados();
    std::vector<ItemTriado> listados;
    for (const ItemTriado& item : modelo_.itens(modelo_.selecao())) {
        // A row marked "Na Lixeira" is already there.
        if (escolhidos.contains(item.id()) && !modelo_.estaNaLixeira(item.id())) {
            listados.push_back(item);
        }
    }
    return listados;
}

void Painel::moverSelecionados()
{
    // Only what is still listed, in the list's order: a rescan may have taken some away, and
    // the person is told which, rather than seeing fewer files go without a word.
    const std::vector<ItemTriado> movidos = escolhidosNaLista();
    std::set<std::string> idsMovidos;
    for (const ItemTriado& item : movidos) {
        idsMovidos.insert(item.id());
    }
    QStringList sumidos;
    for (const ItemTriado& item : std::exchange(confirmados_, {})) {
        if (!idsMovidos.contains(item.id())) {
            sumidos.append(QStringLiteral("Não movi ") + QString::fromStdString(Escapes::paraJanela(item.nome()))
                + QStringLiteral(" para a Lixeira: ele saiu da pasta antes da confirmação."));
        }
    }
    // The person goes on from where the moved files were, as in a file manager: the first
    // file after them, or the last one before them when they ended the list.
    const std::vector<ItemTriado>& listados = lista_->itens();
    std::optional<std::size_t> primeiro;
    std::optional<std::size_t> ultimo;
    for (std::size_t i = 0; i < listados.size(); ++i) {
        if (idsMovidos.contains(listados[i].id())) {
            primeiro = primeiro.value_or(i);
            ultimo = i;
        }
    }
    proximoAposMover_.clear();
    if (ultimo) {
        for (std::size_t i = *ultimo + 1; i < listados.size() && proximoAposMover_.empty(); ++i) {
            if (!idsMovidos.contains(listados[i].id())) {
                proximoAposMover_ = listados[i].id();
            }
        }
        for (std::size_t i = *primeiro; i > 0 && proximoAposMover_.empty(); --i) {
            if (!idsMovidos.contains(listados[i - 1].id())) {
                proximoAposMover_ = listados[i - 1].id();
            }
        }
    }
    esperandoVarredura_ = !proximoAposMover_.empty();
    modelo_.moverParaLixeira(movidos);
    selecao_->setSelecionados({});
    if (!sumidos.isEmpty()) {
        modelo_.informar(sumidos.join(QLatin1Char('\n')));
    }
}

void Painel::seguirAposMover()
{
    if (proximoAposMover_.empty()) {
        return;
    }
    lista_->tornarAtual(proximoAposMover_, false);
    // Until the rescan has taken the moved rows away, the list may still change under it.
    if (!esperandoVarredura_) {
        proximoAposMover_.clear();
    }
}

} // namespace tarrafa::app

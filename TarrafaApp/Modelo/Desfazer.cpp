// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Modelo/Desfazer.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaCore/Plural.hpp"

#include <utility>

namespace tarrafa::app {

namespace {

QString contagem(std::size_t quantos, std::string_view singular, std::string_view plural)
{
    return QString::fromStdString(Plural::contagem(static_cast<long long>(quantos), singular, plural));
}

} // namespace

QString textoDaDecisao(std::size_t quantos, Decisao decisao)
{
    switch (decisao) {
    case Decisao::adiado:
        return contagem(quantos, "arquivo adiado", "arquivos adiados");
    case Decisao::resolvido:
        return contagem(quantos, "arquivo resolvido", "arquivos resolvidos");
    case Decisao::ignorado:
        return contagem(quantos, "arquivo ignorado", "arquivos ignorados");
    case Decisao::novo:
        break;
    }
    return contagem(quantos, "arquivo devolvido à caixa de entrada", "arquivos devolvidos à caixa de entrada");
}

QString textoDaLixeira(std::size_t quantos)
{
    return contagem(quantos, "arquivo movido para a Lixeira", "arquivos movidos para a Lixeira");
}

QString textoDaRestauracao(std::size_t quantos)
{
    return contagem(quantos, "arquivo restaurado", "arquivos restaurados");
}

ComandoDeDecisao::ComandoDeDecisao(
    Modelo& modelo, std::vector<std::string> ids, Decisao decisao, DecisoesAnteriores anteriores)
    : QUndoCommand(textoDaDecisao(ids.size(), decisao))
    , modelo_(modelo)
    , ids_(std::move(ids))
    , decisao_(decisao)
    , anteriores_(std::move(anteriores))
{
}

void ComandoDeDecisao::redo()
{
    modelo_.registrar(ids_, decisao_);
}

void ComandoDeDecisao::undo()
{
    modelo_.voltarDecisoes(anteriores_);
}

ComandoDeLixeira::ComandoDeLixeira(
    Modelo& modelo, Sentido sentido, std::vector<Movido> movidos, DecisoesAnteriores anteriores)
    : QUndoCommand(sentido == Sentido::paraALixeira ? textoDaLixeira(movidos.size()) : textoDaRestauracao(movidos.size()))
    , modelo_(modelo)
    , sentido_(sentido)
    , movidos_(std::move(movidos))
    , anteriores_(std::move(anteriores))
{
}

void ComandoDeLixeira::redo()
{
    if (std::exchange(feito_, false)) {
        return;
    }
    levar(sentido_ == Sentido::paraALixeira);
}

void ComandoDeLixeira::undo()
{
    levar(sentido_ != Sentido::paraALixeira);
}

void ComandoDeLixeira::levar(bool paraALixeira)
{
    // Back in the folder, a file takes the decision it had before the step (after a restore:
    // none, the inbox); in the Trash it is resolved.
    movidos_ = paraALixeira ? modelo_.levarDeNovoParaALixeira(movidos_) : modelo_.trazerDaLixeira(movidos_, anteriores_);
    if (movidos_.empty()) {
        setObsolete(true);
    } else {
        setText(sentido_ == Sentido::paraALixeira ? textoDaLixeira(movidos_.size())
                                                 : textoDaRestauracao(movidos_.size()));
    }
}

} // namespace tarrafa::app

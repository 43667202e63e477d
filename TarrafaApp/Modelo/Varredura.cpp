// SPDX-License-Identifier: GPL-3.0-or-later
// A scan in the background: the folder read and triaged, and what the Trash holds from it.
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaCore/AppsInstalados.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/NaLixeira.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Texto.hpp"

#include <exception>
#include <system_error>
#include <utility>

namespace tarrafa::app {

namespace {

// Every file of the Trash that was in the folder, as the row "Resolvidos" shows, with its name
// as a search compares it.
std::vector<ItemNaLixeira> itensNaLixeira(const std::string& pasta, const TriageEngine& triagem, const std::stop_token& parar)
{
    std::vector<ItemNaLixeira> itens;
    for (NaLixeira::Item& lido : NaLixeira::ler(pasta, triagem, parar)) {
        std::string chave = Texto::chaveDeBusca(lido.item.nome());
        itens.push_back({std::move(lido.item), std::move(lido.guardado), std::move(chave)});
    }
    return itens;
}

} // namespace

// Runs on a pool thread: touches nothing but its own copy of the folder's path, and turns
// every exception into a value so that none crosses back to the interface thread.
Modelo::Varredura Modelo::varrerEmSegundoPlano(const std::string& pasta, const std::stop_token& parar)
{
    // A Downloads folder turned off points at the home: its Documents, Music and Pictures are
    // not downloads, and never Trash candidates.
    if (PastasDoUsuario::ehACasa(pasta)) {
        Varredura naoConfigurada;
        naoConfigurada.naoConfigurada = Apresentacao::downloadsNaoConfigurada(PastasDoUsuario::arquivoDasPastas());
        return naoConfigurada;
    }
    try {
        auto viva = std::make_shared<PastaViva>(pasta, AppsInstalados::listar(), parar);
        const PastaViva::Atualizacao lida = viva->varrerTudo();
        if (lida.falha) {
            Varredura falhou;
            falhou.falha = *lida.falha;
            falhou.viva = std::move(viva);
            return falhou;
        }
        std::vector<GrupoOrigem> grupos = viva->grupos();
        std::vector<std::vector<std::string>> chaves;
        chaves.reserve(grupos.size());
        std::unordered_map<std::string, std::string> grupoDe;
        for (const GrupoOrigem& grupo : grupos) {
            std::vector<std::string>& doGrupo = chaves.emplace_back();
            doGrupo.reserve(grupo.itens().size());
            for (const ItemTriado& item : grupo.itens()) {
                doGrupo.push_back(Texto::chaveDeBusca(item.nome()));
                grupoDe.emplace(item.id(), grupo.id());
            }
        }
        Varredura varredura;
        varredura.grupoDe = std::move(grupoDe);
        varredura.identidades = viva->identidades();
        varredura.grupos = std::move(grupos);
        varredura.chavesDeBusca = std::move(chaves);
        varredura.baixando = viva->baixando();
        varredura.sha256 = viva->sha256();
        varredura.lixeira = itensNaLixeira(viva->pasta(), viva->triagem(), parar);
        varredura.viva = std::move(viva);
        return varredura;
    } catch (const std::system_error& erro) {
        Varredura falhou;
        falhou.falha = erro.code().message();
        return falhou;
    } catch (const std::exception& erro) {
        Varredura falhou;
        falhou.falha = std::string(erro.what());
        return falhou;
    }
}

} // namespace tarrafa::app

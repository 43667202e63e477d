// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/NaLixeira.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/Texto.hpp"

#include <map>
#include <unordered_map>
#include <utility>

namespace tarrafa::NaLixeira {

std::vector<Item> ler(const std::string& pasta, const TriageEngine& triagem, const std::stop_token& parar)
{
    std::vector<Lixeira::Guardado> guardados = Lixeira::listar(PastaScanner::caminhoAbsoluto(pasta));
    // One read per trash folder, not per file.
    std::map<std::string, std::vector<std::string>> nomesPorPasta;
    for (const Lixeira::Guardado& guardado : guardados) {
        nomesPorPasta[Caminho::pastaDe(guardado.arquivo)].push_back(Caminho::nomeDe(guardado.arquivo));
    }
    const PastaScanner scanner(parar);
    std::unordered_map<std::string, PastaScanner::Leitura> lidas;
    for (const auto& [pastaDosArquivos, nomes] : nomesPorPasta) {
        for (PastaScanner::Leitura& leitura : scanner.ler(pastaDosArquivos, nomes)) {
            std::string id = leitura.id;
            lidas.insert_or_assign(std::move(id), std::move(leitura));
        }
    }
    std::vector<Item> itens;
    itens.reserve(guardados.size());
    for (Lixeira::Guardado& guardado : guardados) {
        const auto lida = lidas.find(guardado.arquivo);
        if (lida == lidas.end()) {
            continue;
        }
        PastaScanner::Leitura leitura = lida->second;
        // Named as it was in the folder, not as the Trash renamed it to keep it apart.
        leitura.nome = Texto::utf8Valido(Caminho::nomeDe(guardado.caminhoOriginal));
        itens.push_back({triagem.triarUm(PastaScanner::snapshotDe(std::move(leitura)), 1), std::move(guardado)});
    }
    return itens;
}

} // namespace tarrafa::NaLixeira

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/SeriesDetector.hpp"

#include "TarrafaCore/NameAnalyzer.hpp"
#include "TarrafaCore/Texto.hpp"

namespace tarrafa::SeriesDetector {

std::string chave(std::string_view nome)
{
    // The copy-marker removal works on, and returns, composed (NFC) text, so canonically
    // equivalent names give the same key.
    return NameAnalyzer::removerSufixoDeCopia(Texto::semExtensao(nome));
}

std::unordered_map<std::string, int> candidatos(const std::vector<FileSnapshot>& snapshots)
{
    // Each key is computed once and counted; the counting map looks into `chaves`, which
    // is filled completely before and never grows afterwards.
    std::vector<std::string> chaves;
    chaves.reserve(snapshots.size());
    for (const FileSnapshot& s : snapshots) {
        chaves.push_back(chave(s.nome()));
    }
    std::unordered_map<std::string_view, int> porChave;
    porChave.reserve(snapshots.size());
    for (const std::string& k : chaves) {
        ++porChave[k];
    }
    std::unordered_map<std::string, int> contagens;
    contagens.reserve(snapshots.size());
    for (std::size_t i = 0; i < snapshots.size(); ++i) {
        // The same name always has the same key, so a repeated name finds the same count.
        contagens[snapshots[i].nome()] = porChave.at(chaves[i]);
    }
    return contagens;
}

} // namespace tarrafa::SeriesDetector

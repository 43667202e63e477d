// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/CasamentoDeDownloads.hpp"

#include <cmath>
#include <cstdlib>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>

namespace tarrafa::CasamentoDeDownloads {

namespace {

std::string_view nomeDe(std::string_view caminho)
{
    const std::size_t barra = caminho.rfind('/');
    return barra == std::string_view::npos ? caminho : caminho.substr(barra + 1);
}

std::string_view pastaDe(std::string_view caminho)
{
    const std::size_t barra = caminho.rfind('/');
    if (barra == std::string_view::npos) {
        return {};
    }
    return barra == 0 ? caminho.substr(0, 1) : caminho.substr(0, barra);
}

std::optional<std::string> caminhoReal(const std::string& caminho)
{
    char* real = ::realpath(caminho.c_str(), nullptr);
    if (real == nullptr) {
        return std::nullopt;
    }
    std::string resultado(real);
    std::free(real);
    return resultado;
}

// Whether a folder a record names is the scanned folder, by either of its paths or by what it
// resolves to. Each distinct folder is resolved once.
class Equivalencias {
public:
    explicit Equivalencias(const Pasta& pasta)
        : pasta_(pasta)
    {
    }

    bool ehAPasta(std::string_view pastaDoRegistro)
    {
        const std::string limpa = limpar(std::string(pastaDoRegistro));
        if (limpa == pasta_.dada || limpa == pasta_.real) {
            return true;
        }
        const auto [it, novo] = cache_.try_emplace(limpa, false);
        if (novo) {
            const std::optional<std::string> real = caminhoReal(limpa);
            it->second = real && *real == pasta_.real;
        }
        return it->second;
    }

private:
    const Pasta& pasta_;
    std::unordered_map<std::string, bool> cache_;
};

bool perto(const std::optional<Date>& a, const std::optional<Date>& b)
{
    return a && b && std::fabs(*a - *b) <= kJanela;
}

// Whether a file's times and a record's fit one download: the file came to be (or was last
// written) within the window of when the download started or ended. A download that took
// longer than the window has its birth near the start and its last write near the end.
bool tempoCombina(const Arquivo& arquivo, const RegistroDeDownload& registro)
{
    for (const std::optional<Date>& doArquivo : {arquivo.nascimento, arquivo.modificacao}) {
        if (perto(doArquivo, registro.baixadoEm) || perto(doArquivo, registro.inicio)) {
            return true;
        }
    }
    return false;
}

// Whether the file a record names is still where the browser put it, with its size: then the
// record describes that file and no other.
bool arquivoDoRegistroExiste(const RegistroDeDownload& registro)
{
    if (registro.caminho.empty() || !registro.tamanho) {
        return false;
    }
    struct stat info { };
    return ::stat(registro.caminho.c_str(), &info) == 0 && S_ISREG(info.st_mode)
        && info.st_size == *registro.tamanho;
}

} // namespace

std::string limpar(const std::string& caminho)
{
    std::string saida;
    saida.reserve(caminho.size());
    std::size_t i = 0;
    while (i < caminho.size()) {
        if (caminho[i] == '/') {
            // A run of slashes is one; a "." segment is nothing.
            while (i < caminho.size() && caminho[i] == '/') {
                ++i;
            }
            if (i + 1 <= caminho.size() && caminho.compare(i, 1, ".") == 0
                && (i + 1 == caminho.size() || caminho[i + 1] == '/')) {
                ++i;
                continue;
            }
            saida.push_back('/');
            continue;
        }
        saida.push_back(caminho[i++]);
    }
    while (saida.size() > 1 && saida.back() == '/') {
        saida.pop_back();
    }
    return saida.empty() && !caminho.empty() && caminho.front() == '/' ? std::string("/") : saida;
}

Pasta resolver(const std::string& caminhoAbsoluto)
{
    Pasta pasta;
    pasta.dada = limpar(caminhoAbsoluto);
    pasta.real = caminhoReal(pasta.dada).value_or(pasta.dada);
    return pasta;
}

std::vector<const RegistroDeDownload*> casar(const Pasta& pasta, const std::vector<Arquivo>& arquivos,
    const std::vector<RegistroDeDownload>& registros)
{
    std::vector<const RegistroDeDownload*> escolhidos(arquivos.size(), nullptr);
    if (registros.empty()) {
        return escolhidos;
    }
    std::unordered_map<std::string_view, std::vector<std::size_t>> porNome;
    for (std::size_t r = 0; r < registros.size(); ++r) {
        if (!registros[r].caminho.empty()) {
            porNome[nomeDe(registros[r].caminho)].push_back(r);
        }
    }

    // By path: of the records naming the file whose size agrees, the one that ended last.
    Equivalencias equivalencias(pasta);
    std::vector<bool> usado(registros.size(), false);
    for (std::size_t a = 0; a < arquivos.size(); ++a) {
        const auto it = porNome.find(arquivos[a].nome);
        if (it == porNome.end()) {
            continue;
        }
        const RegistroDeDownload* melhor = nullptr;
        std::size_t indiceMelhor = 0;
        for (const std::size_t r : it->second) {
            const RegistroDeDownload& registro = registros[r];
            if (registro.tamanho && *registro.tamanho != arquivos[a].tamanho) {
                continue; // the file at that path now is another one
            }
            if (!equivalencias.ehAPasta(pastaDe(registro.caminho))) {
                continue;
            }
            if (melhor == nullptr
                || (registro.baixadoEm && (!melhor->baixadoEm || *registro.baixadoEm > *melhor->baixadoEm))) {
                melhor = &registro;
                indiceMelhor = r;
            }
        }
        if (melhor != nullptr) {
            escolhidos[a] = melhor;
            usado[indiceMelhor] = true;
        }
    }

    // By size and time, for files still without an origin, among the records left.
    std::unordered_map<std::int64_t, std::vector<std::size_t>> porTamanho;
    for (std::size_t r = 0; r < registros.size(); ++r) {
        if (!usado[r] && registros[r].tamanho) {
            porTamanho[*registros[r].tamanho].push_back(r);
        }
    }
    std::vector<std::optional<std::size_t>> unico(arquivos.size());
    std::unordered_map<std::size_t, int> pretendentes; // record -> how many files it fits
    for (std::size_t a = 0; a < arquivos.size(); ++a) {
        if (escolhidos[a] != nullptr || !arquivos[a].semOrigem) {
            continue;
        }
        const auto it = porTamanho.find(arquivos[a].tamanho);
        if (it == porTamanho.end()) {
            continue;
        }
        std::vector<std::size_t> candidatos;
        for (const std::size_t r : it->second) {
            if (tempoCombina(arquivos[a], registros[r]) && !arquivoDoRegistroExiste(registros[r])) {
                candidatos.push_back(r);
            }
        }
        for (const std::size_t r : candidatos) {
            ++pretendentes[r];
        }
        if (candidatos.size() == 1) {
            unico[a] = candidatos.front();
        }
    }
    for (std::size_t a = 0; a < arquivos.size(); ++a) {
        if (unico[a] && pretendentes[*unico[a]] == 1) {
            escolhidos[a] = &registros[*unico[a]];
        }
    }
    return escolhidos;
}

} // namespace tarrafa::CasamentoDeDownloads

// SPDX-License-Identifier: GPL-3.0-or-later
// Content duplicates on a large folder: the time to every "cópia idêntica" badge, and the bytes
// read, with no cache of hashes (cold) and with the cache the cold run left (warm).
//
// The folder: --arquivos files in all, among them --pares pairs of identical 1 MB files and
// --colisoes pairs of 1 MB files of the same size whose bytes differ in the middle (read whole,
// found different), the rest of sizes that rarely meet. Before the cold run every file is
// written out and dropped from the page cache, so its reads go to the disk.
//
//   duplicatas [--pasta DIR] [--arquivos N] [--pares N] [--colisoes N]
#include "TarrafaCore/CacheDeHashes.hpp"
#include "TarrafaCore/Duplicatas.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace {

using Relogio = std::chrono::steady_clock;
using namespace tarrafa;

struct Opcoes {
    std::string pasta;
    int arquivos = 10'000;
    int pares = 500;
    int colisoes = 50;
};

constexpr std::size_t kMega = std::size_t {1} << 20;

void criar(const std::string& caminho, const std::string& bytes)
{
    const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0 || ::write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        std::fprintf(stderr, "cannot write %s: %s\n", caminho.c_str(), std::strerror(errno));
        std::exit(1);
    }
    ::close(fd);
}

std::string aleatorio(std::mt19937_64& gerador, std::size_t tamanho)
{
    std::string bytes(tamanho, '\0');
    for (std::size_t i = 0; i + 8 <= tamanho; i += 8) {
        const std::uint64_t valor = gerador();
        std::memcpy(bytes.data() + i, &valor, 8);
    }
    return bytes;
}

// Sizes of the files that are not meant to meet: 4 KiB to 4 MiB, spread out.
std::size_t tamanhoSolto(std::mt19937_64& gerador)
{
    std::uniform_real_distribution<double> expoente(12.0, 22.0);
    return static_cast<std::size_t>(std::pow(2.0, expoente(gerador))) | 1U;
}

void esvaziarCacheDePaginas(const std::string& pasta)
{
    ::sync();
    for (const auto& entrada : std::filesystem::directory_iterator(pasta)) {
        const int fd = ::open(entrada.path().c_str(), O_RDONLY | O_CLOEXEC);
        if (fd >= 0) {
            ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
            ::close(fd);
        }
    }
}

double ms(Relogio::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

} // namespace

int main(int argc, char** argv)
{
    Opcoes opcoes;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string chave = argv[i];
        const std::string valor = argv[i + 1];
        if (chave == "--pasta") {
            opcoes.pasta = valor;
        } else if (chave == "--arquivos") {
            opcoes.arquivos = std::stoi(valor);
        } else if (chave == "--pares") {
            opcoes.pares = std::stoi(valor);
        } else if (chave == "--colisoes") {
            opcoes.colisoes = std::stoi(valor);
        } else {
            std::fprintf(stderr, "usage: duplicatas [--pasta DIR] [--arquivos N] [--pares N] [--colisoes N]\n");
            return 2;
        }
    }
    const bool temporaria = opcoes.pasta.empty();
    if (temporaria) {
        std::string modelo = (std::filesystem::temp_directory_path() / "tarrafa-duplicatas-XXXXXX").string();
        if (::mkdtemp(modelo.data()) == nullptr) {
            return 1;
        }
        opcoes.pasta = modelo;
    }
    const std::string downloads = opcoes.pasta + "/Downloads";
    const std::string cache = opcoes.pasta + "/hashes.sqlite";
    std::filesystem::create_directories(downloads);

    std::mt19937_64 gerador(20261124);
    int feitos = 0;
    for (int p = 0; p < opcoes.pares; ++p, feitos += 2) {
        const std::string bytes = aleatorio(gerador, kMega);
        criar(downloads + "/par-" + std::to_string(p) + ".bin", bytes);
        criar(downloads + "/copia-" + std::to_string(p) + " (1).bin", bytes);
    }
    for (int c = 0; c < opcoes.colisoes; ++c, feitos += 2) {
        std::string bytes = aleatorio(gerador, kMega - 4096 - static_cast<std::size_t>(c));
        criar(downloads + "/mesmo-tamanho-" + std::to_string(c) + "-a.bin", bytes);
        bytes[bytes.size() / 2] ^= 1;
        criar(downloads + "/mesmo-tamanho-" + std::to_string(c) + "-b.bin", bytes);
    }
    for (; feitos < opcoes.arquivos; ++feitos) {
        criar(downloads + "/solto-" + std::to_string(feitos) + ".dat", aleatorio(gerador, tamanhoSolto(gerador)));
    }

    const PastaScanner::Resultado lido = PastaScanner().varrerComIdentidades(downloads);
    std::unordered_map<std::string, Identidade> identidades;
    for (std::size_t k = 0; k < lido.snapshots.size(); ++k) {
        identidades.emplace(lido.snapshots[k].id(), lido.identidades[k]);
    }
    std::vector<const FileSnapshot*> snapshots;
    for (const FileSnapshot& snapshot : lido.snapshots) {
        snapshots.push_back(&snapshot);
    }
    const std::vector<Duplicatas::Arquivo> arquivos = Duplicatas::candidatos(snapshots, identidades);

    // The budget: every file of a size shared with another, at both ends, and the files that
    // are then candidates read whole.
    std::unordered_map<std::int64_t, int> porTamanho;
    for (const auto& arquivo : arquivos) {
        ++porTamanho[arquivo.identidade.tamanho];
    }
    std::uint64_t colidem = 0;
    for (const auto& arquivo : arquivos) {
        if (porTamanho[arquivo.identidade.tamanho] > 1) {
            ++colidem;
        }
    }
    const std::uint64_t candidatos = (2ULL * opcoes.pares + 2ULL * opcoes.colisoes) * kMega;
    const std::uint64_t orcamento = candidatos + colidem * 2 * Duplicatas::kPonta;

    esvaziarCacheDePaginas(downloads);
    std::filesystem::remove(cache);
    Duplicatas::Resultado frio;
    const auto inicioFrio = Relogio::now();
    {
        CacheDeHashes hashes(cache);
        frio = Duplicatas::encontrar(arquivos, hashes);
    }
    const auto tempoFrio = Relogio::now() - inicioFrio;

    Duplicatas::Resultado quente;
    const auto inicioQuente = Relogio::now();
    {
        CacheDeHashes hashes(cache);
        quente = Duplicatas::encontrar(arquivos, hashes);
    }
    const auto tempoQuente = Relogio::now() - inicioQuente;

    std::printf("folder: %zu files, %d identical pairs of 1 MiB, %d same-size pairs that differ, %llu files "
                "share a size\n",
        lido.snapshots.size(), opcoes.pares, opcoes.colisoes, static_cast<unsigned long long>(colidem));
    std::printf("cold (no hash cache, page cache dropped): %8.1f ms  %zu copies  read %llu bytes (budget %llu)  "
                "%zu files opened\n",
        ms(tempoFrio), frio.duplicataDe.size(), static_cast<unsigned long long>(frio.bytesLidos),
        static_cast<unsigned long long>(orcamento), frio.arquivosAbertos);
    std::printf("warm (hash cache of the cold run):        %8.1f ms  %zu copies  read %llu bytes  %zu files opened  "
                "%zu hashes remembered\n",
        ms(tempoQuente), quente.duplicataDe.size(), static_cast<unsigned long long>(quente.bytesLidos),
        quente.arquivosAbertos, quente.hashesLembrados);

    const bool certo = frio.duplicataDe.size() == static_cast<std::size_t>(opcoes.pares)
        && quente.duplicataDe == frio.duplicataDe && frio.bytesLidos <= orcamento && quente.bytesLidos == 0;
    if (temporaria) {
        std::filesystem::remove_all(opcoes.pasta);
    }
    if (!certo) {
        std::fprintf(stderr, "FAILED: wrong copies found, or over the reading budget\n");
        return 1;
    }
    return 0;
}

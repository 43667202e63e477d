// SPDX-License-Identifier: GPL-3.0-or-later
// The cache of hashes over arbitrary database files. The input is written as the cache file in
// our scratch folder (what SQLite or an earlier input left beside it removed first); the cache
// is opened, two files are looked up, their hashes stored and written, and looked up again,
// then the cache is opened once more. Whatever the file held, nothing may crash or hang, and
// a hash found after storing is the one stored.
#include "Apoio.hpp"

#include "TarrafaCore/CacheDeHashes.hpp"

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace {

using namespace tarrafa;

// Device numbers with the top bit set, as the signed columns hold them bit for bit.
const Identidade kUm {~std::uint64_t {0}, 42, S_IFREG, 300 * 1024, 1'700'000'000'123'456'789, 1'700'000'100'000'000'001};
const Identidade kDois {2049, 7, S_IFREG, 1, 0, 0};
constexpr Hash128 kParcial {0x0123456789abcdefULL, 0xfedcba9876543210ULL};
constexpr Hash128 kCompleto {1, 2};
constexpr Hash128 kOutro {~std::uint64_t {0}, 0};

void limpar(const std::string& arquivo)
{
    for (const char* sufixo : {"-wal", "-shm", "-journal"}) {
        for (const char* descartado : {"", ".descartado"}) {
            std::error_code ignorado;
            std::filesystem::remove(arquivo + sufixo + descartado, ignorado);
        }
    }
    std::error_code ignorado;
    std::filesystem::remove(arquivo + ".descartado", ignorado);
}

// A hash found is the one stored, or nothing at all.
void conferir(const std::optional<CacheDeHashes::Entrada>& lida, const CacheDeHashes::Entrada& guardada)
{
    if (lida) {
        TARRAFA_EXIGIR(lida->parcial == guardada.parcial);
        TARRAFA_EXIGIR(lida->completo == guardada.completo);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dados, std::size_t tamanho)
{
    const fuzz::Rascunho& rascunho = fuzz::Rascunho::instancia();
    const std::string caminho = rascunho.pasta() + "/hashes.sqlite";
    limpar(caminho);
    const std::string arquivo = rascunho.escrever("hashes.sqlite", fuzz::comoBytes(dados, tamanho));
    const CacheDeHashes::Entrada um {kParcial, kCompleto};
    const CacheDeHashes::Entrada dois {kOutro, std::nullopt};
    {
        CacheDeHashes cache(arquivo);
        (void)cache.buscar(kUm);
        (void)cache.buscar(kDois);
        cache.guardar(kUm, um);
        cache.guardar(kDois, dois);
        cache.gravar();
        conferir(cache.buscar(kUm), um);
        conferir(cache.buscar(kDois), dois);
        const bool aberto = cache.aberto();
        // An open cache stands in a regular file; when none could be made, nothing is kept.
        struct stat info { };
        TARRAFA_EXIGIR(!aberto || (::lstat(arquivo.c_str(), &info) == 0 && S_ISREG(info.st_mode)));
    }
    {
        CacheDeHashes cache(arquivo);
        conferir(cache.buscar(kUm), um);
        conferir(cache.buscar(kDois), dois);
    }
    limpar(caminho);
    return 0;
}

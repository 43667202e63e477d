// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Duplicatas.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/NameAnalyzer.hpp"

#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <system_error>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa::Duplicatas {
namespace {

// How much a full reading asks of the kernel at a time.
constexpr std::size_t kBloco = std::size_t {1} << 20;

void pararSePedido(const std::stop_token& parar)
{
    if (parar.stop_requested()) {
        throw std::system_error(ECANCELED, std::generic_category());
    }
}

Hash128 deXxh(XXH128_hash_t hash) noexcept
{
    return {hash.low64, hash.high64};
}

struct Estado {
    Estado()
        : estado(XXH3_createState())
    {
        if (estado == nullptr) {
            throw std::bad_alloc();
        }
        XXH3_128bits_reset(estado);
    }
    Estado(const Estado&) = delete;
    Estado& operator=(const Estado&) = delete;
    ~Estado() { XXH3_freeState(estado); }
    XXH3_state_t* estado;
};

// Reads files for the comparison, counting what it read, and only while each is still the
// file the scan saw.
class Leitor final {
public:
    Leitor(Resultado& resultado, const std::stop_token& parar)
        : resultado_(resultado)
        , parar_(parar)
        , bloco_(std::make_unique<char[]>(kBloco))
    {
    }

    // Of the first and the last kPonta bytes; of the whole file when both cover it.
    std::optional<Hash128> parcial(const Arquivo& arquivo)
    {
        Descritor fd = abrir(arquivo);
        if (!fd.valido()) {
            return std::nullopt;
        }
        const auto tamanho = static_cast<std::uint64_t>(arquivo.identidade.tamanho);
        Estado estado;
        if (tamanho <= 2 * kPonta) {
            if (!ler(fd.get(), 0, tamanho, estado)) {
                return std::nullopt;
            }
        } else if (!ler(fd.get(), 0, kPonta, estado) || !ler(fd.get(), tamanho - kPonta, kPonta, estado)) {
            return std::nullopt;
        }
        if (!inalterado(fd.get(), arquivo)) {
            return std::nullopt;
        }
        return deXxh(XXH3_128bits_digest(estado.estado));
    }

    std::optional<Hash128> completo(const Arquivo& arquivo)
    {
        Descritor fd = abrir(arquivo);
        if (!fd.valido()) {
            return std::nullopt;
        }
        const auto tamanho = static_cast<std::uint64_t>(arquivo.identidade.tamanho);
        ::posix_fadvise(fd.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
        Estado estado;
        const bool lido = ler(fd.get(), 0, tamanho, estado);
        // What was read once for a comparison is not kept in memory at the expense of what
        // the person uses.
        ::posix_fadvise(fd.get(), 0, 0, POSIX_FADV_DONTNEED);
        if (!lido || !inalterado(fd.get(), arquivo)) {
            return std::nullopt;
        }
        return deXxh(XXH3_128bits_digest(estado.estado));
    }

private:
    Descritor abrir(const Arquivo& arquivo)
    {
        pararSePedido(parar_);
        Descritor fd = abrirArquivoParaLer(arquivo.id.c_str());
        if (!fd.valido()) {
            return fd;
        }
        ++resultado_.arquivosAbertos;
        if (!inalterado(fd.get(), arquivo)) {
            return Descritor();
        }
        return fd;
    }

    // Whether the open file is still the regular file the scan saw, same size, same
    // modification and change times: a file rewritten meanwhile is compared with nothing. The
    // change time counts here too, or a hash read after an in-place edit would be remembered
    // under the key of the file as it was before it.
    static bool inalterado(int fd, const Arquivo& arquivo)
    {
        struct statx info {};
        constexpr unsigned kCampos = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME;
        if (::statx(fd, "", AT_EMPTY_PATH | AT_STATX_SYNC_AS_STAT, kCampos, &info) != 0) {
            return false;
        }
        const Identidade agora = Identidade::deStatx(info);
        return agora == arquivo.identidade && agora.alteradoNs == arquivo.identidade.alteradoNs;
    }

    // Exactly quanto bytes from the offset into the hash; false when the file ends early or a
    // read fails.
    bool ler(int fd, std::uint64_t desde, std::uint64_t quanto, Estado& estado)
    {
        while (quanto > 0) {
            pararSePedido(parar_);
            const std::size_t pedir = static_cast<std::size_t>(std::min<std::uint64_t>(quanto, kBloco));
            const ssize_t lidos = ::pread(fd, bloco_.get(), pedir, static_cast<off_t>(desde));
            if (lidos < 0 && errno == EINTR) {
                continue;
            }
            if (lidos <= 0) {
                return false;
            }
            resultado_.bytesLidos += static_cast<std::uint64_t>(lidos);
            XXH3_128bits_update(estado.estado, bloco_.get(), static_cast<std::size_t>(lidos));
            desde += static_cast<std::uint64_t>(lidos);
            quanto -= static_cast<std::uint64_t>(lidos);
        }
        return true;
    }

    Resultado& resultado_;
    const std::stop_token& parar_;
    std::unique_ptr<char[]> bloco_;
};

// Of two identical files, which is the original: the one that arrived first. Files written in
// the same instant (the clock of a file system ticks in milliseconds) are told apart by their
// names: one without a copy suffix, then the shorter name, then the bytes.
bool maisOriginal(const Arquivo* a, const Arquivo* b)
{
    if (a->chegouEm != b->chegouEm) {
        return a->chegouEm < b->chegouEm;
    }
    const std::string nomeA = Caminho::nomeDe(a->id);
    const std::string nomeB = Caminho::nomeDe(b->id);
    const bool copiaA = NameAnalyzer::temSufixoDeCopia(nomeA);
    const bool copiaB = NameAnalyzer::temSufixoDeCopia(nomeB);
    if (copiaA != copiaB) {
        return copiaB;
    }
    if (nomeA.size() != nomeB.size()) {
        return nomeA.size() < nomeB.size();
    }
    return a->id < b->id;
}

// Files of one size already known to hold the same bytes without reading them: links to
// one inode, or files the browser gave the same hash. One of them is read for all.
struct Unidade {
    std::vector<const Arquivo*> membros;
    std::string sha256;
    std::optional<Hash128> parcial;
    std::optional<Hash128> completo;
    bool ilegivel = false;
};

std::vector<Unidade> unidadesDe(std::span<const Arquivo> arquivos)
{
    std::vector<Unidade> unidades;
    std::map<std::pair<std::uint64_t, std::uint64_t>, std::size_t> porInode;
    for (const Arquivo& arquivo : arquivos) {
        const auto chave = std::pair(arquivo.identidade.dispositivo, arquivo.identidade.inode);
        const auto [onde, nova] = porInode.try_emplace(chave, unidades.size());
        if (nova) {
            unidades.push_back({});
        }
        Unidade& unidade = unidades[onde->second];
        unidade.membros.push_back(&arquivo);
        if (unidade.sha256.empty()) {
            unidade.sha256 = arquivo.sha256;
        }
    }
    // Units the browser gave the same hash are one.
    std::map<std::string, std::size_t> porSha;
    std::vector<Unidade> juntas;
    for (Unidade& unidade : unidades) {
        if (!unidade.sha256.empty()) {
            const auto [onde, nova] = porSha.try_emplace(unidade.sha256, juntas.size());
            if (!nova) {
                Unidade& destino = juntas[onde->second];
                destino.membros.insert(destino.membros.end(), unidade.membros.begin(), unidade.membros.end());
                continue;
            }
        }
        juntas.push_back(std::move(unidade));
    }
    return juntas;
}

class Comparacao final {
public:
    Comparacao(CacheDeHashes& cache, const std::stop_token& parar)
        : cache_(cache)
        , leitor_(resultado_, parar)
    {
    }

    // One size's files.
    void comparar(std::span<const Arquivo> arquivos)
    {
        std::vector<Unidade> unidades = unidadesDe(arquivos);
        const auto semSha = std::ranges::count_if(unidades, [](const Unidade& u) { return u.sha256.empty(); });
        // Units the browser vouches for all differ from each other; with one unit or with
        // only such units there is nothing to read.
        if (unidades.size() == 1 || semSha == 0) {
            for (const Unidade& unidade : unidades) {
                anotar({&unidade});
            }
            return;
        }
        for (Unidade& unidade : unidades) {
            lembrar(unidade);
            if (!unidade.parcial) {
                unidade.parcial = leitor_.parcial(*unidade.membros.front());
                unidade.ilegivel = !unidade.parcial;
                if (pequeno(unidade)) {
                    unidade.completo = unidade.parcial;
                }
                guardar(unidade);
            }
        }
        std::erase_if(unidades, [](const Unidade& u) { return u.ilegivel; });
        std::ranges::sort(unidades, {}, [](const Unidade& u) { return *u.parcial; });
        for (auto inicio = unidades.begin(); inicio != unidades.end();) {
            const auto fim = std::find_if(
                inicio, unidades.end(), [&](const Unidade& u) { return *u.parcial != *inicio->parcial; });
            compararIguaisNasPontas(std::span(inicio, fim));
            inicio = fim;
        }
    }

    Resultado terminar()
    {
        cache_.gravar();
        return std::move(resultado_);
    }

private:
    static bool pequeno(const Unidade& unidade)
    {
        return static_cast<std::uint64_t>(unidade.membros.front()->identidade.tamanho) <= 2 * kPonta;
    }

    void lembrar(Unidade& unidade)
    {
        if (const auto entrada = cache_.buscar(unidade.membros.front()->identidade)) {
            unidade.parcial = entrada->parcial;
            unidade.completo = entrada->completo;
            ++resultado_.hashesLembrados;
        }
    }

    void guardar(const Unidade& unidade)
    {
        if (unidade.parcial) {
            cache_.guardar(unidade.membros.front()->identidade, {unidade.parcial, unidade.completo});
        }
    }

    // Units whose ends hash alike: read whole where it is still needed.
    void compararIguaisNasPontas(std::span<Unidade> unidades)
    {
        if (unidades.size() == 1) {
            anotar({&unidades.front()});
            return;
        }
        if (std::ranges::none_of(unidades, [](const Unidade& u) { return u.sha256.empty(); })) {
            for (const Unidade& unidade : unidades) {
                anotar({&unidade});
            }
            return;
        }
        std::vector<Unidade*> lidas;
        for (Unidade& unidade : unidades) {
            if (!unidade.completo) {
                unidade.completo = leitor_.completo(*unidade.membros.front());
                if (!unidade.completo) {
                    continue;
                }
                guardar(unidade);
            }
            lidas.push_back(&unidade);
        }
        std::ranges::sort(lidas, {}, [](const Unidade* u) { return *u->completo; });
        for (auto inicio = lidas.begin(); inicio != lidas.end();) {
            const auto fim = std::find_if(
                inicio, lidas.end(), [&](const Unidade* u) { return *u->completo != *(*inicio)->completo; });
            anotar({inicio, fim});
            inicio = fim;
        }
    }

    // Files holding the same bytes: all but the oldest are its copies.
    void anotar(const std::vector<const Unidade*>& iguais)
    {
        std::vector<const Arquivo*> arquivos;
        for (const Unidade* unidade : iguais) {
            arquivos.insert(arquivos.end(), unidade->membros.begin(), unidade->membros.end());
        }
        if (arquivos.size() < 2) {
            return;
        }
        const Arquivo* original = *std::ranges::min_element(arquivos, maisOriginal);
        for (const Arquivo* arquivo : arquivos) {
            if (arquivo != original) {
                resultado_.duplicataDe.emplace(arquivo->id, original->id);
            }
        }
    }

    CacheDeHashes& cache_;
    Resultado resultado_;
    Leitor leitor_;
};

} // namespace

Resultado encontrar(std::vector<Arquivo> arquivos, CacheDeHashes& cache, std::stop_token parar)
{
    std::erase_if(arquivos, [](const Arquivo& arquivo) {
        return (arquivo.identidade.tipo & S_IFMT) != S_IFREG || arquivo.identidade.tamanho <= 0;
    });
    std::ranges::sort(arquivos, {}, [](const Arquivo& arquivo) { return arquivo.identidade.tamanho; });
    Comparacao comparacao(cache, parar);
    for (auto inicio = arquivos.begin(); inicio != arquivos.end();) {
        const auto fim = std::find_if(inicio, arquivos.end(), [&](const Arquivo& arquivo) {
            return arquivo.identidade.tamanho != inicio->identidade.tamanho;
        });
        if (fim - inicio > 1) {
            comparacao.comparar(std::span<const Arquivo>(inicio, fim));
        }
        inicio = fim;
    }
    return comparacao.terminar();
}

std::vector<Arquivo> candidatos(const std::vector<const FileSnapshot*>& snapshots,
    const std::unordered_map<std::string, Identidade>& identidades,
    const std::unordered_map<std::string, std::string>& sha256)
{
    // Sizes first: most files share theirs with no other, and are not even looked up.
    std::unordered_map<std::int64_t, int> porTamanho;
    for (const FileSnapshot* snapshot : snapshots) {
        if (!snapshot->ehPasta() && snapshot->tamanho() > 0) {
            ++porTamanho[snapshot->tamanho()];
        }
    }
    std::vector<Arquivo> arquivos;
    for (const FileSnapshot* snapshot : snapshots) {
        if (snapshot->ehPasta() || snapshot->tamanho() <= 0 || porTamanho[snapshot->tamanho()] < 2) {
            continue;
        }
        const auto identidade = identidades.find(snapshot->id());
        if (identidade == identidades.end()) {
            continue;
        }
        const auto sha = sha256.find(snapshot->id());
        arquivos.push_back({snapshot->id(), identidade->second, snapshot->chegouEm(),
            sha == sha256.end() ? std::string() : sha->second});
    }
    return arquivos;
}

namespace {

bool ehCopia(const Selo& selo)
{
    return selo.caso() == Selo::Caso::sufixoDeCopia || selo.caso() == Selo::Caso::copiaIdentica;
}

// Where a copy's badge goes: after the opened state and the name's, before the installer's
// and the series'.
std::vector<Selo>::iterator lugarDaCopia(std::vector<Selo>& selos)
{
    return std::ranges::find_if(selos, [](const Selo& selo) {
        switch (selo.caso()) {
        case Selo::Caso::instaladorUsado:
        case Selo::Caso::instaladorNuncaUsado:
        case Selo::Caso::pareceRelacionado:
            return true;
        default:
            return false;
        }
    });
}

ItemTriado comSelos(const ItemTriado& item, std::vector<Selo> selos)
{
    return ItemTriado(item.snapshot(), item.origem(), std::move(selos));
}

} // namespace

ItemTriado marcar(const ItemTriado& item, const std::string& nomeDoOriginal)
{
    Selo selo = Selo::copiaIdentica(nomeDoOriginal);
    if (std::ranges::find(item.selos(), selo) != item.selos().end()) {
        return item;
    }
    std::vector<Selo> selos = item.selos();
    std::erase_if(selos, ehCopia);
    selos.insert(lugarDaCopia(selos), std::move(selo));
    return comSelos(item, std::move(selos));
}

ItemTriado desmarcar(const ItemTriado& item)
{
    const auto copia = std::ranges::find(item.selos(), Selo::Caso::copiaIdentica, &Selo::caso);
    if (copia == item.selos().end()) {
        return item;
    }
    std::vector<Selo> selos = item.selos();
    std::erase_if(selos, ehCopia);
    if (NameAnalyzer::temSufixoDeCopia(item.nome())) {
        selos.insert(lugarDaCopia(selos), Selo::sufixoDeCopia());
    }
    return comSelos(item, std::move(selos));
}

std::vector<GrupoOrigem> marcar(
    const std::vector<GrupoOrigem>& grupos, const std::unordered_map<std::string, std::string>& duplicataDe)
{
    std::unordered_map<std::string, const std::string*> nomes;
    for (const GrupoOrigem& grupo : grupos) {
        for (const ItemTriado& item : grupo.itens()) {
            nomes.emplace(item.id(), &item.nome());
        }
    }
    std::vector<GrupoOrigem> marcados;
    marcados.reserve(grupos.size());
    for (const GrupoOrigem& grupo : grupos) {
        std::vector<ItemTriado> itens;
        itens.reserve(grupo.itens().size());
        for (const ItemTriado& item : grupo.itens()) {
            const auto copia = duplicataDe.find(item.id());
            const auto original = copia == duplicataDe.end() ? nomes.end() : nomes.find(copia->second);
            itens.push_back(original == nomes.end() ? desmarcar(item) : marcar(item, *original->second));
        }
        marcados.emplace_back(grupo.origem(), std::move(itens));
    }
    return marcados;
}

} // namespace tarrafa::Duplicatas

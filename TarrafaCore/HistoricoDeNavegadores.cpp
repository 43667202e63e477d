// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include "TarrafaCore/PastasDoUsuario.hpp"

#include <sqlite3.h>
#include <uriparser/Uri.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tarrafa {

namespace {

// Chromium counts microseconds from 1601-01-01 UTC.
constexpr double kDe1601A1970 = 11644473600.0;

std::optional<Date> deChromium(sqlite3_int64 micros)
{
    if (micros <= 0) {
        return std::nullopt;
    }
    return Date::desde1970(static_cast<double>(micros) / 1e6 - kDe1601A1970);
}

bool ehArquivoRegular(const std::string& caminho)
{
    struct stat info {};
    return ::stat(caminho.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// Opens a browser file for reading without touching its access time.
int abrirParaLer(const std::string& caminho)
{
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    int fd = ::open(caminho.c_str(), kFlags | O_NOATIME);
    if (fd < 0 && errno == EPERM) {
        fd = ::open(caminho.c_str(), kFlags);
    }
    return fd;
}

// Copies a regular file; false when it is missing, not regular, or cannot be copied.
bool copiar(const std::string& de, const std::string& para)
{
    const int origem = abrirParaLer(de);
    if (origem < 0) {
        return false;
    }
    struct stat info {};
    if (::fstat(origem, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(origem);
        return false;
    }
    const int destino = ::open(para.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (destino < 0) {
        ::close(origem);
        return false;
    }
    bool ok = true;
    char bloco[1 << 16];
    for (;;) {
        const ssize_t lidos = ::read(origem, bloco, sizeof bloco);
        if (lidos < 0 && errno == EINTR) {
            continue;
        }
        if (lidos < 0) {
            ok = false;
            break;
        }
        if (lidos == 0) {
            break;
        }
        for (ssize_t escritos = 0; escritos < lidos;) {
            const ssize_t n = ::write(destino, bloco + escritos, static_cast<std::size_t>(lidos - escritos));
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                ok = false;
                break;
            }
            escritos += n;
        }
        if (!ok) {
            break;
        }
    }
    ::close(origem);
    ::close(destino);
    return ok;
}

// A private folder for the copies, removed with them.
class PastaPrivada {
public:
    PastaPrivada()
    {
        std::error_code erro;
        std::string modelo = (std::filesystem::temp_directory_path(erro) / "tarrafa-historico-XXXXXX").string();
        if (erro) {
            modelo = "/tmp/tarrafa-historico-XXXXXX";
        }
        if (::mkdtemp(modelo.data()) != nullptr) {
            caminho_ = modelo;
        }
    }
    PastaPrivada(const PastaPrivada&) = delete;
    PastaPrivada& operator=(const PastaPrivada&) = delete;
    ~PastaPrivada()
    {
        if (!caminho_.empty()) {
            std::error_code ignorado;
            std::filesystem::remove_all(caminho_, ignorado);
        }
    }
    [[nodiscard]] const std::string& caminho() const { return caminho_; }

private:
    std::string caminho_;
};

class Conexao {
public:
    explicit Conexao(const std::string& arquivo)
    {
        // The copy is ours: opened read-write so that SQLite can replay the copied log into it.
        if (sqlite3_open_v2(arquivo.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr)
            != SQLITE_OK) {
            sqlite3_close(db_);
            db_ = nullptr;
        }
    }
    Conexao(const Conexao&) = delete;
    Conexao& operator=(const Conexao&) = delete;
    ~Conexao() { sqlite3_close(db_); }
    [[nodiscard]] sqlite3* get() const { return db_; }

private:
    sqlite3* db_ = nullptr;
};

class Consulta {
public:
    Consulta(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr) != SQLITE_OK) {
            sqlite3_finalize(stmt_);
            stmt_ = nullptr;
        }
    }
    Consulta(const Consulta&) = delete;
    Consulta& operator=(const Consulta&) = delete;
    ~Consulta() { sqlite3_finalize(stmt_); }
    [[nodiscard]] bool valida() const { return stmt_ != nullptr; }
    [[nodiscard]] bool proxima() { return stmt_ != nullptr && sqlite3_step(stmt_) == SQLITE_ROW; }
    [[nodiscard]] std::string texto(int coluna) const
    {
        const auto* bytes = sqlite3_column_text(stmt_, coluna);
        return bytes == nullptr ? std::string()
                                : std::string(reinterpret_cast<const char*>(bytes),
                                              static_cast<std::size_t>(sqlite3_column_bytes(stmt_, coluna)));
    }
    [[nodiscard]] sqlite3_int64 inteiro(int coluna) const { return sqlite3_column_int64(stmt_, coluna); }
    [[nodiscard]] bool nulo(int coluna) const { return sqlite3_column_type(stmt_, coluna) == SQLITE_NULL; }
    [[nodiscard]] double real(int coluna) const { return sqlite3_column_double(stmt_, coluna); }

private:
    sqlite3_stmt* stmt_ = nullptr;
};

// "file:///home/a/b%20c.pdf" -> "/home/a/b c.pdf", bytes as percent-decoded.
std::optional<std::string> caminhoDeUri(const std::string& uri)
{
    if (uri.rfind("file://", 0) != 0) {
        return std::nullopt;
    }
    std::string saida(uri.size() + 1, '\0');
    if (uriUriStringToUnixFilenameA(uri.c_str(), saida.data()) != URI_SUCCESS) {
        return std::nullopt;
    }
    saida.resize(std::strlen(saida.c_str()));
    if (saida.empty() || saida.front() != '/') {
        return std::nullopt;
    }
    return saida;
}

void adicionarSeNaoVazio(std::vector<std::string>& lista, std::string texto)
{
    if (!texto.empty()) {
        lista.push_back(std::move(texto));
    }
}

struct Lido {
    std::string caminho;
    RegistroDeDownload registro;
    double fim; // when the download ended, for choosing between records of one path
};

std::vector<Lido> lerChromium(sqlite3* db, const std::string& agente)
{
    std::vector<Lido> lidos;
    Consulta cadeias(db, "SELECT id, url FROM downloads_url_chains ORDER BY id, chain_index");
    Consulta downloads(db, "SELECT id, target_path, end_time, last_access_time, opened, referrer FROM downloads");
    if (!cadeias.valida() || !downloads.valida()) {
        return lidos; // not the layout we know
    }
    std::map<sqlite3_int64, std::string> urlFinal;
    while (cadeias.proxima()) {
        urlFinal[cadeias.inteiro(0)] = cadeias.texto(1); // the last element of the chain stays
    }
    while (downloads.proxima()) {
        std::string caminho = downloads.texto(1);
        if (caminho.empty()) {
            continue;
        }
        RegistroDeDownload registro;
        if (const auto it = urlFinal.find(downloads.inteiro(0)); it != urlFinal.end()) {
            adicionarSeNaoVazio(registro.origens, it->second);
        }
        adicionarSeNaoVazio(registro.origens, downloads.texto(5));
        registro.baixadoEm = deChromium(downloads.inteiro(2));
        if (downloads.inteiro(4) != 0) {
            registro.ultimoUso = deChromium(downloads.inteiro(3));
        }
        registro.agente = agente;
        const double fim = registro.baixadoEm ? registro.baixadoEm->segundosDesde1970() : -1e300;
        lidos.push_back({std::move(caminho), std::move(registro), fim});
    }
    return lidos;
}

std::vector<Lido> lerFirefox(sqlite3* db, const std::string& agente)
{
    std::vector<Lido> lidos;
    // json_extract is SQLite's own; a metaData that is not JSON gives NULL, not an error.
    Consulta consulta(db, R"(
        SELECT p.url, d.content,
               (SELECT CASE WHEN json_valid(m.content) THEN json_extract(m.content, '$.endTime') END
                  FROM moz_annos m JOIN moz_anno_attributes mn ON mn.id = m.anno_attribute_id
                 WHERE m.place_id = p.id AND mn.name = 'downloads/metaData' LIMIT 1)
          FROM moz_annos d
          JOIN moz_anno_attributes dn ON dn.id = d.anno_attribute_id
          JOIN moz_places p ON p.id = d.place_id
         WHERE dn.name = 'downloads/destinationFileURI')");
    if (!consulta.valida()) {
        return lidos;
    }
    while (consulta.proxima()) {
        const std::optional<std::string> caminho = caminhoDeUri(consulta.texto(1));
        if (!caminho) {
            continue;
        }
        RegistroDeDownload registro;
        adicionarSeNaoVazio(registro.origens, consulta.texto(0));
        if (!consulta.nulo(2)) {
            // SQLite's JSON reads "1e999" as infinity; no real download ended then.
            const double ms = consulta.real(2);
            if (ms > 0 && std::isfinite(ms)) {
                registro.baixadoEm = Date::desde1970(ms / 1000.0);
            }
        }
        registro.agente = agente;
        const double fim = registro.baixadoEm ? registro.baixadoEm->segundosDesde1970() : -1e300;
        lidos.push_back({*caminho, std::move(registro), fim});
    }
    return lidos;
}

std::vector<Lido> lerBanco(const HistoricoDeNavegadores::Banco& banco, const PastaPrivada& pasta, int numero)
{
    if (pasta.caminho().empty() || !ehArquivoRegular(banco.arquivo)) {
        return {};
    }
    const std::string copia = pasta.caminho() + "/banco" + std::to_string(numero) + ".sqlite";
    if (!copiar(banco.arquivo, copia)) {
        return {};
    }
    // The write-ahead log holds the newest committed rows of a running browser; the
    // shared-memory index is rebuilt by SQLite from the log and is not copied.
    if (ehArquivoRegular(banco.arquivo + "-wal")) {
        (void)copiar(banco.arquivo + "-wal", copia + "-wal");
    }
    std::vector<Lido> lidos;
    {
        const Conexao conexao(copia);
        if (conexao.get() != nullptr) {
            sqlite3_busy_timeout(conexao.get(), 0);
            lidos = banco.tipo == HistoricoDeNavegadores::Tipo::chromium ? lerChromium(conexao.get(), banco.agente)
                                                                          : lerFirefox(conexao.get(), banco.agente);
        }
    }
    return lidos;
}

void listarPerfisChromium(const std::string& base, const std::string& agente,
                          std::vector<HistoricoDeNavegadores::Banco>& bancos)
{
    DIR* dir = ::opendir(base.c_str());
    if (dir == nullptr) {
        return;
    }
    std::vector<std::string> perfis;
    while (const dirent* e = ::readdir(dir)) {
        const std::string_view nome(e->d_name);
        if (nome == "." || nome == "..") {
            continue;
        }
        perfis.emplace_back(nome);
    }
    ::closedir(dir);
    std::sort(perfis.begin(), perfis.end());
    for (const std::string& perfil : perfis) {
        const std::string historico = base + "/" + perfil + "/History";
        if (ehArquivoRegular(historico)) {
            bancos.push_back({historico, HistoricoDeNavegadores::Tipo::chromium, agente});
        }
    }
}

void listarPerfisFirefox(const std::string& base, std::vector<HistoricoDeNavegadores::Banco>& bancos)
{
    std::ifstream ini(base + "/profiles.ini");
    if (!ini) {
        return;
    }
    struct Perfil {
        std::string caminho;
        bool relativo = false;
    };
    std::vector<Perfil> perfis;
    bool emPerfil = false;
    std::string linha;
    while (std::getline(ini, linha)) {
        if (!linha.empty() && linha.back() == '\r') {
            linha.pop_back();
        }
        if (!linha.empty() && linha.front() == '[') {
            emPerfil = linha.rfind("[Profile", 0) == 0;
            if (emPerfil) {
                perfis.emplace_back();
            }
            continue;
        }
        if (!emPerfil) {
            continue;
        }
        if (linha.rfind("Path=", 0) == 0) {
            perfis.back().caminho = linha.substr(5);
        } else if (linha.rfind("IsRelative=", 0) == 0) {
            perfis.back().relativo = linha.substr(11) == "1";
        }
    }
    for (const Perfil& perfil : perfis) {
        if (perfil.caminho.empty()) {
            continue;
        }
        const std::string pasta = perfil.relativo ? base + "/" + perfil.caminho : perfil.caminho;
        const std::string places = pasta + "/places.sqlite";
        if (ehArquivoRegular(places)) {
            bancos.push_back({places, HistoricoDeNavegadores::Tipo::firefox, "Firefox"});
        }
    }
}

} // namespace

std::vector<HistoricoDeNavegadores::Banco> HistoricoDeNavegadores::encontrarBancos()
{
    const std::string casa = PastasDoUsuario::casa();
    const std::string config = PastasDoUsuario::configuracao();
    std::vector<Banco> bancos;
    const std::pair<std::string, const char*> chromium[] = {
        {config + "/google-chrome", "Google Chrome"},
        {config + "/chromium", "Chromium"},
        {config + "/BraveSoftware/Brave-Browser", "Brave"},
        {config + "/microsoft-edge", "Microsoft Edge"},
        {config + "/vivaldi", "Vivaldi"},
        {config + "/opera", "Opera"},
        {casa + "/.var/app/com.google.Chrome/config/google-chrome", "Google Chrome"},
        {casa + "/.var/app/org.chromium.Chromium/config/chromium", "Chromium"},
        {casa + "/.var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser", "Brave"},
        {casa + "/.var/app/com.microsoft.Edge/config/microsoft-edge", "Microsoft Edge"},
        {casa + "/snap/chromium/common/chromium", "Chromium"},
    };
    for (const auto& [base, agente] : chromium) {
        listarPerfisChromium(base, agente, bancos);
    }
    for (const std::string& base : {casa + "/.mozilla/firefox", casa + "/.var/app/org.mozilla.firefox/.mozilla/firefox",
                                    casa + "/snap/firefox/common/.mozilla/firefox"}) {
        listarPerfisFirefox(base, bancos);
    }
    return bancos;
}

HistoricoDeNavegadores HistoricoDeNavegadores::ler(const std::vector<Banco>& bancos)
{
    HistoricoDeNavegadores historico;
    if (bancos.empty()) {
        return historico;
    }
    const PastaPrivada pasta;
    std::unordered_map<std::string, double> fins;
    int numero = 0;
    for (const Banco& banco : bancos) {
        for (Lido& lido : lerBanco(banco, pasta, numero++)) {
            const auto [it, novo] = fins.try_emplace(lido.caminho, lido.fim);
            if (!novo) {
                if (lido.fim <= it->second) {
                    continue; // an earlier (or equal) record of a path already seen
                }
                it->second = lido.fim;
            }
            historico.guardar(std::move(lido.caminho), std::move(lido.registro));
        }
    }
    return historico;
}

HistoricoDeNavegadores HistoricoDeNavegadores::carregar()
{
    return ler(encontrarBancos());
}

const RegistroDeDownload* HistoricoDeNavegadores::procurar(const std::string& caminho) const
{
    const auto it = registros_.find(caminho);
    return it == registros_.end() ? nullptr : &it->second;
}

void HistoricoDeNavegadores::guardar(std::string caminho, RegistroDeDownload registro)
{
    registros_.insert_or_assign(std::move(caminho), std::move(registro));
}

} // namespace tarrafa

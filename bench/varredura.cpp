// SPDX-License-Identifier: GPL-3.0-or-later
// Scan benchmark: generates a Downloads-like tree (top-level files, a third of them with
// origin attributes, and sub-folders holding many files), then times PastaScanner::varrer
// against `du -sB1` on the same tree, in the same run, warm cache for both.
//
//   varredura [--pasta DIR] [--topo N] [--subpastas N] [--arquivos N] [--repeticoes N] [--manter]
//             [--historico MB] [--firefox MB]
//
// With --historico (a Chromium History) and/or --firefox (a Firefox places.sqlite), the run is
// repeated with browser history databases of about that many megabytes in a private home
// (HOME and XDG_CONFIG_HOME point there), and the extra cost of reading them is reported.
//
// Without --pasta the tree is made in a new folder under the current one and removed at the
// end (unless --manter). An existing --pasta is used as it is.

#include "TarrafaCore/HistoricoDeNavegadores.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/RaioX.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

struct Opcoes {
    std::string pasta;
    int topo = 10'000;
    int subpastas = 20;
    int arquivos = 200'000;
    int repeticoes = 7;
    bool manter = false;
    int historicoMB = 0;
    int firefoxMB = 0;
};

void criarArquivo(const std::string& caminho, std::size_t bytes)
{
    const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        std::fprintf(stderr, "cannot create %s: %s\n", caminho.c_str(), std::strerror(errno));
        std::exit(1);
    }
    static const std::string bloco(65536, 'x');
    while (bytes > 0) {
        const std::size_t parte = std::min(bytes, bloco.size());
        if (::write(fd, bloco.data(), parte) != static_cast<ssize_t>(parte)) {
            std::fprintf(stderr, "cannot write %s\n", caminho.c_str());
            std::exit(1);
        }
        bytes -= parte;
    }
    ::close(fd);
}

void gerar(const Opcoes& o)
{
    std::filesystem::create_directories(o.pasta);
    const char* hosts[] = {"web.whatsapp.com", "teams.microsoft.com", "github.com", "contoso.sharepoint.com",
                           "drive.google.com", "example.org", "cdn.example.net"};
    const char* extensoes[] = {"pdf", "docx", "xlsx", "zip", "png", "jpg", "deb", "txt"};
    for (int i = 0; i < o.topo; ++i) {
        const std::string nome = "arquivo " + std::to_string(i) + "." + extensoes[i % 8];
        const std::string caminho = o.pasta + "/" + nome;
        criarArquivo(caminho, static_cast<std::size_t>(1000 + (i % 50) * 700));
        if (i % 3 == 0) {
            const std::string url = std::string("https://") + hosts[i % 7] + "/d/" + std::to_string(i);
            const std::string quarentena = "0083;6550f1a2;Firefox;" + std::to_string(i);
            if (::setxattr(caminho.c_str(), "user.xdg.origin.url", url.data(), url.size(), 0) != 0
                || ::setxattr(caminho.c_str(), "user.com.apple.quarantine", quarentena.data(), quarentena.size(), 0)
                    != 0) {
                std::fprintf(stderr, "setxattr failed on %s: %s\n", caminho.c_str(), std::strerror(errno));
                std::exit(1);
            }
        }
    }
    const int porPasta = o.subpastas > 0 ? o.arquivos / o.subpastas : 0;
    for (int p = 0; p < o.subpastas; ++p) {
        const std::string sub = o.pasta + "/projeto " + std::to_string(p);
        // Each sub-folder spreads its files over 10 inner folders, like real project trees.
        for (int d = 0; d < 10; ++d) {
            std::filesystem::create_directories(sub + "/modulo" + std::to_string(d));
        }
        for (int i = 0; i < porPasta; ++i) {
            criarArquivo(sub + "/modulo" + std::to_string(i % 10) + "/f" + std::to_string(i) + ".c",
                         static_cast<std::size_t>(i % 9000));
        }
    }
}

// A database the benchmark writes, closed at the end of the scope; any failure ends the run.
class BancoGerado {
public:
    explicit BancoGerado(const std::string& arquivo)
    {
        if (sqlite3_open(arquivo.c_str(), &db_) != SQLITE_OK) {
            std::fprintf(stderr, "cannot create %s\n", arquivo.c_str());
            std::exit(1);
        }
    }
    BancoGerado(const BancoGerado&) = delete;
    BancoGerado& operator=(const BancoGerado&) = delete;
    ~BancoGerado() { sqlite3_close(db_); }

    void operator()(const std::string& comando) const
    {
        char* erro = nullptr;
        if (sqlite3_exec(db_, comando.c_str(), nullptr, nullptr, &erro) != SQLITE_OK) {
            std::fprintf(stderr, "sqlite: %s\n", erro != nullptr ? erro : "?");
            std::exit(1);
        }
    }

private:
    sqlite3* db_ = nullptr;
};

// A Chromium "History" with download records for a third of the top-level files, padded with
// browsing history (as real ones are) up to about the requested size.
void gerarHistorico(const Opcoes& o, const std::string& casa)
{
    const std::string pasta = casa + "/.config/google-chrome/Default";
    std::filesystem::create_directories(pasta);
    const BancoGerado sql(pasta + "/History");
    sql("PRAGMA journal_mode=WAL");
    sql("CREATE TABLE downloads (id INTEGER PRIMARY KEY, target_path LONGVARCHAR NOT NULL, end_time INTEGER NOT "
        "NULL, opened INTEGER NOT NULL, last_access_time INTEGER NOT NULL, referrer VARCHAR NOT NULL)");
    sql("CREATE TABLE downloads_url_chains (id INTEGER NOT NULL, chain_index INTEGER NOT NULL, url LONGVARCHAR NOT "
        "NULL, PRIMARY KEY (id, chain_index))");
    sql("CREATE TABLE urls (id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, visit_count INTEGER)");
    sql("BEGIN");
    for (int i = 0; i < o.topo; i += 3) {
        const char* extensoes[] = {"pdf", "docx", "xlsx", "zip", "png", "jpg", "deb", "txt"};
        const std::string caminho = o.pasta + "/arquivo " + std::to_string(i) + "." + extensoes[i % 8];
        sql("INSERT INTO downloads VALUES (" + std::to_string(i) + ", '" + caminho + "', 13340000000000000, 1, "
            "13340000100000000, 'https://exemplo.org/pagina')");
        sql("INSERT INTO downloads_url_chains VALUES (" + std::to_string(i) + ", 0, 'https://exemplo.org/d/"
            + std::to_string(i) + "')");
    }
    const std::string titulo(300, 't');
    const std::int64_t alvo = static_cast<std::int64_t>(o.historicoMB) * 1000 * 1000;
    for (int i = 0;; ++i) {
        sql("INSERT INTO urls (url, title, visit_count) VALUES ('https://exemplo.org/visita/" + std::to_string(i)
            + "', '" + titulo + "', 1)");
        if (i % 5000 == 4999) {
            sql("COMMIT");
            if (static_cast<std::int64_t>(std::filesystem::file_size(pasta + "/History")) >= alvo) {
                break;
            }
            sql("BEGIN");
        }
    }
}

// A Firefox profile (found through profiles.ini in the XDG configuration folder, where new
// profiles go) whose places.sqlite records the downloads of another third of the top-level
// files, each with its download visit, padded with visited pages and their visits (with
// Firefox's indexes) up to about the requested size.
void gerarFirefox(const Opcoes& o, const std::string& casa)
{
    const std::string raiz = casa + "/.config/mozilla/firefox";
    std::filesystem::create_directories(raiz + "/bench.default-esr");
    {
        std::FILE* ini = std::fopen((raiz + "/profiles.ini").c_str(), "w");
        std::fputs("[Profile0]\nName=default-esr\nIsRelative=1\nPath=bench.default-esr\nDefault=1\n", ini);
        std::fclose(ini);
    }
    const BancoGerado sql(raiz + "/bench.default-esr/places.sqlite");
    sql("PRAGMA page_size=32768");
    sql("PRAGMA journal_mode=WAL");
    sql("CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url LONGVARCHAR, title LONGVARCHAR, rev_host LONGVARCHAR, "
        "visit_count INTEGER DEFAULT 0, last_visit_date INTEGER, guid TEXT, url_hash INTEGER DEFAULT 0 NOT NULL)");
    sql("CREATE INDEX moz_places_url_hashindex ON moz_places (url_hash)");
    sql("CREATE TABLE moz_historyvisits (id INTEGER PRIMARY KEY, from_visit INTEGER, place_id INTEGER, "
        "visit_date INTEGER, visit_type INTEGER, session INTEGER)");
    sql("CREATE INDEX moz_historyvisits_placedateindex ON moz_historyvisits (place_id, visit_date)");
    sql("CREATE INDEX moz_historyvisits_fromindex ON moz_historyvisits (from_visit)");
    sql("CREATE INDEX moz_historyvisits_dateindex ON moz_historyvisits (visit_date)");
    sql("CREATE TABLE moz_anno_attributes (id INTEGER PRIMARY KEY, name VARCHAR(32) UNIQUE NOT NULL)");
    sql("CREATE TABLE moz_annos (id INTEGER PRIMARY KEY, place_id INTEGER NOT NULL, anno_attribute_id INTEGER, "
        "content LONGVARCHAR, flags INTEGER DEFAULT 0, expiration INTEGER DEFAULT 0, type INTEGER DEFAULT 0, "
        "dateAdded INTEGER DEFAULT 0, lastModified INTEGER DEFAULT 0)");
    sql("CREATE UNIQUE INDEX moz_annos_placeattributeindex ON moz_annos (place_id, anno_attribute_id)");
    sql("INSERT INTO moz_anno_attributes (id, name) VALUES (1, 'downloads/destinationFileURI'), "
        "(2, 'downloads/metaData')");
    sql("BEGIN");
    int lugar = 0;
    for (int i = 1; i < o.topo; i += 3) {
        const char* extensoes[] = {"pdf", "docx", "xlsx", "zip", "png", "jpg", "deb", "txt"};
        const std::string nome = "arquivo%20" + std::to_string(i) + "." + extensoes[i % 8];
        ++lugar;
        sql("INSERT INTO moz_places (id, url) VALUES (" + std::to_string(lugar) + ", 'https://firefox.exemplo.org/d/"
            + std::to_string(i) + "')");
        sql("INSERT INTO moz_annos (place_id, anno_attribute_id, content) VALUES (" + std::to_string(lugar)
            + ", 1, 'file://" + o.pasta + "/" + nome + "'), (" + std::to_string(lugar)
            + ", 2, '{\"state\":1,\"endTime\":1700000000000,\"fileSize\":" + std::to_string(i % 9000) + "}')");
        sql("INSERT INTO moz_historyvisits (place_id, visit_date, visit_type) VALUES (" + std::to_string(lugar)
            + ", 1700000000000000, 7)");
    }
    const std::string titulo(200, 't');
    const std::int64_t alvo = static_cast<std::int64_t>(o.firefoxMB) * 1000 * 1000;
    const std::string arquivo = raiz + "/bench.default-esr/places.sqlite";
    for (int i = 0;; ++i) {
        ++lugar;
        sql("INSERT INTO moz_places (id, url, title, visit_count) VALUES (" + std::to_string(lugar)
            + ", 'https://exemplo.org/pagina/" + std::to_string(i) + "', '" + titulo + "', 3)");
        sql("INSERT INTO moz_historyvisits (from_visit, place_id, visit_date, visit_type) VALUES (0, "
            + std::to_string(lugar) + ", " + std::to_string(1600000000000000LL + i) + ", 1), (0, " + std::to_string(lugar)
            + ", " + std::to_string(1600000000000001LL + i) + ", 1), (0, " + std::to_string(lugar) + ", "
            + std::to_string(1600000000000002LL + i) + ", 2)");
        if (i % 5000 == 4999) {
            sql("COMMIT");
            sql("PRAGMA wal_checkpoint(TRUNCATE)");
            if (static_cast<std::int64_t>(std::filesystem::file_size(arquivo)) >= alvo) {
                break;
            }
            sql("BEGIN");
        }
    }
}

double segundos(std::chrono::steady_clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

double rodarDu(const std::string& pasta)
{
    const auto inicio = std::chrono::steady_clock::now();
    pid_t pid = 0;
    posix_spawn_file_actions_t acoes;
    posix_spawn_file_actions_init(&acoes);
    posix_spawn_file_actions_addopen(&acoes, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::string a0 = "du";
    std::string a1 = "-sB1";
    std::string a2 = pasta;
    char* argv[] = {a0.data(), a1.data(), a2.data(), nullptr};
    if (posix_spawnp(&pid, "du", &acoes, nullptr, argv, environ) != 0) {
        std::fprintf(stderr, "cannot run du\n");
        std::exit(1);
    }
    posix_spawn_file_actions_destroy(&acoes);
    int estado = 0;
    ::waitpid(pid, &estado, 0);
    return segundos(std::chrono::steady_clock::now() - inicio);
}

double mediana(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    Opcoes o;
    bool gerarArvore = true;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto valor = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", a.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--pasta") {
            o.pasta = valor();
            gerarArvore = !std::filesystem::exists(o.pasta);
        } else if (a == "--topo") {
            o.topo = std::stoi(valor());
        } else if (a == "--subpastas") {
            o.subpastas = std::stoi(valor());
        } else if (a == "--arquivos") {
            o.arquivos = std::stoi(valor());
        } else if (a == "--repeticoes") {
            o.repeticoes = std::max(1, std::stoi(valor()));
        } else if (a == "--historico") {
            o.historicoMB = std::stoi(valor());
        } else if (a == "--firefox") {
            o.firefoxMB = std::stoi(valor());
        } else if (a == "--manter") {
            o.manter = true;
        } else {
            std::fprintf(stderr, "unknown option %s\n", a.c_str());
            return 2;
        }
    }
    const bool temporaria = o.pasta.empty();
    if (temporaria) {
        o.pasta = (std::filesystem::current_path() / ("varredura-bench-" + std::to_string(::getpid()))).string();
    }
    if (gerarArvore) {
        const auto inicio = std::chrono::steady_clock::now();
        gerar(o);
        std::printf("generated %d top-level files and %d files in %d sub-folders in %.1f s\n", o.topo, o.arquivos,
                    o.subpastas, segundos(std::chrono::steady_clock::now() - inicio));
    }

    const tarrafa::PastaScanner scanner;
    // Warm the caches for both sides before measuring.
    std::size_t entradas = scanner.varrer(o.pasta).size();
    (void)rodarDu(o.pasta);

    std::vector<double> tScan;
    std::vector<double> tDu;
    std::vector<double> tTriagem;
    std::vector<double> tRaioX;
    std::size_t grupos = 0;
    int diagnosticados = 0;
    for (int r = 0; r < o.repeticoes; ++r) {
        auto inicio = std::chrono::steady_clock::now();
        const std::vector<tarrafa::FileSnapshot> snapshots = scanner.varrer(o.pasta);
        tScan.push_back(segundos(std::chrono::steady_clock::now() - inicio));
        entradas = snapshots.size();
        tDu.push_back(rodarDu(o.pasta));
        // What follows every scan in the application: triage, then the diagnostics.
        inicio = std::chrono::steady_clock::now();
        const std::vector<tarrafa::GrupoOrigem> triados = tarrafa::TriageEngine({"firefox", "code"}).triar(snapshots);
        tTriagem.push_back(segundos(std::chrono::steady_clock::now() - inicio));
        inicio = std::chrono::steady_clock::now();
        const tarrafa::RaioX raioX(snapshots, triados);
        tRaioX.push_back(segundos(std::chrono::steady_clock::now() - inicio));
        grupos = triados.size();
        diagnosticados = raioX.total();
    }
    double scanComHistorico = 0;
    double soHistorico = 0;
    std::string casa;
    const bool comHistorico = o.historicoMB > 0 || o.firefoxMB > 0;
    if (comHistorico) {
        casa = o.pasta + "-casa";
        if (o.historicoMB > 0) {
            gerarHistorico(o, casa);
        }
        if (o.firefoxMB > 0) {
            gerarFirefox(o, casa);
        }
        ::setenv("HOME", casa.c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (casa + "/.config").c_str(), 1);
        ::setenv("XDG_DATA_HOME", (casa + "/.local/share").c_str(), 1);
        (void)scanner.varrer(o.pasta);
        std::vector<double> tCom;
        std::vector<double> tHistorico;
        std::size_t registros = 0;
        for (int r = 0; r < o.repeticoes; ++r) {
            auto inicio = std::chrono::steady_clock::now();
            (void)scanner.varrer(o.pasta);
            tCom.push_back(segundos(std::chrono::steady_clock::now() - inicio));
            inicio = std::chrono::steady_clock::now();
            registros = tarrafa::HistoricoDeNavegadores::carregar().tamanho();
            tHistorico.push_back(segundos(std::chrono::steady_clock::now() - inicio));
        }
        scanComHistorico = mediana(tCom);
        soHistorico = mediana(tHistorico);
        std::error_code semArquivo;
        const auto megabytes = [&](const std::string& arquivo) {
            const auto tamanho = std::filesystem::file_size(arquivo, semArquivo);
            return semArquivo ? 0.0 : static_cast<double>(tamanho) / 1e6;
        };
        std::printf("history databases: Chromium %.1f MB, Firefox %.1f MB; %zu download records\n",
                    megabytes(casa + "/.config/google-chrome/Default/History"),
                    megabytes(casa + "/.config/mozilla/firefox/bench.default-esr/places.sqlite"), registros);
    }
    rusage uso{};
    ::getrusage(RUSAGE_SELF, &uso);
    const double scan = mediana(tScan);
    const double du = mediana(tDu);
    std::printf("entries: %zu\n", entradas);
    std::printf("scan (median of %d): %.1f ms\n", o.repeticoes, scan * 1000);
    std::printf("du -sB1 (median of %d): %.1f ms\n", o.repeticoes, du * 1000);
    std::printf("ratio scan/du: %.2f\n", scan / du);
    std::printf("triage (median of %d): %.1f ms, %zu groups; diagnostics: %.1f ms over %d entries\n",
                o.repeticoes, mediana(tTriagem) * 1000, grupos, mediana(tRaioX) * 1000, diagnosticados);
    if (comHistorico) {
        std::printf("scan with the history (median of %d): %.1f ms (extra %.1f ms; reading the history alone %.1f ms)\n",
                    o.repeticoes, scanComHistorico * 1000, (scanComHistorico - scan) * 1000, soHistorico * 1000);
    }
    std::printf("peak resident memory: %.1f MiB\n", static_cast<double>(uso.ru_maxrss) / 1024.0);

    if (temporaria && !o.manter) {
        std::error_code ignorado;
        std::filesystem::remove_all(o.pasta, ignorado);
        if (!casa.empty()) {
            std::filesystem::remove_all(casa, ignorado);
        }
    }
    return 0;
}

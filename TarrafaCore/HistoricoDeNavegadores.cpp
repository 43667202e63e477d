// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/UriDeArquivo.hpp"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>
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

// Firefox's visits count microseconds since 1970.
std::optional<Date> deMicrossegundos(sqlite3_int64 micros)
{
    if (micros <= 0) {
        return std::nullopt;
    }
    return Date::desde1970(static_cast<double>(micros) / 1e6);
}

class Consulta {
public:
    Consulta(sqlite3* db, const std::string& sql)
    {
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt_, nullptr) != SQLITE_OK) {
            sqlite3_finalize(stmt_);
            stmt_ = nullptr;
        }
    }
    Consulta(const Consulta&) = delete;
    Consulta& operator=(const Consulta&) = delete;
    ~Consulta() { sqlite3_finalize(stmt_); }
    [[nodiscard]] bool valida() const { return stmt_ != nullptr; }
    // The next row; false at the end and on any error, which the caller tells apart with ok().
    [[nodiscard]] bool proxima()
    {
        if (stmt_ == nullptr) {
            return false;
        }
        const int rc = sqlite3_step(stmt_);
        falhou_ = rc != SQLITE_ROW && rc != SQLITE_DONE;
        return rc == SQLITE_ROW;
    }
    [[nodiscard]] bool ok() const { return stmt_ != nullptr && !falhou_; }
    void reiniciar() { sqlite3_reset(stmt_); }
    void ligar(int indice, sqlite3_int64 valor) { sqlite3_bind_int64(stmt_, indice, valor); }
    [[nodiscard]] std::string texto(int coluna) const
    {
        const auto* bytes = sqlite3_column_text(stmt_, coluna);
        return bytes == nullptr ? std::string()
                                : std::string(reinterpret_cast<const char*>(bytes),
                                    static_cast<std::size_t>(sqlite3_column_bytes(stmt_, coluna)));
    }
    [[nodiscard]] std::string bytes(int coluna) const
    {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(stmt_, coluna));
        return bytes == nullptr
            ? std::string()
            : std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(stmt_, coluna)));
    }
    [[nodiscard]] sqlite3_int64 inteiro(int coluna) const { return sqlite3_column_int64(stmt_, coluna); }
    [[nodiscard]] int tipo(int coluna) const { return sqlite3_column_type(stmt_, coluna); }
    [[nodiscard]] double real(int coluna) const { return sqlite3_column_double(stmt_, coluna); }

private:
    sqlite3_stmt* stmt_ = nullptr;
    bool falhou_ = false;
};

// Schemes are compared without regard to case ("HTTPS:" is "https:").
bool comecaCom(std::string_view texto, std::string_view prefixo)
{
    return texto.size() >= prefixo.size() && Texto::minusculas(texto.substr(0, prefixo.size())) == prefixo;
}

bool ehWeb(std::string_view endereco)
{
    return comecaCom(endereco, "http://") || comecaCom(endereco, "https://");
}

void adicionar(std::vector<std::string>& lista, std::string endereco)
{
    // A data: address is the file itself, not where it came from; and one address is enough once.
    if (endereco.empty() || comecaCom(endereco, "data:")
        || std::find(lista.begin(), lista.end(), endereco) != lista.end()) {
        return;
    }
    lista.push_back(std::move(endereco));
}

// Where a download came from, as these browsers write it on other systems: the final address,
// then the page that led to it. A web application's export (a blob: or data: address made by
// the page itself) comes from that page: a blob: address carries the page's origin inside it,
// and the page is the tab's address, else the site's, else the referrer.
std::vector<std::string> origensDoDownload(
    const std::string& url, const std::string& referrer, const std::string& aba, const std::string& site)
{
    std::vector<std::string> origens;
    if (comecaCom(url, "blob:") || comecaCom(url, "data:")) {
        if (comecaCom(url, "blob:") && ehWeb(std::string_view(url).substr(5))) {
            adicionar(origens, url.substr(5));
        }
        // Only a web page counts: a tab opened for a typed address says "about:blank".
        for (const std::string* pagina : {&aba, &site, &referrer}) {
            if (ehWeb(*pagina)) {
                adicionar(origens, *pagina);
                break;
            }
        }
        return origens;
    }
    adicionar(origens, url);
    adicionar(origens, referrer);
    return origens;
}

bool contem(const std::vector<std::string>& lista, std::string_view nome)
{
    return std::find(lista.begin(), lista.end(), nome) != lista.end();
}

// A column of the table when it exists, else a constant, so that older layouts still read.
std::string colunaOu(const std::vector<std::string>& colunas, const char* nome, const char* padrao)
{
    return contem(colunas, nome) ? std::string("d.") + nome : std::string(padrao);
}

void lerChromium(const BancoCopiado& banco, const std::string& agente, std::vector<RegistroDeDownload>& saida)
{
    if (!banco.temTabelas({"downloads", "downloads_url_chains"})) {
        return;
    }
    const std::vector<std::string> colunas = banco.colunas("downloads");
    for (const char* obrigatoria : {"id", "target_path", "end_time"}) {
        if (!contem(colunas, obrigatoria)) {
            return;
        }
    }
    const std::vector<std::string> cadeia = banco.colunas("downloads_url_chains");
    if (!contem(cadeia, "id") || !contem(cadeia, "chain_index") || !contem(cadeia, "url")) {
        return;
    }
    // Only completed downloads (state 1); the last element of the URL chain is the final address.
    const std::string sql = "SELECT d.target_path, d.end_time, " + colunaOu(colunas, "start_time", "0") + ", "
        + colunaOu(colunas, "last_access_time", "0") + ", " + colunaOu(colunas, "opened", "0") + ", "
        + colunaOu(colunas, "referrer", "''") + ", " + colunaOu(colunas, "tab_url", "''") + ", "
        + colunaOu(colunas, "site_url", "''") + ", " + colunaOu(colunas, "received_bytes", "0") + ", "
        + colunaOu(colunas, "total_bytes", "0") + ", " + colunaOu(colunas, "hash", "x''") + ", "
        + "(SELECT c.url FROM downloads_url_chains c WHERE c.id = d.id ORDER BY c.chain_index DESC LIMIT 1)"
        + " FROM downloads d WHERE " + (contem(colunas, "state") ? "d.state = 1" : "1") + " LIMIT "
        + std::to_string(HistoricoDeNavegadores::kMaximoDeRegistros);
    Consulta downloads(banco.get(), sql);
    std::vector<RegistroDeDownload> lidos;
    while (downloads.proxima()) {
        RegistroDeDownload registro;
        registro.caminho = downloads.texto(0);
        if (registro.caminho.empty()) {
            continue;
        }
        registro.origens = origensDoDownload(
            downloads.texto(11), downloads.texto(5), downloads.texto(6), downloads.texto(7));
        registro.baixadoEm = deChromium(downloads.inteiro(1));
        registro.inicio = deChromium(downloads.inteiro(2));
        if (downloads.inteiro(4) != 0) {
            registro.ultimoUso = deChromium(downloads.inteiro(3));
        }
        // What was received is the file's size; the expected total stands in where the
        // received count is missing.
        if (const sqlite3_int64 recebidos = downloads.inteiro(8); recebidos > 0) {
            registro.tamanho = recebidos;
        } else if (const sqlite3_int64 total = downloads.inteiro(9); total > 0) {
            registro.tamanho = total;
        }
        // Chromium records the SHA-256 of what it saved in some versions; others leave it empty.
        if (std::string hash = downloads.bytes(10); hash.size() == 32) {
            registro.sha256 = std::move(hash);
        }
        registro.agente = agente;
        lidos.push_back(std::move(registro));
    }
    // A database whose reading failed part-way (budget, corruption) gives nothing: its rows
    // cannot be told from a hostile one's.
    if (downloads.ok()) {
        std::move(lidos.begin(), lidos.end(), std::back_inserter(saida));
    }
}

// The page that led to a download visit: the visit it came from, walking back over redirects
// (Firefox visit types 5 and 6), a few steps at most.
class Referencias {
public:
    explicit Referencias(sqlite3* db)
        : consulta_(db,
            "SELECT f.visit_type, f.from_visit, p.url FROM moz_historyvisits f "
            "JOIN moz_places p ON p.id = f.place_id WHERE f.id = ?1")
    {
    }

    [[nodiscard]] std::string pagina(sqlite3_int64 deVisita)
    {
        for (int passo = 0; passo < 8 && deVisita > 0; ++passo) {
            consulta_.reiniciar();
            consulta_.ligar(1, deVisita);
            if (!consulta_.proxima()) {
                return {};
            }
            const sqlite3_int64 tipo = consulta_.inteiro(0);
            std::string url = consulta_.texto(2);
            if (tipo != 5 && tipo != 6) {
                return url;
            }
            deVisita = consulta_.inteiro(1);
        }
        return {};
    }

private:
    Consulta consulta_;
};

struct Visita {
    sqlite3_int64 data;
    sqlite3_int64 deVisita;
};

void lerFirefox(const BancoCopiado& banco, const std::string& agente, std::vector<RegistroDeDownload>& saida)
{
    if (!banco.temTabelas({"moz_places", "moz_annos", "moz_anno_attributes"})) {
        return;
    }
    const std::string limite = std::to_string(HistoricoDeNavegadores::kMaximoDeRegistros);
    // json_valid keeps a metaData that is not JSON from failing the whole query.
    Consulta anotacoes(banco.get(),
        R"(
        WITH destino AS (SELECT id FROM moz_anno_attributes WHERE name = 'downloads/destinationFileURI' LIMIT 1),
             meta AS (SELECT id FROM moz_anno_attributes WHERE name = 'downloads/metaData' LIMIT 1),
             d AS (SELECT p.id AS lugar, p.url AS url, a.content AS arquivo,
                          (SELECT m.content FROM moz_annos m
                            WHERE m.place_id = p.id AND m.anno_attribute_id = (SELECT id FROM meta) LIMIT 1) AS dados
                     FROM moz_annos a JOIN moz_places p ON p.id = a.place_id
                    WHERE a.anno_attribute_id = (SELECT id FROM destino) LIMIT )"
            + limite + R"()
        SELECT lugar, url, arquivo,
               CASE WHEN json_valid(dados) THEN json_extract(dados, '$.state') END,
               CASE WHEN json_valid(dados) THEN json_extract(dados, '$.endTime') END,
               CASE WHEN json_valid(dados) THEN json_extract(dados, '$.fileSize') END
          FROM d)");

    // The download visits (type 7) of the places that are downloads, oldest first: the last one
    // is the download the annotations describe, the earlier ones are earlier downloads of the
    // same address whose file Firefox no longer names.
    std::map<sqlite3_int64, std::vector<Visita>> visitas;
    const bool temVisitas = banco.temTabelas({"moz_historyvisits"});
    if (temVisitas) {
        Consulta consulta(banco.get(),
            R"(
            SELECT v.place_id, v.visit_date, v.from_visit FROM moz_historyvisits v
             WHERE v.visit_type = 7 AND v.place_id IN (
                   SELECT a.place_id FROM moz_annos a WHERE a.anno_attribute_id =
                          (SELECT id FROM moz_anno_attributes WHERE name = 'downloads/destinationFileURI' LIMIT 1))
             ORDER BY v.place_id, v.visit_date LIMIT )"
                + limite);
        while (consulta.proxima()) {
            visitas[consulta.inteiro(0)].push_back({consulta.inteiro(1), consulta.inteiro(2)});
        }
        if (!consulta.ok()) {
            return;
        }
    }
    Referencias referencias(banco.get());

    std::vector<RegistroDeDownload> lidos;
    while (anotacoes.proxima()) {
        // A metaData without a state (older Firefox) counts; one with a state counts only when
        // the download finished (1).
        if (anotacoes.tipo(3) != SQLITE_NULL
            && (anotacoes.tipo(3) != SQLITE_INTEGER || anotacoes.inteiro(3) != 1)) {
            continue;
        }
        const std::string url = anotacoes.texto(1);
        std::optional<std::int64_t> tamanho;
        if (anotacoes.tipo(5) == SQLITE_INTEGER && anotacoes.inteiro(5) >= 0) {
            tamanho = anotacoes.inteiro(5);
        }
        std::optional<Date> fim;
        if (anotacoes.tipo(4) == SQLITE_INTEGER || anotacoes.tipo(4) == SQLITE_FLOAT) {
            // SQLite's JSON reads "1e999" as infinity; no real download ended then.
            const double ms = anotacoes.real(4);
            if (ms > 0 && std::isfinite(ms)) {
                fim = Date::desde1970(ms / 1000.0);
            }
        }
        const auto itVisitas = visitas.find(anotacoes.inteiro(0));
        const std::vector<Visita> nenhuma;
        const std::vector<Visita>& dessas = itVisitas == visitas.end() ? nenhuma : itVisitas->second;

        if (const std::optional<std::string> caminho = UriDeArquivo::caminho(anotacoes.texto(2))) {
            RegistroDeDownload registro;
            registro.caminho = *caminho;
            std::string pagina;
            if (!dessas.empty()) {
                registro.inicio = deMicrossegundos(dessas.back().data);
                pagina = referencias.pagina(dessas.back().deVisita);
            }
            registro.origens = origensDoDownload(url, pagina, {}, {});
            registro.baixadoEm = fim;
            registro.tamanho = tamanho;
            registro.agente = agente;
            lidos.push_back(std::move(registro));
        }
        // Earlier downloads of the same address: only a visit is left of each. Their size is
        // taken to be the last one's; when it is not, the file does not match and nothing is
        // claimed.
        for (std::size_t i = 0; i + 1 < dessas.size(); ++i) {
            RegistroDeDownload anterior;
            anterior.origens = origensDoDownload(url, referencias.pagina(dessas[i].deVisita), {}, {});
            anterior.inicio = deMicrossegundos(dessas[i].data);
            anterior.tamanho = tamanho;
            anterior.agente = agente;
            lidos.push_back(std::move(anterior));
        }
    }
    if (anotacoes.ok()) {
        std::move(lidos.begin(), lidos.end(), std::back_inserter(saida));
    }
}

void lerBanco(
    const HistoricoDeNavegadores::Banco& banco, std::vector<RegistroDeDownload>& saida, const std::stop_token& parar)
{
    const std::unique_ptr<BancoCopiado> copia
        = BancoCopiado::abrir(banco.arquivo, HistoricoDeNavegadores::kOrcamentoPorBanco, parar);
    if (!copia) {
        return;
    }
    if (banco.tipo == HistoricoDeNavegadores::Tipo::chromium) {
        lerChromium(*copia, banco.agente, saida);
    } else {
        lerFirefox(*copia, banco.agente, saida);
    }
}

} // namespace

HistoricoDeNavegadores HistoricoDeNavegadores::ler(const std::vector<Banco>& bancos, std::stop_token parar)
{
    BancoCopiado::removerCopiasAbandonadas();
    HistoricoDeNavegadores historico;
    for (const Banco& banco : bancos) {
        if (parar.stop_requested()) {
            break;
        }
        lerBanco(banco, historico.registros_, parar);
    }
    return historico;
}

HistoricoDeNavegadores HistoricoDeNavegadores::carregar(std::stop_token parar)
{
    return ler(encontrarBancos(), std::move(parar));
}

const RegistroDeDownload* HistoricoDeNavegadores::procurar(const std::string& caminho) const
{
    const RegistroDeDownload* melhor = nullptr;
    for (const RegistroDeDownload& registro : registros_) {
        if (registro.caminho != caminho) {
            continue;
        }
        if (melhor == nullptr
            || (registro.baixadoEm && (!melhor->baixadoEm || *registro.baixadoEm > *melhor->baixadoEm))) {
            melhor = &registro;
        }
    }
    return melhor;
}

} // namespace tarrafa

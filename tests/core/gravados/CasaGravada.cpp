// SPDX-License-Identifier: GPL-3.0-or-later
#include "CasaGravada.hpp"

#include <sqlite3.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tarrafa::teste {

namespace {

std::string dados()
{
    return TARRAFA_GRAVACAO;
}

std::vector<std::string> campos(const std::string& linha)
{
    std::vector<std::string> saida;
    std::size_t inicio = 0;
    for (;;) {
        const std::size_t tab = linha.find('\t', inicio);
        saida.push_back(linha.substr(inicio, tab == std::string::npos ? std::string::npos : tab - inicio));
        if (tab == std::string::npos) {
            return saida;
        }
        inicio = tab + 1;
    }
}

std::vector<Verdade> lerVerdades(const std::string& arquivo)
{
    std::ifstream entrada(arquivo);
    if (!entrada) {
        throw std::runtime_error("no truth file at " + arquivo);
    }
    std::string linha;
    std::getline(entrada, linha);
    const std::vector<std::string> cabecalho = campos(linha);
    std::vector<Verdade> verdades;
    while (std::getline(entrada, linha)) {
        if (linha.empty()) {
            continue;
        }
        const std::vector<std::string> valores = campos(linha);
        std::map<std::string, std::string> porNome;
        for (std::size_t i = 0; i < cabecalho.size() && i < valores.size(); ++i) {
            porNome[cabecalho[i]] = valores[i];
        }
        Verdade v;
        v.arquivo = porNome["arquivo"];
        v.navegador = porNome["navegador"];
        v.perfil = porNome["perfil"];
        v.cenario = porNome["cenario"];
        v.url = porNome["url"];
        v.pagina = porNome["pagina"];
        v.origemEsperada = porNome["origem_esperada"];
        v.tamanho = porNome["tamanho"].empty() ? 0 : std::stoll(porNome["tamanho"]);
        v.mtimeNs = porNome["mtime_ns"].empty() ? 0 : std::stoll(porNome["mtime_ns"]);
        verdades.push_back(v);
    }
    return verdades;
}

bool ehBanco(const std::filesystem::path& caminho)
{
    const std::string nome = caminho.filename().string();
    return nome == "History" || caminho.extension() == ".sqlite";
}

void executar(sqlite3* db, const std::string& sql)
{
    char* erro = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &erro) != SQLITE_OK) {
        const std::string mensagem = erro != nullptr ? erro : "?";
        sqlite3_free(erro);
        throw std::runtime_error(mensagem + " in: " + sql);
    }
}

std::string aspas(const std::string& texto, char aspa)
{
    std::string saida(1, aspa);
    for (const char c : texto) {
        saida += c;
        if (c == aspa) {
            saida += aspa;
        }
    }
    return saida + aspa;
}

} // namespace

CasaGravada::CasaGravada()
    : casa_(pasta_.caminho() + "/casa")
    , verdades_(lerVerdades(dados() + "/verdade.tsv"))
    , home_("HOME", casa_)
    , config_("XDG_CONFIG_HOME", casa_ + "/.config")
    , dados_("XDG_DATA_HOME", casa_ + "/.local/share")
    , runtime_("XDG_RUNTIME_DIR", pasta_.caminho() + "/run")
    , tmpdir_("TMPDIR", pasta_.caminho() + "/tmp")
    , dirs_("XDG_DATA_DIRS", casa_ + "/usr/share")
{
    std::filesystem::create_directories(pasta_.caminho() + "/run");
    std::filesystem::create_directories(pasta_.caminho() + "/tmp");
    std::filesystem::copy(dados() + "/casa", casa_, std::filesystem::copy_options::recursive);
    std::filesystem::create_directories(casa_ + "/.local/share");
    for (const auto& entrada : std::filesystem::recursive_directory_iterator(casa_)) {
        if (!entrada.is_regular_file() || entrada.path().string().rfind(downloads() + "/", 0) == 0) {
            continue;
        }
        relocar(entrada.path().string());
    }
    for (const Verdade& v : verdades_) {
        const std::string arquivo = downloads() + "/" + v.arquivo;
        if (v.mtimeNs > 0 && std::filesystem::exists(arquivo)) {
            const timespec quando {
                static_cast<time_t>(v.mtimeNs / 1'000'000'000), static_cast<long>(v.mtimeNs % 1'000'000'000)};
            const timespec tempos[2] {quando, quando};
            ::utimensat(AT_FDCWD, arquivo.c_str(), tempos, AT_SYMLINK_NOFOLLOW);
        }
    }
}

void CasaGravada::relocar(const std::string& arquivo) const
{
    const std::filesystem::path caminho(arquivo);
    const std::string nome = caminho.filename().string();
    if (nome == "profiles.ini" || nome == "installs.ini") {
        std::ifstream entrada(arquivo, std::ios::binary);
        std::stringstream conteudo;
        conteudo << entrada.rdbuf();
        std::string texto = conteudo.str();
        const std::string antigo = kCasaDaGravacao;
        for (std::size_t pos = 0; (pos = texto.find(antigo, pos)) != std::string::npos; pos += casa_.size()) {
            texto.replace(pos, antigo.size(), casa_);
        }
        std::ofstream(arquivo, std::ios::binary | std::ios::trunc) << texto;
        return;
    }
    if (!ehBanco(caminho)) {
        return;
    }
    sqlite3* db = nullptr;
    if (sqlite3_open(arquivo.c_str(), &db) != SQLITE_OK) {
        sqlite3_close(db);
        throw std::runtime_error("cannot open " + arquivo);
    }
    // A database caught with rows only in its write-ahead log keeps them there: the
    // replacement is appended to the log and never checkpointed into the main file.
    if (std::filesystem::exists(arquivo + "-wal")) {
        sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        executar(db, "PRAGMA wal_autocheckpoint = 0");
    }
    // Every text value of every ordinary table: the recorded home's path is only a prefix.
    std::vector<std::pair<std::string, std::string>> colunas;
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(db,
        "SELECT m.name, p.name FROM sqlite_master m JOIN pragma_table_info(m.name) p "
        "WHERE m.type = 'table' AND m.name NOT LIKE 'sqlite_%' AND m.sql NOT LIKE 'CREATE VIRTUAL%'",
        -1, &stmt, nullptr);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        colunas.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)),
            reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1)));
    }
    sqlite3_finalize(stmt);
    executar(db, "BEGIN");
    for (const auto& [tabela, coluna] : colunas) {
        const std::string c = aspas(coluna, '"');
        executar(db,
            "UPDATE " + aspas(tabela, '"') + " SET " + c + " = replace(" + c + ", "
                + aspas(kCasaDaGravacao, '\'') + ", " + aspas(casa_, '\'') + ") WHERE typeof(" + c
                + ") = 'text' AND instr(" + c + ", " + aspas(kCasaDaGravacao, '\'') + ") > 0");
    }
    executar(db, "COMMIT");
    sqlite3_close(db);
}

const Verdade* CasaGravada::verdade(const std::string& arquivo) const
{
    for (const Verdade& v : verdades_) {
        if (v.arquivo == arquivo) {
            return &v;
        }
    }
    return nullptr;
}

std::vector<Verdade> CasaGravada::doCenario(const std::string& cenario) const
{
    std::vector<Verdade> saida;
    for (const Verdade& v : verdades_) {
        if (v.cenario == cenario) {
            saida.push_back(v);
        }
    }
    return saida;
}

std::string CasaGravada::pastaEmExecucao()
{
    return dados() + "/firefox-em-execucao";
}

std::string CasaGravada::usarFirefoxEmExecucao(const std::string& perfil)
{
    const std::string pasta = casa_ + "/.config/mozilla/firefox/" + perfil;
    if (!std::filesystem::exists(pasta + "/places.sqlite")) {
        return {};
    }
    for (const char* nome : {"places.sqlite", "places.sqlite-wal"}) {
        std::filesystem::copy_file(pastaEmExecucao() + "/" + nome, pasta + "/" + nome,
            std::filesystem::copy_options::overwrite_existing);
    }
    std::filesystem::remove(pasta + "/places.sqlite-shm");
    relocar(pasta + "/places.sqlite");
    return pasta;
}

} // namespace tarrafa::teste

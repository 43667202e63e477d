// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCli/Relatorio.hpp"
#include "TarrafaCli/JsonDoItem.hpp"

#include "TarrafaCore/Escapes.hpp"

#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/EmAndamento.hpp"
#include "TarrafaCore/AppsInstalados.hpp"
#include "TarrafaCore/ArquivoDeDecisoes.hpp"
#include "TarrafaCore/Duplicatas.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Formato.hpp"
#include "TarrafaCore/IdEmTexto.hpp"
#include "TarrafaCore/Origem.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/Selo.hpp"
#include "TarrafaCore/Texto.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <unordered_set>
#include <string_view>
#include <utility>

namespace tarrafa::cli {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kSeparador = " · ";

// Names and addresses come from the file system and from other programs' metadata: JSON
// takes only valid UTF-8, so anything else is repaired with U+FFFD.
Json texto(std::string_view bytes)
{
    return Texto::utf8Valido(bytes);
}

Json talvez(const std::optional<std::string>& valor)
{
    return valor ? texto(*valor) : Json(nullptr);
}

Json talvez(const std::optional<Date>& data)
{
    return data ? Json(data->segundosDesde1970()) : Json(nullptr);
}

Json origem(const Origem& o)
{
    return Json {{"chave", texto(o.chave())}, {"rotulo", texto(o.rotulo())}, {"endereco", talvez(o.endereco())}};
}

} // namespace

nlohmann::ordered_json jsonDoItem(const ItemTriado& i)
{
    const FileSnapshot& s = i.snapshot();
    Json origens = Json::array();
    for (const std::string& endereco : s.origens()) {
        origens.push_back(texto(endereco));
    }
    Json selos = Json::array();
    for (const Selo& selo : i.selos()) {
        selos.push_back(Json {{"caso", std::string(nomeDoCaso(selo.caso()))}, {"rotulo", selo.rotulo()},
            {"tom", std::string(nomeDoTom(selo.tom()))}});
    }
    Json item;
    escreverId(item, s.id());
    item.update(Json {
        {"nome", texto(s.nome())},
        {"ehPasta", s.ehPasta()},
        {"tamanho", s.tamanho()},
        {"baixadoEm", talvez(s.baixadoEm())},
        {"criadoEm", s.criadoEm().segundosDesde1970()},
        {"ultimoUsoEm", talvez(s.ultimoUsoEm())},
        {"origens", std::move(origens)},
        {"ehScreenshot", s.ehScreenshot()},
        {"quarentenaAgente", talvez(s.quarentenaAgente())},
        {"origem", origem(i.origem())},
        {"selos", std::move(selos)},
    });
    return item;
}

void escreverId(nlohmann::ordered_json& objeto, const std::string& id)
{
    std::string escrito = IdEmTexto::codificar(id);
    const bool codificado = IdEmTexto::ehCodificado(escrito);
    objeto["id"] = std::move(escrito);
    objeto["idCodificado"] = codificado;
}

namespace {

// Downloads still arriving are not the person's files yet: apart from the groups and the
// diagnostics, as in the window.
// Whether each snapshot is a download under way, as its folder's names tell.
std::vector<bool> emAndamento(const std::vector<FileSnapshot>& snapshots)
{
    std::unordered_set<std::string> nomes;
    for (const FileSnapshot& s : snapshots) {
        nomes.insert(s.nome());
    }
    const auto existe = [&nomes](const std::string& nome) { return nomes.contains(nome); };
    std::vector<bool> baixando;
    baixando.reserve(snapshots.size());
    for (const FileSnapshot& s : snapshots) {
        baixando.push_back(EmAndamento::baixando(s.nome(), !s.ehPasta(), s.tamanho(), existe));
    }
    return baixando;
}

std::vector<FileSnapshot> separarBaixando(std::vector<FileSnapshot>& snapshots)
{
    const std::vector<bool> baixando = emAndamento(snapshots);
    std::vector<FileSnapshot> chegando;
    std::vector<FileSnapshot> arquivos;
    for (std::size_t k = 0; k < snapshots.size(); ++k) {
        (baixando[k] ? chegando : arquivos).push_back(std::move(snapshots[k]));
    }
    snapshots = std::move(arquivos);
    return chegando;
}

} // namespace

Relatorio::Relatorio(std::string pasta, std::set<std::string> appsInstalados, std::vector<FileSnapshot> snapshots,
    Date agora, std::unordered_map<std::string, std::string> duplicataDe, std::unordered_map<std::string, Decisao> decisoes,
    Filtro estado, std::vector<NaLixeira::Item> naLixeira)
    : pasta_(std::move(pasta))
    , appsInstalados_(std::move(appsInstalados))
    , baixando_(separarBaixando(snapshots))
    , duplicataDe_(std::move(duplicataDe))
    , decisoes_(std::move(decisoes))
    , estado_(estado)
    , todos_(Duplicatas::marcar(TriageEngine(appsInstalados_).triar(snapshots), duplicataDe_))
    , raioX_(snapshots, todos_, agora)
    , naLixeira_(!estado_ || *estado_ == Estado::resolvidos ? std::move(naLixeira) : std::vector<NaLixeira::Item> {})
{
    // As the window's lists: a group keeps its place and shows only the files listed, and a
    // group left with none is not shown at all.
    for (const GrupoOrigem& grupo : todos_) {
        std::vector<ItemTriado> listados;
        for (const ItemTriado& item : grupo.itens()) {
            if (!estado_ || estadoDe(decisao(item.id())) == *estado_) {
                listados.push_back(item);
            }
        }
        if (!listados.empty()) {
            grupos_.emplace_back(grupo.origem(), std::move(listados));
        }
    }
    // The window shows the downloads under way above the inbox, and nowhere else.
    if (estado_ && *estado_ != Estado::caixa) {
        baixando_.clear();
    }
}

Decisao Relatorio::decisao(const std::string& id) const
{
    const auto achada = decisoes_.find(id);
    return achada == decisoes_.end() ? Decisao::novo : achada->second;
}

std::optional<Relatorio::Filtro> Relatorio::filtroDe(std::string_view palavra) noexcept
{
    for (const Filtro filtro : {Filtro(Estado::caixa), Filtro(Estado::adiados), Filtro(Estado::resolvidos), kTodos}) {
        if (palavraDe(filtro) == palavra) {
            return std::optional<Filtro>(std::in_place, filtro);
        }
    }
    return std::nullopt;
}

std::string_view Relatorio::palavraDe(Filtro filtro) noexcept
{
    if (!filtro) {
        return "todos";
    }
    switch (*filtro) {
    case Estado::caixa:
        return "caixa";
    case Estado::adiados:
        return "adiados";
    case Estado::resolvidos:
        return "resolvidos";
    }
    return "caixa";
}

Relatorio Relatorio::de(const std::string& pasta, Filtro estado)
{
    PastaScanner::Resultado lido = PastaScanner().varrerComIdentidades(pasta);
    std::unordered_map<std::string, Identidade> identidades;
    for (std::size_t k = 0; k < lido.snapshots.size(); ++k) {
        identidades.emplace(lido.snapshots[k].id(), lido.identidades[k]);
    }
    // Downloads under way are in no group: they are compared with nothing.
    const std::vector<bool> baixando = emAndamento(lido.snapshots);
    std::vector<const FileSnapshot*> arquivos;
    arquivos.reserve(lido.snapshots.size());
    for (std::size_t k = 0; k < lido.snapshots.size(); ++k) {
        if (!baixando[k]) {
            arquivos.push_back(&lido.snapshots[k]);
        }
    }
    CacheDeHashes cache(PastasDoUsuario::arquivoDeHashes());
    Duplicatas::Resultado duplicatas
        = Duplicatas::encontrar(Duplicatas::candidatos(arquivos, identidades, lido.sha256), cache);
    std::set<std::string> apps = AppsInstalados::listar();
    // "Resolvidos" in the window also lists what went from the folder to the Trash; the Trash
    // is read only when those are asked for.
    std::vector<NaLixeira::Item> naLixeira;
    if (!estado || *estado == Estado::resolvidos) {
        naLixeira = NaLixeira::ler(pasta, TriageEngine(apps));
    }
    // The file the window reads and writes, so that both list every file in the same place.
    ArquivoDeDecisoes decisoes(PastasDoUsuario::arquivoDeDecisoes());
    return Relatorio(pasta, std::move(apps), std::move(lido.snapshots), Date::agora(),
        std::move(duplicatas.duplicataDe), decisoes.ler(), estado, std::move(naLixeira));
}

std::string Relatorio::comoTexto() const
{
    std::string saida;
    if (!baixando_.empty()) {
        saida.append("Baixando…\n");
        for (const FileSnapshot& s : baixando_) {
            saida.append("  ").append(Escapes::paraTerminal(s.nome())).append("\n");
        }
        saida.append("\n");
    }
    for (const GrupoOrigem& g : grupos_) {
        saida.append(Escapes::paraTerminal(g.origem().rotulo()))
            .append(kSeparador)
            .append(std::to_string(g.total()))
            .append(" ")
            .append(Apresentacao::itemOuItens(g.total()))
            .append(kSeparador)
            .append(Apresentacao::resumoDoGrupo(g))
            .append("\n");
        for (const ItemTriado& i : g.itens()) {
            saida.append("  ").append(Escapes::paraTerminal(i.nome()));
            // Outside the inbox a file may be in another place than its neighbours: said.
            if (const Decisao d = decisao(i.id()); d != Decisao::novo) {
                saida.append("  (").append(valorBruto(d)).append(")");
            }
            for (const Selo& selo : i.selos()) {
                saida.append("  [").append(Escapes::paraTerminal(selo.rotulo())).append("]");
            }
            saida.append("  ").append(Formato::bytes(i.snapshot().tamanho())).append("\n");
        }
        saida.append("\n");
    }
    if (!naLixeira_.empty()) {
        saida.append("Na Lixeira")
            .append(kSeparador)
            .append(std::to_string(naLixeira_.size()))
            .append(" ")
            .append(Apresentacao::itemOuItens(static_cast<int>(naLixeira_.size())))
            .append("\n");
        for (const NaLixeira::Item& guardado : naLixeira_) {
            saida.append("  ").append(Escapes::paraTerminal(guardado.item.nome()));
            for (const Selo& selo : guardado.item.selos()) {
                saida.append("  [").append(Escapes::paraTerminal(selo.rotulo())).append("]");
            }
            saida.append("  ").append(Formato::bytes(guardado.item.snapshot().tamanho())).append("\n");
        }
        saida.append("\n");
    }
    if (grupos_.empty() && naLixeira_.empty()) {
        if (estado_ == Estado::caixa) {
            saida.append("Caixa de entrada vazia: nada esperando decisão na sua pasta Downloads.\n\n");
        } else if (estado_) {
            saida.append("Nada aqui: nenhum arquivo neste estado.\n\n");
        } else {
            saida.append("Nenhum arquivo na pasta.\n\n");
        }
    }
    saida.append(leitura(raioX_)).append("\n");
    return saida;
}

std::string Relatorio::comoJson() const
{
    Json apps = Json::array();
    for (const std::string& app : appsInstalados_) {
        apps.push_back(texto(app));
    }
    Json grupos = Json::array();
    for (const GrupoOrigem& g : grupos_) {
        Json itens = Json::array();
        for (const ItemTriado& i : g.itens()) {
            Json item = jsonDoItem(i);
            const auto original = duplicataDe_.find(i.id());
            // The original's id, written as every id is.
            item["duplicataDe"]
                = original == duplicataDe_.end() ? Json(nullptr) : Json(IdEmTexto::codificar(original->second));
            // In the decision file's own words.
            item["decisao"] = std::string(valorBruto(decisao(i.id())));
            itens.push_back(std::move(item));
        }
        grupos.push_back(Json {
            {"origem", origem(g.origem())},
            {"total", g.total()},
            {"bytes", g.bytes()},
            {"nuncaAbertos", g.nuncaAbertos()},
            {"nomesOpacos", g.nomesOpacos()},
            {"itens", std::move(itens)},
        });
    }
    Json naLixeira = Json::array();
    for (const NaLixeira::Item& guardado : naLixeira_) {
        // Its id is where it lies in the Trash; where it was, written as every id is.
        Json item = jsonDoItem(guardado.item);
        item["caminhoOriginal"] = IdEmTexto::codificar(guardado.guardado.caminhoOriginal);
        item["apagadoEm"] = texto(guardado.guardado.apagadoEm);
        naLixeira.push_back(std::move(item));
    }
    const RaioX& r = raioX_;
    Json raioX {
        {"total", r.total()},
        {"bytes", r.bytes()},
        {"nuncaAbertos", r.nuncaAbertos()},
        {"nomesOpacos", r.nomesOpacos()},
        {"comOrigem", r.comOrigem()},
        {"origensDistintas", r.origensDistintas()},
        {"concentracaoTop3", r.concentracaoTop3()},
        {"maisAntigoEmDias", r.maisAntigoEmDias()},
        {"agrupamentoSeSustenta", r.agrupamentoSeSustenta()},
        {"leitura", leitura(r)},
    };
    Json baixando = Json::array();
    for (const FileSnapshot& s : baixando_) {
        Json chegando;
        escreverId(chegando, s.id());
        chegando["nome"] = texto(s.nome());
        chegando["tamanho"] = s.tamanho();
        baixando.push_back(std::move(chegando));
    }
    const Json raiz {
        {"pasta", texto(pasta_)},
        // Which files "grupos" holds: a program reading the report need not know the option.
        {"estado", std::string(palavraDe(estado_))},
        {"appsInstalados", std::move(apps)},
        {"grupos", std::move(grupos)},
        {"baixando", std::move(baixando)},
        {"naLixeira", std::move(naLixeira)},
        {"raioX", std::move(raioX)},
    };
    // Every string was repaired above; replace is only a second guard.
    return Escapes::invisiveisEmJson(raiz.dump(2, ' ', false, Json::error_handler_t::replace)) + "\n";
}

} // namespace tarrafa::cli

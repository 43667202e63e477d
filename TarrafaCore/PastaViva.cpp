// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/PastaViva.hpp"

#include "TarrafaCore/ListaDeRecentes.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/CasamentoDeDownloads.hpp"
#include "TarrafaCore/EmAndamento.hpp"
#include "TarrafaCore/SeriesDetector.hpp"

#include <algorithm>
#include <sys/stat.h>
#include <future>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace tarrafa {

namespace {

using Leitura = PastaScanner::Leitura;

// Whether two readings describe the same entry as far as anyone looking can tell.
bool mesmaEntrada(const Leitura& a, const Leitura& b)
{
    // The change time too: a file edited in place with its modification time set back must
    // reach whoever compares contents with its new identity.
    return a.identidade == b.identidade && a.identidade.alteradoNs == b.identidade.alteradoNs && a.tamanho == b.tamanho && a.ehPasta == b.ehPasta
        && a.baixadoEm == b.baixadoEm && a.criadoEm == b.criadoEm && a.ultimoUso == b.ultimoUso
        && a.origens == b.origens && a.ehScreenshot == b.ehScreenshot && a.agente == b.agente;
}

} // namespace

std::string_view nomeDoEvento(PastaViva::Evento evento)
{
    switch (evento) {
    case PastaViva::Evento::adicionado:
        return "adicionado";
    case PastaViva::Evento::alterado:
        return "alterado";
    case PastaViva::Evento::removido:
        return "removido";
    case PastaViva::Evento::origemEncontrada:
        return "origemEncontrada";
    }
    return "alterado";
}

PastaViva::PastaViva(std::string pasta, std::set<std::string> appsInstalados, std::stop_token parar)
    : raiz_(PastaScanner::caminhoAbsoluto(pasta))
    , parar_(parar)
    , scanner_(std::move(parar))
    , triagem_(std::move(appsInstalados))
{
}

std::vector<std::string> PastaViva::bancosDeHistorico() const
{
    std::vector<std::string> arquivos;
    for (const HistoricoDeNavegadores::Banco& banco : bancos_) {
        arquivos.push_back(banco.arquivo);
    }
    return arquivos;
}

bool PastaViva::existe(const std::string& nome) const
{
    // Asked of the folder itself, not of what is known: a partial file still being written is
    // held back by the watcher until it closes, yet it is there.
    struct stat info {};
    return ::lstat(Caminho::juntar(raiz_, nome).c_str(), &info) == 0;
}

int PastaViva::mesmaSerie(const std::string& chave) const
{
    const auto achada = series_.find(chave);
    return achada == series_.end() ? 1 : std::max(1, static_cast<int>(achada->second.size()));
}

void PastaViva::contarSerie(const std::string& chave, const std::string& nome, int delta, std::set<std::string>* mudadas)
{
    std::vector<std::string>& membros = series_[chave];
    if (delta > 0) {
        membros.push_back(nome);
    } else {
        std::erase(membros, nome);
    }
    if (membros.empty()) {
        series_.erase(chave);
    }
    if (mudadas != nullptr) {
        mudadas->insert(chave);
    }
}

ItemTriado PastaViva::triar(const Leitura& completa, bool baixando, const std::string& serie) const
{
    FileSnapshot snapshot = PastaScanner::snapshotDe(completa);
    if (baixando) {
        // Not the person's file yet: where it comes from, but no badge and no verdict.
        ItemTriado triado = triagem_.triarUm(snapshot, 1);
        return ItemTriado(std::move(snapshot), triado.origem(), {});
    }
    return triagem_.triarUm(snapshot, mesmaSerie(serie));
}

std::vector<std::optional<Leitura>> PastaViva::completar(const std::vector<Leitura>& lidas) const
{
    std::vector<std::optional<Leitura>> completadas(lidas.size());
    const std::vector<RegistroDeDownload>& registros = historico_.registros();
    if (registros.empty()) {
        return completadas;
    }
    // Matched among every regular entry, not only these: a record one file claims by its
    // path, or that two files could claim by size and time, is no other file's.
    std::unordered_set<std::string> estes;
    std::vector<CasamentoDeDownloads::Arquivo> arquivos;
    std::vector<std::size_t> deQual;
    for (std::size_t i = 0; i < lidas.size(); ++i) {
        const Leitura& lida = lidas[i];
        estes.insert(lida.nome);
        if (lida.ehRegular) {
            arquivos.push_back({lida.nome, lida.tamanho, lida.nascimento, lida.modificacao, lida.origens.empty()});
            deQual.push_back(i);
        }
    }
    for (const auto& [nome, registro] : porNome_) {
        const Leitura& p = registro.propria;
        if (p.ehRegular && !estes.contains(nome)) {
            arquivos.push_back({p.nome, p.tamanho, p.nascimento, p.modificacao, p.origens.empty()});
        }
    }
    const std::vector<const RegistroDeDownload*> achados
        = CasamentoDeDownloads::casar(CasamentoDeDownloads::resolver(raiz_), arquivos, registros);
    for (std::size_t k = 0; k < deQual.size(); ++k) {
        if (achados[k] != nullptr) {
            Leitura completa = lidas[deQual[k]];
            PastaScanner::completarCom(completa, *achados[k]);
            completadas[deQual[k]] = std::move(completa);
        }
    }
    return completadas;
}

PastaViva::Atualizacao PastaViva::varrerTudo()
{
    Atualizacao atualizacao;
    atualizacao.completa = true;
    std::vector<std::string> nomes;
    try {
        nomes = scanner_.listar(raiz_);
    } catch (const std::system_error& erro) {
        // The folder is gone or unreadable: nothing of it is known any more.
        for (const Registro* registro : emOrdem(false)) {
            atualizacao.mudancas.push_back({Evento::removido, registro->propria.id, registro->propria.nome, std::nullopt, false, std::nullopt});
        }
        for (const Registro* registro : emOrdem(true)) {
            atualizacao.mudancas.push_back({Evento::removido, registro->propria.id, registro->propria.nome, std::nullopt, true, std::nullopt});
        }
        porNome_.clear();
        series_.clear();
        atualizacao.falha = erro.code().message();
        return atualizacao;
    }
    std::future<HistoricoDeNavegadores> historico = std::async(std::launch::async, [this] {
        bancos_ = HistoricoDeNavegadores::encontrarBancos();
        return HistoricoDeNavegadores::ler(bancos_, parar_);
    });
    std::vector<Leitura> lidas = scanner_.ler(raiz_, nomes);
    historico_ = historico.get();
    if (parar_.stop_requested()) {
        throw std::system_error(ECANCELED, std::generic_category(), raiz_);
    }

    // Everything read again: what was known is compared to it, entry by entry.
    std::unordered_map<std::string, Registro> antigos = std::exchange(porNome_, {});
    series_.clear();
    porNome_.reserve(lidas.size());
    series_.reserve(lidas.size());
    std::unordered_set<std::string> atuais;
    atuais.reserve(lidas.size());
    for (const Leitura& lida : lidas) {
        atuais.insert(lida.nome);
    }
    // Completed copies only where a browser's record adds something; the rest are their own.
    std::vector<std::optional<Leitura>> completadas = completar(lidas);
    std::vector<bool> baixando(lidas.size());
    std::vector<std::string> series(lidas.size());
    for (std::size_t i = 0; i < lidas.size(); ++i) {
        const Leitura& c = completadas[i] ? *completadas[i] : lidas[i];
        baixando[i] = EmAndamento::baixando(
            c.nome, c.ehRegular, c.tamanho, [&atuais](const std::string& nome) { return atuais.contains(nome); });
        if (!baixando[i]) {
            series[i] = SeriesDetector::chave(c.nome);
            contarSerie(series[i], c.nome, +1, nullptr); // a full read re-triages everything anyway
        }
    }
    for (std::size_t i = 0; i < lidas.size(); ++i) {
        const Leitura& completa = completadas[i] ? *completadas[i] : lidas[i];
        const auto antigo = antigos.find(completa.nome);
        ItemTriado item = triar(completa, baixando[i], series[i]);
        if (antigo == antigos.end()) {
            atualizacao.mudancas.push_back(
                {Evento::adicionado, completa.id, completa.nome, item, baixando[i], completa.identidade});
        } else if (!(antigo->second.item == item) || antigo->second.baixando != baixando[i]
                   || !mesmaEntrada(antigo->second.propria, lidas[i])) {
            const bool achouOrigem
                = antigo->second.item.snapshot().origens().empty() && !item.snapshot().origens().empty();
            atualizacao.mudancas.push_back({achouOrigem ? Evento::origemEncontrada : Evento::alterado, completa.id,
                completa.nome, item, baixando[i], completa.identidade});
        }
        const std::uint64_t ordem = antigo == antigos.end() ? proximaOrdem_++ : antigo->second.ordem;
        std::string nome = lidas[i].nome;
        std::string sha256 = completa.sha256;
        porNome_.insert_or_assign(std::move(nome), Registro {std::move(lidas[i]), std::move(item), baixando[i], ordem,
                                                       std::move(series[i]), std::move(sha256)});
    }
    for (const auto& [nome, registro] : antigos) {
        if (!porNome_.contains(nome)) {
            atualizacao.mudancas.push_back({Evento::removido, registro.propria.id, nome, std::nullopt, registro.baixando, std::nullopt});
        }
    }
    return atualizacao;
}

PastaViva::Atualizacao PastaViva::aplicar(const LoteDeEventos& lote)
{
    if (lote.tudo) {
        return varrerTudo();
    }
    Atualizacao atualizacao;
    std::set<std::string> nomes = lote.nomes;
    if (lote.conferir) {
        // Only names: what came or went since the last read; a file changed in place in the
        // meantime is not seen here.
        std::vector<std::string> listados;
        try {
            listados = scanner_.listar(raiz_);
        } catch (const std::system_error&) {
            return varrerTudo(); // the folder is gone: say so as a full read does
        }
        std::unordered_set<std::string> agora(listados.begin(), listados.end());
        for (const std::string& nome : listados) {
            if (!porNome_.contains(nome)) {
                nomes.insert(nome);
            }
        }
        for (const auto& [nome, registro] : porNome_) {
            if (!agora.contains(nome)) {
                nomes.insert(nome);
            }
        }
    }
    // A partial download's final name may be Firefox's empty placeholder: its state depends on
    // the partial one beside it.
    for (const std::string& nome : lote.nomes) {
        if (std::optional<std::string> final = EmAndamento::nomeFinal(nome)) {
            nomes.insert(std::move(*final));
        }
    }
    if (lote.historicos) {
        historico_ = HistoricoDeNavegadores::ler(bancos_, parar_);
    }
    if (lote.usosRecentes) {
        // A file opened since: read again only those whose last use the list moved forward.
        const ListaDeRecentes::Indice indice = ListaDeRecentes::Indice::carregar();
        for (const auto& [nome, registro] : porNome_) {
            const std::optional<Date> uso = indice.ultimoUso(registro.propria.id);
            if (uso && (!registro.propria.ultimoUso || *registro.propria.ultimoUso < *uso)) {
                nomes.insert(nome);
            }
        }
    }

    std::vector<Leitura> lidas = scanner_.ler(raiz_, std::vector<std::string>(nomes.begin(), nomes.end()));
    std::set<std::string> seriesMudadas;

    // What went away.
    std::unordered_set<std::string> presentes;
    for (const Leitura& lida : lidas) {
        presentes.insert(lida.nome);
    }
    for (const std::string& nome : nomes) {
        const auto antigo = porNome_.find(nome);
        if (antigo == porNome_.end() || presentes.contains(nome)) {
            continue;
        }
        if (!antigo->second.baixando) {
            contarSerie(antigo->second.serie, nome, -1, &seriesMudadas);
        }
        atualizacao.mudancas.push_back(
            {Evento::removido, antigo->second.propria.id, nome, std::nullopt, antigo->second.baixando, std::nullopt});
        porNome_.erase(antigo);
    }

    // What came or changed: read again, matched with the histories, triaged.
    std::vector<std::optional<Registro>> anteriores;
    anteriores.reserve(lidas.size());
    for (const Leitura& lida : lidas) {
        const auto antigo = porNome_.find(lida.nome);
        if (antigo == porNome_.end()) {
            anteriores.emplace_back(std::nullopt);
            continue;
        }
        if (!antigo->second.baixando) {
            contarSerie(antigo->second.serie, lida.nome, -1, &seriesMudadas);
        }
        anteriores.emplace_back(std::move(antigo->second));
        porNome_.erase(antigo);
    }
    std::vector<std::optional<Leitura>> completadas = completar(lidas);
    const auto existeAgora = [this](const std::string& nome) { return existe(nome); };
    std::vector<bool> baixando(lidas.size());
    std::vector<std::string> series(lidas.size());
    for (std::size_t i = 0; i < lidas.size(); ++i) {
        const Leitura& c = lidas[i];
        baixando[i] = EmAndamento::baixando(c.nome, c.ehRegular, c.tamanho, existeAgora);
        if (!baixando[i]) {
            series[i] = SeriesDetector::chave(c.nome);
            contarSerie(series[i], c.nome, +1, &seriesMudadas);
        }
    }
    std::unordered_set<std::string> relatados;
    for (std::size_t i = 0; i < lidas.size(); ++i) {
        const Leitura& completa = completadas[i] ? *completadas[i] : lidas[i];
        const std::optional<Registro>& antes = anteriores[i];
        ItemTriado item = triar(completa, baixando[i], series[i]);
        relatados.insert(completa.nome);
        if (!antes) {
            atualizacao.mudancas.push_back(
                {Evento::adicionado, completa.id, completa.nome, item, baixando[i], completa.identidade});
        } else if (!(antes->item == item) || antes->baixando != baixando[i] || !mesmaEntrada(antes->propria, lidas[i])) {
            atualizacao.mudancas.push_back(
                {Evento::alterado, completa.id, completa.nome, item, baixando[i], completa.identidade});
        }
        std::string nome = lidas[i].nome;
        std::string sha256 = completa.sha256;
        porNome_.insert_or_assign(std::move(nome),
            Registro {std::move(lidas[i]), std::move(item), baixando[i], antes ? antes->ordem : proximaOrdem_++,
                std::move(series[i]), std::move(sha256)});
    }

    // Entries not named whose verdict still moved: a history that now knows where they came
    // from, or a series that gained or lost a member.
    std::set<std::string> outros;
    for (const std::string& chave : seriesMudadas) {
        if (const auto membros = series_.find(chave); membros != series_.end()) {
            for (const std::string& nome : membros->second) {
                if (!relatados.contains(nome)) {
                    outros.insert(nome);
                }
            }
        }
    }
    if (lote.historicos) {
        std::vector<Leitura> semOrigem;
        for (const auto& [nome, registro] : porNome_) {
            if (!relatados.contains(nome) && registro.item.snapshot().origens().empty() && registro.propria.ehRegular) {
                semOrigem.push_back(registro.propria);
            }
        }
        const std::vector<std::optional<Leitura>> achadas = completar(semOrigem);
        for (const std::optional<Leitura>& completa : achadas) {
            if (!completa || completa->origens.empty()) {
                continue;
            }
            Registro& registro = porNome_.at(completa->nome);
            registro.item = triar(*completa, registro.baixando, registro.serie);
            registro.sha256 = completa->sha256;
            outros.erase(completa->nome);
            relatados.insert(completa->nome);
            atualizacao.mudancas.push_back({Evento::origemEncontrada, completa->id, completa->nome, registro.item,
                registro.baixando, registro.propria.identidade});
        }
    }
    // Matched against the histories all at once: each matching walks every known file.
    std::vector<Leitura> deOutros;
    for (const std::string& nome : outros) {
        if (const Registro& registro = porNome_.at(nome); !registro.baixando) {
            deOutros.push_back(registro.propria);
        }
    }
    const std::vector<std::optional<Leitura>> completadasDeOutros = completar(deOutros);
    for (std::size_t i = 0; i < deOutros.size(); ++i) {
        const Leitura& completa = completadasDeOutros[i] ? *completadasDeOutros[i] : deOutros[i];
        Registro& registro = porNome_.at(completa.nome);
        ItemTriado novo = triar(completa, false, registro.serie);
        if (!(novo == registro.item)) {
            registro.item = std::move(novo);
            atualizacao.mudancas.push_back({Evento::alterado, registro.propria.id, completa.nome, registro.item,
                false, registro.propria.identidade});
        }
    }
    return atualizacao;
}

std::vector<const PastaViva::Registro*> PastaViva::emOrdem(bool baixando) const
{
    std::vector<const Registro*> registros;
    registros.reserve(porNome_.size());
    for (const auto& [nome, registro] : porNome_) {
        if (registro.baixando == baixando) {
            registros.push_back(&registro);
        }
    }
    std::ranges::sort(registros, [](const Registro* a, const Registro* b) { return a->ordem < b->ordem; });
    return registros;
}

std::vector<ItemTriado> PastaViva::itens() const
{
    std::vector<ItemTriado> itens;
    for (const Registro* registro : emOrdem(false)) {
        itens.push_back(registro->item);
    }
    return itens;
}

std::vector<ItemTriado> PastaViva::baixando() const
{
    std::vector<ItemTriado> itens;
    for (const Registro* registro : emOrdem(true)) {
        itens.push_back(registro->item);
    }
    return itens;
}

std::vector<GrupoOrigem> PastaViva::grupos() const
{
    return TriageEngine::agrupar(itens());
}

std::unordered_map<std::string, Identidade> PastaViva::identidades() const
{
    std::unordered_map<std::string, Identidade> porId;
    porId.reserve(porNome_.size());
    for (const auto& [nome, registro] : porNome_) {
        porId.emplace(registro.propria.id, registro.propria.identidade);
    }
    return porId;
}

std::unordered_map<std::string, std::string> PastaViva::sha256() const
{
    std::unordered_map<std::string, std::string> porId;
    for (const auto& [nome, registro] : porNome_) {
        if (!registro.sha256.empty()) {
            porId.emplace(registro.propria.id, registro.sha256);
        }
    }
    return porId;
}

} // namespace tarrafa

// SPDX-License-Identifier: GPL-3.0-or-later
// The model's side of the Trash: moving files there, listing what it holds from the folder,
// bringing files back, and the checks that make undo and redo act only on what was confirmed.
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Lixeira.hpp"

#include <QStringList>

#include <algorithm>
#include <set>
#include <utility>

namespace tarrafa::app {

namespace {

QString paraJanela(const std::string& nome)
{
    return QString::fromStdString(Escapes::paraJanela(nome));
}

QString recusaDeMover(const std::string& nome, const std::string& falha)
{
    return QStringLiteral("Não consegui mover ") + paraJanela(nome) + QStringLiteral(" para a Lixeira: ") + QString::fromStdString(falha);
}

// Why a file did not come back, and where it is now: a file that stays in the Trash can still
// be restored once its name is free.
QString recusaDeRestaurar(const std::string& nome, const std::string& falha, const std::string& caminho, bool naLixeira)
{
    QString texto = QStringLiteral("Não consegui restaurar ") + paraJanela(nome) + QStringLiteral(": ") + QString::fromStdString(falha);
    if (naLixeira) {
        texto += Identidade::ler(caminho)
            ? QStringLiteral(" Ele continua na Lixeira: renomeie o arquivo novo e use Restaurar em Resolvidos.")
            : QStringLiteral(" Ele continua na Lixeira.");
    }
    return texto;
}

} // namespace

void Modelo::moverParaLixeira(const std::vector<ItemTriado>& itens)
{
    setMensagem(std::nullopt);
    // What is already in the Trash cannot go there again.
    std::vector<ItemTriado> naPasta;
    std::vector<std::string> ids;
    for (const ItemTriado& item : itens) {
        if (!estaNaLixeira(item.id())) {
            naPasta.push_back(item);
            ids.push_back(item.id());
        }
    }
    if (naPasta.empty() && !itens.empty()) {
        return;
    }
    const auto anteriores = anterioresDe(ids);
    std::vector<Movido> movidos = mover(naPasta);
    if (!movidos.empty()) {
        auto* comando
            = new ComandoDeLixeira(*this, ComandoDeLixeira::Sentido::paraALixeira, std::move(movidos), anteriores);
        const QString texto = comando->text();
        pilha_.push(comando);
        Q_EMIT acaoFeita(texto);
    }
    // Queued, so that whoever looks right after the call sees the folder as the move left it;
    // the rescan leaves the message on screen.
    QMetaObject::invokeMethod(
        this, [this] { varrer(); }, Qt::QueuedConnection);
}

bool Modelo::estaNaLixeira(const std::string& id) const
{
    return idsNaLixeira_.contains(id);
}

bool Modelo::foiParaALixeira(const std::string& caminhoOriginal) const
{
    return originaisNaLixeira_.contains(caminhoOriginal);
}

void Modelo::setNaLixeira(std::vector<ItemNaLixeira> naLixeira)
{
    if (naLixeira == naLixeira_) {
        return;
    }
    naLixeira_ = std::move(naLixeira);
    idsNaLixeira_.clear();
    originaisNaLixeira_.clear();
    for (const ItemNaLixeira& guardado : naLixeira_) {
        idsNaLixeira_.insert(guardado.item.id());
        originaisNaLixeira_.insert(guardado.guardado.caminhoOriginal);
    }
    Q_EMIT lixeiraChanged();
}

void Modelo::tirarDaLixeira(const std::unordered_set<std::string>& ids)
{
    if (ids.empty()) {
        return;
    }
    // One pass for the whole batch: a restore of thousands of files must not be quadratic.
    std::vector<ItemNaLixeira> ficam = naLixeira_;
    std::erase_if(ficam, [&](const ItemNaLixeira& guardado) { return ids.contains(guardado.item.id()); });
    setNaLixeira(std::move(ficam));
}

void Modelo::restaurar(const std::vector<std::string>& ids)
{
    const std::unordered_set<std::string> pedidos(ids.begin(), ids.end());
    std::vector<Volta> voltas;
    // Back in the inbox, not to a decision from before.
    std::unordered_map<std::string, std::optional<Decisao>> paraAEntrada;
    for (const ItemNaLixeira& guardado : naLixeira_) {
        if (!pedidos.contains(guardado.item.id())) {
            continue;
        }
        // What comes back is what redoing or undoing will look for: this very file.
        const std::optional<Identidade> identidade = Identidade::ler(guardado.guardado.arquivo);
        const std::string& caminho = guardado.guardado.caminhoOriginal;
        voltas.push_back({identidade ? std::optional(guardado.guardado) : std::nullopt,
            {caminho, guardado.item.nome(), identidade.value_or(Identidade {})}});
        paraAEntrada.insert_or_assign(caminho, std::nullopt);
    }
    if (voltas.empty()) {
        return;
    }
    std::vector<Movido> trazidos = trazer(voltas, paraAEntrada);
    if (!trazidos.empty()) {
        auto* comando = new ComandoDeLixeira(
            *this, ComandoDeLixeira::Sentido::daLixeira, std::move(trazidos), std::move(paraAEntrada));
        const QString texto = comando->text();
        pilha_.push(comando);
        Q_EMIT acaoFeita(texto);
    }
}

std::vector<Movido> Modelo::levarDeNovoParaALixeira(const std::vector<Movido>& movidos)
{
    setMensagem(std::nullopt);
    QStringList recusas;
    std::vector<Movido> levados;
    std::vector<std::string> ids;
    for (const Movido& movido : movidos) {
        // Only the file the person confirmed: another that took its name since stays.
        const std::optional<Identidade> agora = Identidade::ler(movido.caminho);
        if (!agora) {
            recusas.append(recusaDeMover(movido.nome, "ele não está mais na pasta."));
            continue;
        }
        if (*agora != movido.identidade) {
            recusas.append(recusaDeMover(movido.nome,
                "o arquivo com esse nome agora é outro, que você não confirmou. Nada foi movido."));
            continue;
        }
        if (const std::optional<Lixeira::Falha> falha = Lixeira::mover(movido.caminho, movido.identidade)) {
            recusas.append(recusaDeMover(movido.nome, *falha));
            continue;
        }
        levados.push_back(movido);
        ids.push_back(movido.caminho);
    }
    if (!recusas.isEmpty()) {
        setMensagem(recusas.join(QLatin1Char('\n')));
    }
    registrar(ids, Decisao::resolvido);
    varrer();
    return levados;
}

std::vector<Movido> Modelo::trazerDaLixeira(
    const std::vector<Movido>& movidos, const std::unordered_map<std::string, std::optional<Decisao>>& anteriores)
{
    // One walk through the Trash for the whole step; each file found by where it was and what
    // it is, so that another file trashed from the same path is never the one that comes back.
    std::set<std::string> pastas;
    for (const Movido& movido : movidos) {
        pastas.insert(Caminho::pastaDe(movido.caminho));
    }
    std::unordered_map<std::string, std::vector<Lixeira::Guardado>> porCaminho;
    for (const std::string& pasta : pastas) {
        for (Lixeira::Guardado& guardado : Lixeira::listar(pasta)) {
            std::string caminho = guardado.caminhoOriginal;
            porCaminho[std::move(caminho)].push_back(std::move(guardado));
        }
    }
    std::vector<Volta> voltas;
    for (const Movido& movido : movidos) {
        Volta& volta = voltas.emplace_back(Volta {std::nullopt, movido});
        if (const auto candidatos = porCaminho.find(movido.caminho); candidatos != porCaminho.end()) {
            const auto achado = std::find_if(candidatos->second.begin(), candidatos->second.end(),
                [&](const Lixeira::Guardado& guardado) { return Identidade::ler(guardado.arquivo) == movido.identidade; });
            if (achado != candidatos->second.end()) {
                volta.guardado = *achado;
            }
        }
    }
    return trazer(voltas, anteriores);
}

std::vector<Movido> Modelo::trazer(
    const std::vector<Volta>& voltas, const std::unordered_map<std::string, std::optional<Decisao>>& anteriores)
{
    setMensagem(std::nullopt);
    QStringList recusas;
    std::vector<Movido> trazidos;
    std::unordered_map<std::string, std::optional<Decisao>> devolvidos;
    std::unordered_set<std::string> sairam;
    for (const Volta& volta : voltas) {
        const std::optional<Lixeira::Falha> falha = volta.guardado
            ? Lixeira::restaurar(*volta.guardado)
            : std::optional<Lixeira::Falha>(Lixeira::Falha("ele não está mais na Lixeira."));
        if (falha) {
            recusas.append(recusaDeRestaurar(volta.movido.nome, *falha, volta.movido.caminho, volta.guardado.has_value()));
            continue;
        }
        sairam.insert(volta.guardado->arquivo);
        trazidos.push_back(volta.movido);
        if (const auto anterior = anteriores.find(volta.movido.caminho); anterior != anteriores.end()) {
            devolvidos.insert(*anterior);
        }
    }
    if (!recusas.isEmpty()) {
        setMensagem(recusas.join(QLatin1Char('\n')));
    }
    tirarDaLixeira(sairam);
    if (!devolvidos.empty()) {
        voltarDecisoes(devolvidos);
    }
    // Whatever came back or stands in its place now is read again.
    varrer();
    return trazidos;
}

std::vector<Movido> Modelo::mover(const std::vector<ItemTriado>& itens)
{
    QStringList recusas;
    std::vector<Movido> movidos;
    std::vector<std::string> ids;
    for (const ItemTriado& item : itens) {
        // Only what the person saw: the path must still name the entry the scan read.
        const auto visto = identidades_.find(item.id());
        const Identidade vista = visto == identidades_.end() ? Identidade {} : visto->second;
        if (const std::optional<Lixeira::Falha> falha = Lixeira::mover(item.id(), vista)) {
            recusas.append(recusaDeMover(item.nome(), *falha));
            continue;
        }
        ids.push_back(item.id());
        movidos.push_back({item.id(), item.nome(), vista});
    }
    if (!recusas.isEmpty()) {
        setMensagem(recusas.join(QLatin1Char('\n')));
    }
    registrar(ids, Decisao::resolvido);
    return movidos;
}

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaApp/Modelo/Desfazer.hpp"

#include "TarrafaCore/AppsInstalados.hpp"
#include "TarrafaCore/Apresentacao.hpp"
#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Lixeira.hpp"
#include "TarrafaCore/PastaScanner.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Texto.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFuture>
#include <QStandardPaths>
#include <QFutureWatcher>
#include <QStringList>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <exception>
#include <iterator>
#include <memory>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace tarrafa::app {

namespace {

std::string pastaDeDownloads()
{
    const QString pasta = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (pasta.isEmpty()) {
        qFatal("Tarrafa: the user has no Downloads folder");
    }
    return QFile::encodeName(pasta).toStdString();
}

// The command line's decision file, found the same way.
QString arquivoDeDecisoesPadrao()
{
    return QFile::decodeName(QByteArray::fromStdString(PastasDoUsuario::arquivoDeDecisoes()));
}

QString deUtf8(const std::string& texto)
{
    return QString::fromUtf8(texto.data(), qsizetype(texto.size()));
}

QString paraJanela(const std::string& nome)
{
    return deUtf8(Escapes::paraJanela(nome));
}

QString recusaDeMover(const std::string& nome, const std::string& falha)
{
    return QStringLiteral("Não consegui mover ") + paraJanela(nome) + QStringLiteral(" para a Lixeira: ") + deUtf8(falha);
}

// Why a file did not come back, and where it is now: a file that stays in the Trash can still
// be restored once its name is free.
QString recusaDeRestaurar(const std::string& nome, const std::string& falha, const std::string& caminho, bool naLixeira)
{
    QString texto = QStringLiteral("Não consegui restaurar ") + paraJanela(nome) + QStringLiteral(": ") + deUtf8(falha);
    if (naLixeira) {
        texto += Identidade::ler(caminho)
            ? QStringLiteral(" Ele continua na Lixeira: renomeie o arquivo novo e use Restaurar em Resolvidos.")
            : QStringLiteral(" Ele continua na Lixeira.");
    }
    return texto;
}

// Every file of the Trash that was in the folder, as the row "Resolvidos" shows: read where it
// lies, named as it was, badged as it would be in the folder.
std::vector<ItemNaLixeira> itensNaLixeira(const std::string& pasta, const TriageEngine& triagem, const std::stop_token& parar)
{
    std::vector<Lixeira::Guardado> guardados = Lixeira::listar(PastaScanner::caminhoAbsoluto(pasta));
    // One read per trash folder, not per file.
    std::map<std::string, std::vector<std::string>> nomesPorPasta;
    for (const Lixeira::Guardado& guardado : guardados) {
        nomesPorPasta[Caminho::pastaDe(guardado.arquivo)].push_back(Caminho::nomeDe(guardado.arquivo));
    }
    const PastaScanner scanner(parar);
    std::unordered_map<std::string, PastaScanner::Leitura> lidas;
    for (const auto& [pastaDosArquivos, nomes] : nomesPorPasta) {
        for (PastaScanner::Leitura& leitura : scanner.ler(pastaDosArquivos, nomes)) {
            std::string id = leitura.id;
            lidas.insert_or_assign(std::move(id), std::move(leitura));
        }
    }
    std::vector<ItemNaLixeira> itens;
    itens.reserve(guardados.size());
    for (Lixeira::Guardado& guardado : guardados) {
        const auto lida = lidas.find(guardado.arquivo);
        if (lida == lidas.end()) {
            continue;
        }
        PastaScanner::Leitura leitura = lida->second;
        leitura.nome = Texto::utf8Valido(Caminho::nomeDe(guardado.caminhoOriginal));
        itens.push_back({triagem.triarUm(PastaScanner::snapshotDe(std::move(leitura)), 1), std::move(guardado)});
    }
    return itens;
}


} // namespace

Modelo::Modelo(QObject* parent)
    // Braces: the Downloads folder is looked up before the decision file, as at every start.
    : Modelo {pastaDeDownloads(), arquivoDeDecisoesPadrao(), parent}
{
}

Modelo::Modelo(std::string pasta, QString arquivoDecisoes, QObject* parent)
    : QObject(parent)
    , pasta_(std::move(pasta))
    , arquivoDecisoes_(std::move(arquivoDecisoes))
    , arquivo_(std::make_shared<ArquivoDeDecisoes>(QFile::encodeName(arquivoDecisoes_).toStdString()))
{
    // Saves run one at a time, in order, and never wait behind a scan.
    gravador_.setMaxThreadCount(1);
    comparacaoAgendada_.setSingleShot(true);
    comparacaoAgendada_.setInterval(300);
    connect(&comparacaoAgendada_, &QTimer::timeout, this, &Modelo::compararConteudos);
    // A folder that cannot be made shows up later as a decision file that cannot be written,
    // which is silent too.
    QDir().mkpath(QFileInfo(arquivoDecisoes_).absolutePath());
    decisoes_ = arquivo_->ler();
    // Queued, so that whoever connects right after construction sees the whole first scan.
    QMetaObject::invokeMethod(
        this, [this] { varrer(); }, Qt::QueuedConnection);
}

Modelo::~Modelo()
{
    // The watcher first: its thread posts here. A scan still running is called off and finds
    // nobody to hand its result to; the decisions taken are on disk before the model goes.
    vigia_.reset();
    pararVarredura_.request_stop();
    pararComparacao_.request_stop();
    concluirGravacoes();
}

void Modelo::setBusca(const QString& busca)
{
    if (busca_ == busca) {
        return;
    }
    busca_ = busca;
    Q_EMIT buscaChanged();
}

Decisao Modelo::decisao(const std::string& id) const
{
    const auto achada = decisoes_.find(id);
    return achada == decisoes_.end() ? Decisao::novo : achada->second;
}

void Modelo::setSelecao(const Destino& selecao)
{
    if (selecao_ == selecao) {
        return;
    }
    selecao_ = selecao;
    Q_EMIT selecaoChanged();
}

std::vector<GrupoOrigem> Modelo::gruposVisiveis() const
{
    std::vector<GrupoOrigem> visiveis;
    for (const GrupoOrigem& grupo : grupos_) {
        std::vector<ItemTriado> novos;
        std::copy_if(grupo.itens().begin(), grupo.itens().end(), std::back_inserter(novos),
            [this](const ItemTriado& item) { return decisao(item.id()) == Decisao::novo; });
        if (!novos.empty()) {
            visiveis.emplace_back(grupo.origem(), std::move(novos));
        }
    }
    return visiveis;
}

std::vector<ItemTriado> Modelo::itensTodos() const
{
    std::size_t total = 0;
    for (const GrupoOrigem& grupo : grupos_) {
        total += grupo.itens().size();
    }
    std::vector<ItemTriado> todos;
    todos.reserve(total);
    for (const GrupoOrigem& grupo : grupos_) {
        todos.insert(todos.end(), grupo.itens().begin(), grupo.itens().end());
    }
    return todos;
}

bool Modelo::buscando() const
{
    return std::any_of(busca_.begin(), busca_.end(), [](QChar c) { return !c.isSpace(); });
}

template <typename Funcao> void Modelo::paraCadaItem(const Destino& destino, Funcao&& funcao) const
{
    // Runs on every keystroke in the search field and for every sidebar count, over
    // folders of many thousands of items: each item is tested where it lies, nothing copied,
    // against its name folded once per scan.
    const bool buscando = this->buscando();
    // Case and accents ignored on both sides; the text otherwise as typed.
    const std::string procurado = buscando ? Texto::chaveDeBusca(busca_.toStdString()) : std::string();
    const auto visitar = [&](std::size_t g, auto&& decisaoServe) {
        const std::vector<ItemTriado>& itens = grupos_[g].itens();
        for (std::size_t i = 0; i < itens.size(); ++i) {
            const ItemTriado& item = itens[i];
            if (decisaoServe(decisao(item.id()))
                && (!buscando || chavesDeBusca_[g][i].find(procurado) != std::string::npos)) {
                funcao(item);
            }
        }
    };
    const auto visitarTodos = [&](auto&& decisaoServe) {
        for (std::size_t g = 0; g < grupos_.size(); ++g) {
            visitar(g, decisaoServe);
        }
    };
    switch (destino.caso()) {
    case Destino::Caso::entrada:
        visitarTodos([](Decisao d) { return d == Decisao::novo; });
        break;
    case Destino::Caso::adiados:
        visitarTodos([](Decisao d) { return d == Decisao::adiado; });
        break;
    case Destino::Caso::resolvidos:
        visitarTodos([](Decisao d) { return d == Decisao::resolvido || d == Decisao::ignorado; });
        // And what went from here to the Trash, whoever moved it there.
        for (const ItemNaLixeira& guardado : naLixeira_) {
            if (!buscando || Texto::chaveDeBusca(guardado.item.nome()).find(procurado) != std::string::npos) {
                funcao(guardado.item);
            }
        }
        break;
    case Destino::Caso::grupo: {
        // The whole group, not only its undecided items: postponed and ignored ones stay in
        // its own list.
        const auto grupo = std::find_if(grupos_.begin(), grupos_.end(),
            [&](const GrupoOrigem& g) { return g.origem().chave() == destino.chave(); });
        if (grupo != grupos_.end()) {
            visitar(static_cast<std::size_t>(grupo - grupos_.begin()), [](Decisao d) { return d != Decisao::resolvido; });
        }
        break;
    }
    case Destino::Caso::raioX:
        break;
    }
}

std::vector<ItemTriado> Modelo::itens(const Destino& destino) const
{
    std::vector<ItemTriado> fonte;
    paraCadaItem(destino, [&fonte](const ItemTriado& item) { fonte.push_back(item); });
    return fonte;
}

QString Modelo::titulo(const Destino& destino) const
{
    switch (destino.caso()) {
    case Destino::Caso::entrada:
        return QStringLiteral("Caixa de entrada");
    case Destino::Caso::adiados:
        return QStringLiteral("Adiados");
    case Destino::Caso::resolvidos:
        return QStringLiteral("Resolvidos");
    case Destino::Caso::raioX:
        return QStringLiteral("Raio-X");
    case Destino::Caso::grupo:
        break;
    }
    const auto grupo = std::find_if(grupos_.begin(), grupos_.end(),
        [&](const GrupoOrigem& g) { return g.origem().chave() == destino.chave(); });
    return grupo == grupos_.end() ? QStringLiteral("Grupo") : deUtf8(Escapes::paraJanela(grupo->origem().rotulo()));
}

std::optional<int> Modelo::contagem(const Destino& destino) const
{
    switch (destino.caso()) {
    case Destino::Caso::entrada:
    case Destino::Caso::adiados:
    case Destino::Caso::resolvidos:
    {
        // Until the folder has been read once there is nothing to count, not zero.
        if (!raioX_) {
            return std::nullopt;
        }
        int quantos = 0;
        paraCadaItem(destino, [&quantos](const ItemTriado&) { ++quantos; });
        return quantos;
    }
    case Destino::Caso::raioX:
        return std::nullopt;
    case Destino::Caso::grupo:
        break;
    }
    // A group row counts its undecided items whatever the search says; a group with none
    // has no row.
    for (const GrupoOrigem& grupo : grupos_) {
        if (grupo.origem().chave() == destino.chave()) {
            const auto novos = std::ranges::count_if(
                grupo.itens(), [this](const ItemTriado& item) { return decisao(item.id()) == Decisao::novo; });
            return novos > 0 ? std::optional<int>(static_cast<int>(novos)) : std::nullopt;
        }
    }
    return std::nullopt;
}

void Modelo::varrer()
{
    setCarregando(true);
    setErro(std::nullopt);
    // The folder read by a scan that started earlier is older than this one's: it is called
    // off, and should it finish all the same its result is dropped. Applied last, it would
    // bring back files moved to the Trash in between.
    pararVarredura_.request_stop();
    pararVarredura_ = std::stop_source();
    const std::uint64_t esta = ++varreduraMaisNova_;
    // The watcher belongs to the model, so a result that arrives after the model is gone is
    // dropped. (QFuture::then with a context asserts in Qt 6.4 when the context dies first.)
    auto* vigia = new QFutureWatcher<Varredura>(this);
    connect(vigia, &QFutureWatcherBase::finished, this, [this, vigia, esta] {
        Q_ASSERT(QThread::currentThread() == thread());
        vigia->deleteLater();
        if (esta == varreduraMaisNova_) {
            aplicar(vigia->future().takeResult());
        }
    });
    vigia->setFuture(QtConcurrent::run(
        [pasta = pasta_, parar = pararVarredura_.get_token(), varredor = varredor_] {
            return varredor ? varredor(pasta, parar) : varrerEmSegundoPlano(pasta, parar);
        }));
}

void Modelo::aplicar(Varredura resultado)
{
    // Whatever the watcher of an earlier scan still has to say is about an older folder.
    vigia_.reset();
    if (aoVivo_ && resultado.viva && !resultado.naoConfigurada) {
        // Even a folder that could not be read is watched: it may come back.
        vigiar(std::move(resultado.viva));
    }
    if (resultado.falha || resultado.naoConfigurada) {
        setErro(resultado.naoConfigurada
                    ? deUtf8(*resultado.naoConfigurada)
                    : QStringLiteral("Não consegui ler a pasta Downloads: ") + deUtf8(*resultado.falha));
        setCarregando(false);
        Q_EMIT varreduraTerminada();
        return;
    }
    grupos_ = std::move(resultado.grupos);
    chavesDeBusca_ = std::move(resultado.chavesDeBusca);
    identidades_ = std::move(resultado.identidades);
    grupoDe_ = std::move(resultado.grupoDe);
    sha256_ = std::move(resultado.sha256);
    // The copies known so far keep their badges until the comparison of this scan says again:
    // only their groups are made anew.
    marcarCopias(duplicataDe_);
    if (baixando_ != resultado.baixando) {
        baixando_ = std::move(resultado.baixando);
        Q_EMIT baixandoChanged();
    }
    setNaLixeira(std::move(resultado.lixeira));
    Q_EMIT gruposChanged();
    // Every file triage saw is in a group: the diagnostics need nothing else.
    raioX_.emplace(grupos_);
    Q_EMIT raioXChanged();
    std::unordered_set<std::string> existentes;
    existentes.reserve(identidades_.size() + resultado.snapshots.size());
    for (const auto& [id, identidade] : identidades_) {
        existentes.insert(id);
    }
    for (const FileSnapshot& snapshot : resultado.snapshots) {
        existentes.insert(snapshot.id());
    }
    podarDecisoes(existentes);
    setCarregando(false);
    Q_EMIT varreduraTerminada();
    compararConteudos();
}

void Modelo::decidir(const std::vector<std::string>& pedidos, Decisao decisao)
{
    // Acting again is the person's answer to an earlier refusal.
    setMensagem(std::nullopt);
    if (pedidos.empty()) {
        registrar(pedidos, decisao); // nothing to undo, but the file is still written
        return;
    }
    // A file in the Trash is no longer in the folder: the only thing to do with it is to
    // bring it back, so a decision would describe nothing.
    std::vector<std::string> ids;
    ids.reserve(pedidos.size());
    std::copy_if(pedidos.begin(), pedidos.end(), std::back_inserter(ids),
        [this](const std::string& id) { return !estaNaLixeira(id); });
    if (ids.empty()) {
        return;
    }
    // The command records the decisions as the stack pushes it.
    auto* comando = new ComandoDeDecisao(*this, ids, decisao, anterioresDe(ids));
    const QString texto = comando->text();
    pilha_.push(comando);
    Q_EMIT acaoFeita(texto);
}

std::unordered_map<std::string, std::optional<Decisao>> Modelo::anterioresDe(const std::vector<std::string>& ids) const
{
    std::unordered_map<std::string, std::optional<Decisao>> anteriores;
    for (const std::string& id : ids) {
        const auto achada = decisoes_.find(id);
        anteriores.emplace(id, achada == decisoes_.end() ? std::nullopt : std::optional(achada->second));
    }
    return anteriores;
}

void Modelo::voltarDecisoes(const std::unordered_map<std::string, std::optional<Decisao>>& anteriores)
{
    for (const auto& [id, anterior] : anteriores) {
        if (anterior) {
            decisoes_.insert_or_assign(id, *anterior);
            pendentes_.decidir(id, *anterior);
        } else {
            decisoes_.erase(id);
            pendentes_.esquecer(id);
        }
    }
    Q_EMIT decisoesChanged();
    salvarDecisoes();
}

void Modelo::registrar(const std::vector<std::string>& ids, Decisao decisao)
{
    for (const std::string& id : ids) {
        decisoes_.insert_or_assign(id, decisao);
        pendentes_.decidir(id, decisao);
        Q_EMIT decisoesChanged();
    }
    salvarDecisoes();
}

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
    setMensagem(std::nullopt);
    const std::unordered_set<std::string> pedidos(ids.begin(), ids.end());
    QStringList recusas;
    std::vector<Movido> trazidos;
    // Back in the inbox, not to a decision from before.
    std::unordered_map<std::string, std::optional<Decisao>> paraAEntrada;
    std::unordered_set<std::string> sairam;
    for (const ItemNaLixeira& guardado : naLixeira_) {
        if (!pedidos.contains(guardado.item.id())) {
            continue;
        }
        const std::string& caminho = guardado.guardado.caminhoOriginal;
        // What comes back is what redoing or undoing will look for: this very file.
        const std::optional<Identidade> identidade = Identidade::ler(guardado.guardado.arquivo);
        const std::optional<Lixeira::Falha> falha = identidade
            ? Lixeira::restaurar(guardado.guardado)
            : std::optional<Lixeira::Falha>(Lixeira::Falha("ele não está mais na Lixeira."));
        if (falha) {
            recusas.append(recusaDeRestaurar(guardado.item.nome(), *falha, caminho, identidade.has_value()));
            continue;
        }
        sairam.insert(guardado.item.id());
        trazidos.push_back({caminho, guardado.item.nome(), *identidade});
        paraAEntrada.insert_or_assign(caminho, std::nullopt);
    }
    if (!recusas.isEmpty()) {
        setMensagem(recusas.join(QLatin1Char('\n')));
    }
    if (sairam.empty()) {
        return;
    }
    tirarDaLixeira(sairam);
    voltarDecisoes(paraAEntrada);
    if (!trazidos.empty()) {
        auto* comando = new ComandoDeLixeira(
            *this, ComandoDeLixeira::Sentido::daLixeira, std::move(trazidos), std::move(paraAEntrada));
        const QString texto = comando->text();
        pilha_.push(comando);
        Q_EMIT acaoFeita(texto);
    }
    varrer();
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
    setMensagem(std::nullopt);
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
    QStringList recusas;
    std::vector<Movido> trazidos;
    std::unordered_map<std::string, std::optional<Decisao>> devolvidos;
    std::unordered_set<std::string> sairam;
    for (const Movido& movido : movidos) {
        const Lixeira::Guardado* achado = nullptr;
        if (const auto candidatos = porCaminho.find(movido.caminho); candidatos != porCaminho.end()) {
            for (const Lixeira::Guardado& guardado : candidatos->second) {
                if (Identidade::ler(guardado.arquivo) == movido.identidade) {
                    achado = &guardado;
                    break;
                }
            }
        }
        const std::optional<Lixeira::Falha> falha = achado
            ? Lixeira::restaurar(*achado)
            : std::optional<Lixeira::Falha>(Lixeira::Falha("ele não está mais na Lixeira."));
        if (falha) {
            recusas.append(recusaDeRestaurar(movido.nome, *falha, movido.caminho, achado != nullptr));
            continue;
        }
        sairam.insert(achado->arquivo);
        trazidos.push_back(movido);
        if (const auto anterior = anteriores.find(movido.caminho); anterior != anteriores.end()) {
            devolvidos.insert(*anterior);
        }
    }
    tirarDaLixeira(sairam);
    if (!recusas.isEmpty()) {
        setMensagem(recusas.join(QLatin1Char('\n')));
    }
    voltarDecisoes(devolvidos);
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

void Modelo::podarDecisoes(const std::unordered_set<std::string>& existentes)
{
    esquecerDecisoes([&existentes](const std::string& id) { return !existentes.contains(id); });
}

void Modelo::esquecerDecisoes(const std::function<bool(const std::string&)>& sumiu)
{
    const std::size_t antes = decisoes_.size();
    std::erase_if(decisoes_, [&](const auto& entrada) {
        if (!sumiu(entrada.first)) {
            return false;
        }
        pendentes_.esquecer(entrada.first);
        return true;
    });
    if (decisoes_.size() != antes) {
        Q_EMIT decisoesChanged();
        salvarDecisoes();
    }
}

void Modelo::salvarDecisoes()
{
    gravacaoPedida_ = true;
    if (gravacaoEmCurso_ == nullptr) {
        // Queued: the decisions taken in the same turn of the event loop go in one write.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (gravacaoPedida_ && gravacaoEmCurso_ == nullptr) {
                    iniciarGravacao();
                }
            },
            Qt::QueuedConnection);
    }
}

void Modelo::iniciarGravacao()
{
    gravacaoPedida_ = false;
    emVoo_ = std::exchange(pendentes_, {});
    auto* vigia = new QFutureWatcher<ArquivoDeDecisoes::Gravacao>(this);
    gravacaoEmCurso_ = vigia;
    connect(vigia, &QFutureWatcherBase::finished, this, [this, vigia] {
        if (gravacaoEmCurso_ != vigia) {
            return; // already taken in by concluirGravacoes()
        }
        gravacaoEmCurso_ = nullptr;
        vigia->deleteLater();
        concluirGravacao(vigia->future().takeResult());
        if (gravacaoPedida_) {
            iniciarGravacao();
        }
    });
    // The file object is shared with the thread, the changes copied: a few entries, never
    // the whole set of decisions, so the interface thread does not pay for its size.
    vigia->setFuture(QtConcurrent::run(&gravador_, [arquivo = arquivo_, mudancas = emVoo_] {
        return arquivo->gravar(mudancas);
    }));
}

void Modelo::concluirGravacao(ArquivoDeDecisoes::Gravacao gravacao)
{
    if (gravacao.falha) {
        // The old file is as it was; these changes go with the next save.
        ArquivoDeDecisoes::Mudancas maisNovas = std::exchange(pendentes_, std::exchange(emVoo_, {}));
        pendentes_.juntar(std::move(maisNovas));
        return;
    }
    emVoo_ = {};
    if (!gravacao.atuais) {
        return;
    }
    // Someone else wrote the file too: theirs and ours are now in it. What was decided here
    // since this save started goes on top, and so do the paths the file cannot hold.
    ArquivoDeDecisoes::Decisoes atuais = std::move(*gravacao.atuais);
    for (const auto& [id, decisao] : decisoes_) {
        if (!Texto::ehUtf8Valido(id)) {
            atuais.insert_or_assign(id, decisao);
        }
    }
    pendentes_.aplicarEm(atuais);
    decisoes_ = std::move(atuais);
    Q_EMIT decisoesChanged();
}

void Modelo::concluirGravacoes()
{
    for (;;) {
        if (gravacaoEmCurso_ != nullptr) {
            QFutureWatcher<ArquivoDeDecisoes::Gravacao>* vigia = std::exchange(gravacaoEmCurso_, nullptr);
            vigia->waitForFinished();
            ArquivoDeDecisoes::Gravacao gravacao = vigia->future().takeResult();
            delete vigia;
            concluirGravacao(std::move(gravacao));
        } else if (gravacaoPedida_) {
            iniciarGravacao();
        } else {
            return;
        }
    }
}

void Modelo::setCarregando(bool carregando)
{
    if (carregando_ == carregando) {
        return;
    }
    carregando_ = carregando;
    Q_EMIT carregandoChanged();
}

void Modelo::dispensarMensagem()
{
    setMensagem(std::nullopt);
}

void Modelo::informar(const QString& linha)
{
    setMensagem(mensagem_ ? *mensagem_ + QLatin1Char('\n') + linha : linha);
}

void Modelo::setMensagem(std::optional<QString> mensagem)
{
    if (mensagem_ == mensagem) {
        return;
    }
    mensagem_ = std::move(mensagem);
    Q_EMIT mensagemChanged();
}

void Modelo::setErro(std::optional<QString> erro)
{
    if (erro_ == erro) {
        return;
    }
    erro_ = std::move(erro);
    Q_EMIT erroChanged();
}

// Runs on a pool thread: touches nothing but its own copy of the folder's path, and turns
// every exception into a value so that none crosses back to the interface thread.
Modelo::Varredura Modelo::varrerEmSegundoPlano(const std::string& pasta, const std::stop_token& parar)
{
    // A Downloads folder turned off points at the home: its Documents, Music and Pictures are
    // not downloads, and never Trash candidates.
    if (PastasDoUsuario::ehACasa(pasta)) {
        Varredura naoConfigurada;
        naoConfigurada.naoConfigurada = Apresentacao::downloadsNaoConfigurada(PastasDoUsuario::arquivoDasPastas());
        return naoConfigurada;
    }
    try {
        auto viva = std::make_shared<PastaViva>(pasta, AppsInstalados::listar(), parar);
        const PastaViva::Atualizacao lida = viva->varrerTudo();
        if (lida.falha) {
            Varredura falhou;
            falhou.falha = *lida.falha;
            falhou.viva = std::move(viva);
            return falhou;
        }
        std::vector<GrupoOrigem> grupos = viva->grupos();
        std::vector<std::vector<std::string>> chaves;
        chaves.reserve(grupos.size());
        std::unordered_map<std::string, std::string> grupoDe;
        for (const GrupoOrigem& grupo : grupos) {
            std::vector<std::string>& doGrupo = chaves.emplace_back();
            doGrupo.reserve(grupo.itens().size());
            for (const ItemTriado& item : grupo.itens()) {
                doGrupo.push_back(Texto::chaveDeBusca(item.nome()));
                grupoDe.emplace(item.id(), grupo.id());
            }
        }
        Varredura varredura;
        varredura.grupoDe = std::move(grupoDe);
        varredura.identidades = viva->identidades();
        varredura.grupos = std::move(grupos);
        varredura.chavesDeBusca = std::move(chaves);
        varredura.baixando = viva->baixando();
        varredura.sha256 = viva->sha256();
        varredura.lixeira = itensNaLixeira(viva->pasta(), viva->triagem(), parar);
        varredura.viva = std::move(viva);
        return varredura;
    } catch (const std::system_error& erro) {
        Varredura falhou;
        falhou.falha = erro.code().message();
        return falhou;
    } catch (const std::exception& erro) {
        Varredura falhou;
        falhou.falha = std::string(erro.what());
        return falhou;
    }
}

} // namespace tarrafa::app

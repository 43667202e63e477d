// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Modelo/Modelo.hpp"

#include "TarrafaApp/Modelo/Desfazer.hpp"

#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Texto.hpp"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFuture>
#include <QFutureWatcher>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace tarrafa::app {

namespace {

// The decision file, found as the command line finds it; the folder is found the same way, by
// PastasDoUsuario::downloads(), so the window and the terminal always look at one folder.
QString arquivoDeDecisoesPadrao()
{
    return QFile::decodeName(QByteArray::fromStdString(PastasDoUsuario::arquivoDeDecisoes()));
}

} // namespace

Modelo::Modelo(QObject* parent)
    // Braces: the Downloads folder is looked up before the decision file, as at every start.
    : Modelo {PastasDoUsuario::downloads(), arquivoDeDecisoesPadrao(), parent}
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
            [this](const ItemTriado& item) { return estadoDe(decisao(item.id())) == Estado::caixa; });
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
        visitarTodos([](Decisao d) { return estadoDe(d) == Estado::caixa; });
        break;
    case Destino::Caso::adiados:
        visitarTodos([](Decisao d) { return estadoDe(d) == Estado::adiados; });
        break;
    case Destino::Caso::resolvidos:
        visitarTodos([](Decisao d) { return estadoDe(d) == Estado::resolvidos; });
        // And what went from here to the Trash, whoever moved it there.
        for (const ItemNaLixeira& guardado : naLixeira_) {
            if (!buscando || guardado.chaveDeBusca.find(procurado) != std::string::npos) {
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
    return grupo == grupos_.end() ? QStringLiteral("Grupo") : QString::fromStdString(Escapes::paraJanela(grupo->origem().rotulo()));
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
                grupo.itens(), [this](const ItemTriado& item) { return estadoDe(decisao(item.id())) == Estado::caixa; });
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
                    ? QString::fromStdString(*resultado.naoConfigurada)
                    : QStringLiteral("Não consegui ler a pasta Downloads: ") + QString::fromStdString(*resultado.falha));
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

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Casa.hpp"

#include <QThreadPool>
#include <QtGlobal>

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <dirent.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarrafa::app::teste {

namespace fs = std::filesystem;

namespace {

std::string& raizDaCasa()
{
    static std::string raiz;
    return raiz;
}

void removerTudo(const std::string& caminho)
{
    std::error_code ignorado;
    fs::remove_all(caminho, ignorado);
}

QString hexa(std::string_view bytes)
{
    return QString::fromLatin1(QByteArray(bytes.data(), qsizetype(bytes.size())).toHex());
}

QString tempo(const statx_timestamp& t)
{
    return QString::number(t.tv_sec) + u'.' + QString::number(t.tv_nsec).rightJustified(9, u'0');
}

// Attributes of the entry itself (links not followed), sorted by name.
QString atributos(const std::string& caminho)
{
    const ssize_t tamanho = ::llistxattr(caminho.c_str(), nullptr, 0);
    if (tamanho <= 0) {
        return {};
    }
    std::string lista(std::size_t(tamanho), '\0');
    const ssize_t lidos = ::llistxattr(caminho.c_str(), lista.data(), lista.size());
    std::vector<std::string> nomes;
    for (std::size_t inicio = 0; lidos > 0 && inicio < std::size_t(lidos);) {
        const std::size_t fim = lista.find('\0', inicio);
        nomes.push_back(lista.substr(inicio, fim - inicio));
        inicio = fim + 1;
    }
    std::sort(nomes.begin(), nomes.end());
    QString texto;
    for (const std::string& nome : nomes) {
        std::string valor(65536, '\0');
        const ssize_t n = ::lgetxattr(caminho.c_str(), nome.c_str(), valor.data(), valor.size());
        valor.resize(n > 0 ? std::size_t(n) : 0);
        texto += u' ' + QString::fromStdString(nome) + u'=' + hexa(valor);
    }
    return texto;
}

QString linha(const std::string& relativo, const std::string& caminho, const struct statx& info)
{
    // The kernel marks a symbolic link as read whenever a path is resolved through it, and
    // the attributes of what a link points to can only be read that way: a link's own
    // access time is left out.
    const QString acesso = S_ISLNK(info.stx_mode) ? QStringLiteral("(link)") : tempo(info.stx_atime);
    return deBytes(relativo) + QStringLiteral(" modo=") + QString::number(info.stx_mode, 8)
        + QStringLiteral(" tamanho=") + QString::number(info.stx_size) + QStringLiteral(" inode=")
        + QString::number(info.stx_ino) + QStringLiteral(" links=") + QString::number(info.stx_nlink)
        + QStringLiteral(" acesso=") + acesso + QStringLiteral(" modificacao=") + tempo(info.stx_mtime)
        + QStringLiteral(" mudanca=") + tempo(info.stx_ctime) + QStringLiteral(" nascimento=")
        + tempo(info.stx_btime) + atributos(caminho);
}

void retratar(int pastaFd, const std::string& caminho, const std::string& relativo, QStringList& linhas)
{
    struct statx propria { };
    if (::statx(pastaFd, "", AT_EMPTY_PATH, STATX_ALL, &propria) == 0) {
        linhas << linha(relativo, caminho, propria);
    }
    DIR* pasta = ::fdopendir(::dup(pastaFd));
    if (pasta == nullptr) {
        return;
    }
    std::vector<std::string> nomes;
    while (const dirent* entrada = ::readdir(pasta)) {
        const std::string nome = entrada->d_name;
        if (nome != "." && nome != "..") {
            nomes.push_back(nome);
        }
    }
    ::closedir(pasta);
    std::sort(nomes.begin(), nomes.end());
    for (const std::string& nome : nomes) {
        const std::string filho = caminho + "/" + nome;
        const std::string filhoRelativo = relativo + "/" + nome;
        struct statx info { };
        if (::statx(pastaFd, nome.c_str(), AT_SYMLINK_NOFOLLOW, STATX_ALL, &info) != 0) {
            linhas << deBytes(filhoRelativo) + QStringLiteral(" ilegivel");
            continue;
        }
        if (S_ISDIR(info.stx_mode)) {
            const int fd = ::openat(
                pastaFd, nome.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NOATIME | O_CLOEXEC);
            if (fd >= 0) {
                retratar(fd, filho, filhoRelativo, linhas);
                ::close(fd);
                continue;
            }
        }
        linhas << linha(filhoRelativo, filho, info);
    }
}

// The effective set of the calling thread; capget/capset act per thread.
bool capacidades(__user_cap_data_struct (&dados)[2], bool gravar)
{
    __user_cap_header_struct cabecalho {_LINUX_CAPABILITY_VERSION_3, 0};
    return ::syscall(gravar ? SYS_capset : SYS_capget, &cabecalho, dados) == 0;
}

constexpr unsigned kPrivilegiosDeArquivo
    = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH) | (1U << CAP_FOWNER);

} // namespace

namespace Casa {

void montar()
{
    std::string modelo = (fs::temp_directory_path() / "tarrafa-modelo-XXXXXX").string();
    if (::mkdtemp(modelo.data()) == nullptr) {
        qFatal("could not create the fake home: %s", std::strerror(errno));
    }
    raizDaCasa() = modelo;
    ::setenv("HOME", modelo.c_str(), 1);
    ::setenv("XDG_DATA_HOME", dados().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (modelo + "/.config").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (modelo + "/.cache").c_str(), 1);
    ::setenv("XDG_DATA_DIRS", (modelo + "/usr/share").c_str(), 1);
    for (const char* pasta : {"/.local/share", "/.config", "/.cache", "/usr/share", "/Downloads"}) {
        fs::create_directories(modelo + pasta);
    }
    // GIO reads the data folder once and keeps it: read it now, inside the fake home.
    if (std::string(g_get_user_data_dir()) != dados()) {
        qFatal("GIO did not take the fake home's data folder");
    }
}

void desmontar()
{
    ::chmod(downloads().c_str(), 0755);
    removerTudo(raiz());
}

const std::string& raiz()
{
    return raizDaCasa();
}
std::string downloads()
{
    return raiz() + "/Downloads";
}
std::string dados()
{
    return raiz() + "/.local/share";
}
std::string lixeira()
{
    return dados() + "/Trash";
}
std::string pastaDeDados()
{
    return dados() + "/Tarrafa";
}
QString arquivoDeDecisoes()
{
    return deBytes(pastaDeDados() + "/decisoes.json");
}

void recomecar()
{
    // A scan left running by the previous test must not read the folder being rebuilt.
    QThreadPool::globalInstance()->waitForDone();
    ::chmod(downloads().c_str(), 0755);
    removerTudo(downloads());
    fs::create_directories(downloads());
    removerTudo(pastaDeDados());
    removerTudo(lixeira());
    removerTudo(raiz() + "/.config/user-dirs.dirs");
}

} // namespace Casa

std::string emDownloads(std::string_view nome)
{
    return Casa::downloads() + "/" + std::string(nome);
}

std::unique_ptr<Modelo> modeloVarrido()
{
    auto modelo = std::make_unique<Modelo>();
    QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
    if (!esperar(fins, 1)) {
        return nullptr;
    }
    return modelo;
}

bool esperar(QSignalSpy& espiao, int n)
{
    while (espiao.count() < n) {
        if (!espiao.wait(20000)) {
            return espiao.count() >= n;
        }
    }
    return espiao.count() == n;
}

void escrever(const std::string& caminho, std::string_view conteudo)
{
    std::ofstream saida(caminho, std::ios::binary | std::ios::trunc);
    saida.write(conteudo.data(), std::streamsize(conteudo.size()));
    if (!saida) {
        throw std::runtime_error("could not write " + caminho);
    }
}

std::string ler(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

bool existe(const std::string& caminho)
{
    struct stat info { };
    return ::lstat(caminho.c_str(), &info) == 0;
}

unsigned long long inode(const std::string& caminho)
{
    struct stat info { };
    return ::lstat(caminho.c_str(), &info) == 0 ? info.st_ino : 0;
}

void definirOrigem(const std::string& caminho, std::string_view endereco)
{
    if (::setxattr(caminho.c_str(), "user.xdg.origin.url", endereco.data(), endereco.size(), 0) != 0) {
        throw std::runtime_error("setxattr on " + caminho + ": " + std::strerror(errno));
    }
}

QString deBytes(const std::string& texto)
{
    return QString::fromUtf8(texto.data(), qsizetype(texto.size()));
}

std::string comBarrasEscapadas(std::string texto)
{
    for (std::size_t i = texto.find('/'); i != std::string::npos; i = texto.find('/', i + 2)) {
        texto.insert(i, 1, '\\');
    }
    return texto;
}

std::vector<std::string> nomesEm(const std::string& pasta)
{
    std::vector<std::string> nomes;
    std::error_code erro;
    for (const auto& entrada : fs::directory_iterator(pasta, erro)) {
        nomes.push_back(entrada.path().filename().string());
    }
    std::sort(nomes.begin(), nomes.end());
    return nomes;
}

std::vector<std::string> nomes(const std::vector<ItemTriado>& itens)
{
    std::vector<std::string> resultado;
    for (const ItemTriado& item : itens) {
        resultado.push_back(item.nome());
    }
    return resultado;
}

std::vector<std::string> nomes(const std::vector<GrupoOrigem>& grupos)
{
    std::vector<std::string> resultado;
    for (const GrupoOrigem& grupo : grupos) {
        resultado.push_back(grupo.origem().chave());
    }
    return resultado;
}

std::optional<ItemTriado> itemPorNome(const Modelo& modelo, std::string_view nome)
{
    for (const ItemTriado& item : modelo.itensTodos()) {
        if (item.nome() == nome) {
            return item;
        }
    }
    return std::nullopt;
}

std::string chaveDoGrupoDe(const Modelo& modelo, std::string_view nome)
{
    for (const GrupoOrigem& grupo : modelo.grupos()) {
        for (const ItemTriado& item : grupo.itens()) {
            if (item.nome() == nome) {
                return grupo.origem().chave();
            }
        }
    }
    return {};
}

Gravacoes::Gravacoes(const std::string& pasta, std::string nome)
    : fd_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , nome_(std::move(nome))
{
    if (fd_ < 0 || ::inotify_add_watch(fd_, pasta.c_str(), IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE) < 0) {
        throw std::runtime_error("inotify on " + pasta + ": " + std::strerror(errno));
    }
}

Gravacoes::~Gravacoes()
{
    ::close(fd_);
}

std::pair<int, int> Gravacoes::desdeAUltima()
{
    std::pair<int, int> contagem {0, 0};
    alignas(inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t lidos = ::read(fd_, buffer, sizeof buffer);
        if (lidos <= 0) {
            return contagem;
        }
        for (ssize_t i = 0; i < lidos;) {
            inotify_event evento {};
            std::memcpy(&evento, buffer + i, sizeof evento);
            const std::string nome = evento.len > 0 ? std::string(buffer + i + sizeof evento) : std::string();
            if (nome == nome_) {
                // A whole file renamed or linked into place; a file created here and then
                // written shows IN_CLOSE_WRITE as well.
                if ((evento.mask & (IN_MOVED_TO | IN_CREATE)) != 0) {
                    ++contagem.first;
                }
                if ((evento.mask & IN_CLOSE_WRITE) != 0) {
                    ++contagem.second;
                }
            }
            i += ssize_t(sizeof evento + evento.len);
        }
    }
}

SemPrivilegiosDeArquivo::SemPrivilegiosDeArquivo()
{
    if (::geteuid() != 0) {
        ok_ = true;
        return;
    }
    __user_cap_data_struct dados[2] {};
    if (!capacidades(dados, false)) {
        return;
    }
    dados[0].effective &= ~kPrivilegiosDeArquivo;
    ok_ = restaurar_ = capacidades(dados, true);
}

SemPrivilegiosDeArquivo::~SemPrivilegiosDeArquivo()
{
    if (!restaurar_) {
        return;
    }
    __user_cap_data_struct dados[2] {};
    if (capacidades(dados, false)) {
        dados[0].effective |= dados[0].permitted & kPrivilegiosDeArquivo;
        capacidades(dados, true);
    }
}

QStringList retrato(const std::string& pasta)
{
    QStringList linhas;
    const int fd = ::open(pasta.c_str(), O_RDONLY | O_DIRECTORY | O_NOATIME | O_CLOEXEC);
    if (fd < 0) {
        return {QStringLiteral("ilegivel")};
    }
    retratar(fd, pasta, ".", linhas);
    ::close(fd);
    return linhas;
}

void envelhecer(const std::string& pasta, long segundos)
{
    std::vector<std::string> caminhos {pasta};
    for (const auto& entrada : fs::recursive_directory_iterator(pasta)) {
        caminhos.push_back(entrada.path().string());
    }
    timespec agora {};
    ::clock_gettime(CLOCK_REALTIME, &agora);
    for (const std::string& caminho : caminhos) {
        // Read long ago and modified a day before that: any read now would move the access time.
        const timespec tempos[2] {{agora.tv_sec - segundos, 0}, {agora.tv_sec - segundos - 86400, 0}};
        ::utimensat(AT_FDCWD, caminho.c_str(), tempos, AT_SYMLINK_NOFOLLOW);
    }
}

Diario::Diario(const Modelo& modelo)
{
    const auto anotar = [this](QString linha) { linhas_ << std::move(linha); };
    connect(&modelo, &Modelo::gruposChanged, this, [this, &modelo, anotar] {
        anotar(QStringLiteral("grupos:") + QString::number(modelo.itensTodos().size()));
    });
    connect(&modelo, &Modelo::raioXChanged, this, [&modelo, anotar] {
        anotar(QStringLiteral("raioX:")
            + (modelo.raioX() ? QString::number(modelo.raioX()->total()) : QStringLiteral("-")));
    });
    connect(&modelo, &Modelo::carregandoChanged, this, [&modelo, anotar] {
        anotar(modelo.carregando() ? QStringLiteral("carregando:sim") : QStringLiteral("carregando:nao"));
    });
    connect(&modelo, &Modelo::erroChanged, this,
        [&modelo, anotar] { anotar(QStringLiteral("erro:") + modelo.erro().value_or(QStringLiteral("-"))); });
    connect(&modelo, &Modelo::mensagemChanged, this, [&modelo, anotar] {
        anotar(QStringLiteral("mensagem:") + modelo.mensagem().value_or(QStringLiteral("-")));
    });
    connect(&modelo, &Modelo::decisoesChanged, this, [&modelo, anotar] {
        anotar(QStringLiteral("decisoes:") + QString::number(modelo.decisoes().size()));
    });
    connect(&modelo, &Modelo::buscaChanged, this,
        [&modelo, anotar] { anotar(QStringLiteral("busca:") + modelo.busca()); });
    connect(&modelo, &Modelo::selecaoChanged, this, [anotar] { anotar(QStringLiteral("selecao")); });
    connect(&modelo, &Modelo::varreduraTerminada, this, [anotar] { anotar(QStringLiteral("fim")); });
}

} // namespace tarrafa::app::teste

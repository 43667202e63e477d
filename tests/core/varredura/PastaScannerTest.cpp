// SPDX-License-Identifier: GPL-3.0-or-later
#include "Apoio.hpp"

#include "TarrafaCore/PastaScanner.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <future>
#include <map>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tarrafa {
namespace {

using teste::CasaFalsa;
using teste::PastaTemporaria;

const FileSnapshot* achar(const std::vector<FileSnapshot>& snapshots, std::string_view nome)
{
    const auto it = std::find_if(snapshots.begin(), snapshots.end(),
                                 [&](const FileSnapshot& s) { return s.nome() == nome; });
    return it == snapshots.end() ? nullptr : &*it;
}

std::vector<std::string> nomes(const std::vector<FileSnapshot>& snapshots)
{
    std::vector<std::string> saida;
    for (const FileSnapshot& s : snapshots) {
        saida.push_back(s.nome());
    }
    std::sort(saida.begin(), saida.end());
    return saida;
}

std::int64_t alocado(const std::string& caminho)
{
    struct stat info {};
    EXPECT_EQ(::lstat(caminho.c_str(), &info), 0) << caminho;
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

std::string plistXml(std::string_view corpo)
{
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>)"
                       R"(<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">)"
                       R"(<plist version="1.0">)")
        + std::string(corpo) + "</plist>";
}

class PastaScannerTest : public ::testing::Test {
protected:
    CasaFalsa casa; // the recently-used list and everything else come from a fake home
    PastaTemporaria pasta;
    PastaScanner scanner;
};

TEST_F(PastaScannerTest, EmptyFolderGivesEmptyList)
{
    EXPECT_TRUE(scanner.varrer(pasta.caminho()).empty());
}

TEST_F(PastaScannerTest, MissingFolderThrowsTheSystemError)
{
    try {
        (void)scanner.varrer(pasta / "nao-existe");
        FAIL() << "a missing folder must throw";
    } catch (const std::system_error& erro) {
        EXPECT_EQ(erro.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(erro.code().message(), "No such file or directory");
    }
}

TEST_F(PastaScannerTest, AFileInsteadOfAFolderThrows)
{
    teste::escrever(pasta / "arquivo", "x");
    try {
        (void)scanner.varrer(pasta / "arquivo");
        FAIL() << "a file is not a folder";
    } catch (const std::system_error& erro) {
        EXPECT_EQ(erro.code(), std::errc::not_a_directory);
    }
}

TEST_F(PastaScannerTest, AFolderThatIsALinkIsFollowed)
{
    teste::criarPasta(pasta / "real");
    teste::escrever(pasta / "real/a.txt", "abc");
    ASSERT_EQ(::symlink((pasta / "real").c_str(), (pasta / "Downloads").c_str()), 0);
    const auto snapshots = scanner.varrer(pasta / "Downloads");
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].id(), pasta / "Downloads/a.txt");
}

TEST_F(PastaScannerTest, IdsAreFullPathsEvenForARelativeFolderOrTrailingSlash)
{
    teste::escrever(pasta / "a.txt", "abc");
    auto snapshots = scanner.varrer(pasta.caminho() + "//");
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].id(), pasta / "a.txt");

    char* antes = ::getcwd(nullptr, 0);
    ASSERT_NE(antes, nullptr);
    ASSERT_EQ(::chdir(pasta.caminho().c_str()), 0);
    snapshots = scanner.varrer(".");
    EXPECT_EQ(::chdir(antes), 0);
    std::free(antes);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].id().front(), '/');
    EXPECT_EQ(snapshots[0].nome(), "a.txt");
}

TEST_F(PastaScannerTest, FileFieldsComeFromTheFileSystem)
{
    teste::escrever(pasta / "Relatorio.PDF", std::string(1234, 'x'));
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    const FileSnapshot& s = snapshots[0];
    EXPECT_EQ(s.id(), pasta / "Relatorio.PDF");
    EXPECT_EQ(s.nome(), "Relatorio.PDF");
    EXPECT_FALSE(s.ehPasta());
    EXPECT_EQ(s.tamanho(), 1234); // the logical size, not the allocated one
    EXPECT_EQ(s.extensao(), "pdf");
    EXPECT_FALSE(s.baixadoEm().has_value());
    EXPECT_FALSE(s.ultimoUsoEm().has_value());
    EXPECT_TRUE(s.origens().empty());
    EXPECT_FALSE(s.ehScreenshot());
    EXPECT_FALSE(s.quarentenaAgente().has_value());
    EXPECT_TRUE(s.nuncaReaberto());
}

TEST_F(PastaScannerTest, CreationDateIsBirthTimeElseModificationTime)
{
    teste::escrever(pasta / "a.txt", "x");
    struct statx info {};
    ASSERT_EQ(::statx(AT_FDCWD, (pasta / "a.txt").c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_MTIME, &info), 0);
    // Move the modification time far away so the two sources cannot be confused.
    teste::definirMtime(pasta / "a.txt", 1'000'000'000.0);
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    if ((info.stx_mask & STATX_BTIME) != 0) {
        const double nascimento = static_cast<double>(info.stx_btime.tv_sec) + info.stx_btime.tv_nsec / 1e9;
        EXPECT_DOUBLE_EQ(snapshots[0].criadoEm().segundosDesde1970(), nascimento);
    } else {
        EXPECT_DOUBLE_EQ(snapshots[0].criadoEm().segundosDesde1970(), 1'000'000'000.0);
    }
    // Without a download date the arrival is the creation date.
    EXPECT_EQ(snapshots[0].chegouEm(), snapshots[0].criadoEm());
}

TEST(PastaScannerDatas, CreationDateFallsBackToModificationThenDistantPast)
{
    const Date a = Date::desde1970(10);
    const Date b = Date::desde1970(20);
    EXPECT_EQ(PastaScanner::dataDeCriacao(a, b), a);
    EXPECT_EQ(PastaScanner::dataDeCriacao(std::nullopt, b), b);
    EXPECT_EQ(PastaScanner::dataDeCriacao(std::nullopt, std::nullopt), Date::passadoDistante());
}

TEST_F(PastaScannerTest, HiddenEntriesAreNeverListed)
{
    teste::escrever(pasta / ".oculto", "x");
    teste::criarPasta(pasta / ".pasta-oculta");
    teste::escrever(pasta / "listado-no-hidden.txt", "x");
    teste::escrever(pasta / "outro oculto", "x");
    teste::escrever(pasta / "visivel.txt", "x");
    teste::escrever(pasta / "visivel2.txt", "x");
    // One name per line, a trailing CR dropped, empty lines ignored, exact match only.
    teste::escrever(pasta / ".hidden", "listado-no-hidden.txt\r\n\n\nouTRO OCULTO\noutro oculto\nvisivel\n");
    EXPECT_EQ(nomes(scanner.varrer(pasta.caminho())), (std::vector<std::string>{"visivel.txt", "visivel2.txt"}));
}

TEST_F(PastaScannerTest, AHiddenListThatIsAFifoDoesNotBlock)
{
    ASSERT_EQ(::mkfifo((pasta / ".hidden").c_str(), 0644), 0);
    teste::escrever(pasta / "a.txt", "x");
    auto resultado = std::async(std::launch::async, [&] { return scanner.varrer(pasta.caminho()); });
    ASSERT_EQ(resultado.wait_for(std::chrono::seconds(20)), std::future_status::ready) << "the scan blocked";
    EXPECT_EQ(nomes(resultado.get()), std::vector<std::string>{"a.txt"});
}

TEST_F(PastaScannerTest, SubFolderIsListedOnceWithTheSizeOfItsVisibleContents)
{
    teste::criarPasta(pasta / "Projeto/src/fundo");
    teste::escrever(pasta / "Projeto/a.bin", std::string(10000, 'a'));
    teste::escrever(pasta / "Projeto/src/b.bin", std::string(5000, 'b'));
    teste::escrever(pasta / "Projeto/src/fundo/c.bin", std::string(70000, 'c'));
    teste::escrever(pasta / "Projeto/.git/objeto", std::string(90000, 'g'));     // hidden: skipped with all below
    teste::escrever(pasta / "Projeto/src/escondido.bin", std::string(50000, 'e')); // in .hidden
    teste::escrever(pasta / "Projeto/src/.hidden", "escondido.bin\n");
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    const FileSnapshot& projeto = snapshots[0];
    EXPECT_TRUE(projeto.ehPasta());
    EXPECT_EQ(projeto.extensao(), "");
    const std::int64_t esperado = alocado(pasta / "Projeto/a.bin") + alocado(pasta / "Projeto/src")
        + alocado(pasta / "Projeto/src/b.bin") + alocado(pasta / "Projeto/src/fundo")
        + alocado(pasta / "Projeto/src/fundo/c.bin");
    EXPECT_EQ(projeto.tamanho(), esperado);
    EXPECT_GT(projeto.tamanho(), 85000); // allocated sizes, at least the bytes written
}

TEST_F(PastaScannerTest, ApplicationBundleIsAFolderWithoutExtension)
{
    teste::escrever(pasta / "Foo.app/Contents/Info.plist", "<plist/>");
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_TRUE(snapshots[0].ehPasta());
    EXPECT_EQ(snapshots[0].extensao(), "");
    EXPECT_GT(snapshots[0].tamanho(), 0);
}

TEST_F(PastaScannerTest, HardLinksCountEachTimeTheyAppear)
{
    teste::escrever(pasta / "P/a.bin", std::string(40000, 'a'));
    ASSERT_EQ(::link((pasta / "P/a.bin").c_str(), (pasta / "P/b.bin").c_str()), 0);
    EXPECT_EQ(PastaScanner::tamanhoDaPasta(pasta / "P"), 2 * alocado(pasta / "P/a.bin"));
}

TEST_F(PastaScannerTest, ManyFoldersSizedSideBySideEachGetTheirOwnSum)
{
    // Folder sizes are summed on several threads: each folder must still get exactly its
    // own total, whatever the order the threads take them in.
    std::map<std::string, std::int64_t> esperado;
    for (int p = 0; p < 16; ++p) {
        const std::string nome = "Pasta " + std::to_string(p);
        std::int64_t soma = 0;
        for (int f = 0; f <= p; ++f) {
            const std::string arquivo = pasta / (nome + "/sub" + std::to_string(f % 3) + "/f" + std::to_string(f));
            teste::escrever(arquivo, std::string(static_cast<std::size_t>(1000 * (p + 1) * (f + 1)), 'x'));
            soma += alocado(arquivo);
        }
        for (int f = 0; f < 3 && f <= p; ++f) {
            soma += alocado(pasta / (nome + "/sub" + std::to_string(f)));
        }
        esperado[nome] = soma;
    }
    teste::escrever(pasta / "solto.txt", "solto");
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 17U);
    for (const auto& [nome, soma] : esperado) {
        const FileSnapshot* s = achar(snapshots, nome);
        ASSERT_NE(s, nullptr) << nome;
        EXPECT_TRUE(s->ehPasta());
        EXPECT_EQ(s->tamanho(), soma) << nome;
    }
    EXPECT_EQ(achar(snapshots, "solto.txt")->tamanho(), 5);
}

TEST_F(PastaScannerTest, LinksAreNeverFollowedNorFolders)
{
    teste::escrever(pasta / "alvo/grande.bin", std::string(100000, 'x'));
    const std::string alvo = pasta / "alvo";
    ASSERT_EQ(::symlink(alvo.c_str(), (pasta / "atalho").c_str()), 0);
    ASSERT_EQ(::symlink("/nao/existe", (pasta / "quebrado").c_str()), 0);
    // A link inside a sub-folder adds its own size only, and a loop costs nothing.
    teste::criarPasta(pasta / "alvo/sub");
    ASSERT_EQ(::symlink(alvo.c_str(), (pasta / "alvo/sub/volta").c_str()), 0);
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 3U);
    const FileSnapshot* atalho = achar(snapshots, "atalho");
    ASSERT_NE(atalho, nullptr);
    EXPECT_FALSE(atalho->ehPasta());
    EXPECT_EQ(atalho->tamanho(), static_cast<std::int64_t>(alvo.size())); // the link's own size
    const FileSnapshot* quebrado = achar(snapshots, "quebrado");
    ASSERT_NE(quebrado, nullptr);
    EXPECT_EQ(quebrado->tamanho(), static_cast<std::int64_t>(std::string("/nao/existe").size()));
    const FileSnapshot* real = achar(snapshots, "alvo");
    ASSERT_NE(real, nullptr);
    EXPECT_EQ(real->tamanho(), alocado(pasta / "alvo/grande.bin") + alocado(pasta / "alvo/sub")
                                   + alocado(pasta / "alvo/sub/volta"));
}

TEST_F(PastaScannerTest, AFifoIsListedWithoutBlocking)
{
    ASSERT_EQ(::mkfifo((pasta / "cano").c_str(), 0644), 0);
    teste::escrever(pasta / "a.txt", "x");
    auto resultado = std::async(std::launch::async, [&] { return scanner.varrer(pasta.caminho()); });
    ASSERT_EQ(resultado.wait_for(std::chrono::seconds(20)), std::future_status::ready) << "the scan blocked";
    const auto snapshots = resultado.get();
    const FileSnapshot* cano = achar(snapshots, "cano");
    ASSERT_NE(cano, nullptr);
    EXPECT_FALSE(cano->ehPasta());
    EXPECT_EQ(cano->tamanho(), 0);
}

TEST_F(PastaScannerTest, NameThatIsNotUtf8KeepsItsBytesInTheIdAndIsRepairedForText)
{
    const std::string bruto = "rel\xF3rio.pdf"; // Latin-1 "ó"
    teste::escrever(pasta / bruto, "x");
    const auto snapshots = scanner.varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].id(), pasta / bruto);
    EXPECT_EQ(snapshots[0].nome(), "rel\xEF\xBF\xBDrio.pdf");
    EXPECT_EQ(snapshots[0].extensao(), "pdf");
    struct stat info {};
    EXPECT_EQ(::lstat(snapshots[0].id().c_str(), &info), 0) << "the id must reach the file";
}

// Runs a function as an unprivileged user in a child process (root reads everything, so an
// unreadable folder can only be tested without root's powers).
template <typename Funcao>
std::int64_t comoUsuarioComum(Funcao funcao)
{
    int canal[2];
    if (::pipe(canal) != 0) {
        return -2;
    }
    const pid_t filho = ::fork();
    if (filho == 0) {
        ::close(canal[0]);
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) {
            ::_exit(3);
        }
        const std::int64_t valor = funcao();
        (void)!::write(canal[1], &valor, sizeof valor);
        ::_exit(0);
    }
    ::close(canal[1]);
    std::int64_t valor = -1;
    if (::read(canal[0], &valor, sizeof valor) != static_cast<ssize_t>(sizeof valor)) {
        valor = -1;
    }
    ::close(canal[0]);
    int estado = 0;
    ::waitpid(filho, &estado, 0);
    return valor;
}

TEST_F(PastaScannerTest, AnUnreadableSubFolderAddsNothingBelowIt)
{
    teste::escrever(pasta / "P/legivel.bin", std::string(20000, 'a'));
    teste::escrever(pasta / "P/trancada/segredo.bin", std::string(200000, 's'));
    ::chmod((pasta / "P/trancada").c_str(), 0);
    for (const char* caminho : {"", "/P"}) {
        ::chmod((pasta.caminho() + caminho).c_str(), 0755);
    }
    const std::string alvo = pasta / "P";
    const std::int64_t tamanho = comoUsuarioComum([&] { return PastaScanner::tamanhoDaPasta(alvo); });
    // The locked folder's own entry counts (it can be seen); nothing inside it does.
    EXPECT_EQ(tamanho, alocado(pasta / "P/legivel.bin") + alocado(pasta / "P/trancada"));
}

TEST_F(PastaScannerTest, AnUnreadableFolderHasSizeZero)
{
    teste::escrever(pasta / "P/a.bin", std::string(20000, 'a'));
    ::chmod((pasta / "P").c_str(), 0);
    ::chmod(pasta.caminho().c_str(), 0755);
    const std::string alvo = pasta / "P";
    EXPECT_EQ(comoUsuarioComum([&] { return PastaScanner::tamanhoDaPasta(alvo); }), 0);
    EXPECT_EQ(PastaScanner::tamanhoDaPasta(pasta / "nao-existe"), 0);
}

TEST_F(PastaScannerTest, AVeryDeepTreeIsSizedWithoutRunningOutOfDescriptors)
{
    std::string caminho = pasta / "P";
    teste::criarPasta(caminho);
    std::int64_t esperado = 0;
    // Deeper than the levels kept open, below PATH_MAX.
    for (int i = 0; i < 300; ++i) {
        caminho += "/d";
        ASSERT_EQ(::mkdir(caminho.c_str(), 0755), 0);
        esperado += alocado(caminho);
    }
    teste::escrever(caminho + "/f.bin", std::string(5000, 'f'));
    esperado += alocado(caminho + "/f.bin");
    EXPECT_EQ(PastaScanner::tamanhoDaPasta(pasta / "P"), esperado);
}

// What `du -sB1` says a folder and everything below it take.
std::int64_t segundoODu(const std::string& pasta)
{
    const std::string comando = "du -sB1 '" + pasta + "'";
    std::FILE* processo = ::popen(comando.c_str(), "r");
    if (processo == nullptr) {
        return -1;
    }
    long long bytes = -1;
    if (std::fscanf(processo, "%lld", &bytes) != 1) {
        bytes = -1;
    }
    ::pclose(processo);
    return bytes;
}

// Removes a chain of folders named "d" too deep for any path: each step moves the level
// below up one, then removes the emptied one.
void apagarCadeia(int base)
{
    for (;;) {
        const int d = ::openat(base, "d", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (d < 0) {
            return;
        }
        (void)::unlinkat(d, "f.bin", 0);
        const bool temFilho = ::renameat(d, "d", base, "proxima") == 0;
        ::close(d);
        ASSERT_EQ(::unlinkat(base, "d", AT_REMOVEDIR), 0);
        if (!temFilho) {
            return;
        }
        ASSERT_EQ(::renameat(base, "proxima", base, "d"), 0);
    }
}

TEST_F(PastaScannerTest, ATreeTenThousandLevelsDeepIsSizedExactlyAsDuDoes)
{
    const std::string raiz = pasta / "P";
    teste::criarPasta(raiz);
    // Built by descriptors: its paths are far longer than PATH_MAX.
    int atual = ::open(raiz.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(atual, 0);
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(::mkdirat(atual, "d", 0755), 0) << i;
        const int proxima = ::openat(atual, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_GE(proxima, 0) << i;
        ::close(atual);
        atual = proxima;
    }
    const int arquivo = ::openat(atual, "f.bin", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(arquivo, 0);
    const std::string conteudo(50000, 'f');
    ASSERT_EQ(::write(arquivo, conteudo.data(), conteudo.size()), static_cast<ssize_t>(conteudo.size()));
    ::fsync(arquivo);
    ::close(arquivo);
    ::close(atual);

    const std::int64_t du = segundoODu(raiz);
    ASSERT_GT(du, 0);
    // du counts the folder itself; a folder's size is what is below it.
    EXPECT_EQ(PastaScanner::tamanhoDaPasta(raiz), du - alocado(raiz));

    const int base = ::open(raiz.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    apagarCadeia(base);
    ::close(base);
}

TEST_F(PastaScannerTest, MetadataAttributesFillTheSnapshot)
{
    if (!teste::aceitaAtributos(pasta.caminho())) {
        GTEST_SKIP() << "this file system does not take user extended attributes";
    }
    const std::string a = pasta / "a.pdf";
    teste::escrever(a, "x");
    teste::definirAtributo(a, "user.com.apple.metadata:kMDItemWhereFroms",
                           plistXml("<array><string></string><string>x</string></array>"));
    teste::definirAtributo(a, "user.com.apple.metadata:kMDItemDownloadedDate",
                           plistXml("<array><date>2023-11-30T06:43:12Z</date></array>"));
    teste::definirAtributo(a, "user.com.apple.metadata:kMDItemIsScreenCapture", plistXml("<false/>"));
    teste::definirAtributo(a, "user.com.apple.quarantine", "0083;6550f1a2;Agente;ABC");
    const std::vector<unsigned char> uso{0x00, 0x2F, 0x68, 0x65, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    teste::definirAtributo(a, "user.com.apple.lastuseddate#PS", uso);

    const std::string b = pasta / "b.iso";
    teste::escrever(b, "y");
    teste::definirAtributo(b, "user.xdg.origin.url", "https://exemplo.org/b.iso");
    teste::definirAtributo(b, "user.xdg.referrer.url", "https://exemplo.org/");
    teste::definirAtributo(b, "user.xdg.publisher", "GNOME Web");

    const auto snapshots = scanner.varrer(pasta.caminho());
    const FileSnapshot* sa = achar(snapshots, "a.pdf");
    ASSERT_NE(sa, nullptr);
    EXPECT_EQ(sa->origens(), std::vector<std::string>{"x"});
    ASSERT_TRUE(sa->baixadoEm().has_value());
    EXPECT_DOUBLE_EQ(sa->baixadoEm()->segundosDesde1970(), 1701326592.0);
    EXPECT_TRUE(sa->ehScreenshot()); // present, though it stores false
    EXPECT_EQ(sa->quarentenaAgente(), std::optional<std::string>("Agente"));
    ASSERT_TRUE(sa->ultimoUsoEm().has_value());
    EXPECT_DOUBLE_EQ(sa->ultimoUsoEm()->segundosDesde1970(), 1701326592.0);
    EXPECT_EQ(sa->chegouEm(), *sa->baixadoEm());

    const FileSnapshot* sb = achar(snapshots, "b.iso");
    ASSERT_NE(sb, nullptr);
    EXPECT_EQ(sb->origens(), (std::vector<std::string>{"https://exemplo.org/b.iso", "https://exemplo.org/"}));
    EXPECT_EQ(sb->quarentenaAgente(), std::optional<std::string>("GNOME Web"));
    EXPECT_FALSE(sb->ehScreenshot());
}

TEST_F(PastaScannerTest, LastUseComesFromTheRecentlyUsedListWhenTheFileHasNone)
{
    teste::escrever(pasta / "lido.pdf", "x");
    teste::escrever(pasta / "so baixado.pdf", "x");
    const std::string xbel = R"(<?xml version="1.0" encoding="UTF-8"?>
<xbel version="1.0" xmlns:bookmark="http://www.freedesktop.org/standards/desktop-bookmarks"
      xmlns:mime="http://www.freedesktop.org/standards/shared-mime-info">
  <bookmark href="file://)" + pasta.caminho() + R"(/lido.pdf" added="2024-03-01T10:00:00Z" modified="2024-03-02T10:00:00Z" visited="2024-03-02T10:00:00Z">
    <info><metadata owner="http://freedesktop.org"><bookmark:applications>
      <bookmark:application name="Firefox" exec="firefox %u" modified="2024-03-05T00:00:00Z" count="1"/>
      <bookmark:application name="Evince" exec="evince %u" modified="2024-03-02T10:00:00Z" count="2"/>
    </bookmark:applications></metadata></info>
  </bookmark>
  <bookmark href="file://)" + pasta.caminho() + R"(/so%20baixado.pdf" added="2024-03-01T10:00:00Z" modified="2024-03-01T10:00:00Z" visited="2024-03-01T10:00:00Z">
    <info><metadata owner="http://freedesktop.org"><bookmark:applications>
      <bookmark:application name="Firefox" exec="firefox %u" modified="2024-03-01T10:00:00Z" count="1"/>
    </bookmark:applications></metadata></info>
  </bookmark>
</xbel>
)";
    teste::escrever(casa / ".local/share/recently-used.xbel", xbel);
    const auto snapshots = scanner.varrer(pasta.caminho());
    const FileSnapshot* lido = achar(snapshots, "lido.pdf");
    ASSERT_NE(lido, nullptr);
    ASSERT_TRUE(lido->ultimoUsoEm().has_value());
    EXPECT_DOUBLE_EQ(lido->ultimoUsoEm()->segundosDesde1970(), 1709373600.0); // 2024-03-02T10:00:00Z
    const FileSnapshot* baixado = achar(snapshots, "so baixado.pdf");
    ASSERT_NE(baixado, nullptr);
    EXPECT_FALSE(baixado->ultimoUsoEm().has_value()); // a browser's entry is not a use
}

TEST_F(PastaScannerTest, AScanChangesNothingNotEvenAccessTimes)
{
    const bool atributos = teste::aceitaAtributos(pasta.caminho());
    teste::escrever(pasta / "a.pdf", "conteudo");
    teste::escrever(pasta / "Projeto/b.txt", "b");
    teste::escrever(pasta / "Projeto/sub/c.txt", "c");
    teste::escrever(pasta / ".hidden", "oculto\n");
    teste::escrever(pasta / "Projeto/.hidden", "x\n");
    if (atributos) {
        teste::definirAtributo(pasta / "a.pdf", "user.xdg.origin.url", "https://exemplo.org/a.pdf");
    }
    const std::vector<std::string> caminhos{pasta.caminho(), pasta / "a.pdf", pasta / "Projeto", pasta / "Projeto/b.txt",
                                            pasta / "Projeto/sub", pasta / "Projeto/sub/c.txt", pasta / ".hidden",
                                            pasta / "Projeto/.hidden"};
    // Access times two days old: with relatime any read would move them.
    const double antigo = static_cast<double>(::time(nullptr)) - 2 * 86400.0;
    for (const std::string& c : caminhos) {
        timespec tempos[2]{{static_cast<time_t>(antigo), 0}, {UTIME_OMIT, UTIME_OMIT}};
        ASSERT_EQ(::utimensat(AT_FDCWD, c.c_str(), tempos, AT_SYMLINK_NOFOLLOW), 0);
    }
    std::map<std::string, teste::Retrato> antes;
    for (const std::string& c : caminhos) {
        antes[c] = teste::retratar(c);
    }
    const auto snapshots = scanner.varrer(pasta.caminho());
    EXPECT_EQ(snapshots.size(), 2U);
    for (const std::string& c : caminhos) {
        teste::esperarIgual(antes[c], teste::retratar(c), c);
    }
}

} // namespace
} // namespace tarrafa

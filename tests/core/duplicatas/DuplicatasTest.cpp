// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Duplicatas.hpp"

#include "Apoio.hpp"
#include "OutroSistemaDeArquivos.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarrafa {
namespace {

using teste::PastaTemporaria;

std::string bytesDe(std::size_t tamanho, unsigned semente)
{
    std::string bytes(tamanho, '\0');
    unsigned estado = semente * 2654435761U + 1;
    for (char& c : bytes) {
        estado = estado * 1103515245U + 12345U;
        c = static_cast<char>(estado >> 16);
    }
    return bytes;
}

// A file as the scan would hand it over: what it is now, arrived at the given second.
Duplicatas::Arquivo arquivo(const std::string& caminho, double chegou, std::string sha256 = {})
{
    const auto identidade = Identidade::ler(caminho);
    EXPECT_TRUE(identidade.has_value()) << caminho;
    return {caminho, identidade.value_or(Identidade {}), Date::desde1970(chegou), std::move(sha256)};
}

// Bytes this process has read through read() and pread() so far, as the kernel counts them:
// a measure the comparison cannot fake.
std::uint64_t lidosPeloProcesso()
{
    std::ifstream io("/proc/self/io");
    std::string chave;
    std::uint64_t valor = 0;
    while (io >> chave >> valor) {
        if (chave == "rchar:") {
            return valor;
        }
    }
    ADD_FAILURE() << "/proc/self/io has no rchar";
    return 0;
}

class DuplicatasTest : public ::testing::Test {
protected:
    PastaTemporaria pasta;
    PastaTemporaria cacheDir;
    std::string arquivoDoCache() const { return cacheDir / "Tarrafa/hashes.sqlite"; }
};

TEST_F(DuplicatasTest, TresIdenticosDeNomesSemRelacaoDaoDoisSelosEOMaisAntigoFicaIntocado)
{
    const std::string conteudo = bytesDe(300 * 1024, 1);
    teste::escrever(pasta / "a8f3c2e1d9.pdf", conteudo);
    teste::escrever(pasta / "Relatório final.pdf", conteudo);
    teste::escrever(pasta / "download", conteudo);
    teste::escrever(pasta / "outro.pdf", bytesDe(300 * 1024, 2)); // same size, other bytes

    CacheDeHashes semCache;
    const auto resultado = Duplicatas::encontrar({arquivo(pasta / "a8f3c2e1d9.pdf", 300),
                                                     arquivo(pasta / "Relatório final.pdf", 100),
                                                     arquivo(pasta / "download", 200), arquivo(pasta / "outro.pdf", 50)},
        semCache);

    ASSERT_EQ(resultado.duplicataDe.size(), 2U);
    EXPECT_EQ(resultado.duplicataDe.at(pasta / "a8f3c2e1d9.pdf"), pasta / "Relatório final.pdf");
    EXPECT_EQ(resultado.duplicataDe.at(pasta / "download"), pasta / "Relatório final.pdf");
    EXPECT_FALSE(resultado.duplicataDe.contains(pasta / "Relatório final.pdf"));
    EXPECT_FALSE(resultado.duplicataDe.contains(pasta / "outro.pdf"));
    // The three alike are read whole once each; the fourth only at its ends.
    EXPECT_EQ(resultado.bytesLidos, 4 * 128 * 1024 + 3 * 300 * 1024);
}

TEST_F(DuplicatasTest, MesmoTamanhoEConteudoDiferenteNaoEDuplicata)
{
    // They differ only in one byte in the middle: the ends agree, so both are read whole.
    std::string conteudo = bytesDe(1 << 20, 3);
    teste::escrever(pasta / "Relatório.pdf", conteudo);
    conteudo[conteudo.size() / 2] ^= 1;
    teste::escrever(pasta / "Relatório (1).pdf", conteudo);

    CacheDeHashes semCache;
    const auto resultado = Duplicatas::encontrar(
        {arquivo(pasta / "Relatório.pdf", 1), arquivo(pasta / "Relatório (1).pdf", 2)}, semCache);

    EXPECT_TRUE(resultado.duplicataDe.empty());
    EXPECT_EQ(resultado.bytesLidos, 2 * 128 * 1024 + 2 * (1 << 20));
}

TEST_F(DuplicatasTest, TamanhosDiferentesNaoSaoLidosEArquivosVaziosNuncaSaoCopias)
{
    teste::escrever(pasta / "a.txt", "abc");
    teste::escrever(pasta / "b.txt", "abcd");
    teste::escrever(pasta / "vazio1", "");
    teste::escrever(pasta / "vazio2", "");
    teste::criarPasta(pasta / "pasta1");
    teste::criarPasta(pasta / "pasta2");

    CacheDeHashes semCache;
    const auto resultado = Duplicatas::encontrar({arquivo(pasta / "a.txt", 1), arquivo(pasta / "b.txt", 2),
                                                     arquivo(pasta / "vazio1", 3), arquivo(pasta / "vazio2", 4),
                                                     arquivo(pasta / "pasta1", 5), arquivo(pasta / "pasta2", 6)},
        semCache);

    EXPECT_TRUE(resultado.duplicataDe.empty());
    EXPECT_EQ(resultado.bytesLidos, 0U);
    EXPECT_EQ(resultado.arquivosAbertos, 0U);
}

TEST_F(DuplicatasTest, CacheDispensaALeituraNaSegundaVezEArquivoMudadoELidoDeNovo)
{
    const std::string conteudo = bytesDe(500 * 1024, 4);
    teste::escrever(pasta / "a.bin", conteudo);
    teste::escrever(pasta / "b.bin", conteudo);
    teste::escrever(pasta / "c.bin", bytesDe(500 * 1024, 5));
    teste::definirMtime(pasta / "b.bin", 1'700'000'000);

    {
        CacheDeHashes cache(arquivoDoCache());
        ASSERT_TRUE(cache.aberto());
        const auto frio = Duplicatas::encontrar(
            {arquivo(pasta / "a.bin", 1), arquivo(pasta / "b.bin", 2), arquivo(pasta / "c.bin", 3)}, cache);
        EXPECT_EQ(frio.duplicataDe.size(), 1U);
        EXPECT_GT(frio.bytesLidos, 0U);
    }
    {
        CacheDeHashes cache(arquivoDoCache());
        const auto quente = Duplicatas::encontrar(
            {arquivo(pasta / "a.bin", 1), arquivo(pasta / "b.bin", 2), arquivo(pasta / "c.bin", 3)}, cache);
        EXPECT_EQ(quente.duplicataDe.size(), 1U);
        EXPECT_EQ(quente.duplicataDe.at(pasta / "b.bin"), pasta / "a.bin");
        EXPECT_EQ(quente.bytesLidos, 0U);
        EXPECT_EQ(quente.arquivosAbertos, 0U);
        EXPECT_EQ(quente.hashesLembrados, 3U);
    }

    // b changes in its middle, keeps its size; only its modification time tells.
    std::string outro = conteudo;
    outro[250 * 1024] ^= 0x55;
    teste::escrever(pasta / "b.bin", outro);
    teste::definirMtime(pasta / "b.bin", 1'700'000'100);
    {
        CacheDeHashes cache(arquivoDoCache());
        const auto depois = Duplicatas::encontrar(
            {arquivo(pasta / "a.bin", 1), arquivo(pasta / "b.bin", 2), arquivo(pasta / "c.bin", 3)}, cache);
        EXPECT_TRUE(depois.duplicataDe.empty());
        // b read at its ends and whole (its ends still match a's); a and c come from the cache.
        EXPECT_EQ(depois.bytesLidos, 128 * 1024 + 500 * 1024);
        EXPECT_EQ(depois.arquivosAbertos, 2U);
    }
}

TEST_F(DuplicatasTest, ParDeArquivosEsparsosDe2GiBQueDiferemNoInicioNaoELidoInteiro)
{
    constexpr off_t kTamanho = off_t {2} << 30;
    for (const char* nome : {"imagem-a.iso", "imagem-b.iso"}) {
        const int fd = ::open((pasta / nome).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::ftruncate(fd, kTamanho), 0) << std::strerror(errno);
        ASSERT_EQ(::pwrite(fd, nome, std::strlen(nome), 0), static_cast<ssize_t>(std::strlen(nome)));
        ::close(fd);
    }
    CacheDeHashes semCache;
    const std::uint64_t antes = lidosPeloProcesso();
    const auto resultado = Duplicatas::encontrar(
        {arquivo(pasta / "imagem-a.iso", 1), arquivo(pasta / "imagem-b.iso", 2)}, semCache);
    const std::uint64_t lidos = lidosPeloProcesso() - antes;

    EXPECT_TRUE(resultado.duplicataDe.empty());
    EXPECT_EQ(resultado.bytesLidos, 2 * 2 * Duplicatas::kPonta);
    // What the kernel saw read, the few reads of /proc/self/io itself included.
    EXPECT_LT(lidos, std::uint64_t {1} << 20);
}

TEST_F(DuplicatasTest, LerParaCompararNaoMudaOAcessoDoArquivo)
{
    const std::string conteudo = bytesDe(200 * 1024, 6);
    teste::escrever(pasta / "foto.jpg", conteudo);
    teste::escrever(pasta / "foto-2.jpg", conteudo);
    // An access time older than a day and newer than the modification: a plain read on a
    // relatime mount updates it.
    auto envelhecer = [&](const std::string& caminho) {
        timespec tempos[2] {{1'700'100'000, 0}, {1'700'000'000, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, caminho.c_str(), tempos, 0), 0);
    };
    envelhecer(pasta / "foto.jpg");
    envelhecer(pasta / "foto-2.jpg");

    // The control: this file system does record reads in the access time.
    teste::escrever(pasta / "controle", "x");
    envelhecer(pasta / "controle");
    {
        std::ifstream ler(pasta / "controle");
        char c = 0;
        ler.get(c);
    }
    struct stat controle {};
    ASSERT_EQ(::stat((pasta / "controle").c_str(), &controle), 0);
    if (controle.st_atim.tv_sec == 1'700'100'000) {
        GTEST_SKIP() << "this file system does not update access times (noatime)";
    }

    CacheDeHashes semCache;
    const auto resultado = Duplicatas::encontrar(
        {arquivo(pasta / "foto.jpg", 1), arquivo(pasta / "foto-2.jpg", 2)}, semCache);
    ASSERT_EQ(resultado.duplicataDe.size(), 1U);
    for (const char* nome : {"foto.jpg", "foto-2.jpg"}) {
        struct stat info {};
        ASSERT_EQ(::stat((pasta / nome).c_str(), &info), 0);
        EXPECT_EQ(info.st_atim.tv_sec, 1'700'100'000) << nome;
    }
}

TEST_F(DuplicatasTest, ArquivosDeOutraPessoaNaoSaoLidosParaNaoMudarOAcesso)
{
    // The kernel refuses O_NOATIME on a file that is not the reader's own; read anyway, its
    // access time would move. Root may always use it, so the comparison runs as another user,
    // on a disk that records every read.
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to mount a disk that keeps access times strictly and to act as another user";
    }
    ASSERT_EQ(::chmod(pasta.caminho().c_str(), 0755), 0);
    const std::string disco = pasta / "disco";
    teste::criarPasta(disco);
    const teste::OutroSistemaDeArquivos montado(
        disco, teste::OutroSistemaDeArquivos::Tipo::ramDiskAcessoEstrito, pasta.caminho());
    if (!montado.montado()) {
        GTEST_SKIP() << "this machine does not mount a RAM disk";
    }
    ASSERT_EQ(::chmod(disco.c_str(), 0755), 0);
    const std::string conteudo = bytesDe(100 * 1024, 7);
    std::vector<Duplicatas::Arquivo> arquivos;
    for (const char* nome : {"/foto.jpg", "/foto-2.jpg"}) {
        teste::escrever(disco + nome, conteudo);
        ASSERT_EQ(::chmod((disco + nome).c_str(), 0644), 0);
        const timespec tempos[2] {{1'600'000'000, 0}, {0, UTIME_OMIT}};
        ASSERT_EQ(::utimensat(AT_FDCWD, (disco + nome).c_str(), tempos, 0), 0);
        arquivos.push_back(arquivo(disco + nome, static_cast<double>(arquivos.size()) + 1.0));
    }

    const pid_t filho = ::fork();
    ASSERT_NE(filho, -1);
    if (filho == 0) {
        constexpr uid_t kOutro = 4242;
        if (::setgroups(0, nullptr) != 0 || ::setresgid(kOutro, kOutro, kOutro) != 0
            || ::setresuid(kOutro, kOutro, kOutro) != 0) {
            ::_exit(3);
        }
        CacheDeHashes semCache;
        const auto resultado = Duplicatas::encontrar(arquivos, semCache);
        ::_exit(resultado.arquivosAbertos == 0 && resultado.duplicataDe.empty() ? 0 : 1);
    }
    int estado = 0;
    ASSERT_EQ(::waitpid(filho, &estado, 0), filho);
    ASSERT_TRUE(WIFEXITED(estado));
    EXPECT_EQ(WEXITSTATUS(estado), 0) << "1: a file was opened; 3: could not become the other user";
    for (const char* nome : {"/foto.jpg", "/foto-2.jpg"}) {
        struct stat info {};
        ASSERT_EQ(::stat((disco + nome).c_str(), &info), 0);
        EXPECT_EQ(info.st_atim.tv_sec, 1'600'000'000) << nome;
        EXPECT_EQ(info.st_atim.tv_nsec, 0) << nome;
    }
}

TEST_F(DuplicatasTest, ArquivoQueMudouDepoisDaVarreduraNaoEComparado)
{
    const std::string conteudo = bytesDe(10 * 1024, 7);
    teste::escrever(pasta / "a", conteudo);
    teste::escrever(pasta / "b", conteudo);
    teste::definirMtime(pasta / "b", 1'700'000'000);
    auto visto = arquivo(pasta / "b", 2);
    teste::escrever(pasta / "b", conteudo); // same bytes, but rewritten since the scan

    CacheDeHashes cache(arquivoDoCache());
    const auto resultado = Duplicatas::encontrar({arquivo(pasta / "a", 1), visto}, cache);
    EXPECT_TRUE(resultado.duplicataDe.empty());
}

TEST_F(DuplicatasTest, LinksParaOMesmoArquivoSaoIguaisSemLeitura)
{
    teste::escrever(pasta / "a", bytesDe(4096, 8));
    ASSERT_EQ(::link((pasta / "a").c_str(), (pasta / "b").c_str()), 0);

    CacheDeHashes semCache;
    const auto resultado = Duplicatas::encontrar({arquivo(pasta / "b", 2), arquivo(pasta / "a", 1)}, semCache);
    ASSERT_EQ(resultado.duplicataDe.size(), 1U);
    EXPECT_EQ(resultado.duplicataDe.at(pasta / "b"), pasta / "a");
    EXPECT_EQ(resultado.bytesLidos, 0U);
}

TEST_F(DuplicatasTest, HashDoNavegadorDispensaALeituraQuandoTodosOTem)
{
    const std::string shaA(32, 'a');
    const std::string shaB(32, 'b');
    // The bytes on disk agree; what the browser said is taken as it stands.
    const std::string conteudo = bytesDe(300 * 1024, 9);
    teste::escrever(pasta / "x.pdf", conteudo);
    teste::escrever(pasta / "y.pdf", conteudo);
    teste::escrever(pasta / "z.pdf", conteudo);

    CacheDeHashes semCache;
    const auto iguais = Duplicatas::encontrar(
        {arquivo(pasta / "x.pdf", 1, shaA), arquivo(pasta / "y.pdf", 2, shaA), arquivo(pasta / "z.pdf", 3, shaB)},
        semCache);
    ASSERT_EQ(iguais.duplicataDe.size(), 1U);
    EXPECT_EQ(iguais.duplicataDe.at(pasta / "y.pdf"), pasta / "x.pdf");
    EXPECT_EQ(iguais.bytesLidos, 0U);
    EXPECT_EQ(iguais.arquivosAbertos, 0U);

    // One without the browser's hash must be read, and so must one of those it may equal.
    const auto misturados = Duplicatas::encontrar(
        {arquivo(pasta / "x.pdf", 1, shaA), arquivo(pasta / "y.pdf", 2, shaA), arquivo(pasta / "z.pdf", 3)},
        semCache);
    ASSERT_EQ(misturados.duplicataDe.size(), 2U);
    EXPECT_EQ(misturados.duplicataDe.at(pasta / "z.pdf"), pasta / "x.pdf");
    EXPECT_EQ(misturados.arquivosAbertos, 4U); // x and z, each at its ends and whole
}

TEST_F(DuplicatasTest, CacheDanificadoNaoAtrapalha)
{
    teste::escrever(arquivoDoCache(), "isto não é um banco SQLite, só texto com tamanho suficiente para parecer um");
    const std::string conteudo = bytesDe(1000, 10);
    teste::escrever(pasta / "a", conteudo);
    teste::escrever(pasta / "b", conteudo);

    {
        // Thrown away, and a new cache made in its place.
        CacheDeHashes cache(arquivoDoCache());
        EXPECT_TRUE(cache.aberto());
        const auto resultado = Duplicatas::encontrar({arquivo(pasta / "a", 1), arquivo(pasta / "b", 2)}, cache);
        EXPECT_EQ(resultado.duplicataDe.size(), 1U);
    }
    CacheDeHashes cache(arquivoDoCache());
    const auto resultado = Duplicatas::encontrar({arquivo(pasta / "a", 1), arquivo(pasta / "b", 2)}, cache);
    EXPECT_EQ(resultado.duplicataDe.size(), 1U);
    EXPECT_EQ(resultado.hashesLembrados, 2U);
}

TEST_F(DuplicatasTest, ArquivoEditadoNoLugarComAModificacaoPostaDeVoltaELidoDeNovo)
{
    const std::string conteudo = bytesDe(200 * 1024, 11);
    teste::escrever(pasta / "a.bin", conteudo);
    teste::escrever(pasta / "b.bin", conteudo);
    {
        CacheDeHashes cache(arquivoDoCache());
        ASSERT_TRUE(cache.aberto());
        const auto antes = Duplicatas::encontrar({arquivo(pasta / "a.bin", 1), arquivo(pasta / "b.bin", 2)}, cache);
        ASSERT_EQ(antes.duplicataDe.size(), 1U);
    }
    struct stat original {};
    ASSERT_EQ(::stat((pasta / "b.bin").c_str(), &original), 0);
    // The kernel's clock for change times is coarse (a few milliseconds): the edit must fall
    // on a later tick than the writing above.
    ::usleep(50'000);

    // One byte of b rewritten where it lies, and its times put back as `touch -d` would.
    const int fd = ::open((pasta / "b.bin").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    const char trocado = static_cast<char>(conteudo[100 * 1024] ^ 0x5a);
    ASSERT_EQ(::pwrite(fd, &trocado, 1, 100 * 1024), 1);
    ::close(fd);
    const timespec tempos[2] {original.st_atim, original.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, (pasta / "b.bin").c_str(), tempos, 0), 0);
    struct stat editado {};
    ASSERT_EQ(::stat((pasta / "b.bin").c_str(), &editado), 0);
    ASSERT_EQ(editado.st_ino, original.st_ino);
    ASSERT_EQ(editado.st_size, original.st_size);
    ASSERT_EQ(editado.st_mtim.tv_sec, original.st_mtim.tv_sec);
    ASSERT_EQ(editado.st_mtim.tv_nsec, original.st_mtim.tv_nsec);
    ASSERT_NE(editado.st_ctim.tv_nsec + editado.st_ctim.tv_sec * 1'000'000'000LL,
        original.st_ctim.tv_nsec + original.st_ctim.tv_sec * 1'000'000'000LL);

    CacheDeHashes cache(arquivoDoCache());
    const auto depois = Duplicatas::encontrar({arquivo(pasta / "a.bin", 1), arquivo(pasta / "b.bin", 2)}, cache);
    EXPECT_TRUE(depois.duplicataDe.empty());
    // b is read again (at its ends and whole, its ends still match a's); a comes from the cache.
    EXPECT_EQ(depois.hashesLembrados, 1U);
    EXPECT_EQ(depois.bytesLidos, 128 * 1024 + 200 * 1024);
}

TEST_F(DuplicatasTest, CacheEmPastaNovaECriadoSoParaODono)
{
    CacheDeHashes cache(arquivoDoCache());
    ASSERT_TRUE(cache.aberto());
    struct stat info {};
    ASSERT_EQ(::stat((cacheDir / "Tarrafa").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);
}

TEST_F(DuplicatasTest, PedidoDeParadaInterrompe)
{
    const std::string conteudo = bytesDe(1000, 11);
    teste::escrever(pasta / "a", conteudo);
    teste::escrever(pasta / "b", conteudo);
    std::stop_source parar;
    parar.request_stop();
    CacheDeHashes semCache;
    try {
        (void)Duplicatas::encontrar({arquivo(pasta / "a", 1), arquivo(pasta / "b", 2)}, semCache, parar.get_token());
        FAIL() << "no exception";
    } catch (const std::system_error& erro) {
        EXPECT_EQ(erro.code().value(), ECANCELED);
    }
}

TEST_F(DuplicatasTest, EmpateNaChegadaDecidePeloNome)
{
    // Written in the same tick of the file system's clock: the names tell. "Relatório (1).pdf"
    // sorts before "Relatório.pdf" byte by byte, yet it is the copy.
    const std::string conteudo = bytesDe(1000, 12);
    for (const char* nome : {"Relatório (1).pdf", "Relatório.pdf", "Relatório-final.pdf", "b", "a"}) {
        teste::escrever(pasta / nome, conteudo);
    }
    CacheDeHashes semCache;
    const auto porSufixo = Duplicatas::encontrar(
        {arquivo(pasta / "Relatório (1).pdf", 5), arquivo(pasta / "Relatório.pdf", 5)}, semCache);
    ASSERT_EQ(porSufixo.duplicataDe.size(), 1U);
    EXPECT_EQ(porSufixo.duplicataDe.at(pasta / "Relatório (1).pdf"), pasta / "Relatório.pdf");

    const auto porTamanho = Duplicatas::encontrar(
        {arquivo(pasta / "Relatório-final.pdf", 5), arquivo(pasta / "Relatório.pdf", 5)}, semCache);
    EXPECT_EQ(porTamanho.duplicataDe.at(pasta / "Relatório-final.pdf"), pasta / "Relatório.pdf");

    const auto porBytes = Duplicatas::encontrar({arquivo(pasta / "b", 5), arquivo(pasta / "a", 5)}, semCache);
    EXPECT_EQ(porBytes.duplicataDe.at(pasta / "b"), pasta / "a");

    // Arrival still comes first: a copy's name that arrived earlier is the original.
    const auto porChegada = Duplicatas::encontrar(
        {arquivo(pasta / "Relatório (1).pdf", 4), arquivo(pasta / "Relatório.pdf", 5)}, semCache);
    EXPECT_EQ(porChegada.duplicataDe.at(pasta / "Relatório.pdf"), pasta / "Relatório (1).pdf");
}

TEST(CandidatosADuplicata, SoArquivosDeTamanhoRepetidoComIdentidadeEOHashDoNavegador)
{
    const auto snapshot = [](const std::string& nome, std::int64_t tamanho, bool pasta = false) {
        return FileSnapshot("/d/" + nome, nome, pasta, tamanho, std::nullopt, Date::desde1970(1), std::nullopt, {},
            false, std::nullopt);
    };
    const std::vector<FileSnapshot> todos {snapshot("a", 10), snapshot("b", 10), snapshot("sozinho", 11),
        snapshot("pasta", 10, true), snapshot("vazio1", 0), snapshot("vazio2", 0), snapshot("inventado", 10)};
    std::vector<const FileSnapshot*> ponteiros;
    std::unordered_map<std::string, Identidade> identidades;
    for (const FileSnapshot& s : todos) {
        ponteiros.push_back(&s);
        if (s.nome() != "inventado") {
            identidades[s.id()] = Identidade {1, identidades.size() + 1, S_IFREG, s.tamanho(), 7};
        }
    }
    const auto arquivos = Duplicatas::candidatos(ponteiros, identidades, {{"/d/b", std::string(32, 'x')}});
    ASSERT_EQ(arquivos.size(), 2U);
    EXPECT_EQ(arquivos[0].id, "/d/a");
    EXPECT_TRUE(arquivos[0].sha256.empty());
    EXPECT_EQ(arquivos[1].id, "/d/b");
    EXPECT_EQ(arquivos[1].sha256, std::string(32, 'x'));
    EXPECT_EQ(arquivos[1].identidade, identidades.at("/d/b"));
    EXPECT_EQ(arquivos[1].chegouEm, Date::desde1970(1));
}

// --- the badge on the items ---

ItemTriado item(const std::string& nome, std::vector<Selo> selos)
{
    return ItemTriado(FileSnapshot("/d/" + nome, nome, false, 10, std::nullopt, Date::desde1970(0), std::nullopt, {},
                          false, std::nullopt),
        Origem::semOrigem(), std::move(selos));
}

TEST(MarcarDuplicatas, SeloFicaNoLugarDoSufixoDeCopiaEOSubstitui)
{
    const ItemTriado copia = item("Relatório (1).pdf",
        {Selo::nuncaAberto(), Selo::sufixoDeCopia(), Selo::pareceRelacionado(1)});
    const ItemTriado marcado = Duplicatas::marcar(copia, "Relatório.pdf");
    EXPECT_EQ(marcado.selos(),
        (std::vector<Selo> {Selo::nuncaAberto(), Selo::copiaIdentica("Relatório.pdf"), Selo::pareceRelacionado(1)}));
    EXPECT_EQ(marcado.selos()[1].rotulo(), "cópia idêntica de Relatório.pdf");

    // Taking it off gives back what triage gave the name.
    EXPECT_EQ(Duplicatas::desmarcar(marcado), copia);

    const ItemTriado semSufixo = item("a8f3c2e1d9.pdf", {Selo::nuncaAberto(), Selo::nomeOpaco(), Selo::instaladorNuncaUsado()});
    const ItemTriado outro = Duplicatas::marcar(semSufixo, "Fatura.pdf");
    EXPECT_EQ(outro.selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::nomeOpaco(),
                                 Selo::copiaIdentica("Fatura.pdf"), Selo::instaladorNuncaUsado()}));
    EXPECT_EQ(Duplicatas::desmarcar(outro), semSufixo);
    // Marking again with the same original changes nothing; another original replaces it.
    EXPECT_EQ(Duplicatas::marcar(outro, "Fatura.pdf"), outro);
    EXPECT_EQ(Duplicatas::marcar(outro, "Boleto.pdf").selos()[2], Selo::copiaIdentica("Boleto.pdf"));
}

TEST(MarcarDuplicatas, GruposRecebemOSeloComONomeDoOriginalEOsDemaisFicamComoEstao)
{
    const ItemTriado original = item("Relatório.pdf", {Selo::nuncaAberto()});
    const ItemTriado copia = item("Relatório (1).pdf", {Selo::nuncaAberto(), Selo::sufixoDeCopia()});
    const ItemTriado diferente = item("Relatório (2).pdf", {Selo::nuncaAberto(), Selo::sufixoDeCopia()});
    const std::vector<GrupoOrigem> grupos {
        GrupoOrigem(Origem::semOrigem(), {original, copia, diferente})};

    const auto marcados = Duplicatas::marcar(grupos, {{copia.id(), original.id()}});
    ASSERT_EQ(marcados.size(), 1U);
    const auto& itens = marcados[0].itens();
    EXPECT_EQ(itens[0], original);
    EXPECT_EQ(itens[1].selos(), (std::vector<Selo> {Selo::nuncaAberto(), Selo::copiaIdentica("Relatório.pdf")}));
    // A copy by name whose bytes differ keeps the copy-suffix badge.
    EXPECT_EQ(itens[2], diferente);

    // Once no longer a copy, the badge goes.
    EXPECT_EQ(Duplicatas::marcar(marcados, {})[0].itens()[1], copia);
}

} // namespace
} // namespace tarrafa

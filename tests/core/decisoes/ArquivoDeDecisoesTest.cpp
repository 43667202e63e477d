// SPDX-License-Identifier: GPL-3.0-or-later
// The decision file under faults: a write that cannot finish, a file nobody can parse, a link
// or a pipe in its place, and several writers at once.
#include "Apoio.hpp"
#include "LimiteDeTamanho.hpp"

#include "TarrafaCore/ArquivoDeDecisoes.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tarrafa;
using tarrafa::teste::LimiteDeTamanho;
using tarrafa::teste::PastaTemporaria;

namespace {

std::string lerArquivo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

void escreverArquivo(const std::string& caminho, const std::string& conteudo)
{
    std::ofstream(caminho, std::ios::binary) << conteudo;
}

std::vector<std::string> nomesEm(const std::string& pasta)
{
    std::vector<std::string> nomes;
    for (const auto& entrada : std::filesystem::directory_iterator(pasta)) {
        nomes.push_back(entrada.path().filename().string());
    }
    std::sort(nomes.begin(), nomes.end());
    return nomes;
}

ArquivoDeDecisoes::Mudancas decidir(std::initializer_list<std::pair<std::string, Decisao>> decisoes)
{
    ArquivoDeDecisoes::Mudancas mudancas;
    for (const auto& [id, decisao] : decisoes) {
        mudancas.decidir(id, decisao);
    }
    return mudancas;
}

// Many decisions, so that a write is large enough to be cut short.
ArquivoDeDecisoes::Mudancas muitas(int quantas, const std::string& prefixo)
{
    ArquivoDeDecisoes::Mudancas mudancas;
    for (int i = 0; i < quantas; ++i) {
        mudancas.decidir("/casa/Downloads/" + prefixo + std::to_string(i) + ".pdf", Decisao::adiado);
    }
    return mudancas;
}

class ArquivoDeDecisoesTest : public ::testing::Test {
protected:
    PastaTemporaria pasta;
    std::string caminho = pasta.caminho() + "/Tarrafa/decisoes.json";
};

} // namespace

TEST_F(ArquivoDeDecisoesTest, MakesItsFolderAndWritesOneCompactObjectWithEscapedSlashesInPathOrder)
{
    ArquivoDeDecisoes arquivo(caminho);
    const auto gravacao = arquivo.gravar(decidir({{"/d/b.pdf", Decisao::ignorado}, {"/d/a.pdf", Decisao::adiado}}));
    ASSERT_FALSE(gravacao.falha) << *gravacao.falha;
    EXPECT_EQ(lerArquivo(caminho), R"({"\/d\/a.pdf":"adiado","\/d\/b.pdf":"ignorado"})");
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa"), std::vector<std::string> {"decisoes.json"});
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler().size(), 2U);
}

TEST_F(ArquivoDeDecisoesTest, AWriteCutShortByTheFileSizeLimitLeavesTheOldFileByteIdentical)
{
    ArquivoDeDecisoes arquivo(caminho);
    ASSERT_FALSE(arquivo.gravar(muitas(10, "antigo-")).falha);
    const std::string antes = lerArquivo(caminho);
    struct stat infoAntes {};
    ASSERT_EQ(::stat(caminho.c_str(), &infoAntes), 0);

    ArquivoDeDecisoes::Gravacao gravacao;
    {
        LimiteDeTamanho limite(4096);
        ASSERT_TRUE(limite.ok());
        gravacao = arquivo.gravar(muitas(1000, "novo-"));
    }
    ASSERT_TRUE(gravacao.falha.has_value());
    EXPECT_EQ(lerArquivo(caminho), antes);
    struct stat infoDepois {};
    ASSERT_EQ(::stat(caminho.c_str(), &infoDepois), 0);
    EXPECT_EQ(infoDepois.st_ino, infoAntes.st_ino);
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa"), std::vector<std::string> {"decisoes.json"})
        << "the half-written new file is removed";

    // The same changes go through once there is room.
    ASSERT_FALSE(arquivo.gravar(muitas(1000, "novo-")).falha);
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler().size(), 1010U);
}

TEST_F(ArquivoDeDecisoesTest, AWriteOnAFullDiskLeavesTheOldFileByteIdentical)
{
    // A small memory disk of our own, where the machine lets us mount one.
    const std::string disco = pasta.caminho() + "/disco";
    std::filesystem::create_directories(disco);
    if (::mount("tarrafa-teste", disco.c_str(), "tmpfs", 0, "size=256k") != 0) {
        GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
    }
    struct Desmontar {
        std::string ponto;
        ~Desmontar() { ::umount2(ponto.c_str(), MNT_DETACH); }
    } desmontar {disco};

    const std::string noDisco = disco + "/decisoes.json";
    ArquivoDeDecisoes arquivo(noDisco);
    ASSERT_FALSE(arquivo.gravar(muitas(100, "antigo-")).falha);
    const std::string antes = lerArquivo(noDisco);
    // Everything else fills the disk.
    {
        std::ofstream enchimento(disco + "/enchimento", std::ios::binary);
        const std::string bloco(4096, 'x');
        while (enchimento.write(bloco.data(), static_cast<std::streamsize>(bloco.size())) && enchimento.flush()) {
        }
    }
    const auto gravacao = arquivo.gravar(muitas(3000, "novo-"));
    ASSERT_TRUE(gravacao.falha.has_value());
    EXPECT_EQ(lerArquivo(noDisco), antes);
    EXPECT_EQ(nomesEm(disco), (std::vector<std::string> {"decisoes.json", "enchimento"}));
}

TEST_F(ArquivoDeDecisoesTest, AFileThatCannotBeParsedIsSetAsideWholeBeforeTheNewOneIsWritten)
{
    std::filesystem::create_directories(pasta.caminho() + "/Tarrafa");
    const std::string ruim = R"({"\/d\/a.pdf":"adiado","\/d\/b.pdf":"talvez"})";
    escreverArquivo(caminho, ruim);
    ArquivoDeDecisoes arquivo(caminho);
    EXPECT_TRUE(arquivo.ler().empty());
    EXPECT_EQ(lerArquivo(caminho), ruim) << "reading changes nothing";

    const auto gravacao = arquivo.gravar(decidir({{"/d/c.pdf", Decisao::resolvido}}));
    ASSERT_FALSE(gravacao.falha);
    ASSERT_TRUE(gravacao.postoDeLado.has_value());
    EXPECT_EQ(lerArquivo(*gravacao.postoDeLado), ruim);
    EXPECT_TRUE(std::filesystem::path(*gravacao.postoDeLado).filename().string().starts_with("decisoes.json.ilegivel-"));
    EXPECT_EQ(lerArquivo(caminho), R"({"\/d\/c.pdf":"resolvido"})");

    // A second bad file the same day gets a name of its own; the first one stays.
    escreverArquivo(caminho, "{");
    const auto segunda = arquivo.gravar(decidir({{"/d/d.pdf", Decisao::adiado}}));
    ASSERT_TRUE(segunda.postoDeLado.has_value());
    EXPECT_NE(*segunda.postoDeLado, *gravacao.postoDeLado);
    EXPECT_EQ(lerArquivo(*segunda.postoDeLado), "{");
    EXPECT_EQ(lerArquivo(*gravacao.postoDeLado), ruim);
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa").size(), 3U);
}

TEST_F(ArquivoDeDecisoesTest, ASymbolicLinkIsNeitherReadNorWrittenThrough)
{
    std::filesystem::create_directories(pasta.caminho() + "/Tarrafa");
    const std::string alvo = pasta.caminho() + "/alvo";
    const std::string conteudo = R"({"\/d\/a.pdf":"adiado"})";
    escreverArquivo(alvo, conteudo);
    std::filesystem::create_symlink(alvo, caminho);

    ArquivoDeDecisoes arquivo(caminho);
    EXPECT_TRUE(arquivo.ler().empty());
    const auto gravacao = arquivo.gravar(decidir({{"/d/b.pdf", Decisao::ignorado}}));
    ASSERT_FALSE(gravacao.falha);
    EXPECT_EQ(lerArquivo(alvo), conteudo);
    EXPECT_FALSE(std::filesystem::is_symlink(caminho));
    ASSERT_TRUE(gravacao.postoDeLado.has_value());
    EXPECT_TRUE(std::filesystem::is_symlink(*gravacao.postoDeLado));
    EXPECT_EQ(std::filesystem::read_symlink(*gravacao.postoDeLado).string(), alvo);
}

TEST_F(ArquivoDeDecisoesTest, APipeInItsPlaceIsNeverOpenedAndAFolderStopsTheWrite)
{
    std::filesystem::create_directories(pasta.caminho() + "/Tarrafa");
    ASSERT_EQ(::mkfifo(caminho.c_str(), 0600), 0);
    ArquivoDeDecisoes arquivo(caminho);
    EXPECT_TRUE(arquivo.ler().empty()); // would block forever if opened for reading
    const auto gravacao = arquivo.gravar(decidir({{"/d/a.pdf", Decisao::adiado}}));
    ASSERT_FALSE(gravacao.falha);
    EXPECT_TRUE(gravacao.postoDeLado.has_value());
    EXPECT_EQ(lerArquivo(caminho), R"({"\/d\/a.pdf":"adiado"})");

    std::filesystem::remove(caminho);
    std::filesystem::create_directories(caminho + "/dentro");
    const auto naPasta = arquivo.gravar(decidir({{"/d/b.pdf", Decisao::adiado}}));
    EXPECT_TRUE(naPasta.falha.has_value());
    EXPECT_TRUE(std::filesystem::is_directory(caminho + "/dentro"));
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa").size(), 2U) << "only the pipe set aside, and the folder";
}

TEST_F(ArquivoDeDecisoesTest, AWriterKeepsWhatAnotherWroteAndLearnsOfIt)
{
    ArquivoDeDecisoes janela(caminho);
    ArquivoDeDecisoes linhaDeComando(caminho);
    EXPECT_TRUE(janela.ler().empty());
    EXPECT_TRUE(linhaDeComando.ler().empty());

    const auto primeira = janela.gravar(decidir({{"/d/a.pdf", Decisao::adiado}}));
    ASSERT_FALSE(primeira.falha);
    EXPECT_FALSE(primeira.atuais.has_value()) << "nobody else wrote";

    const auto segunda = linhaDeComando.gravar(decidir({{"/d/b.pdf", Decisao::ignorado}}));
    ASSERT_TRUE(segunda.atuais.has_value());
    EXPECT_EQ(segunda.atuais->size(), 2U);

    ArquivoDeDecisoes::Mudancas esquecer;
    esquecer.esquecer("/d/b.pdf");
    const auto terceira = janela.gravar(esquecer);
    ASSERT_TRUE(terceira.atuais.has_value());
    EXPECT_EQ(*terceira.atuais, (ArquivoDeDecisoes::Decisoes {{"/d/a.pdf", Decisao::adiado}}));
    EXPECT_EQ(lerArquivo(caminho), R"({"\/d\/a.pdf":"adiado"})");
}

TEST_F(ArquivoDeDecisoesTest, WritersOnManyThreadsAtOnceLoseNothing)
{
    constexpr int kEscritores = 8;
    constexpr int kVezes = 25;
    std::vector<std::thread> escritores;
    for (int e = 0; e < kEscritores; ++e) {
        escritores.emplace_back([this, e] {
            ArquivoDeDecisoes arquivo(caminho);
            for (int i = 0; i < kVezes; ++i) {
                const auto gravacao = arquivo.gravar(
                    decidir({{"/d/" + std::to_string(e) + "-" + std::to_string(i), Decisao::resolvido}}));
                EXPECT_FALSE(gravacao.falha.has_value());
            }
        });
    }
    for (std::thread& escritor : escritores) {
        escritor.join();
    }
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler().size(), std::size_t(kEscritores * kVezes));
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa"), std::vector<std::string> {"decisoes.json"});
}

TEST_F(ArquivoDeDecisoesTest, NewerChangesWinWhenJoined)
{
    ArquivoDeDecisoes::Mudancas antigas = decidir({{"/d/a", Decisao::adiado}, {"/d/b", Decisao::adiado}});
    antigas.esquecer("/d/c");
    ArquivoDeDecisoes::Mudancas novas = decidir({{"/d/c", Decisao::ignorado}});
    novas.esquecer("/d/a");
    antigas.juntar(std::move(novas));
    ArquivoDeDecisoes::Decisoes decisoes {{"/d/a", Decisao::resolvido}, {"/d/z", Decisao::novo}};
    antigas.aplicarEm(decisoes);
    EXPECT_EQ(decisoes, (ArquivoDeDecisoes::Decisoes {
                            {"/d/b", Decisao::adiado}, {"/d/c", Decisao::ignorado}, {"/d/z", Decisao::novo}}));
}

TEST(ArquivoDeDecisoesCodigo, PathsThatAreNotUtf8AreEscapedAndOddCharactersToo)
{
    const std::string json = ArquivoDeDecisoes::codificar(
        {{"/d/nota-\xff.pdf", Decisao::adiado}, {"/d/relatório \"final\" \\ v2\t.pdf", Decisao::ignorado}});
    EXPECT_EQ(json, R"({"%\/d\/nota-%FF.pdf":"adiado","\/d\/relatório \"final\" \\ v2\t.pdf":"ignorado"})");
    const auto lido = ArquivoDeDecisoes::decodificar(json);
    ASSERT_TRUE(lido.has_value());
    EXPECT_EQ(*lido, (ArquivoDeDecisoes::Decisoes {
                         {"/d/nota-\xff.pdf", Decisao::adiado}, {"/d/relatório \"final\" \\ v2\t.pdf", Decisao::ignorado}}));
    EXPECT_FALSE(ArquivoDeDecisoes::decodificar(R"({"a":"Adiado"})").has_value());
    EXPECT_FALSE(ArquivoDeDecisoes::decodificar(R"({"a":"adiado"} x)").has_value());
    EXPECT_FALSE(ArquivoDeDecisoes::decodificar("[]").has_value());
    EXPECT_EQ(ArquivoDeDecisoes::decodificar("{}")->size(), 0U);
    // A key that claims the escaped form must be exactly it: otherwise two keys could name
    // one path, or a key could name none.
    for (const char* torto : {R"({"%\/d\/nota-%ff.pdf":"adiado"})", R"({"%\/d\/nota-%F":"adiado"})",
             R"({"%\/d\/nota.pdf":"adiado"})", R"({"%\/d\/caf%C3%A9.pdf":"adiado"})"}) {
        EXPECT_FALSE(ArquivoDeDecisoes::decodificar(torto).has_value()) << torto;
    }
}

TEST_F(ArquivoDeDecisoesTest, TwoNamesThatAreNotUtf8AndDifferOnlyInTheOddByteKeepTheirOwnDecisions)
{
    // Repaired with U+FFFD these two would be one path.
    const std::string latin1 = "/home/ana/Downloads/caf\xE9.txt";
    const std::string outro = "/home/ana/Downloads/caf\xE8.txt";
    ASSERT_FALSE(ArquivoDeDecisoes(caminho)
                     .gravar(decidir({{latin1, Decisao::adiado}, {outro, Decisao::ignorado},
                         {"/home/ana/Downloads/café.txt", Decisao::resolvido}}))
                     .falha);
    const ArquivoDeDecisoes::Decisoes lidas = ArquivoDeDecisoes(caminho).ler();
    EXPECT_EQ(lidas, (ArquivoDeDecisoes::Decisoes {{latin1, Decisao::adiado}, {outro, Decisao::ignorado},
                         {"/home/ana/Downloads/café.txt", Decisao::resolvido}}));
    // Another writer's change keeps them too.
    ArquivoDeDecisoes::Mudancas esquecer;
    esquecer.esquecer(outro);
    ASSERT_FALSE(ArquivoDeDecisoes(caminho).gravar(esquecer).falha);
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler(), (ArquivoDeDecisoes::Decisoes {{latin1, Decisao::adiado},
                                                    {"/home/ana/Downloads/café.txt", Decisao::resolvido}}));
}

TEST_F(ArquivoDeDecisoesTest, AFileOfAnEarlierVersionReadsAsItDid)
{
    std::filesystem::create_directories(std::filesystem::path(caminho).parent_path());
    escreverArquivo(caminho, R"({"\/d\/a 100%.pdf":"adiado","\/d\/relatório.pdf":"ignorado"})");
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler(),
        (ArquivoDeDecisoes::Decisoes {{"/d/a 100%.pdf", Decisao::adiado}, {"/d/relatório.pdf", Decisao::ignorado}}));
}

TEST_F(ArquivoDeDecisoesTest, TheFolderItMakesIsTheUsersAloneAndAnOpenOneIsClosed)
{
    const std::string funda = pasta.caminho() + "/dados/Tarrafa/decisoes.json";
    ASSERT_FALSE(ArquivoDeDecisoes(funda).gravar(decidir({{"/d/a", Decisao::adiado}})).falha);
    struct stat st {};
    ASSERT_EQ(::stat((pasta.caminho() + "/dados/Tarrafa").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700U);
    ASSERT_EQ(::stat((pasta.caminho() + "/dados").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700U);

    // One an older version made open to everyone.
    std::filesystem::create_directories(pasta.caminho() + "/Tarrafa");
    ASSERT_EQ(::chmod((pasta.caminho() + "/Tarrafa").c_str(), 0755), 0);
    ASSERT_FALSE(ArquivoDeDecisoes(caminho).gravar(decidir({{"/d/a", Decisao::adiado}})).falha);
    ASSERT_EQ(::stat((pasta.caminho() + "/Tarrafa").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700U);
}

TEST_F(ArquivoDeDecisoesTest, AWriterThatNeverLetsGoMakesTheWriteGiveUpAndSaySo)
{
    ASSERT_FALSE(ArquivoDeDecisoes(caminho).gravar(decidir({{"/d/a", Decisao::adiado}})).falha);
    const std::string antes = lerArquivo(caminho);
    const int outro = ::open((pasta.caminho() + "/Tarrafa").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(outro, 0);
    ASSERT_EQ(::flock(outro, LOCK_EX), 0);

    ArquivoDeDecisoes arquivo(caminho, std::chrono::milliseconds(300));
    const auto inicio = std::chrono::steady_clock::now();
    const auto gravacao = arquivo.gravar(decidir({{"/d/b", Decisao::ignorado}}));
    const auto esperou = std::chrono::steady_clock::now() - inicio;
    EXPECT_TRUE(gravacao.ocupado);
    ASSERT_TRUE(gravacao.falha);
    EXPECT_NE(gravacao.falha->find("outro programa está usando as decisões"), std::string::npos) << *gravacao.falha;
    EXPECT_GE(esperou, std::chrono::milliseconds(300));
    EXPECT_LT(esperou, std::chrono::seconds(5));
    EXPECT_EQ(lerArquivo(caminho), antes);

    // Let go, the same changes go in.
    ::close(outro);
    const auto depois = arquivo.gravar(decidir({{"/d/b", Decisao::ignorado}}));
    EXPECT_FALSE(depois.falha);
    EXPECT_FALSE(depois.ocupado);
    EXPECT_EQ(ArquivoDeDecisoes(caminho).ler().size(), 2U);
}

TEST_F(ArquivoDeDecisoesTest, ATemporaryFileLeftByAKilledWriterGoesWithTheNextWrite)
{
    std::filesystem::create_directories(pasta.caminho() + "/Tarrafa");
    const std::string dentro = pasta.caminho() + "/Tarrafa/";
    escreverArquivo(dentro + ".decisoes.json.0a1b2c3d", R"({"\/d\/meio":"adi)");
    // Not ours: a name of another shape, and a folder of that shape.
    escreverArquivo(dentro + ".decisoes.json.nota", "x");
    std::filesystem::create_directories(dentro + ".decisoes.json.ffffffff");

    ASSERT_FALSE(ArquivoDeDecisoes(caminho).gravar(decidir({{"/d/a", Decisao::adiado}})).falha);
    EXPECT_EQ(nomesEm(pasta.caminho() + "/Tarrafa"),
        (std::vector<std::string> {".decisoes.json.ffffffff", ".decisoes.json.nota", "decisoes.json"}));
}

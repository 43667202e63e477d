// SPDX-License-Identifier: GPL-3.0-or-later
// The Trash and the way back, on real files in a fake home: GIO moves them, the restore puts
// them back by the freedesktop.org rules and never overwrites anything.
#include "Apoio.hpp"
#include "OutroSistemaDeArquivos.hpp"

#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/Lixeira.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <unistd.h>

using namespace tarrafa;
namespace fs = std::filesystem;

namespace {

// GIO reads where the home trash is once per process: one home for all the tests of a run.
const teste::CasaFalsa& casa()
{
    static const teste::CasaFalsa unica;
    return unica;
}

std::string lerArquivo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

std::size_t quantosEm(const std::string& pasta)
{
    std::error_code erro;
    return fs::exists(pasta, erro)
        ? static_cast<std::size_t>(std::distance(fs::directory_iterator(pasta), fs::directory_iterator()))
        : 0;
}

class LixeiraTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        fs::remove_all(lixeira());
        fs::remove_all(downloads());
        fs::create_directories(downloads());
    }
    static std::string downloads() { return casa() / "Downloads"; }
    static std::string lixeira() { return casa() / ".local/share/Trash"; }
    static std::string em(const std::string& nome) { return downloads() + "/" + nome; }
};

} // namespace

TEST_F(LixeiraTest, AFileMovedToTheTrashComesBackWithItsBytesAndNameAndTheRecordGoes)
{
    const std::string caminho = em("relatório anual 2026.pdf");
    teste::escrever(caminho, "conteudo do relatorio");
    ASSERT_FALSE(Lixeira::mover(caminho, Identidade::ler(caminho)));
    EXPECT_FALSE(fs::exists(caminho));
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 1U);
    EXPECT_EQ(quantosEm(lixeira() + "/info"), 1U);
    ASSERT_TRUE(Lixeira::procurar(caminho).has_value());

    const auto falha = Lixeira::restaurar(caminho);
    ASSERT_FALSE(falha) << *falha;
    EXPECT_EQ(lerArquivo(caminho), "conteudo do relatorio");
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 0U);
    EXPECT_EQ(quantosEm(lixeira() + "/info"), 0U);
    EXPECT_FALSE(Lixeira::procurar(caminho).has_value());
}

TEST_F(LixeiraTest, AFolderComesBackWholeAndLeavesTheSizeCache)
{
    teste::escrever(em("fotos/1.jpg"), "um");
    teste::escrever(em("fotos/2.jpg"), "dois");
    ASSERT_FALSE(Lixeira::mover(em("fotos"), std::nullopt));
    // The size cache as file managers keep it, with our folder and another's.
    teste::escrever(lixeira() + "/directorysizes", "3 1700000000 fotos\n9 1700000000 outra%20pasta\n");
    ASSERT_FALSE(Lixeira::restaurar(em("fotos")));
    EXPECT_EQ(lerArquivo(em("fotos/2.jpg")), "dois");
    EXPECT_EQ(lerArquivo(lixeira() + "/directorysizes"), "9 1700000000 outra%20pasta\n");
}

TEST_F(LixeiraTest, ARestoreOverWhatNowStandsThereIsRefusedAndNothingIsOverwritten)
{
    const std::string caminho = em("a.pdf");
    teste::escrever(caminho, "antigo");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    teste::escrever(caminho, "novo, baixado depois");

    const auto falha = Lixeira::restaurar(caminho);
    ASSERT_TRUE(falha.has_value());
    EXPECT_EQ(*falha, "já existe um arquivo com esse nome na pasta. Nada foi substituído.");
    EXPECT_EQ(lerArquivo(caminho), "novo, baixado depois");
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 1U) << "the trashed one stays in the Trash";
    EXPECT_EQ(quantosEm(lixeira() + "/info"), 1U);
}

TEST_F(LixeiraTest, OfSeveralTrashedFilesFromOnePathTheNewestComesBack)
{
    const std::string caminho = em("a.pdf");
    teste::escrever(caminho, "primeiro");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    // GIO's deletion dates have a resolution of a second.
    ::sleep(1);
    teste::escrever(caminho, "segundo");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    ASSERT_FALSE(Lixeira::restaurar(caminho));
    EXPECT_EQ(lerArquivo(caminho), "segundo");
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 1U);
}

TEST_F(LixeiraTest, TheListingGivesWhatWasInTheFolderOldestFirstWhoeverTrashedIt)
{
    teste::escrever(em("a.pdf"), "a");
    teste::escrever(em("sub/c.pdf"), "c");
    ASSERT_FALSE(Lixeira::mover(em("a.pdf"), std::nullopt));
    ASSERT_FALSE(Lixeira::mover(em("sub/c.pdf"), std::nullopt));
    // A record another program left, its file already gone, is not something to restore.
    teste::escrever(lixeira() + "/info/sumiu.pdf.trashinfo",
        "[Trash Info]\nPath=" + downloads() + "/sumiu.pdf\nDeletionDate=2026-01-02T03:04:05\n");
    ::sleep(1);
    teste::escrever(em("b.pdf"), "b");
    ASSERT_FALSE(Lixeira::mover(em("b.pdf"), std::nullopt));

    const std::vector<Lixeira::Guardado> guardados = Lixeira::listar(downloads());
    ASSERT_EQ(guardados.size(), 2U);
    EXPECT_EQ(guardados[0].caminhoOriginal, em("a.pdf"));
    EXPECT_EQ(guardados[1].caminhoOriginal, em("b.pdf"));
    EXPECT_EQ(lerArquivo(guardados[0].arquivo), "a");
    EXPECT_EQ(guardados[1].info, lixeira() + "/info/b.pdf.trashinfo");
    EXPECT_EQ(guardados[0].pastaDaLixeira, lixeira());
    EXPECT_LT(guardados[0].apagadoEm, guardados[1].apagadoEm);
    EXPECT_EQ(Lixeira::listar(downloads() + "/sub").size(), 1U);
}

TEST_F(LixeiraTest, ARecordComesBackItselfEvenWhenANewerOneHasItsPath)
{
    const std::string caminho = em("a.pdf");
    teste::escrever(caminho, "primeiro");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    ::sleep(1);
    teste::escrever(caminho, "segundo");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    const std::vector<Lixeira::Guardado> guardados = Lixeira::listar(downloads());
    ASSERT_EQ(guardados.size(), 2U);

    ASSERT_FALSE(Lixeira::restaurar(guardados[0]));
    EXPECT_EQ(lerArquivo(caminho), "primeiro");
    EXPECT_FALSE(fs::exists(guardados[0].info));
    EXPECT_TRUE(fs::exists(guardados[1].arquivo));
    // Its name is taken now: the second stays, and says why; once gone, says that.
    EXPECT_EQ(Lixeira::restaurar(guardados[1]).value_or(""),
        "já existe um arquivo com esse nome na pasta. Nada foi substituído.");
    EXPECT_EQ(Lixeira::restaurar(guardados[0]).value_or(""), "ele não está mais na Lixeira.");
}

TEST_F(LixeiraTest, ATrashThatIsALinkOrAnotherUsersIsNeverRead)
{
    teste::escrever(em("a.pdf"), "meu");
    ASSERT_FALSE(Lixeira::mover(em("a.pdf"), std::nullopt));
    ASSERT_EQ(Lixeira::listar(downloads()).size(), 1U);

    // The same folder reached through a link is not the user's trash.
    const std::string verdadeira = casa() / ".local/share/Trash-de-verdade";
    fs::remove_all(verdadeira);
    fs::rename(lixeira(), verdadeira);
    fs::create_directory_symlink(verdadeira, lixeira());
    EXPECT_TRUE(Lixeira::listar(downloads()).empty());
    EXPECT_EQ(Lixeira::restaurar(em("a.pdf")).value_or(""), "ele não está na Lixeira.");
    fs::remove(lixeira());
    fs::rename(verdadeira, lixeira());
    ASSERT_EQ(Lixeira::listar(downloads()).size(), 1U);

    // A folder another user owns is not either.
    if (::getuid() != 0) {
        GTEST_SKIP() << "giving a folder to another user needs root";
    }
    ASSERT_EQ(::chown(lixeira().c_str(), 4242, 4242), 0);
    EXPECT_TRUE(Lixeira::listar(downloads()).empty());
    EXPECT_EQ(Lixeira::restaurar(em("a.pdf")).value_or(""), "ele não está na Lixeira.");
    EXPECT_EQ(lerArquivo(lixeira() + "/files/a.pdf"), "meu");
    ASSERT_EQ(::chown(lixeira().c_str(), ::getuid(), ::getgid()), 0);
    ASSERT_FALSE(Lixeira::restaurar(em("a.pdf")));
    EXPECT_EQ(lerArquivo(em("a.pdf")), "meu");
}

TEST_F(LixeiraTest, AFileChangedSinceItWasSeenStaysWhereItIs)
{
    const std::string caminho = em("a.pdf");
    teste::escrever(caminho, "visto");
    const std::optional<Identidade> vista = Identidade::ler(caminho);
    fs::remove(caminho);
    fs::create_directories(caminho); // a folder took its name
    const auto falha = Lixeira::mover(caminho, vista);
    ASSERT_TRUE(falha.has_value());
    EXPECT_EQ(*falha, "o arquivo mudou desde a última varredura.");
    EXPECT_TRUE(fs::is_directory(caminho));
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 0U);
}

TEST_F(LixeiraTest, NotInTheTrashOrItsFolderGoneIsSaid)
{
    EXPECT_EQ(Lixeira::restaurar(em("nunca.pdf")).value_or(""), "ele não está na Lixeira.");
    teste::escrever(em("sub/a.pdf"), "a");
    ASSERT_FALSE(Lixeira::mover(em("sub/a.pdf"), std::nullopt));
    fs::remove_all(em("sub"));
    EXPECT_EQ(Lixeira::restaurar(em("sub/a.pdf")).value_or(""), "a pasta onde ele estava não existe mais.");
}

TEST_F(LixeiraTest, RecordsWrittenByOtherProgramsAreReadPercentEncodedAndOddOnesIgnored)
{
    fs::create_directories(lixeira() + "/files");
    fs::create_directories(lixeira() + "/info");
    const std::string caminho = em("nota fiscal ç.pdf");
    teste::escrever(lixeira() + "/files/nota.pdf", "nota");
    teste::escrever(lixeira() + "/info/nota.pdf.trashinfo",
        "[Trash Info]\nPath=" + downloads() + "/nota%20fiscal%20%C3%A7.pdf\nDeletionDate=2026-01-02T03:04:05\n");
    // Not records: another group, no path, a path to elsewhere, a file bigger than a record.
    teste::escrever(lixeira() + "/files/x.pdf", "x");
    teste::escrever(lixeira() + "/info/x.pdf.trashinfo",
        "[Outra]\nPath=" + downloads() + "/nota%20fiscal%20%C3%A7.pdf\nDeletionDate=2027-01-01T00:00:00\n");
    teste::escrever(lixeira() + "/files/y.pdf", "y");
    teste::escrever(lixeira() + "/info/y.pdf.trashinfo", "[Trash Info]\nDeletionDate=2027-01-01T00:00:00\n");
    teste::escrever(lixeira() + "/files/z.pdf", "z");
    teste::escrever(lixeira() + "/info/z.pdf.trashinfo",
        "[Trash Info]\nPath=" + downloads() + "/nota%20fiscal%20%C3%A7.pdf\nDeletionDate=2027-01-01T00:00:00\n"
            + std::string(100 * 1024, '#'));

    ASSERT_FALSE(Lixeira::restaurar(caminho));
    EXPECT_EQ(lerArquivo(caminho), "nota");
    EXPECT_FALSE(fs::exists(lixeira() + "/info/nota.pdf.trashinfo"));
    EXPECT_EQ(quantosEm(lixeira() + "/files"), 3U);
}

TEST_F(LixeiraTest, AFileOnAnotherDiskComesBackFromThatDisksOwnTrash)
{
    const std::string disco = casa() / "pendrive";
    fs::create_directories(disco);
    const teste::OutroSistemaDeArquivos pendrive(disco, teste::OutroSistemaDeArquivos::Tipo::imagemExt4, casa().caminho());
    if (!pendrive.montado()) {
        GTEST_SKIP() << "mounting an ext4 image needs root, mkfs.ext4 and a loop device";
    }
    const std::string caminho = disco + "/documentos/b.pdf";
    teste::escrever(caminho, "no pendrive");
    // What GIO writes there: a path relative to the top of the disk.
    const auto movido = Lixeira::mover(caminho, std::nullopt);
    ASSERT_FALSE(movido) << *movido;
    const std::string lixeiraDoDisco = disco + "/.Trash-" + std::to_string(::getuid());
    ASSERT_EQ(quantosEm(lixeiraDoDisco + "/files"), 1U);
    EXPECT_NE(lerArquivo((*fs::directory_iterator(lixeiraDoDisco + "/info")).path()).find("Path=documentos/b.pdf"),
        std::string::npos);
    const std::vector<Lixeira::Guardado> guardados = Lixeira::listar(disco + "/documentos");
    ASSERT_EQ(guardados.size(), 1U);
    EXPECT_EQ(guardados[0].caminhoOriginal, caminho);
    EXPECT_EQ(guardados[0].pastaDaLixeira, lixeiraDoDisco);
    ASSERT_FALSE(Lixeira::restaurar(caminho));
    EXPECT_EQ(lerArquivo(caminho), "no pendrive");
    EXPECT_EQ(quantosEm(lixeiraDoDisco + "/info"), 0U);
}

TEST_F(LixeiraTest, AFolderThatIsALinkToAnotherDiskRestoresFromThatDisksTrash)
{
    const std::string disco = casa() / "outro-disco";
    fs::create_directories(disco);
    const teste::OutroSistemaDeArquivos outro(disco, teste::OutroSistemaDeArquivos::Tipo::imagemExt4, casa().caminho());
    if (!outro.montado()) {
        GTEST_SKIP() << "mounting an ext4 image needs root, mkfs.ext4 and a loop device";
    }
    fs::create_directories(disco + "/Baixados");
    // The person's Downloads, a link to a folder of the other disk.
    const std::string atalho = casa() / "Downloads-no-disco";
    fs::remove(atalho);
    fs::create_directory_symlink(disco + "/Baixados", atalho);
    const std::string caminho = atalho + "/c.pdf";
    teste::escrever(caminho, "pelo atalho");
    ASSERT_FALSE(Lixeira::mover(caminho, std::nullopt));
    const std::string lixeiraDoDisco = disco + "/.Trash-" + std::to_string(::getuid());
    ASSERT_EQ(quantosEm(lixeiraDoDisco + "/files"), 1U);

    const std::vector<Lixeira::Guardado> guardados = Lixeira::listar(atalho);
    ASSERT_EQ(guardados.size(), 1U);
    EXPECT_EQ(guardados[0].caminhoOriginal, caminho) << "named as the folder is listed";
    const auto volta = Lixeira::restaurar(caminho);
    ASSERT_FALSE(volta) << *volta;
    EXPECT_EQ(lerArquivo(caminho), "pelo atalho");
    EXPECT_EQ(quantosEm(lixeiraDoDisco + "/info"), 0U);
    fs::remove(atalho);
}

TEST_F(LixeiraTest, OnASharedDiskAPlantedTrashOrAnotherUsersFileNeverComesBack)
{
    const std::string disco = casa() / "compartilhado";
    fs::create_directories(disco);
    const teste::OutroSistemaDeArquivos outro(disco, teste::OutroSistemaDeArquivos::Tipo::imagemExt4, casa().caminho());
    if (!outro.montado() || ::getuid() != 0) {
        GTEST_SKIP() << "mounting an ext4 image and acting as another user need root";
    }
    fs::create_directories(disco + "/Baixados");
    const std::string caminho = disco + "/Baixados/relatorio.pdf";
    const std::string uid = std::to_string(::getuid());
    const std::string porUsuario = disco + "/.Trash-" + uid;

    // Another user made the person's trash first, writable by all, with a record for the
    // person's file dated far ahead.
    fs::create_directories(porUsuario + "/files");
    fs::create_directories(porUsuario + "/info");
    teste::escrever(porUsuario + "/files/relatorio.pdf", "do outro");
    teste::escrever(porUsuario + "/info/relatorio.pdf.trashinfo",
        "[Trash Info]\nPath=Baixados/relatorio.pdf\nDeletionDate=2099-01-01T00:00:00\n");
    ASSERT_EQ(::chmod(porUsuario.c_str(), 0777), 0);
    EXPECT_TRUE(Lixeira::listar(disco + "/Baixados").empty());
    EXPECT_EQ(Lixeira::restaurar(caminho).value_or(""), "ele não está na Lixeira.");
    EXPECT_FALSE(fs::exists(caminho));

    // The folder closed again, but the file in it is another user's.
    ASSERT_EQ(::chmod(porUsuario.c_str(), 0700), 0);
    ASSERT_EQ(::lchown((porUsuario + "/files/relatorio.pdf").c_str(), 4242, 4242), 0);
    ASSERT_EQ(Lixeira::listar(disco + "/Baixados").size(), 1U);
    EXPECT_EQ(Lixeira::restaurar(caminho).value_or(""), "o que está na Lixeira com esse nome não é seu. Nada foi restaurado.");
    EXPECT_FALSE(fs::exists(caminho));
    EXPECT_EQ(lerArquivo(porUsuario + "/files/relatorio.pdf"), "do outro");
}

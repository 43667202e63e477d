// SPDX-License-Identifier: GPL-3.0-or-later
// GNOME's metadata store as a source of origins. "ComSessao" tests run inside a private
// session bus with gvfs (see com-sessao); "SemSessao" ones run where there is no bus at all.
#include "Apoio.hpp"

#include "TarrafaCore/MetadadosDoGnome.hpp"
#include "TarrafaCore/PastaScanner.hpp"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace tarrafa {
namespace {

bool temSessao()
{
    const char* endereco = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    return endereco != nullptr && *endereco != '\0';
}

// Writes the attribute as Firefox's GTK build and GNOME Web do, through GIO (and so through
// gvfs's metadata daemon on the session bus).
void anotar(const std::string& caminho, const char* endereco)
{
    GFile* arquivo = g_file_new_for_path(caminho.c_str());
    GError* erro = nullptr;
    const gboolean ok = g_file_set_attribute_string(
        arquivo, "metadata::download-uri", endereco, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, &erro);
    EXPECT_TRUE(ok) << (erro != nullptr ? erro->message : "");
    if (erro != nullptr) {
        g_error_free(erro);
    }
    g_object_unref(arquivo);
}

const FileSnapshot* achar(const std::vector<FileSnapshot>& snapshots, const std::string& nome)
{
    for (const FileSnapshot& s : snapshots) {
        if (s.nome() == nome) {
            return &s;
        }
    }
    return nullptr;
}

class ComSessao : public ::testing::Test {
protected:
    void SetUp() override
    {
        // This suite is run under its own bus by the test runner; without one it would prove
        // nothing, so that is a failure here, never a skip.
        ASSERT_TRUE(temSessao()) << "run through tests/core/gio/com-sessao";
        teste::criarPasta(downloads);
    }
    teste::PastaTemporaria pasta;
    teste::PastaDeCopias copias;
    std::string downloads = pasta / "Downloads";
};

TEST_F(ComSessao, TheDownloadAddressNotedByTheDesktopIsTheFilesOrigin)
{
    teste::escrever(downloads + "/manual.pdf", "pdf");
    teste::escrever(downloads + "/sem nada.pdf", "pdf");
    anotar(downloads + "/manual.pdf", "https://docs.fornecedor.test/manual.pdf");
    const MetadadosDoGnome gnome(downloads);
    ASSERT_TRUE(gnome.disponivel());
    EXPECT_EQ(gnome.enderecoDeDownload("manual.pdf"),
        std::optional<std::string>("https://docs.fornecedor.test/manual.pdf"));
    EXPECT_FALSE(gnome.enderecoDeDownload("sem nada.pdf").has_value());

    const auto snapshots = PastaScanner().varrer(downloads);
    const FileSnapshot* manual = achar(snapshots, "manual.pdf");
    ASSERT_NE(manual, nullptr);
    EXPECT_EQ(manual->origens(), std::vector<std::string> {"https://docs.fornecedor.test/manual.pdf"});
    const FileSnapshot* semNada = achar(snapshots, "sem nada.pdf");
    ASSERT_NE(semNada, nullptr);
    EXPECT_TRUE(semNada->origens().empty());
}

TEST_F(ComSessao, TheFilesOwnAttributesComeFirst)
{
    if (!teste::aceitaAtributos(downloads)) {
        GTEST_SKIP() << "this file system does not take user extended attributes";
    }
    const std::string caminho = downloads + "/ambos.zip";
    teste::escrever(caminho, "zip");
    teste::definirAtributo(caminho, "user.xdg.origin.url", "https://atributo.test/ambos.zip");
    anotar(caminho, "https://gnome.test/ambos.zip");
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_EQ(snapshots[0].origens(), std::vector<std::string> {"https://atributo.test/ambos.zip"});
}

TEST_F(ComSessao, AFolderIsNeverGivenAnOrigin)
{
    teste::criarPasta(downloads + "/pasta");
    anotar(downloads + "/pasta", "https://gnome.test/pasta");
    const auto snapshots = PastaScanner().varrer(downloads);
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_TRUE(snapshots[0].origens().empty());
}

TEST(SemSessao, WithoutASessionBusTheStoreIsSimplyAbsent)
{
    ASSERT_FALSE(temSessao()) << "this suite is about a machine without a session bus";
    const teste::PastaTemporaria pasta;
    teste::escrever(pasta / "a.pdf", "a");
    const MetadadosDoGnome gnome(pasta.caminho());
    EXPECT_FALSE(gnome.disponivel());
    EXPECT_FALSE(gnome.enderecoDeDownload("a.pdf").has_value());
    const auto snapshots = PastaScanner().varrer(pasta.caminho());
    ASSERT_EQ(snapshots.size(), 1U);
    EXPECT_TRUE(snapshots[0].origens().empty());
}

} // namespace
} // namespace tarrafa

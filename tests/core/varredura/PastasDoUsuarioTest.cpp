// SPDX-License-Identifier: GPL-3.0-or-later
#include "Apoio.hpp"

#include "TarrafaCore/PastasDoUsuario.hpp"

#include <gtest/gtest.h>

namespace tarrafa {
namespace {

using teste::CasaFalsa;
using teste::VariavelTemporaria;

TEST(PastasDoUsuario, DownloadsDefaultsToTheHomeFolder)
{
    const CasaFalsa casa;
    EXPECT_EQ(PastasDoUsuario::downloads(), casa / "Downloads");
}

TEST(PastasDoUsuario, DownloadsHonoursUserDirsWithHomeExpanded)
{
    const CasaFalsa casa;
    teste::escrever(casa / ".config/user-dirs.dirs",
                    "# written by xdg-user-dirs-update\nXDG_DESKTOP_DIR=\"$HOME/Área de trabalho\"\n"
                    "XDG_DOWNLOAD_DIR=\"$HOME/Transferências\"\n");
    EXPECT_EQ(PastasDoUsuario::downloads(), casa / "Transferências");
}

TEST(PastasDoUsuario, DownloadsTakesAnAbsoluteUserDirAndIgnoresARelativeOne)
{
    const CasaFalsa casa;
    teste::escrever(casa / ".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"/dados/baixados/\"\n");
    EXPECT_EQ(PastasDoUsuario::downloads(), "/dados/baixados");
    teste::escrever(casa / ".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"baixados\"\n");
    EXPECT_EQ(PastasDoUsuario::downloads(), casa / "Downloads");
}

TEST(PastasDoUsuario, DataAndConfigFoldersFollowTheEnvironment)
{
    const CasaFalsa casa;
    EXPECT_EQ(PastasDoUsuario::dados(), casa / ".local/share");
    EXPECT_EQ(PastasDoUsuario::configuracao(), casa / ".config");
    {
        const VariavelTemporaria relativo("XDG_DATA_HOME", std::string("relativo"));
        EXPECT_EQ(PastasDoUsuario::dados(), casa / ".local/share");
    }
    {
        const VariavelTemporaria semDados("XDG_DATA_HOME", std::nullopt);
        const VariavelTemporaria semConfig("XDG_CONFIG_HOME", std::nullopt);
        EXPECT_EQ(PastasDoUsuario::dados(), casa / ".local/share");
        EXPECT_EQ(PastasDoUsuario::configuracao(), casa / ".config");
    }
}

TEST(PastasDoUsuario, DataDirsKeepOrderDropRelativeEntriesAndHaveDefaults)
{
    {
        const VariavelTemporaria dirs("XDG_DATA_DIRS", std::string("/a:relativo::/b"));
        EXPECT_EQ(PastasDoUsuario::diretoriosDeDados(), (std::vector<std::string>{"/a", "/b"}));
    }
    {
        const VariavelTemporaria dirs("XDG_DATA_DIRS", std::nullopt);
        EXPECT_EQ(PastasDoUsuario::diretoriosDeDados(), (std::vector<std::string>{"/usr/local/share", "/usr/share"}));
    }
    {
        const VariavelTemporaria dirs("XDG_DATA_DIRS", std::string(""));
        EXPECT_EQ(PastasDoUsuario::diretoriosDeDados(), (std::vector<std::string>{"/usr/local/share", "/usr/share"}));
    }
}

} // namespace
} // namespace tarrafa

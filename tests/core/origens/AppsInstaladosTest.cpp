// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/AppsInstalados.hpp"

#include "Apoio.hpp"

#include <dirent.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <grp.h>
#include <optional>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tarrafa {
namespace {

using AppsInstalados::PastaDeApps;
using teste::CasaFalsa;
using teste::criarPasta;
using teste::escrever;
using teste::PastaTemporaria;
using teste::VariavelTemporaria;

using Nomes = std::set<std::string>;

// The three bundle folders of a fake system: /Applications, /System/Applications and the
// home's Applications, with the endings the real ones use.
std::vector<PastaDeApps> pastasDeBundles(const PastaTemporaria& raiz)
{
    return {
        {raiz / "Applications", {".app"}},
        {raiz / "System/Applications", {".app"}},
        {raiz / "home/Applications", {".app", ".AppImage"}},
    };
}

bool existe(const std::string& caminho)
{
    std::error_code erro;
    return std::filesystem::exists(caminho, erro);
}

TEST(AppsInstalados, SameBundleInTwoFoldersIsOneElement)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/Editor.app");
    criarPasta(raiz / "System/Applications/Editor.app");
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Editor"}));
}

TEST(AppsInstalados, EndingIsRemovedAndNothingElse)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/My App.app");
    criarPasta(raiz / "Applications/.app");
    criarPasta(raiz / "Applications/ Spaced 2.1 .app");
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"My App", "", " Spaced 2.1 "}));
}

TEST(AppsInstalados, EndingIsCaseSensitiveAndMustBeTheWholeSuffix)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/Tool.APP");
    criarPasta(raiz / "Applications/Tool.application");
    criarPasta(raiz / "Applications/Tool.App");
    criarPasta(raiz / "Applications/Toolapp");
    criarPasta(raiz / "Applications/Tool.app.zip");
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes());
}

TEST(AppsInstalados, MissingHomeFolderDoesNotAffectTheOthers)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/Editor.app");
    criarPasta(raiz / "System/Applications/Calculadora.app");
    ASSERT_FALSE(existe(raiz / "home/Applications"));
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Editor", "Calculadora"}));
}

TEST(AppsInstalados, AllFoldersMissingGiveTheEmptySet)
{
    PastaTemporaria raiz;
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes());
    EXPECT_EQ(AppsInstalados::listar(std::vector<PastaDeApps> {}), Nomes());
}

TEST(AppsInstalados, ListingIsShallowAndTakesHiddenNamesAndPlainFiles)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/Utilities/Terminal.app");
    criarPasta(raiz / "Applications/Editor.app/Contents/Helper.app");
    criarPasta(raiz / "Applications/.Oculto.app");
    escrever(raiz / "Applications/Arquivo.app", "not a bundle");
    std::filesystem::create_symlink(raiz / "Applications/Editor.app", raiz / "Applications/Atalho.app");
    EXPECT_EQ(
        AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Editor", ".Oculto", "Arquivo", "Atalho"}));
}

TEST(AppsInstalados, FolderThatIsAFileContributesNothing)
{
    PastaTemporaria raiz;
    escrever(raiz / "Applications", "a file where a folder should be");
    criarPasta(raiz / "System/Applications/Editor.app");
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Editor"}));
}

// The listing as seen by the unprivileged user "nobody", for when this process may read
// everything (root): a child process gives up its privileges and sends the names back.
// The text is why it could not be done.
struct ListagemSemPrivilegios {
    std::optional<Nomes> nomes;
    std::string motivo;
};

ListagemSemPrivilegios listarComoNinguem(
    const std::vector<PastaDeApps>& pastas, const std::string& legivel, const std::string& ilegivel)
{
    enum : int { kSemTrocaDeUsuario = 70, kFixtureInalcancavel, kAindaLegivel, kErroDeEscrita };
    int canal[2];
    if (::pipe(canal) != 0) {
        return {std::nullopt, "pipe failed"};
    }
    const pid_t filho = ::fork();
    if (filho < 0) {
        ::close(canal[0]);
        ::close(canal[1]);
        return {std::nullopt, "fork failed"};
    }
    if (filho == 0) {
        ::close(canal[0]);
        constexpr uid_t kNinguem = 65534;
        if (::setgroups(0, nullptr) != 0 || ::setgid(kNinguem) != 0 || ::setuid(kNinguem) != 0) {
            ::_exit(kSemTrocaDeUsuario);
        }
        if (DIR* pasta = ::opendir(legivel.c_str())) {
            ::closedir(pasta);
        } else {
            ::_exit(kFixtureInalcancavel);
        }
        if (DIR* pasta = ::opendir(ilegivel.c_str())) {
            ::closedir(pasta);
            ::_exit(kAindaLegivel);
        }
        std::string saida;
        for (const std::string& nome : AppsInstalados::listar(pastas)) {
            saida += nome;
            saida += '\n';
        }
        std::size_t escrito = 0;
        while (escrito < saida.size()) {
            const ssize_t n = ::write(canal[1], saida.data() + escrito, saida.size() - escrito);
            if (n <= 0) {
                ::_exit(kErroDeEscrita);
            }
            escrito += static_cast<std::size_t>(n);
        }
        ::_exit(0);
    }
    ::close(canal[1]);
    std::string recebido;
    char bloco[4096];
    for (ssize_t n; (n = ::read(canal[0], bloco, sizeof bloco)) > 0;) {
        recebido.append(bloco, static_cast<std::size_t>(n));
    }
    ::close(canal[0]);
    int estado = 0;
    ::waitpid(filho, &estado, 0);
    if (!WIFEXITED(estado)) {
        return {std::nullopt, "the unprivileged child did not exit normally"};
    }
    switch (WEXITSTATUS(estado)) {
    case 0:
        break;
    case kSemTrocaDeUsuario:
        return {std::nullopt, "could not switch to the user nobody"};
    case kFixtureInalcancavel:
        return {std::nullopt, "the user nobody cannot reach the temporary folder"};
    case kAindaLegivel:
        return {std::nullopt, "a folder with mode 000 is still readable by the user nobody"};
    default:
        return {std::nullopt, "the unprivileged child failed"};
    }
    Nomes nomes;
    std::size_t inicio = 0;
    for (std::size_t fim; (fim = recebido.find('\n', inicio)) != std::string::npos; inicio = fim + 1) {
        nomes.insert(recebido.substr(inicio, fim - inicio));
    }
    return {nomes, {}};
}

TEST(AppsInstalados, UnreadableFolderContributesNothing)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications/Secreto.app");
    criarPasta(raiz / "System/Applications/Editor.app");
    ASSERT_EQ(::chmod((raiz / "Applications").c_str(), 0), 0);

    DIR* sonda = ::opendir((raiz / "Applications").c_str());
    if (sonda == nullptr) {
        EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Editor"}));
        return;
    }
    ::closedir(sonda);
    // This process overrides permissions (root): a mode of 000 does not stop it reading, so
    // the listing is done again by an unprivileged child.
    ASSERT_EQ(::chmod(raiz.caminho().c_str(), 0755), 0);
    const ListagemSemPrivilegios resultado
        = listarComoNinguem(pastasDeBundles(raiz), raiz / "System/Applications", raiz / "Applications");
    if (!resultado.nomes) {
        GTEST_SKIP() << "running with the power to read folders of mode 000 (root), and " << resultado.motivo
                     << ", so no unreadable folder can be made";
    }
    EXPECT_EQ(*resultado.nomes, Nomes({"Editor"}));
}

TEST(AppsInstalados, AppImageIsStrippedOnlyWhereItIsListed)
{
    PastaTemporaria raiz;
    escrever(raiz / "home/Applications/Krita.AppImage", "");
    escrever(raiz / "home/Applications/Outro.appimage", "");
    escrever(raiz / "Applications/Estranho.AppImage", "");
    criarPasta(raiz / "home/Applications/Editor.app");
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Krita", "Editor"}));
}

TEST(AppsInstalados, NamesThatAreNotUtf8BecomeValidText)
{
    PastaTemporaria raiz;
    criarPasta(raiz / "Applications");
    const std::string nome = raiz / "Applications/Edit\xFFor.app";
    if (::mkdir(nome.c_str(), 0755) != 0) {
        GTEST_SKIP() << "this file system refuses names that are not UTF-8";
    }
    EXPECT_EQ(AppsInstalados::listar(pastasDeBundles(raiz)), Nomes({"Edit\uFFFDor"}));
}

// ---- The folders examined, from the environment ----

TEST(AppsInstaladosPastas, BundleFoldersThenDesktopEntryFoldersInOrder)
{
    CasaFalsa casa;
    const std::vector<PastaDeApps> pastas = AppsInstalados::pastas();
    ASSERT_EQ(pastas.size(), 6u);
    EXPECT_EQ(pastas[0].caminho, "/Applications");
    EXPECT_EQ(pastas[0].finais, std::vector<std::string>({".app"}));
    EXPECT_EQ(pastas[1].caminho, "/System/Applications");
    EXPECT_EQ(pastas[1].finais, std::vector<std::string>({".app"}));
    EXPECT_EQ(pastas[2].caminho, casa / "Applications");
    EXPECT_EQ(pastas[2].finais, std::vector<std::string>({".app", ".AppImage"}));
    EXPECT_EQ(pastas[3].caminho, casa / ".local/share/applications");
    EXPECT_EQ(pastas[4].caminho, casa / "usr/local/share/applications");
    EXPECT_EQ(pastas[5].caminho, casa / "usr/share/applications");
    for (std::size_t i = 3; i < pastas.size(); ++i) {
        EXPECT_EQ(pastas[i].finais, std::vector<std::string>({".desktop"})) << pastas[i].caminho;
    }
}

TEST(AppsInstaladosPastas, DataDirsAreTakenInTheirOrder)
{
    CasaFalsa casa;
    VariavelTemporaria dirs("XDG_DATA_DIRS", "/opt/b/share:/var/lib/flatpak/exports/share:/opt/a/share");
    const std::vector<PastaDeApps> pastas = AppsInstalados::pastas();
    ASSERT_EQ(pastas.size(), 7u);
    EXPECT_EQ(pastas[4].caminho, "/opt/b/share/applications");
    EXPECT_EQ(pastas[5].caminho, "/var/lib/flatpak/exports/share/applications");
    EXPECT_EQ(pastas[6].caminho, "/opt/a/share/applications");
}

TEST(AppsInstaladosPastas, DataDirsDefaultWhenUnsetOrEmpty)
{
    CasaFalsa casa;
    for (const std::optional<std::string>& valor :
        {std::optional<std::string>(), std::optional<std::string>("")}) {
        VariavelTemporaria dirs("XDG_DATA_DIRS", valor);
        const std::vector<PastaDeApps> pastas = AppsInstalados::pastas();
        ASSERT_EQ(pastas.size(), 6u);
        EXPECT_EQ(pastas[4].caminho, "/usr/local/share/applications");
        EXPECT_EQ(pastas[5].caminho, "/usr/share/applications");
    }
}

TEST(AppsInstaladosPastas, EmptyAndRelativeDataDirsAreIgnored)
{
    CasaFalsa casa;
    VariavelTemporaria dirs("XDG_DATA_DIRS", ":relativo/share::/opt/x/share:./y:");
    const std::vector<PastaDeApps> pastas = AppsInstalados::pastas();
    ASSERT_EQ(pastas.size(), 5u);
    EXPECT_EQ(pastas[4].caminho, "/opt/x/share/applications");
}

TEST(AppsInstaladosPastas, DataHomeDefaultsUnderHome)
{
    CasaFalsa casa;
    for (const std::optional<std::string>& valor : {std::optional<std::string>(),
             std::optional<std::string>(""), std::optional<std::string>("rel/share")}) {
        VariavelTemporaria dados("XDG_DATA_HOME", valor);
        EXPECT_EQ(AppsInstalados::pastas()[3].caminho, casa / ".local/share/applications");
    }
    VariavelTemporaria dados("XDG_DATA_HOME", "/srv/dados");
    EXPECT_EQ(AppsInstalados::pastas()[3].caminho, "/srv/dados/applications");
}

TEST(AppsInstaladosPastas, EnvironmentIsReadAtEachCall)
{
    CasaFalsa casa;
    EXPECT_EQ(AppsInstalados::pastas()[2].caminho, casa / "Applications");
    PastaTemporaria outra;
    VariavelTemporaria home("HOME", outra.caminho());
    EXPECT_EQ(AppsInstalados::pastas()[2].caminho, outra / "Applications");
}

// ---- The whole listing in a fake home ----

TEST(AppsInstaladosListar, ReadsHomeBundlesAndDesktopEntriesOfAFakeHome)
{
    CasaFalsa casa;
    criarPasta(casa / "Applications/Editor.app");
    escrever(casa / "Applications/Krita.AppImage", "");
    escrever(casa / ".local/share/applications/org.gnome.Gedit.desktop", "[Desktop Entry]\n");
    escrever(casa / ".local/share/applications/Outro.AppImage", ""); // the ending counts only at home
    escrever(casa / ".local/share/applications/antigo.DESKTOP", "");
    escrever(casa / ".local/share/applications/kde4/okular.desktop", ""); // not listed: too deep
    escrever(casa / "usr/local/share/applications/firefox-esr.desktop", "");
    escrever(casa / "usr/share/applications/org.kde.dolphin.desktop", "");
    escrever(casa / "usr/share/applications/mimeinfo.cache", "");
    escrever(casa / "usr/share/applications/Estranho.app", "");

    const Nomes esperados {"Editor", "Krita", "org.gnome.Gedit", "firefox-esr", "org.kde.dolphin"};
    const Nomes apps = AppsInstalados::listar();
    for (const std::string& nome : esperados) {
        EXPECT_EQ(apps.count(nome), 1u) << nome;
    }
    for (const std::string nome : {"Outro", "Outro.AppImage", "antigo", "antigo.DESKTOP", "okular",
             "mimeinfo", "Estranho", "Estranho.app", "kde4"}) {
        EXPECT_EQ(apps.count(nome), 0u) << nome;
    }
    // Without the system's bundle folders (the usual case on Linux), nothing else is found.
    if (!existe("/Applications") && !existe("/System/Applications")) {
        EXPECT_EQ(apps, esperados);
    }
}

TEST(AppsInstaladosListar, SameNameFromTwoFoldersIsOneElement)
{
    CasaFalsa casa;
    escrever(casa / ".local/share/applications/editor.desktop", "");
    escrever(casa / "usr/share/applications/editor.desktop", "");
    criarPasta(casa / "Applications/editor.app");
    const Nomes apps = AppsInstalados::listar();
    EXPECT_EQ(apps.count("editor"), 1u);
    if (!existe("/Applications") && !existe("/System/Applications")) {
        EXPECT_EQ(apps, Nomes({"editor"}));
    }
}

TEST(AppsInstaladosListar, EmptyFakeHomeFindsNothingOfItsOwn)
{
    CasaFalsa casa;
    if (existe("/Applications") || existe("/System/Applications")) {
        GTEST_SKIP() << "this machine has system application bundle folders";
    }
    EXPECT_EQ(AppsInstalados::listar(), Nomes());
}

} // namespace
} // namespace tarrafa

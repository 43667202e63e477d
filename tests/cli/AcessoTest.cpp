// SPDX-License-Identifier: GPL-3.0-or-later
// What a scan leaves of other people's access times: the report run by an ordinary user on a
// folder and files that belong to someone else, on a disk that keeps access times strictly.
#include "Apoio.hpp"
#include "Executar.hpp"
#include "OutroSistemaDeArquivos.hpp"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarrafa {
namespace {

using Json = nlohmann::json;
using teste::CasaFalsa;
using teste::criarPasta;
using teste::escrever;
using teste::OutroSistemaDeArquivos;

// An ordinary user, nobody's account on a test machine.
constexpr uid_t kOutroUsuario = 4242;
constexpr std::time_t kAcessoAntigo = 1'600'000'000;

timespec acessoDe(const std::string& caminho)
{
    struct stat st {};
    if (::lstat(caminho.c_str(), &st) != 0) {
        ADD_FAILURE() << caminho;
    }
    return st.st_atim;
}

void envelhecerAcesso(const std::string& caminho)
{
    const std::array<timespec, 2> tempos {timespec {kAcessoAntigo, 0}, timespec {0, UTIME_OMIT}};
    ASSERT_EQ(::utimensat(AT_FDCWD, caminho.c_str(), tempos.data(), AT_SYMLINK_NOFOLLOW), 0) << caminho;
}

bool mesmoInstante(timespec a, timespec b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

// tarrafa-cli as the other user (the fake home's variables passed on), its standard output.
std::string comoOutroUsuario(const std::string& argumentos, int& status)
{
    const teste::Execucao execucao = teste::rodar("setpriv --reuid=" + std::to_string(kOutroUsuario) + " --regid="
        + std::to_string(kOutroUsuario) + " --clear-groups '" + TARRAFA_CLI + "' " + argumentos);
    status = execucao.status;
    return execucao.saida;
}

const Json* itemChamado(const Json& raiz, const std::string& nome)
{
    for (const Json& grupo : raiz.at("grupos")) {
        for (const Json& item : grupo.at("itens")) {
            if (item.at("nome") == nome) {
                return &item;
            }
        }
    }
    return nullptr;
}

TEST(CliAcesso, TheReportOfAnotherUsersFolderReadsNoneOfItsFilesAndListsItsFolders)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to mount a disk that keeps access times strictly and to act as another user";
    }
    CasaFalsa casa;
    ASSERT_EQ(::chmod(casa.caminho().c_str(), 0755), 0);
    const std::string disco = casa / "disco";
    criarPasta(disco);
    const OutroSistemaDeArquivos montado(disco, OutroSistemaDeArquivos::Tipo::ramDiskAcessoEstrito, casa.caminho());
    if (!montado.montado()) {
        GTEST_SKIP() << "this machine does not mount a RAM disk";
    }
    ASSERT_EQ(::chmod(disco.c_str(), 0755), 0);
    // Everything below is root's, readable by all.
    const std::string pasta = disco + "/Downloads";
    criarPasta(pasta + "/fotos");
    escrever(pasta + "/.hidden", "escondido.txt\n");
    escrever(pasta + "/escondido.txt", "e");
    const std::string copia(40000, 'c');
    escrever(pasta + "/copia-a.bin", copia);
    escrever(pasta + "/copia-b.bin", copia);
    escrever(pasta + "/fotos/1.jpg", std::string(5000, 'f'));
    for (const char* nome : {"", "/fotos"}) {
        ASSERT_EQ(::chmod((pasta + nome).c_str(), 0755), 0);
        envelhecerAcesso(pasta + nome);
    }
    for (const char* nome : {"/.hidden", "/escondido.txt", "/copia-a.bin", "/copia-b.bin", "/fotos/1.jpg"}) {
        ASSERT_EQ(::chmod((pasta + nome).c_str(), 0644), 0);
        envelhecerAcesso(pasta + nome);
    }
    // The other user's own home, where its cache of hashes goes.
    for (const char* sua : {"", "/.local", "/.local/share", "/.config"}) {
        ASSERT_EQ(::chown((casa.caminho() + sua).c_str(), kOutroUsuario, kOutroUsuario), 0);
    }

    int status = -1;
    const std::string saida = comoOutroUsuario("--json '" + pasta + "'", status);
    ASSERT_EQ(status, 0) << saida;
    const Json raiz = Json::parse(saida);

    // Files: not one read. The ".hidden" list is someone else's, so its names show.
    for (const char* nome : {"/.hidden", "/escondido.txt", "/copia-a.bin", "/copia-b.bin", "/fotos/1.jpg"}) {
        EXPECT_TRUE(mesmoInstante(acessoDe(pasta + nome), timespec {kAcessoAntigo, 0})) << nome;
    }
    EXPECT_NE(itemChamado(raiz, "escondido.txt"), nullptr);
    // Not read, so not compared: neither is taken for a copy of the other.
    for (const char* nome : {"copia-a.bin", "copia-b.bin"}) {
        const Json* item = itemChamado(raiz, nome);
        ASSERT_NE(item, nullptr) << nome;
        EXPECT_TRUE(item->at("duplicataDe").is_null()) << nome;
    }
    // Folders: listed all the same, so that a folder's size is there; the kernel refuses to
    // list someone else's folder without moving its access time on such a disk.
    const Json* fotos = itemChamado(raiz, "fotos");
    ASSERT_NE(fotos, nullptr);
    EXPECT_GE(fotos->at("tamanho").get<std::int64_t>(), 5000);
    EXPECT_FALSE(mesmoInstante(acessoDe(pasta + "/fotos"), timespec {kAcessoAntigo, 0}));
    EXPECT_FALSE(mesmoInstante(acessoDe(pasta), timespec {kAcessoAntigo, 0}));
}

} // namespace
} // namespace tarrafa

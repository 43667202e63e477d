// SPDX-License-Identifier: GPL-3.0-or-later
#include "Apoio.hpp"
#include "Lotes.hpp"

#include "TarrafaCore/Vigia.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>

namespace tarrafa {
namespace {

using namespace std::chrono_literals;
using teste::Lotes;
using teste::PastaTemporaria;
using teste::rapidas;


std::set<std::string> nomes(std::initializer_list<const char*> lista)
{
    return {lista.begin(), lista.end()};
}

TEST(Vigia, ArquivoEscritoDevagarSoApareceDepoisDeFechado)
{
    PastaTemporaria pasta;
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());

    const int fd = ::open((pasta / "relatorio.pdf").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    // Writes spread over more than three quiet spells: nothing is handed over meanwhile.
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(::write(fd, "dados", 5), 5);
        std::this_thread::sleep_for(150ms);
    }
    EXPECT_EQ(lotes.quantos(), 0U);
    ::close(fd);

    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"relatorio.pdf"}));
    EXPECT_FALSE(lote->tudo);
    EXPECT_FALSE(lotes.proximo(400ms)) << "one update, not two";
}

TEST(Vigia, MilArquivosDeUmaVezSaoUmLote)
{
    PastaTemporaria pasta;
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    std::set<std::string> criados;
    for (int i = 0; i < 1000; ++i) {
        const std::string nome = "foto-" + std::to_string(i) + ".jpg";
        teste::escrever(pasta / nome, "jpg");
        criados.insert(nome);
    }
    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, criados);
    EXPECT_FALSE(lotes.proximo(400ms));
}

TEST(Vigia, DownloadRenomeadoAoTerminarNomeiaOsDois)
{
    PastaTemporaria pasta;
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    teste::escrever(pasta / "manual.pdf.crdownload", "parte");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"manual.pdf.crdownload"}));

    std::filesystem::rename(pasta / "manual.pdf.crdownload", pasta / "manual.pdf");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"manual.pdf", "manual.pdf.crdownload"}));
}

TEST(Vigia, ArquivoApagadoEAtributoMudado)
{
    PastaTemporaria pasta;
    teste::escrever(pasta / "velho.zip", "z");
    teste::escrever(pasta / "outro.txt", "t");
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    std::filesystem::remove(pasta / "velho.zip");
    ::chmod((pasta / "outro.txt").c_str(), 0600);
    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"outro.txt", "velho.zip"}));
}

TEST(Vigia, LinkFisicoCriadoInteiroNaoEsperaFechar)
{
    PastaTemporaria pasta;
    PastaTemporaria fora;
    teste::escrever(fora / "pronto.iso", "iso");
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    // Whole the moment it has a name: no one opens it, so nothing will close it.
    if (::link((fora / "pronto.iso").c_str(), (pasta / "pronto.iso").c_str()) != 0) {
        GTEST_SKIP() << "temporary folders on different file systems";
    }
    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"pronto.iso"}));
}

TEST(Vigia, SubpastaQueCresceNomeiaSoASubpastaDoTopo)
{
    PastaTemporaria pasta;
    teste::escrever(pasta / "Projeto/fontes/antigo/a.c", "a");
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    EXPECT_EQ(vigia.pastasVigiadas(), 4U); // the folder, Projeto, fontes, antigo

    teste::escrever(pasta / "Projeto/fontes/antigo/b.c", "bb");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Projeto"}));

    // A folder made below after the start is watched too, and so is what is made inside it.
    std::filesystem::create_directories(pasta / "Projeto/novo/fundo");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Projeto"}));
    teste::escrever(pasta / "Projeto/novo/fundo/c.c", "c");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Projeto"}));

    // A folder created at the top is an entry, and its growth names it.
    std::filesystem::create_directory(pasta / "Fotos");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Fotos"}));
    teste::escrever(pasta / "Fotos/1.jpg", "1");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Fotos"}));
}

TEST(Vigia, PastaRemovidaERecriadaPedeTudoEContinuaVigiando)
{
    PastaTemporaria casa;
    const std::string downloads = casa / "Downloads";
    teste::escrever(downloads + "/a.pdf", "a");
    Lotes lotes;
    Vigia vigia(downloads, rapidas(), lotes.receptor());

    std::filesystem::remove_all(downloads);
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);
    EXPECT_EQ(vigia.pastasVigiadas(), 0U);

    std::filesystem::create_directory(downloads);
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);

    teste::escrever(downloads + "/b.pdf", "b");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"b.pdf"}));
}

TEST(Vigia, PastaQueAindaNaoExisteEhVigiadaQuandoAparece)
{
    PastaTemporaria casa;
    const std::string downloads = casa / "Downloads";
    Lotes lotes;
    Vigia vigia(downloads, rapidas(), lotes.receptor());
    EXPECT_EQ(vigia.pastasVigiadas(), 0U);
    std::filesystem::create_directory(downloads);
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);
    EXPECT_EQ(vigia.pastasVigiadas(), 1U);
}

TEST(Vigia, EstouroDaFilaPedeTudo)
{
    PastaTemporaria pasta;
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    vigia.injetar(Vigia::evento(-1, IN_Q_OVERFLOW));
    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);
    EXPECT_TRUE(lote->nomes.empty());
}

TEST(Vigia, OcultosNaoContamMasODotHiddenPedeTudo)
{
    PastaTemporaria pasta;
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    teste::escrever(pasta / ".oculto", "x");
    teste::escrever(pasta / "visivel.txt", "v");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"visivel.txt"}));
    EXPECT_FALSE(lote->tudo);

    teste::escrever(pasta / ".hidden", "visivel.txt\n");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);
}

TEST(Vigia, HistoricoEscritoAvisa)
{
    PastaTemporaria pasta;
    PastaTemporaria perfil;
    teste::escrever(perfil / "History", "sqlite");
    teste::escrever(perfil / "Cookies", "c");
    Lotes lotes;
    Vigia vigia(pasta.caminho(), rapidas({perfil / "History"}), lotes.receptor());

    // Another file of the profile is no news.
    teste::escrever(perfil / "Cookies", "cc");
    EXPECT_FALSE(lotes.proximo(400ms));

    // The database is kept open and written in place; its journal comes and goes.
    const int fd = ::open((perfil / "History").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, "linha", 5), 5);
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ::close(fd);
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->historicos);
    EXPECT_TRUE(lote->nomes.empty());
    (void)lotes.proximo(400ms); // the close, if it came apart from the write

    teste::escrever(perfil / "History-journal", "j");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->historicos);
}

TEST(Vigia, ListaDeUsosRecentesEscritaAvisaSemPedirOsHistoricos)
{
    PastaTemporaria pasta;
    PastaTemporaria dados;
    Vigia::Opcoes opcoes = rapidas();
    opcoes.usosRecentes = dados / "recently-used.xbel";
    Lotes lotes;
    Vigia vigia(pasta.caminho(), opcoes, lotes.receptor());

    // Another file of the data folder is no news.
    teste::escrever(dados / "outro.xbel", "x");
    EXPECT_FALSE(lotes.proximo(400ms));

    // Written whole beside it and renamed over it, as GLib saves it.
    teste::escrever(dados / "recently-used.xbel.ABC123", "<xbel/>");
    std::filesystem::rename(dados / "recently-used.xbel.ABC123", dados / "recently-used.xbel");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->usosRecentes);
    EXPECT_FALSE(lote->historicos);
    EXPECT_TRUE(lote->nomes.empty());
    EXPECT_FALSE(lote->tudo);
}

std::vector<std::string> tudoEm(const std::string& raiz)
{
    std::vector<std::string> caminhos {raiz};
    for (const auto& e : std::filesystem::recursive_directory_iterator(raiz)) {
        caminhos.push_back(e.path().string());
    }
    std::sort(caminhos.begin(), caminhos.end());
    return caminhos;
}

TEST(Vigia, VigiarNaoMudaNadaNaPasta)
{
    PastaTemporaria pasta;
    teste::escrever(pasta / "a.pdf", "conteudo");
    teste::escrever(pasta / "Projeto/b.txt", "b");
    teste::escrever(pasta / "Projeto/sub/c.txt", "c");
    teste::escrever(pasta / ".hidden", "x\n");
    if (teste::aceitaAtributos(pasta.caminho())) {
        teste::definirAtributo(pasta / "a.pdf", "user.xdg.origin.url", "https://exemplo.org/a.pdf");
    }
    const std::vector<std::string> caminhos = tudoEm(pasta.caminho());
    // Access times two days old: with relatime any read would move them.
    const auto antigo = static_cast<time_t>(::time(nullptr) - 2 * 86400);
    for (const std::string& c : caminhos) {
        timespec tempos[2] {{antigo, 0}, {UTIME_OMIT, UTIME_OMIT}};
        ASSERT_EQ(::utimensat(AT_FDCWD, c.c_str(), tempos, AT_SYMLINK_NOFOLLOW), 0);
    }
    std::map<std::string, teste::Retrato> antes;
    for (const std::string& c : caminhos) {
        antes[c] = teste::retratar(c);
    }
    {
        Lotes lotes;
        Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
        EXPECT_EQ(vigia.pastasVigiadas(), 3U);
        vigia.injetar(Vigia::evento(-1, IN_Q_OVERFLOW));
        ASSERT_TRUE(lotes.proximo());
    }
    for (const std::string& c : caminhos) {
        teste::esperarIgual(antes[c], teste::retratar(c), c);
    }
    EXPECT_EQ(tudoEm(pasta.caminho()), caminhos); // listed last: listing moves access times
}

// Voluntary and involuntary context switches of one thread of this process.
std::optional<long> trocasDeContexto(pid_t tid)
{
    std::ifstream status("/proc/self/task/" + std::to_string(tid) + "/status");
    std::string linha;
    long total = 0;
    bool achou = false;
    while (std::getline(status, linha)) {
        if (linha.starts_with("voluntary_ctxt_switches:") || linha.starts_with("nonvoluntary_ctxt_switches:")) {
            total += std::stol(linha.substr(linha.find(':') + 1));
            achou = true;
        }
    }
    return achou ? std::optional(total) : std::nullopt;
}

std::set<pid_t> fiosDoProcesso()
{
    std::set<pid_t> fios;
    for (const auto& e : std::filesystem::directory_iterator("/proc/self/task")) {
        fios.insert(static_cast<pid_t>(std::stol(e.path().filename().string())));
    }
    return fios;
}

TEST(Vigia, ParadaNaoAcordaNunca)
{
    PastaTemporaria pasta;
    teste::escrever(pasta / "Projeto/b.txt", "b");
    Lotes lotes;
    const std::set<pid_t> antes = fiosDoProcesso();
    Vigia vigia(pasta.caminho(), rapidas(), lotes.receptor());
    std::set<pid_t> novos;
    for (const pid_t tid : fiosDoProcesso()) {
        if (!antes.contains(tid)) {
            novos.insert(tid);
        }
    }
    ASSERT_EQ(novos.size(), 1U);
    const pid_t fio = *novos.begin();

    // Once a batch is handed over the thread goes back to sleep in the kernel for good.
    teste::escrever(pasta / "a.pdf", "a");
    ASSERT_TRUE(lotes.proximo());
    std::this_thread::sleep_for(50ms);
    const std::optional<long> inicio = trocasDeContexto(fio);
    ASSERT_TRUE(inicio);
    std::this_thread::sleep_for(1500ms);
    EXPECT_EQ(trocasDeContexto(fio), inicio);
    EXPECT_EQ(lotes.quantos(), 0U);
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

TEST(VigiaPedido, UmLotePedidoEhEntregueJaComOQueEstavaPendente)
{
    teste::PastaTemporaria pasta;
    Lotes lotes;
    Vigia::Opcoes lentas;
    lentas.calma = std::chrono::seconds(30); // nothing would be handed over by itself in time
    lentas.esperaMaxima = std::chrono::seconds(60);
    Vigia vigia(pasta.caminho(), lentas, lotes.receptor());
    teste::escrever(pasta / "a.pdf", "a");
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the kernel's event is read
    vigia.pedir({.nomes = {}, .conferir = true});
    const std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->conferir);
    EXPECT_EQ(lote->nomes, std::set<std::string> {"a.pdf"});
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

TEST(VigiaLimite, PastaQueNaoPodeSerVigiadaEhRelidaDeTemposEmTemposEnquantoNaoPuder)
{
    teste::PastaTemporaria pasta;
    teste::escrever(pasta / "Projeto/a.c", "a");
    Lotes lotes;
    Vigia::Opcoes opcoes = rapidas();
    opcoes.maximoDePastas = 2; // Projeto and one more
    opcoes.releitura = std::chrono::milliseconds(300);
    Vigia vigia(pasta.caminho(), opcoes, lotes.receptor());
    EXPECT_EQ(vigia.pastasVigiadas(), 2U);
    EXPECT_FALSE(vigia.parcial());

    // One folder more fits; its contents are watched as any other.
    std::filesystem::create_directory(pasta / "Fotos");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_FALSE(lote->tudo);
    EXPECT_FALSE(lote->parcial);
    EXPECT_EQ(vigia.pastasVigiadas(), 3U);

    // The next does not: it is named, and said to be read from time to time.
    std::filesystem::create_directory(pasta / "Musicas");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Musicas"}));
    EXPECT_FALSE(lote->tudo);
    EXPECT_TRUE(lote->parcial);
    EXPECT_TRUE(vigia.parcial());

    // What happens inside it the kernel does not tell; the periodic read names it, and only it.
    teste::escrever(pasta / "Musicas/a.mp3", "mp3");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Musicas"}));
    EXPECT_TRUE(lote->parcial);

    // Room made: it is watched again, and the periodic reads stop.
    std::filesystem::remove_all(pasta / "Fotos");
    lote = lotes.ate([](const LoteDeEventos& l) { return !l.parcial; });
    ASSERT_TRUE(lote);
    EXPECT_FALSE(vigia.parcial());
    EXPECT_EQ(vigia.pastasVigiadas(), 3U); // the folder, Projeto, Musicas
    while (lotes.proximo(200ms)) {
    }
    EXPECT_FALSE(lotes.proximo(1s)) << "no reading without a reason";
    teste::escrever(pasta / "Musicas/b.mp3", "mp3");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, nomes({"Musicas"}));
}

} // namespace
} // namespace tarrafa

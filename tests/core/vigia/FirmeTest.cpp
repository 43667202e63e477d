// SPDX-License-Identifier: GPL-3.0-or-later
// The watcher keeps telling: the folder swapped for another or for a link, a browser's profile
// busy with files that are no news.
#include "Apoio.hpp"
#include "Lotes.hpp"

#include "TarrafaCore/PastaViva.hpp"
#include "TarrafaCore/Vigia.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <unistd.h>

namespace tarrafa {
namespace {

using namespace std::chrono_literals;
using teste::Lotes;
using teste::PastaTemporaria;
using teste::rapidas;


void link(const std::string& destino, const std::string& onde)
{
    std::filesystem::create_directory_symlink(destino, onde);
}

// Points an existing link elsewhere in one step, as `ln -sfn` does: a new link renamed over it.
void apontar(const std::string& destino, const std::string& onde)
{
    const std::string novo = onde + ".novo";
    std::filesystem::create_directory_symlink(destino, novo);
    std::filesystem::rename(novo, onde);
}

TEST(VigiaFirme, PastaTrocadaPorLinkPassaAVigiarODestino)
{
    PastaTemporaria casa;
    const std::string downloads = casa / "Downloads";
    teste::escrever(downloads + "/a.pdf", "a");
    teste::escrever(casa / "Outra/b.pdf", "b");
    Lotes lotes;
    Vigia vigia(downloads, rapidas(), lotes.receptor());

    // Moved aside: what stands at the path is unknown until read again.
    std::filesystem::rename(downloads, casa / "Antiga");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);

    // The path now a link to another folder: read whole, as a fresh start would.
    link("Outra", downloads);
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);

    // What happens there is told; what happens in the old folder is not.
    teste::escrever(casa / "Outra/c.pdf", "c");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, std::set<std::string> {"c.pdf"});
    teste::escrever(casa / "Antiga/d.pdf", "d");
    EXPECT_FALSE(lotes.proximo(400ms));
}

TEST(VigiaFirme, LinkQuePassaAApontarParaOutraPasta)
{
    PastaTemporaria casa;
    const std::string downloads = casa / "Downloads";
    teste::criarPasta(casa / "A");
    teste::criarPasta(casa / "B/Projeto");
    link("A", downloads);
    Lotes lotes;
    Vigia vigia(downloads, rapidas(), lotes.receptor());
    EXPECT_EQ(vigia.pastasVigiadas(), 1U);

    // Nothing happens to A itself: only the link changed.
    apontar("B", downloads);
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->tudo);
    EXPECT_EQ(vigia.pastasVigiadas(), 2U); // B and its Projeto

    teste::escrever(casa / "B/Projeto/x.c", "x");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, std::set<std::string> {"Projeto"});
    teste::escrever(casa / "A/y.pdf", "y");
    EXPECT_FALSE(lotes.proximo(400ms));

    // And back to a folder of its own at that path.
    std::filesystem::remove(downloads);
    lote = lotes.ate([](const LoteDeEventos& l) { return l.tudo; });
    ASSERT_TRUE(lote);
    teste::escrever(downloads + "/z.pdf", "z");
    lote = lotes.ate([](const LoteDeEventos& l) { return l.nomes.contains("z.pdf") || l.tudo; });
    ASSERT_TRUE(lote);
}

TEST(VigiaFirme, ALeituraDepoisDaTrocaMostraAOutraPasta)
{
    teste::CasaFalsa casa;
    const std::string downloads = casa / "Downloads";
    teste::escrever(downloads + "/a.pdf", "a");
    teste::escrever(casa / "Outra/b.pdf", "b");
    PastaViva viva(downloads, {});
    ASSERT_EQ(viva.varrerTudo().mudancas.size(), 1U);
    Lotes lotes;
    Vigia vigia(viva.pasta(), rapidas(), lotes.receptor());

    std::filesystem::rename(downloads, casa / "Antiga");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    (void)viva.aplicar(*lote);
    link(casa / "Outra", downloads);

    // Every batch applied as the command line and the window do, until b.pdf shows.
    bool chegou = false;
    while (!chegou) {
        lote = lotes.proximo();
        ASSERT_TRUE(lote) << "the folder's new contents never came";
        const PastaViva::Atualizacao a = viva.aplicar(*lote);
        EXPECT_FALSE(a.falha);
        for (const PastaViva::Mudanca& m : a.mudancas) {
            chegou = chegou || (m.nome == "b.pdf" && m.evento == PastaViva::Evento::adicionado);
        }
    }
    ASSERT_EQ(viva.itens().size(), 1U);
    EXPECT_EQ(viva.itens().front().nome(), "b.pdf");

    teste::escrever(casa / "Outra/c.pdf", "c");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(viva.aplicar(*lote).mudancas.size(), 1U);
    EXPECT_EQ(viva.itens().size(), 2U);
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

void escreverNoLugar(const std::string& caminho, std::string_view dados)
{
    const int fd = ::open(caminho.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::write(fd, dados.data(), dados.size()), static_cast<ssize_t>(dados.size()));
    ::close(fd);
}

TEST(VigiaFirme, PerfilDoNavegadorOcupadoNaoAcordaOVigia)
{
    PastaTemporaria pasta;
    PastaTemporaria perfil;
    teste::escrever(perfil / "History", "sqlite");
    teste::escrever(perfil / "Cookies", "c");
    teste::escrever(perfil / "sessionstore.jsonlz4", "s");
    teste::escrever(perfil / "places.sqlite", "p");
    teste::escrever(perfil / "places.sqlite-wal", "w");
    Lotes lotes;
    const std::set<pid_t> antes = fiosDoProcesso();
    Vigia vigia(pasta.caminho(), rapidas({perfil / "History", perfil / "places.sqlite"}), lotes.receptor());
    std::set<pid_t> novos;
    for (const pid_t tid : fiosDoProcesso()) {
        if (!antes.contains(tid)) {
            novos.insert(tid);
        }
    }
    ASSERT_EQ(novos.size(), 1U);
    const pid_t fio = *novos.begin();
    std::this_thread::sleep_for(50ms);

    // A browser at work: its other files written over and over.
    const std::optional<long> inicio = trocasDeContexto(fio);
    ASSERT_TRUE(inicio);
    for (int i = 0; i < 100; ++i) {
        escreverNoLugar(perfil / "Cookies", "c");
        escreverNoLugar(perfil / "sessionstore.jsonlz4", "s");
    }
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(trocasDeContexto(fio), inicio) << "the watcher woke for files that are no news";
    EXPECT_EQ(lotes.quantos(), 0U);

    // The histories written in place, and Firefox's write-ahead log: news each time.
    escreverNoLugar(perfil / "History", "linha");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->historicos);
    escreverNoLugar(perfil / "places.sqlite-wal", "linha");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->historicos);

    // A journal that comes only now is watched from then on.
    escreverNoLugar(perfil / "History", "mais");
    ASSERT_TRUE(lotes.proximo());
    std::filesystem::remove(perfil / "places.sqlite-wal");
    (void)lotes.ate([](const LoteDeEventos& l) { return l.historicos; }, 1s);
    teste::escrever(perfil / "places.sqlite-wal", "nova");
    ASSERT_TRUE(lotes.ate([](const LoteDeEventos& l) { return l.historicos; }));
    std::this_thread::sleep_for(300ms);
    while (lotes.proximo(100ms)) {
    }
    escreverNoLugar(perfil / "places.sqlite-wal", "linha");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_TRUE(lote->historicos);
}

// These lower the kernel's allowance of watches for the whole user: they run alone.
TEST(SemVigiasDoSistema, SubpastaSemVigiaTemOTamanhoRelidoDeTemposEmTempos)
{
    teste::CasaFalsa casa;
    const std::string downloads = casa / "Downloads";
    teste::escrever(downloads + "/a.pdf", "a");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    Vigia::Opcoes opcoes = rapidas();
    opcoes.releitura = 300ms;
    Lotes lotes;
    Vigia vigia(viva.pasta(), opcoes, lotes.receptor());
    ASSERT_FALSE(vigia.parcial());

    teste::LimiteDeVigias limite(0);
    if (!limite.valido()) {
        GTEST_SKIP() << "the kernel's allowance of inotify watches cannot be changed here";
    }
    std::filesystem::create_directory(downloads + "/Fotos");
    std::optional<LoteDeEventos> lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, std::set<std::string> {"Fotos"});
    EXPECT_TRUE(lote->parcial);
    EXPECT_TRUE(vigia.parcial());
    (void)viva.aplicar(*lote);
    // Written while nothing watches it.
    teste::escrever(downloads + "/Fotos/grande.jpg", std::string(5000, 'j'));
    limite.restaurar();

    const auto tamanhoDeFotos = [&viva]() -> std::int64_t {
        for (const ItemTriado& item : viva.itens()) {
            if (item.nome() == "Fotos") {
                return item.snapshot().tamanho();
            }
        }
        return -1;
    };
    // Counted as the disk holds it: at least the bytes written.
    while (tamanhoDeFotos() < 5000) {
        lote = lotes.proximo();
        ASSERT_TRUE(lote) << "the folder's new size never showed: " << tamanhoDeFotos();
        EXPECT_FALSE(lote->tudo);
        EXPECT_EQ(lote->nomes, std::set<std::string> {"Fotos"});
        (void)viva.aplicar(*lote);
    }

    // Watches to be had again: watched, and no more periodic reads.
    if (lote->parcial) {
        ASSERT_TRUE(lotes.ate([](const LoteDeEventos& l) { return !l.parcial; }));
    }
    EXPECT_FALSE(vigia.parcial());
    while (lotes.proximo(200ms)) {
    }
    EXPECT_FALSE(lotes.proximo(1s));
    teste::escrever(downloads + "/Fotos/outra.jpg", "j");
    lote = lotes.proximo();
    ASSERT_TRUE(lote);
    EXPECT_EQ(lote->nomes, std::set<std::string> {"Fotos"});
}

TEST(SemVigiasDoSistema, PastaSemVigiaNenhumaEhLidaInteiraDeTemposEmTempos)
{
    PastaTemporaria pasta;
    Vigia::Opcoes opcoes = rapidas();
    opcoes.releitura = 300ms;
    Lotes lotes;
    std::optional<Vigia> vigia;
    {
        teste::LimiteDeVigias limite(0);
        if (!limite.valido()) {
            GTEST_SKIP() << "the kernel's allowance of inotify watches cannot be changed here";
        }
        vigia.emplace(pasta.caminho(), opcoes, lotes.receptor());
        EXPECT_EQ(vigia->erroNaPasta(), std::errc::no_space_on_device);
        EXPECT_TRUE(vigia->parcial());
        EXPECT_EQ(vigia->pastasVigiadas(), 0U);
        const std::optional<LoteDeEventos> lote = lotes.proximo();
        ASSERT_TRUE(lote);
        EXPECT_TRUE(lote->tudo);
        EXPECT_TRUE(lote->parcial);
    }
    // Once watches can be had, the folder is watched as at any start.
    ASSERT_TRUE(lotes.ate([](const LoteDeEventos& l) { return !l.parcial; }));
    EXPECT_FALSE(vigia->erroNaPasta());
    EXPECT_EQ(vigia->pastasVigiadas(), 1U);
}

} // namespace
} // namespace tarrafa

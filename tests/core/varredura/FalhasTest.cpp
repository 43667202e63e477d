// SPDX-License-Identifier: GPL-3.0-or-later
// A scan racing with the world: the folder or its entries change while it reads them. The
// scan may see the old state, the new one or a mix, but it never crashes, never hangs, never
// invents an entry and never changes anything itself.
#include "Apoio.hpp"

#include "TarrafaCore/PastaScanner.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tarrafa {
namespace {

using teste::CasaFalsa;
using teste::PastaTemporaria;

constexpr int kEntradas = 300;

std::string nomeDe(int i)
{
    return "arquivo-" + std::to_string(i) + ".pdf";
}

void povoar(const std::string& pasta)
{
    teste::criarPasta(pasta);
    for (int i = 0; i < kEntradas; ++i) {
        teste::escrever(pasta + "/" + nomeDe(i), std::string(static_cast<std::size_t>(i % 7) * 100, 'x'));
    }
    teste::escrever(pasta + "/Projeto/a.txt", "a");
}

std::set<std::string> nomesPossiveis()
{
    std::set<std::string> nomes {"Projeto"};
    for (int i = 0; i < kEntradas; ++i) {
        nomes.insert(nomeDe(i));
    }
    return nomes;
}

// Every snapshot names an entry that really was in the folder, with a sane size.
void esperarCoerente(const std::vector<FileSnapshot>& snapshots, const std::set<std::string>& possiveis)
{
    for (const FileSnapshot& s : snapshots) {
        EXPECT_TRUE(possiveis.contains(s.nome())) << s.nome();
        EXPECT_GE(s.tamanho(), 0) << s.nome();
    }
}

TEST(FalhasDaVarredura, FolderThatDisappearsDuringTheScanEndsCleanly)
{
    CasaFalsa casa;
    PastaTemporaria raiz;
    const std::string downloads = raiz / "Downloads";
    const std::string afastada = raiz / "Afastada";
    const std::set<std::string> possiveis = nomesPossiveis();

    int falhas = 0;
    int completas = 0;
    constexpr int kRodadas = 24;
    for (int rodada = 0; rodada < kRodadas; ++rodada) {
        povoar(downloads);
        // Even rounds move the folder away, odd rounds remove it with everything in it (as a
        // person emptying it by hand would); each pair of rounds does it a little later.
        const bool remover = rodada % 2 == 1;
        std::atomic<bool> comecar {false};
        std::thread ladrao([&] {
            while (!comecar.load()) {
                std::this_thread::yield();
            }
            ::usleep(static_cast<useconds_t>((rodada / 2) * 200));
            if (remover) {
                std::filesystem::remove_all(downloads);
            } else {
                ASSERT_EQ(std::rename(downloads.c_str(), afastada.c_str()), 0) << std::strerror(errno);
            }
        });
        comecar.store(true);
        try {
            const std::vector<FileSnapshot> snapshots = PastaScanner().varrer(downloads);
            esperarCoerente(snapshots, possiveis);
            ++completas;
        } catch (const std::system_error& erro) {
            EXPECT_FALSE(erro.code().message().empty());
            ++falhas;
        }
        ladrao.join();
        if (!remover) {
            // The scan took nothing with it: every file is where the move put it.
            for (int i = 0; i < kEntradas; ++i) {
                ASSERT_EQ(::access((afastada + "/" + nomeDe(i)).c_str(), F_OK), 0) << nomeDe(i);
            }
            std::filesystem::remove_all(afastada);
        }
    }
    EXPECT_EQ(falhas + completas, kRodadas);
    RecordProperty("falhas", falhas);
    RecordProperty("completas", completas);
    // Once it is gone for good, listing it is the platform's error.
    EXPECT_THROW((void)PastaScanner().varrer(downloads), std::system_error);
}

TEST(FalhasDaVarredura, EntriesThatVanishOrChangeBetweenListingAndReading)
{
    CasaFalsa casa;
    PastaTemporaria raiz;
    const std::string downloads = raiz / "Downloads";
    povoar(downloads);
    const bool atributos = teste::aceitaAtributos(raiz.caminho());
    const std::set<std::string> possiveis = nomesPossiveis();

    std::atomic<bool> parar {false};
    std::thread agitador([&] {
        int i = 0;
        while (!parar.load()) {
            const std::string caminho = downloads + "/" + nomeDe(i % kEntradas);
            switch (i % 4) {
            case 0: // gone
                ::unlink(caminho.c_str());
                break;
            case 1: // back, bigger, with an origin
                teste::escrever(caminho, std::string(4096, 'y'));
                if (atributos) {
                    ::setxattr(caminho.c_str(), "user.xdg.origin.url", "https://exemplo.org/", 20, 0);
                }
                break;
            case 2: // replaced by a folder of the same name
                ::unlink(caminho.c_str());
                ::mkdir(caminho.c_str(), 0755);
                break;
            default: // and by a file again
                ::rmdir(caminho.c_str());
                teste::escrever(caminho, "z");
                break;
            }
            ++i;
        }
    });
    int varreduras = 0;
    for (; varreduras < 40; ++varreduras) {
        const std::vector<FileSnapshot> snapshots = PastaScanner().varrer(downloads);
        esperarCoerente(snapshots, possiveis);
        EXPECT_LE(snapshots.size(), possiveis.size());
    }
    parar.store(true);
    agitador.join();
    EXPECT_EQ(varreduras, 40);

    // Once the folder is still, a scan sees exactly what is there.
    std::set<std::string> presentes;
    for (const auto& entrada : std::filesystem::directory_iterator(downloads)) {
        presentes.insert(entrada.path().filename().string());
    }
    std::set<std::string> vistos;
    for (const FileSnapshot& s : PastaScanner().varrer(downloads)) {
        vistos.insert(s.nome());
    }
    EXPECT_EQ(vistos, presentes);
}

TEST(FalhasDaVarredura, SubFolderThatVanishesWhileItsSizeIsSummed)
{
    CasaFalsa casa;
    PastaTemporaria raiz;
    const std::string downloads = raiz / "Downloads";
    teste::criarPasta(downloads);
    for (int i = 0; i < 2000; ++i) {
        teste::escrever(downloads + "/Grande/sub" + std::to_string(i % 20) + "/f" + std::to_string(i), "x");
    }
    std::atomic<bool> parar {false};
    std::thread agitador([&] {
        while (!parar.load()) {
            std::error_code ignorado;
            std::filesystem::rename(downloads + "/Grande", raiz / "Grande", ignorado);
            std::filesystem::rename(raiz / "Grande", downloads + "/Grande", ignorado);
        }
    });
    for (int i = 0; i < 30; ++i) {
        for (const FileSnapshot& s : PastaScanner().varrer(downloads)) {
            EXPECT_EQ(s.nome(), "Grande");
            EXPECT_TRUE(s.ehPasta());
            EXPECT_GE(s.tamanho(), 0);
        }
    }
    parar.store(true);
    agitador.join();
}

TEST(FalhasDaVarredura, FolderSwappedForALinkMidScanIsNotFollowed)
{
    CasaFalsa casa;
    PastaTemporaria raiz;
    const std::string downloads = raiz / "Downloads";
    teste::escrever(downloads + "/Pasta/a.txt", "a");
    // Far bigger than the folder itself, outside the scanned folder.
    for (int i = 0; i < 50; ++i) {
        teste::escrever(raiz / ("Fora/f" + std::to_string(i)), std::string(8192, 'x'));
    }
    const std::int64_t tamanhoDaPasta = PastaScanner::tamanhoDaPasta(downloads + "/Pasta");
    const std::int64_t tamanhoDeFora = PastaScanner::tamanhoDaPasta(raiz / "Fora");
    ASSERT_LT(tamanhoDaPasta, tamanhoDeFora);
    ASSERT_EQ(::symlink((raiz / "Fora").c_str(), (raiz / "Atalho").c_str()), 0);

    // "Pasta" and a link to the outside folder trade places again and again, atomically.
    std::atomic<bool> parar {false};
    std::thread trocador([&] {
        while (!parar.load()) {
            ::renameat2(AT_FDCWD, (downloads + "/Pasta").c_str(), AT_FDCWD, (raiz / "Atalho").c_str(),
                RENAME_EXCHANGE);
        }
    });
    int vistasComoPasta = 0;
    for (int i = 0; i < 300; ++i) {
        for (const FileSnapshot& s : PastaScanner().varrer(downloads)) {
            if (s.ehPasta()) {
                ++vistasComoPasta;
                // Its own size, or nothing when the link took its place before it was opened.
                EXPECT_TRUE(s.tamanho() == tamanhoDaPasta || s.tamanho() == 0) << s.tamanho();
            }
        }
    }
    parar.store(true);
    trocador.join();
    EXPECT_GT(vistasComoPasta, 0);
}

} // namespace
} // namespace tarrafa

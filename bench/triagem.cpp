// SPDX-License-Identifier: GPL-3.0-or-later
// Triage benchmark: TriageEngine::triar over generated Downloads folders of 10,000 and
// 100,000 entries with realistic names (ordinary documents, copies, series with several
// extensions, installers, camera, UUID and hash names, screenshots), a third of them with
// where-from addresses of several hosts, against a realistic set of installed applications.
//
// Read "tempo_por_arquivo" (seconds per entry): equal values for both sizes mean linear growth; the ratio of
// the two times is printed by the complexity fit (BM_Triar_BigO) and can be read off the two rows. The goal
// is under 20 ms for 10,000 entries on one core.

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/FileSnapshot.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using tarrafa::Date;
using tarrafa::FileSnapshot;

constexpr std::array kPalavras {"Relatorio", "contrato", "Proposta comercial", "notas de reunião",
    "orçamento", "apresentacao", "Planilha de custos", "boleto", "nota fiscal", "curriculo", "certidão",
    "ata", "manual do usuário", "fatura", "extrato", "Projeto final"};
// The same words without accents: plain ASCII names take the text analyses' fast path.
constexpr std::array kPalavrasAscii {"Relatorio", "contrato", "Proposta comercial", "notas de reuniao",
    "orcamento", "apresentacao", "Planilha de custos", "boleto", "nota fiscal", "curriculo", "certidao",
    "ata", "manual do usuario", "fatura", "extrato", "Projeto final"};
constexpr std::array kExtensoes {"pdf", "docx", "xlsx", "pptx", "txt", "zip", "odt", "csv", "png", "jpg"};
constexpr std::array kInstaladores {"Firefox %d.0.1.dmg", "code_1.%d.1-1702462158_amd64.deb",
    "Editor-2.%d-x86_64.AppImage", "Zoom_v5.%d.pkg", "slack-desktop-4.%d.0-amd64.deb",
    "Obsidian-1.%d.AppImage", "libreoffice-7.%d.rpm", "Docker %d.dmg", "VLC-3.0.%d.dmg"};
constexpr std::array kEnderecos {
    "https://web.whatsapp.com/",
    "https://teams.microsoft.com/l/file/%d",
    "https://github.com/exemplo/projeto/releases/download/v%d/app.zip",
    "https://contoso.sharepoint.com/personal/ana_souza_contoso_com/Documents/arquivo%d.docx",
    "https://contoso.sharepoint.com/sites/financeiro/Shared%%20Documents/%d.xlsx",
    "https://drive.google.com/uc?id=%d&export=download",
    "https://mail.google.com/mail/u/0/?ui=2&attid=0.%d",
    "https://www.example.org/downloads/%d.pdf",
    "https://cdn.example.net/files/%d/pacote.zip",
    "https://files.slack.com/files-pri/T0-F%d/download/nota.txt",
    "https://www.dropbox.com/s/%d/fotos.zip?dl=1",
    "https://downloads.exemplo.com.br/%d/setup.deb",
};

std::string formatar(const char* modelo, int n)
{
    char texto[256];
    std::snprintf(texto, sizeof texto, modelo, n);
    return texto;
}

std::string uuid(std::mt19937& sorteio)
{
    static constexpr char kHex[] = "0123456789abcdef";
    std::string texto;
    for (const int grupo : {8, 4, 4, 4, 12}) {
        if (!texto.empty()) {
            texto += '-';
        }
        for (int i = 0; i < grupo; ++i) {
            texto += kHex[sorteio() % 16];
        }
    }
    return texto;
}

std::string hash(std::mt19937& sorteio)
{
    static constexpr char kHex[] = "0123456789abcdef";
    std::string texto;
    for (int i = 0; i < 32; ++i) {
        texto += kHex[sorteio() % 16];
    }
    return texto;
}

// Names as a Downloads folder collects them; the index keeps them unique.
std::vector<std::string> gerarNomes(int quantidade, bool comAcentos, std::mt19937& sorteio)
{
    std::vector<std::string> nomes;
    nomes.reserve(static_cast<std::size_t>(quantidade));
    int i = 0;
    const auto palavra = [&] {
        const std::size_t p = sorteio() % kPalavras.size();
        return std::string(comAcentos ? kPalavras[p] : kPalavrasAscii[p]);
    };
    const auto extensao = [&] { return std::string(kExtensoes[sorteio() % kExtensoes.size()]); };
    while (static_cast<int>(nomes.size()) < quantidade) {
        const std::string base = palavra() + " " + std::to_string(i);
        switch (sorteio() % 10) {
        case 0: // a series: one document, its export and a second download
            nomes.push_back(base + ".docx");
            nomes.push_back(base + ".pdf");
            nomes.push_back(base + " (1).pdf");
            break;
        case 1: // copies
            nomes.push_back(base + (sorteio() % 2 == 0 ? " (2)." : " copy.") + extensao());
            break;
        case 2: // installers
            nomes.push_back(formatar(kInstaladores[sorteio() % kInstaladores.size()], i));
            break;
        case 3: // camera and screen defaults
            nomes.push_back((sorteio() % 2 == 0 ? "IMG_" : "DSC-") + std::to_string(1000 + i) + ".jpg");
            break;
        case 4: // UUID and hash names
            nomes.push_back((sorteio() % 2 == 0 ? uuid(sorteio) : hash(sorteio)) + "." + extensao());
            break;
        default: // ordinary names
            nomes.push_back(base + "." + extensao());
            break;
        }
        ++i;
    }
    nomes.resize(static_cast<std::size_t>(quantidade));
    return nomes;
}

std::vector<FileSnapshot> gerarPasta(int quantidade, bool comAcentos)
{
    std::mt19937 sorteio(20240307);
    const std::vector<std::string> nomes = gerarNomes(quantidade, comAcentos, sorteio);
    const Date agora = Date::desde1970(1'709'812'800.0);
    std::vector<FileSnapshot> pasta;
    pasta.reserve(nomes.size());
    for (std::size_t i = 0; i < nomes.size(); ++i) {
        const Date criado = agora + -static_cast<double>(sorteio() % (400U * 86400U));
        std::optional<Date> baixado;
        std::vector<std::string> origens;
        if (i % 3 == 0) {
            baixado = criado;
            origens.push_back(formatar(kEnderecos[sorteio() % kEnderecos.size()], static_cast<int>(i)));
        }
        std::optional<Date> usado;
        if (sorteio() % 2 == 0) {
            usado = criado + static_cast<double>(sorteio() % (30U * 86400U));
        }
        const bool captura = nomes[i].starts_with("IMG_") && sorteio() % 4 == 0;
        pasta.emplace_back("/home/ana/Downloads/" + nomes[i], nomes[i], false,
            static_cast<std::int64_t>(sorteio() % 50'000'000U), baixado, criado, usado, std::move(origens),
            captura, std::nullopt);
    }
    return pasta;
}

// What a desktop lists: bundle-style names and desktop-entry names.
std::set<std::string> appsInstalados()
{
    std::set<std::string> apps {"firefox-esr", "org.gnome.Nautilus", "org.gnome.Terminal",
        "libreoffice-writer", "libreoffice-calc", "code", "Docker", "slack", "thunderbird", "gimp",
        "inkscape", "org.kde.dolphin", "vlc", "obsidian", "Zoom", "com.github.tchx84.Flatseal",
        "org.telegram.desktop", "Microsoft Teams classic"};
    for (int i = 0; static_cast<int>(apps.size()) < 150; ++i) {
        apps.insert("org.exemplo.Aplicativo" + std::to_string(i));
    }
    return apps;
}

void triar(benchmark::State& state, bool comAcentos)
{
    const std::vector<FileSnapshot> pasta = gerarPasta(static_cast<int>(state.range(0)), comAcentos);
    const tarrafa::TriageEngine motor(appsInstalados());
    for (auto _ : state) {
        std::vector<tarrafa::GrupoOrigem> grupos = motor.triar(pasta);
        benchmark::DoNotOptimize(grupos);
    }
    state.SetComplexityN(state.range(0));
    state.counters["tempo_por_arquivo"] = benchmark::Counter(static_cast<double>(state.range(0)),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// A Portuguese-speaking user's folder: about a fifth of the names carry accents.
void BM_Triar(benchmark::State& state)
{
    triar(state, true);
}
// The same folder with every name in plain ASCII, to show what the accented names cost.
void BM_TriarNomesAscii(benchmark::State& state)
{
    triar(state, false);
}

} // namespace

BENCHMARK(BM_Triar)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);
BENCHMARK(BM_TriarNomesAscii)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

BENCHMARK_MAIN();

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Apoio.hpp"
#include "BancoDeTeste.hpp"

#include "TarrafaCore/PastaViva.hpp"
#include "TarrafaCore/RaioX.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <map>

namespace tarrafa {
namespace {

using teste::Banco;
using teste::CasaFalsa;
using Evento = PastaViva::Evento;

// The changes of one update, by name, so that tests need not care for their order.
std::map<std::string, const PastaViva::Mudanca*> porNome(const PastaViva::Atualizacao& a)
{
    std::map<std::string, const PastaViva::Mudanca*> mapa;
    for (const PastaViva::Mudanca& m : a.mudancas) {
        EXPECT_FALSE(mapa.contains(m.nome)) << "one change per entry: " << m.nome;
        mapa[m.nome] = &m;
    }
    return mapa;
}

std::vector<std::string> nomesDe(const std::vector<ItemTriado>& itens)
{
    std::vector<std::string> nomes;
    for (const ItemTriado& item : itens) {
        nomes.push_back(item.nome());
    }
    std::sort(nomes.begin(), nomes.end());
    return nomes;
}

bool temSelo(const ItemTriado& item, Selo::Caso caso)
{
    return std::ranges::any_of(item.selos(), [caso](const Selo& s) { return s.caso() == caso; });
}

class PastaVivaTest : public ::testing::Test {
protected:
    CasaFalsa casa;
    teste::PastaDeCopias copias;
    std::string downloads = casa / "Downloads";

    void SetUp() override { teste::criarPasta(downloads); }

    [[nodiscard]] std::string em(const std::string& nome) const { return downloads + "/" + nome; }
};

TEST_F(PastaVivaTest, APrimeiraLeituraAdicionaTudoEReconheceDownloadsEmAndamento)
{
    teste::escrever(em("relatorio.pdf"), "pdf");
    teste::escrever(em("filme.mp4.crdownload"), "parte");
    teste::escrever(em("video.webm"), ""); // Firefox's empty placeholder...
    teste::escrever(em("video.webm.part"), "parte"); // ...beside its partial file
    teste::escrever(em("vazio.txt"), "");
    PastaViva viva(downloads, {});
    const PastaViva::Atualizacao a = viva.varrerTudo();
    EXPECT_TRUE(a.completa);
    EXPECT_FALSE(a.falha);
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 5U);
    for (const auto& [nome, mudanca] : m) {
        EXPECT_EQ(mudanca->evento, Evento::adicionado) << nome;
        ASSERT_TRUE(mudanca->item) << nome;
        EXPECT_EQ(mudanca->id, em(nome));
    }
    EXPECT_TRUE(m.at("filme.mp4.crdownload")->baixando);
    EXPECT_TRUE(m.at("video.webm")->baixando);
    EXPECT_TRUE(m.at("video.webm.part")->baixando);
    EXPECT_FALSE(m.at("relatorio.pdf")->baixando);
    EXPECT_FALSE(m.at("vazio.txt")->baixando);
    // A download still arriving carries no badge, not even "never opened".
    EXPECT_TRUE(m.at("filme.mp4.crdownload")->item->selos().empty());
    EXPECT_FALSE(m.at("relatorio.pdf")->item->selos().empty());
    EXPECT_EQ(nomesDe(viva.itens()), (std::vector<std::string> {"relatorio.pdf", "vazio.txt"}));
    EXPECT_EQ(nomesDe(viva.baixando()),
        (std::vector<std::string> {"filme.mp4.crdownload", "video.webm", "video.webm.part"}));
}

TEST_F(PastaVivaTest, SoOsNomesDoLoteSaoLidosDeNovo)
{
    teste::escrever(em("a.pdf"), "a");
    teste::escrever(em("b.pdf"), "b");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();

    teste::escrever(em("novo.zip"), "zip");
    teste::escrever(em("a.pdf"), "a maior");
    std::filesystem::remove(em("b.pdf"));
    // Changed, but not named: a batch reads only what it names.
    teste::escrever(em("intocado.txt"), "t");
    const PastaViva::Atualizacao a = viva.aplicar({.nomes = {"novo.zip", "a.pdf", "b.pdf", "sumido.txt"}});
    EXPECT_FALSE(a.completa);
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 3U);
    EXPECT_EQ(m.at("novo.zip")->evento, Evento::adicionado);
    EXPECT_EQ(m.at("a.pdf")->evento, Evento::alterado);
    EXPECT_EQ(m.at("a.pdf")->item->snapshot().tamanho(), 7);
    EXPECT_EQ(m.at("b.pdf")->evento, Evento::removido);
    EXPECT_FALSE(m.at("b.pdf")->item);
    EXPECT_EQ(nomesDe(viva.itens()), (std::vector<std::string> {"a.pdf", "novo.zip"}));

    // Named again with nothing changed: no news.
    EXPECT_TRUE(viva.aplicar({.nomes = {"a.pdf"}}).mudancas.empty());
}

TEST_F(PastaVivaTest, DownloadDoChromiumTerminadoViraEntradaComum)
{
    teste::escrever(em("manual.pdf.crdownload"), "parte");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    std::filesystem::rename(em("manual.pdf.crdownload"), em("manual.pdf"));
    const auto a = viva.aplicar({.nomes = {"manual.pdf", "manual.pdf.crdownload"}});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 2U);
    EXPECT_EQ(m.at("manual.pdf.crdownload")->evento, Evento::removido);
    EXPECT_TRUE(m.at("manual.pdf.crdownload")->baixando);
    EXPECT_EQ(m.at("manual.pdf")->evento, Evento::adicionado);
    EXPECT_FALSE(m.at("manual.pdf")->baixando);
    EXPECT_TRUE(temSelo(*m.at("manual.pdf")->item, Selo::Caso::nuncaAberto));
    EXPECT_TRUE(viva.baixando().empty());
}

TEST_F(PastaVivaTest, ReservaDoFirefoxViraOArquivoQuandoOPartEhRenomeado)
{
    teste::escrever(em("video.webm"), "");
    teste::escrever(em("video.webm.part"), "parte");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    EXPECT_EQ(viva.itens().size(), 0U);
    std::filesystem::rename(em("video.webm.part"), em("video.webm"));
    // The watcher names only the partial file's move; the placeholder is looked at with it.
    const auto a = viva.aplicar({.nomes = {"video.webm.part"}});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 2U);
    EXPECT_EQ(m.at("video.webm.part")->evento, Evento::removido);
    EXPECT_EQ(m.at("video.webm")->evento, Evento::alterado);
    EXPECT_FALSE(m.at("video.webm")->baixando);
    EXPECT_EQ(m.at("video.webm")->item->snapshot().tamanho(), 5);
    EXPECT_EQ(nomesDe(viva.itens()), (std::vector<std::string> {"video.webm"}));
}

TEST_F(PastaVivaTest, UmaCopiaNovaMudaOSeloDoOriginalSemQueEleSejaNomeado)
{
    teste::escrever(em("contrato.pdf"), "c");
    teste::escrever(em("outro.txt"), "o");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    teste::escrever(em("contrato (1).pdf"), "c");
    const auto a = viva.aplicar({.nomes = {"contrato (1).pdf"}});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 2U);
    EXPECT_EQ(m.at("contrato (1).pdf")->evento, Evento::adicionado);
    EXPECT_EQ(m.at("contrato.pdf")->evento, Evento::alterado);
    EXPECT_TRUE(temSelo(*m.at("contrato.pdf")->item, Selo::Caso::pareceRelacionado));

    std::filesystem::remove(em("contrato (1).pdf"));
    const auto b = viva.aplicar({.nomes = {"contrato (1).pdf"}});
    const auto depois = porNome(b);
    ASSERT_EQ(depois.size(), 2U);
    EXPECT_FALSE(temSelo(*depois.at("contrato.pdf")->item, Selo::Caso::pareceRelacionado));
}

TEST_F(PastaVivaTest, DepoisDeMuitosLotesIgualAUmaLeituraNova)
{
    for (int i = 0; i < 20; ++i) {
        teste::escrever(em("doc-" + std::to_string(i) + ".pdf"), std::string(static_cast<std::size_t>(i), 'x'));
    }
    teste::escrever(em("Projeto/a.c"), "a");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    teste::escrever(em("Projeto/b.c"), std::string(10000, 'b'));
    teste::escrever(em("doc-3 (1).pdf"), "cópia");
    std::filesystem::remove(em("doc-5.pdf"));
    teste::escrever(em("doc-7.pdf"), "mudou");
    (void)viva.aplicar({.nomes = {"Projeto", "doc-3 (1).pdf"}});
    (void)viva.aplicar({.nomes = {"doc-5.pdf", "doc-7.pdf"}});

    PastaViva nova(downloads, {});
    (void)nova.varrerTudo();
    std::map<std::string, ItemTriado> esperados;
    for (const ItemTriado& item : nova.itens()) {
        esperados.emplace(item.id(), item);
    }
    std::map<std::string, ItemTriado> obtidos;
    for (const ItemTriado& item : viva.itens()) {
        obtidos.emplace(item.id(), item);
    }
    EXPECT_EQ(obtidos, esperados);
    // The groups hold the same items.
    ASSERT_EQ(viva.grupos().size(), nova.grupos().size());
    EXPECT_EQ(viva.grupos().front().total(), nova.grupos().front().total());
}

TEST_F(PastaVivaTest, PastaRemovidaRemoveTudoEDizPorque)
{
    teste::escrever(em("a.pdf"), "a");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    std::filesystem::remove_all(downloads);
    const auto a = viva.aplicar({.nomes = {}, .tudo = true});
    ASSERT_TRUE(a.falha);
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 1U);
    EXPECT_EQ(m.at("a.pdf")->evento, Evento::removido);

    teste::escrever(em("b.pdf"), "b");
    const auto b = viva.aplicar({.nomes = {}, .tudo = true});
    const auto depois = porNome(b);
    ASSERT_EQ(depois.size(), 1U);
    EXPECT_EQ(depois.at("b.pdf")->evento, Evento::adicionado);
}

TEST_F(PastaVivaTest, HistoricoEscritoDepoisDoArquivoTrazAOrigem)
{
    const std::string historico = casa / ".config/chromium/Default/History";
    {
        Banco banco(historico);
        teste::criarTabelasChromium(banco);
    }
    teste::escrever(em("fatura.pdf"), "pdf");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    ASSERT_EQ(viva.bancosDeHistorico(), std::vector<std::string> {historico});
    ASSERT_TRUE(viva.itens().front().snapshot().origens().empty());

    // About ten seconds after the file is complete, Chromium writes its row.
    {
        Banco banco(historico);
        banco.inserirDownload(1, em("fatura.pdf"), teste::chromium(1'700'000'000.0), 0, 0,
            "https://loja.exemplo.com/pedidos", {"https://cdn.exemplo.com/fatura.pdf"});
    }
    const auto a = viva.aplicar({.nomes = {}, .historicos = true});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 1U);
    EXPECT_EQ(m.at("fatura.pdf")->evento, Evento::origemEncontrada);
    EXPECT_EQ(m.at("fatura.pdf")->item->snapshot().origens().front(), "https://cdn.exemplo.com/fatura.pdf");
    EXPECT_NE(m.at("fatura.pdf")->item->origem().chave(), Origem::kChaveSemOrigem);
    EXPECT_TRUE(copias.vazia());

    // Read again, the history has nothing new to say.
    EXPECT_TRUE(viva.aplicar({.nomes = {}, .historicos = true}).mudancas.empty());
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

// The desktop's recently-used list, saying an image viewer opened the file at that moment.
std::string listaDeUsos(const std::string& caminho, std::chrono::system_clock::time_point quando)
{
    const std::time_t segundos = std::chrono::system_clock::to_time_t(quando);
    std::tm utc {};
    gmtime_r(&segundos, &utc);
    char data[32];
    std::strftime(data, sizeof data, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return std::string(R"(<?xml version="1.0" encoding="UTF-8"?>
<xbel version="1.0" xmlns:bookmark="http://www.freedesktop.org/standards/desktop-bookmarks">
  <bookmark href="file://)") + caminho + R"(" added=")" + data + R"(" modified=")" + data + R"(" visited=")" + data
        + R"(">
    <info><metadata owner="http://freedesktop.org"><bookmark:applications>
      <bookmark:application name="eog" exec="&apos;eog %u&apos;" modified=")"
        + data + R"(" count="1"/>
    </bookmark:applications></metadata></info>
  </bookmark>
</xbel>
)";
}

TEST_F(PastaVivaTest, ArquivoAbertoDepoisDeLidoDeixaDeSerNuncaAbertoQuandoAListaMuda)
{
    teste::escrever(em("foto.png"), "png");
    teste::escrever(em("outra.png"), "outra");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    for (const ItemTriado& item : viva.itens()) {
        ASSERT_TRUE(item.snapshot().nuncaReaberto()) << item.nome();
    }

    // Opened an hour after it arrived: a use, not the opening on download.
    teste::criarPasta(casa / ".local/share");
    teste::escrever(casa / ".local/share/recently-used.xbel",
        listaDeUsos(em("foto.png"), std::chrono::system_clock::now() + std::chrono::hours(1)));
    const auto a = viva.aplicar({.nomes = {}, .historicos = false, .usosRecentes = true});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 1U);
    EXPECT_EQ(m.at("foto.png")->evento, Evento::alterado);
    EXPECT_FALSE(m.at("foto.png")->item->snapshot().nuncaReaberto());
    EXPECT_TRUE(temSelo(*m.at("foto.png")->item, Selo::Caso::abertoEm));
    EXPECT_FALSE(temSelo(*m.at("foto.png")->item, Selo::Caso::nuncaAberto));

    // Read again, the list has nothing new to say.
    EXPECT_TRUE(viva.aplicar({.nomes = {}, .historicos = false, .usosRecentes = true}).mudancas.empty());
}

TEST_F(PastaVivaTest, GruposEDiagnosticoIguaisAosDeUmaVarredura)
{
    const char* nomes[] = {"a.pdf", "a (1).pdf", "setup-1.2.deb", "IMG_2041.jpg", "9f8e7d6c5b4a.bin", "notas.txt",
        "relatorio.docx", "relatorio.pdf"};
    double quando = 1'700'000'000;
    for (const char* nome : nomes) {
        teste::escrever(em(nome), nome);
        teste::definirMtime(em(nome), quando);
        quando += 3600;
    }
    if (teste::aceitaAtributos(downloads)) {
        teste::definirAtributo(em("a.pdf"), "user.xdg.origin.url", "https://github.com/x/a.pdf");
        teste::definirAtributo(em("notas.txt"), "user.xdg.origin.url", "https://github.com/x/notas.txt");
        teste::definirAtributo(em("IMG_2041.jpg"), "user.xdg.origin.url", "https://web.whatsapp.com/");
    }
    teste::criarPasta(em("Projeto"));
    teste::escrever(em("Projeto/x.c"), "x");

    const TriageEngine triagem({});
    const std::vector<FileSnapshot> snapshots = PastaScanner().varrer(downloads);
    const std::vector<GrupoOrigem> esperados = triagem.triar(snapshots);
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    const std::vector<GrupoOrigem> obtidos = viva.grupos();
    ASSERT_EQ(obtidos.size(), esperados.size());
    for (std::size_t g = 0; g < esperados.size(); ++g) {
        EXPECT_EQ(obtidos[g].id(), esperados[g].id());
        EXPECT_EQ(obtidos[g].origem(), esperados[g].origem());
        EXPECT_EQ(obtidos[g].itens(), esperados[g].itens()) << esperados[g].id();
    }
    const Date agora = Date::desde1970(1'800'000'000);
    const RaioX deUmaVarredura(snapshots, esperados, agora);
    const RaioX dosGrupos(obtidos, agora);
    EXPECT_EQ(dosGrupos.total(), deUmaVarredura.total());
    EXPECT_EQ(dosGrupos.bytes(), deUmaVarredura.bytes());
    EXPECT_EQ(dosGrupos.nuncaAbertos(), deUmaVarredura.nuncaAbertos());
    EXPECT_EQ(dosGrupos.nomesOpacos(), deUmaVarredura.nomesOpacos());
    EXPECT_EQ(dosGrupos.comOrigem(), deUmaVarredura.comOrigem());
    EXPECT_EQ(dosGrupos.origensDistintas(), deUmaVarredura.origensDistintas());
    EXPECT_EQ(dosGrupos.maisAntigoEmDias(), deUmaVarredura.maisAntigoEmDias());
}

TEST_F(PastaVivaTest, ConferirAchaOQueChegouESaiuSemSerNomeado)
{
    teste::escrever(em("fica.pdf"), "f");
    teste::escrever(em("sai.pdf"), "s");
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    std::filesystem::remove(em("sai.pdf"));
    teste::escrever(em("chega.pdf"), "c");
    teste::escrever(em("fica.pdf"), "mudou por dentro"); // only names are compared
    const auto a = viva.aplicar({.nomes = {}, .conferir = true});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 2U);
    EXPECT_EQ(m.at("chega.pdf")->evento, Evento::adicionado);
    ASSERT_TRUE(m.at("chega.pdf")->identidade);
    EXPECT_EQ(m.at("sai.pdf")->evento, Evento::removido);
    EXPECT_FALSE(m.at("sai.pdf")->identidade);
}

} // namespace
} // namespace tarrafa

namespace tarrafa {
namespace {

TEST_F(PastaVivaTest, AReservaDoFirefoxEhBaixandoMesmoComOPartAindaRetido)
{
    PastaViva viva(downloads, {});
    (void)viva.varrerTudo();
    // The watcher names the placeholder (created and closed at once) but holds the partial
    // file back while Firefox writes it: it is on disk all the same.
    teste::escrever(em("aula.webm"), "");
    teste::escrever(em("aula.webm.part"), "parte");
    const auto a = viva.aplicar({.nomes = {"aula.webm"}});
    const auto m = porNome(a);
    ASSERT_EQ(m.size(), 1U);
    EXPECT_TRUE(m.at("aula.webm")->baixando);
    EXPECT_TRUE(viva.itens().empty());
}

} // namespace
} // namespace tarrafa

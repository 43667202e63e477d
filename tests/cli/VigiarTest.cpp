// SPDX-License-Identifier: GPL-3.0-or-later
// tarrafa-cli vigiar as a process: a real folder, real inotify, lines read as a script would.
#include "Apoio.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace tarrafa {
namespace {

using Json = nlohmann::json;
using namespace std::chrono_literals;

// The command line running in the background, its output read line by line.
class Processo {
public:
    explicit Processo(std::vector<std::string> argumentos)
    {
        int saida[2];
        int erros[2];
        EXPECT_EQ(::pipe2(saida, O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(erros, O_CLOEXEC), 0);
        posix_spawn_file_actions_t acoes;
        posix_spawn_file_actions_init(&acoes);
        posix_spawn_file_actions_adddup2(&acoes, saida[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&acoes, erros[1], STDERR_FILENO);
        argumentos.insert(argumentos.begin(), TARRAFA_CLI);
        std::vector<char*> argv;
        for (std::string& a : argumentos) {
            argv.push_back(a.data());
        }
        argv.push_back(nullptr);
        EXPECT_EQ(::posix_spawn(&pid_, TARRAFA_CLI, &acoes, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&acoes);
        ::close(saida[1]);
        ::close(erros[1]);
        saida_ = saida[0];
        erros_ = erros[0];
    }
    Processo(const Processo&) = delete;
    Processo& operator=(const Processo&) = delete;
    ~Processo()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(saida_);
        ::close(erros_);
    }

    std::optional<std::string> linhaDaSaida(std::chrono::milliseconds prazo = 10s) { return linha(saida_, bufSaida_, prazo); }
    std::optional<std::string> linhaDeErros(std::chrono::milliseconds prazo = 10s) { return linha(erros_, bufErros_, prazo); }

    // Interrupts it as Ctrl+C does and gives its exit status.
    int interromper()
    {
        ::kill(pid_, SIGINT);
        int estado = 0;
        ::waitpid(pid_, &estado, 0);
        pid_ = -1;
        return WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
    }

private:
    static std::optional<std::string> linha(int fd, std::string& buffer, std::chrono::milliseconds prazo)
    {
        const auto fim = std::chrono::steady_clock::now() + prazo;
        for (;;) {
            if (const auto quebra = buffer.find('\n'); quebra != std::string::npos) {
                std::string uma = buffer.substr(0, quebra);
                buffer.erase(0, quebra + 1);
                return uma;
            }
            const auto falta = std::chrono::duration_cast<std::chrono::milliseconds>(fim - std::chrono::steady_clock::now());
            if (falta.count() <= 0) {
                return std::nullopt;
            }
            pollfd p {fd, POLLIN, 0};
            if (::poll(&p, 1, static_cast<int>(falta.count())) <= 0) {
                continue;
            }
            char bloco[4096];
            const ssize_t lidos = ::read(fd, bloco, sizeof bloco);
            if (lidos <= 0) {
                return std::nullopt;
            }
            buffer.append(bloco, static_cast<std::size_t>(lidos));
        }
    }

    pid_t pid_ = -1;
    int saida_ = -1;
    int erros_ = -1;
    std::string bufSaida_;
    std::string bufErros_;
};

class CliVigiar : public ::testing::Test {
protected:
    teste::CasaFalsa casa;
    teste::PastaDeCopias copias;
    std::string downloads = casa / "Downloads";
    void SetUp() override { teste::criarPasta(downloads); }
};

TEST_F(CliVigiar, JsonDaUmaLinhaPorMudancaAteSerInterrompido)
{
    teste::escrever(downloads + "/velho.txt", "v");
    teste::escrever(downloads + "/contrato.pdf", "c");
    Processo vigiar({"vigiar", "--json", downloads});
    const std::optional<std::string> pronto = vigiar.linhaDeErros();
    ASSERT_TRUE(pronto);
    EXPECT_EQ(*pronto, "Vigiando " + downloads + " (Ctrl+C para parar)");

    // A download arriving and finishing.
    teste::escrever(downloads + "/manual.pdf.crdownload", "parte");
    std::optional<std::string> linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    Json j = Json::parse(*linha);
    EXPECT_EQ(j["evento"], "adicionado");
    EXPECT_EQ(j["baixando"], true);
    EXPECT_EQ(j["nome"], "manual.pdf.crdownload");
    EXPECT_EQ(j["id"], downloads + "/manual.pdf.crdownload");
    EXPECT_TRUE(j["selos"].empty());

    std::filesystem::rename(downloads + "/manual.pdf.crdownload", downloads + "/manual.pdf");
    std::map<std::string, Json> porNome;
    for (int i = 0; i < 2; ++i) {
        linha = vigiar.linhaDaSaida();
        ASSERT_TRUE(linha);
        j = Json::parse(*linha);
        porNome[j["nome"].get<std::string>()] = j;
    }
    ASSERT_TRUE(porNome.contains("manual.pdf") && porNome.contains("manual.pdf.crdownload"));
    EXPECT_EQ(porNome["manual.pdf.crdownload"]["evento"], "removido");
    EXPECT_EQ(porNome["manual.pdf"]["evento"], "adicionado");
    EXPECT_EQ(porNome["manual.pdf"]["baixando"], false);
    // The item as the report writes it.
    for (const char* campo : {"id", "nome", "ehPasta", "tamanho", "baixadoEm", "criadoEm", "ultimoUsoEm", "origens",
             "ehScreenshot", "quarentenaAgente", "origem", "selos"}) {
        EXPECT_TRUE(porNome["manual.pdf"].contains(campo)) << campo;
    }
    EXPECT_EQ(porNome["manual.pdf"]["selos"][0]["caso"], "nuncaAberto");

    // A copy changes its original's badges too; a removal has no item.
    teste::escrever(downloads + "/contrato (1).pdf", "c");
    porNome.clear();
    for (int i = 0; i < 2; ++i) {
        linha = vigiar.linhaDaSaida();
        ASSERT_TRUE(linha);
        j = Json::parse(*linha);
        porNome[j["nome"].get<std::string>()] = j;
    }
    EXPECT_EQ(porNome["contrato (1).pdf"]["evento"], "adicionado");
    EXPECT_EQ(porNome["contrato.pdf"]["evento"], "alterado");
    std::filesystem::remove(downloads + "/velho.txt");
    linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    j = Json::parse(*linha);
    EXPECT_EQ(j, Json::parse(R"({"evento":"removido","baixando":false,"id":")" + downloads
                     + R"(/velho.txt","idCodificado":false,"nome":"velho.txt"})"));

    EXPECT_EQ(vigiar.interromper(), 0);
    EXPECT_TRUE(copias.vazia());
}

TEST_F(CliVigiar, JsonDizADecisaoComoORelatorio)
{
    teste::escrever(downloads + "/adiado.pdf", "a");
    teste::escrever(casa / ".local/share/Tarrafa/decisoes.json", "{\"" + downloads + "/adiado.pdf\":\"adiado\"}");
    Processo vigiar({"vigiar", "--json", downloads});
    ASSERT_TRUE(vigiar.linhaDeErros());

    teste::escrever(downloads + "/adiado.pdf", "mudou");
    std::optional<std::string> linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    Json j = Json::parse(*linha);
    EXPECT_EQ(j["nome"], "adiado.pdf");
    EXPECT_EQ(j["decisao"], "adiado");

    // Decided at the terminal while watching: the next line says so.
    teste::escrever(downloads + "/novo.pdf", "n");
    linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    j = Json::parse(*linha);
    EXPECT_EQ(j["nome"], "novo.pdf");
    EXPECT_EQ(j["decisao"], "novo");
    teste::escrever(casa / ".local/share/Tarrafa/decisoes.json", "{\"" + downloads + "/novo.pdf\":\"ignorado\"}");
    teste::escrever(downloads + "/novo.pdf", "n2");
    linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    j = Json::parse(*linha);
    EXPECT_EQ(j["nome"], "novo.pdf");
    EXPECT_EQ(j["decisao"], "ignorado");
    EXPECT_EQ(vigiar.interromper(), 0);
}

TEST_F(CliVigiar, TextoParaQuemOlhaOTerminal)
{
    Processo vigiar({"vigiar", downloads});
    ASSERT_TRUE(vigiar.linhaDeErros());
    teste::escrever(downloads + "/foto.jpg", std::string(2048, 'f'));
    const std::optional<std::string> linha = vigiar.linhaDaSaida();
    ASSERT_TRUE(linha);
    EXPECT_EQ(*linha, "chegou  foto.jpg  [nunca aberto]  2 KB  · Sem origem");
    EXPECT_EQ(vigiar.interromper(), 0);
}

TEST_F(CliVigiar, PastaQueNaoExisteEhErro)
{
    Processo vigiar({"vigiar", downloads + "/nao-existe"});
    const std::optional<std::string> erro = vigiar.linhaDeErros();
    ASSERT_TRUE(erro);
    EXPECT_EQ(*erro, "Não consegui ler a pasta Downloads: No such file or directory");
    EXPECT_EQ(vigiar.interromper(), 1);
}

bool existe(const std::string& caminho)
{
    struct stat info {};
    return ::lstat(caminho.c_str(), &info) == 0;
}

// Lines of output until one begins as asked (the others are dropped); none if it never comes.
std::optional<std::string> ateComecarCom(Processo& processo, const std::string& inicio)
{
    while (const std::optional<std::string> linha = processo.linhaDaSaida()) {
        if (linha->starts_with(inicio)) {
            return linha;
        }
    }
    return std::nullopt;
}

TEST_F(CliVigiar, OQueMudaEntreALeituraEAVigiaNaoSePerde)
{
    teste::escrever(downloads + "/velho.txt", "v");
    const std::string pausa = casa / "pausa";
    Processo vigiar = [&] {
        const teste::VariavelTemporaria variavel("TARRAFA_TESTE_PAUSA_VIGIAR", pausa);
        return Processo({"vigiar", downloads});
    }();
    // Read, not yet watching: a file comes and another goes.
    for (int i = 0; i < 1000 && !existe(pausa); ++i) {
        std::this_thread::sleep_for(10ms);
    }
    ASSERT_TRUE(existe(pausa)) << "vigiar never paused before watching";
    teste::escrever(downloads + "/novo.pdf", "n");
    std::filesystem::remove(downloads + "/velho.txt");
    std::filesystem::remove(pausa);

    ASSERT_TRUE(vigiar.linhaDeErros());
    std::set<std::string> linhas;
    for (int i = 0; i < 2; ++i) {
        const std::optional<std::string> linha = vigiar.linhaDaSaida();
        ASSERT_TRUE(linha) << "what changed before the watch was never told";
        linhas.insert(linha->substr(0, linha->find("  ", linha->find("  ") + 2)));
    }
    EXPECT_EQ(linhas, (std::set<std::string> {"chegou  novo.pdf", "saiu  velho.txt"}));
    EXPECT_EQ(vigiar.interromper(), 0);
}

TEST_F(CliVigiar, PastaTrocadaPorLinkContinuaSendoVigiada)
{
    teste::escrever(downloads + "/a.pdf", "a");
    teste::escrever(casa / "Outra/b.pdf", "b");
    Processo vigiar({"vigiar", downloads});
    ASSERT_TRUE(vigiar.linhaDeErros());

    std::filesystem::rename(downloads, casa / "Antiga");
    ASSERT_TRUE(ateComecarCom(vigiar, "saiu  a.pdf"));
    std::filesystem::create_directory_symlink(casa / "Outra", downloads);
    ASSERT_TRUE(ateComecarCom(vigiar, "chegou  b.pdf")) << "the folder behind the link was never read";

    teste::escrever(casa / "Outra/c.pdf", "c");
    ASSERT_TRUE(ateComecarCom(vigiar, "chegou  c.pdf")) << "the folder behind the link is not watched";
    EXPECT_EQ(vigiar.interromper(), 0);
}

// These lower the kernel's allowance of watches for the whole user: they run alone.
class SemVigiasDoSistema : public CliVigiar { };

TEST_F(SemVigiasDoSistema, SemVigiaNaPastaEhErro)
{
    teste::escrever(downloads + "/a.pdf", "a");
    teste::LimiteDeVigias limite(0);
    if (!limite.valido()) {
        GTEST_SKIP() << "the kernel's allowance of inotify watches cannot be changed here";
    }
    Processo vigiar({"vigiar", downloads});
    const std::optional<std::string> erro = vigiar.linhaDeErros();
    limite.restaurar();
    ASSERT_TRUE(erro);
    EXPECT_EQ(*erro,
        "Não consegui vigiar a pasta Downloads: o sistema não dá mais vigias do inotify a este usuário "
        "(fs.inotify.max_user_watches)");
    EXPECT_EQ(vigiar.interromper(), 1);
}

TEST_F(SemVigiasDoSistema, SubpastaSemVigiaAvisaUmaVez)
{
    Processo vigiar({"vigiar", downloads});
    ASSERT_TRUE(vigiar.linhaDeErros());
    teste::LimiteDeVigias limite(0);
    if (!limite.valido()) {
        GTEST_SKIP() << "the kernel's allowance of inotify watches cannot be changed here";
    }
    std::filesystem::create_directory(downloads + "/Fotos");
    ASSERT_TRUE(ateComecarCom(vigiar, "chegou  Fotos"));
    std::filesystem::create_directory(downloads + "/Musicas");
    ASSERT_TRUE(ateComecarCom(vigiar, "chegou  Musicas"));
    limite.restaurar();
    const std::optional<std::string> aviso = vigiar.linhaDeErros();
    ASSERT_TRUE(aviso);
    EXPECT_TRUE(aviso->starts_with("Alguns tamanhos de pastas podem estar desatualizados")) << *aviso;
    EXPECT_FALSE(vigiar.linhaDeErros(500ms)) << "said once";
    EXPECT_EQ(vigiar.interromper(), 0);
}

} // namespace
} // namespace tarrafa

// SPDX-License-Identifier: GPL-3.0-or-later
// tarrafa-cli run as a real process, and the small readings of its JSON the tests share.
#pragma once

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <sys/wait.h>

namespace tarrafa::teste {

using Json = nlohmann::json;

struct Execucao {
    int status = -1;
    std::string saida;
    std::string erros;
};

inline std::string lerArquivo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

// Single quotes for the shell around any text.
inline std::string citar(const std::string& texto)
{
    std::string citado = "'";
    for (const char c : texto) {
        citado += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return citado + "'";
}

// Runs a shell command line: its standard output and exit status (standard error as the
// command line sends it).
inline Execucao rodar(const std::string& comando)
{
    Execucao execucao;
    std::FILE* processo = ::popen(comando.c_str(), "r");
    if (processo == nullptr) {
        ADD_FAILURE() << "popen failed";
        return execucao;
    }
    std::array<char, 4096> bloco {};
    std::size_t lidos = 0;
    while ((lidos = std::fread(bloco.data(), 1, bloco.size(), processo)) > 0) {
        execucao.saida.append(bloco.data(), lidos);
    }
    const int estado = ::pclose(processo);
    execucao.status = WIFEXITED(estado) ? WEXITSTATUS(estado) : -1;
    return execucao;
}

// Runs tarrafa-cli with the arguments (already quoted for the shell) and the test's own
// environment (the fake home); standard error is kept in a file of pastaDeErros.
inline Execucao executar(const std::string& argumentos, const std::string& pastaDeErros, const std::string& onde = {})
{
    const std::string arquivoDeErros = pastaDeErros + "/stderr.txt";
    // bash, for $'...' quoting of odd names.
    std::string comando = std::string("'") + TARRAFA_CLI + "' " + argumentos + " 2>'" + arquivoDeErros + "'";
    if (!onde.empty()) {
        comando = "cd '" + onde + "' && " + comando;
    }
    Execucao execucao = rodar("exec bash -c " + citar(comando));
    execucao.erros = lerArquivo(arquivoDeErros);
    return execucao;
}

inline std::set<std::string> nomesDe(const Json& grupo)
{
    std::set<std::string> nomes;
    for (const Json& item : grupo.at("itens")) {
        nomes.insert(item.at("nome").get<std::string>());
    }
    return nomes;
}

inline std::set<std::string> casosDe(const Json& grupo, const std::string& nome)
{
    std::set<std::string> casos;
    for (const Json& item : grupo.at("itens")) {
        if (item.at("nome") == nome) {
            for (const Json& selo : item.at("selos")) {
                casos.insert(selo.at("caso").get<std::string>());
            }
        }
    }
    return casos;
}

} // namespace tarrafa::teste

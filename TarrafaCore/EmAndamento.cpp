// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/EmAndamento.hpp"

#include <array>

namespace tarrafa::EmAndamento {

namespace {

constexpr std::array<std::string_view, 4> kSufixos {".crdownload", ".part", ".download", ".partial"};

bool terminaSemCaixa(std::string_view nome, std::string_view sufixo)
{
    if (nome.size() <= sufixo.size()) {
        return false; // ".part" alone is a hidden name, not a download
    }
    const std::string_view fim = nome.substr(nome.size() - sufixo.size());
    for (std::size_t i = 0; i < fim.size(); ++i) {
        const char c = fim[i];
        const char minuscula = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if (minuscula != sufixo[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<std::string> nomeFinal(std::string_view nome)
{
    for (const std::string_view sufixo : kSufixos) {
        if (terminaSemCaixa(nome, sufixo)) {
            return std::string(nome.substr(0, nome.size() - sufixo.size()));
        }
    }
    return std::nullopt;
}

bool ehParcial(std::string_view nome)
{
    return nomeFinal(nome).has_value();
}

bool baixando(std::string_view nome, bool ehRegular, std::int64_t tamanho,
    const std::function<bool(const std::string&)>& existe)
{
    if (ehParcial(nome)) {
        return true;
    }
    return ehRegular && tamanho == 0 && existe(std::string(nome) + ".part");
}

} // namespace tarrafa::EmAndamento

// SPDX-License-Identifier: GPL-3.0-or-later
// A small writer of property lists for the tests: binary lists built object by object (with
// every size and position open to tampering), and XML lists as text.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarrafa::teste {

using Bytes = std::vector<unsigned char>;

inline Bytes bytesDe(std::string_view texto)
{
    return Bytes(texto.begin(), texto.end());
}

inline void anexarBigEndian(Bytes& b, std::uint64_t valor, unsigned tamanho)
{
    for (unsigned i = tamanho; i-- > 0;) {
        b.push_back(static_cast<unsigned char>(i >= 8 ? 0 : (valor >> (8 * i)) & 0xFF));
    }
}

inline unsigned bytesPara(std::uint64_t valor)
{
    unsigned n = 1;
    while (n < 8 && (valor >> (8 * n)) != 0) {
        ++n;
    }
    return n;
}

// What a binary list's trailer says, when a test wants it to say something else.
struct OpcoesDoTrailer {
    unsigned tamanhoDaPosicao = 0; // 0: the smallest that fits
    unsigned tamanhoDaReferencia = 0; // 0: the smallest that fits
    std::optional<std::uint64_t> objetos;
    std::optional<std::uint64_t> raiz;
    std::optional<std::uint64_t> tabela;
};

class PlistBinario {
public:
    using Opcoes = OpcoesDoTrailer;

    std::size_t data(double desde2001)
    {
        Bytes b {0x33};
        anexarBigEndian(b, bitsDe(desde2001), 8);
        return objeto(std::move(b));
    }
    std::size_t real(double valor)
    {
        Bytes b {0x23};
        anexarBigEndian(b, bitsDe(valor), 8);
        return objeto(std::move(b));
    }
    std::size_t real32(float valor)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &valor, sizeof bits);
        Bytes b {0x22};
        anexarBigEndian(b, bits, 4);
        return objeto(std::move(b));
    }
    std::size_t inteiro(std::int64_t valor)
    {
        Bytes b;
        anexarInteiro(b, valor);
        return objeto(std::move(b));
    }
    std::size_t booleano(bool valor)
    {
        return objeto(Bytes {static_cast<unsigned char>(valor ? 0x09 : 0x08)});
    }
    std::size_t ascii(std::string_view texto)
    {
        Bytes b;
        anexarMarcador(b, 0x5, texto.size());
        b.insert(b.end(), texto.begin(), texto.end());
        return objeto(std::move(b));
    }
    std::size_t utf16(std::u16string_view texto)
    {
        Bytes b;
        anexarMarcador(b, 0x6, texto.size());
        for (const char16_t c : texto) {
            anexarBigEndian(b, c, 2);
        }
        return objeto(std::move(b));
    }
    std::size_t dados(std::span<const unsigned char> conteudo)
    {
        Bytes b;
        anexarMarcador(b, 0x4, conteudo.size());
        b.insert(b.end(), conteudo.begin(), conteudo.end());
        return objeto(std::move(b));
    }
    std::size_t lista(std::vector<std::size_t> referencias)
    {
        Bytes b;
        anexarMarcador(b, 0xA, referencias.size());
        objetos_.push_back({std::move(b), std::move(referencias)});
        return objetos_.size() - 1;
    }
    std::size_t dicionario(const std::vector<std::pair<std::size_t, std::size_t>>& pares)
    {
        Bytes b;
        anexarMarcador(b, 0xD, pares.size());
        std::vector<std::size_t> referencias;
        for (const auto& par : pares) {
            referencias.push_back(par.first);
        }
        for (const auto& par : pares) {
            referencias.push_back(par.second);
        }
        objetos_.push_back({std::move(b), std::move(referencias)});
        return objetos_.size() - 1;
    }
    // Any object, written exactly as given.
    std::size_t objeto(Bytes bytes)
    {
        objetos_.push_back({std::move(bytes), {}});
        return objetos_.size() - 1;
    }
    // The number the next object will get, for lists that refer to themselves.
    [[nodiscard]] std::size_t proximo() const { return objetos_.size(); }

    [[nodiscard]] Bytes montar(std::size_t raiz, const Opcoes& opcoes = {}) const
    {
        unsigned tamanhoDaReferencia = opcoes.tamanhoDaReferencia;
        if (tamanhoDaReferencia == 0) {
            tamanhoDaReferencia = bytesPara(objetos_.empty() ? 0 : objetos_.size() - 1);
        }
        Bytes b = bytesDe("bplist00");
        std::vector<std::uint64_t> posicoes;
        for (const Objeto& o : objetos_) {
            posicoes.push_back(b.size());
            b.insert(b.end(), o.cabeca.begin(), o.cabeca.end());
            for (const std::size_t r : o.referencias) {
                anexarBigEndian(b, r, tamanhoDaReferencia);
            }
        }
        const std::uint64_t tabela = b.size();
        unsigned tamanhoDaPosicao = opcoes.tamanhoDaPosicao;
        if (tamanhoDaPosicao == 0) {
            tamanhoDaPosicao = bytesPara(tabela);
        }
        for (const std::uint64_t p : posicoes) {
            anexarBigEndian(b, p, tamanhoDaPosicao);
        }
        b.insert(b.end(), 6, 0);
        b.push_back(static_cast<unsigned char>(tamanhoDaPosicao));
        b.push_back(static_cast<unsigned char>(tamanhoDaReferencia));
        anexarBigEndian(b, opcoes.objetos.value_or(objetos_.size()), 8);
        anexarBigEndian(b, opcoes.raiz.value_or(raiz), 8);
        anexarBigEndian(b, opcoes.tabela.value_or(tabela), 8);
        return b;
    }

    // The marker byte and count of a string, data or container.
    static void anexarMarcador(Bytes& b, unsigned tipo, std::uint64_t n)
    {
        if (n < 15) {
            b.push_back(static_cast<unsigned char>((tipo << 4) | n));
        } else {
            b.push_back(static_cast<unsigned char>((tipo << 4) | 0xF));
            anexarInteiro(b, static_cast<std::int64_t>(n));
        }
    }
    static void anexarInteiro(Bytes& b, std::int64_t valor)
    {
        const auto bits = static_cast<std::uint64_t>(valor);
        unsigned expoente = 3;
        if (valor >= 0) {
            expoente = valor <= 0xFF ? 0 : valor <= 0xFFFF ? 1 : valor <= 0xFFFFFFFF ? 2 : 3;
        }
        b.push_back(static_cast<unsigned char>(0x10 | expoente));
        anexarBigEndian(b, bits, 1u << expoente);
    }

private:
    struct Objeto {
        Bytes cabeca;
        std::vector<std::size_t> referencias;
    };

    static std::uint64_t bitsDe(double valor)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &valor, sizeof bits);
        return bits;
    }

    std::vector<Objeto> objetos_;
};

// A whole XML property list around the given root element.
inline Bytes plistXml(std::string_view raiz)
{
    std::string texto = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                        "<plist version=\"1.0\">\n";
    texto += raiz;
    texto += "\n</plist>";
    return bytesDe(texto);
}

} // namespace tarrafa::teste

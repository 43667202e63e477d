// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"
#include "TarrafaCore/ListaDeRecentes.hpp"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Extended attributes that say where a file came from and how it was used. Every function
// is total: a missing, unreadable or malformed attribute gives an empty value, never an error.
namespace tarrafa::Xattr {

using Bytes = std::vector<unsigned char>;

inline constexpr std::string_view kQuarentena = "com.apple.quarantine";
inline constexpr std::string_view kUltimoUso = "com.apple.lastuseddate#PS";
inline constexpr std::string_view kOrigens = "com.apple.metadata:kMDItemWhereFroms";
inline constexpr std::string_view kBaixadoEm = "com.apple.metadata:kMDItemDownloadedDate";
inline constexpr std::string_view kScreenshot = "com.apple.metadata:kMDItemIsScreenCapture";

// The attribute names one entry carries, listed once so that an entry without attributes
// costs a single system call and only names that exist are read.
class Nomes final {
public:
    Nomes() = default;
    // Lists the entry's names. For a symbolic link the names of its target are listed,
    // matching the reads, which follow links.
    [[nodiscard]] static Nomes listar(const std::string& caminho, bool ehLink = false);
    [[nodiscard]] static Nomes de(std::vector<std::string> nomes);

    [[nodiscard]] bool vazio() const noexcept { return nomes_.empty(); }
    [[nodiscard]] bool tem(std::string_view nome) const noexcept;
    // The names under which an attribute is looked up, in order: "user." + name, "osx." +
    // name, then the name itself; a name already in a Linux namespace stands alone. Only
    // those present on the entry are returned.
    [[nodiscard]] std::vector<std::string> candidatos(std::string_view nome) const;

private:
    std::vector<std::string> nomes_;
};

// Raw bytes of one attribute: the first candidate name with a non-empty value.
[[nodiscard]] std::optional<Bytes> bruto(const std::string& caminho, std::string_view nome, const Nomes& nomes);
// Convenience that lists the names itself.
[[nodiscard]] std::optional<Bytes> bruto(const std::string& caminho, std::string_view nome);

// A date stored as a property list (a date, an array whose first element is a date, or a
// number of seconds since 2001-01-01).
[[nodiscard]] std::optional<Date> data(const std::string& caminho, std::string_view nome, const Nomes& nomes);
// Strings stored as a property list (an array of strings, or one string), empties removed.
[[nodiscard]] std::vector<std::string> textos(const std::string& caminho, std::string_view nome, const Nomes& nomes);
// The where-from addresses: the property-list attribute, else the freedesktop
// "user.xdg.origin.url" and "user.xdg.referrer.url".
[[nodiscard]] std::vector<std::string> origens(const std::string& caminho, const Nomes& nomes);
// The downloading application: third field of the quarantine record, else
// "user.xdg.publisher", else "user.creator".
[[nodiscard]] std::optional<std::string> quarentena(const std::string& caminho, const Nomes& nomes);
// Last use: the last-use attribute, else the usage index.
[[nodiscard]] std::optional<Date> ultimoUso(const std::string& caminho, const Nomes& nomes,
                                            const ListaDeRecentes::Indice& indice);

// The decoders on their own, over bytes already read.
namespace decodificar {
[[nodiscard]] std::optional<Date> data(std::span<const unsigned char> bytes);
[[nodiscard]] std::vector<std::string> textos(std::span<const unsigned char> bytes);
[[nodiscard]] std::optional<std::string> quarentena(std::span<const unsigned char> bytes);
[[nodiscard]] std::optional<Date> ultimoUso(std::span<const unsigned char> bytes);
} // namespace decodificar

} // namespace tarrafa::Xattr

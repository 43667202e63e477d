// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// A bounded property-list reader for the metadata stored in extended attributes. It reads
// only what that metadata holds: a root that is one scalar, or an array of scalars. Anything
// else that is well formed (a dictionary, data, an array inside the array...) is kept as a
// marker, so that callers can tell "present but not a scalar" from "no value".
// Both forms are accepted: binary ("bplist00") and XML ("<?xml" or "<plist", after an
// optional byte-order mark and white space). Malformed input gives no value.
namespace tarrafa::Plist {

// A value that is present but is not one of the scalars below; its content is never read.
struct NaoEscalar final {
    friend constexpr bool operator==(NaoEscalar, NaoEscalar) noexcept = default;
};

// date, real, integer, boolean, string (UTF-8).
using Escalar = std::variant<NaoEscalar, Date, double, std::int64_t, bool, std::string>;

class Valor final {
public:
    // A root that is one value.
    explicit Valor(Escalar raiz)
        : conteudo_(std::move(raiz))
    {
    }
    // A root that is an array.
    explicit Valor(std::vector<Escalar> elementos)
        : conteudo_(std::move(elementos))
    {
    }

    [[nodiscard]] bool ehLista() const noexcept { return conteudo_.index() == 1; }
    // The root when it is not an array; nullptr otherwise.
    [[nodiscard]] const Escalar* escalar() const noexcept { return std::get_if<0>(&conteudo_); }
    // The array's elements in stored order; nullptr when the root is not an array.
    [[nodiscard]] const std::vector<Escalar>* elementos() const noexcept
    {
        return std::get_if<1>(&conteudo_);
    }

    friend bool operator==(const Valor&, const Valor&) = default;

private:
    std::variant<Escalar, std::vector<Escalar>> conteudo_;
};

// Either form, recognised by its first bytes.
[[nodiscard]] std::optional<Valor> ler(std::span<const unsigned char> bytes);
[[nodiscard]] std::optional<Valor> lerBinario(std::span<const unsigned char> bytes);
[[nodiscard]] std::optional<Valor> lerXml(std::span<const unsigned char> bytes);

// "2023-11-30T06:43:12Z", with an optional fraction of a second and "Z" or a "+hh:mm"
// offset. The calendar fields are checked; no locale or time zone is consulted.
[[nodiscard]] std::optional<Date> dataIso8601(std::string_view texto) noexcept;

} // namespace tarrafa::Plist

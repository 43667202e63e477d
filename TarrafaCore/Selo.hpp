// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaCore/Date.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarrafa {

// A short fact about one file, shown beside its name: why it may be clutter.
// Immutable; made only through the named constructors, one per case.
class Selo final {
public:
    // The declaration order is part of the hash: do not reorder.
    enum class Caso {
        nuncaAberto,
        abertoEm,
        nomeOpaco,
        sufixoDeCopia,
        instaladorUsado,
        instaladorNuncaUsado,
        pareceRelacionado,
        screenshot,
        copiaIdentica,
    };

    // How the badge is coloured by the interface; no order between tones.
    enum class Tom { neutro, aviso, ok, info };

    [[nodiscard]] static Selo nuncaAberto() noexcept { return Selo(Caso::nuncaAberto); }
    [[nodiscard]] static Selo abertoEm(Date ultimoUso) noexcept { return Selo(Caso::abertoEm, ultimoUso, 0); }
    [[nodiscard]] static Selo nomeOpaco() noexcept { return Selo(Caso::nomeOpaco); }
    [[nodiscard]] static Selo sufixoDeCopia() noexcept { return Selo(Caso::sufixoDeCopia); }
    [[nodiscard]] static Selo instaladorUsado() noexcept { return Selo(Caso::instaladorUsado); }
    [[nodiscard]] static Selo instaladorNuncaUsado() noexcept { return Selo(Caso::instaladorNuncaUsado); }
    // outros: how many other files of the folder share this file's series.
    [[nodiscard]] static Selo pareceRelacionado(int outros) noexcept
    {
        return Selo(Caso::pareceRelacionado, kSemData, outros);
    }
    [[nodiscard]] static Selo screenshot() noexcept { return Selo(Caso::screenshot); }
    // Its bytes are those of an older file of the folder, named here whatever its name.
    [[nodiscard]] static Selo copiaIdentica(std::string nomeDoOriginal)
    {
        Selo selo(Caso::copiaIdentica);
        selo.nome_ = std::make_shared<const std::string>(std::move(nomeDoOriginal));
        return selo;
    }

    [[nodiscard]] Caso caso() const noexcept { return caso_; }
    // The last-use date of abertoEm; absent for every other case.
    [[nodiscard]] std::optional<Date> data() const noexcept
    {
        return caso_ == Caso::abertoEm ? std::optional<Date>(data_) : std::nullopt;
    }
    // The count of pareceRelacionado; 0 for every other case.
    [[nodiscard]] int quantidade() const noexcept { return quantidade_; }
    // The original's name of copiaIdentica; empty for every other case.
    [[nodiscard]] const std::string& nome() const noexcept;

    // The text shown to the user, e.g. "aberto em 07/03" or "parece relacionado a outros 2".
    [[nodiscard]] std::string rotulo() const;
    [[nodiscard]] Tom tom() const noexcept;

    // Day and month ("dd/MM") of a date in the local time zone, through the one date
    // formatter shared by the whole process (made on first use, from TZ as it is then).
    [[nodiscard]] static std::string dia(Date data);

    // Same case and same payload (the same instant, the same count, the same name).
    friend bool operator==(const Selo& a, const Selo& b) noexcept
    {
        return a.caso_ == b.caso_ && a.quantidade_ == b.quantidade_ && a.data() == b.data() && a.nome() == b.nome();
    }

private:
    static constexpr Date kSemData = Date::desde1970(0.0);

    explicit Selo(Caso caso, Date data = kSemData, int quantidade = 0) noexcept
        : caso_(caso)
        , quantidade_(quantidade)
        , data_(data)
    {
    }

    // A folder's worth of items carries a few badges each: 32 bytes apiece. The date means
    // something for abertoEm alone, and the rare copy's name is shared, not held.
    Caso caso_;
    int quantidade_;
    Date data_;
    std::shared_ptr<const std::string> nome_;
};

// The case's name as written in code, used by the machine-readable outputs.
[[nodiscard]] constexpr std::string_view nomeDoCaso(Selo::Caso caso) noexcept
{
    switch (caso) {
    case Selo::Caso::nuncaAberto:
        return "nuncaAberto";
    case Selo::Caso::abertoEm:
        return "abertoEm";
    case Selo::Caso::nomeOpaco:
        return "nomeOpaco";
    case Selo::Caso::sufixoDeCopia:
        return "sufixoDeCopia";
    case Selo::Caso::instaladorUsado:
        return "instaladorUsado";
    case Selo::Caso::instaladorNuncaUsado:
        return "instaladorNuncaUsado";
    case Selo::Caso::pareceRelacionado:
        return "pareceRelacionado";
    case Selo::Caso::screenshot:
        return "screenshot";
    case Selo::Caso::copiaIdentica:
        return "copiaIdentica";
    }
    return {};
}

// The tone's name as written in code, for the same outputs.
[[nodiscard]] constexpr std::string_view nomeDoTom(Selo::Tom tom) noexcept
{
    switch (tom) {
    case Selo::Tom::neutro:
        return "neutro";
    case Selo::Tom::aviso:
        return "aviso";
    case Selo::Tom::ok:
        return "ok";
    case Selo::Tom::info:
        return "info";
    }
    return {};
}

} // namespace tarrafa

// The case's position in declaration order, then the date (abertoEm), the count
// (pareceRelacionado) or the original's name (copiaIdentica).
template <> struct std::hash<tarrafa::Selo> {
    std::size_t operator()(const tarrafa::Selo& selo) const noexcept;
};

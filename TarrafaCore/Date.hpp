// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>

namespace tarrafa {

// An absolute point in time, held as seconds (with fraction) since 1970-01-01 00:00:00 UTC.
// File metadata counts from two epochs: Unix time and the 2001 reference date used by
// property lists, so both constructors exist.
class Date final {
public:
    // Seconds from 1970-01-01 to 2001-01-01, both UTC.
    static constexpr double kDe1970A2001 = 978307200.0;

    [[nodiscard]] static constexpr Date desde1970(double segundos) noexcept { return Date(segundos); }
    [[nodiscard]] static constexpr Date desde2001(double segundos) noexcept
    {
        return Date(segundos + kDe1970A2001);
    }
    // 0001-01-01 00:00:00 UTC: what an entry without any date sorts as (the oldest).
    [[nodiscard]] static constexpr Date passadoDistante() noexcept { return Date(-62135596800.0); }
    [[nodiscard]] static Date agora() noexcept;

    [[nodiscard]] constexpr double segundosDesde1970() const noexcept { return segundos_; }
    [[nodiscard]] constexpr double segundosDesde2001() const noexcept { return segundos_ - kDe1970A2001; }

    // The difference in seconds.
    [[nodiscard]] friend constexpr double operator-(Date a, Date b) noexcept { return a.segundos_ - b.segundos_; }
    [[nodiscard]] friend constexpr Date operator+(Date a, double segundos) noexcept { return Date(a.segundos_ + segundos); }
    friend constexpr bool operator==(Date, Date) noexcept = default;
    friend constexpr auto operator<=>(Date, Date) noexcept = default;

private:
    constexpr explicit Date(double segundos) noexcept : segundos_(segundos) {}
    double segundos_ = 0.0;
};

} // namespace tarrafa

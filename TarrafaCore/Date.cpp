// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/Date.hpp"

#include <chrono>

namespace tarrafa {

Date Date::agora() noexcept
{
    using namespace std::chrono;
    const auto desdeEpoca = system_clock::now().time_since_epoch();
    return desde1970(duration_cast<duration<double>>(desdeEpoca).count());
}

} // namespace tarrafa

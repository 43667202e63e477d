// SPDX-License-Identifier: GPL-3.0-or-later
// What the watcher tests share: the batches handed over, to wait on, and options that make
// a batch come quickly.
#pragma once

#include "TarrafaCore/Vigia.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarrafa::teste {

using namespace std::chrono_literals;

// Every batch the watcher hands over, in order, for the test to wait on.
class Lotes {
public:
    Vigia::AoMudar receptor()
    {
        return [this](LoteDeEventos lote) {
            const std::lock_guard trava(mutex_);
            lotes_.push_back(std::move(lote));
            cv_.notify_all();
        };
    }

    // The next batch, or none if it does not come in time.
    std::optional<LoteDeEventos> proximo(std::chrono::milliseconds prazo = 5s)
    {
        std::unique_lock trava(mutex_);
        if (!cv_.wait_for(trava, prazo, [this] { return !lotes_.empty(); })) {
            return std::nullopt;
        }
        LoteDeEventos lote = std::move(lotes_.front());
        lotes_.pop_front();
        return lote;
    }

    // Waits for batches until one satisfies the test; the others are dropped.
    template <typename F>
    std::optional<LoteDeEventos> ate(F&& condicao, std::chrono::milliseconds prazo = 10s)
    {
        const auto fim = std::chrono::steady_clock::now() + prazo;
        while (std::chrono::steady_clock::now() < fim) {
            std::optional<LoteDeEventos> lote
                = proximo(std::chrono::duration_cast<std::chrono::milliseconds>(fim - std::chrono::steady_clock::now()));
            if (lote && condicao(*lote)) {
                return lote;
            }
        }
        return std::nullopt;
    }

    std::size_t quantos()
    {
        const std::lock_guard trava(mutex_);
        return lotes_.size();
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<LoteDeEventos> lotes_;
};

inline Vigia::Opcoes rapidas(std::vector<std::string> historicos = {})
{
    Vigia::Opcoes opcoes;
    opcoes.calma = 100ms;
    opcoes.esperaMaxima = 2s;
    opcoes.historicos = std::move(historicos);
    return opcoes;
}

} // namespace tarrafa::teste

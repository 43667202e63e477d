// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarrafa::app {
class Modelo;
}

namespace tarrafa::app::teste {

// One entry of a made-up Downloads folder, with the attributes a browser would have left.
struct Arquivo {
    std::string nome;
    std::int64_t tamanho = 1000;
    // Where it was downloaded from ("user.xdg.origin.url").
    std::optional<std::string> origem = std::nullopt;
    // Download date, so many days ago.
    std::optional<double> baixadoHaDias = std::nullopt;
    // Last use, so many days ago.
    std::optional<double> usadoHaDias = std::nullopt;
    bool pasta = false;
    // Carries the mark a screen-capture tool leaves.
    bool captura = false;
};

// A fresh Downloads folder and decision file inside the test process's fake home.
class Cenario {
public:
    Cenario();
    Cenario(const Cenario&) = delete;
    Cenario& operator=(const Cenario&) = delete;
    ~Cenario();

    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }
    [[nodiscard]] QString arquivoDecisoes() const;

    // Creates the entry (sizes are sparse: cheap however large); returns its full path.
    std::string criar(const Arquivo& arquivo) const;
    void criar(const std::vector<Arquivo>& arquivos) const;
    // Writes the decision file as the application keeps it: path to decision name.
    void decisoes(const std::vector<std::pair<std::string, std::string>>& decisoes) const;

    // A model over this folder; it starts its first scan at once.
    [[nodiscard]] std::unique_ptr<Modelo> modelo() const;

    // The files the system trash holds now (names as the trash keeps them).
    [[nodiscard]] static std::vector<std::string> naLixeira();

private:
    std::string raiz_;
    std::string pasta_;
};

} // namespace tarrafa::app::teste

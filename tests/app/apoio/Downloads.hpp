// SPDX-License-Identifier: GPL-3.0-or-later
// A made-up Downloads folder with the attributes a browser leaves, and a real model over it:
// the fixture of the panel and window tests.
#pragma once

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class QWidget;

namespace tarrafa::app {
class Modelo;
}

namespace tarrafa::app::teste {

struct Arquivo {
    std::string nome;
    std::int64_t tamanho = 1000;
    // Where it came from ("user.xdg.origin.url").
    std::optional<std::string> origem = std::nullopt;
    // Downloaded so many days ago.
    std::optional<double> baixadoHaDias = std::nullopt;
    // Last opened so many days ago; absent: never opened.
    std::optional<double> usadoHaDias = std::nullopt;
    bool pasta = false;
    // Carries the mark a screen-capture tool leaves.
    bool captura = false;
};

// A fresh folder (and decision file) inside the process's fake home, removed afterwards.
class Downloads {
public:
    Downloads();
    Downloads(const Downloads&) = delete;
    Downloads& operator=(const Downloads&) = delete;
    ~Downloads();

    [[nodiscard]] const std::string& pasta() const noexcept { return pasta_; }
    [[nodiscard]] QString arquivoDecisoes() const;

    // Creates the entry (files are sparse, cheap however large); returns its full path.
    std::string criar(const Arquivo& arquivo) const;
    void criarTodos(const std::vector<Arquivo>& arquivos) const;
    // so many files from one address, named prefixo-0.pdf, prefixo-1.pdf...
    void criarVarios(int quantos, const std::string& prefixo, const std::optional<std::string>& origem) const;
    // Writes the decision file as the application keeps it: path to decision name.
    void decisoes(const std::vector<std::pair<std::string, std::string>>& decisoes) const;

    // A model over this folder, its first scan finished; null when the scan did not end.
    [[nodiscard]] std::unique_ptr<Modelo> modelo() const;
    // A model over this folder that has only just started its first scan.
    [[nodiscard]] std::unique_ptr<Modelo> modeloNovo() const;

    // The files the fake home's Trash holds now (names as the Trash keeps them).
    [[nodiscard]] static std::vector<std::string> naLixeira();

private:
    std::string raiz_;
    std::string pasta_;
};

// Waits for the scan the model is running to be applied; false when none is running.
[[nodiscard]] bool esperarVarredura(Modelo& modelo);

// Saves a picture of the widget when TARRAFA_CAPTURAS names a folder; for looking at, not
// for asserting.
void capturar(QWidget& widget, const QString& nome);

} // namespace tarrafa::app::teste

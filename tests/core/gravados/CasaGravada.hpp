// SPDX-License-Identifier: GPL-3.0-or-later
// A home recorded from the real browsers (tests/navegadores/gravar), put back in place.
//
// The recording ran in a home at a fixed path, and the browsers wrote that path into their
// databases. Each test gets its own copy of the recorded home in a fresh folder, with the
// recorded path in the databases and profile lists moved to the copy's (a plain prefix
// replacement, nothing else touched), and each downloaded file's modification time set back
// to what it was when recorded (a checkout does not keep it).
#pragma once

#include "Apoio.hpp"

#include <map>
#include <string>
#include <vector>

namespace tarrafa::teste {

// One line of the recording's truth file.
struct Verdade {
    std::string arquivo; // name in Downloads
    std::string navegador; // "chromium" or "firefox"
    std::string perfil;
    std::string cenario;
    std::string url;
    std::string pagina;
    std::string origemEsperada; // "-" when the right answer is no origin
    std::int64_t tamanho = 0;
    std::int64_t mtimeNs = 0;
};

class CasaGravada {
public:
    // Where the recording put the home, as written inside the recorded databases.
    static constexpr const char* kCasaDaGravacao = "/tmp/tarrafa-gravacao/casa";

    CasaGravada();

    [[nodiscard]] const std::string& casa() const { return casa_; }
    [[nodiscard]] std::string downloads() const { return casa_ + "/Downloads"; }
    [[nodiscard]] const std::vector<Verdade>& verdades() const { return verdades_; }
    [[nodiscard]] const Verdade* verdade(const std::string& arquivo) const;
    // The recorded files of one scenario.
    [[nodiscard]] std::vector<Verdade> doCenario(const std::string& cenario) const;

    // Folder holding the snapshot of a Firefox profile copied while the browser was running.
    [[nodiscard]] static std::string pastaEmExecucao();
    // Puts the running snapshot (database and write-ahead log) in place of the database of
    // the Firefox profile folder named; returns that folder, empty when there is none.
    std::string usarFirefoxEmExecucao(const std::string& perfil);

    // Moves the recorded paths inside one database (or INI file) to this copy's home.
    void relocar(const std::string& arquivo) const;

private:
    PastaTemporaria pasta_;
    std::string casa_;
    std::vector<Verdade> verdades_;
    VariavelTemporaria home_;
    VariavelTemporaria config_;
    VariavelTemporaria dados_;
    VariavelTemporaria runtime_;
    VariavelTemporaria tmpdir_;
    VariavelTemporaria dirs_;
};

} // namespace tarrafa::teste

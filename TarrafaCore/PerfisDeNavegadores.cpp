// SPDX-License-Identifier: GPL-3.0-or-later
// Where the browsers keep their histories: every profile of the Chromium family and of Firefox
// under the user's home.
#include "TarrafaCore/HistoricoDeNavegadores.hpp"

#include "TarrafaCore/BancoCopiado.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace tarrafa {

namespace {

std::vector<std::string> listarPasta(const std::string& pasta)
{
    std::vector<std::string> nomes;
    DIR* dir = ::opendir(pasta.c_str());
    if (dir == nullptr) {
        return nomes;
    }
    while (const dirent* e = ::readdir(dir)) {
        const std::string_view nome(e->d_name);
        if (nome != "." && nome != "..") {
            nomes.emplace_back(nome);
        }
    }
    ::closedir(dir);
    std::sort(nomes.begin(), nomes.end());
    return nomes;
}

// The same file reached twice (a profile named in two lists, a root that is a link to
// another) is read once.
class JaVistos {
public:
    // Whether the path is a regular file not seen before.
    bool novoArquivo(const std::string& arquivo)
    {
        struct stat info { };
        if (::stat(arquivo.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
            return false;
        }
        return vistos_.emplace(info.st_dev, info.st_ino).second;
    }

private:
    std::set<std::pair<dev_t, ino_t>> vistos_;
};

void listarPerfisChromium(const std::string& base, const std::string& agente, JaVistos& vistos,
    std::vector<HistoricoDeNavegadores::Banco>& bancos)
{
    for (const std::string& perfil : listarPasta(base)) {
        const std::string historico = base + "/" + perfil + "/History";
        if (vistos.novoArquivo(historico)) {
            bancos.push_back({historico, HistoricoDeNavegadores::Tipo::chromium, agente});
        }
    }
}

// The profile folders an INI file of Firefox names: "Path=" of each [Profile*] section
// (relative to the root when IsRelative=1, as a path that is not absolute must be) and
// "Default=" of each [Install*] section (installs.ini, and profiles.ini since Firefox 67).
void pastasDoIni(const std::string& ini, const std::string& raiz, std::vector<std::string>& pastas)
{
    std::ifstream arquivo(ini);
    if (!arquivo) {
        return;
    }
    struct Secao {
        std::string caminho;
        bool relativo = false;
    };
    std::vector<Secao> secoes;
    enum class Tipo { outra, perfil, instalacao } tipo = Tipo::outra;
    std::string linha;
    std::size_t linhas = 0;
    while (std::getline(arquivo, linha) && ++linhas < 100'000) {
        if (!linha.empty() && linha.back() == '\r') {
            linha.pop_back();
        }
        if (!linha.empty() && linha.front() == '[') {
            tipo = linha.rfind("[Profile", 0) == 0                                  ? Tipo::perfil
                : linha.rfind("[Install", 0) == 0 || ini.ends_with("/installs.ini") ? Tipo::instalacao
                                                                                    : Tipo::outra;
            if (tipo != Tipo::outra) {
                secoes.emplace_back();
            }
            continue;
        }
        if (tipo == Tipo::perfil && linha.rfind("Path=", 0) == 0) {
            secoes.back().caminho = linha.substr(5);
        } else if (tipo == Tipo::perfil && linha.rfind("IsRelative=", 0) == 0) {
            secoes.back().relativo = linha.substr(11) == "1";
        } else if (tipo == Tipo::instalacao && linha.rfind("Default=", 0) == 0) {
            secoes.back().caminho = linha.substr(8);
            secoes.back().relativo = true;
        }
    }
    for (const Secao& secao : secoes) {
        if (secao.caminho.empty()) {
            continue;
        }
        const bool relativo = secao.relativo || secao.caminho.front() != '/';
        pastas.push_back(relativo ? raiz + "/" + secao.caminho : secao.caminho);
    }
}

// Firefox's profile manager keeps the profiles of a group in "Profile Groups/<id>.sqlite"
// (table Profiles, column path, relative to the root) and leaves only one of them in
// profiles.ini. The group database is a browser file like any other: read through a copy.
void pastasDoGrupo(const std::string& raiz, std::vector<std::string>& pastas)
{
    const std::string grupos = raiz + "/Profile Groups";
    for (const std::string& nome : listarPasta(grupos)) {
        if (!nome.ends_with(".sqlite")) {
            continue;
        }
        const auto copia = BancoCopiado::abrir(grupos + "/" + nome, std::chrono::milliseconds(500));
        if (!copia || !copia->temTabelas({"Profiles"})) {
            continue;
        }
        const std::vector<std::string> colunas = copia->colunas("Profiles");
        if (std::find(colunas.begin(), colunas.end(), "path") == colunas.end()) {
            continue;
        }
        for (const std::string& caminho : copia->textos("SELECT path FROM Profiles", 1000)) {
            if (!caminho.empty()) {
                pastas.push_back(caminho.front() == '/' ? caminho : raiz + "/" + caminho);
            }
        }
    }
}

void listarPerfisFirefox(
    const std::string& raiz, JaVistos& vistos, std::vector<HistoricoDeNavegadores::Banco>& bancos)
{
    std::vector<std::string> pastas;
    pastasDoIni(raiz + "/profiles.ini", raiz, pastas);
    pastasDoIni(raiz + "/installs.ini", raiz, pastas);
    pastasDoGrupo(raiz, pastas);
    for (const std::string& pasta : pastas) {
        const std::string places = pasta + "/places.sqlite";
        if (vistos.novoArquivo(places)) {
            bancos.push_back({places, HistoricoDeNavegadores::Tipo::firefox, "Firefox"});
        }
    }
}

} // namespace

std::vector<HistoricoDeNavegadores::Banco> HistoricoDeNavegadores::encontrarBancos()
{
    const std::string casa = PastasDoUsuario::casa();
    const std::string config = PastasDoUsuario::configuracao();
    std::vector<Banco> bancos;
    JaVistos vistos;
    const std::pair<std::string, const char*> chromium[] = {
        {config + "/google-chrome", "Google Chrome"},
        {config + "/chromium", "Chromium"},
        {config + "/BraveSoftware/Brave-Browser", "Brave"},
        {config + "/microsoft-edge", "Microsoft Edge"},
        {config + "/vivaldi", "Vivaldi"},
        {config + "/opera", "Opera"},
        {casa + "/.var/app/com.google.Chrome/config/google-chrome", "Google Chrome"},
        {casa + "/.var/app/org.chromium.Chromium/config/chromium", "Chromium"},
        {casa + "/.var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser", "Brave"},
        {casa + "/.var/app/com.microsoft.Edge/config/microsoft-edge", "Microsoft Edge"},
        {casa + "/snap/chromium/common/chromium", "Chromium"},
    };
    for (const auto& [base, agente] : chromium) {
        listarPerfisChromium(base, agente, vistos, bancos);
    }
    // Firefox kept its profiles in ~/.mozilla/firefox and now starts new ones in the XDG
    // configuration folder; a home can hold both, in each packaging.
    for (const std::string& raiz : {
             casa + "/.mozilla/firefox",
             config + "/mozilla/firefox",
             casa + "/.var/app/org.mozilla.firefox/.mozilla/firefox",
             casa + "/.var/app/org.mozilla.firefox/config/mozilla/firefox",
             casa + "/snap/firefox/common/.mozilla/firefox",
             casa + "/snap/firefox/common/.config/mozilla/firefox",
         }) {
        listarPerfisFirefox(raiz, vistos, bancos);
    }
    return bancos;
}

} // namespace tarrafa

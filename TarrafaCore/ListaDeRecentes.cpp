// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/ListaDeRecentes.hpp"

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaCore/Plist.hpp"
#include "TarrafaCore/Texto.hpp"
#include "TarrafaCore/UriDeArquivo.hpp"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <string>
#include <utility>
#include <vector>

namespace tarrafa::ListaDeRecentes {

namespace {

constexpr std::size_t kPedaco = std::size_t {64} * 1024;
// The list a desktop keeps is a few hundred kilobytes; one far larger is not a list of
// recent files, and is not read. What is read goes to expat in one piece: fed in pieces, expat
// parses a token that spans them again with each piece, which turns one huge attribute into
// quadratic work.
constexpr std::size_t kTamanhoMaximo = std::size_t {64} << 20;
// Bookmarks nest three or four levels deep; a document nested deeper is not one, and stopping
// there keeps expat's stack of open elements small.
constexpr int kProfundidadeMaxima = 32;

// Browsers add every download to the list when it arrives, which is not a use. Compared
// after case folding.
constexpr std::array<std::string_view, 15> kNavegadores = {
    "firefox",
    "firefox-esr",
    "mozilla firefox",
    "chromium",
    "chromium-browser",
    "google chrome",
    "google-chrome",
    "epiphany",
    "web",
    "brave",
    "brave-browser",
    "vivaldi",
    "microsoft edge",
    "microsoft-edge",
    "opera",
};

bool ehNavegador(std::string_view nome)
{
    const std::string dobrado = Texto::dobrarCaixa(nome);
    return std::find(kNavegadores.begin(), kNavegadores.end(), dobrado) != kNavegadores.end();
}

const XML_Char* valorDoAtributo(const XML_Char** atributos, std::string_view nome)
{
    for (const XML_Char** par = atributos; par[0] != nullptr; par += 2) {
        if (nome == par[0]) {
            return par[1];
        }
    }
    return nullptr;
}

// Streams the list through expat, keeping for each bookmark only its path and the latest
// use by an application that is not a browser.
class LeitorXbel final {
public:
    LeitorXbel()
        : parser_(XML_ParserCreate(nullptr))
    {
        if (parser_ != nullptr) {
            XML_SetUserData(parser_, this);
            XML_SetElementHandler(parser_, &LeitorXbel::aoAbrir, &LeitorXbel::aoFechar);
            XML_SetEntityDeclHandler(parser_, &LeitorXbel::aoDeclararEntidade);
        }
    }
    LeitorXbel(const LeitorXbel&) = delete;
    LeitorXbel& operator=(const LeitorXbel&) = delete;
    ~LeitorXbel()
    {
        if (parser_ != nullptr) {
            XML_ParserFree(parser_);
        }
    }

    // False once the document is found malformed.
    bool alimentar(const char* dados, std::size_t tamanho, bool ultimo)
    {
        if (parser_ == nullptr || falhou_) {
            return false;
        }
        if (tamanho > kTamanhoMaximo) {
            falhou_ = true;
            return false;
        }
        if (XML_Parse(parser_, dados, static_cast<int>(tamanho), ultimo ? XML_TRUE : XML_FALSE) != XML_STATUS_OK
            || falhou_) {
            falhou_ = true;
            return false;
        }
        return true;
    }

    std::unordered_map<std::string, Date> resultado() && { return std::move(usos_); }

private:
    static void XMLCALL aoAbrir(void* dados, const XML_Char* nome, const XML_Char** atributos)
    {
        static_cast<LeitorXbel*>(dados)->abrir(nome, atributos);
    }
    static void XMLCALL aoFechar(void* dados, const XML_Char* /*nome*/)
    {
        static_cast<LeitorXbel*>(dados)->fechar();
    }
    // The list never declares entities; refusing them closes the door on expansion bombs.
    static void XMLCALL aoDeclararEntidade(void* dados, const XML_Char*, int, const XML_Char*, int,
        const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*)
    {
        static_cast<LeitorXbel*>(dados)->falhar();
    }

    void falhar()
    {
        if (!falhou_) {
            falhou_ = true;
            XML_StopParser(parser_, XML_FALSE);
        }
    }

    void abrir(std::string_view nome, const XML_Char** atributos)
    {
        if (++profundidade_ > kProfundidadeMaxima) {
            falhar();
            return;
        }
        if (profundidade_ == 1) {
            if (nome != "xbel") {
                falhar();
            }
            return;
        }
        if (profundidadeDoBookmark_ == 0) {
            if (nome == "bookmark") {
                profundidadeDoBookmark_ = profundidade_;
                const XML_Char* href = valorDoAtributo(atributos, "href");
                caminho_ = href != nullptr ? UriDeArquivo::caminho(href) : std::nullopt;
                ultimoUso_.reset();
            }
            return;
        }
        if (nome != "bookmark:application" || !caminho_) {
            return;
        }
        const XML_Char* aplicativo = valorDoAtributo(atributos, "name");
        const XML_Char* modificado = valorDoAtributo(atributos, "modified");
        if (aplicativo == nullptr || modificado == nullptr || ehNavegador(aplicativo)) {
            return;
        }
        if (const std::optional<Date> quando = Plist::dataIso8601(modificado)) {
            if (!ultimoUso_ || *ultimoUso_ < *quando) {
                ultimoUso_ = *quando;
            }
        }
    }

    void fechar()
    {
        if (profundidade_ == profundidadeDoBookmark_) {
            if (caminho_ && ultimoUso_) {
                const auto [uso, novo] = usos_.try_emplace(std::move(*caminho_), *ultimoUso_);
                if (!novo && uso->second < *ultimoUso_) {
                    uso->second = *ultimoUso_;
                }
            }
            profundidadeDoBookmark_ = 0;
            caminho_.reset();
            ultimoUso_.reset();
        }
        --profundidade_;
    }

    XML_Parser parser_;
    bool falhou_ = false;
    int profundidade_ = 0;
    int profundidadeDoBookmark_ = 0; // 0 outside a bookmark
    std::optional<std::string> caminho_;
    std::optional<Date> ultimoUso_;
    std::unordered_map<std::string, Date> usos_;
};


} // namespace

std::string arquivoDaLista()
{
    return PastasDoUsuario::dados() + "/recently-used.xbel";
}

Indice Indice::carregar()
{
    return carregarDe(arquivoDaLista());
}

Indice Indice::carregarDe(const std::string& arquivo)
{
    // Non-blocking, so that a FIFO in its place cannot hold up the scan.
    const Descritor fd = abrirParaLer(AT_FDCWD, arquivo.c_str());
    struct stat info { };
    if (fd.get() < 0 || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    if (info.st_size < 0 || static_cast<std::uint64_t>(info.st_size) > kTamanhoMaximo) {
        return {};
    }
    std::string conteudo;
    conteudo.reserve(static_cast<std::size_t>(info.st_size));
    std::vector<char> pedaco(kPedaco);
    for (;;) {
        const ssize_t lidos = ::read(fd.get(), pedaco.data(), pedaco.size());
        if (lidos < 0 && errno == EINTR) {
            continue;
        }
        if (lidos < 0) {
            return {};
        }
        if (lidos == 0) {
            break;
        }
        conteudo.append(pedaco.data(), static_cast<std::size_t>(lidos));
        if (conteudo.size() > kTamanhoMaximo) {
            return {}; // it grew while being read
        }
    }
    LeitorXbel leitor;
    if (!leitor.alimentar(conteudo.data(), conteudo.size(), true)) {
        return {}; // malformed somewhere: no dates at all, not the ones before the fault
    }
    Indice indice;
    indice.usos_ = std::move(leitor).resultado();
    return indice;
}

Indice Indice::deXbel(std::string_view conteudo)
{
    LeitorXbel leitor;
    if (!leitor.alimentar(conteudo.data(), conteudo.size(), true)) {
        return {};
    }
    Indice indice;
    indice.usos_ = std::move(leitor).resultado();
    return indice;
}

std::optional<Date> Indice::ultimoUso(const std::string& caminho) const
{
    const auto uso = usos_.find(caminho);
    if (uso == usos_.end()) {
        return std::nullopt;
    }
    return uso->second;
}

} // namespace tarrafa::ListaDeRecentes

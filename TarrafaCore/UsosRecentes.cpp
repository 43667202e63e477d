// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/UsosRecentes.hpp"

#include "TarrafaCore/Caminho.hpp"
#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/ListaDeRecentes.hpp"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <optional>
#include <sys/stat.h>

#ifdef TARRAFA_COM_GIO
#include <gio/gio.h>
#endif

namespace tarrafa::UsosRecentes {

namespace {

// The list a desktop keeps is a few hundred kilobytes; the reader refuses one far larger, and
// so does this.
constexpr std::size_t kTamanhoMaximo = std::size_t {64} << 20;

#ifdef TARRAFA_COM_GIO

template <typename T, void (*Liberar)(T*)>
struct Liberador {
    void operator()(T* p) const noexcept { Liberar(p); }
};
using Marcadores = std::unique_ptr<GBookmarkFile, Liberador<GBookmarkFile, g_bookmark_file_free>>;
using Erro = std::unique_ptr<GError, Liberador<GError, g_error_free>>;
void liberarTexto(gchar* texto) { g_free(texto); }
using Texto = std::unique_ptr<gchar, Liberador<gchar, liberarTexto>>;
void liberarObjeto(GObject* objeto) { g_object_unref(objeto); }

// GNOME's privacy setting; where the desktop has no such setting, the history is on.
bool historicoLigado()
{
    GSettingsSchemaSource* fonte = g_settings_schema_source_get_default();
    if (fonte == nullptr) {
        return true;
    }
    GSettingsSchema* esquema = g_settings_schema_source_lookup(fonte, "org.gnome.desktop.privacy", TRUE);
    if (esquema == nullptr) {
        return true;
    }
    bool ligado = true;
    if (g_settings_schema_has_key(esquema, "remember-recent-files")) {
        GSettings* ajustes = g_settings_new_full(esquema, nullptr, nullptr);
        ligado = g_settings_get_boolean(ajustes, "remember-recent-files") != FALSE;
        liberarObjeto(G_OBJECT(ajustes));
    }
    g_settings_schema_unref(esquema);
    return ligado;
}

// The type the list records beside the file, guessed from its name as a file manager would
// before it reads the file.
std::string tipoDe(const std::string& caminho)
{
    Texto tipo(g_content_type_guess(caminho.c_str(), nullptr, 0, nullptr));
    Texto mime(tipo ? g_content_type_get_mime_type(tipo.get()) : nullptr);
    return mime ? std::string(mime.get()) : std::string("application/octet-stream");
}

#endif

} // namespace

Resultado anotar(const std::string& caminho, const std::string& lista)
{
#ifdef TARRAFA_COM_GIO
    if (!historicoLigado()) {
        return Resultado::historicoDesligado;
    }
    // What the list holds now. A link or anything but a plain file in its place is the
    // person's way of keeping no history, and is left as it is.
    std::optional<std::string> conteudo;
    struct stat info { };
    if (::lstat(lista.c_str(), &info) == 0) {
        if (!S_ISREG(info.st_mode)) {
            return Resultado::historicoDesligado;
        }
        const Descritor fd = abrirParaLer(AT_FDCWD, lista.c_str());
        if (!fd.valido()) {
            return Resultado::listaIlegivel;
        }
        conteudo = lerTudo(fd.get(), kTamanhoMaximo);
        if (!conteudo) {
            return Resultado::listaIlegivel;
        }
    } else if (errno != ENOENT && errno != ENOTDIR) {
        return Resultado::listaIlegivel;
    }

    Marcadores marcadores(g_bookmark_file_new());
    if (conteudo && !conteudo->empty()) {
        GError* falha = nullptr;
        if (!g_bookmark_file_load_from_data(marcadores.get(), conteudo->data(), conteudo->size(), &falha)) {
            Erro(falha).reset();
            return Resultado::listaIlegivel;
        }
    }
    GError* falha = nullptr;
    Texto uri(g_filename_to_uri(caminho.c_str(), nullptr, &falha));
    if (!uri) {
        Erro(falha).reset();
        return Resultado::falhaAoGravar;
    }
    if (!g_bookmark_file_has_item(marcadores.get(), uri.get())) {
        g_bookmark_file_set_mime_type(marcadores.get(), uri.get(), tipoDe(caminho).c_str());
    }
    // The application's entry carries the date of its last use: that date is what is read back.
    g_bookmark_file_add_application(marcadores.get(), uri.get(), "Tarrafa", "tarrafa %u");
    GDateTime* agora = g_date_time_new_now_utc();
    g_bookmark_file_set_visited_date_time(marcadores.get(), uri.get(), agora);
    g_date_time_unref(agora);

    gsize tamanho = 0;
    Texto xml(g_bookmark_file_to_data(marcadores.get(), &tamanho, &falha));
    if (!xml) {
        Erro(falha).reset();
        return Resultado::falhaAoGravar;
    }
    if (g_mkdir_with_parents(Caminho::pastaDe(lista).c_str(), 0700) != 0) {
        return Resultado::falhaAoGravar;
    }
    // Written beside it and renamed over it: a reader sees the old list or the new one.
    if (!g_file_set_contents_full(lista.c_str(), xml.get(), static_cast<gssize>(tamanho),
            G_FILE_SET_CONTENTS_CONSISTENT, 0600, &falha)) {
        Erro(falha).reset();
        return Resultado::falhaAoGravar;
    }
    return Resultado::anotado;
#else
    (void)caminho;
    (void)lista;
    return Resultado::falhaAoGravar;
#endif
}

Resultado anotar(const std::string& caminho)
{
    return anotar(caminho, ListaDeRecentes::arquivoDaLista());
}

} // namespace tarrafa::UsosRecentes

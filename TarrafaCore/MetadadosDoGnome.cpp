// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/MetadadosDoGnome.hpp"

#ifdef TARRAFA_COM_GIO
#include <gio/gio.h>

#include <cstdlib>
#include <sys/stat.h>
#endif

namespace tarrafa {

#ifdef TARRAFA_COM_GIO

namespace {

constexpr const char* kAtributo = "metadata::download-uri";

// The store lives behind the session bus. Without one (a text console, a service, a test
// run) GIO is not even asked: it would look for a bus in vain on every scan, and where an X
// display is set it would start one with dbus-launch.
bool temBarramentoDeSessao()
{
    const char* endereco = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (endereco != nullptr && *endereco != '\0') {
        return true;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime == nullptr || *runtime != '/') {
        return false;
    }
    struct stat info { };
    return ::stat((std::string(runtime) + "/bus").c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

} // namespace

MetadadosDoGnome::MetadadosDoGnome(const std::string& pasta)
{
    if (!temBarramentoDeSessao()) {
        return;
    }
    GFile* arquivo = g_file_new_for_path(pasta.c_str());
    // The local file system without gvfs offers no "metadata" namespace.
    if (GFileAttributeInfoList* espacos = g_file_query_writable_namespaces(arquivo, nullptr, nullptr)) {
        disponivel_ = g_file_attribute_info_list_lookup(espacos, "metadata") != nullptr;
        g_file_attribute_info_list_unref(espacos);
    }
    if (disponivel_) {
        const std::string atributos = std::string("standard::name,") + kAtributo;
        if (GFileEnumerator* lista = g_file_enumerate_children(
                arquivo, atributos.c_str(), G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr)) {
            while (GFileInfo* info = g_file_enumerator_next_file(lista, nullptr, nullptr)) {
                const char* nome = g_file_info_get_name(info);
                if (nome != nullptr
                    && g_file_info_get_attribute_type(info, kAtributo) == G_FILE_ATTRIBUTE_TYPE_STRING) {
                    const char* valor = g_file_info_get_attribute_string(info, kAtributo);
                    if (valor != nullptr && *valor != '\0' && g_utf8_validate(valor, -1, nullptr)) {
                        enderecos_.emplace(nome, valor);
                    }
                }
                g_object_unref(info);
            }
            g_object_unref(lista);
        }
    }
    g_object_unref(arquivo);
}

std::optional<std::string> MetadadosDoGnome::enderecoDeDownload(const std::string& nome) const
{
    const auto it = enderecos_.find(nome);
    return it == enderecos_.end() ? std::nullopt : std::optional<std::string>(it->second);
}

#else

MetadadosDoGnome::MetadadosDoGnome(const std::string& /*pasta*/)
{
}

std::optional<std::string> MetadadosDoGnome::enderecoDeDownload(const std::string& /*nome*/) const
{
    return std::nullopt;
}

#endif

} // namespace tarrafa

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/MetadadosDoGnome.hpp"

#include "TarrafaCore/BarramentoDaSessao.hpp"

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
        // One that does not answer would hold every scan up: asked once, for a few seconds.
        return BarramentoDaSessao::conferir() == BarramentoDaSessao::Estado::responde;
    }
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime == nullptr || *runtime != '/') {
        return false;
    }
    struct stat info { };
    return ::stat((std::string(runtime) + "/bus").c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// The local file system without gvfs offers no "metadata" namespace.
bool temMetadados(GFile* pasta)
{
    bool tem = false;
    if (GFileAttributeInfoList* espacos = g_file_query_writable_namespaces(pasta, nullptr, nullptr)) {
        tem = g_file_attribute_info_list_lookup(espacos, "metadata") != nullptr;
        g_file_attribute_info_list_unref(espacos);
    }
    return tem;
}

std::optional<std::string> enderecoEm(GFileInfo* info)
{
    if (g_file_info_get_attribute_type(info, kAtributo) != G_FILE_ATTRIBUTE_TYPE_STRING) {
        return std::nullopt;
    }
    const char* valor = g_file_info_get_attribute_string(info, kAtributo);
    if (valor == nullptr || *valor == '\0' || !g_utf8_validate(valor, -1, nullptr)) {
        return std::nullopt;
    }
    return std::string(valor);
}

} // namespace

MetadadosDoGnome::MetadadosDoGnome(const std::string& pasta, const std::vector<std::string>& nomes)
{
    if (!temBarramentoDeSessao()) {
        return;
    }
    GFile* arquivo = g_file_new_for_path(pasta.c_str());
    disponivel_ = temMetadados(arquivo);
    if (disponivel_) {
        for (const std::string& nome : nomes) {
            GFile* filho = g_file_get_child(arquivo, nome.c_str());
            if (GFileInfo* info
                = g_file_query_info(filho, kAtributo, G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr)) {
                if (std::optional<std::string> endereco = enderecoEm(info)) {
                    enderecos_.emplace(nome, std::move(*endereco));
                }
                g_object_unref(info);
            }
            g_object_unref(filho);
        }
    }
    g_object_unref(arquivo);
}

MetadadosDoGnome::MetadadosDoGnome(const std::string& pasta)
{
    if (!temBarramentoDeSessao()) {
        return;
    }
    GFile* arquivo = g_file_new_for_path(pasta.c_str());
    disponivel_ = temMetadados(arquivo);
    if (disponivel_) {
        const std::string atributos = std::string("standard::name,") + kAtributo;
        if (GFileEnumerator* lista = g_file_enumerate_children(
                arquivo, atributos.c_str(), G_FILE_QUERY_INFO_NOFOLLOW_SYMLINKS, nullptr, nullptr)) {
            while (GFileInfo* info = g_file_enumerator_next_file(lista, nullptr, nullptr)) {
                const char* nome = g_file_info_get_name(info);
                if (nome != nullptr) {
                    if (std::optional<std::string> endereco = enderecoEm(info)) {
                        enderecos_.emplace(nome, std::move(*endereco));
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

MetadadosDoGnome::MetadadosDoGnome(const std::string& /*pasta*/, const std::vector<std::string>& /*nomes*/)
{
}

std::optional<std::string> MetadadosDoGnome::enderecoDeDownload(const std::string& /*nome*/) const
{
    return std::nullopt;
}

#endif

} // namespace tarrafa

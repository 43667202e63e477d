// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaCore/BarramentoDaSessao.hpp"

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#ifdef TARRAFA_COM_GIO
#include <gio/gio.h>
#endif

namespace tarrafa::BarramentoDaSessao {

namespace {

struct Conferencia {
    std::mutex mutex;
    std::condition_variable respondeu;
    std::optional<Estado> estado;
    bool perguntado = false;
};

// Never destroyed: the thread that connects may still be waiting on the bus when the process
// ends, and must find this where it was.
Conferencia& conferencia()
{
    static auto* unica = new Conferencia;
    return *unica;
}

#ifdef TARRAFA_COM_GIO
// Connects and waits for the bus's greeting: a connection that is made has been answered.
bool conecta(const std::string& endereco)
{
    GError* falha = nullptr;
    GDBusConnection* conexao = g_dbus_connection_new_for_address_sync(endereco.c_str(),
        static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &falha);
    if (falha != nullptr) {
        g_error_free(falha);
    }
    if (conexao == nullptr) {
        return false;
    }
    g_dbus_connection_close_sync(conexao, nullptr, nullptr);
    g_object_unref(conexao);
    return true;
}

// GIO chooses how it reaches files once, the first time it is asked; asked now with the
// environment saying "local files only", it never waits for the bus (the Trash and the
// metadata of local files need none). The variable is removed again, so that programs
// started from here choose for themselves.
void gioSemBarramento()
{
    const char* antes = std::getenv("GIO_USE_VFS");
    const std::optional<std::string> anterior = antes != nullptr ? std::optional<std::string>(antes) : std::nullopt;
    ::setenv("GIO_USE_VFS", "local", 1);
    (void)g_vfs_get_default();
    if (anterior) {
        ::setenv("GIO_USE_VFS", anterior->c_str(), 1);
    } else {
        ::unsetenv("GIO_USE_VFS");
    }
}
#endif

} // namespace

Estado conferir(std::chrono::milliseconds prazo)
{
    Conferencia& c = conferencia();
    std::unique_lock trava(c.mutex);
    if (c.estado) {
        return *c.estado;
    }
    if (!c.perguntado) {
        c.perguntado = true;
        const char* endereco = std::getenv("DBUS_SESSION_BUS_ADDRESS");
        if (endereco == nullptr || *endereco == '\0') {
            c.estado = Estado::ausente;
            return *c.estado;
        }
#ifdef TARRAFA_COM_GIO
        std::thread([endereco = std::string(endereco)] {
            const bool respondeu = conecta(endereco);
            Conferencia& depois = conferencia();
            {
                const std::lock_guard guarda(depois.mutex);
                if (!depois.estado) {
                    depois.estado = respondeu ? Estado::responde : Estado::ausente;
                }
            }
            depois.respondeu.notify_all();
        }).detach();
#else
        c.estado = Estado::responde;
        return *c.estado;
#endif
    }
    if (!c.respondeu.wait_for(trava, prazo, [&c] { return c.estado.has_value(); })) {
        c.estado = Estado::travado;
#ifdef TARRAFA_COM_GIO
        gioSemBarramento();
#endif
    }
    return *c.estado;
}

Estado estado()
{
    Conferencia& c = conferencia();
    const std::lock_guard guarda(c.mutex);
    return c.estado.value_or(Estado::ausente);
}

} // namespace tarrafa::BarramentoDaSessao

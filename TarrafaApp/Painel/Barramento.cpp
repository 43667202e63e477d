// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Barramento.hpp"

#include "TarrafaCore/BarramentoDaSessao.hpp"

#include <QByteArray>
#include <QDBusConnection>

namespace tarrafa::app::Barramento {

namespace {

// An address where nothing can listen: connecting fails at once.
constexpr const char* kEnderecoMorto = "unix:path=/dev/null/tarrafa-sem-barramento";

} // namespace

void conferirSessao(std::chrono::milliseconds prazo)
{
    if (BarramentoDaSessao::conferir(prazo) != BarramentoDaSessao::Estado::travado) {
        return;
    }
    // Qt connects once per process and keeps what it got: it connects now, to an address that
    // fails at once, and the real one is put back for the programs started from here.
    const QByteArray endereco = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", kEnderecoMorto);
    (void)QDBusConnection::sessionBus().isConnected();
    qputenv("DBUS_SESSION_BUS_ADDRESS", endereco);
}

bool sessaoTravada()
{
    return BarramentoDaSessao::estado() == BarramentoDaSessao::Estado::travado;
}

} // namespace tarrafa::app::Barramento

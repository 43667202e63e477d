// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

namespace tarrafa::app {

// One window per user session, as desktop applications do: the first launch owns the
// application's name on the session bus and answers org.freedesktop.Application.Activate;
// a later launch asks it to show its window and ends. Two windows would each keep decisions
// the other does not see until its next save.
class InstanciaUnica final : public QObject {
    Q_OBJECT

public:
    enum class Papel {
        primeira,   // owns the name: this process shows the window
        outraAberta, // another process owns it
        semSessao,  // no session bus: nothing to coordinate with, this process goes on alone
    };

    // Tries to own the application's name on the session bus.
    explicit InstanciaUnica(QObject* parent = nullptr);
    // The same with another name, over a given connection (tests play two processes).
    InstanciaUnica(QDBusConnection conexao, const QString& nome, QObject* parent = nullptr);
    ~InstanciaUnica() override;
    InstanciaUnica(const InstanciaUnica&) = delete;
    InstanciaUnica& operator=(const InstanciaUnica&) = delete;

    [[nodiscard]] Papel papel() const noexcept { return papel_; }

    // Asks the process that owns the name to show its window; false when none answered
    // within a few seconds.
    [[nodiscard]] bool ativarAOutra() const;

    // The object path that goes with a bus name: "/" and its dots made slashes.
    [[nodiscard]] static QString caminhoDoObjeto(const QString& nome);

Q_SIGNALS:
    // Another launch asked for the window.
    void ativacaoPedida();

private:
    QDBusConnection conexao_;
    QString nome_;
    Papel papel_ = Papel::semSessao;
};

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "TarrafaApp/Modelo/Destino.hpp"

#include <QAbstractListModel>
#include <QString>

#include <optional>
#include <vector>

namespace tarrafa::app {

class Modelo;

// The sidebar's rows as an item model: the four fixed destinations, the "Origens" header
// and one row per visible group. Rebuilt from the model on every change it cares about;
// rows keep their place when only titles or counts change, so the view keeps its state.
class LinhasDaBarraLateral final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Papel {
        // Destino::chave() of the row; absent on the header.
        PapelChave = Qt::UserRole + 1,
        // The count shown at the end of the row (an int), absent when the row has none.
        PapelContagem,
        // The system symbol name of the row's icon.
        PapelSimbolo,
        // True on the section header, which is not a destination.
        PapelCabecalho,
    };

    explicit LinhasDaBarraLateral(Modelo& modelo, QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& pai = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& indice) const override;

    // The row of a destination; invalid when no row shows it (a group no longer listed).
    [[nodiscard]] QModelIndex indice(const Destino& destino) const;
    // The destination of a row; absent for the header and for invalid indices.
    [[nodiscard]] std::optional<Destino> destino(const QModelIndex& indice) const;

    // Reads the model again now.
    void atualizar();

Q_SIGNALS:
    // After the rows were replaced (not merely updated): the view must select again.
    void linhasRefeitas();

private:
    struct Linha {
        std::optional<Destino> destino; // absent on the header
        QString titulo;
        QString simbolo;
        std::optional<int> contagem;

        friend bool operator==(const Linha&, const Linha&) = default;
    };

    [[nodiscard]] std::vector<Linha> lerLinhas() const;
    // Coalesces a burst of model signals (a scan ends with several) into one rebuild.
    void agendar();

    Modelo& modelo_;
    std::vector<Linha> linhas_;
    bool agendado_ = false;
};

} // namespace tarrafa::app

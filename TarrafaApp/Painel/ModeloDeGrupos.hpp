// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QAbstractListModel>

#include "TarrafaCore/TriageEngine.hpp"

#include <vector>

namespace tarrafa::app {

// The inbox's origin groups as rows, one card each, in the model's order.
class ModeloDeGrupos final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Papel {
        // The line under the label: size, never opened, opaque names.
        PapelResumo = Qt::UserRole + 1,
        // How many items (int).
        PapelTotal,
        // "item" or "itens", under the count.
        PapelUnidade,
        // The origin key (QString), what a click opens.
        PapelChave,
    };

    explicit ModeloDeGrupos(QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& pai = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    void setGrupos(std::vector<GrupoOrigem> grupos);
    [[nodiscard]] const GrupoOrigem& grupo(int linha) const
    {
        return grupos_.at(static_cast<std::size_t>(linha));
    }

private:
    std::vector<GrupoOrigem> grupos_;
};

} // namespace tarrafa::app

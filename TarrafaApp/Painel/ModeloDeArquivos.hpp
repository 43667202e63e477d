// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QAbstractListModel>

#include "TarrafaCore/TriageEngine.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace tarrafa::app {

class Modelo;

// The rows of the file list: one per item, in the order given. Texts are made when a row
// is drawn, so a list of thousands costs nothing until it is scrolled through.
class ModeloDeArquivos final : public QAbstractListModel {
    Q_OBJECT

public:
    enum Papel {
        // The file's path, its exact bytes (QByteArray): its identity.
        PapelId = Qt::UserRole + 1,
        // "folder" or "doc": the symbol at the start of the row.
        PapelSimbolo,
        // The size as written everywhere in the program.
        PapelTamanho,
        // The badges' labels (QStringList), in the item's order but for the identical-copy
        // badge, which comes first.
        PapelSelos,
        // Their tones (QVariantList of Selo::Tom as int), same order.
        PapelTons,
        // "Adiado" or "Ignorado" for a postponed or ignored file still listed, "Na Lixeira"
        // for one this window moved to the Trash, else empty:
        // the row is then drawn dimmed, with that chip first.
        PapelEstado,
    };

    explicit ModeloDeArquivos(const Modelo& modelo, QObject* parent = nullptr);

    // The decisions changed: every row is drawn again with its state.
    void estadosMudaram();

    [[nodiscard]] int rowCount(const QModelIndex& pai = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& indice, int papel = Qt::DisplayRole) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    // Replaces every row; false, and nothing happens, when the items are the same.
    bool setItens(std::vector<ItemTriado> itens);
    [[nodiscard]] const std::vector<ItemTriado>& itens() const noexcept { return itens_; }
    [[nodiscard]] const ItemTriado& item(int linha) const
    {
        return itens_.at(static_cast<std::size_t>(linha));
    }
    // The row that shows a file; none when it is not listed.
    [[nodiscard]] std::optional<int> linhaDe(const std::string& id) const;

private:
    [[nodiscard]] QString estadoDe(const std::string& id) const;

    const Modelo& modelo_;
    std::vector<ItemTriado> itens_;
    std::unordered_map<std::string, int> linhas_;
};

} // namespace tarrafa::app

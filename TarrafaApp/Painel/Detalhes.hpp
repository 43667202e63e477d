// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Qt before the core headers: moc reads <compare> correctly only after Qt's configuration.
#include <QImage>
#include <QWidget>

#include "TarrafaApp/Painel/Previa.hpp"
#include "TarrafaCore/TriageEngine.hpp"

#include <cstdint>
#include <optional>
#include <stop_token>

class QLabel;
class QPushButton;
class QTimer;
class QVBoxLayout;

namespace tarrafa::app {

class Modelo;

// The pane beside the file list: a picture of the file and where it came from, for the file
// the person is on. The picture is found on a worker thread; until it comes, and when there is
// none, the file type's icon stands in.
class Detalhes final : public QWidget {
    Q_OBJECT

public:
    // The largest the picture is shown: as wide as the pane's content, not quite as tall.
    static constexpr int kLadoDaPrevia = 256;
    // How long "Endereço copiado" stays, in milliseconds.
    static constexpr int kTempoDoAvisoDeCopia = 4000;
    static constexpr int kAlturaDaPrevia = 200;

    explicit Detalhes(Modelo& modelo, QWidget* parent = nullptr);
    // A picture still being decoded is given up: closing the window does not wait for it.
    ~Detalhes() override;

    // The file to describe; none for the pane's hint.
    void mostrar(const std::optional<ItemTriado>& item);
    [[nodiscard]] const std::optional<ItemTriado>& item() const noexcept { return item_; }
    // Where the picture shown came from (nenhuma: the type's icon).
    [[nodiscard]] Previa::Fonte fonteDaPrevia() const noexcept { return fonte_; }
    [[nodiscard]] const QImage& previa() const noexcept { return imagem_; }

    // The file's own address, whole as recorded: "Copiar endereço" copies it as the pane shows
    // it, "Copiar endereço completo" as it is; and the page
    // "Abrir página de origem" opens: the one that led to it.
    [[nodiscard]] std::optional<std::string> enderecoDoArquivo() const;
    [[nodiscard]] std::optional<std::string> paginaDeOrigem() const;

    // "24/11/2026 08:15", in the local time zone.
    [[nodiscard]] static QString dataEHora(Date data);

Q_SIGNALS:
    // The picture for the file shown has been looked for (found or not).
    void previaPronta();

private:
    void limpar();
    // Puts the text on the clipboard and says so for a few seconds.
    void copiarTexto(const QString& texto);
    void linha(const QString& rotulo, const QString& valor, const char* nome);
    void mostrarIconeDoTipo(const std::string& caminho);

    Modelo& modelo_;
    std::optional<ItemTriado> item_;
    std::uint64_t geracao_ = 0;
    // Stops the picture being looked for, when another file is chosen or the pane goes.
    std::stop_source previaEmCurso_;
    QLabel* imagemRotulo_;
    QLabel* nome_;
    QWidget* campos_;
    QVBoxLayout* linhasDosCampos_;
    QPushButton* abrirPagina_;
    QPushButton* copiar_;
    QPushButton* copiarCompleto_;
    QLabel* copiado_;
    QTimer* esconderCopiado_;
    QLabel* dica_;
    QImage imagem_;
    Previa::Fonte fonte_ = Previa::Fonte::nenhuma;
};

} // namespace tarrafa::app

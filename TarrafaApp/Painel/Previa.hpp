// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QMimeType>
#include <QSize>
#include <QString>

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

// The picture the details pane shows of a file, found without writing anything anywhere and
// without touching the file's access time.
namespace tarrafa::app::Previa {

// Where the picture came from.
enum class Fonte {
    miniatura, // the desktop's shared thumbnail cache
    imagem, // the image itself, decoded at the size shown
    nenhuma, // neither: the pane shows the file type's icon
};

struct Resultado {
    QImage imagem;
    Fonte fonte = Fonte::nenhuma;
};

// The thumbnail the desktop made of the file, when one is valid for it as it is now: its
// Thumb::URI names the file and its Thumb::MTime is the file's modification time (seconds).
// Looked up in the largest sizes first. A note under fail/ (a thumbnailer that gave up) counts
// as a thumbnail that says "none": nothing is shown, nothing decoded.
// pastaDoCache: the thumbnails folder ($XDG_CACHE_HOME/thumbnails).
struct Miniatura {
    QImage imagem;
    bool falhou = false; // a thumbnailer recorded that it could not make one
};
// Only plain files are read there (never a FIFO or a link), and none larger than a thumbnail.
[[nodiscard]] Miniatura miniaturaEmCache(const QString& pastaDoCache, const std::string& caminho,
    std::int64_t modificadoSegundos, std::stop_token parar = {});

// The most pixels an image may declare to be decoded for the pane (a 64-megapixel photo),
// and the most memory one decode may take.
inline constexpr qint64 kPixelsPorImagem = qint64 {64} * 1000 * 1000;
inline constexpr int kMegabytesPorImagem = 256;

// The image file decoded to fit within the size (never larger than it is), read through a
// descriptor opened without updating the access time. Null when it is not an image Qt reads,
// cannot be read, declares more pixels than the budget, or was no longer wanted (parar) before
// it was done.
[[nodiscard]] QImage imagemReduzida(const std::string& caminho, QSize limite, std::stop_token parar = {});

// The thumbnails folder of the user: thumbnails in the cache folder.
[[nodiscard]] QString pastaDasMiniaturas();

// The file's type told by its name alone: the file is not opened.
[[nodiscard]] QMimeType tipoPeloNome(const std::string& caminho);

// The thumbnail, else the image itself when the file is an image; meant for a worker thread.
// Gives up, with nothing, as soon as parar is asked to stop.
[[nodiscard]] Resultado carregar(const std::string& caminho, QSize limite, std::stop_token parar = {});

} // namespace tarrafa::app::Previa

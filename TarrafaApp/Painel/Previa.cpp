// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Previa.hpp"

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaApp/Painel/Revelar.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QIODevice>
#include <QImageReader>
#include <QMimeDatabase>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarrafa::app::Previa {

namespace {

// Largest useful first: the pane shows about 256 pixels.
constexpr const char* kTamanhos[] = {"large", "x-large", "xx-large", "normal"};

// The largest thumbnail size is 1024 pixels a side, a few megabytes; anything larger in the
// cache was not put there by a thumbnailer.
constexpr qint64 kBytesDeMiniatura = qint64 {16} << 20;
constexpr int kLadoDeMiniatura = 4096;

// A file read for its picture, cut short the moment the picture is no longer wanted: the
// decoder's next read fails, and it gives up. Reads the descriptor it is given, which was
// opened without following a link, without blocking and without touching the access time.
class Leitura final : public QIODevice {
public:
    Leitura(Descritor fd, std::stop_token parar)
        : fd_(std::move(fd))
        , parar_(std::move(parar))
    {
        open(QIODevice::ReadOnly);
    }
    [[nodiscard]] bool isSequential() const override { return false; }
    [[nodiscard]] qint64 size() const override
    {
        struct stat info {};
        return ::fstat(fd_.get(), &info) == 0 ? static_cast<qint64>(info.st_size) : 0;
    }
    bool seek(qint64 posicao) override
    {
        return QIODevice::seek(posicao) && ::lseek(fd_.get(), static_cast<off_t>(posicao), SEEK_SET) == posicao;
    }

protected:
    qint64 readData(char* dados, qint64 maximo) override
    {
        if (parar_.stop_requested()) {
            return -1;
        }
        for (;;) {
            const ssize_t lidos = ::read(fd_.get(), dados, static_cast<std::size_t>(maximo));
            if (lidos < 0 && errno == EINTR) {
                continue;
            }
            return lidos < 0 ? -1 : static_cast<qint64>(lidos);
        }
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    Descritor fd_;
    std::stop_token parar_;
};

// The file, when it is a plain file of at most so many bytes: never a FIFO, a device or a link.
std::optional<Descritor> abrirRegular(const std::string& caminho, qint64 maximo)
{
    Descritor fd = abrirArquivoParaLer(caminho.c_str());
    struct stat info {};
    if (!fd.valido() || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)
        || (maximo > 0 && info.st_size > maximo)) {
        return std::nullopt;
    }
    return fd;
}

// Whether a thumbnail's notes name the file as it is now.
bool valeParaOArquivo(const QImage& miniatura, const QByteArray& uri, std::int64_t modificado)
{
    bool ok = false;
    const qint64 mtime = miniatura.text(QStringLiteral("Thumb::MTime")).toLongLong(&ok);
    return ok && mtime == modificado && miniatura.text(QStringLiteral("Thumb::URI")).toUtf8() == uri;
}

// A thumbnail file that speaks for this file as it is now. The cache is the user's, but any
// program of theirs writes there: what is in it is read as a stranger's file.
std::optional<QImage> lerMiniatura(
    const QString& arquivo, const QByteArray& uri, std::int64_t modificado, const std::stop_token& parar)
{
    std::optional<Descritor> fd = abrirRegular(QFile::encodeName(arquivo).toStdString(), kBytesDeMiniatura);
    if (!fd) {
        return std::nullopt;
    }
    Leitura leitura(std::move(*fd), parar);
    // Decoded whole before its notes are read: QImageReader::text() splits keys at ":", and
    // "Thumb::URI" would not be found. Thumbnails are small, and one that says otherwise is
    // not decoded.
    QImageReader leitor(&leitura, "png");
    const QSize tamanho = leitor.size();
    if (!tamanho.isValid() || tamanho.width() > kLadoDeMiniatura || tamanho.height() > kLadoDeMiniatura) {
        return std::nullopt;
    }
    QImage imagem = leitor.read();
    if (imagem.isNull() || !valeParaOArquivo(imagem, uri, modificado)) {
        return std::nullopt;
    }
    return imagem;
}

} // namespace

QString pastaDasMiniaturas()
{
    return QFile::decodeName(QByteArray::fromStdString(PastasDoUsuario::cache())) + QStringLiteral("/thumbnails");
}

QMimeType tipoPeloNome(const std::string& caminho)
{
    static const QMimeDatabase tipos; // read once; safe to ask from any thread
    return tipos.mimeTypeForFile(QFile::decodeName(QByteArray::fromStdString(caminho)), QMimeDatabase::MatchExtension);
}

Miniatura miniaturaEmCache(
    const QString& pastaDoCache, const std::string& caminho, std::int64_t modificadoSegundos, std::stop_token parar)
{
    const QByteArray uri = uriDoArquivo(caminho).toLatin1();
    const QString nome = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex())
        + QStringLiteral(".png");
    for (const char* tamanho : kTamanhos) {
        if (auto imagem = lerMiniatura(
                pastaDoCache + QLatin1Char('/') + QLatin1String(tamanho) + QLatin1Char('/') + nome, uri,
                modificadoSegundos, parar)) {
            return {std::move(*imagem), false};
        }
    }
    // Each thumbnailer notes its failures in a folder of its own under fail/.
    const QDir falhas(pastaDoCache + QStringLiteral("/fail"));
    for (const QString& programa : falhas.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString arquivo = falhas.filePath(programa) + QLatin1Char('/') + nome;
        if (lerMiniatura(arquivo, uri, modificadoSegundos, parar)) {
            return {QImage(), true};
        }
    }
    return {};
}

QImage imagemReduzida(const std::string& caminho, QSize limite, std::stop_token parar)
{
    std::optional<Descritor> fd = abrirRegular(caminho, 0);
    if (!fd) {
        return {};
    }
    Leitura leitura(std::move(*fd), std::move(parar));
    QImageReader leitor(&leitura);
    leitor.setAutoTransform(true); // a photo taken sideways shows upright
    // What one decode may take, whatever the file declares.
    leitor.setAllocationLimit(kMegabytesPorImagem);
    const QSize tamanho = leitor.size();
    if (!tamanho.isValid() || tamanho.isEmpty()) {
        return {};
    }
    // A few kilobytes can declare a picture of a billion pixels: past the budget it is not
    // decoded at all, and the pane shows the type's icon.
    if (static_cast<qint64>(tamanho.width()) * tamanho.height() > kPixelsPorImagem) {
        return {};
    }
    if (tamanho.width() > limite.width() || tamanho.height() > limite.height()) {
        leitor.setScaledSize(tamanho.scaled(limite, Qt::KeepAspectRatio));
    }
    return leitor.read();
}

Resultado carregar(const std::string& caminho, QSize limite, std::stop_token parar)
{
    const std::optional<Identidade> identidade = Identidade::ler(caminho);
    if (!identidade || identidade->tipo != S_IFREG) {
        return {};
    }
    // Thumbnails record whole seconds.
    const std::int64_t segundos = identidade->modificadoNs >= 0
        ? identidade->modificadoNs / 1'000'000'000
        : -((-identidade->modificadoNs + 999'999'999) / 1'000'000'000);
    Miniatura miniatura = miniaturaEmCache(pastaDasMiniaturas(), caminho, segundos, parar);
    if (!miniatura.imagem.isNull()) {
        QImage imagem = miniatura.imagem;
        if (imagem.width() > limite.width() || imagem.height() > limite.height()) {
            imagem = imagem.scaled(limite, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        }
        return {std::move(imagem), Fonte::miniatura};
    }
    if (miniatura.falhou) {
        return {};
    }
    // Only what is named as an image is decoded: other files are not read at all.
    if (!tipoPeloNome(caminho).name().startsWith(QStringLiteral("image/"))) {
        return {};
    }
    if (parar.stop_requested()) {
        return {};
    }
    QImage imagem = imagemReduzida(caminho, limite, parar);
    if (imagem.isNull()) {
        return {};
    }
    return {std::move(imagem), Fonte::imagem};
}

} // namespace tarrafa::app::Previa

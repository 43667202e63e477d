// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Previa.hpp"

#include "TarrafaCore/Descritor.hpp"
#include "TarrafaCore/Identidade.hpp"
#include "TarrafaCore/PastasDoUsuario.hpp"
#include "TarrafaApp/Painel/Revelar.hpp"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QMimeDatabase>

#include <fcntl.h>
#include <sys/stat.h>

namespace tarrafa::app::Previa {

namespace {

// Largest useful first: the pane shows about 256 pixels.
constexpr const char* kTamanhos[] = {"large", "x-large", "xx-large", "normal"};

// Whether a thumbnail's notes name the file as it is now.
bool valeParaOArquivo(const QImage& miniatura, const QByteArray& uri, std::int64_t modificado)
{
    bool ok = false;
    const qint64 mtime = miniatura.text(QStringLiteral("Thumb::MTime")).toLongLong(&ok);
    return ok && mtime == modificado && miniatura.text(QStringLiteral("Thumb::URI")).toUtf8() == uri;
}

// A thumbnail file that speaks for this file as it is now.
std::optional<QImage> lerMiniatura(const QString& arquivo, const QByteArray& uri, std::int64_t modificado)
{
    if (!QFile::exists(arquivo)) {
        return std::nullopt;
    }
    // Decoded whole before its notes are read: QImageReader::text() splits keys at ":", and
    // "Thumb::URI" would not be found. Thumbnails are small.
    QImageReader leitor(arquivo, "png");
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

Miniatura miniaturaEmCache(const QString& pastaDoCache, const std::string& caminho, std::int64_t modificadoSegundos)
{
    const QByteArray uri = uriDoArquivo(caminho).toLatin1();
    const QString nome = QString::fromLatin1(QCryptographicHash::hash(uri, QCryptographicHash::Md5).toHex())
        + QStringLiteral(".png");
    for (const char* tamanho : kTamanhos) {
        if (auto imagem = lerMiniatura(
                pastaDoCache + QLatin1Char('/') + QLatin1String(tamanho) + QLatin1Char('/') + nome, uri,
                modificadoSegundos)) {
            return {std::move(*imagem), false};
        }
    }
    // Each thumbnailer notes its failures in a folder of its own under fail/.
    const QDir falhas(pastaDoCache + QStringLiteral("/fail"));
    for (const QString& programa : falhas.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString arquivo = falhas.filePath(programa) + QLatin1Char('/') + nome;
        if (lerMiniatura(arquivo, uri, modificadoSegundos)) {
            return {QImage(), true};
        }
    }
    return {};
}

QImage imagemReduzida(const std::string& caminho, QSize limite)
{
    Descritor fd = abrirArquivoParaLer(caminho.c_str());
    struct stat info {};
    if (!fd.valido() || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    QFile arquivo;
    if (!arquivo.open(fd.soltar(), QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        return {};
    }
    QImageReader leitor(&arquivo);
    leitor.setAutoTransform(true); // a photo taken sideways shows upright
    const QSize tamanho = leitor.size();
    if (!tamanho.isValid() || tamanho.isEmpty()) {
        return {};
    }
    if (tamanho.width() > limite.width() || tamanho.height() > limite.height()) {
        leitor.setScaledSize(tamanho.scaled(limite, Qt::KeepAspectRatio));
    }
    return leitor.read();
}

Resultado carregar(const std::string& caminho, QSize limite)
{
    const std::optional<Identidade> identidade = Identidade::ler(caminho);
    if (!identidade || identidade->tipo != S_IFREG) {
        return {};
    }
    // Thumbnails record whole seconds.
    const std::int64_t segundos = identidade->modificadoNs >= 0
        ? identidade->modificadoNs / 1'000'000'000
        : -((-identidade->modificadoNs + 999'999'999) / 1'000'000'000);
    Miniatura miniatura = miniaturaEmCache(pastaDasMiniaturas(), caminho, segundos);
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
    QImage imagem = imagemReduzida(caminho, limite);
    if (imagem.isNull()) {
        return {};
    }
    return {std::move(imagem), Fonte::imagem};
}

} // namespace tarrafa::app::Previa

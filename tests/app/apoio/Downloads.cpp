// SPDX-License-Identifier: GPL-3.0-or-later
#include "Downloads.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTimeZone>
#include <QWidget>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace tarrafa::app::teste {

namespace {

void atributo(const std::string& caminho, const std::string& nome, const std::string& valor)
{
    if (::setxattr(caminho.c_str(), nome.c_str(), valor.data(), valor.size(), 0) != 0) {
        throw std::runtime_error("setxattr " + nome + ": " + std::strerror(errno));
    }
}

qint64 haDias(double dias)
{
    return QDateTime::currentSecsSinceEpoch() - static_cast<qint64>(dias * 86400.0);
}

// The download date as the metadata attribute holds it: a property list with one date.
std::string dataEmPlist(double dias)
{
    const QString quando
        = QDateTime::fromSecsSinceEpoch(haDias(dias), QTimeZone::utc()).toString(Qt::ISODate);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><array><date>"
        + quando.toStdString() + "</date></array></plist>";
}

// The last-use attribute: seconds since 1970 and nanoseconds, 8 little-endian bytes each.
std::string ultimoUso(double dias)
{
    auto segundos = static_cast<std::uint64_t>(haDias(dias));
    std::string bytes(16, '\0');
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<char>(segundos & 0xffu);
        segundos >>= 8;
    }
    return bytes;
}

} // namespace

Downloads::Downloads()
{
    std::string modelo = qgetenv("HOME").toStdString() + "/downloads-XXXXXX";
    if (::mkdtemp(modelo.data()) == nullptr) {
        throw std::runtime_error(std::string("mkdtemp: ") + std::strerror(errno));
    }
    raiz_ = modelo;
    pasta_ = raiz_ + "/Downloads";
    QDir().mkpath(QString::fromStdString(pasta_));
}

Downloads::~Downloads()
{
    // By bytes: some tests leave names that are not UTF-8.
    std::error_code ignorado;
    std::filesystem::remove_all(raiz_, ignorado);
}

QString Downloads::arquivoDecisoes() const
{
    return QString::fromStdString(raiz_) + QStringLiteral("/decisoes.json");
}

std::string Downloads::criar(const Arquivo& arquivo) const
{
    const std::string caminho = pasta_ + "/" + arquivo.nome;
    if (arquivo.pasta) {
        QDir().mkpath(QString::fromStdString(caminho));
    } else {
        const int fd = ::open(caminho.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || ::ftruncate(fd, arquivo.tamanho) != 0) {
            throw std::runtime_error("could not create " + caminho + ": " + std::strerror(errno));
        }
        ::close(fd);
    }
    if (arquivo.origem) {
        atributo(caminho, "user.xdg.origin.url", *arquivo.origem);
    }
    if (arquivo.baixadoHaDias) {
        atributo(
            caminho, "user.com.apple.metadata:kMDItemDownloadedDate", dataEmPlist(*arquivo.baixadoHaDias));
    }
    if (arquivo.usadoHaDias) {
        atributo(caminho, "user.com.apple.lastuseddate#PS", ultimoUso(*arquivo.usadoHaDias));
    }
    if (arquivo.captura) {
        atributo(caminho, "user.com.apple.metadata:kMDItemIsScreenCapture",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><true/></plist>");
    }
    return caminho;
}

void Downloads::criarTodos(const std::vector<Arquivo>& arquivos) const
{
    for (const Arquivo& arquivo : arquivos) {
        criar(arquivo);
    }
}

void Downloads::decisoes(const std::vector<std::pair<std::string, std::string>>& decisoes) const
{
    QJsonObject objeto;
    for (const auto& [caminho, decisao] : decisoes) {
        objeto.insert(QString::fromStdString(caminho), QString::fromStdString(decisao));
    }
    QFile arquivo(arquivoDecisoes());
    if (!arquivo.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || arquivo.write(QJsonDocument(objeto).toJson(QJsonDocument::Compact)) < 0) {
        throw std::runtime_error("could not write the decision file");
    }
}

std::unique_ptr<Modelo> Downloads::modeloNovo() const
{
    return std::make_unique<Modelo>(pasta_, arquivoDecisoes());
}

std::vector<std::string> Downloads::naLixeira()
{
    const QDir lixeira(QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME")) + QStringLiteral("/Trash/files"));
    std::vector<std::string> nomes;
    for (const QString& nome : lixeira.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)) {
        nomes.push_back(nome.toStdString());
    }
    return nomes;
}

void Downloads::criarVarios(
    int quantos, const std::string& prefixo, const std::optional<std::string>& origem) const
{
    for (int i = 0; i < quantos; ++i) {
        criar({.nome = prefixo + "-" + std::to_string(i) + ".pdf", .origem = origem});
    }
}

std::unique_ptr<Modelo> Downloads::modelo() const
{
    auto m = std::make_unique<Modelo>(pasta_, arquivoDecisoes());
    // The first scan starts from the event loop, so nothing can end before the spy exists.
    QSignalSpy terminou(m.get(), &Modelo::varreduraTerminada);
    if (!terminou.wait(60000) || m->carregando()) {
        return nullptr;
    }
    return m;
}

bool esperarVarredura(Modelo& modelo)
{
    if (!modelo.carregando()) {
        return false; // no scan running: nothing would ever arrive
    }
    QSignalSpy terminou(&modelo, &Modelo::varreduraTerminada);
    return terminou.wait(60000) && !modelo.carregando();
}

void capturar(QWidget& widget, const QString& nome)
{
    const QString pasta = qEnvironmentVariable("TARRAFA_CAPTURAS");
    if (pasta.isEmpty()) {
        return;
    }
    QDir().mkpath(pasta);
    widget.grab().save(pasta + QLatin1Char('/') + nome + QStringLiteral(".png"));
}

} // namespace tarrafa::app::teste

// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Modelo/ArquivoDeDecisoes.hpp"

#include "TarrafaCore/Texto.hpp"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <fcntl.h>
#include <unistd.h>

namespace tarrafa::app::ArquivoDeDecisoes {

namespace {

// The rename that replaced the file is durable only once the folder itself is synced.
void sincronizarPasta(const QString& arquivo)
{
    const QByteArray pasta = QFile::encodeName(QFileInfo(arquivo).absolutePath());
    const int fd = ::open(pasta.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

} // namespace

QByteArray codificar(const Decisoes& decisoes)
{
    QJsonObject objeto;
    for (const auto& [id, decisao] : decisoes) {
        if (!Texto::ehUtf8Valido(id)) {
            continue;
        }
        const std::string_view valor = valorBruto(decisao);
        objeto.insert(QString::fromStdString(id), QString::fromLatin1(valor.data(), qsizetype(valor.size())));
    }
    QByteArray json = QJsonDocument(objeto).toJson(QJsonDocument::Compact);
    // A "/" can only stand inside a string here, so every one of them is escaped.
    json.replace('/', QByteArrayLiteral("\\/"));
    return json;
}

std::optional<Decisoes> decodificar(const QByteArray& json)
{
    QJsonParseError erro {};
    const QJsonDocument documento = QJsonDocument::fromJson(json, &erro);
    if (erro.error != QJsonParseError::NoError || !documento.isObject()) {
        return std::nullopt;
    }
    const QJsonObject objeto = documento.object();
    Decisoes decisoes;
    decisoes.reserve(std::size_t(objeto.size()));
    for (auto membro = objeto.begin(); membro != objeto.end(); ++membro) {
        if (!membro.value().isString()) {
            return std::nullopt;
        }
        const std::optional<Decisao> decisao = decisaoDeValorBruto(membro.value().toString().toStdString());
        if (!decisao) {
            return std::nullopt;
        }
        decisoes.insert_or_assign(membro.key().toStdString(), *decisao);
    }
    return decisoes;
}

Decisoes ler(const QString& arquivo)
{
    QFile entrada(arquivo);
    if (!entrada.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray json = entrada.readAll();
    if (entrada.error() != QFileDevice::NoError) {
        return {};
    }
    return decodificar(json).value_or(Decisoes {});
}

bool gravar(const QString& arquivo, const Decisoes& decisoes)
{
    const QByteArray json = codificar(decisoes);
    QSaveFile saida(arquivo);
    if (!saida.open(QIODevice::WriteOnly) || saida.write(json) != json.size() || !saida.commit()) {
        return false;
    }
    sincronizarPasta(arquivo);
    return true;
}

} // namespace tarrafa::app::ArquivoDeDecisoes

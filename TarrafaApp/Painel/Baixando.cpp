// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Baixando.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/Aparencia.hpp"
#include "TarrafaApp/Painel/Simbolos.hpp"
#include "TarrafaCore/EmAndamento.hpp"
#include "TarrafaCore/Escapes.hpp"
#include "TarrafaCore/Formato.hpp"

#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMimeDatabase>
#include <QVBoxLayout>

#include <unordered_set>

namespace tarrafa::app {

namespace {

// A folder with hundreds of downloads under way is not a thing to list in full above the inbox.
constexpr int kLinhasNoMaximo = 5;
constexpr int kIcone = 16;

// The icon of the type the file will have, told by its final name; a plain document where the
// theme has none.
QIcon iconeDoTipo(const QString& nomeFinal)
{
    static const QMimeDatabase tipos;
    const QMimeType tipo = tipos.mimeTypeForFile(nomeFinal, QMimeDatabase::MatchExtension);
    return QIcon::fromTheme(tipo.iconName(), QIcon::fromTheme(tipo.genericIconName(), simbolo(u"doc")));
}

QLabel* rotulo(const QString& texto, const char* nome, QWidget* pai)
{
    auto* r = new QLabel(texto, pai);
    r->setObjectName(QString::fromLatin1(nome));
    r->setTextFormat(Qt::PlainText);
    return r;
}

} // namespace

Baixando::Baixando(Modelo& modelo, QWidget* parent)
    : QWidget(parent)
    , modelo_(modelo)
    , linhas_(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("baixando"));
    setAccessibleName(QStringLiteral("Baixando"));
    linhas_->setContentsMargins(20, 8, 20, 8);
    linhas_->setSpacing(4);
    connect(&modelo_, &Modelo::baixandoChanged, this, &Baixando::atualizar);
    atualizar();
}

QStringList Baixando::nomes() const
{
    QStringList lista;
    for (const QLabel* nome : findChildren<QLabel*>(QStringLiteral("nomeBaixando"))) {
        lista.append(nome->text());
    }
    return lista;
}

void Baixando::atualizar()
{
    while (QLayoutItem* item = linhas_->takeAt(0)) {
        if (QWidget* w = item->widget()) {
            w->deleteLater();
            w->setObjectName(QString()); // gone from nomes() at once, not at the next turn
        }
        delete item;
    }
    // Firefox's empty placeholder and its ".part" are one download: one row, the partial file's.
    std::unordered_set<std::string> nomes;
    for (const ItemTriado& item : modelo_.baixando()) {
        nomes.insert(item.nome());
    }
    std::vector<ItemTriado> baixando;
    for (const ItemTriado& item : modelo_.baixando()) {
        if (!nomes.contains(item.nome() + ".part")) {
            baixando.push_back(item);
        }
    }
    const QColor secundaria = aparencia::secundaria(palette());
    int mostrados = 0;
    for (const ItemTriado& item : baixando) {
        if (mostrados == kLinhasNoMaximo) {
            auto* mais = rotulo(QStringLiteral("e mais %1 baixando").arg(baixando.size() - kLinhasNoMaximo),
                "maisBaixando", this);
            mais->setFont(aparencia::fonte(aparencia::kLegenda));
            linhas_->addWidget(mais);
            break;
        }
        auto* linha = new QWidget(this);
        auto* colunas = new QHBoxLayout(linha);
        colunas->setContentsMargins(0, 0, 0, 0);
        colunas->setSpacing(12);
        // The name the file will have, not the browser's working name for it.
        const std::string final = EmAndamento::nomeFinal(item.nome()).value_or(item.nome());
        auto* icone = new QLabel(linha);
        icone->setObjectName(QStringLiteral("iconeBaixando"));
        icone->setFixedSize(kIcone, kIcone);
        icone->setPixmap(iconeDoTipo(QString::fromStdString(final)).pixmap(QSize(kIcone, kIcone), devicePixelRatioF()));
        auto* nome = rotulo(QString::fromStdString(Escapes::paraJanela(final)), "nomeBaixando", linha);
        nome->setFont(aparencia::fonte(aparencia::kCorpo));
        nome->setToolTip(QString::fromStdString(Escapes::paraJanela(item.nome())));
        // What has arrived so far, written as every other size.
        auto* tamanho
            = rotulo(QString::fromStdString(Formato::bytes(item.snapshot().tamanho())), "tamanhoBaixando", linha);
        tamanho->setFont(aparencia::fonte(aparencia::kLegenda));
        auto* estado = rotulo(QStringLiteral("Baixando…"), "estadoBaixando", linha);
        estado->setFont(aparencia::fonte(aparencia::kLegenda));
        for (QLabel* quieto : {tamanho, estado}) {
            QPalette paleta = quieto->palette();
            paleta.setColor(QPalette::WindowText, secundaria);
            quieto->setPalette(paleta);
        }
        colunas->addWidget(icone, 0);
        colunas->addWidget(nome, 1);
        colunas->addWidget(tamanho, 0);
        colunas->addWidget(estado, 0);
        linha->setAccessibleName(nome->text() + QStringLiteral(", baixando, ") + tamanho->text());
        linhas_->addWidget(linha);
        ++mostrados;
    }
}

} // namespace tarrafa::app

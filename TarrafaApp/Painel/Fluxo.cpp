// SPDX-License-Identifier: GPL-3.0-or-later
#include "TarrafaApp/Painel/Fluxo.hpp"

#include <QWidget>

#include <algorithm>
#include <vector>

namespace tarrafa::app {

Fluxo::Fluxo(QWidget* pai, int espacoEntreItens, int espacoEntreLinhas)
    : QLayout(pai)
    , espacoEntreItens_(espacoEntreItens)
    , espacoEntreLinhas_(espacoEntreLinhas)
{
}

Fluxo::~Fluxo()
{
    while (QLayoutItem* item = takeAt(0)) {
        delete item;
    }
}

void Fluxo::addMola()
{
    primeiroAposAMola_ = static_cast<int>(itens_.size());
}

void Fluxo::addItem(QLayoutItem* item)
{
    itens_.append(item);
}

QLayoutItem* Fluxo::itemAt(int indice) const
{
    return indice >= 0 && indice < itens_.size() ? itens_.at(indice) : nullptr;
}

QLayoutItem* Fluxo::takeAt(int indice)
{
    if (indice < 0 || indice >= itens_.size()) {
        return nullptr;
    }
    if (primeiroAposAMola_ > indice) {
        --primeiroAposAMola_;
    }
    return itens_.takeAt(indice);
}

int Fluxo::count() const
{
    return static_cast<int>(itens_.size());
}

Qt::Orientations Fluxo::expandingDirections() const
{
    return {};
}

bool Fluxo::hasHeightForWidth() const
{
    return true;
}

int Fluxo::heightForWidth(int largura) const
{
    return dispor(QRect(0, 0, largura, 0), false);
}

QSize Fluxo::sizeHint() const
{
    int largura = 0;
    int altura = 0;
    int visiveis = 0;
    for (const QLayoutItem* item : itens_) {
        if (item->isEmpty()) {
            continue;
        }
        largura += item->sizeHint().width();
        altura = std::max(altura, item->sizeHint().height());
        ++visiveis;
    }
    largura += std::max(0, visiveis - 1) * espacoEntreItens_;
    const QMargins margens = contentsMargins();
    return {largura + margens.left() + margens.right(), altura + margens.top() + margens.bottom()};
}

QSize Fluxo::minimumSize() const
{
    // One line's height: the height the lines really need at a width comes from
    // heightForWidth, which the layout above asks for.
    QSize maior;
    for (const QLayoutItem* item : itens_) {
        if (!item->isEmpty()) {
            maior = maior.expandedTo(item->minimumSize()).expandedTo(QSize(0, item->sizeHint().height()));
        }
    }
    const QMargins margens = contentsMargins();
    return maior + QSize(margens.left() + margens.right(), margens.top() + margens.bottom());
}

void Fluxo::setGeometry(const QRect& area)
{
    QLayout::setGeometry(area);
    dispor(area, true);
}

int Fluxo::dispor(const QRect& area, bool aplicar) const
{
    const QRect util = area.marginsRemoved(contentsMargins());
    struct Linha {
        std::vector<int> indices;
        int largura = 0;
        int altura = 0;
    };
    // Greedy: each item on the current line while it fits, else on a new one.
    std::vector<Linha> linhas(1);
    for (int i = 0; i < itens_.size(); ++i) {
        const QLayoutItem* item = itens_.at(i);
        if (item->isEmpty()) {
            continue;
        }
        const QSize tamanho = item->sizeHint().boundedTo(QSize(util.width(), QWIDGETSIZE_MAX));
        Linha* linha = &linhas.back();
        if (!linha->indices.empty() && linha->largura + espacoEntreItens_ + tamanho.width() > util.width()) {
            linha = &linhas.emplace_back();
        }
        linha->largura += (linha->indices.empty() ? 0 : espacoEntreItens_) + tamanho.width();
        linha->altura = std::max(linha->altura, tamanho.height());
        linha->indices.push_back(i);
    }

    int y = util.top();
    for (std::size_t l = 0; l < linhas.size(); ++l) {
        const Linha& linha = linhas[l];
        if (l > 0) {
            y += espacoEntreLinhas_;
        }
        if (aplicar) {
            const int sobra = std::max(0, util.width() - linha.largura);
            int x = util.left();
            bool empurrado = false;
            for (const int i : linha.indices) {
                QLayoutItem* item = itens_.at(i);
                if (!empurrado && primeiroAposAMola_ >= 0 && i >= primeiroAposAMola_) {
                    x += sobra;
                    empurrado = true;
                }
                const QSize tamanho = item->sizeHint().boundedTo(QSize(util.width(), QWIDGETSIZE_MAX));
                item->setGeometry(QRect(QPoint(x, y + (linha.altura - tamanho.height()) / 2), tamanho));
                x += tamanho.width() + espacoEntreItens_;
            }
        }
        y += linha.altura;
    }
    const QMargins margens = contentsMargins();
    return y - util.top() + margens.top() + margens.bottom();
}

} // namespace tarrafa::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "Bancada.hpp"

#include "TarrafaApp/Modelo/Modelo.hpp"
#include "TarrafaApp/Painel/BarraDeAcoes.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/ModeloDeArquivos.hpp"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFrame>
#include <QTest>
#include <QVBoxLayout>

namespace tarrafa::app::teste {

Bancada::Bancada(Modelo& m, Destino d)
    : modelo(m)
    , destino(std::move(d))
    , barra(new BarraDeAcoes(modelo, selecao, &janela))
    , lista(new ListaDeArquivos(modelo, selecao, &janela))
{
    auto* pilha = new QVBoxLayout(&janela);
    pilha->setContentsMargins(0, 0, 0, 0);
    pilha->setSpacing(0);
    pilha->addWidget(barra);
    auto* divisor = new QFrame(&janela);
    divisor->setFrameShape(QFrame::HLine);
    divisor->setFrameShadow(QFrame::Plain);
    pilha->addWidget(divisor);
    pilha->addWidget(lista, 1);
    janela.resize(720, 420);
    QObject::connect(&modelo, &Modelo::decisoesChanged, &janela, [this] { recarregar(); });
    QObject::connect(&modelo, &Modelo::gruposChanged, &janela, [this] { recarregar(); });
    QObject::connect(&modelo, &Modelo::buscaChanged, &janela, [this] { recarregar(); });
    recarregar();
}

bool Bancada::exposta()
{
    janela.show();
    janela.activateWindow();
    return QTest::qWaitForWindowExposed(&janela) && QTest::qWaitForWindowActive(&janela);
}

void Bancada::recarregar()
{
    const std::vector<ItemTriado> itens = modelo.itens(destino);
    barra->setItens(itens);
    lista->setItens(itens);
}

int Bancada::linhaDe(const std::string& nome) const
{
    const auto& itens = lista->itens();
    for (std::size_t i = 0; i < itens.size(); ++i) {
        if (itens[i].nome() == nome) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::string Bancada::id(int linha) const
{
    return lista->itens().at(static_cast<std::size_t>(linha)).id();
}

QPoint Bancada::centro(int linha) const
{
    return lista->visualRect(lista->model()->index(linha, 0)).center();
}

void Bancada::clicar(int linha, Qt::KeyboardModifiers teclas)
{
    QTest::mouseClick(lista->viewport(), Qt::LeftButton, teclas, centro(linha));
}

void Bancada::clicarComODireito(int linha)
{
    const QPoint ponto = centro(linha);
    QTest::mouseClick(lista->viewport(), Qt::RightButton, {}, ponto);
    QContextMenuEvent pedido(QContextMenuEvent::Mouse, ponto, lista->viewport()->mapToGlobal(ponto));
    QApplication::sendEvent(lista->viewport(), &pedido);
}

std::set<std::string> Bancada::selecionadosNaLista() const
{
    std::set<std::string> ids;
    for (const QModelIndex& indice : lista->selectionModel()->selectedIndexes()) {
        ids.insert(id(indice.row()));
    }
    return ids;
}

std::unique_ptr<Modelo> quatroArquivos(const Downloads& downloads)
{
    for (const char* nome :
        {"ata-da-reuniao.docx", "contrato-social.pdf", "orcamento-anual.xlsx", "planta-baixa.dwg"}) {
        downloads.criar({.nome = nome, .origem = kOrigem});
    }
    return downloads.modelo();
}

DelegadoDeArquivos::Disposicao disposicao(const Bancada& b, int linha)
{
    QStyleOptionViewItem opcao;
    opcao.initFrom(b.lista->viewport());
    opcao.rect = b.lista->visualRect(b.lista->model()->index(linha, 0));
    return b.lista->delegado().dispor(opcao, b.lista->model()->index(linha, 0));
}

} // namespace tarrafa::app::teste

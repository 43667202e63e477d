// SPDX-License-Identifier: GPL-3.0-or-later
#include "Ajudantes.hpp"

#include "TarrafaApp/App/LinhasDaBarraLateral.hpp"
#include "TarrafaApp/Painel/ListaDeArquivos.hpp"
#include "TarrafaApp/Painel/Painel.hpp"

#include <QApplication>
#include <QCoreApplication>
#include <QMenu>
#include <QFile>
#include <QTest>

#include <fstream>
#include <iterator>

namespace tarrafa::app::teste {

JanelaDeTeste::JanelaDeTeste(const Downloads& cenario)
    : modelo(cenario.modeloNovo())
    , varreduras(std::make_unique<QSignalSpy>(modelo.get(), &Modelo::varreduraTerminada))
{
    // Every test starts from a window as a first launch makes it, whatever a test before it
    // left behind.
    QFile::remove(JanelaPrincipal::arquivoDeConfiguracao());
    janela = std::make_unique<JanelaPrincipal>(*modelo);
}

bool JanelaDeTeste::abrir()
{
    janela->show();
    janela->activateWindow();
    return QTest::qWaitForWindowActive(janela.get()) && esperarVarreduras(1);
}

bool JanelaDeTeste::esperarVarreduras(int quantas)
{
    while (varreduras->count() < quantas) {
        if (!varreduras->wait(20000)) {
            return false;
        }
    }
    // The sidebar and the panel read the model on the next turn of the event loop.
    QCoreApplication::sendPostedEvents();
    return true;
}

QModelIndex linhaDe(BarraLateral& barra, const Destino& destino)
{
    return barra.linhas().indice(destino);
}

std::optional<int> contagemDe(BarraLateral& barra, const Destino& destino)
{
    const QVariant contagem = linhaDe(barra, destino).data(LinhasDaBarraLateral::PapelContagem);
    return contagem.isValid() ? std::optional<int>(contagem.toInt()) : std::nullopt;
}

bool clicarLinha(BarraLateral& barra, const Destino& destino)
{
    const QModelIndex linha = linhaDe(barra, destino);
    if (!linha.isValid()) {
        return false;
    }
    barra.scrollTo(linha);
    QTest::mouseClick(barra.viewport(), Qt::LeftButton, {}, barra.visualRect(linha).center());
    return true;
}

std::optional<Destino> linhaSelecionada(BarraLateral& barra)
{
    const QModelIndexList selecionadas = barra.selectionModel()->selectedIndexes();
    if (selecionadas.isEmpty()) {
        return std::nullopt;
    }
    return barra.linhas().destino(selecionadas.first());
}

bool visivel(const QWidget& raiz, const char* nome)
{
    const auto* widget = raiz.findChild<QWidget*>(QString::fromLatin1(nome));
    return widget && widget->isVisible();
}

QMenu* menuAberto()
{
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

std::string lerTudo(const std::string& caminho)
{
    std::ifstream entrada(caminho, std::ios::binary);
    return {std::istreambuf_iterator<char>(entrada), std::istreambuf_iterator<char>()};
}

ListaDeArquivos& listaDe(JanelaDeTeste& t)
{
    return t.janela->painel().lista();
}

std::set<std::string> ids(std::initializer_list<std::string> caminhos)
{
    return std::set<std::string>(caminhos);
}

void clicarNaLinha(ListaDeArquivos& lista, int linha, Qt::KeyboardModifiers teclas)
{
    const QModelIndex indice = lista.model()->index(linha, 0);
    lista.scrollTo(indice);
    QTest::mouseClick(lista.viewport(), Qt::LeftButton, teclas, lista.visualRect(indice).center());
}

bool abrirGrupo(JanelaDeTeste& t, const Destino& grupo)
{
    if (!clicarLinha(t.janela->barraLateral(), grupo)) {
        return false;
    }
    return QTest::qWaitFor([&] { return t.janela->painel().conteudo() == Conteudo::arquivos; });
}

} // namespace tarrafa::app::teste

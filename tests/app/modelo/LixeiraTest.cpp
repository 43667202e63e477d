// SPDX-License-Identifier: GPL-3.0-or-later
// Moving real files to the fake home's Trash, and every way that can be refused: the file
// stays where it was, the message names it, and the rescan started by the same call clears it.
#include "Casa.hpp"
#include "Registro.hpp"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

#include <gio/gio.h>

#include <filesystem>

#include <sys/stat.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

std::string infoDaLixeira(const std::string& nome)
{
    return Casa::lixeira() + "/info/" + nome + ".trashinfo";
}
std::string arquivoNaLixeira(const std::string& nome)
{
    return Casa::lixeira() + "/files/" + nome;
}

// What GIO itself says, now, when asked to trash this path.
QString recusaDoGio(const std::string& caminho)
{
    GFile* arquivo = g_file_new_for_path(caminho.c_str());
    GError* erro = nullptr;
    const bool moveu = g_file_trash(arquivo, nullptr, &erro);
    g_object_unref(arquivo);
    if (moveu) {
        return QStringLiteral("(moved)");
    }
    QString mensagem = QString::fromUtf8(erro->message);
    g_error_free(erro);
    return mensagem;
}

QString mensagemDeRecusa(const std::string& nome, const QString& descricao)
{
    return QStringLiteral("Não consegui mover ") + deBytes(nome) + QStringLiteral(" para a Lixeira: ")
        + descricao;
}

std::vector<ItemTriado> itensPorNome(const Modelo& modelo, std::initializer_list<std::string> nomesProcurados)
{
    std::vector<ItemTriado> itens;
    for (const std::string& nome : nomesProcurados) {
        if (const auto item = itemPorNome(modelo, nome)) {
            itens.push_back(*item);
        }
    }
    return itens;
}

// The trash information file: "[Trash Info]", the original path (percent-encoded) and when.
bool informacaoConfere(const std::string& nome, const std::string& caminhoOriginal)
{
    const QStringList linhas = deBytes(ler(infoDaLixeira(nome))).split(u'\n', Qt::SkipEmptyParts);
    if (linhas.size() != 3 || linhas[0] != QStringLiteral("[Trash Info]")) {
        return false;
    }
    const QByteArray caminho = QByteArray::fromStdString(caminhoOriginal).toPercentEncoding("/");
    if (linhas[1] != QStringLiteral("Path=") + QString::fromLatin1(caminho)) {
        return false;
    }
    const QString data = linhas[2].mid(QStringLiteral("DeletionDate=").size());
    return linhas[2].startsWith(QStringLiteral("DeletionDate="))
        && QDateTime::fromString(data, Qt::ISODate).isValid();
}

} // namespace

class LixeiraTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void moveArquivosDeVerdadeParaALixeiraMarcaResolvidosEVarreDeNovo()
    {
        escrever(emDownloads("a.pdf"), "conteudo de a");
        escrever(emDownloads("b.pdf"), "conteudo de b");
        escrever(emDownloads("fica.txt"), "fica");
        std::filesystem::create_directories(emDownloads("pasta inteira"));
        escrever(emDownloads("pasta inteira/dentro.txt"), "dentro");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf", "b.pdf", "pasta inteira"}));

        QVERIFY(!modelo->erro().has_value());
        for (const std::string nome : {"a.pdf", "b.pdf", "pasta inteira"}) {
            QVERIFY2(!existe(emDownloads(nome)), nome.c_str());
            QVERIFY2(informacaoConfere(nome, emDownloads(nome)), nome.c_str());
            QVERIFY(modelo->decisao(emDownloads(nome)) == Decisao::resolvido);
        }
        QCOMPARE(ler(arquivoNaLixeira("a.pdf")), std::string("conteudo de a"));
        QCOMPARE(ler(arquivoNaLixeira("b.pdf")), std::string("conteudo de b"));
        QCOMPARE(ler(arquivoNaLixeira("pasta inteira/dentro.txt")), std::string("dentro"));
        QCOMPARE(nomesEm(Casa::downloads()), std::vector<std::string> {"fica.txt"});
        modelo->concluirGravacoes();
        const std::string salvo = ler(Casa::arquivoDeDecisoes().toStdString());
        for (const std::string nome : {"a.pdf", "b.pdf", "pasta inteira"}) {
            QVERIFY(salvo.find("\"" + comBarrasEscapadas(emDownloads(nome)) + "\":\"resolvido\"")
                != std::string::npos);
        }

        // The rescan comes from the event loop, and prunes the files that left.
        QCOMPARE(fins.count(), 0);
        QVERIFY(esperar(fins, 1));
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"fica.txt"});
        QVERIFY(modelo->decisoes().empty());
        modelo->concluirGravacoes();
        QCOMPARE(ler(Casa::arquivoDeDecisoes().toStdString()), std::string("{}"));
    }

    void listaVaziaAindaGravaAsDecisoesEVarre()
    {
        escrever(emDownloads("a.pdf"), "a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        Gravacoes gravacoes(Casa::pastaDeDados(), "decisoes.json");
        Diario diario(*modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        modelo->moverParaLixeira({});
        modelo->concluirGravacoes();

        QCOMPARE(gravacoes.desdeAUltima(), std::make_pair(1, 0));
        QCOMPARE(ler(Casa::arquivoDeDecisoes().toStdString()), std::string("{}"));
        QVERIFY(diario.linhas().isEmpty());
        QVERIFY(esperar(fins, 1));
        QCOMPARE(diario.linhas().first(), QStringLiteral("carregando:sim"));
        QCOMPARE(diario.linhas().last(), QStringLiteral("fim"));
        QCOMPARE(nomesEm(Casa::downloads()), std::vector<std::string> {"a.pdf"});
    }

    void lixeiraQueNaoPodeSerCriadaRecusaEAMensagemFicaDepoisDaRevarredura()
    {
        escrever(emDownloads("a.pdf"), "conteudo de a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const auto inodeAntes = inode(emDownloads("a.pdf"));
        // A plain file where the Trash folder must be: no trash can be made, root or not.
        escrever(Casa::lixeira(), "nao sou uma pasta");
        Diario diario(*modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf"}));

        const QString esperada = mensagemDeRecusa("a.pdf", recusaDoGio(emDownloads("a.pdf")));
        QVERIFY(!esperada.endsWith(QStringLiteral("(moved)")));
        QCOMPARE(modelo->mensagem(), std::optional<QString>(esperada));
        QVERIFY(!modelo->erro().has_value()); // the folder itself was read
        QVERIFY(!modelo->carregando()); // the rescan has not started yet
        QCOMPARE(diario.linhas(), QStringList {QStringLiteral("mensagem:") + esperada});
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::novo);
        QCOMPARE(inode(emDownloads("a.pdf")), inodeAntes);
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QCOMPARE(ler(Casa::lixeira()), std::string("nao sou uma pasta"));

        QVERIFY(esperar(fins, 1));
        QCOMPARE(diario.linhas(),
            (QStringList {QStringLiteral("mensagem:") + esperada, QStringLiteral("carregando:sim"),
                QStringLiteral("grupos:1"), QStringLiteral("raioX:1"), QStringLiteral("carregando:nao"),
                QStringLiteral("fim")}));
        // Still there after the rescan, until dismissed or another action.
        QCOMPARE(modelo->mensagem(), std::optional<QString>(esperada));
        QCOMPARE(nomes(modelo->itensTodos()), std::vector<std::string> {"a.pdf"});
        modelo->dispensarMensagem();
        QVERIFY(!modelo->mensagem().has_value());

        // Another action clears it too.
        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf"}));
        QVERIFY(modelo->mensagem().has_value());
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        QVERIFY(!modelo->mensagem().has_value());
    }

    void pastaSomenteLeituraRecusaENaoApagaNada()
    {
        escrever(emDownloads("a.pdf"), "conteudo de a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QVERIFY(::chmod(Casa::downloads().c_str(), 0555) == 0);
        QString esperada;
        {
            SemPrivilegiosDeArquivo semPrivilegios;
            QVERIFY(semPrivilegios.ok());
            modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf"}));
            esperada = mensagemDeRecusa("a.pdf", recusaDoGio(emDownloads("a.pdf")));
        }
        ::chmod(Casa::downloads().c_str(), 0755);

        QVERIFY(!esperada.endsWith(QStringLiteral("(moved)")));
        QCOMPARE(modelo->mensagem(), std::optional<QString>(esperada));
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QCOMPARE(nomesEm(Casa::lixeira() + "/files"), std::vector<std::string> {});
        QCOMPARE(nomesEm(Casa::lixeira() + "/info"), std::vector<std::string> {});
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::novo);
        QVERIFY(esperar(fins, 1));
        QCOMPARE(modelo->mensagem(), std::optional<QString>(esperada));
    }

    void umaRecusaNaoImpedeOsOutrosETodasAsMensagensFicam()
    {
        for (const char* nome : {"a.pdf", "b.pdf", "c.pdf"}) {
            escrever(emDownloads(nome), nome);
        }
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::vector<ItemTriado> itens = itensPorNome(*modelo, {"a.pdf", "b.pdf", "c.pdf"});
        QCOMPARE(itens.size(), std::size_t(3));
        // Two of them left the folder since the scan: GIO cannot find them.
        std::filesystem::remove(emDownloads("a.pdf"));
        std::filesystem::remove(emDownloads("c.pdf"));
        QSignalSpy mensagens(modelo.get(), &Modelo::mensagemChanged);

        modelo->moverParaLixeira(itens);

        QCOMPARE(mensagens.count(), 1);
        QCOMPARE(modelo->mensagem(),
            std::optional<QString>(mensagemDeRecusa("a.pdf", recusaDoGio(emDownloads("a.pdf"))) + QLatin1Char('\n')
                + mensagemDeRecusa("c.pdf", recusaDoGio(emDownloads("c.pdf")))));
        QVERIFY(!existe(emDownloads("b.pdf")));
        QCOMPARE(ler(arquivoNaLixeira("b.pdf")), std::string("b.pdf"));
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::novo);
        QVERIFY(modelo->decisao(emDownloads("c.pdf")) == Decisao::novo);
        QCOMPARE(modelo->decisoes().size(), std::size_t(1));
    }

    void arquivoTrocadoDepoisDaVarreduraNaoVaiParaALixeira()
    {
        escrever(emDownloads("relatorio.pdf"), "o que a pessoa viu");
        escrever(emDownloads("reescrito.pdf"), "curto");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        const std::vector<ItemTriado> itens = itensPorNome(*modelo, {"relatorio.pdf", "reescrito.pdf"});
        QCOMPARE(itens.size(), std::size_t(2));
        // Between the scan and the confirmation: the file becomes a folder full of other
        // things, and the other is rewritten with other contents.
        std::filesystem::remove(emDownloads("relatorio.pdf"));
        std::filesystem::create_directories(emDownloads("relatorio.pdf"));
        escrever(emDownloads("relatorio.pdf") + "/importante.odt", "nao mova");
        escrever(emDownloads("reescrito.pdf"), "outro conteudo, mais longo");

        modelo->moverParaLixeira(itens);

        QCOMPARE(modelo->mensagem(),
            std::optional<QString>(QStringLiteral(
                "Não consegui mover relatorio.pdf para a Lixeira: o arquivo mudou desde a última varredura.\n"
                "Não consegui mover reescrito.pdf para a Lixeira: o arquivo mudou desde a última varredura.")));
        QCOMPARE(ler(emDownloads("relatorio.pdf") + "/importante.odt"), std::string("nao mova"));
        QCOMPARE(ler(emDownloads("reescrito.pdf")), std::string("outro conteudo, mais longo"));
        QCOMPARE(nomesEm(Casa::lixeira() + "/files"), std::vector<std::string> {});
        QVERIFY(modelo->decisao(emDownloads("relatorio.pdf")) == Decisao::novo);
        QVERIFY(modelo->decisao(emDownloads("reescrito.pdf")) == Decisao::novo);
    }

    void nomeQuaseNoLimiteNaoTravaENaoSomeSemIrParaALixeira()
    {
        const std::string longo(250, 'n');
        escrever(emDownloads(longo), "longo");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);

        modelo->moverParaLixeira(itensPorNome(*modelo, {longo}));

        // Either it went to the Trash with its information, or it stayed and the reason shows.
        if (modelo->mensagem()) {
            QCOMPARE(modelo->mensagem(),
                std::optional<QString>(mensagemDeRecusa(longo, recusaDoGio(emDownloads(longo)))));
            QCOMPARE(ler(emDownloads(longo)), std::string("longo"));
            QVERIFY(modelo->decisao(emDownloads(longo)) == Decisao::novo);
        } else {
            QVERIFY(!existe(emDownloads(longo)));
            QCOMPARE(nomesEm(Casa::lixeira() + "/files").size(), std::size_t(1));
            QVERIFY(modelo->decisao(emDownloads(longo)) == Decisao::resolvido);
        }
    }

    void nomeQueNaoEhUtf8PodeSerDecididoEMovido()
    {
        const std::string nome = "nota-\xff\xfe.pdf";
        const std::string caminho = emDownloads(nome);
        escrever(caminho, "bytes");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        std::optional<ItemTriado> item;
        for (const ItemTriado& candidato : modelo->itensTodos()) {
            if (candidato.id() == caminho) {
                item = candidato;
            }
        }
        QVERIFY(item.has_value());
        QVERIFY(item->nome() != nome); // shown repaired, kept exact in the id

        modelo->decidir({item->id()}, Decisao::adiado);
        QCOMPARE(modelo->itens(Destino::adiados()).size(), std::size_t(1));
        QCOMPARE(modelo->itens(Destino::adiados()).front().id(), caminho);
        QVERIFY(modelo->itens(Destino::entrada()).empty());

        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->moverParaLixeira({*item});
        QVERIFY(!modelo->erro().has_value());
        QVERIFY(!existe(caminho));
        QCOMPARE(ler(arquivoNaLixeira(nome)), std::string("bytes"));
        QVERIFY(informacaoConfere(nome, caminho));
        QVERIFY(ler(infoDaLixeira(nome)).find("nota-%FF%FE.pdf") != std::string::npos);
        QVERIFY(modelo->decisao(caminho) == Decisao::resolvido);
        QVERIFY(esperar(fins, 1));
        QVERIFY(modelo->itensTodos().empty());
        QVERIFY(modelo->decisoes().empty());
    }

    void desfazerAMudancaParaALixeiraTrazOArquivoDeVoltaEDesfazerDeNovoOMove()
    {
        escrever(emDownloads("a.pdf"), "conteudo de a");
        escrever(emDownloads("b.pdf"), "conteudo de b");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        modelo->decidir({emDownloads("a.pdf")}, Decisao::adiado);
        QSignalSpy acoes(modelo.get(), &Modelo::acaoFeita);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf", "b.pdf"}));
        QCOMPARE(acoes.count(), 1);
        QCOMPARE(acoes.at(0).at(0).toString(), QStringLiteral("2 arquivos movidos para a Lixeira"));
        QVERIFY(esperar(fins, 1));
        QVERIFY(!existe(emDownloads("a.pdf")));
        QCOMPARE(modelo->pilhaDeDesfazer().undoText(), QStringLiteral("2 arquivos movidos para a Lixeira"));

        modelo->pilhaDeDesfazer().undo();
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QCOMPARE(ler(emDownloads("b.pdf")), std::string("conteudo de b"));
        QCOMPARE(nomesEm(Casa::lixeira() + "/files"), std::vector<std::string> {});
        QCOMPARE(nomesEm(Casa::lixeira() + "/info"), std::vector<std::string> {});
        // Each is back with the decision it had: a.pdf postponed, b.pdf new.
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::adiado);
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::novo);
        QVERIFY(esperar(fins, 2));
        QCOMPARE(nomes(modelo->itensTodos()).size(), std::size_t(2));

        modelo->pilhaDeDesfazer().redo();
        QVERIFY(!existe(emDownloads("a.pdf")));
        QCOMPARE(ler(arquivoNaLixeira("b.pdf")), std::string("conteudo de b"));
        QVERIFY(modelo->decisao(emDownloads("b.pdf")) == Decisao::resolvido);
        QVERIFY(esperar(fins, 3));
    }

    void desfazerComOutroArquivoNoLugarNaoSubstituiNadaDizOndeEstaEAposentaOPasso()
    {
        escrever(emDownloads("a.pdf"), "original");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf"}));
        QVERIFY(esperar(fins, 1));
        escrever(emDownloads("a.pdf"), "baixado de novo");

        modelo->pilhaDeDesfazer().undo();
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("baixado de novo"));
        QCOMPARE(ler(arquivoNaLixeira("a.pdf")), std::string("original"));
        QCOMPARE(modelo->mensagem(),
            std::optional<QString>(QStringLiteral(
                "Não consegui restaurar a.pdf: já existe um arquivo com esse nome na pasta. Nada foi substituído. "
                "Ele continua na Lixeira: renomeie o arquivo novo e use Restaurar em Resolvidos.")));
        // A step that can no longer be undone leaves the history: nothing to redo over the new file.
        QCOMPARE(modelo->pilhaDeDesfazer().count(), 0);
        QVERIFY(!modelo->pilhaDeDesfazer().canRedo());
        QVERIFY(!modelo->pilhaDeDesfazer().canUndo());
        // And the file in the Trash is still there to be restored, beside the new one.
        QVERIFY(esperar(fins, 2));
        QVERIFY(modelo->foiParaALixeira(emDownloads("a.pdf")));
        QCOMPARE(nomes(modelo->itens(Destino::resolvidos())), std::vector<std::string> {"a.pdf"});
        QCOMPARE(nomes(modelo->itens(Destino::entrada())), std::vector<std::string> {"a.pdf"});
    }

    void refazerComOutroArquivoNoLugarNaoMoveOQueNinguemConfirmou()
    {
        escrever(emDownloads("boleto (1).pdf"), "o confirmado");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->moverParaLixeira(itensPorNome(*modelo, {"boleto (1).pdf"}));
        QVERIFY(esperar(fins, 1));
        modelo->pilhaDeDesfazer().undo();
        QCOMPARE(ler(emDownloads("boleto (1).pdf")), std::string("o confirmado"));
        QVERIFY(!modelo->mensagem());
        QVERIFY(esperar(fins, 2));

        // From outside, another file takes the name between undo and redo.
        const std::string caminho = emDownloads("boleto (1).pdf");
        std::filesystem::rename(caminho, emDownloads("guardado.pdf"));
        escrever(caminho, "um arquivo que ninguém confirmou");
        QVERIFY(modelo->pilhaDeDesfazer().canRedo());
        modelo->pilhaDeDesfazer().redo();

        QCOMPARE(ler(caminho), std::string("um arquivo que ninguém confirmou"));
        QCOMPARE(nomesEm(Casa::lixeira() + "/files"), std::vector<std::string> {});
        QCOMPARE(modelo->mensagem(),
            std::optional<QString>(QStringLiteral("Não consegui mover boleto (1).pdf para a Lixeira: o arquivo com esse "
                                                  "nome agora é outro, que você não confirmou. Nada foi movido.")));
        QVERIFY(modelo->decisao(caminho) != Decisao::resolvido);
        QCOMPARE(modelo->pilhaDeDesfazer().count(), 0);
    }

    void restaurarEhUmPassoQueSeDesfazSemDeixarOHistoricoVelho()
    {
        escrever(emDownloads("a.pdf"), "conteudo de a");
        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        QSignalSpy acoes(modelo.get(), &Modelo::acaoFeita);
        modelo->moverParaLixeira(itensPorNome(*modelo, {"a.pdf"}));
        QCOMPARE(acoes.at(0).at(0).toString(), QStringLiteral("1 arquivo movido para a Lixeira"));
        QVERIFY(esperar(fins, 1));
        const std::vector<ItemTriado> resolvidos = modelo->itens(Destino::resolvidos());
        QCOMPARE(nomes(resolvidos), std::vector<std::string> {"a.pdf"});
        QVERIFY(modelo->estaNaLixeira(resolvidos.front().id()));

        modelo->restaurar({resolvidos.front().id()});
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QCOMPARE(acoes.count(), 2);
        QCOMPARE(acoes.at(1).at(0).toString(), QStringLiteral("1 arquivo restaurado"));
        QCOMPARE(modelo->pilhaDeDesfazer().undoText(), QStringLiteral("1 arquivo restaurado"));
        QVERIFY(!modelo->foiParaALixeira(emDownloads("a.pdf")));
        QVERIFY(esperar(fins, 2));
        QCOMPARE(nomes(modelo->itens(Destino::entrada())), std::vector<std::string> {"a.pdf"});

        // Undoing the restore sends it back; undoing the move before it brings it back again:
        // every step of the history still does what it says, and no refusal shows.
        modelo->pilhaDeDesfazer().undo();
        QVERIFY(!existe(emDownloads("a.pdf")));
        QVERIFY(!modelo->mensagem());
        QVERIFY(esperar(fins, 3));
        QVERIFY(modelo->foiParaALixeira(emDownloads("a.pdf")));
        QCOMPARE(modelo->pilhaDeDesfazer().undoText(), QStringLiteral("1 arquivo movido para a Lixeira"));
        modelo->pilhaDeDesfazer().undo();
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QVERIFY(!modelo->mensagem());
        QVERIFY(modelo->decisao(emDownloads("a.pdf")) == Decisao::novo);
        QCOMPARE(nomesEm(Casa::lixeira() + "/files"), std::vector<std::string> {});

        // And forward again, both steps.
        modelo->pilhaDeDesfazer().redo();
        QVERIFY(!existe(emDownloads("a.pdf")));
        modelo->pilhaDeDesfazer().redo();
        QCOMPARE(ler(emDownloads("a.pdf")), std::string("conteudo de a"));
        QVERIFY(!modelo->mensagem());
    }

    void resolvidosListaOQueOutraSessaoOuOutroProgramaMandouParaALixeira()
    {
        escrever(emDownloads("antigo.pdf"), "de ontem");
        escrever(emDownloads("fica.pdf"), "fica");
        std::filesystem::create_directories(Casa::downloads() + "/sub");
        escrever(Casa::downloads() + "/sub/dentro.pdf", "de uma subpasta");
        // Moved by another program, before this window ever opened.
        QCOMPARE(recusaDoGio(emDownloads("antigo.pdf")), QStringLiteral("(moved)"));
        QCOMPARE(recusaDoGio(Casa::downloads() + "/sub/dentro.pdf"), QStringLiteral("(moved)"));
        escrever(emDownloads("antigo.pdf"), "outro de mesmo nome, hoje");

        const auto modelo = modeloVarrido();
        QVERIFY(modelo);
        // Listed under the name it had, beside the new file of that name, which stays in the inbox.
        const std::vector<ItemTriado> resolvidos = modelo->itens(Destino::resolvidos());
        QCOMPARE(nomes(resolvidos), std::vector<std::string> {"antigo.pdf"});
        QCOMPARE(resolvidos.front().snapshot().tamanho(), std::int64_t(8));
        QVERIFY(modelo->estaNaLixeira(resolvidos.front().id()));
        QVERIFY(resolvidos.front().id() != emDownloads("antigo.pdf"));
        QCOMPARE(modelo->contagem(Destino::resolvidos()), std::optional<int>(1));
        QCOMPARE(nomes(modelo->itens(Destino::entrada())).size(), std::size_t(3));

        // Its name is taken: it stays, and the message says where it is and what to do.
        modelo->restaurar({resolvidos.front().id()});
        QCOMPARE(ler(emDownloads("antigo.pdf")), std::string("outro de mesmo nome, hoje"));
        QVERIFY(modelo->mensagem().has_value());
        QVERIFY(modelo->mensagem()->endsWith(QStringLiteral("Ele continua na Lixeira: renomeie o arquivo novo e use Restaurar em Resolvidos.")));
        QVERIFY(!modelo->pilhaDeDesfazer().canUndo());
        QCOMPARE(modelo->itens(Destino::resolvidos()).size(), std::size_t(1));

        // Once the person renames the new file, Restaurar brings the old one back.
        std::filesystem::rename(emDownloads("antigo.pdf"), emDownloads("novo.pdf"));
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);
        modelo->restaurar({resolvidos.front().id()});
        QCOMPARE(ler(emDownloads("antigo.pdf")), std::string("de ontem"));
        QVERIFY(!modelo->mensagem());
        QVERIFY(modelo->itens(Destino::resolvidos()).empty());
        QVERIFY(esperar(fins, 1));
        QVERIFY(modelo->itens(Destino::resolvidos()).empty());
        QCOMPARE(nomes(modelo->itens(Destino::entrada())).size(), std::size_t(4));
    }
};

TARRAFA_REGISTRAR_TESTE(LixeiraTest)
#include "LixeiraTest.moc"

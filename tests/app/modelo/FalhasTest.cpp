// SPDX-License-Identifier: GPL-3.0-or-later
// The model under conditions a desktop really meets: a decision file far larger than usual
// and a Downloads folder on another file system than the home (a USB stick, a RAM disk).
#include "Casa.hpp"
#include "OutroSistemaDeArquivos.hpp"
#include "Registro.hpp"

#include <QSignalSpy>
#include <QTest>

#include <cstdlib>
#include <filesystem>

#include <sys/mount.h>
#include <unistd.h>

using namespace tarrafa;
using namespace tarrafa::app;
using namespace tarrafa::app::teste;

namespace {

// Another file system over the fake home's Downloads folder, its image in the fake home.
class OutroSistemaDeArquivos final {
public:
    using Tipo = tarrafa::teste::OutroSistemaDeArquivos::Tipo;
    OutroSistemaDeArquivos(const std::string& ponto, Tipo tipo)
        : disco_(ponto, tipo, Casa::raiz())
    {
    }
    [[nodiscard]] bool montado() const noexcept { return disco_.montado(); }

private:
    tarrafa::teste::OutroSistemaDeArquivos disco_;
};

} // namespace

class FalhasTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { Casa::recomecar(); }

    void arquivoDeDecisoesComCemMilEntradasCarregaEPoda()
    {
        constexpr int kEntradas = 100'000;
        escrever(emDownloads("fica.pdf"), "fica");
        std::string conteudo = "{";
        for (int i = 0; i < kEntradas; ++i) {
            conteudo += "\"" + comBarrasEscapadas(emDownloads("antigo-" + std::to_string(i) + ".pdf"))
                + "\":\"" + (i % 2 == 0 ? "adiado" : "resolvido") + "\",";
        }
        conteudo += "\"" + comBarrasEscapadas(emDownloads("fica.pdf")) + "\":\"ignorado\"}";
        std::filesystem::create_directories(Casa::pastaDeDados());
        escrever(Casa::arquivoDeDecisoes().toStdString(), conteudo);

        Modelo modelo;
        QCOMPARE(modelo.decisoes().size(), std::size_t(kEntradas + 1));
        QVERIFY(modelo.decisao(emDownloads("antigo-99998.pdf")) == Decisao::adiado);
        QVERIFY(modelo.decisao(emDownloads("antigo-99999.pdf")) == Decisao::resolvido);

        // The first scan finds one of them still there: the other hundred thousand go, and
        // the file is written again holding that one alone.
        QSignalSpy fins(&modelo, &Modelo::varreduraTerminada);
        QVERIFY(esperar(fins, 1));
        QCOMPARE(modelo.decisoes().size(), std::size_t(1));
        modelo.concluirGravacoes();
        QCOMPARE(ler(Casa::arquivoDeDecisoes().toStdString()),
            "{\"" + comBarrasEscapadas(emDownloads("fica.pdf")) + "\":\"ignorado\"}");
        QVERIFY(!modelo.erro().has_value());
    }

    void arquivoNumDiscoDeMemoriaFicaComAMensagem()
    {
        const OutroSistemaDeArquivos disco(Casa::downloads(), OutroSistemaDeArquivos::Tipo::ramDisk);
        if (!disco.montado()) {
            QSKIP("mounting a RAM disk needs root (or the mount was refused): this case is not checked here");
        }
        const auto modelo = moverParaALixeira("na-memoria.pdf");
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        // GIO keeps no trash on a system's internal mounts: the file stays, whole, and the
        // person is told why.
        QVERIFY(modelo->mensagem().has_value());
        QVERIFY2(modelo->mensagem()->startsWith(QStringLiteral("Não consegui mover na-memoria.pdf para a Lixeira: ")),
            qPrintable(*modelo->mensagem()));
        QCOMPARE(ler(emDownloads("na-memoria.pdf")), std::string("conteudo"));
        QVERIFY(modelo->decisao(emDownloads("na-memoria.pdf")) != Decisao::resolvido);
        QVERIFY(esperar(fins, 1));
    }

    void arquivoNumPendriveVaiParaALixeiraDoProprioPendrive()
    {
        const OutroSistemaDeArquivos disco(Casa::downloads(), OutroSistemaDeArquivos::Tipo::imagemExt4);
        if (!disco.montado()) {
            QSKIP("mounting an ext4 image needs root, mkfs.ext4 and a loop device: this case is not checked here");
        }
        const auto modelo = moverParaALixeira("no-pendrive.pdf");
        QVERIFY(modelo);
        QSignalSpy fins(modelo.get(), &Modelo::varreduraTerminada);

        // The trash of a removable disk lives on the disk, so that nothing crosses devices.
        const std::string lixeira = Casa::downloads() + "/.Trash-" + std::to_string(::geteuid());
        QVERIFY2(!modelo->mensagem().has_value(), qPrintable(modelo->mensagem().value_or(QString())));
        QVERIFY(!existe(emDownloads("no-pendrive.pdf")));
        QCOMPARE(ler(lixeira + "/files/no-pendrive.pdf"), std::string("conteudo"));
        QVERIFY(existe(lixeira + "/info/no-pendrive.pdf.trashinfo"));
        QVERIFY(modelo->decisao(emDownloads("no-pendrive.pdf")) == Decisao::resolvido);
        QVERIFY(esperar(fins, 1));
        // The disk's trash folder is hidden, so the rescan does not list it.
        QVERIFY(!itemPorNome(*modelo, ".Trash-" + std::to_string(::geteuid())));
        QVERIFY(!itemPorNome(*modelo, "no-pendrive.pdf"));
    }

private:
    // Puts one file in Downloads, scans, and asks the model to move it to the Trash; the
    // model, right after the call (its rescan still to come), or none if the scan failed.
    static std::unique_ptr<Modelo> moverParaALixeira(const std::string& nome)
    {
        escrever(emDownloads(nome), "conteudo");
        auto modelo = modeloVarrido();
        const auto item = modelo ? itemPorNome(*modelo, nome) : std::nullopt;
        if (!item) {
            return nullptr;
        }
        modelo->moverParaLixeira({*item});
        return modelo;
    }
};

TARRAFA_REGISTRAR_TESTE(FalhasTest)
#include "FalhasTest.moc"

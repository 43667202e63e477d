// SPDX-License-Identifier: GPL-3.0-or-later
// The fake home every test of the model lives in, and the small tools to build a Downloads
// folder in it and look at what the model did to the disk.
#pragma once

#include "TarrafaApp/Modelo/Modelo.hpp"

#include <QByteArray>
#include <QObject>
#include <QSignalSpy>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarrafa::app::teste {

// Paths are raw bytes, as the model keeps them.
namespace Casa {

// Makes the home under the system's temporary folder and points HOME, XDG_DATA_HOME,
// XDG_CONFIG_HOME, XDG_CACHE_HOME and XDG_DATA_DIRS at it, for the whole process.
void montar();
void desmontar();

[[nodiscard]] const std::string& raiz();
[[nodiscard]] std::string downloads();
[[nodiscard]] std::string dados();
[[nodiscard]] std::string lixeira();
[[nodiscard]] std::string pastaDeDados();
[[nodiscard]] QString arquivoDeDecisoes();

// An empty Downloads folder; no data folder, no Trash, no user-dirs.dirs.
void recomecar();

} // namespace Casa

[[nodiscard]] std::string emDownloads(std::string_view nome);
// A model over the fake home (its own Downloads folder and decision file) whose first scan
// has been applied; none if that did not happen in time.
[[nodiscard]] std::unique_ptr<Modelo> modeloVarrido();
// Waits until the spy has seen n signals in all.
[[nodiscard]] bool esperar(QSignalSpy& espiao, int n);

void escrever(const std::string& caminho, std::string_view conteudo);
[[nodiscard]] std::string ler(const std::string& caminho);
// Whether anything is at the path (a dangling link counts).
[[nodiscard]] bool existe(const std::string& caminho);
[[nodiscard]] unsigned long long inode(const std::string& caminho);
// The first address the file says it was downloaded from, as browsers on Linux write it.
void definirOrigem(const std::string& caminho, std::string_view endereco);
[[nodiscard]] QString deBytes(const std::string& texto);
[[nodiscard]] std::string comBarrasEscapadas(std::string texto);
// The names in a folder, sorted; hidden ones included.
[[nodiscard]] std::vector<std::string> nomesEm(const std::string& pasta);

[[nodiscard]] std::vector<std::string> nomes(const std::vector<ItemTriado>& itens);
[[nodiscard]] std::vector<std::string> nomes(const std::vector<GrupoOrigem>& grupos);
[[nodiscard]] std::optional<ItemTriado> itemPorNome(const Modelo& modelo, std::string_view nome);
// The key of the group that holds the file, in the model's last scan.
[[nodiscard]] std::string chaveDoGrupoDe(const Modelo& modelo, std::string_view nome);

// Counts the times a file in a folder is written, through inotify: a whole file put in place
// (renamed or linked there), and a file written where it stands.
class Gravacoes final {
public:
    Gravacoes(const std::string& pasta, std::string nome);
    ~Gravacoes();
    Gravacoes(const Gravacoes&) = delete;
    Gravacoes& operator=(const Gravacoes&) = delete;

    // Since the last call: (whole files put in place, files written where they stand).
    [[nodiscard]] std::pair<int, int> desdeAUltima();

private:
    int fd_ = -1;
    std::string nome_;
};

// Takes away, from the calling thread only, the privileges that let root ignore permission
// bits; gives them back when it ends. Does nothing for an ordinary user.
class SemPrivilegiosDeArquivo final {
public:
    SemPrivilegiosDeArquivo();
    ~SemPrivilegiosDeArquivo();
    SemPrivilegiosDeArquivo(const SemPrivilegiosDeArquivo&) = delete;
    SemPrivilegiosDeArquivo& operator=(const SemPrivilegiosDeArquivo&) = delete;

    [[nodiscard]] bool ok() const noexcept { return ok_; }

private:
    bool ok_ = false;
    bool restaurar_ = false;
};

// One line per entry below the folder (and one for the folder itself): type and mode, size,
// inode, links, the three times to the nanosecond (a symbolic link's access time aside),
// birth time, and every extended attribute with its value. Read without changing any
// access time.
[[nodiscard]] QStringList retrato(const std::string& pasta);

// Moves every access and modification time below the folder (itself included) back by the
// given number of seconds, so that any read would move the access time forward again.
void envelhecer(const std::string& pasta, long segundos);

// Writes down, in order, every change the model announces.
class Diario final : public QObject {
public:
    explicit Diario(const Modelo& modelo);

    [[nodiscard]] const QStringList& linhas() const noexcept { return linhas_; }
    void limpar() { linhas_.clear(); }

private:
    QStringList linhas_;
};

} // namespace tarrafa::app::teste

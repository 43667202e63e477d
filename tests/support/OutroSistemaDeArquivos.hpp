// SPDX-License-Identifier: GPL-3.0-or-later
// Another file system mounted over a folder for the life of the object: a RAM disk, or a
// small ext4 image on a loop device (as a USB stick would be). Needs root; otherwise, or when
// the machine refuses, nothing is mounted and montado() says so.
#pragma once

#include <cstdlib>
#include <string>

#include <sys/mount.h>
#include <unistd.h>

namespace tarrafa::teste {

class OutroSistemaDeArquivos final {
public:
    // ramDiskAcessoEstrito keeps access times strictly (strictatime): every read of a file or
    // listing of a folder moves it, where the usual relatime would move it once a day at most.
    enum class Tipo { ramDisk, ramDiskAcessoEstrito, imagemExt4 };

    // The ext4 image is made in pastaDaImagem.
    OutroSistemaDeArquivos(const std::string& ponto, Tipo tipo, const std::string& pastaDaImagem)
        : ponto_(ponto)
    {
        if (::geteuid() != 0) {
            return;
        }
        if (tipo == Tipo::ramDisk || tipo == Tipo::ramDiskAcessoEstrito) {
            unsigned long opcoes = MS_NOSUID | MS_NODEV;
            if (tipo == Tipo::ramDiskAcessoEstrito) {
                opcoes |= MS_STRICTATIME;
            }
            montado_ = ::mount("tarrafa-teste", ponto_.c_str(), "tmpfs", opcoes, "size=4m") == 0;
            return;
        }
        const std::string imagem = pastaDaImagem + "/pendrive.ext4";
        const std::string comando = "truncate -s 8M '" + imagem + "' && mkfs.ext4 -q -F '" + imagem
            + "' >/dev/null 2>&1 && mount -o loop '" + imagem + "' '" + ponto_ + "' 2>/dev/null && chmod 1777 '"
            + ponto_ + "'";
        montado_ = std::system(comando.c_str()) == 0;
        if (!montado_) {
            ::umount2(ponto_.c_str(), MNT_DETACH);
        }
    }
    ~OutroSistemaDeArquivos()
    {
        if (montado_) {
            ::umount2(ponto_.c_str(), MNT_DETACH);
        }
    }
    OutroSistemaDeArquivos(const OutroSistemaDeArquivos&) = delete;
    OutroSistemaDeArquivos& operator=(const OutroSistemaDeArquivos&) = delete;

    [[nodiscard]] bool montado() const noexcept { return montado_; }

private:
    std::string ponto_;
    bool montado_ = false;
};

} // namespace tarrafa::teste

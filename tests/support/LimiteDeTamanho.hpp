// SPDX-License-Identifier: GPL-3.0-or-later
// A limit on the size of any file the process writes, as `ulimit -f` sets one: a write past
// it fails with EFBIG, as on a full disk, and needs no privilege to arrange.
#pragma once

#include <csignal>
#include <cstddef>

#include <sys/resource.h>

namespace tarrafa::teste {

// For the whole process while it lives: SIGXFSZ ignored (else the kernel stops the process
// instead of failing the write), and the soft limit lowered; both restored at the end.
class LimiteDeTamanho final {
public:
    explicit LimiteDeTamanho(std::size_t bytes)
    {
        anterior_ = std::signal(SIGXFSZ, SIG_IGN);
        ok_ = ::getrlimit(RLIMIT_FSIZE, &antes_) == 0;
        if (ok_) {
            rlimit limite = antes_;
            limite.rlim_cur = static_cast<rlim_t>(bytes);
            ok_ = ::setrlimit(RLIMIT_FSIZE, &limite) == 0;
        }
    }
    ~LimiteDeTamanho()
    {
        if (ok_) {
            ::setrlimit(RLIMIT_FSIZE, &antes_);
        }
        std::signal(SIGXFSZ, anterior_);
    }
    LimiteDeTamanho(const LimiteDeTamanho&) = delete;
    LimiteDeTamanho& operator=(const LimiteDeTamanho&) = delete;

    [[nodiscard]] bool ok() const noexcept { return ok_; }

private:
    rlimit antes_ {};
    void (*anterior_)(int) = SIG_DFL;
    bool ok_ = false;
};

} // namespace tarrafa::teste

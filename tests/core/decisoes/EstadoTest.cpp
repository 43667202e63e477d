// SPDX-License-Identifier: GPL-3.0-or-later
// Where each decision puts a file: the window's sidebar and the command line both list by it.
#include "TarrafaCore/Decisao.hpp"

#include <gtest/gtest.h>

namespace tarrafa {
namespace {

TEST(Estado, OnlyUndecidedFilesWaitInTheInboxAndIgnoredOnesAreDoneWithAsResolvedOnes)
{
    EXPECT_EQ(estadoDe(Decisao::novo), Estado::caixa);
    EXPECT_EQ(estadoDe(Decisao::adiado), Estado::adiados);
    EXPECT_EQ(estadoDe(Decisao::resolvido), Estado::resolvidos);
    EXPECT_EQ(estadoDe(Decisao::ignorado), Estado::resolvidos);
}

} // namespace
} // namespace tarrafa

// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recovery/recovery_space.h"

#include <gtest/gtest.h>

#include "capture/recovery/recovery.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::capture {
namespace {

TEST(RecoverySpace, GrowsWithTheMoviesAndTheJournal) {
    const TemporaryFolder folder;
    const std::uint64_t least = recoverySpace(folder.path());
    EXPECT_GT(least, 0U);
    folder.write("journal", std::string(10'000, 'x'));
    const std::uint64_t withJournal = recoverySpace(folder.path());
    EXPECT_GE(withJournal, least + 20'000);
    folder.write("source.mov", "no movie");
    EXPECT_EQ(recoverySpace(folder.path()), withJournal);
}

TEST(RecoverySpace, IsSaidInWholeMegabytes) {
    const TemporaryFolder folder;
    const std::uint64_t need = recoverySpace(folder.path());
    EXPECT_FALSE(lackOfRecoverySpace(folder.path(), std::nullopt));
    EXPECT_FALSE(lackOfRecoverySpace(folder.path(), FreeSpace{need, 2 * need}));
    EXPECT_EQ(lackOfRecoverySpace(folder.path(), FreeSpace{need - 1, 2 * need})->message(),
              "Zum Abschließen fehlen auf dem Datenträger noch 1 MB.");
    folder.write("journal", std::string(1'000'000, 'x'));
    EXPECT_EQ(lackOfRecoverySpace(folder.path(), FreeSpace{0, 1'000'000})->message(),
              "Zum Abschließen fehlen auf dem Datenträger noch 5 MB.");
}

}  // namespace
}  // namespace lumivastor::capture

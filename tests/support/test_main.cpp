// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "support/temporary_folder.h"

// Gives the tests a home folder of their own: nothing that they log or record reaches the developer's.
int main(int argc, char** argv) {
    // One that a death test starts has its parent's, and would not get to removing another.
    const bool isToDie = std::any_of(
        argv, argv + argc, [](std::string_view word) { return word.starts_with("--gtest_internal_run_death_test"); });
    testing::InitGoogleTest(&argc, argv);
    // Threads of the sort that die tests fork away from are running in many of these programs.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    std::optional<lumivastor::TemporaryFolder> home;
    if (!isToDie) home.emplace();
    if (home) setenv("HOME", home->path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread is running yet
    return RUN_ALL_TESTS();
}

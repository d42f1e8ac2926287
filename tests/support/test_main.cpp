#include <gtest/gtest.h>

#include <cstdlib>

#include "support/temporary_folder.h"

// Gives the tests a home folder of their own: nothing that they log or record reaches the developer's.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Threads of the sort that die tests fork away from are running in many of these programs.
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const lumivastor::TemporaryFolder home;
    setenv("HOME", home.path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread is running yet
    return RUN_ALL_TESTS();
}

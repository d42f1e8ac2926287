// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/interruption.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "support/await.h"

namespace lumivastor::cli {
namespace {

// Waits until the token is asked to stop; false when that never comes.
bool waitForStop(const std::stop_token& token) {
    std::mutex lock;
    std::condition_variable_any wake;
    std::unique_lock hold(lock);
    return wake.wait_for(hold, token, std::chrono::seconds(20), [] { return false; }) || token.stop_requested();
}

TEST(Interruption, TurnsSignalsIntoARequestToStop) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const Interruption interruption;
        EXPECT_FALSE(interruption.token().stop_requested());
        // To the process as a whole, as a terminal does it.
        kill(getpid(), signal);
        EXPECT_TRUE(waitForStop(interruption.token()));
    }
}

TEST(Interruption, AHangUpThatIsIgnoredStaysIgnored) {
    const auto before = std::signal(SIGHUP, SIG_IGN);
    {
        const Interruption interruption;
        kill(getpid(), SIGHUP);
        sigset_t watched;
        sigemptyset(&watched);
        pthread_sigmask(SIG_SETMASK, nullptr, &watched);
        EXPECT_EQ(sigismember(&watched, SIGTERM), 1);
        EXPECT_EQ(sigismember(&watched, SIGHUP), 0);
        EXPECT_FALSE(interruption.token().stop_requested());
    }
    std::signal(SIGHUP, before);
}

TEST(Interruption, ASignalOfTheUsersTogglesWhereItIsWatched) {
    Interruption interruption(Interruption::Toggle::yes);
    kill(getpid(), SIGUSR1);  // nobody listens yet
    std::atomic<int> count = 0;
    interruption.onToggle([&count] { ++count; });
    const int before = count;
    kill(getpid(), SIGUSR1);
    EXPECT_TRUE(await([&] { return count > before; }));
    interruption.onToggle({});
    EXPECT_FALSE(interruption.token().stop_requested());
}

TEST(InterruptionDeathTest, AfterwardsSignalsEndTheProgramAgain) {
    EXPECT_EXIT(
        {
            { const Interruption interruption; }
            raise(SIGTERM);
        },
        testing::KilledBySignal(SIGTERM), "");
}

}  // namespace
}  // namespace lumivastor::cli

// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/band_workers.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace lumivastor::imaging {
namespace {

TEST(BandWorkers, DoEachBandOnce) {
    for (const int threads : {1, 2, 5}) {
        BandWorkers workers(threads);
        for (const int bands : {0, 1, 3, 100}) {
            std::vector<std::atomic<int>> calls(static_cast<std::size_t>(bands));
            workers.run(bands, [&](int band, int thread) {
                EXPECT_LT(thread, threads);
                ++calls[static_cast<std::size_t>(band)];
            });
            for (const auto& count : calls) EXPECT_EQ(count, 1);
        }
    }
}

TEST(BandWorkers, WhatAnyThreadThrowsComesOutOfRun) {
    for (const int threads : {1, 4}) {
        BandWorkers workers(threads);
        for (int failing = 0; failing < 20; ++failing) {
            std::atomic<int> running = 0;
            const auto work = [&](int band, int) {
                ++running;
                std::this_thread::yield();
                --running;
                if (band == failing) throw std::runtime_error(std::to_string(band));
            };
            try {
                workers.run(20, work);
                ADD_FAILURE() << "nothing was thrown";
            } catch (const std::runtime_error& error) {
                EXPECT_EQ(error.what(), std::to_string(failing));
            }
            EXPECT_EQ(running, 0) << "nobody works any more";
        }
        // The next round knows nothing of it.
        std::atomic<int> done = 0;
        workers.run(50, [&](int, int) { ++done; });
        EXPECT_EQ(done, 50);
    }
}

TEST(BandWorkers, ThrowingOnEveryThreadIsOneException) {
    BandWorkers workers(4);
    for (int round = 0; round < 50; ++round) {
        EXPECT_THROW(workers.run(8, [](int, int) { throw std::bad_alloc(); }), std::bad_alloc);
    }
}

// A system that gives no further threads. Tried in a process of its own, as somebody whose threads are counted.
int exitStatusWithoutThreads() {
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (::geteuid() == 0 && ::setresuid(kNobody, kNobody, kNobody) != 0) ::_exit(10);
        const rlimit none{0, 0};
        if (::setrlimit(RLIMIT_NPROC, &none) != 0) ::_exit(11);
        int sum = 0;
        {
            BandWorkers workers(4);
            workers.run(10, [&sum](int band, int thread) { sum += band + 100 * thread; });
        }
        ::_exit(sum == 45 ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST(BandWorkers, WithoutAnyFurtherThreadTheCallerDoesItAll) {
    EXPECT_EQ(exitStatusWithoutThreads(), 0);
}

}  // namespace
}  // namespace lumivastor::imaging

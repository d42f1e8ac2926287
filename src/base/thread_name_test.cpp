// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/thread_name.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <string>
#include <thread>

namespace lumivastor {
namespace {

TEST(ThreadName, KeepsWhatFits) {
    EXPECT_EQ(shortThreadName(""), "");
    EXPECT_EQ(shortThreadName("writer.disk"), "writer.disk");
    EXPECT_EQ(shortThreadName("x11.pointer"), "x11.pointer");
}

TEST(ThreadName, KeepsTheEndThatTellsThreadsApart) {
    EXPECT_EQ(shortThreadName("aufnahme.capture.video"), "capture.video");
    EXPECT_EQ(shortThreadName("aufnahme.capture.systemaudio"), "systemaudio");
    EXPECT_EQ(shortThreadName("aufnahme.render.audio12"), "render.audio12");
    EXPECT_EQ(shortThreadName("a.123456789012345"), "123456789012345");
    EXPECT_EQ(shortThreadName("a.1234567890123456"), "234567890123456");
    EXPECT_EQ(shortThreadName("ohneeinenpunktdarin"), "einenpunktdarin");
    EXPECT_EQ(shortThreadName("miteinempunktdahinter."), "mpunktdahinter.");
}

TEST(ThreadName, IsWhatTheSystemShows) {
    std::array<char, 16> shown{};
    std::thread([&shown] {
        nameThisThread("aufnahme.capture.microphone");
        pthread_getname_np(pthread_self(), shown.data(), shown.size());
    }).join();
    EXPECT_STREQ(shown.data(), "microphone");
}

}  // namespace
}  // namespace lumivastor

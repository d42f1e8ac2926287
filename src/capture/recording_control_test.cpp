// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording_control.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <memory>

#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

TEST(RecordingControl, StopsEachRunningRecording) {
    const TemporaryFolder folder;
    std::atomic<int> first = 0;
    std::atomic<int> second = 0;
    const RecordingControl one(folder / "run", [&] { ++first; });
    auto two = std::make_unique<RecordingControl>(folder / "run", [&] { ++second; });
    EXPECT_EQ(stopRecordings(folder / "run"), 2);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
    two.reset();
    EXPECT_EQ(stopRecordings(folder / "run"), 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
}

TEST(RecordingControl, NothingToStop) {
    const TemporaryFolder folder;
    EXPECT_EQ(stopRecordings(folder / "missing"), 0);
    {
        const RecordingControl gone(folder / "run", [] {});
    }
    EXPECT_EQ(stopRecordings(folder / "run"), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "run"));
}

TEST(RecordingControl, OnlyTheUserReachesIt) {
    const TemporaryFolder folder;
    const RecordingControl control(folder / "run", [] {});
    struct stat status {};
    ASSERT_EQ(::stat((folder / "run").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
}

TEST(RecordingControl, WhatACrashLeftIsRemoved) {
    const TemporaryFolder folder;
    const auto path = folder / "recording-1-1.socket";
    {
        const UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(stopRecordings(folder.path()), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(RecordingControl, AFolderThatCannotBeMadeDoesNotHinderTheRecording) {
    const TemporaryFolder folder;
    folder.write("file", "");
    const RecordingControl control(folder / "file" / "run", [] {});
    EXPECT_EQ(stopRecordings(folder / "file" / "run"), 0);
}

}  // namespace
}  // namespace lumivastor::capture

// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recovered_movie.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "media/writing/asset_writer.h"
#include "support/temporary_folder.h"

namespace lumivastor::capture {
namespace {

constexpr int kSize = 64;

// A live movie with so many pictures a second apart; left in fragments unless it is finished.
void writeMovie(const std::filesystem::path& path, int pictures, bool isFinished) {
    media::AssetWriter writer(path, media::MovieContainer::quickTime);
    writer.setMovieFragmentInterval({2, 1});
    media::VideoSettings settings;
    settings.width = settings.height = kSize;
    settings.averageBitRate = 100000;
    media::VideoWriterInput& input = writer.addVideoInput(settings);
    ASSERT_TRUE(writer.startWriting());
    writer.startSession({});
    for (int i = 0; i < pictures; ++i) {
        while (!input.isReadyForMoreMediaData()) std::this_thread::yield();
        ASSERT_TRUE(input.append(std::make_shared<imaging::BgraPremultipliedBuffer>(kSize, kSize), MediaTime{i, 1}));
    }
    ASSERT_TRUE(!isFinished || writer.finishWriting());
}

TEST(MayStillBeRecovered, OnlyWhereSomethingOfTheRecordingIsOnTheDisk) {
    const TemporaryFolder folder;
    EXPECT_FALSE(mayStillBeRecovered(folder / "none.mov"));
    folder.write("empty.mov", "");
    EXPECT_FALSE(mayStillBeRecovered(folder / "empty.mov"));
    folder.write("other.mov", "something that nobody here has written");
    EXPECT_TRUE(mayStillBeRecovered(folder / "other.mov")) << "not ours to give up";
    writeMovie(folder / "begun.mov", 0, false);
    EXPECT_FALSE(mayStillBeRecovered(folder / "begun.mov"));
    writeMovie(folder / "left.mov", 4, false);
    EXPECT_TRUE(mayStillBeRecovered(folder / "left.mov"));
    writeMovie(folder / "whole.mov", 4, true);
    EXPECT_TRUE(mayStillBeRecovered(folder / "whole.mov"));
    // Of those left behind, what had not been encoded is lost; only so many wait.
    EXPECT_GE(recoverMovie(folder / "left.mov").pictures, 1);
}

}  // namespace
}  // namespace lumivastor::capture

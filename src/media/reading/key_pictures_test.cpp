// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/key_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

class KeyPicturesTest : public testing::Test {
  protected:
    KeyPictures open(const TestMovieOptions& options) {
        makeTestMovie(folder_ / "movie.mov", options);
        const auto asset = std::make_shared<const Asset>(folder_ / "movie.mov");
        return {asset, asset->tracks(TrackKind::video).front().id};
    }

    TemporaryFolder folder_;
};

TEST_F(KeyPicturesTest, TheIndexNamesEverySample) {
    TestMovieOptions options;
    options.keyFrameInterval = 10;
    const auto samples = open(options).index();
    ASSERT_EQ(samples.size(), 60U);
    std::uintmax_t bytes = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        EXPECT_NEAR(samples[i].decodeTime.seconds(), static_cast<double>(i) / 30, 1e-6);
        EXPECT_EQ(samples[i].isKey, i % 10 == 0) << i;
        EXPECT_GT(samples[i].bytes, 0);
        bytes += static_cast<std::uintmax_t>(samples[i].bytes);
    }
    EXPECT_LT(bytes, std::filesystem::file_size(folder_ / "movie.mov"));
}

TEST_F(KeyPicturesTest, DecodesTheKeyPictureUpToATimeInAnyOrder) {
    TestMovieOptions options;
    options.keyFrameInterval = 10;
    KeyPictures pictures = open(options);
    for (const int number : {40, 0, 29, 10, 11, 59, 5}) {
        const auto picture = pictures.decode(MediaTime{number * 20, 600});
        ASSERT_TRUE(picture) << number;
        EXPECT_EQ(testPictureNumber(picture->samples), number / 10 * 10);
        EXPECT_NEAR(picture->presentationTime.seconds(), number / 10 / 3.0, 1e-6);
    }
    EXPECT_FALSE(pictures.decode(MediaTime{-1, 600}));
}

TEST_F(KeyPicturesTest, DecodesWherePicturesAreReordered) {
    TestMovieOptions options;
    options.keyFrameInterval = 12;
    options.reorderedPictures = 2;
    for (const bool open : {false, true}) {
        options.openGroups = open;
        KeyPictures pictures = this->open(options);
        int found = 0;
        for (const IndexedSample& sample : pictures.index()) {
            if (!sample.isKey) continue;
            const auto picture = pictures.decode(sample.decodeTime);
            ASSERT_TRUE(picture);
            EXPECT_EQ(testPictureNumber(picture->samples), std::lround(picture->presentationTime.seconds() * 30));
            ++found;
        }
        EXPECT_GE(found, 4);
    }
}

TEST_F(KeyPicturesTest, AnotherCodecAndAFragmentedMovieAreTheSame) {
    TestMovieOptions options;
    options.keyFrameInterval = 20;
    options.videoEncoder = "libx265";
    options.fragmented = true;
    KeyPictures pictures = open(options);
    EXPECT_EQ(pictures.index().size(), 60U);
    const auto picture = pictures.decode(MediaTime{45, 30});
    ASSERT_TRUE(picture);
    EXPECT_EQ(testPictureNumber(picture->samples), 40);
}

TEST_F(KeyPicturesTest, AFileThatIsGoneIsAnError) {
    TestMovieOptions options;
    makeTestMovie(folder_ / "movie.mov", options);
    const auto asset = std::make_shared<const Asset>(folder_ / "movie.mov");
    std::filesystem::remove(folder_ / "movie.mov");
    EXPECT_THROW(KeyPictures(asset, asset->tracks().front().id), RecorderError);
}

}  // namespace
}  // namespace lumivastor::media

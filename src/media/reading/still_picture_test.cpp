// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/still_picture.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

class StillPicture : public testing::Test {
  protected:
    int numberAt(double seconds) const {
        const auto picture = stillPicture(asset_, seconds);
        return picture ? testPictureNumber(*picture) : -1;
    }

    std::shared_ptr<const Asset> make(const TestMovieOptions& options) {
        makeTestMovie(folder_ / "movie.mov", options);
        asset_ = std::make_shared<const Asset>(folder_ / "movie.mov");
        return asset_;
    }

    TemporaryFolder folder_;
    std::shared_ptr<const Asset> asset_;
};

TEST_F(StillPicture, IsTheLastOneUpToTheMoment) {
    make(TestMovieOptions());
    for (int i = 0; i < 60; i += 7) {
        EXPECT_EQ(numberAt(i / 30.0 + 0.001), i);
        EXPECT_EQ(numberAt(i / 30.0 + 0.032), i);
    }
}

TEST_F(StillPicture, StaysPastTheEnd) {
    make(TestMovieOptions());
    EXPECT_EQ(numberAt(2.5), 59);
    EXPECT_EQ(numberAt(1e9), 59);
}

TEST_F(StillPicture, IsNoneBeforeTheFirst) {
    make(TestMovieOptions());
    EXPECT_EQ(stillPicture(asset_, -0.5), std::nullopt);
}

TEST_F(StillPicture, OfAMovieWithoutPicturesIsNone) {
    TestMovieOptions options;
    options.videoEncoder = "";
    options.sounds.emplace_back();
    options.soundSeconds = 1;
    EXPECT_EQ(stillPicture(make(options), 0.5), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::media

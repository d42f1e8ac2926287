#include "media/still_generator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "base/recorder_error.h"
#include "support/player_fixture.h"

namespace lumivastor {
namespace {

class Stills : public PlayerFixture {};

TEST_F(Stills, ShowWhatAPlayerShows) {
    options_.pictures = 90;
    options_.keyFrameInterval = 40;
    makeMovie();
    StillGenerator stills(item(), 1000, 1000);
    for (const double seconds : {2.5, 0.0, 1.0, 1.033, 1.034, 99.0, -1.0}) {
        const BgraPremultipliedBuffer still = stills.still(seconds);
        EXPECT_EQ(still.width(), options_.width);
        EXPECT_EQ(testPictureNumber(still), expectedNumber(std::max(seconds, 0.0))) << seconds;
    }
}

TEST_F(Stills, AreAsLargeAsTheyAreAskedFor) {
    makeMovie();
    StillGenerator stills(item(), 64, 1000);
    EXPECT_EQ(stills.still(1).width(), 64);
    EXPECT_EQ(stills.still(1).height(), 48);
}

TEST_F(Stills, WithoutPicturesThereIsNone) {
    makeMovie();
    PlayerItem none = item();
    none.screenTrackId.reset();
    EXPECT_THROW(StillGenerator(none, 10, 10).still(0), RecorderError);
    PlayerItem gone = item();
    std::filesystem::remove(folder_ / "a.mov");
    EXPECT_THROW(StillGenerator(gone, 10, 10).still(0), RecorderError);
}

}  // namespace
}  // namespace lumivastor

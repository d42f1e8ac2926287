// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <random>

#include "imaging/picture.h"
#include "playback/player.h"
#include "support/player_fixture.h"

// What is shown while a seek decodes. The movies have one key picture and so many others that no machine decodes them
// before a stand-in is due.

namespace lumivastor::playback {
namespace {

class PlayerStandIns : public PlayerFixture {
  protected:
    PlayerStandIns() {
        options_.pictures = kPictures;
        options_.keyFrameInterval = kPictures;
    }

    double secondsOf(int number) const { return testPictureSeconds(options_, number); }
    // Without a number.
    imaging::Picture otherPicture() const {
        return imaging::Picture(
            std::make_shared<const imaging::BgraPremultipliedBuffer>(options_.width, options_.height));
    }

    static constexpr int kPictures = 1500;
};

TEST_F(PlayerStandIns, TheNearestDecodedPictureIsShownUntilTheExactOneIsThere) {
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(secondsOf(1400)));
    ASSERT_EQ(standIns_.size(), 1u);
    EXPECT_EQ(standIns_.front().seconds, secondsOf(1400));
    EXPECT_GE(standIns_.front().number, 0);
    EXPECT_LT(standIns_.front().number, 1400);
    EXPECT_EQ(player_->statistics().standInsShown, 1);
    EXPECT_EQ(lastNumber(), 1400);
    EXPECT_EQ(shown_.back().seconds, secondsOf(1400));
    // What is decoded needs none.
    ASSERT_TRUE(seek(secondsOf(1399)));
    EXPECT_EQ(lastNumber(), 1399);
    EXPECT_EQ(standIns_.size(), 1u);
}

TEST_F(PlayerStandIns, ASmallPictureFromNearbyIsShownBeforeADecodedOneFromFarAway) {
    makeMovie();
    open(item());
    std::mutex lock;
    std::vector<std::pair<double, Interval>> asked;
    player_->setSmallStandIns([&](double seconds, const Interval& within) -> std::optional<SmallStandIn> {
        const std::lock_guard hold(lock);
        asked.emplace_back(seconds, within);
        return SmallStandIn{otherPicture(), seconds - 0.5};
    });
    const PlayerItem whole = item();
    ASSERT_TRUE(seek(secondsOf(1400)));
    ASSERT_EQ(standIns_.size(), 1u);
    EXPECT_EQ(lastNumber(), 1400);
    player_.reset();
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ(asked.front().first, secondsOf(1400));
    EXPECT_EQ(asked.front().second.start, 0);
    EXPECT_EQ(asked.front().second.end, whole.duration);
    EXPECT_EQ(standIns_.front().number, -1);
}

TEST_F(PlayerStandIns, NothingThatWasCutAwayStandsInForWhatWasKept) {
    makeMovie();
    PlayerItem cut = item();
    cut.playedRanges = {{4, 12}, {20, 21}, {30, 48}};
    std::mt19937 random(5);
    const std::vector<double> edges = {0, 4, 12, 20, 21, 30, 48, 50};
    // A new player has nothing decoded; a seek that is given up at once leaves it with pictures from anywhere.
    for (int i = 0; i < 10; ++i) {
        open(cut);
        player_->seek(static_cast<double>(random() % 5000) / 100);
        settle();
        ASSERT_TRUE(seek(static_cast<double>(random() % 5000) / 100));
    }
    ASSERT_GE(standIns_.size(), 3u);
    for (const Shown& shown : standIns_) {
        const auto end = std::upper_bound(edges.begin(), edges.end(), shown.seconds);
        // A picture that is shown when the stretch begins may have come a little earlier.
        EXPECT_GE(secondsOf(shown.number), *std::prev(end) - 1.0 / options_.frameRate) << shown.seconds;
        EXPECT_LT(secondsOf(shown.number), end == edges.end() ? 50 : *end) << shown.seconds;
    }
}

TEST_F(PlayerStandIns, AJumpWhilePlayingShowsOneToo) {
    makeMovie();
    open(item());
    player_->play();
    standIns_.clear();
    ASSERT_TRUE(seek(secondsOf(1400)));
    ASSERT_GE(standIns_.size(), 1u);
    EXPECT_NEAR(standIns_.front().seconds, secondsOf(1400), 0.1);
    EXPECT_GE(shown_.back().seconds, secondsOf(1400) - 0.001);
    player_->pause();
}

TEST_F(PlayerStandIns, AFaceIsNotTakenFromWhatWasCutAwayNorFromBeforeTheCameraBegan) {
    makeMovie();
    TestMovieOptions webcam = options_;
    makeTestMovie(folder_ / "w.mov", webcam);
    PlayerItem both = item();
    const auto asset = std::make_shared<const media::Asset>(folder_ / "w.mov");
    const int track = both.movie.addTrack(media::TrackKind::video);
    both.movie.insertEmpty(track, {{}, {2, 1}});
    both.movie.insert(track, asset, asset->tracks(media::TrackKind::video).front().id, {{}, {40, 1}}, {2, 1});
    both.webcamTrackId = track;
    both.playedRanges = {{0, 10}, {20, 50}};
    std::mutex lock;
    std::vector<std::pair<double, int>> faces;
    both.compositor = [&](const imaging::Picture& screen, const std::optional<imaging::Picture>& face,
                          const FrameRequest& request) {
        const std::lock_guard hold(lock);
        faces.emplace_back(request.seconds, face ? pictureNumber(*face) : -1);
        return screen;
    };
    for (const double place : {41.0, 25.0, 15.0, 1.5}) {
        open(both);
        // So that the screen has one before the camera's pictures from the same stretch are decoded.
        player_->setSmallStandIns([this](double seconds, const Interval&) {
            return SmallStandIn{otherPicture(), seconds};
        });
        ASSERT_TRUE(seek(place));
        ASSERT_TRUE(seek(place < 20 ? 45 : 8));
    }
    player_.reset();
    EXPECT_GE(standIns_.size(), 3u);
    for (const auto& [seconds, number] : faces) {
        EXPECT_TRUE(number == -1 || seconds >= 2) << seconds;
        const double from = number / 30.0 + 2;
        const bool isCutAway = from >= 10 && from < 20 - 1.0 / 30;
        EXPECT_TRUE(!isCutAway || seconds == 15) << seconds << " " << number;
    }
}

}  // namespace
}  // namespace lumivastor::playback

// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <mutex>
#include <numeric>
#include <random>
#include <thread>

#include "media/reading/movie_file.h"
#include "playback/player.h"
#include "support/player_fixture.h"

// Seeking and stepping: the exact frame, from the cache where it can be, and whatever may come in between.

namespace lumivastor::playback {
namespace {

class PlayerSeeking : public PlayerFixture {
  protected:
    // A recording as screens give them: pictures when something moves, key pictures far apart.
    void makeUnevenMovie() {
        options_.timescale = 90000;
        std::int64_t tick = 0;
        for (int i = 0; i < 100; ++i) {
            options_.pictureTicks.push_back(tick);
            tick += i % 11 == 0 ? 40007 : 1500 + 7 * i;
        }
        options_.keyFrameInterval = 50;
        makeMovie();
    }
};

TEST_F(PlayerSeeking, ShowsTheExactPictureOfEveryMomentOfAnUnevenMovie) {
    makeUnevenMovie();
    open(item());
    std::vector<int> order(100);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(9));
    for (const int number : order) {
        const double seconds = testPictureSeconds(options_, number);
        ASSERT_TRUE(seek(seconds));
        EXPECT_EQ(lastNumber(), number);
        EXPECT_EQ(shown_.back().seconds, seconds);
        EXPECT_EQ(player_->currentTime(), seconds);
        // Up to the next picture.
        const double next = number < 99 ? testPictureSeconds(options_, number + 1) : item().duration;
        ASSERT_TRUE(seek(next - 0.0003));
        EXPECT_EQ(lastNumber(), number);
    }
}

TEST_F(PlayerSeeking, TimesOutsideAreLimitedToTheTimeline) {
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(1000));
    EXPECT_EQ(lastNumber(), 59);
    EXPECT_EQ(player_->currentTime(), item().duration);
    ASSERT_TRUE(seek(-3));
    EXPECT_EQ(lastNumber(), 0);
    EXPECT_EQ(player_->currentTime(), 0);
}

TEST_F(PlayerSeeking, SteppingBackFindsEveryFrameInTheCache) {
    options_.pictures = 120;
    options_.keyFrameInterval = 60;
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(110 / 30.0));
    const std::int64_t before = player_->statistics().seeksFromCache;
    for (int number = 109; number >= 60; --number) {
        ASSERT_TRUE(seek(number / 30.0));
        ASSERT_EQ(lastNumber(), number);
    }
    EXPECT_EQ(player_->statistics().seeksFromCache - before, 50) << "the way to the first picture was kept";
}

TEST_F(PlayerSeeking, AStillSoonHasItsSurroundingsDecoded) {
    options_.pictures = 120;
    options_.keyFrameInterval = 60;
    makeMovie();
    open(item());
    const std::int64_t decoded = player_->statistics().picturesDecoded;
    // A key picture: what is before it is in another group, and decoded from that group's beginning.
    ASSERT_TRUE(seek(60 / 30.0));
    // Behind each of the two stills a fifth of a second is decoded: seven pictures, which may count twice. What comes
    // on top is the way back.
    constexpr std::int64_t kBehindStills = 2 * 2 * 7;
    constexpr int kBack = 30;
    ASSERT_TRUE(await([&] { return player_->statistics().picturesDecoded > decoded + kBehindStills + kBack; }));
    // Once only: a step to a picture that is not there would leave it in the cache.
    const std::int64_t before = player_->statistics().seeksFromCache;
    ASSERT_TRUE(seek(kBack / 30.0));
    EXPECT_EQ(player_->statistics().seeksFromCache, before + 1);
    EXPECT_EQ(lastNumber(), kBack);
}

TEST_F(PlayerSeeking, ANewerSeekTakesThePlaceOfTheOneUnderWay) {
    options_.pictures = 200;
    options_.keyFrameInterval = 200;
    makeMovie();
    open(item());
    std::vector<std::pair<int, bool>> ends;
    constexpr int kCount = 50;
    for (int i = 0; i < kCount; ++i) {
        player_->seek((199 - 3 * i) / 30.0, [&ends, i](bool isFinished) { ends.emplace_back(i, isFinished); });
    }
    ASSERT_TRUE(await([&] { return ends.size() == kCount; }));
    for (int i = 0; i < kCount; ++i) {
        EXPECT_EQ(ends[static_cast<std::size_t>(i)].first, i);
        EXPECT_EQ(ends[static_cast<std::size_t>(i)].second, i == kCount - 1);
    }
    EXPECT_EQ(lastNumber(), 199 - 3 * (kCount - 1));
    EXPECT_LT(shown_.size(), 5u);
}

TEST_F(PlayerSeeking, AnotherItemEndsASeekUnfinished) {
    makeMovie();
    open(item());
    std::optional<bool> finished;
    player_->seek(1, [&](bool isFinished) { finished = isFinished; });
    player_->setItem(item());
    EXPECT_FALSE(finished) << "not from within the call";
    ASSERT_TRUE(await([&] { return finished.has_value(); }));
    EXPECT_FALSE(*finished);
}

TEST_F(PlayerSeeking, ASeekBeforeThereIsAnItemDoesNotFinish) {
    player_ = std::make_unique<Player>(loop_, nullptr);
    EXPECT_FALSE(seek(1));
}

TEST_F(PlayerSeeking, WhileTheFrameStandsANewCompositorMakesItAgain) {
    options_.pictures = 240;
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(1));
    const std::int64_t decoded = player_->statistics().picturesDecoded;
    shown_.clear();
    std::vector<double> moments;
    std::mutex lock;
    player_->setVideoCompositor(
        [&](const imaging::Picture& screen, const std::optional<imaging::Picture>&, const FrameRequest& frame) {
            const std::lock_guard hold(lock);
            moments.push_back(frame.seconds);
            return screen.faded(0.5);
        });
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
    EXPECT_EQ(shown_.front().seconds, 1);
    EXPECT_NEAR(shown_.front().frame->pixel(3, 3)[3], 128, 1);
    EXPECT_LE(player_->statistics().picturesDecoded, decoded + 60) << "at most what was being decoded around it";
    player_.reset();
    EXPECT_EQ(moments, std::vector<double>{1});
}

TEST_F(PlayerSeeking, AShiftedWebcamShowsEarlierOrLaterPictures) {
    options_.pictures = 90;
    makeMovie();
    TestMovieOptions webcam;
    webcam.pictures = 45;
    webcam.keyFrameInterval = 15;
    makeTestMovie(folder_ / "w.mov", webcam);
    PlayerItem both = item();
    const auto asset = std::make_shared<const media::Asset>(folder_ / "w.mov");
    const int track = both.movie.addTrack(media::TrackKind::video);
    both.movie.insertEmpty(track, {{}, {1, 1}});
    both.movie.insert(track, asset, asset->tracks(media::TrackKind::video).front().id, {{}, {45, 30}}, {1, 1});
    both.webcamTrackId = track;
    std::atomic<int> number = -2;
    both.compositor = [&](const imaging::Picture& screen, const std::optional<imaging::Picture>& face,
                          const FrameRequest&) {
        number = face ? pictureNumber(*face) : -1;
        return screen;
    };
    both.webcamShift = 0.2;
    open(both);
    const auto shownAt = [&](double seconds) {
        number = -2;
        EXPECT_TRUE(seek(seconds));
        return number.load();
    };
    EXPECT_EQ(shownAt(0.99), -1);
    EXPECT_EQ(shownAt(1.01), 0) << "it begins where it did";
    EXPECT_EQ(shownAt(2.01), 24);
    // A still frame is made again at once.
    number = -2;
    player_->setWebcamShift(-0.2);
    EXPECT_TRUE(await([&] { return number == 36; })) << number;
    EXPECT_EQ(shownAt(2.45), 44);
    player_->setWebcamShift(0);
    EXPECT_EQ(shownAt(2.01), 30);
    player_.reset();
}

TEST_F(PlayerSeeking, AFrameThatLooksTheSameIsTheSameBuffer) {
    makeMovie();
    open(item());
    ASSERT_TRUE(seek(1));
    const Player::Frame first = shown_.back().frame;
    ASSERT_TRUE(seek(1.001));
    EXPECT_EQ(shown_.back().frame, first);
    ASSERT_TRUE(seek(1.04));
    EXPECT_NE(shown_.back().frame, first);
}

TEST_F(PlayerSeeking, FramesHaveTheSizeTheyAreShownAt) {
    options_.width = 320;
    options_.height = 240;
    makeMovie();
    open(item());
    EXPECT_EQ(shown_.back().frame->width(), 320);
    shown_.clear();
    player_->setOutputSize(200, 120);
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
    EXPECT_EQ(shown_.back().frame->width(), 160);
    EXPECT_EQ(shown_.back().frame->height(), 120);
    shown_.clear();
    player_->setOutputSize(4000, 4000);
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
    EXPECT_EQ(shown_.back().frame->width(), 320);
    EXPECT_EQ(lastNumber(), 0);
}

TEST_F(PlayerSeeking, ACompositorHearsAtWhichSizeItsFrameIsShownAndWhetherItStays) {
    makeMovie();
    PlayerItem asked = item();
    const auto last = std::make_shared<FrameRequest>();  // settled frames only are read
    asked.compositor = [last](const imaging::Picture& screen, const std::optional<imaging::Picture>&,
                              const FrameRequest& frame) {
        *last = frame;
        return screen;
    };
    open(asked);
    EXPECT_EQ(last->size, (PixelSize{128, 96}));
    EXPECT_TRUE(last->isStill);
    player_->setOutputSize(64, 500);
    ASSERT_TRUE(await([this] { return shown_.back().frame->width() == 64; }));
    EXPECT_EQ(last->size, (PixelSize{64, 48}));
    EXPECT_TRUE(last->isStill);
    player_->play();
    playUntil(0.5);
    player_.reset();
    EXPECT_EQ(last->size, (PixelSize{64, 48}));
    EXPECT_FALSE(last->isStill);
}

TEST_F(PlayerSeeking, ACompositorThatFailsIsToldOnceAndCostsItsFramesOnly) {
    makeMovie();
    open(item());
    player_->setVideoCompositor(
        [](const imaging::Picture& screen, const std::optional<imaging::Picture>&, const FrameRequest& frame) {
            if (frame.seconds < 1.5) throw RecorderError("Vorschaubild konnte nicht gebaut werden.");
            return screen;
        });
    EXPECT_TRUE(seek(1));
    EXPECT_TRUE(seek(0.5));
    EXPECT_TRUE(seek(0.7));
    settle();
    EXPECT_EQ(errors_, std::vector<std::string>{"Vorschaubild konnte nicht gebaut werden."});
    EXPECT_EQ(lastNumber(), 0) << "the last frame that could be made";
    EXPECT_TRUE(seek(1.7));
    EXPECT_EQ(lastNumber(), 51);
}

TEST_F(PlayerSeeking, ATruncatedMovieShowsItsLastPicture) {
    options_.pictures = 150;
    options_.keyFrameInterval = 30;
    options_.indexFirst = true;
    makeMovie();
    const std::string whole = folder_.read("a.mov");
    folder_.write("a.mov", whole.substr(0, whole.size() * 6 / 10));
    open(item());
    EXPECT_TRUE(seek(4.9));
    const int last = lastNumber();
    EXPECT_GT(last, 30);
    EXPECT_LT(last, 145);
    EXPECT_TRUE(seek(last / 30.0));
    EXPECT_EQ(lastNumber(), last);
    EXPECT_TRUE(seek((last + 1) / 30.0));
    EXPECT_EQ(lastNumber(), last);
    // It plays to its end all the same, here by the host clock.
    ASSERT_TRUE(seek(4.5));
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(lastNumber(), last);
    EXPECT_TRUE(errors_.empty());
}

TEST_F(PlayerSeeking, AMovieThatIsGoneIsAnErrorAndNoCrash) {
    makeMovie();
    const PlayerItem gone = item();
    std::filesystem::remove(folder_ / "a.mov");
    static_cast<void>(
        gone.movie.track(*gone.screenTrackId)->segments.front().asset->takeFile());  // another reader has it
    player_ = std::make_unique<Player>(loop_, nullptr);
    player_->onError([this](const RecorderError& error) { errors_.push_back(error.message()); });
    player_->onPlayedToEnd([this] { ++ends_; });
    player_->setItem(gone);
    EXPECT_TRUE(seek(1.8));
    ASSERT_TRUE(await([this] { return errors_.size() == 1; }));
    EXPECT_NE(errors_.front().find("a.mov konnte nicht gelesen werden"), std::string::npos) << errors_.front();
    player_->play();
    ASSERT_TRUE(await([this] { return ends_ == 1; }));
    EXPECT_EQ(errors_.size(), 1u);
}

TEST_F(PlayerSeeking, MayBeDestroyedWhileSeeking) {
    options_.pictures = 200;
    options_.keyFrameInterval = 200;
    makeMovie();
    for (int i = 0; i < 20; ++i) {
        open(item());
        shown_.clear();
        bool isAnswered = false;
        player_->seek(6, [&](bool) { isAnswered = true; });
        if (i % 2 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(i));
        player_.reset();
        settle();
        EXPECT_FALSE(isAnswered);
        EXPECT_TRUE(shown_.empty());
    }
}

}  // namespace
}  // namespace lumivastor::playback

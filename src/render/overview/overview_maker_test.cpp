// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/overview_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/main_loop.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "support/text_file.h"

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

class OverviewMakerTest : public testing::Test {
  protected:
    OverviewMakerTest() {
        options_.pictures = 300;
        options_.keyFrameInterval = 15;
        options_.sounds = {TestSound{}, TestSound{.channels = 1, .continuous = true}};
        info_.duration = 10;
        info_.systemAudio = true;
        info_.microphone = true;
    }

    std::shared_ptr<const media::Asset> movie(const char* name = "source.mov") {
        if (!fs::exists(folder_ / name)) makeTestMovie(folder_ / name, options_);
        return std::make_shared<const media::Asset>(folder_ / name);
    }

    // The last overview that a maker delivers.
    std::shared_ptr<const RecordingOverview> made(OverviewMaker& maker, std::shared_ptr<const media::Asset> asset) {
        std::shared_ptr<const RecordingOverview> last;
        const auto request = maker.make(std::move(asset), info_, [&](const auto& overview) {
            EXPECT_FALSE(last != nullptr && last->isComplete) << "the complete one is the last";
            last = overview;
            if (last->isComplete) loop_.stop();
        });
        loop_.run();
        return last;
    }
    std::shared_ptr<const RecordingOverview> made(const fs::path& cache = {}, const char* name = "source.mov") {
        OverviewMaker maker(loop_, cache);
        return made(maker, movie(name));
    }

    TemporaryFolder folder_;
    TestMovieOptions options_;
    model::CaptureInfo info_;
    BlockingMainLoop loop_;
};

TEST_F(OverviewMakerTest, ShowsTheBeepsOfOneTrackAndTheToneOfTheOther) {
    const auto overview = made();
    ASSERT_NE(overview->systemSound, nullptr);
    ASSERT_NE(overview->microphone, nullptr);
    EXPECT_NEAR(overview->systemSound->seconds(), 10, 0.05);
    EXPECT_NEAR(overview->microphone->seconds(), 10, 0.05);
    int beeps = 0;
    for (int i = 0; i < 300; ++i) {
        const double t = testPictureSeconds(options_, i);
        if (testPictureFlashes(options_, i)) {
            ++beeps;
            EXPECT_NEAR(overview->systemSound->peak({t + 0.01, t + 0.03}), 0.5, 0.1) << t;
            EXPECT_LT(overview->systemSound->peak({t - 0.1, t - 0.03}), 0.05) << t;
        }
        if (t > 0.1 && t < 9.8) {
            EXPECT_NEAR(overview->microphone->peak({t, t + 0.03}), 0.5, 0.1) << t;
        }
    }
    EXPECT_GE(beeps, 9);
}

TEST_F(OverviewMakerTest, SmallPicturesAreKeyPicturesTwoSecondsApart) {
    const auto overview = made();
    ASSERT_EQ(overview->pictures.size(), 5U);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_NEAR(overview->pictures[i].seconds, 2.0 * static_cast<double>(i), 0.001);
        EXPECT_EQ(overview->pictures[i].pixels->height(), kSmallPictureHeight);
        EXPECT_EQ(overview->pictures[i].pixels->width(), 96);
    }
    EXPECT_TRUE(overview->knowsSound);
    EXPECT_TRUE(overview->stillStretches.empty()) << "every picture is another one";
}

TEST_F(OverviewMakerTest, KeepsItForTheNextTimeAlsoWhenTheRecordingHasMoved) {
    const fs::path cache = folder_ / "cache";
    const auto first = made(cache);
    ASSERT_EQ(std::distance(fs::directory_iterator(cache), fs::directory_iterator()), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), fs::directory_iterator()), 2)
        << "nothing beside the movie";
    const fs::path file = fs::directory_iterator(cache)->path();
    const auto stored = fs::last_write_time(file) - std::chrono::hours(1);
    fs::last_write_time(file, stored);
    fs::rename(folder_ / "source.mov", folder_ / "moved.mov");
    const auto second = made(cache, "moved.mov");
    EXPECT_GT(fs::last_write_time(file), stored) << "it was used";
    EXPECT_EQ(second->pictures.size(), first->pictures.size());
    EXPECT_TRUE(std::ranges::equal(second->systemSound->levels(), first->systemSound->levels()));
    // A damaged file is made again.
    fs::resize_file(file, 100);
    const auto third = made(cache, "moved.mov");
    EXPECT_EQ(third->pictures.size(), first->pictures.size());
    EXPECT_GT(fs::file_size(file), 100U);
}

TEST_F(OverviewMakerTest, TracksThatAreMissingAreMissing) {
    options_.sounds.pop_back();
    const auto overview = made(folder_ / "cache");
    EXPECT_FALSE(fs::exists(folder_ / "cache")) << "another look may find more";
    EXPECT_NE(overview->systemSound, nullptr);
    EXPECT_EQ(overview->microphone, nullptr);
    Log::drain();
    EXPECT_NE(readText(Log::url()).find("ohne Mikrofon: Die Spur fehlt."), std::string::npos);
}

TEST_F(OverviewMakerTest, AMicrophoneAloneIsTheFirstTrack) {
    options_.sounds = {TestSound{.continuous = true}};
    info_.systemAudio = false;
    const auto overview = made();
    EXPECT_EQ(overview->systemSound, nullptr);
    ASSERT_NE(overview->microphone, nullptr);
    EXPECT_NEAR(overview->microphone->peak({4, 5}), 0.5, 0.1);
}

TEST_F(OverviewMakerTest, AMovieWithoutPicturesHasSound) {
    options_.videoEncoder.clear();
    options_.soundSeconds = 3;
    const auto overview = made();
    EXPECT_TRUE(overview->pictures.empty());
    EXPECT_NEAR(overview->systemSound->seconds(), 3, 0.1);
}

TEST_F(OverviewMakerTest, DamageLosesNoMoreThanWhatIsDamaged) {
    movie();
    std::string bytes = folder_.read("source.mov");
    for (std::size_t i = bytes.size() / 3; i < bytes.size() / 2; ++i) bytes[i] = static_cast<char>(i * 37);
    folder_.write("source.mov", bytes);
    const auto overview = made();
    EXPECT_GE(overview->pictures.size(), 2U);
    EXPECT_NE(overview->systemSound, nullptr);
}

TEST_F(OverviewMakerTest, AMovieThatIsGoneIsAnOverviewWithoutAnything) {
    const auto gone = movie();
    fs::remove(folder_ / "source.mov");
    OverviewMaker maker(loop_, folder_ / "cache");
    const auto last = made(maker, gone);
    EXPECT_TRUE(last->pictures.empty());
    EXPECT_EQ(last->systemSound, nullptr);
    EXPECT_FALSE(fs::exists(folder_ / "cache"));
}

TEST_F(OverviewMakerTest, ACancelledRequestIsNotHeardOfAndTheNextOneIs) {
    OverviewMaker maker(loop_, {});
    int calls = 0;
    auto cancelled = maker.make(movie(), info_, [&](const auto&) { ++calls; });
    cancelled.reset();
    const auto overview = made(maker, movie());
    EXPECT_TRUE(overview->isComplete);
    EXPECT_EQ(calls, 0);
}

TEST_F(OverviewMakerTest, EndsWhileItIsMaking) {
    const auto source = movie();
    std::unique_ptr<OverviewMaker::Request> request;
    {
        OverviewMaker maker(loop_, folder_ / "cache");
        request = maker.make(source, info_, [](const auto&) {});
    }
    loop_.async([this] { loop_.stop(); });
    loop_.run();
    EXPECT_FALSE(fs::exists(folder_ / "cache"));
}

}  // namespace
}  // namespace lumivastor::render

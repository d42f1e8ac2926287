// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/examination/movie_examination.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::media {
namespace {

class MovieExaminationTest : public testing::Test {
  protected:
    MovieExamination examined(const ExaminationOptions& options = {}) {
        return examineMovie(std::make_shared<const Asset>(folder_ / "a.mov"), options);
    }
    MovieExamination examinedMovie(const TestMovieOptions& movie, const ExaminationOptions& options = {}) {
        makeTestMovie(folder_ / "a.mov", movie);
        return examined(options);
    }
    // Overwrites a part of the movie, given as fractions of its samples.
    void damage(double from, double to, char with) {
        std::string bytes = folder_.read("a.mov");
        const auto begin = bytes.find("mdat") + 8;
        const auto end = std::max(bytes.rfind("moov"), begin) - 4;
        const double length = static_cast<double>(end - begin);
        const auto at = [&](double part) { return begin + static_cast<std::size_t>(part * length); };
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(at(from)),
                  bytes.begin() + static_cast<std::ptrdiff_t>(at(to)), with);
        folder_.write("a.mov", bytes);
    }

    TemporaryFolder folder_;
};

TEST_F(MovieExaminationTest, MeasuresPicturesAndSound) {
    TestMovieOptions movie;
    movie.pictures = 150;
    movie.keyFrameInterval = 30;
    movie.sounds = {{2, 48000, 1000, 0.1, true}, {1, 48000, 1000, 0.1, true}};
    const MovieExamination found = examinedMovie(movie);
    ASSERT_EQ(found.videos.size(), 1U);
    const VideoExamination& video = found.videos[0];
    EXPECT_EQ(video.width, 128);
    EXPECT_EQ(video.height, 96);
    EXPECT_EQ(video.pictures, 150);
    EXPECT_NEAR(video.start, 0, 1e-6);
    EXPECT_NEAR(video.end, 5, 1e-3);
    EXPECT_NEAR(video.longestGap, 1.0 / 30, 1e-3);
    EXPECT_EQ(video.brokenPictures, 0);
    EXPECT_EQ(video.decoded, 5);
    EXPECT_EQ(video.undecodable, 0);
    EXPECT_EQ(video.firstDamage, std::nullopt);
    ASSERT_EQ(found.sounds.size(), 2U);
    for (const SoundExamination& sound : found.sounds) {
        EXPECT_NEAR(sound.start, 0, 0.03);
        EXPECT_NEAR(sound.end, 5, 0.03);
        EXPECT_NEAR(sound.drift, 0, 0.001);
        EXPECT_EQ(sound.longestGap, 0);
        EXPECT_LT(sound.longestSilence, 0.03);
        EXPECT_FALSE(sound.isSilent);
        EXPECT_EQ(sound.damagedPackets, 0);
        ASSERT_TRUE(sound.integratedLoudness);
        // A peak of 0.1 is -20 dB, and a mono track is heard on both sides.
        EXPECT_NEAR(*sound.integratedLoudness, -20, 0.2);
    }
    ASSERT_TRUE(found.loudness.integrated && found.loudness.truePeak && found.loudness.range);
    EXPECT_NEAR(*found.loudness.integrated, -14, 0.3);
    EXPECT_NEAR(*found.loudness.truePeak, -14, 0.8);
}

TEST_F(MovieExaminationTest, FindsTheLongestGap) {
    TestMovieOptions movie;
    movie.pictures = 6;
    movie.pictureTicks = {0, 20, 40, 40 + 2100, 40 + 2120, 40 + 2140};
    const MovieExamination found = examinedMovie(movie);
    EXPECT_NEAR(found.videos.at(0).longestGap, 3.5, 1e-3);
    EXPECT_NEAR(found.videos.at(0).longestGapStart, 40.0 / 600, 1e-3);
    EXPECT_TRUE(found.sounds.empty());
    EXPECT_EQ(found.loudness.integrated, std::nullopt);
}

TEST_F(MovieExaminationTest, SeesSilence) {
    TestMovieOptions movie;
    movie.pictures = 120;
    movie.sounds = {{2, 48000, 1000, 0}, {2, 48000, 1000, 0.5}};
    const MovieExamination found = examinedMovie(movie);
    ASSERT_EQ(found.sounds.size(), 2U);
    EXPECT_TRUE(found.sounds[0].isSilent);
    EXPECT_NEAR(found.sounds[0].longestSilence, 4, 0.05);
    EXPECT_EQ(found.sounds[0].integratedLoudness, std::nullopt);
    // A beep each second.
    EXPECT_FALSE(found.sounds[1].isSilent);
    EXPECT_GT(found.sounds[1].longestSilence, 0.7);
    EXPECT_LT(found.sounds[1].longestSilence, 1.2);
}

TEST_F(MovieExaminationTest, DamageIsFoundWhereItIs) {
    TestMovieOptions movie;
    movie.pictures = 300;
    movie.keyFrameInterval = 30;
    movie.indexFirst = false;
    makeTestMovie(folder_ / "a.mov", movie);
    EXPECT_EQ(examined().videos.at(0).brokenPictures, 0);
    damage(0.5, 0.52, '\0');
    const VideoExamination found = examined().videos.at(0);
    EXPECT_GT(found.brokenPictures, 0);
    EXPECT_LT(found.brokenPictures, 30);
    ASSERT_TRUE(found.firstDamage);
    EXPECT_NEAR(*found.firstDamage, 5, 0.7);
}

TEST_F(MovieExaminationTest, AFileThatWasCutOffIsBroken) {
    TestMovieOptions movie;
    movie.pictures = 300;
    movie.keyFrameInterval = 30;
    movie.indexFirst = true;
    makeTestMovie(folder_ / "a.mov", movie);
    const std::string bytes = folder_.read("a.mov");
    folder_.write("a.mov", bytes.substr(0, bytes.size() * 9 / 10));
    const VideoExamination found = examined().videos.at(0);
    EXPECT_EQ(found.pictures, 300);
    EXPECT_GT(found.brokenPictures, 10);
    EXPECT_GT(found.undecodable, 0);
    ASSERT_TRUE(found.firstDamage);
    EXPECT_NEAR(*found.firstDamage, 9, 1.5);
}

TEST_F(MovieExaminationTest, EveryPictureIsDecodedWhereThatIsWanted) {
    TestMovieOptions movie;
    movie.pictures = 90;
    movie.sounds.emplace_back();
    ExaminationOptions options;
    options.decodesEveryPicture = true;
    EXPECT_EQ(examinedMovie(movie, options).videos.at(0).decoded, 90);
}

TEST_F(MovieExaminationTest, ReportsProgressAndStops) {
    TestMovieOptions movie;
    movie.pictures = 90;
    movie.sounds.emplace_back();
    ExaminationOptions options;
    std::vector<double> seen;
    options.progress = [&seen](double progress) { seen.push_back(progress); };
    examinedMovie(movie, options);
    ASSERT_GT(seen.size(), 10U);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_GT(seen.front(), 0);
    EXPECT_EQ(seen.back(), 1);
    std::stop_source source;
    options.stop = source.get_token();
    options.progress = [&source](double progress) {
        if (progress > 0.3) source.request_stop();
    };
    try {
        examined(options);
        ADD_FAILURE() << "went on";
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Abgebrochen.");
    }
}

TEST_F(MovieExaminationTest, HevcAndFragmentsAreExaminedToo) {
    TestMovieOptions movie;
    movie.videoEncoder = "libx265";
    movie.pictures = 60;
    movie.keyFrameInterval = 15;
    EXPECT_EQ(examinedMovie(movie).videos.at(0).brokenPictures, 0);
    EXPECT_EQ(examined().videos.at(0).undecodable, 0);
    movie.videoEncoder = "libx264";
    movie.fragmented = true;
    EXPECT_EQ(examinedMovie(movie).videos.at(0).brokenPictures, 0);
    EXPECT_EQ(examined().videos.at(0).pictures, 60);
}

}  // namespace
}  // namespace lumivastor::media

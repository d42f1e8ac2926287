// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_loudness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <numbers>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "media/examination/movie_examination.h"
#include "media/loudness/loudness_meter.h"
#include "media/writing/asset_writer.h"
#include "support/await.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

namespace lumivastor::render {
namespace {

double decibels(double factor) {
    return 20 * std::log10(factor);
}

TEST(LevellingFactor, BringsEveryMixToTheSameLoudness) {
    for (double lufs = -36; lufs <= 0; lufs += 0.5) {
        ASSERT_TRUE(levellingFactor(lufs)) << lufs;
        EXPECT_NEAR(lufs + decibels(*levellingFactor(lufs)), -16, 1e-9) << lufs;
    }
}

TEST(LevellingFactor, RaisesNothingByMoreThanTwentyDecibels) {
    for (const double lufs : {-36.5, -40.0, -50.0}) {
        ASSERT_TRUE(levellingFactor(lufs)) << lufs;
        EXPECT_NEAR(decibels(*levellingFactor(lufs)), 20, 1e-9) << lufs;
    }
}

TEST(LevellingFactor, LeavesSilenceAsItIs) {
    EXPECT_EQ(levellingFactor(std::nullopt), std::nullopt);
    EXPECT_EQ(levellingFactor(-50.1), std::nullopt);
    EXPECT_EQ(levellingFactor(-69), std::nullopt);
    EXPECT_EQ(levellingFactor(NAN), std::nullopt);
}

TEST(LevelledSound, KeepsTheTimesAndTheLength) {
    LevelledSound levelled(4, {});
    int pulled = 0;
    const auto pull = [&]() -> std::optional<media::PcmSample> {
        if (pulled == 5) return std::nullopt;
        const std::size_t frames = pulled == 4 ? 100 : 4800;
        media::PcmSample sample{{4800 * pulled, 48000}, {}, std::vector<float>(frames * 2, 0.5F)};
        ++pulled;
        return sample;
    };
    std::int64_t frames = 0;
    while (const auto piece = levelled.next(pull)) {
        EXPECT_EQ(piece->presentationTime, (MediaTime{frames, 48000}));
        EXPECT_GT(piece->frames(), 0U);
        frames += static_cast<std::int64_t>(piece->frames());
        // Twice full scale before the limiter.
        for (const float value : piece->values) EXPECT_LE(std::abs(value), 0.892F);
    }
    EXPECT_EQ(frames, 4 * 4800 + 100);
    EXPECT_FALSE(levelled.next(pull));
}

TEST(LevelledSound, OfNothingThereIsNothing) {
    LevelledSound levelled(4, {});
    EXPECT_FALSE(levelled.next([]() -> std::optional<media::PcmSample> { return std::nullopt; }));
}

// Whole exports, measured afterwards.
class LevelledFilm : public ExportFixture {
  protected:
    media::Loudness exported(bool levels = true) {
        settings_.levelLoudness = levels ? std::optional(true) : std::nullopt;
        render();
        const auto movie = std::make_shared<const media::Asset>(folder_ / "studio-output.mp4");
        return media::examineMovie(movie).loudness;
    }
    // "source.mov" with black pictures, and with sound at will: `wave` is the value of both channels at a time.
    void makeRecordingOf(double seconds, const std::function<double(double)>& wave) {
        media::AssetWriter writer(folder_ / "source.mov", media::MovieContainer::quickTime);
        media::VideoSettings settings;
        settings.width = kSize.width;
        settings.height = kSize.height;
        settings.frameRate = 30;
        settings.averageBitRate = 800'000;
        media::VideoWriterInput& video = writer.addVideoInput(settings);
        media::AudioWriterInput& sound = writer.addAudioInput({});
        ASSERT_TRUE(writer.startWriting());
        writer.startSession({});
        const auto black = std::make_shared<imaging::BgraPremultipliedBuffer>(kSize.width, kSize.height);
        const auto until = [](const media::WriterInput& input) {
            ASSERT_TRUE(await([&] { return input.isReadyForMoreMediaData(); }));
        };
        constexpr int kFrames = 4800;
        for (int piece = 0; piece < static_cast<int>(seconds * 10); ++piece) {
            for (int picture = 0; picture < 3; ++picture) {
                until(video);
                ASSERT_TRUE(video.append(black, {piece * 60 + picture * 20, 600}));
            }
            media::PcmSample sample{{static_cast<std::int64_t>(piece) * kFrames, 48000}, {}, {}};
            for (int i = 0; i < kFrames; ++i) {
                sample.values.insert(sample.values.end(), 2, static_cast<float>(wave(piece * 0.1 + i / 48000.0)));
            }
            until(sound);
            ASSERT_TRUE(sound.append(std::move(sample)));
        }
        video.markAsFinished();
        sound.markAsFinished();
        ASSERT_TRUE(writer.finishWriting());
        info_.systemAudio = true;
        info_.duration = seconds;
    }
    void expectLevelled(const char* what, double tolerance = 0.5) {
        const media::Loudness loudness = exported();
        ASSERT_TRUE(loudness.integrated && loudness.truePeak) << what;
        EXPECT_NEAR(*loudness.integrated, kFilmLufs, tolerance) << what;
        // An AAC encoder adds to peaks.
        EXPECT_LE(*loudness.truePeak, -0.5) << what;
        RecordProperty(std::string(what) + " LUFS", std::to_string(*loudness.integrated));
        RecordProperty(std::string(what) + " dBTP", std::to_string(*loudness.truePeak));
    }
    std::string film() const { return folder_.read("studio-output.mp4"); }
};

TEST_F(LevelledFilm, EveryMixComesOutAtTheSameLoudness) {
    options_.sounds = {{2, 48000, 500, 0.05, true}, {1, 44100, 1500, 0.4, true}};
    info_.systemAudio = info_.microphone = true;
    makeRecording(4);
    struct Case {
        const char* name;
        double system, microphone;
    };
    for (const Case& volumes : {Case{"as recorded", 1, 1}, Case{"system alone", 1, 0}, Case{"microphone alone", 0, 1},
                                Case{"both raised", 2, 2}, Case{"system raised", 2, 0.1}, Case{"lowered", 0.3, 0.2}}) {
        settings_.systemVolume = volumes.system;
        settings_.micVolume = volumes.microphone;
        expectLevelled(volumes.name);
    }
    settings_.systemVolume = settings_.micVolume = 1;
    settings_.cuts = {{0.5, 1.25}, {2, 2.5}};
    expectLevelled("with cuts");
    settings_.trimEnd = 3;
    expectLevelled("trimmed");
}

// Syllables, four a second, with pauses, and a click now and then, as a microphone close to the mouth records them.
double speech(double t) {
    const double envelope = std::fmod(t, 3) < 2.2 ? std::exp(-12 * std::fmod(t, 0.25)) : 0.02;
    const double voice = std::sin(2 * std::numbers::pi * 180 * t) + 0.6 * std::sin(2 * std::numbers::pi * 730 * t + 1) +
                         0.3 * std::sin(2 * std::numbers::pi * 2310 * t + 2);
    const double beat = std::fmod(t, 1.5);
    const double click = beat < 0.0005 ? 0.6 * std::sin(2 * std::numbers::pi * 4000 * beat) : 0;
    return std::clamp(0.1 * envelope * voice + click, -1.0, 1.0);
}

TEST_F(LevelledFilm, PeaksAreLimitedWhereTheyWouldBeTooHigh) {
    makeRecordingOf(6, speech);
    const media::Loudness before = exported(false);
    ASSERT_TRUE(before.integrated && before.truePeak);
    // Without a limiter peaks would reach this.
    EXPECT_GT(kFilmLufs - *before.integrated + *before.truePeak, 6);
    // What the limiter takes away is missing.
    expectLevelled("speech with clicks", 1.5);
}

TEST_F(LevelledFilm, PeaksStayBelowTheCeilingHoweverHardTheLimiterWorks) {
    // Clicks alone: nearly nothing that is loud, and everything is peak.
    makeRecordingOf(6, [](double t) { return std::fmod(t, 0.1) < 0.0002 ? 1.0 : 0.001 * std::sin(3000 * t); });
    const media::Loudness before = exported(false);
    const media::Loudness after = exported();
    ASSERT_TRUE(before.integrated && after.integrated && after.truePeak);
    EXPECT_GT(*after.integrated, *before.integrated - 3);
    EXPECT_LE(*after.truePeak, -0.5);
    RecordProperty("clicks before LUFS", std::to_string(*before.integrated));
    RecordProperty("clicks after LUFS", std::to_string(*after.integrated));
    RecordProperty("clicks after dBTP", std::to_string(*after.truePeak));
}

TEST_F(LevelledFilm, SilenceAndNearSilenceStayAsTheyAre) {
    for (const double amplitude : {0.0, 0.002}) {
        options_.sounds = {{2, 48000, 500, amplitude, true}};
        info_.systemAudio = true;
        makeRecording(2);
        const media::Loudness before = exported(false);
        const std::string plain = film();
        const media::Loudness after = exported();
        EXPECT_EQ(before.integrated, after.integrated) << amplitude;
        EXPECT_EQ(film(), plain) << amplitude;
    }
}

TEST_F(LevelledFilm, QuietSoundIsRaisedByTwentyDecibelsAtMost) {
    options_.sounds = {{2, 48000, 1000, 0.006, true}};  // -44 LUFS
    info_.systemAudio = true;
    makeRecording(4);
    const media::Loudness before = exported(false);
    const media::Loudness after = exported();
    ASSERT_TRUE(before.integrated && after.integrated);
    EXPECT_NEAR(*after.integrated - *before.integrated, 20, 0.5);
}

TEST_F(LevelledFilm, ThePicturesAreTheSame) {
    options_.sounds = {{2, 48000, 500, 0.05, true}};
    info_.systemAudio = true;
    makeRecording(3);
    exported(false);
    const auto plain = decodeTestMovie(folder_ / "studio-output.mp4");
    exported();
    const auto levelled = decodeTestMovie(folder_ / "studio-output.mp4");
    ASSERT_EQ(plain.size(), levelled.size());
    ASSERT_EQ(plain.size(), 90U);
    for (std::size_t i = 0; i < plain.size(); ++i) {
        EXPECT_EQ(plain[i].seconds, levelled[i].seconds);
        const imaging::YuvPicture& a = plain[i].picture;
        const imaging::YuvPicture& b = levelled[i].picture;
        for (int y = 0; y < a.height; ++y) {
            ASSERT_TRUE(std::equal(a.luma.samples + y * a.luma.stride, a.luma.samples + y * a.luma.stride + a.width,
                                   b.luma.samples + y * b.luma.stride))
                << i;
        }
    }
}

TEST_F(LevelledFilm, ARunMayLevelWhatTheDocumentDoesNot) {
    options_.sounds = {{2, 48000, 500, 0.05, true}};
    info_.systemAudio = true;
    makeRecording(3);
    RenderOptions options;
    options.levelsLoudness = true;
    std::vector<double> told;
    options.progress = [&](double progress) { told.push_back(progress); };
    render(options);
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    const auto ofPictures = std::find_if(told.begin(), told.end(), [](double each) { return each > kLoudnessShare; });
    EXPECT_GT(ofPictures - told.begin(), 10) << "the first pass";
    EXPECT_GT(told.end() - ofPictures, 2);
    EXPECT_EQ(told.back(), 1);
    const auto movie = std::make_shared<const media::Asset>(folder_ / "studio-output.mp4");
    EXPECT_NEAR(media::examineMovie(movie).loudness.integrated.value_or(0), kFilmLufs, 0.5);
    EXPECT_NE(logText().find("Lautheit: "), std::string::npos);
}

TEST_F(LevelledFilm, AStopRequestEndsTheFirstPass) {
    options_.sounds = {{2, 48000, 500, 0.05, true}};
    info_.systemAudio = true;
    makeRecording(3);
    std::stop_source source;
    source.request_stop();
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    const int track = asset->tracks(media::TrackKind::audio).at(0).id;
    EXPECT_THROW(mixLoudness(media::SegmentedMovie::showing(asset), {{{track, 1}}, 1}, source.get_token()),
                 RecorderError);
}

}  // namespace
}  // namespace lumivastor::render

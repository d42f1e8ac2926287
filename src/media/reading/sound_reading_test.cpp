// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "media/reading/asset_reader.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

// What the reader's sound outputs give: levels, places, rates and edits.

namespace lumivastor::media {
namespace {

std::shared_ptr<const Asset> open(const std::filesystem::path& path) {
    return std::make_shared<const Asset>(path);
}

// The left channel's values, and the right one's, of all that an output gives.
struct Stereo {
    std::vector<float> left;
    std::vector<float> right;
};

Stereo readAll(AudioMixOutput& output) {
    Stereo sound;
    MediaTime expected;
    bool first = true;
    while (const auto sample = output.copyNextSample()) {
        if (!first) {
            EXPECT_EQ(sample->presentationTime, expected);
        }
        first = false;
        expected = sample->presentationTime + sample->duration();
        for (std::size_t i = 0; i < sample->frames(); ++i) {
            sound.left.push_back(sample->values[2 * i]);
            sound.right.push_back(sample->values[2 * i + 1]);
        }
    }
    return sound;
}

// Decibels of the root mean square against that of a sine of amplitude 1.
double decibels(const std::vector<float>& values, std::size_t from, std::size_t to) {
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) {
        sum += static_cast<double>(values.at(i)) * static_cast<double>(values.at(i));
    }
    return 10 * std::log10(2 * sum / static_cast<double>(to - from) + 1e-12);
}

// The frame at which sound of at least `level` begins at or after `from`.
std::size_t onset(const std::vector<float>& values, std::size_t from, float level = 0.1F) {
    std::size_t at = from;
    while (at < values.size() && std::abs(values[at]) < level) ++at;
    return at;
}

TEST(SoundReading, BeepsStandWhereTheFlashesAre) {
    for (const char* container : {"mov", "mp4"}) {
        for (const int reordered : {0, 3}) {
            const TemporaryFolder folder;
            TestMovieOptions options;
            options.pictures = 200;
            options.reorderedPictures = reordered;
            options.container = container;
            options.sounds = {{}, {1, 44100, 2000}};
            makeTestMovie(folder / "a", options);
            const auto asset = open(folder / "a");
            AssetReader reader(asset);
            auto& pictures = reader.addVideoOutput(asset->tracks(TrackKind::video).at(0).id, PictureFormat::planar);
            auto& first = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(0).id);
            auto& second = reader.addAudioOutput(asset->tracks(TrackKind::audio).at(1).id);
            ASSERT_TRUE(reader.startReading());
            std::vector<double> flashes;
            while (const auto sample = pictures.copyNextSample()) {
                if (isTestFlash(sample->planar())) flashes.push_back(sample->presentationTime.seconds());
            }
            ASSERT_EQ(flashes.size(), 6u);
            for (AudioMixOutput* output : {&first, &second}) {
                const Stereo sound = readAll(*output);
                for (const double flash : flashes) {
                    const auto from = static_cast<std::size_t>((flash - 0.3) * 48000);
                    const double beep = static_cast<double>(onset(sound.left, from)) / 48000;
                    EXPECT_NEAR(beep, flash, 0.005) << container << " " << reordered;
                }
                EXPECT_NEAR(static_cast<double>(sound.left.size()) / 48000, 200.0 / 30, 0.05);
            }
            EXPECT_EQ(reader.status(), AssetReader::Status::completed);
        }
    }
}

TEST(SoundReading, AnyStartGivesTheSameSoundAsReadingFromTheBeginning) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 4;
    options.sounds = {{2, 48000, 441, 0.5, true}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    const int track = asset->tracks().at(0).id;
    AssetReader whole(asset);
    auto& wholeOutput = whole.addAudioOutput(track);
    ASSERT_TRUE(whole.startReading());
    const Stereo all = readAll(wholeOutput);
    for (const std::int64_t tick : {0, 1, 17, 300, 777, 1200, 1999, 2301}) {
        AssetReader reader(asset);
        reader.setTimeRange({{tick, 600}, {60, 600}});
        auto& output = reader.addAudioOutput(track);
        ASSERT_TRUE(reader.startReading());
        const Stereo part = readAll(output);
        ASSERT_EQ(part.left.size(), 4800u);
        for (std::size_t i = 0; i < part.left.size(); ++i) {
            const std::size_t at = static_cast<std::size_t>(tick) * 80 + i;
            ASSERT_NEAR(part.left[i], all.left.at(at), 1e-5) << tick << " " << i;
        }
    }
    // The phase of the tone says that nothing of the encoder delay is left.
    for (std::size_t i = 9600; i < 96000; ++i) {
        const double expected = 0.5 * std::sin(2 * M_PI * 441 * static_cast<double>(i) / 48000);
        ASSERT_NEAR(all.left[i], expected, 0.02) << i;
    }
}

TEST(SoundReading, MonoKeepsItsLevelInBothChannels) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 2;
    options.sounds = {{1, 48000, 500, 0.5, true}, {2, 48000, 500, 0.5, true}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    for (const AssetTrack& track : asset->tracks()) {
        AssetReader reader(asset);
        auto& output = reader.addAudioOutput(track.id);
        ASSERT_TRUE(reader.startReading());
        const Stereo sound = readAll(output);
        EXPECT_NEAR(decibels(sound.left, 10000, 80000), -6.02, 0.1) << track.channels;
        EXPECT_NEAR(decibels(sound.right, 10000, 80000), -6.02, 0.1) << track.channels;
    }
}

TEST(SoundReading, AMixAddsItsTracksAtTheirVolumes) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 2;
    options.sounds = {{2, 48000, 500, 0.25, true}, {1, 44100, 500, 0.25, true}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    const int first = asset->tracks().at(0).id;
    const int second = asset->tracks().at(1).id;
    const auto level = [&](float a, float b) {
        AssetReader reader(asset);
        auto& output = reader.addAudioMixOutput({{first, a}, {second, b}});
        EXPECT_TRUE(reader.startReading());
        const Stereo sound = readAll(output);
        return decibels(sound.left, 10000, 80000);
    };
    EXPECT_NEAR(level(1, 0), -12.04, 0.1);
    EXPECT_NEAR(level(0.5, 0), -18.06, 0.1);
    EXPECT_NEAR(level(0, 1), -12.04, 0.1);
    EXPECT_NEAR(level(0, 0.5), -18.06, 0.1);
    EXPECT_LT(level(0, 0), -100);
    // Equal tones in step, one of them resampled: together twice as large.
    EXPECT_NEAR(level(1, 1), -6.02, 0.1);
}

TEST(SoundReading, CutsAndEmptyRangesFallOnTheirFrames) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.pictures = 150;
    options.sounds = {{}, {1, 44100, 2000}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    for (const AssetTrack& source : asset->tracks(TrackKind::audio)) {
        SegmentedMovie composition;
        const int track = composition.addTrack(TrackKind::audio);
        // Beeps stand at 1, 2, 3 and 4 s. Kept: 0.5...1.5 and 2.9...3.4 s, with half a second of nothing between.
        composition.insert(track, asset, source.id, {{300, 600}, {600, 600}}, {});
        composition.insertEmpty(track, {{600, 600}, {300, 600}});
        composition.insert(track, asset, source.id, {{1740, 600}, {300, 600}}, {900, 600});
        EXPECT_EQ(composition.duration(), (MediaTime{2, 1}));
        AssetReader reader(composition);
        auto& output = reader.addAudioOutput(track);
        ASSERT_TRUE(reader.startReading());
        const Stereo sound = readAll(output);
        ASSERT_EQ(sound.left.size(), 96000u);
        EXPECT_NEAR(static_cast<double>(onset(sound.left, 0)) / 48000, 0.5, 0.005);
        EXPECT_NEAR(static_cast<double>(onset(sound.left, 40000)) / 48000, 1.6, 0.005);
        EXPECT_TRUE(std::all_of(sound.left.begin() + 48000, sound.left.begin() + 72000,
                                [](float value) { return value == 0.0F; }));
        EXPECT_EQ(reader.status(), AssetReader::Status::completed);
    }
}

TEST(SoundReading, CutsAreJoinedWithoutAClickAndNothingElseChanges) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 4;
    options.sounds = {{2, 48000, 100, 0.5, true}, {1, 44100, 100, 0.5, true}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    for (const AssetTrack& source : asset->tracks()) {
        AssetReader whole(asset);
        auto& wholeOutput = whole.addAudioOutput(source.id);
        ASSERT_TRUE(whole.startReading());
        const Stereo all = readAll(wholeOutput);
        // Every join turns the wave over but the second, which cuts nothing away. The third stretch lasts 5 ms.
        const std::vector<TimeRange> kept{{{301, 1200}, {600, 1200}},
                                          {{1507, 1200}, {300, 1200}},
                                          {{1807, 1200}, {6, 1200}},
                                          {{2707, 1200}, {600, 1200}}};
        SegmentedMovie composition;
        const int track = composition.addTrack(TrackKind::audio);
        MediaTime at;
        std::vector<float> expected;
        std::vector<std::size_t> joins;
        for (const TimeRange& range : kept) {
            composition.insert(track, asset, source.id, range, at);
            at = at + range.duration;
            const auto from = all.left.begin() + range.start.rescaled(48000).value;
            if (!expected.empty() && range.start.value != 1807) joins.push_back(expected.size());
            expected.insert(expected.end(), from, from + range.duration.rescaled(48000).value);
        }
        AssetReader reader(composition);
        auto& output = reader.addAudioOutput(track);
        ASSERT_TRUE(reader.startReading());
        const Stereo sound = readAll(output);
        ASSERT_EQ(sound.left.size(), expected.size());
        float steepest = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            bool isClose = false;
            for (const std::size_t join : joins) isClose = isClose || (i + 120 >= join && i < join + 120);
            if (i > 0) steepest = std::max(steepest, std::abs(sound.left[i] - sound.left[i - 1]));
            if (!isClose) {
                ASSERT_NEAR(sound.left[i], expected[i], 2e-3) << i;
            }
        }
        // The tone itself takes steps of 0.0065, a slope of 0.0066. Joined as they are, there would be one of 1.
        EXPECT_LT(steepest, 0.015F);
        for (const std::size_t join : joins) EXPECT_GT(std::abs(expected[join] - expected[join - 1]), 0.3F);
    }
}

TEST(SoundReading, OtherRatesAndMonoComeOutAsAsked) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "";
    options.pictures = 0;
    options.soundSeconds = 2;
    options.sounds = {{2, 44100, 1000, 0.5, true}};
    makeTestMovie(folder / "a.mov", options);
    const auto asset = open(folder / "a.mov");
    AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks().at(0).id, {16000, 1});
    ASSERT_TRUE(reader.startReading());
    std::vector<float> values;
    while (const auto sample = output.copyNextSample()) {
        EXPECT_EQ(sample->format, (PcmFormat{16000, 1}));
        values.insert(values.end(), sample->values.begin(), sample->values.end());
    }
    EXPECT_NEAR(static_cast<double>(values.size()) / 16000, 2.0, 0.05);
    EXPECT_NEAR(decibels(values, 4000, 28000), -6.02, 0.1);
    for (std::size_t i = 4000; i < 20000; ++i) {
        ASSERT_NEAR(values[i], 0.5 * std::sin(2 * M_PI * 1000 * static_cast<double>(i) / 16000), 0.02) << i;
    }
}

}  // namespace
}  // namespace lumivastor::media

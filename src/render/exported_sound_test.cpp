// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "render/movie_renderer.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

// Whole exports of small recordings: how they sound.

namespace lumivastor::render {
namespace {

class ExportedSound : public ExportFixture {
  protected:
    struct Sound {
        std::vector<float> left, right;
        double seconds() const { return static_cast<double>(left.size()) / 48000; }
    };

    Sound exportedSound() {
        const auto asset = std::make_shared<const media::Asset>(folder_ / "studio-output.mp4");
        media::AssetReader reader(asset);
        auto& output = reader.addAudioOutput(asset->tracks(media::TrackKind::audio).at(0).id);
        EXPECT_TRUE(reader.startReading());
        Sound sound;
        while (const auto sample = output.copyNextSample()) {
            for (std::size_t i = 0; i < sample->frames(); ++i) {
                sound.left.push_back(sample->values[2 * i]);
                sound.right.push_back(sample->values[2 * i + 1]);
            }
        }
        return sound;
    }

    // The amplitude of one frequency over a second in the middle.
    static double amplitude(const std::vector<float>& values, double hertz) {
        constexpr std::size_t kFrames = 48000;
        const std::size_t from = (values.size() - kFrames) / 2;
        double real = 0;
        double imaginary = 0;
        for (std::size_t i = 0; i < kFrames; ++i) {
            const double phase = 2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000;
            real += values[from + i] * std::cos(phase);
            imaginary += values[from + i] * std::sin(phase);
        }
        return 2 * std::hypot(real, imaginary) / kFrames;
    }

    std::vector<double> exportedFlashes() const {
        std::vector<double> flashes;
        for (const auto& picture : decodeTestMovie(folder_ / "studio-output.mp4")) {
            if (isTestFlash(picture.picture)) flashes.push_back(picture.seconds);
        }
        return flashes;
    }

    // Exports eight seconds with two cuts of system sound and microphone.
    Sound exportedWithCuts(const TestSound& system, const TestSound& microphone,
                           const std::vector<model::CutRange>& cuts) {
        options_.sounds = {system, microphone};
        info_.systemAudio = info_.microphone = true;
        settings_.cuts = cuts;
        makeRecording(8);
        render();
        return exportedSound();
    }

    // What is as loud as `loud` counts.
    static std::vector<double> beepsIn(const Sound& sound, float loud = 0.2F) {
        std::vector<double> beeps;
        constexpr std::size_t kQuiet = 24000;  // between two beeps
        std::size_t last = 0;
        for (std::size_t i = 0; i < sound.left.size(); ++i) {
            if (std::abs(sound.left[i]) < loud) continue;
            if (beeps.empty() || i - last > kQuiet) beeps.push_back(static_cast<double>(i) / 48000);
            last = i;
        }
        return beeps;
    }

    static double decibels(double ratio) { return 20 * std::log10(ratio); }
};

TEST_F(ExportedSound, FlashesAndBeepsStayTogether) {
    const Sound sound = exportedWithCuts({}, {1, 44100, 2000}, {{1.5, 2.25}, {5.5, 5.8}});
    const std::vector<double> flashes = exportedFlashes();
    const std::vector<double> beeps = beepsIn(sound);
    ASSERT_EQ(flashes.size(), 6u);  // those at 1, 3, 4, 5, 6 and 7 s
    ASSERT_EQ(beeps.size(), 6u);
    for (std::size_t i = 0; i < flashes.size(); ++i) {
        // A flash is shown on the first frame at or after its moment: up to one frame later.
        EXPECT_GE(flashes[i] - beeps[i], -0.005) << i;
        EXPECT_LE(flashes[i] - beeps[i], 1.0 / 30 + 0.005) << i;
    }
    // Where no cut has moved the flash off the frames' grid they are together to the millisecond.
    EXPECT_NEAR(flashes[0], beeps[0], 0.002);
    EXPECT_NEAR(sound.seconds(), 6.95, 0.03);
}

TEST_F(ExportedSound, CutsDoNotClickAndMoveNothing) {
    // A hum, and beeps at whole seconds. Each cut turns the hum over at its crest.
    const Sound sound =
        exportedWithCuts({2, 48000, 50, 0.25, true}, {1, 48000, 2000}, {{1.505, 2.255}, {5.505, 5.815}});
    EXPECT_NEAR(sound.seconds(), 6.94, 0.001);
    const double first = 1.505;
    const double second = 5.505 - 0.75;
    for (const double join : {first, second}) {
        float steepest = 0;
        const auto at = static_cast<std::size_t>(join * 48000);
        for (std::size_t i = at - 1000; i < at + 1000; ++i) {
            steepest = std::max(steepest, std::abs(sound.left[i] - sound.left[i - 1]));
        }
        // The hum takes steps of 0.0016; joined as it is, it would take one of 0.5.
        EXPECT_LT(steepest, 0.02F) << join;
    }
    const std::vector<double> beeps = beepsIn(sound, 0.4F);  // louder than the hum
    const std::vector<double> expected{1, 3 - 0.75, 4 - 0.75, 5 - 0.75, 6 - 1.06, 7 - 1.06};
    ASSERT_EQ(beeps.size(), expected.size());
    for (std::size_t i = 0; i < beeps.size(); ++i) EXPECT_NEAR(beeps[i], expected[i], 0.0005) << i;
}

TEST_F(ExportedSound, WhereDamageTookTheFirstPicturesTheOthersStayWithTheirSound) {
    options_.sounds = {{}};
    options_.indexFirst = true;
    info_.systemAudio = true;
    makeRecording(6);
    const std::string bytes = folder_.read("source.mov");
    const double samples = static_cast<double>(bytes.find("mdat")) / static_cast<double>(bytes.size());
    damage("source.mov", samples + 0.001, samples + 0.05);
    EXPECT_EQ(render().frames, 180);
    const auto tracks = media::Asset(folder_ / "studio-output.mp4").tracks();
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[0].sampleCount, 180);
    for (const media::AssetTrack& track : tracks) {
        EXPECT_NEAR(track.start.seconds(), 0, 1e-6);
        EXPECT_NEAR(track.end.seconds(), 6, 0.03);
    }
    // The first readable picture is the one at 1 s, which flashes: it is held from the beginning.
    std::vector<double> flashes = exportedFlashes();
    const std::vector<double> beeps = beepsIn(exportedSound());
    ASSERT_EQ(flashes.size(), 31u + 4);
    for (std::size_t i = 0; i < 31; ++i) EXPECT_NEAR(flashes[i], static_cast<double>(i) / 30, 0.001);
    flashes.erase(flashes.begin(), flashes.begin() + 30);
    ASSERT_EQ(beeps.size(), 5u);
    for (std::size_t i = 0; i < beeps.size(); ++i) EXPECT_NEAR(flashes[i], beeps[i], 0.002) << i;
}

TEST_F(ExportedSound, VolumesAreAsLoudAsTheySay) {
    options_.sounds = {{2, 48000, 500, 0.3, true}, {2, 48000, 1500, 0.3, true}};
    info_.systemAudio = info_.microphone = true;
    makeRecording(2);
    struct Case {
        double system, microphone;
    };
    for (const Case& volumes : {Case{1, 1}, Case{0, 0.5}, Case{0.5, 0}, Case{1.5, 1}, Case{0.5, 1.5}}) {
        settings_.systemVolume = volumes.system;
        settings_.micVolume = volumes.microphone;
        render();
        const Sound sound = exportedSound();
        for (const auto* channel : {&sound.left, &sound.right}) {
            const double system = amplitude(*channel, 500);
            const double microphone = amplitude(*channel, 1500);
            if (volumes.system == 0) {
                EXPECT_LT(decibels(system / 0.3), -50);
            } else {
                EXPECT_NEAR(decibels(system / 0.3), decibels(volumes.system), 0.2);
            }
            if (volumes.microphone == 0) {
                EXPECT_LT(decibels(microphone / 0.3), -50);
            } else {
                EXPECT_NEAR(decibels(microphone / 0.3), decibels(volumes.microphone), 0.2);
            }
        }
    }
}

TEST_F(ExportedSound, WhatIsTooLoudIsLimited) {
    options_.sounds = {{2, 48000, 500, 0.8, true}};
    info_.systemAudio = true;
    settings_.systemVolume = 1.5;
    makeRecording(2);
    render();
    const Sound sound = exportedSound();
    // The first harmonic of a sine of height a that is cut off at 1.
    const double a = 0.8 * 1.5;
    const double expected = 2 * a / std::numbers::pi * (std::asin(1 / a) + std::sqrt(1 - 1 / (a * a)) / a);
    // The encoder lowers what reaches full scale by up to a decibel, but never raises it.
    EXPECT_LT(decibels(amplitude(sound.left, 500)), decibels(expected) + 0.1);
    EXPECT_GT(decibels(amplitude(sound.left, 500)), decibels(expected) - 1);
    // A sine that was cut off has a third harmonic; one that was only made quieter has none.
    EXPECT_GT(decibels(amplitude(sound.left, 1500)), -30);
}

TEST_F(ExportedSound, AMicrophoneAloneGetsItsVolumeAndAMonoTrackKeepsItsLevel) {
    options_.sounds = {{1, 44100, 700, 0.4, true}};
    info_.microphone = true;
    settings_.systemVolume = 0;
    settings_.micVolume = 0.5;
    makeRecording(2);
    render();
    const Sound sound = exportedSound();
    EXPECT_NEAR(decibels(amplitude(sound.left, 700) / 0.4), -6.02, 0.2);
    EXPECT_NEAR(decibels(amplitude(sound.right, 700) / 0.4), -6.02, 0.2);
    info_.microphone = false;
    info_.systemAudio = true;
    settings_.systemVolume = 1;
    settings_.micVolume = 0;
    render();
    EXPECT_NEAR(decibels(amplitude(exportedSound().left, 700) / 0.4), 0, 0.2);
}

TEST_F(ExportedSound, WithoutSoundThereIsNoSoundTrack) {
    info_.systemAudio = true;  // said, but not there
    makeRecording(1);
    render();
    EXPECT_EQ(media::Asset(folder_ / "studio-output.mp4").tracks().size(), 1u);
    expectCutTimeline(30);
}

}  // namespace
}  // namespace lumivastor::render

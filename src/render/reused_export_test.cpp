// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <stop_token>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "media/reading/asset.h"
#include "render/movie_renderer.h"
#include "render/reuse/film_record.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"
#include "support/text_file.h"

// Exports that take parts of earlier ones. Whatever they take, the film has the samples of a complete export.

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

class ReusedExport : public ExportFixture {
  protected:
    ReusedExport() {
        // Squares, some of which change twice a second. As in most recordings, that is far from the limit of the rate.
        options_.bitRate = 4'000'000;
        options_.paint = [](int index, const imaging::YuvDestination& to) {
            for (int y = 0; y < to.height; ++y) {
                for (int x = 0; x < to.width; ++x) {
                    const bool isDark = (x / 32 * 7 + y / 32 * 5 + (y < 32 ? index / 15 : 0)) % 3 == 0;
                    to.luma[y * to.lumaStride + x] = isDark ? 90 : 150;
                }
            }
            for (int y = 0; y < to.height / 2; ++y) {
                std::fill_n(to.cb + y * to.chromaStride, to.width / 2, std::uint8_t{120});
                std::fill_n(to.cr + y * to.chromaStride, to.width / 2, std::uint8_t{135});
            }
        };
        settings_.zooms.emplace();
    }

    RenderOptions options() const {
        RenderOptions options;
        options.cacheFolder = cache_.path();
        return options;
    }
    RenderResult again() { return renderMovieSync(*open(canvas_), options()); }
    /// What the samples of a film's tracks are: times and bytes. How the tracks take turns in the file is chance.
    static std::vector<std::string> samplesOf(const fs::path& film) {
        const media::Asset movie(film);
        std::vector<std::string> checksums;
        for (const media::AssetTrack& track : movie.tracks()) {
            checksums.push_back(checksumOfSamples(movie, track.id).text());
        }
        return checksums;
    }
    std::vector<std::string> film() const { return samplesOf(folder_ / "studio-output.mp4"); }
    /// A complete export with the present settings.
    std::vector<std::string> freshFilm() {
        RenderOptions fresh = options();
        fresh.isFresh = true;
        fresh.cacheFolder.clear();
        fresh.file = elsewhere_ / "film.mp4";
        EXPECT_EQ(renderMovieSync(*open(canvas_), fresh).reusedFrames, 0);
        return samplesOf(fresh.file);
    }

    /// A zoom, as a user would add it.
    static model::ZoomSpec zoom(double start, double end) {
        return {start, end, 1.8, {model::FocusKey{start, 0.4, 0.6}}};
    }
    void makeNoisyRecording(double seconds) {
        options_.paint = [](int index, const imaging::YuvDestination& to) {
            std::mt19937 random(static_cast<unsigned>(index));
            for (int y = 0; y < to.height; ++y) {
                for (int x = 0; x < to.width; ++x) {
                    to.luma[y * to.lumaStride + x] = static_cast<std::uint8_t>(16 + random() % 220);
                }
            }
            for (int y = 0; y < to.height / 2; ++y) {
                std::fill_n(to.cb + y * to.chromaStride, to.width / 2, std::uint8_t{128});
                std::fill_n(to.cr + y * to.chromaStride, to.width / 2, std::uint8_t{128});
            }
        };
        makeRecording(seconds);
    }

    PixelSize canvas_ = kSize;
    TemporaryFolder cache_;
    TemporaryFolder elsewhere_;
};

TEST_F(ReusedExport, WithoutAChangeEverythingIsTaken) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(7);
    EXPECT_EQ(again().reusedFrames, 0);
    const std::vector<std::string> first = film();
    EXPECT_EQ(first, freshFilm());
    const RenderResult second = again();
    EXPECT_EQ(second.frames, 210);
    EXPECT_EQ(second.reusedFrames, 210);
    EXPECT_EQ(film(), first);
    // The film itself holds it: nothing is kept beside its record.
    for (const auto& entry : fs::directory_iterator(cache_.path())) EXPECT_LT(entry.file_size(), 2000u);
}

TEST_F(ReusedExport, AZoomChangesItsOwnGroupsOnly) {
    makeRecording(20);
    again();
    settings_.zooms->push_back(zoom(9, 11));
    const RenderResult result = again();
    // The camera is on its way from 8 to 12 at most.
    EXPECT_GE(result.reusedFrames, 600 - 4 * 60);
    EXPECT_LT(result.reusedFrames, 600 - 60);
    EXPECT_EQ(film(), freshFilm());
    // And back again: that film is no longer there.
    settings_.zooms->clear();
    EXPECT_EQ(again().reusedFrames, result.reusedFrames);
    EXPECT_EQ(film(), freshFilm());
}

TEST_F(ReusedExport, BehindACutOfWholePicturesEverythingStays) {
    makeRecording(20);
    again();
    settings_.cuts = {{7, 8.5}};
    EXPECT_GE(again().reusedFrames, 600 - 45 - 3 * 60);
    EXPECT_EQ(film(), freshFilm());
}

TEST_F(ReusedExport, AnyEditsGiveTheFilmThatTheyWouldGiveAnew) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(9);
    makeWebcam(240, 0.7);
    std::mt19937 random(3);
    const auto upTo = [&](double most) { return std::uniform_real_distribution<double>(0, most)(random); };
    const auto isTrue = [&] { return upTo(1) < 0.5; };
    std::int64_t reused = 0;
    again();
    for (int round = 0; round < 10; ++round) {
        switch (static_cast<int>(upTo(6.99))) {
            case 0: {
                const double start = upTo(7);
                settings_.zooms = {{zoom(start, start + 0.5 + upTo(1.5))}};
                break;
            }
            case 1: {
                // Of whole pictures, or any.
                const double start = upTo(7);
                const double length = isTrue() ? static_cast<int>(1 + upTo(40)) / 30.0 : 0.1 + upTo(1);
                settings_.cuts = {{start, start + length}};
                break;
            }
            case 2:
                settings_.trimStart = isTrue() ? 0 : upTo(3);
                break;
            case 3:
                settings_.masks = {{0.1, 0.1, 0.1 + upTo(0.5), 0.2}};
                break;
            case 4:
                settings_.systemVolume = upTo(1.5);
                break;
            case 5:
                settings_.backgroundRed = upTo(1);
                break;
            default:
                settings_.cuts.clear();
        }
        reused += again().reusedFrames;
        ASSERT_EQ(film(), freshFilm()) << "round " << round;
    }
    EXPECT_GT(reused, 0);
}

TEST_F(ReusedExport, WhatACancelledExportHasMadeIsKept) {
    makeRecording(20);
    std::stop_source stop;
    RenderOptions cancelled = options();
    cancelled.stop = stop.get_token();
    cancelled.progress = [&](double progress) {
        if (progress > 0.5) stop.request_stop();
    };
    EXPECT_THROW(renderMovieSync(*open(), cancelled), RecorderError);
    EXPECT_FALSE(fs::exists(folder_ / "studio-output.mp4"));
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
        EXPECT_EQ(entry.path().string().find("part"), std::string::npos) << entry.path();
    }
    const RenderResult result = again();
    EXPECT_GE(result.reusedFrames, 240);
    EXPECT_LT(result.reusedFrames, 600);
    EXPECT_EQ(film(), freshFilm());
}

TEST_F(ReusedExport, WhatDoesNotMatchIsMadeAnew) {
    // Its middle is neither in the first nor in the last 64 KiB.
    canvas_ = {480, 360};
    makeNoisyRecording(7);
    again();
    const std::vector<std::string> right = film();
    // The film is another one now, of the same length and with the same ends, which name its record.
    std::string wrong = readText(folder_ / "studio-output.mp4");
    ASSERT_GT(wrong.size(), 200'000u);
    for (std::size_t i = wrong.size() / 2; i < wrong.size() / 2 + 100; ++i) wrong[i] = static_cast<char>(~wrong[i]);
    writeText(folder_ / "studio-output.mp4", wrong);
    const RenderResult result = again();
    EXPECT_GT(result.reusedFrames, 0);
    EXPECT_LT(result.reusedFrames, result.frames);
    EXPECT_EQ(film(), right);
    // Damaged records are no records.
    for (const auto& entry : fs::directory_iterator(cache_.path())) {
        std::string text = readText(entry.path());
        text[text.size() / 2] = 'x';
        writeText(entry.path(), text);
    }
    again();
    EXPECT_EQ(film(), right);
    fs::remove_all(cache_.path());
    EXPECT_EQ(again().reusedFrames, 0);
    EXPECT_EQ(film(), right);
}

TEST_F(ReusedExport, AnotherRecordingOrSizeTakesNothing) {
    makeRecording(4);
    again();
    EXPECT_EQ(renderMovieSync(*open({96, 72}), options()).reusedFrames, 0);
    options_.bitRate = 2'000'000;
    makeRecording(4);
    EXPECT_EQ(again().reusedFrames, 0);
    EXPECT_EQ(film(), freshFilm());
}

}  // namespace
}  // namespace lumivastor::render

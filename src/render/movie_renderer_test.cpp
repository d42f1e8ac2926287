// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/movie_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <future>
#include <mutex>
#include <vector>

#include "base/pixel_size.h"
#include "imaging/studio_background.h"
#include "imaging/yuv_coefficients.h"
#include "media/reading/asset.h"
#include "support/export_fixture.h"
#include "support/test_movie.h"

// Whole exports of small recordings: which pictures they show.

namespace lumivastor::render {
namespace {

namespace fs = std::filesystem;

class ExportedPictures : public ExportFixture {};

TEST_F(ExportedPictures, EveryFrameShowsWhatTheCutTimelineSays) {
    settings_.trimStart = 0.25;
    settings_.trimEnd = 4.5;
    settings_.cuts = {{1, 1.51}, {2.013, 2.9}, {2.5, 3.1}};
    makeRecording(5);
    const RenderResult result = render();
    EXPECT_EQ(result.url, folder_ / "studio-output.mp4");
    EXPECT_EQ(result.frames, 79);  // 0.25-1, 1.51-2.013, 3.1-4.5
    EXPECT_NEAR(result.seconds, 79.0 / 30, 1e-9);
    EXPECT_EQ(result.zoomCount, 0);
    expectCutTimeline(79);
    EXPECT_NE(logText().find("[Studio] fertig: 79 Bilder, 3 Schnitte, 0 Auto-Zooms"), std::string::npos);
    EXPECT_EQ(count(logText(), "[Studio] Encoder: "), 1) << "what was chosen, and why";
}

TEST_F(ExportedPictures, VariableFrameRatesKeepTheirTimes) {
    options_.pictureTicks = {0, 10, 20, 50, 53, 57, 90, 200, 210, 219, 230, 400, 401, 402, 403, 404, 500, 640, 900};
    settings_.cuts = {{0.7, 0.95}};
    makeRecording(2);
    EXPECT_EQ(render().frames, 52);
    expectCutTimeline(52);
}

TEST_F(ExportedPictures, OtherRatesAndReorderedPicturesAsWell) {
    options_.frameRate = 25;
    options_.videoEncoder = "libx265";
    options_.reorderedPictures = 2;
    info_.fps = 60;
    settings_.cuts = {{0.5, 1.02}};
    makeRecording(2);
    EXPECT_EQ(render().frames, 88);
    expectCutTimeline(88);
}

TEST_F(ExportedPictures, OddCanvasesStayOdd) {
    makeRecording(1);
    constexpr PixelSize kOdd{179, 101};
    EXPECT_EQ(renderMovieSync(*open(kOdd), sourceFilling(kOdd)).frames, 30);
    const media::AssetTrack video = media::Asset(folder_ / "studio-output.mp4").tracks().at(0);
    EXPECT_EQ(video.width, kOdd.width);
    EXPECT_EQ(video.height, kOdd.height);
}

TEST_F(ExportedPictures, TheFrameMakerGetsSourceTimes) {
    settings_.cuts = {{0.5, 1.5}};
    makeRecording(2);
    std::vector<double> times;
    render({}, [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
        EXPECT_FALSE(webcam);
        times.push_back(t);
        return sourceFilling(kSize)(source, webcam, t);
    });
    ASSERT_EQ(times.size(), 30u);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_NEAR(times[i], static_cast<double>(i) / 30 + (i < 15 ? 0 : 1), 1e-9) << i;
    }
}

TEST_F(ExportedPictures, AfterManyCutsTheFrameMakerStillGetsTheTimeOfItsPicture) {
    // Each piece is four fifths of a tick shorter than what the movie's clock makes of it: 0.13 s after a hundred.
    for (int i = 0; i < 100; ++i) settings_.cuts.push_back({(24 * i + 12.6) / 600, (24 * i + 24.4) / 600});
    makeRecording(5);
    std::vector<double> times;
    const RenderResult result =
        render({}, [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
            times.push_back(t);
            return sourceFilling(kSize)(source, webcam, t);
        });
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(times.size(), numbers.size());
    ASSERT_EQ(static_cast<std::int64_t>(times.size()), result.frames);
    for (std::size_t i = 0; i < times.size(); ++i) {
        // The picture whose turn it is at that time.
        EXPECT_EQ(numbers[i], static_cast<int>(std::floor(times[i] * 30 + 0.01))) << "frame " << i << ", " << times[i];
    }
}

TEST_F(ExportedPictures, TheMovieHasTheFormOfAnExport) {
    settings_.exportFormat = model::ExportFormat::mov;
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(1);
    EXPECT_EQ(render().url, folder_ / "studio-output.mov");
    const media::Asset movie(folder_ / "studio-output.mov");
    ASSERT_EQ(movie.tracks().size(), 2u);
    const media::AssetTrack video = movie.tracks(media::TrackKind::video).at(0);
    EXPECT_EQ(video.codec, "h264");
    EXPECT_EQ(video.width, kSize.width);
    EXPECT_EQ(video.height, kSize.height);
    EXPECT_TRUE(video.colourTagged);
    EXPECT_EQ(video.sampleCount, 30);
    EXPECT_NEAR(video.end.seconds(), 1, 1e-9);
    const media::AssetTrack audio = movie.tracks(media::TrackKind::audio).at(0);
    EXPECT_EQ(audio.codec, "aac");
    EXPECT_EQ(audio.sampleRate, 48000);
    EXPECT_EQ(audio.channels, 2);
    // The container may be another than the settings', and only the file of that name is replaced.
    RenderOptions options;
    options.form = FilmForm::mp4;
    EXPECT_EQ(render(options).url, folder_ / "studio-output.mp4");
    EXPECT_TRUE(fs::exists(folder_ / "studio-output.mov"));
    EXPECT_EQ(model::ProjectSettings::load(folder_.path()).exportFormat, model::ExportFormat::mov);
}

TEST_F(ExportedPictures, LessThanAFrameIsOneFrame) {
    makeRecording(1);
    info_.duration = 0.02;
    const RenderResult result = render();
    EXPECT_EQ(result.frames, 1);
    EXPECT_EQ(exportedNumbers(), std::vector<int>{0});
}

TEST_F(ExportedPictures, ASourceThatEndsEarlyHoldsItsLastPicture) {
    options_.sounds = {{}};
    info_.systemAudio = true;
    makeRecording(1);
    info_.duration = 3;
    EXPECT_EQ(render().frames, 90);
    expectCutTimeline(90);
    EXPECT_EQ(exportedNumbers().back(), 29);
    EXPECT_EQ(count(logText(), "neu gestartet"), 0);
}

TEST_F(ExportedPictures, ASegmentBehindTheEndOfTheSourceShowsItsLastPicture) {
    makeRecording(1);
    info_.duration = 5;
    settings_.trimStart = 3;
    EXPECT_EQ(render().frames, 60);
    EXPECT_EQ(exportedNumbers().front(), 29);
}

TEST_F(ExportedPictures, TheWebcamAppearsWithItsFirstPictureAndIsHeldAfterItsLast) {
    makeRecording(4);
    makeWebcam(30, 1.5);  // source time 1.5 to 2.5
    settings_.cuts = {{0.5, 1}};
    bool before = false;
    // The webcam instead of the screen.
    const FrameMaker webcamOnly = [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                                      double t) {
        EXPECT_TRUE(webcam || t < 1.5) << t;
        EXPECT_TRUE(webcam || !before) << t;
        before = webcam.has_value();
        return sourceFilling(kSize)(webcam ? *webcam : source, {}, t);
    };
    EXPECT_EQ(render({}, webcamOnly).frames, 105);
    const std::vector<int> numbers = exportedNumbers();
    for (int i = 0; i < 105; ++i) {
        const int expected = i < 30 ? expectedNumber(i / 30.0) : std::min(i - 30, 29);
        EXPECT_EQ(numbers.at(static_cast<std::size_t>(i)), expected) << i;
    }
}

TEST_F(ExportedPictures, AShiftedWebcamBeginsWhereItDidAndShowsEarlierOrLaterPictures) {
    makeRecording(4);
    makeWebcam(30, 1.5);  // source time 1.5 to 2.5
    settings_.cuts = {{0.5, 1}, {2, 2.2}};
    const FrameMaker webcamOnly = [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam,
                                      double t) {
        EXPECT_EQ(webcam.has_value(), t >= 1.5) << t;
        return sourceFilling(kSize)(webcam ? *webcam : source, {}, t);
    };
    for (const int frames : {6, -6}) {
        settings_.webcamShift = frames / 30.0;
        ASSERT_EQ(render({}, webcamOnly).frames, 99);
        const std::vector<int> numbers = exportedNumbers();
        for (int i = 30; i < 99; ++i) {
            const int source = (i < 45 ? i + 15 : i + 21) - 45;
            EXPECT_EQ(numbers.at(static_cast<std::size_t>(i)), std::clamp(source - frames, 0, 29)) << i;
        }
    }
}

TEST_F(ExportedPictures, EqualRecipesAreRepeatedAndStillCounted) {
    makeRecording(2);
    std::optional<imaging::Picture> first;
    const RenderResult result =
        render({}, [&](const imaging::Picture& source, const std::optional<imaging::Picture>& webcam, double t) {
            if (!first || t >= 1) first = sourceFilling(kSize)(source, webcam, t);
            return *first;
        });
    EXPECT_EQ(result.frames, 60);
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), 60u);
    for (int i = 0; i < 60; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i < 30 ? 0 : i);
}

TEST_F(ExportedPictures, ProgressRisesToOneOnTheThreadThatWasNamed) {
    makeRecording(4);
    std::mutex lock;
    std::vector<std::function<void()>> posted;
    std::vector<double> values;
    RenderOptions options;
    options.progress = [&](double value) { values.push_back(value); };
    options.postToMain = [&](std::function<void()> call) {
        const std::lock_guard hold(lock);
        posted.push_back(std::move(call));
    };
    render(options);
    EXPECT_TRUE(values.empty()) << "nothing is called elsewhere";
    for (const auto& call : posted) call();
    EXPECT_EQ(values, (std::vector<double>{0.25, 0.5, 0.75, 0.97, 1}));
}

TEST_F(ExportedPictures, InTheBackgroundTheCompletionComesLast) {
    makeRecording(2);
    const auto composition = open();
    std::promise<RenderOutcome> done;
    std::vector<double> values;
    RenderOptions options;
    options.progress = [&](double value) { values.push_back(value); };
    const std::jthread thread = renderMovie(*composition, sourceFilling(kSize), options,
                                            [&](const RenderOutcome& outcome) { done.set_value(outcome); });
    const RenderOutcome outcome = done.get_future().get();
    ASSERT_TRUE(std::holds_alternative<RenderResult>(outcome));
    EXPECT_EQ(std::get<RenderResult>(outcome).frames, 60);
    EXPECT_EQ(values, (std::vector<double>{0.5, 0.97, 1}));
}

TEST_F(ExportedPictures, TheCompositionsOwnFramesHaveTheScreenOnItsBackground) {
    settings_.padding = 0.125;
    settings_.cornerRadius = 0;
    makeRecording(1);
    constexpr PixelSize kCanvas{256, 192};
    const auto composition = open(kCanvas);
    std::promise<RenderOutcome> done;
    const std::jthread thread =
        renderMovie(*composition, {}, [&](const RenderOutcome& outcome) { done.set_value(outcome); });
    ASSERT_TRUE(std::holds_alternative<RenderResult>(done.get_future().get()));
    const auto pictures = decodeTestMovie(folder_ / "studio-output.mp4");
    ASSERT_EQ(pictures.size(), 30u);
    const auto luma = [&](const imaging::YuvPicture& picture, int x, int y) {
        return int{picture.luma.samples[y * picture.luma.stride + x]};
    };
    // The screen is one and a half times its size, 24 rows from the top and 32 columns from the left; the block of the
    // code's lowest bit changes from picture to picture, the background does not.
    const Rect screen = composition->state()->layout.screenRect;
    ASSERT_EQ(screen, (Rect{32, 24, 192, 144}));
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const imaging::YuvPicture& picture = pictures[i].picture;
        if (i % 2 == 1) {
            EXPECT_GT(luma(picture, 41, 33), 215) << i;
        } else {
            EXPECT_LT(luma(picture, 41, 33), 36) << i;
        }
        EXPECT_NEAR(luma(picture, 8, 8), luma(pictures[0].picture, 8, 8), 3) << i;
        EXPECT_LT(luma(picture, 8, 8), 100) << i;
    }
}

TEST_F(ExportedPictures, LargeDarkAreasShowNoBands) {
    constexpr PixelSize kCanvas{1280, 720};
    settings_.padding = 0.14;
    makeRecording(1);
    const auto composition = open(kCanvas);
    std::promise<RenderOutcome> done;
    const std::jthread thread =
        renderMovie(*composition, {}, [&](const RenderOutcome& outcome) { done.set_value(outcome); });
    ASSERT_TRUE(std::holds_alternative<RenderResult>(done.get_future().get()));
    const auto pictures = decodeTestMovie(folder_ / "studio-output.mp4");
    ASSERT_EQ(pictures.size(), 30u);

    const imaging::StudioBackground background(
        kCanvas.width, kCanvas.height, {settings_.backgroundRed, settings_.backgroundGreen, settings_.backgroundBlue});
    const imaging::YuvCoefficients yuv{imaging::YuvEncoding{}};
    const auto exact = [&](int x, int y) {
        const imaging::RgbColour colour = background.colourAt(x + 0.5, y + 0.5);
        return yuv.luma(colour.red * 255, colour.green * 255, colour.blue * 255) + yuv.lumaOffset;
    };
    // Left of the screen and of its shadow.
    const Rect screen = composition->state()->layout.screenRect;
    // The encoder refines a film's first pictures for a third of a second.
    for (std::size_t i = 14; i < pictures.size(); ++i) {
        const imaging::YuvPicture& picture = pictures[i].picture;
        double squares = 0;
        double bandedSquares = 0;
        double worst = 0;
        int blocks = 0;
        for (int top = 0; top + 8 <= kCanvas.height; top += 8) {
            for (int left = 0; left + 8 <= screen.minX() - 120; left += 8) {
                double off = 0;
                double banded = 0;
                for (int y = top; y < top + 8; ++y) {
                    for (int x = left; x < left + 8; ++x) {
                        const double is = int{picture.luma.samples[y * picture.luma.stride + x]};
                        worst = std::max(worst, std::abs(is - exact(x, y)));
                        off += is - exact(x, y);
                        banded += std::round(exact(x, y)) - exact(x, y);
                    }
                }
                squares += off * off / (64 * 64);
                bandedSquares += banded * banded / (64 * 64);
                ++blocks;
            }
        }
        EXPECT_LE(worst, 2) << i;
        // Rounded to the nearest value, each band is off by up to half a value throughout.
        EXPECT_LT(std::sqrt(squares / blocks), 0.6 * std::sqrt(bandedSquares / blocks)) << i;
    }
}

}  // namespace
}  // namespace lumivastor::render

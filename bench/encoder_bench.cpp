// SPDX-License-Identifier: GPL-3.0-or-later

// What the export's encoder settings cost, and how sharp they keep text.
//
// A page of real text is at rest, is scrolled and is zoomed into, as in a tutorial, at 60 pictures a second and the
// export's bit rate. For each preset, with and without looking ahead: processor milliseconds a picture without
// painting, and the luma PSNR of the decoded pictures against the painted ones. "RestDb" is the mean over pictures at
// rest, "MovingDb" over those in motion, "WorstDb" that of the worst picture. The export uses the fastest preset that
// keeps 45 dB.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "imaging/painting/painter.h"
#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "media/writing/asset_writer.h"
#include "render/export_plan.h"
#include "screen_page.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kFps = 60;
constexpr int kFrames = 180;
constexpr const char* kPresets[] = {"ultrafast", "superfast", "veryfast", "faster"};

double processorSeconds(clockid_t clock) {
    struct timespec now {};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Twice as tall as the canvas.
imaging::Picture pageFor(PixelSize canvas) {
    return imaging::Picture(drawPage(canvas.width, canvas.height * 2, PageText::dense));
}

enum class Motion { resting, scrolling, zooming };

Motion motionAt(int frame) {
    if (frame < 60) return Motion::resting;
    return frame < 120 ? Motion::scrolling : Motion::zooming;
}

// The studio's picture in small: the page on a plain ground, moved as the frame says.
imaging::Picture frameAt(const imaging::Picture& page, PixelSize canvas, int frame) {
    const double scrolled = 3.0 * std::clamp(frame - 60, 0, 60);
    const double zoomed = std::clamp(frame - 120, 0, 60) / 60.0;
    const double eased = zoomed * zoomed * (3 - 2 * zoomed);
    const double scale = 0.89 * (1 + 0.6 * eased);
    const double left = canvas.width * 0.055 * (1 - eased);
    imaging::AffineTransform place = imaging::AffineTransform::translation(0, scrolled - canvas.height);
    place = place.then(imaging::AffineTransform::scaling(scale, scale))
                .then(imaging::AffineTransform::translation(left, left));
    return page.transformed(place);
}

double lumaPsnr(const imaging::YuvPicture& a, const imaging::YuvDestination& b) {
    double squares = 0;
    for (int y = 0; y < a.height; ++y) {
        std::int64_t row = 0;
        for (int x = 0; x < a.width; ++x) {
            const int difference = a.luma.samples[y * a.luma.stride + x] - b.luma[y * b.lumaStride + x];
            row += difference * difference;
        }
        squares += static_cast<double>(row);
    }
    const double mean = squares / a.width / a.height;
    return mean == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mean);
}

struct Sharpness {
    double resting = 0, moving = 0, worst = 99;
};

// Arguments: canvas height, the preset's position in `kPresets`, pictures to look ahead.
void encoding(benchmark::State& state) {
    const PixelSize canvas = render::exportCanvas(state.range(0));
    const imaging::Picture page = pageFor(canvas);
    const fs::path path = fs::temp_directory_path() / formatted("encoder_bench.%d.mp4", static_cast<int>(::getpid()));
    for (auto _ : state) {
        double painting = 0;
        const double start = processorSeconds(CLOCK_PROCESS_CPUTIME_ID);
        {
            media::AssetWriter writer(path, media::MovieContainer::mp4);
            media::VideoSettings settings;
            settings.width = canvas.width;
            settings.height = canvas.height;
            settings.averageBitRate = render::exportBitRate(canvas, kFps);
            settings.maxKeyFrameInterval = kFps * 2;
            settings.preset = kPresets[state.range(1)];
            settings.lookahead = static_cast<int>(state.range(2));
            media::VideoWriterInput& input = writer.addVideoInput(settings);
            if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
            writer.startSession({});
            imaging::Painter painter(1);
            std::promise<void> done;
            SerialQueue queue("bench.video");
            int frame = 0;
            input.requestMediaDataWhenReady(queue, [&] {
                while (input.isReadyForMoreMediaData()) {
                    if (frame == kFrames) {
                        input.markAsFinished();
                        done.set_value();
                        return;
                    }
                    const MediaTime time{frame * 600 / kFps, 600};
                    if (motionAt(frame) == Motion::resting && frame > 0) {
                        input.appendRepeat(time);
                    } else {
                        const double before = processorSeconds(CLOCK_THREAD_CPUTIME_ID);
                        auto picture = input.pool().makePlanar();
                        painter.paint(frameAt(page, canvas, frame), picture->destination());
                        painting += processorSeconds(CLOCK_THREAD_CPUTIME_ID) - before;
                        input.append(std::move(picture), time);
                    }
                    ++frame;
                }
            });
            done.get_future().wait();
            if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
        }
        const double cost = processorSeconds(CLOCK_PROCESS_CPUTIME_ID) - start - painting;

        Sharpness sharpness;
        media::AssetReader reader(std::make_shared<const media::Asset>(path));
        media::VideoTrackOutput& output = reader.addVideoOutput(1, media::PictureFormat::planar);
        if (!reader.startReading()) throw reader.error().value_or(RecorderError("?"));
        imaging::Painter painter(2);
        imaging::PicturePool pool(canvas.width, canvas.height, {});
        const auto painted = pool.makePlanar();
        int frame = 0;
        int resting = 0;
        while (const auto sample = output.copyNextSample()) {
            painter.paint(frameAt(page, canvas, frame), painted->destination());
            const double psnr = lumaPsnr(sample->planar(), painted->destination());
            const bool rests = motionAt(frame) == Motion::resting;
            (rests ? sharpness.resting : sharpness.moving) += psnr;
            resting += rests ? 1 : 0;
            sharpness.worst = std::min(sharpness.worst, psnr);
            ++frame;
        }
        state.SetIterationTime(cost);
        state.SetLabel(kPresets[state.range(1)]);
        state.counters["MsPerPicture"] = cost * 1000 / kFrames;
        state.counters["RestDb"] = sharpness.resting / resting;
        state.counters["MovingDb"] = sharpness.moving / (frame - resting);
        state.counters["WorstDb"] = sharpness.worst;
        state.counters["MbitPerSecond"] =
            static_cast<double>(fs::file_size(path)) * 8 / 1e6 / (static_cast<double>(kFrames) / kFps);
    }
    fs::remove(path);
}

// A desktop's own picture: text on whole pixels, moved by whole pixels.
imaging::Picture scrolledBy(const imaging::Picture& page, PixelSize canvas, int pixels) {
    return page.transformed(imaging::AffineTransform::translation(0, pixels - canvas.height));
}

// A recording as it comes: a second of scrolling at 60 pictures a second, then a screen at rest, of which the last
// picture comes once more after each of `kRepeatsAt` seconds. "RestDb" and hundredths of seconds: the sharpness of the
// resting picture from then on. Arguments: canvas height, preset, rate factor (0: the average bit rate).
void liveEncoding(benchmark::State& state) {
    constexpr int kScrolled = 60;
    constexpr double kRepeatsAt[] = {0.1, 0.25, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const PixelSize canvas = render::exportCanvas(state.range(0));
    const imaging::Picture page = pageFor(canvas);
    const fs::path path = fs::temp_directory_path() / formatted("encoder_bench.%d.mov", static_cast<int>(::getpid()));
    for (auto _ : state) {
        double painting = 0;
        const double start = processorSeconds(CLOCK_PROCESS_CPUTIME_ID);
        {
            media::AssetWriter writer(path, media::MovieContainer::quickTime);
            writer.setMovieFragmentInterval({1200, 600});
            media::VideoSettings settings;
            settings.width = canvas.width;
            settings.height = canvas.height;
            settings.averageBitRate = render::exportBitRate(canvas, kFps);
            settings.maxKeyFrameInterval = kFps * 2;
            settings.maxSeekSeconds = 0.08;
            settings.keySecondsAfterChange = 10;
            settings.preset = kPresets[state.range(1)];
            settings.lowLatency = true;
            if (state.range(2) > 0) settings.constantQuality = static_cast<int>(state.range(2));
            settings.skipRepeatedPictures = false;
            media::VideoWriterInput& input = writer.addVideoInput(settings);
            if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
            writer.startSession({});
            imaging::Painter painter(1);
            const auto append = [&](int step, double seconds) {
                while (!input.isReadyForMoreMediaData()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
                const double before = processorSeconds(CLOCK_THREAD_CPUTIME_ID);
                auto picture = input.pool().makePlanar();
                painter.paint(scrolledBy(page, canvas, 3 * step), picture->destination());
                painting += processorSeconds(CLOCK_THREAD_CPUTIME_ID) - before;
                input.append(std::move(picture), MediaTime::fromSeconds(seconds, 600));
            };
            for (int i = 0; i < kScrolled; ++i) append(i, i / 60.0);
            for (const double after : kRepeatsAt) append(kScrolled - 1, (kScrolled - 1) / 60.0 + after);
            if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
        }
        const double cost = processorSeconds(CLOCK_PROCESS_CPUTIME_ID) - start - painting;
        media::AssetReader reader(std::make_shared<const media::Asset>(path));
        media::VideoTrackOutput& output = reader.addVideoOutput(1, media::PictureFormat::planar);
        if (!reader.startReading()) throw reader.error().value_or(RecorderError("?"));
        imaging::Painter painter(2);
        imaging::PicturePool pool(canvas.width, canvas.height, {});
        const auto painted = pool.makePlanar();
        for (int frame = 0; const auto sample = output.copyNextSample(); ++frame) {
            painter.paint(scrolledBy(page, canvas, 3 * std::min(frame, kScrolled - 1)), painted->destination());
            const double psnr = lumaPsnr(sample->planar(), painted->destination());
            if (frame == kScrolled / 2) state.counters["MovingDb"] = psnr;
            if (frame == kScrolled - 1) state.counters["LastDb"] = psnr;
            if (frame >= kScrolled) {
                state.counters[formatted("RestDb%d", static_cast<int>(kRepeatsAt[frame - kScrolled] * 100))] = psnr;
            }
        }
        if (const auto error = reader.error()) throw RecorderError(*error);
        state.SetIterationTime(cost);
        state.SetLabel(kPresets[state.range(1)]);
        state.counters["MsPerPicture"] = cost * 1000 / (kScrolled + std::size(kRepeatsAt));
        state.counters["MB"] = static_cast<double>(fs::file_size(path)) / 1e6;
    }
    fs::remove(path);
}

BENCHMARK(liveEncoding)
    ->ArgsProduct({{1080, 1440}, {0, 1}, {0, 20}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

BENCHMARK(encoding)
    ->ArgsProduct({{1080, 1440, 2160}, {0, 1, 2, 3}, {0, 10}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

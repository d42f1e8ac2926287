// SPDX-License-Identifier: GPL-3.0-or-later

// Whole exports against decoding and encoding alone.
//
// Aims at 2560 x 1440 and 60 pictures a second, in processor time of all threads: at most 1.15 times what decoding the
// source and encoding every frame costs without composing when the picture moves all the time, and at most 0.35 times
// when four of five frames repeat. Both sides use the same decoder. Alone, libx264 encodes every frame at the laid-down
// average rate, repeated or not; copying pixels from decoder to encoder is measured and left out. "Ratio" has the
// source's pictures encoded. Studio frames are other pictures, and resampled text that moves by fractions of a pixel
// costs more to encode; "RatioSameFrames" (aim in constant motion: 1.10) therefore compares with decoding the source
// and encoding the finished frames as the export does (painted once more, which is measured and left out), so that only
// composing is left. Milliseconds are for each frame.
//
// Argument: canvas height. The source has the canvas's size.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "base/interval.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "media/writing/asset_writer.h"
#include "movie_frames.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/movie_renderer.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kFps = 60;
constexpr int kFrames = 300;  // of those whose cost is compared
// With repeats: bursts of motion and rests, five seconds of them in all.
constexpr int kPeriod = 60;
constexpr int kMovingOfPeriod = 12;

double secondsOf(clockid_t clock) {
    struct timespec now {};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

media::VideoSettings settingsFor(PixelSize canvas) {
    media::VideoSettings settings;
    settings.width = canvas.width;
    settings.height = canvas.height;
    settings.averageBitRate = render::exportBitRate(canvas, kFps);
    settings.maxKeyFrameInterval = kFps * 2;
    settings.frameRate = kFps;
    return settings;
}

// Something like a page of text that is scrolled: short dark strokes on a light ground, with some colour.
void paintPage(const imaging::YuvDestination& picture, int scrolled) {
    for (int y = 0; y < picture.height; ++y) {
        const int line = y + scrolled;
        for (int x = 0; x < picture.width; ++x) {
            const bool stroke =
                (x * 7 + line / 18 * 13) % 11 < 3 && line % 18 < 11 && (line / 18 * 31 + x / 90) % 5 != 0;
            picture.luma[y * picture.lumaStride + x] = static_cast<std::uint8_t>(stroke ? 40 : 225);
        }
    }
    for (int y = 0; y < picture.height / 2; ++y) {
        for (int x = 0; x < picture.width / 2; ++x) {
            const int patch = (x / 60 + (2 * y + scrolled) / 90) % 7;
            picture.cb[y * picture.chromaStride + x] = static_cast<std::uint8_t>(120 + patch * 3);
            picture.cr[y * picture.chromaStride + x] = static_cast<std::uint8_t>(136 - patch * 2);
        }
    }
}

// Feeds an input from a pump until `append` has had its last frame.
template <typename Append>
void feed(media::AssetWriter& writer, media::VideoWriterInput& input, int frames, Append append) {
    std::promise<void> done;
    SerialQueue queue("bench.video");
    int frame = 0;
    input.requestMediaDataWhenReady(queue, [&] {
        while (input.isReadyForMoreMediaData()) {
            if (frame == frames || !append(frame)) {
                input.markAsFinished();
                done.set_value();
                return;
            }
            ++frame;
        }
    });
    done.get_future().wait();
    if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
}

bool isNewPicture(int frame, bool repeats) {
    return !repeats || frame % kPeriod < kMovingOfPeriod;
}

// A recording folder. Its movie has a picture only where something moves, as recordings do.
class SampleRecording {
  public:
    SampleRecording(PixelSize canvas, bool repeats, int frames = kFrames)
        : canvas_(canvas),
          frames_(frames),
          folder_(fs::temp_directory_path() / formatted("render_bench.%d", static_cast<int>(::getpid()))) {
        fs::create_directories(folder_);
        writeMovie(repeats);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = canvas.width;
        info.pixelHeight = canvas.height;
        info.fps = kFps;
        info.duration = static_cast<double>(frames_) / kFps;
        info.save(folder_);
        model::PointerTrack().save(folder_);
    }
    ~SampleRecording() { fs::remove_all(folder_); }
    SampleRecording(const SampleRecording&) = delete;
    SampleRecording& operator=(const SampleRecording&) = delete;

    const fs::path& folder() const { return folder_; }
    PixelSize canvas() const { return canvas_; }

  private:
    void writeMovie(bool repeats) {
        media::AssetWriter writer(folder_ / "source.mov", media::MovieContainer::quickTime);
        media::VideoSettings settings = settingsFor(canvas_);
        settings.preset = "ultrafast";
        media::VideoWriterInput& input = writer.addVideoInput(settings);
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        feed(writer, input, frames_, [&](int frame) {
            if (!isNewPicture(frame, repeats)) return true;
            auto picture = input.pool().makePlanar();
            paintPage(picture->destination(), frame * 3);
            return input.append(std::move(picture), MediaTime{frame * 600 / kFps, 600});
        });
    }

    PixelSize canvas_;
    int frames_;
    fs::path folder_;
};

void copyPlane(const imaging::YuvPlane& from, std::uint8_t* to, std::ptrdiff_t stride, int width, int height) {
    for (int y = 0; y < height; ++y) {
        std::memcpy(to + y * stride, from.samples + y * from.stride, static_cast<std::size_t>(width));
    }
}

using Fill = std::function<void(int frame, const imaging::YuvPicture& source, const imaging::YuvDestination& to)>;

// Processor seconds for decoding the source and encoding every frame, without what `fill` costs.
double costOfTranscoding(const render::CutComposition& movie, const SampleRecording& recording,
                         const media::VideoSettings& settings, const Fill& fill) {
    double filling = 0;
    const double start = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    {
        MovieFrames frames(movie.movie, movie.screenTrackId.value(), kFps);
        media::AssetWriter writer(recording.folder() / "alone.mp4", media::MovieContainer::mp4);
        media::VideoWriterInput& input = writer.addVideoInput(settings);
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        feed(writer, input, kFrames, [&](int frame) {
            const imaging::YuvPicture& from = frames.at(frame);
            auto buffer = input.pool().makePlanar();
            const double before = secondsOf(CLOCK_THREAD_CPUTIME_ID);
            fill(frame, from, buffer->destination());
            filling += secondsOf(CLOCK_THREAD_CPUTIME_ID) - before;
            return input.append(std::move(buffer), MediaTime{frame * 600 / kFps, 600});
        });
    }
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID) - start - filling;
}

void copyPicture(int /*frame*/, const imaging::YuvPicture& from, const imaging::YuvDestination& to) {
    copyPlane(from.luma, to.luma, to.lumaStride, to.width, to.height);
    copyPlane(from.cb, to.cb, to.chromaStride, to.width / 2, to.height / 2);
    copyPlane(from.cr, to.cr, to.chromaStride, to.width / 2, to.height / 2);
}

render::CutComposition wholeMovie(const fs::path& path) {
    const std::vector<Interval> all = {{0, static_cast<double>(kFrames) / kFps}};
    return render::makeCutComposition(all, {std::make_shared<const media::Asset>(path), nullptr}, 0);
}

double costOfExport(const SampleRecording& recording) {
    const edit::Composition composition(recording.folder(), recording.canvas().width, recording.canvas().height);
    const double start = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    const render::RenderResult result = render::renderMovieSync(composition);
    if (result.frames != kFrames) throw RecorderError("frames are missing");
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID) - start;
}

void exportAgainstCodecs(benchmark::State& state, bool repeats) {
    const SampleRecording recording(render::exportCanvas(state.range(0)), repeats);
    for (auto _ : state) {
        const double whole = costOfExport(recording);
        const render::CutComposition source = wholeMovie(recording.folder() / "source.mov");
        media::VideoSettings everyFrame = settingsFor(recording.canvas());
        everyFrame.skipRepeatedPictures = false;
        const double alone = costOfTranscoding(source, recording, everyFrame, copyPicture);
        const edit::Composition composition(recording.folder(), recording.canvas().width, recording.canvas().height);
        imaging::Painter painter(1);
        const double sameFrames = costOfTranscoding(
            source, recording, render::exportVideoSettings(recording.canvas(), kFps, std::nullopt),
            [&](int frame, const imaging::YuvPicture& from, const imaging::YuvDestination& to) {
                painter.paint(
                    composition.compose(imaging::Picture(from), std::nullopt, render::frameSeconds(frame, kFps)), to);
            });
        state.SetIterationTime(whole);
        state.counters["AloneMs"] = alone * 1000 / kFrames;
        state.counters["SameFramesMs"] = sameFrames * 1000 / kFrames;
        state.counters["ExportMs"] = whole * 1000 / kFrames;
        state.counters["Ratio"] = whole / alone;
        state.counters["RatioSameFrames"] = whole / sameFrames;
    }
}

BENCHMARK_CAPTURE(exportAgainstCodecs, constant_motion, false)
    ->Arg(1080)
    ->Arg(1440)
    ->Arg(2160)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(exportAgainstCodecs, four_of_five_repeat, true)
    ->Arg(1080)
    ->Arg(1440)
    ->Arg(2160)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// The most memory that a process of its own held while it ran `work`, in MB.
template <typename Work>
double memoryOf(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    int status = 0;
    struct rusage usage {};
    if (::wait4(child, &status, 0, &usage) != child || status != 0) throw RecorderError("the child has failed");
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// An export holds as much memory for two minutes as for ten seconds.
void memoryOfExport(benchmark::State& state) {
    constexpr int kShort = 10 * kFps;
    constexpr int kLong = 120 * kFps;
    const auto exportOf = [](int frames) {
        const SampleRecording recording({1280, 720}, true, frames);
        return memoryOf([&] { render::renderMovieSync(edit::Composition(recording.folder(), 1280, 720)); });
    };
    for (auto _ : state) {
        const double start = secondsOf(CLOCK_MONOTONIC);
        const double shortOne = exportOf(kShort);
        const double longOne = exportOf(kLong);
        state.SetIterationTime(secondsOf(CLOCK_MONOTONIC) - start);
        state.counters["TenSecondsMB"] = shortOne;
        state.counters["TwoMinutesMB"] = longOne;
        state.counters["Ratio"] = longOne / shortOne;
    }
}

BENCHMARK(memoryOfExport)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

// SPDX-License-Identifier: GPL-3.0-or-later

// The export of a typical tutorial (tutorial.h) against FFmpeg decoding and encoding the same recording.
//
// "Ratio" is the export's processor time of all threads to that of the program `ffmpeg`,
// which decodes the same movie and encodes it with libx264's preset veryfast at the same rate and the laid-down key
// distance; aim: at most 0.35. "RateShare" is the film's size to that of the laid-down average rate; aim: at most 0.3.
// "FullestSeconds" is the fullest two seconds to the same. Luma PSNR of the film against the painted frames, over the
// screen's place on the canvas: "RestDb" while the camera rests, all pictures together, aim 45; "RestWorstDb" of the
// worst picture of these, "MoveDb" and "MoveWorstDb" while it moves. Milliseconds are for each frame.
//
// Argument: canvas height. The source has the canvas's size.

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "movie_frames.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/movie_renderer.h"
#include "tutorial.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kFps = kTutorialFps;
constexpr int kSeconds = kSceneSeconds;
constexpr int kFrames = kSeconds * kFps;

double processorSeconds(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

MovieFrames framesOf(const fs::path& path) {
    const auto cut = render::makeCutComposition(std::vector<Interval>{{0, kSeconds}},
                                                {std::make_shared<const media::Asset>(path), nullptr}, 0);
    return {cut.movie, cut.screenTrackId.value(), kFps};
}

double costOfFfmpeg(const Tutorial& tutorial, const std::string& output) {
    const std::string rate = formatted("%lld", static_cast<long long>(render::exportBitRate(tutorial.size(), kFps)));
    const std::string command = "ffmpeg -nostdin -loglevel error -y -i '" + tutorial.movie().string() +
                                "' -r 60 -c:v libx264 -preset veryfast -b:v " + rate + " -g 120 " + output;
    const double before = processorSeconds(RUSAGE_CHILDREN);
    if (std::system(command.c_str()) != 0) throw RecorderError("ffmpeg has failed");
    return processorSeconds(RUSAGE_CHILDREN) - before;
}

double decibels(double squares, double samples) {
    return samples <= 0 || squares <= 0 ? 99 : 10 * std::log10(255.0 * 255.0 * samples / squares);
}

struct Sharpness {
    double squares[2] = {0, 0};  // by whether the camera moves
    double samples[2] = {0, 0};
    double worst[2] = {99, 99};
};

Sharpness sharpnessOf(const Tutorial& tutorial, const fs::path& film) {
    const PixelSize size = tutorial.size();
    const edit::Composition composition(tutorial.folder(), size.width, size.height);
    const auto state = composition.state();
    const Rect& screen = state->layout.screenRect;
    MovieFrames source = framesOf(tutorial.movie());
    MovieFrames shown = framesOf(film);
    imaging::Painter painter(2);
    imaging::PlanarBuffer painted(size.width, size.height, {});
    Sharpness sharpness;
    const auto cameraAt = [&](int frame) { return state->zoomEngine->camera(render::frameSeconds(frame, kFps)); };
    for (int frame = 0; frame < kFrames; ++frame) {
        const imaging::YuvPicture from = source.at(frame);
        const imaging::YuvPicture is = shown.at(frame);
        if (frame % 3 != 0) continue;
        painter.paint(composition.compose(imaging::Picture(from), std::nullopt, render::frameSeconds(frame, kFps)),
                      painted.destination());
        const auto now = cameraAt(frame);
        const auto next = cameraAt(frame + 1);
        const int moves = now.scale != next.scale || now.focusX != next.focusX || now.focusY != next.focusY ? 1 : 0;
        double squares = 0;
        double samples = 0;
        const int top = size.height - static_cast<int>(screen.maxY());
        for (int y = top; y < top + static_cast<int>(screen.height); ++y) {
            const std::uint8_t* const a = is.luma.samples + y * is.luma.stride;
            const std::uint8_t* const b = painted.destination().luma + y * painted.destination().lumaStride;
            for (int x = static_cast<int>(screen.minX()); x < static_cast<int>(screen.maxX()); ++x) {
                squares += (a[x] - b[x]) * (a[x] - b[x]);
                ++samples;
            }
        }
        sharpness.squares[moves] += squares;
        sharpness.samples[moves] += samples;
        sharpness.worst[moves] = std::min(sharpness.worst[moves], decibels(squares, samples));
    }
    return sharpness;
}

// Bytes of the fullest `seconds` of a film.
double fullest(const fs::path& film, int seconds) {
    const std::string command =
        "ffprobe -loglevel error -select_streams v -show_entries packet=size -of csv=p=0 '" + film.string() + "'";
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::vector<double> sizes;
    for (double size = 0; pipe != nullptr && std::fscanf(pipe, "%lf%*[^\n]", &size) == 1;) sizes.push_back(size);
    if (pipe == nullptr || ::pclose(pipe) != 0) throw RecorderError("ffprobe has failed");
    double most = 0;
    double now = 0;
    const auto length = static_cast<std::size_t>(seconds * kFps);
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        now += sizes[i];
        if (i >= length) now -= sizes[i - length];
        most = std::max(most, now);
    }
    return most;
}

void exportOfTutorial(benchmark::State& state) {
    const Tutorial tutorial(render::exportCanvas(state.range(0)));
    const PixelSize size = tutorial.size();
    for (auto _ : state) {
        const edit::Composition composition(tutorial.folder(), size.width, size.height);
        const double before = processorSeconds(RUSAGE_SELF);
        const render::RenderResult result = render::renderMovieSync(composition);
        const double own = processorSeconds(RUSAGE_SELF) - before;
        if (result.frames != kFrames) throw RecorderError("frames are missing");
        const double others = costOfFfmpeg(tutorial, (tutorial.folder() / "ffmpeg.mp4").string());
        state.SetIterationTime(own);
        state.counters["ExportMs"] = own * 1000 / kFrames;
        state.counters["FfmpegMs"] = others * 1000 / kFrames;
        state.counters["Ratio"] = own / others;
        const auto bytes = static_cast<double>(fs::file_size(result.url));
        const double laidDown = static_cast<double>(render::exportBitRate(size, kFps)) / 8;
        state.counters["Mbit"] = bytes * 8 / 1e6 / kSeconds;
        state.counters["RateShare"] = bytes / kSeconds / laidDown;
        state.counters["FullestSeconds"] = fullest(result.url, 2) / 2 / laidDown;
        const Sharpness sharpness = sharpnessOf(tutorial, result.url);
        state.counters["RestDb"] = decibels(sharpness.squares[0], sharpness.samples[0]);
        state.counters["RestWorstDb"] = sharpness.worst[0];
        state.counters["MoveDb"] = decibels(sharpness.squares[1], sharpness.samples[1]);
        state.counters["MoveWorstDb"] = sharpness.worst[1];
        if (const char* const kept = std::getenv("TUTORIAL_BENCH_KEEP")) {
            fs::copy(tutorial.folder(), kept, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        }
    }
}

BENCHMARK(exportOfTutorial)->Arg(1440)->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

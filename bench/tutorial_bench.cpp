// SPDX-License-Identifier: GPL-3.0-or-later

// The export of a typical tutorial against FFmpeg decoding and encoding the same recording.
//
// Twenty seconds at 60 pictures a second: a pointer that moves, jitters and rests, two clicks with their zooms, typing
// behind a caret that blinks, a scroll, rests. The recording is written as the recorder writes it, with pictures only
// where the screen changed. "Ratio" is the export's processor time of all threads to that of the program `ffmpeg`,
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
#include "capture/live_video.h"
#include "edit/composition.h"
#include "imaging/painting/painter.h"
#include "imaging/png_file.h"
#include "media/writing/asset_writer.h"
#include "model/pointer_track.h"
#include "movie_frames.h"
#include "render/cut_composition.h"
#include "render/export_plan.h"
#include "render/movie_renderer.h"
#include "screen_page.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kFps = 60;
constexpr int kSeconds = 20;
constexpr int kFrames = kSeconds * kFps;

double processorSeconds(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// What the screen shows; the pointer is recorded beside it.
struct State {
    int typed = 0;
    bool caret = true;
    int scrolled = 0;

    bool operator==(const State&) const = default;
};

State stateAt(int frame) {
    State state;
    state.typed = std::clamp(frame - 300, 0, 240) / 7;
    state.caret = frame / 30 % 2 == 0;
    state.scrolled = 17 * std::clamp(frame - 840, 0, 45);
    return state;
}

void paintScreen(const Screen& screen, const State& state, const imaging::YuvDestination& to) {
    screen.show(to, state.scrolled / 2 * 2);
    const int line = (to.height * 2 / 3) & ~15;
    Screen::box(to, 100, line, to.width / 2, line + 24, 235);
    for (int i = 0; i < state.typed; ++i) {
        for (int bar = 0; bar < 3; ++bar) {
            const int left = 104 + 10 * i + 3 * bar;
            Screen::box(to, left, line + 4 + i * 7 % 5, left + 2, line + 12 + (i * 5 + bar * 3) % 9, 30);
        }
    }
    if (state.caret) Screen::box(to, 104 + 10 * state.typed, line + 2, 106 + 10 * state.typed, line + 22, 16);
}

// A hand's way: along a curve, with a jitter of a pixel.
Point pointerAt(double t, PixelSize size) {
    // Moving from 0.5 to 2.5, 9 to 11 and 16 to 17.5; resting otherwise.
    const double way = std::clamp(t - 0.5, 0.0, 2.0) + std::clamp(t - 9, 0.0, 2.0) + std::clamp(t - 16, 0.0, 1.5);
    return {size.width * (0.5 + 0.35 * std::sin(way)), size.height * (0.5 + 0.3 * std::cos(1.3 * way))};
}

model::PointerTrack pointerTrack(PixelSize size) {
    model::PointerTrack track;
    std::mt19937 random(5);
    std::optional<Point> last;
    const auto add = [&](double t, const Point& at, model::PointerKind kind) {
        model::PointerSample sample;
        sample.t = t;
        sample.px = at.x;
        sample.py = at.y;
        sample.nx = at.x / size.width;
        sample.ny = at.y / size.height;
        sample.kind = kind;
        if (kind != model::PointerKind::move) sample.button = model::PointerButton::left;
        track.events.push_back(sample);
    };
    for (int i = 0; i < kSeconds * 125; ++i) {
        const double t = i / 125.0;
        Point at = pointerAt(t, size);
        const bool moves = !last || std::abs(at.x - last->x) + std::abs(at.y - last->y) > 0.2;
        last = at;
        at = {std::round(at.x), std::round(at.y)};
        // A hand on the mouse: now and then a pixel while it rests.
        if (moves || random() % 60 == 0) {
            if (!moves) at.x += static_cast<int>(random() % 3) - 1;
            add(t, at, model::PointerKind::move);
        }
        for (const double click : {3.0, 11.5}) {
            if (std::abs(t - click) >= 0.5 / 125) continue;
            add(t, at, model::PointerKind::down);
            add(t + 0.08, at, model::PointerKind::up);
        }
    }
    std::stable_sort(track.events.begin(), track.events.end(), [](const auto& a, const auto& b) { return a.t < b.t; });
    track.cursorImages.push_back({"c0", "cursors/c0.png", 24, 24, 2, 2, 1, true});
    track.cursorChanges.push_back({0, "c0"});
    return track;
}

void writeCursor(const fs::path& folder) {
    fs::create_directories(folder / "cursors");
    imaging::BgraPremultipliedBuffer cursor(24, 24);
    imaging::BitmapCanvas drawing(cursor);
    for (int row = 0; row < 20; ++row) {
        const double length = row < 14 ? row * 0.75 + 1 : 5;
        drawing.fillRect({2, 2.0 + row, length + 2, 1}, {1, 1, 1, 1});
        drawing.fillRect({3, 2.0 + row, std::max(0.0, length - 1), 1}, {0.05, 0.05, 0.05, 1});
    }
    imaging::writePng(folder / "cursors" / "c0.png", cursor);
}

class Tutorial {
  public:
    explicit Tutorial(PixelSize size)
        : size_(size),
          folder_(fs::temp_directory_path() / formatted("tutorial_bench.%d", static_cast<int>(::getpid()))) {
        fs::create_directories(folder_);
        writeMovie();
        writeCursor(folder_);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = size.width;
        info.pixelHeight = size.height;
        info.fps = kFps;
        info.duration = kSeconds;
        info.save(folder_);
        pointerTrack(size).save(folder_);
    }
    ~Tutorial() { fs::remove_all(folder_); }
    Tutorial(const Tutorial&) = delete;
    Tutorial& operator=(const Tutorial&) = delete;

    const fs::path& folder() const { return folder_; }
    fs::path movie() const { return folder_ / "source.mov"; }
    PixelSize size() const { return size_; }

  private:
    void writeMovie() {
        media::AssetWriter writer(movie(), media::MovieContainer::quickTime);
        media::VideoSettings settings = capture::screenVideoSettings(
            size_.width, size_.height, kFps, capture::averageBitRate(size_.width, size_.height, kFps));
        settings.preset = "ultrafast";
        media::VideoWriterInput& input = writer.addVideoInput(settings);
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        const Screen screen(size_.width, size_.height, PageText::ragged);
        for (int frame = 0; frame < kFrames; ++frame) {
            // As long as nothing changes, once a second.
            const bool isNew = frame == 0 || stateAt(frame) != stateAt(frame - 1);
            if (!isNew && frame % kFps != 0) continue;
            while (!input.isReadyForMoreMediaData()) ::usleep(500);
            const MediaTime time{frame * 600 / kFps, 600};
            if (!isNew) {
                input.appendRepeat(time);
                continue;
            }
            auto picture = input.pool().makePlanar();
            paintScreen(screen, stateAt(frame), picture->destination());
            input.append(std::move(picture), time);
        }
        input.markAsFinished();
        writer.endSession({kSeconds * 600, 600});
        if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
    }

    PixelSize size_;
    fs::path folder_;
};

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

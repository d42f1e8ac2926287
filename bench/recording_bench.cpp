// SPDX-License-Identifier: GPL-3.0-or-later

// Recording a whole display with the program, beside FFmpeg's grabber and its fastest x264 on the same desktop.
//
// Aims: 1920 x 1080 at 60 pictures a second in constant motion loses none on two cores; where nothing moves, a
// recording takes at most 3 % of one core. "written" and "dropped" count pictures, "of" is how many a steady clock
// would have asked for; "own%" is the processor time of the recording process from its start to its end, encoding and
// all, in percent of one core, "ms" the same for each picture written; "running%" is that of six seconds in the middle,
// which is what a long recording takes. "server%" is that of the display server, which reads its own memory for both.
// FFmpeg's grabber has no notion of an unchanged screen: it encodes every picture. It gets the encoder settings that a
// recording here has, and its own way to drop pictures that come too late.
//
// Arguments: width and height of the screen, pictures a second.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "process_time.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_program.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

constexpr int kSeconds = 10;
constexpr int kSettles = 2;

enum class Scene { still, motion };
enum class With { program, grabber };

double childrenSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// The last number behind a word in what a program printed.
double lastNumber(const std::string& text, const std::string& word) {
    const auto found = text.rfind(word);
    if (found == std::string::npos) throw std::runtime_error("no " + word + " in: " + text);
    return std::stod(text.substr(found + word.size()));
}

std::vector<std::string> command(With with, const std::string& display, const std::filesystem::path& folder, int width,
                                 int height, int fps) {
    const std::string rate = std::to_string(fps);
    const std::string seconds = std::to_string(kSeconds);
    if (with == With::program) {
        return {LUMI_PROGRAM, "record", "--fps", rate, "--seconds", seconds, "--json", "--out", folder};
    }
    return {"ffmpeg",      "-nostdin",
            "-loglevel",   "error",
            "-progress",   "pipe:1",
            "-f",          "x11grab",
            "-draw_mouse", "0",
            "-framerate",  rate,
            "-video_size", std::to_string(width) + "x" + std::to_string(height),
            "-i",          display,
            "-t",          seconds,
            "-c:v",        "libx264",
            "-preset",     "ultrafast",
            "-tune",       "zerolatency",
            "-crf",        "20",
            "-pix_fmt",    "yuv420p",
            "-g",          std::to_string(2 * fps),
            "-y",          folder.string() + ".mov"};
}

void record(benchmark::State& state, With with, Scene scene) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const int fps = static_cast<int>(state.range(2));
    DesktopRig rig({width, height});
    rig.paintRoot(0x2b3a55);
    std::unique_ptr<RigProgram> scroller;
    if (scene == Scene::motion) {
        scroller = std::make_unique<RigProgram>(std::vector<std::string>{LUMI_SCROLLING_TEXT, rig.displayName(),
                                                                         std::to_string(width), std::to_string(height)},
                                                "");
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    const TemporaryFolder home;
    const std::map<std::string, std::string> environment = {{"DISPLAY", rig.displayName()}, {"HOME", home.path()},
                                                            {"XDG_CONFIG_HOME", ""},        {"XDG_CACHE_HOME", ""},
                                                            {"XDG_STATE_HOME", ""},         {"XDG_DATA_HOME", ""}};
    double running = 0;
    const auto run = [&](const std::string& name) {
        ProgramRun one(command(with, rig.displayName(), home.path() / name, width, height, fps), environment);
        // In the middle: neither loading the program nor closing the movie.
        std::this_thread::sleep_for(std::chrono::seconds(kSettles));
        const double before = secondsOf(one.process());
        std::this_thread::sleep_for(std::chrono::seconds(kSeconds - 2 * kSettles));
        running = (secondsOf(one.process()) - before) / (kSeconds - 2 * kSettles);
        if (one.wait() != 0) throw std::runtime_error(one.err());
        return one.out();
    };
    // The program tries encoders the first time and remembers what it found.
    if (with == With::program) run("first");
    for (auto _ : state) {
        const double serverBefore = secondsOf(rig.serverProcess());
        const double before = childrenSeconds();
        const std::string out = run("second");
        const double used = childrenSeconds() - before;
        const double served = secondsOf(rig.serverProcess()) - serverBefore;
        const double written = lastNumber(out, with == With::program ? "\"framesWritten\" : " : "frame=");
        state.counters["written"] = written;
        state.counters["dropped"] = lastNumber(out, with == With::program ? "\"framesDropped\" : " : "drop_frames=");
        state.counters["of"] = scene == Scene::motion ? kSeconds * fps : 0;
        state.counters["own%"] = used / kSeconds * 100;
        state.counters["running%"] = running * 100;
        state.counters["server%"] = served / kSeconds * 100;
        state.counters["ms"] = used * 1000 / written;
        const auto movie = with == With::program ? home.path() / "second" / "source.mov" : home.path() / "second.mov";
        state.counters["MB"] = static_cast<double>(std::filesystem::file_size(movie)) / 1e6;
    }
}

void sizes(benchmark::internal::Benchmark* one) {
    for (const int fps : {60, 30}) one->Args({1920, 1080, fps})->Args({2560, 1440, fps});
    one->Iterations(1)->Unit(benchmark::kSecond);
}

BENCHMARK_CAPTURE(record, still, With::program, Scene::still)->Apply(sizes);
BENCHMARK_CAPTURE(record, stillGrabber, With::grabber, Scene::still)->Apply(sizes);
BENCHMARK_CAPTURE(record, motion, With::program, Scene::motion)->Apply(sizes);
BENCHMARK_CAPTURE(record, motionGrabber, With::grabber, Scene::motion)->Apply(sizes);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

// SPDX-License-Identifier: GPL-3.0-or-later

// Recording a whole display with the program, beside FFmpeg's grabber and its fastest x264 on the same desktop.
//
// Aims at 2560 x 1440 and 60 pictures a second, as processor time of the program divided by the grabber's ("ratio"):
// typing 0.05, an area of 640 x 360 that moves 0.15, the whole screen scrolling 0.6. 1920 x 1080 in constant motion
// loses no picture on two cores, and where nothing moves a recording takes at most 3 % of one core.
//
// Both record the same scene in one run, one after the other. "own%" is the processor time of the recording process
// from its start to its end, encoding and all, in percent of one core; "running%" is that of six seconds in the middle,
// which is what a long recording takes. "ratio" is of "own%", "runningRatio" of "running%". "server%" is that of the
// display server, which reads its own memory for both. "written" and "dropped" count pictures, "of" is how many a
// steady clock would have asked for. What the grabber has begins with "grabber". It has no notion of an unchanged
// screen: it encodes every picture, with the encoder settings of a recording here without region pictures, and it has
// its own way to drop pictures that come too late.
//
// Arguments: width and height of the screen, pictures a second. With LUMIVASTOR_REGION_PICTURES=off the program's
// encoder codes every picture, too.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
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

struct Recorded {
    double own = 0;  // of one core, as the two below
    double running = 0;
    double server = 0;
    double written = 0;
    double dropped = 0;
    double megabytes = 0;
};

Recorded recordOnce(With with, const DesktopRig& rig, const TemporaryFolder& home, const std::string& name, int width,
                    int height, int fps) {
    std::map<std::string, std::string> environment = {{"DISPLAY", rig.displayName()}, {"HOME", home.path()},
                                                      {"XDG_CONFIG_HOME", ""},        {"XDG_CACHE_HOME", ""},
                                                      {"XDG_STATE_HOME", ""},         {"XDG_DATA_HOME", ""}};
    Recorded recorded;
    const double serverBefore = secondsOf(rig.serverProcess());
    const double before = childrenSeconds();
    ProgramRun run(command(with, rig.displayName(), home.path() / name, width, height, fps), environment);
    // In the middle: neither loading the program nor closing the movie.
    std::this_thread::sleep_for(std::chrono::seconds(kSettles));
    const double middle = secondsOf(run.process());
    std::this_thread::sleep_for(std::chrono::seconds(kSeconds - 2 * kSettles));
    recorded.running = (secondsOf(run.process()) - middle) / (kSeconds - 2 * kSettles);
    if (run.wait() != 0) throw std::runtime_error(run.err());
    recorded.own = (childrenSeconds() - before) / kSeconds;
    recorded.server = (secondsOf(rig.serverProcess()) - serverBefore) / kSeconds;
    recorded.written = lastNumber(run.out(), with == With::program ? "\"framesWritten\" : " : "frame=");
    recorded.dropped = lastNumber(run.out(), with == With::program ? "\"framesDropped\" : " : "drop_frames=");
    const auto movie = with == With::program ? home.path() / name / "source.mov" : home.path() / (name + ".mov");
    recorded.megabytes = static_cast<double>(std::filesystem::file_size(movie)) / 1e6;
    return recorded;
}

void record(benchmark::State& state, const char* scene, int changesASecond) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    const int fps = static_cast<int>(state.range(2));
    DesktopRig rig({width, height});
    rig.paintRoot(0x2b3a55);
    const RigProgram mover(
        {LUMI_MOVING_DESKTOP, rig.displayName(), std::to_string(width), std::to_string(height), scene}, "");
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const TemporaryFolder home;
    // The program tries encoders the first time and remembers what it found.
    recordOnce(With::program, rig, home, "first", width, height, fps);
    for (auto _ : state) {
        const Recorded own = recordOnce(With::program, rig, home, "second", width, height, fps);
        const Recorded grabber = recordOnce(With::grabber, rig, home, "grabbed", width, height, fps);
        state.counters["ratio"] = own.own / grabber.own;
        state.counters["runningRatio"] = own.running / grabber.running;
        state.counters["own%"] = own.own * 100;
        state.counters["running%"] = own.running * 100;
        state.counters["server%"] = own.server * 100;
        state.counters["written"] = own.written;
        state.counters["dropped"] = own.dropped;
        state.counters["of"] = kSeconds * std::min(changesASecond, fps);
        state.counters["MB"] = own.megabytes;
        state.counters["grabber%"] = grabber.own * 100;
        state.counters["grabberServer%"] = grabber.server * 100;
        state.counters["grabberWritten"] = grabber.written;
        state.counters["grabberDropped"] = grabber.dropped;
        state.counters["grabberMB"] = grabber.megabytes;
    }
}

void sizes(benchmark::internal::Benchmark* one) {
    one->Args({2560, 1440, 60})->Args({1920, 1080, 60})->Args({1920, 1080, 30});
    one->Iterations(1)->Unit(benchmark::kSecond);
}

BENCHMARK_CAPTURE(record, still, "still", 1)->Apply(sizes);
BENCHMARK_CAPTURE(record, typing, "typing", 8)->Apply(sizes);
BENCHMARK_CAPTURE(record, area, "area", 30)->Apply(sizes);
BENCHMARK_CAPTURE(record, scroll, "scroll", 120)->Apply(sizes);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

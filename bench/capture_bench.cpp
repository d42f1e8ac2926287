// SPDX-License-Identifier: GPL-3.0-or-later

// Capturing a display of an X11 server.
//
// Aims: with everything in constant motion, 1920 x 1080 comes at 60 pictures a second; a screen on which nothing moves
// takes at most 3 % of one core at 60 looks a second. "own" is the processor time of this program, "server" that of the
// display server, each in percent of one core; "late" is the longest time between two pictures in milliseconds, "away"
// counts the gaps of more than one and a half frame intervals. The server has no graphics card: it is Xvfb, started
// here. Without excluded windows unless the name says so.
//
// Arguments: width and height of the screen.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/x11/x11_desktop.h"
#include "process_time.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_program.h"
#include "support/desktop_rig/rig_window.h"

namespace lumivastor {
namespace {

constexpr double kSeconds = 5;

double ownSeconds() {
    struct timespec now {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

enum class Scene { still, corner, motion, motionWithExcluded };

void capture(benchmark::State& state, Scene scene) {
    const int width = static_cast<int>(state.range(0));
    const int height = static_cast<int>(state.range(1));
    DesktopRig rig({width, height});
    const auto desktop = x11::openX11Desktop(nullptr, rig.displayName());
    std::unique_ptr<RigProgram> painter;
    std::unique_ptr<RigWindow> panel;
    if (scene != Scene::still) {
        const bool isCorner = scene == Scene::corner;
        painter = std::make_unique<RigProgram>(
            std::vector<std::string>{LUMI_RIG_WINDOW, rig.displayName(), "Motion", "0", "0",
                                     std::to_string(isCorner ? 400 : width), std::to_string(isCorner ? 200 : height),
                                     "808080", "flash"},
            "");
        await([&] { return !desktop->shareableContent().windows.empty(); });
    }
    platform::DisplayFilter filter{desktop->shareableContent().displays.front(), {}};
    if (scene == Scene::motionWithExcluded) {
        panel = std::make_unique<RigWindow>(
            rig.displayName(),
            RigWindow::Options{.className = "Panel", .width = 430, .height = 56, .isOverride = true});
        filter.excludedApplications = {{0, "Panel", std::nullopt}};
    }
    platform::StreamConfiguration configuration;
    configuration.width = width;
    configuration.height = height;
    double own = 0;
    double server = 0;
    double seconds = 0;
    std::vector<double> times;
    for (auto _ : state) {
        SerialQueue queue("bench");
        std::mutex lock;
        const auto stream = desktop->makeCaptureStream(filter, configuration);
        stream->addScreenOutput(queue, [&](const platform::ScreenSample& sample) {
            const std::lock_guard hold(lock);
            if (sample.image) times.push_back(sample.hostSeconds);
        });
        stream->start();
        // The first pictures fill memory for the first time.
        std::this_thread::sleep_for(std::chrono::seconds(1));
        {
            const std::lock_guard hold(lock);
            times.clear();
        }
        const double ownBefore = ownSeconds();
        const double serverBefore = secondsOf(rig.serverProcess());
        const auto begin = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(kSeconds));
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        own = ownSeconds() - ownBefore;
        server = secondsOf(rig.serverProcess()) - serverBefore;
        const std::lock_guard hold(lock);
        state.counters["pictures/s"] = static_cast<double>(times.size()) / seconds;
        stream->stop();
    }
    double longest = 0;
    int away = 0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        const double gap = times[i] - times[i - 1];
        longest = std::max(longest, gap);
        away += gap > 1.5 * configuration.minimumFrameInterval ? 1 : 0;
    }
    state.counters["own%"] = own / seconds * 100;
    state.counters["server%"] = server / seconds * 100;
    if (scene != Scene::still) {
        state.counters["late_ms"] = longest * 1000;
        state.counters["away"] = away;
    }
}

void sizes(benchmark::internal::Benchmark* one) {
    one->Args({1920, 1080})->Args({2560, 1440})->Iterations(1)->Unit(benchmark::kSecond);
}

BENCHMARK_CAPTURE(capture, still, Scene::still)->Apply(sizes);
BENCHMARK_CAPTURE(capture, smallMotion, Scene::corner)->Apply(sizes);
BENCHMARK_CAPTURE(capture, motion, Scene::motion)->Apply(sizes);
BENCHMARK_CAPTURE(capture, motionWithExcluded, Scene::motionWithExcluded)->Apply(sizes);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

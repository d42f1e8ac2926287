// SPDX-License-Identifier: GPL-3.0-or-later

// Measures what level meters cost: the processor time of the whole program, in percent of one core, with no, one and
// two meters in the main window, and of its main thread while it records with and without sound. On display and sound
// servers of its own, with sound that makes the meters move all the time. Takes about two minutes.
//
//   meter_cost pulse|pipewire [SECONDS]       SECONDS: how long each state is measured, 15 by default

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "support/await.h"
#include "support/child_process.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/driven_application.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

/// Processor seconds of a process by the names of its threads; those that ended are forgotten.
std::map<std::string, double> threadSeconds(pid_t process) {
    std::map<std::string, double> seconds;
    std::error_code gone;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone)) {
        std::string name;
        double nanoseconds = 0;
        std::getline(std::ifstream(thread.path() / "comm") >> std::ws, name);
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        const bool isMain = thread.path().filename() == std::to_string(process);
        seconds[isMain ? "(main)" : name] += nanoseconds * 1e-9;
    }
    return seconds;
}

/// A sound server and players as they usually are, in the speakers and before the microphone: a tone that swells and
/// fades three times a second.
class Noise {
  public:
    explicit Noise(bool isPipeWire) {
        if (isPipeWire) {
            pipeWire_ = std::make_unique<PipeWireRig>();
        } else {
            pulse_ = std::make_unique<PulseRig>();
        }
        const auto file = folder_ / "tone.raw";
        writeTone(file);
        for (const char* sink : {"sysout", "micfeed"}) {
            players_.push_back(std::make_unique<ChildProcess>(
                std::vector<std::string>{"pacat", "--playback", "--raw", "--server=" + address(),
                                         std::string("--device=") + sink, "--latency-msec=200", "--format=s16le",
                                         "--rate=48000", "--channels=2", file.string()},
                std::map<std::string, std::string>{}, folder_ / "players.log"));
        }
    }
    DrivenApplication::Options options() const {
        if (pulse_) return {.pulseServer = pulse_->address()};
        // Its home is the program's own.
        std::map<std::string, std::string> environment = pipeWire_->environment();
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) environment.erase(name);
        return {.pulseServer = pipeWire_->pulseAddress(), .environment = environment};
    }

  private:
    std::string address() const { return pulse_ ? pulse_->address() : pipeWire_->pulseAddress(); }
    static void writeTone(const std::filesystem::path& file) {
        constexpr double kPi = 3.14159265358979323846;
        constexpr int kRate = 48000;
        constexpr int kSeconds = 240;
        std::vector<std::int16_t> values;
        for (int i = 0; i < kRate * kSeconds; ++i) {
            const double t = static_cast<double>(i) / kRate;
            const double swell = std::pow(0.5 - 0.5 * std::cos(2 * kPi * 3 * t), 4);
            const auto value = static_cast<std::int16_t>(16000 * swell * std::sin(2 * kPi * 440 * t));
            values.insert(values.end(), 2, value);
        }
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(values.data()),
                   static_cast<std::streamsize>(values.size() * sizeof values.front()));
    }

    const TemporaryFolder folder_;
    std::unique_ptr<PulseRig> pulse_;
    std::unique_ptr<PipeWireRig> pipeWire_;
    std::vector<std::unique_ptr<ChildProcess>> players_;
};

class Measurement {
  public:
    Measurement(bool isPipeWire, double seconds)
        : noise_(isPipeWire),
          seconds_(seconds),
          desktop_({.hasWindowManager = true}),
          app_(desktop_, map_, noise_.options()) {}

    void run() {
        need(app_.start(), "the program starts");
        sleepFor(3);
        take("main window, no meter");
        need(app_.click("systemAudioBox"), "the box is there");
        settle();
        take("main window, system sound");
        need(app_.click("microphoneBox"), "the box is there");
        settle();
        take("main window, both");
        need(app_.click("systemAudioBox"), "the box is there");
        settle();
        take("main window, microphone");
        need(app_.click("microphoneBox"), "the box is there");
        record("recording, no sound");
        need(app_.click("microphoneBox"), "the box is there");
        record("recording, microphone");
        need(app_.click("systemAudioBox"), "the box is there");
        record("recording, both");
    }

  private:
    static void need(bool isSo, const char* what) {
        if (!isSo) throw std::runtime_error(std::string("not so: ") + what);
    }
    // The pointer away from what changes under it.
    void settle() {
        app_.pointer().moveTo(2, 2);
        sleepFor(2);
    }
    void record(const char* what) {
        app_.pressRecord();
        need(app_.waitUntilRecording(), "the recording begins");
        settle();
        take(what);
        need(app_.clickPanelStop(), "the panel is there");
        need(app_.waitForWindow(app_.editorTitle()), "the editor opens");
        sleepFor(2);
        app_.keyboard().press({ScriptedKeyboard::kControl, 'w'});
        need(app_.waitForNoWindow(app_.editorTitle()), "the editor closes");
        need(app_.waitForWindow(kMainTitle), "the main window comes back");
        sleepFor(2);
    }
    void take(const char* what) {
        const pid_t process = app_.program().process();
        const auto before = threadSeconds(process);
        const double start = hostClockSeconds();
        sleepFor(seconds_);
        const double length = hostClockSeconds() - start;
        double all = 0;
        std::vector<std::pair<double, std::string>> threads;
        for (const auto& [name, seconds] : threadSeconds(process)) {
            const auto earlier = before.find(name);
            const double share = 100 * (seconds - (earlier == before.end() ? 0 : earlier->second)) / length;
            all += share;
            threads.emplace_back(share, name);
        }
        std::sort(threads.rbegin(), threads.rend());
        std::printf("%-28s %6.2f %%  ", what, all);
        for (const auto& [share, name] : threads) {
            if (share >= 0.02) std::printf(" %s %.2f", name.c_str(), share);
        }
        std::printf("\n");
        std::fflush(stdout);
    }

    Noise noise_;
    const double seconds_;
    WindowMap map_;
    DesktopRig desktop_;
    DrivenApplication app_;
};

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    const std::string server = argc > 1 ? argv[1] : "";
    if (argc > 3 || (server != "pulse" && server != "pipewire")) {
        std::fputs("usage: meter_cost pulse|pipewire [SECONDS]\n", stderr);
        return 2;
    }
    try {
        lumivastor::Measurement(server == "pipewire", argc > 2 ? std::atof(argv[2]) : 15).run();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

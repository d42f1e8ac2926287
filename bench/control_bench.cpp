// SPDX-License-Identifier: GPL-3.0-or-later

// A control that is moved while the preview is paused: how soon its picture is there.
//
// Aim: within 33 ms in 95 of 100 cases, whatever the control, the size at which the preview is shown, and the size of
// the export. `moved` asks the player alone: milliseconds from the new settings to the frame on the main thread, one
// change after the other. `played` plays after a change: frames shown and dropped in 0.7 s, because playing may need
// other layers than the still, and how late the first frame is. `dragged` moves a slider of the editor's window so
// often a second and finds out from the shown frames which movement each of them shows: how many different pictures a
// second are shown, how old each is when it reaches the view, and how long the main thread worked for a movement.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "../tools/sample_movies.h"
#include "base/formatted.h"
#include "base/host_clock.h"
#include "base/main_loop.h"
#include "edit/composition.h"
#include "editor/editor_window.h"
#include "editor/preview/preview_view.h"
#include "editor/preview/studio_preview.h"
#include "imaging/png_file.h"
#include "model/pointer_track.h"
#include "playback/player.h"
#include "ui/qt_main_loop.h"
#include "ui/value_slider.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr double kSeconds = 4;
constexpr double kUnzoomed = 0.2;
constexpr double kZoomed = 2.5;

// A recording of 2560 x 1440 with a webcam, a cursor and a zoom around its third second.
class SampleFolder {
  public:
    SampleFolder() : path_(fs::temp_directory_path() / formatted("lumi-control-bench-%d", ::getpid())) {
        fs::create_directories(path_ / "cursors");
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = 2560;
        info.pixelHeight = 1440;
        info.pointPixelScale = 2;
        info.duration = kSeconds;
        info.webcamFile = "webcam.mov";
        info.webcamOffset = 0;
        model::PointerTrack track;
        imaging::BgraPremultipliedBuffer arrow(64, 64);
        for (int y = 0; y < arrow.height(); ++y) std::fill_n(arrow.pixel(0, y), 4 * (y + 1), std::uint8_t{255});
        imaging::writePng(path_ / "cursors" / "arrow.png", arrow);
        track.cursorImages.push_back({"arrow", "cursors/arrow.png", 32, 32, 0, 0, 2, true});
        track.cursorChanges.push_back({0, "arrow"});
        for (int i = 0; i < static_cast<int>(kSeconds * 100); ++i) {
            const double t = i / 100.0;
            const double x = 1280 + 300 * std::sin(t);
            const double y = 720 + 200 * std::cos(t);
            const bool isPress = i == 210 || i == 240;
            const auto button = isPress ? std::optional(model::PointerButton::left) : std::nullopt;
            const auto kind = isPress ? model::PointerKind::down : model::PointerKind::move;
            track.events.push_back({t, x, y, x / 2560, y / 1440, kind, button, {}, {}});
        }
        makeSourceMovie(path_, info, track);
        makeWebcamMovie(path_, kSeconds);
        info.save(path_);
        track.save(path_);
        model::ProjectSettings settings;
        settings.zooms = {{1.5, 3.5, 1.8, {{1.5, 0.4, 0.45}}}};
        settings.masks = {{0.3, 0.3, 0.1, 0.1}};
        settings.save(path_);
    }
    ~SampleFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    SampleFolder(const SampleFolder&) = delete;
    SampleFolder& operator=(const SampleFolder&) = delete;
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

const fs::path& folder() {
    static const SampleFolder sample;
    return sample.path();
}

using Control = void (*)(model::ProjectSettings& settings, int step);

// Steps of a slider; `step` counts from 1.
void padding(model::ProjectSettings& settings, int step) {
    settings.padding = 0.02 + 0.001 * step;
}
void cornerRadius(model::ProjectSettings& settings, int step) {
    settings.cornerRadius = 0.5 * step;
}
void backgroundTone(model::ProjectSettings& settings, int step) {
    settings.backgroundBlue = 0.1 + 0.005 * step;
}
void bubbleSize(model::ProjectSettings& settings, int step) {
    settings.webcamSize = 0.15 + 0.003 * step;
}
void bubbleCorner(model::ProjectSettings& settings, int step) {
    settings.webcamCorner = step % 4;
}
void zoomStrength(model::ProjectSettings& settings, int step) {
    settings.zooms->front().scale = 1.2 + 0.015 * step;
}
void crop(model::ProjectSettings& settings, int step) {
    settings.cropLeft = 0.003 * step;
}
void cursorSize(model::ProjectSettings& settings, int step) {
    settings.cursorScale = 0.8 + 0.02 * step;
}
void maskRectangle(model::ProjectSettings& settings, int step) {
    settings.masks.front().x = 0.2 + 0.004 * step;
}

double processorSeconds() {
    struct timespec now {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double percentile(std::vector<double> values, double part) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

void moved(benchmark::State& state, Control control, PixelSize canvas, PixelSize shown, double moment) {
    const auto composition = std::make_shared<edit::Composition>(folder(), canvas.width, canvas.height);
    const editor::StudioPreview preview(composition, render::openRecordingAssets(composition->recording()));
    BlockingMainLoop loop;
    playback::Player player(loop, nullptr);
    player.setOutputSize(shown.width, shown.height);
    player.setItem(preview.item());
    player.seek(moment, [&](bool) { loop.stop(); });
    loop.run();
    // It decodes what it likes to have around a still.
    const auto timer = loop.every(0.5, [&] { loop.stop(); });
    loop.run();
    player.onFrame([&](const playback::Player::Frame&, double, playback::Player::FrameKind) { loop.stop(); });
    const model::ProjectSettings original = composition->settings();
    std::vector<double> milliseconds;
    const double processorBegan = processorSeconds();
    for (auto _ : state) {
        for (int step = 1; step <= 60; ++step) {
            model::ProjectSettings settings = original;
            control(settings, step);
            const double began = hostClockSeconds();
            composition->setSettings(settings);
            player.setVideoCompositor(preview.compositor());
            loop.run();
            milliseconds.push_back((hostClockSeconds() - began) * 1000);
        }
    }
    state.counters["cpu_ms_each"] =
        (processorSeconds() - processorBegan) * 1000 / static_cast<double>(milliseconds.size());
    state.counters["p50ms"] = percentile(milliseconds, 0.5);
    state.counters["p95ms"] = percentile(milliseconds, 0.95);
    state.counters["p99ms"] = percentile(milliseconds, 0.99);
}

void played(benchmark::State& state, PixelSize canvas, PixelSize shown, double moment) {
    const auto composition = std::make_shared<edit::Composition>(folder(), canvas.width, canvas.height);
    const editor::StudioPreview preview(composition, render::openRecordingAssets(composition->recording()));
    BlockingMainLoop loop;
    playback::Player player(loop, nullptr);
    player.setOutputSize(shown.width, shown.height);
    player.setItem(preview.item());
    const model::ProjectSettings original = composition->settings();
    const auto workFor = [&](double seconds) {
        const auto timer = loop.every(seconds, [&] { loop.stop(); });
        loop.run();
    };
    std::vector<double> first;
    for (auto _ : state) {
        for (int step = 1; step <= 10; ++step) {
            player.onFrame({});
            player.seek(moment, [&](bool) { loop.stop(); });
            loop.run();
            model::ProjectSettings settings = original;
            padding(settings, step);
            composition->setSettings(settings);
            player.setVideoCompositor(preview.compositor());
            workFor(0.4);
            const double began = hostClockSeconds();
            bool isFirst = true;
            player.onFrame([&](const playback::Player::Frame&, double seconds, playback::Player::FrameKind) {
                if (seconds <= moment || !std::exchange(isFirst, false)) return;
                first.push_back((hostClockSeconds() - began - (seconds - moment)) * 1000);
            });
            player.play();
            workFor(0.7);
            player.pause();
            workFor(0.1);
        }
    }
    const playback::Player::Statistics statistics = player.statistics();
    state.counters["shown"] = static_cast<double>(statistics.framesShown) / 10;
    state.counters["dropped"] = static_cast<double>(statistics.framesDropped) / 10;
    state.counters["late_p50ms"] = percentile(first, 0.5);
    state.counters["late_p95ms"] = percentile(first, 0.95);
}

// Where the screen's picture begins in a shown frame's middle column, in pixels from the top: its blue-grey desktop is
// brighter than the background.
double screenTop(const imaging::BgraPremultipliedBuffer& frame) {
    constexpr double kDesktopRed = 70;
    const auto red = [&](int y) { return static_cast<double>(frame.pixel(frame.width() / 2, y)[2]); };
    int y = 0;
    while (y + 1 < frame.height() && red(y) < kDesktopRed - 4) ++y;
    if (y == 0) return 0;
    const double ground = red(std::max(y - 3, 0));
    return y - std::clamp((red(y - 1) - ground) / (kDesktopRed - ground), 0.0, 1.0);
}

void dragged(benchmark::State& state, PixelSize canvas, PixelSize shown, int movesPerSecond) {
    ui::QtMainLoop loop;
    model::ProjectSettings settings = model::ProjectSettings::load(folder());
    settings.exportHeight = canvas.height;
    settings.padding = 0;
    settings.save(folder());
    editor::EditorWindow window(folder(), loop, {});
    window.resize(shown.width + 600, shown.height + 600);
    window.show();
    const editor::PreviewView& view = *window.controls().previewView;
    const auto workFor = [&](double seconds) {
        const double end = hostClockSeconds() + seconds;
        while (hostClockSeconds() < end) {
            QApplication::processEvents();
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    };
    workFor(0.5);
    for (int i = 0; i < 3; ++i) {
        window.resize(window.width() + shown.width - view.pixelSize().width,
                      window.height() + shown.height - view.pixelSize().height);
        workFor(0.3);
    }
    window.transport().jump(kUnzoomed);
    workFor(1);
    auto& slider = *window.findChild<ui::ValueSlider*>("paddingSlider");

    struct Move {
        double at = 0;
        double top = 0;  // where the screen's picture begins then
    };
    std::vector<Move> moves;
    std::vector<double> ages;
    std::vector<double> work;
    std::vector<double> shownAt;
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> last = view.frame();
    std::size_t unknown = 0;
    const auto look = [&] {
        if (view.frame() == last) return;
        last = view.frame();
        const double now = hostClockSeconds();
        const double top = screenTop(*last);
        const auto shows = std::find_if(moves.rbegin(), moves.rend(),
                                        [&](const Move& move) { return std::abs(move.top - top) < 0.55; });
        shownAt.push_back(now);
        if (shows == moves.rend()) {
            ++unknown;
            return;
        }
        ages.push_back((now - shows->at) * 1000);
    };
    const double began = hostClockSeconds();
    constexpr int kMoves = 400;
    constexpr int kUp = 50;  // then down again, so that neighbours differ by more than a pixel
    for (auto _ : state) {
        for (int i = 0; i < kMoves; ++i) {
            const double due = began + static_cast<double>(i) / movesPerSecond;
            while (hostClockSeconds() < due) {
                QApplication::processEvents();
                look();
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
            const int phase = i % (2 * kUp);
            const double value = 0.0025 * (phase < kUp ? phase : 2 * kUp - phase);
            const double before = hostClockSeconds();
            slider.moveTo(value);
            const edit::StudioLayout layout = window.session().composition()->state()->layout;
            const double scale = static_cast<double>(last->height()) / layout.canvas.height;
            moves.push_back({before, (layout.canvas.height - layout.screenRect.maxY()) * scale});
            work.push_back((hostClockSeconds() - before) * 1000);
        }
    }
    const double seconds = hostClockSeconds() - began;
    std::vector<double> gaps;
    for (std::size_t i = 1; i < shownAt.size(); ++i) gaps.push_back((shownAt[i] - shownAt[i - 1]) * 1000);
    state.counters["width"] = last->width();
    state.counters["height"] = last->height();
    state.counters["pictures_per_s"] = static_cast<double>(shownAt.size()) / seconds;
    state.counters["unknown"] = static_cast<double>(unknown);
    state.counters["age_p50ms"] = percentile(ages, 0.5);
    state.counters["age_p95ms"] = percentile(ages, 0.95);
    state.counters["gap_p95ms"] = percentile(gaps, 0.95);
    state.counters["main_p50ms"] = percentile(work, 0.5);
    state.counters["main_p95ms"] = percentile(work, 0.95);
    window.close();
    model::ProjectSettings original = settings;
    original.padding = model::ProjectSettings().padding;
    original.save(folder());
}

struct Named {
    const char* name;
    Control control;
};
constexpr Named kControls[] = {{"padding", padding},
                               {"cornerRadius", cornerRadius},
                               {"backgroundTone", backgroundTone},
                               {"bubbleSize", bubbleSize},
                               {"bubbleCorner", bubbleCorner},
                               {"zoomStrength", zoomStrength},
                               {"crop", crop},
                               {"cursorSize", cursorSize},
                               {"maskRectangle", maskRectangle}};
constexpr PixelSize kCanvases[] = {{2560, 1440}, {3840, 2160}};
constexpr PixelSize kShown[] = {{1280, 720}, {1920, 1080}, {2560, 1440}};

const bool areRegistered = [] {
    for (const PixelSize canvas : kCanvases) {
        for (const PixelSize shown : kShown) {
            const std::string sizes = formatted("%dAt%d/", canvas.height, shown.height);
            for (const double moment : {kUnzoomed, kZoomed}) {
                for (const Named& each : kControls) {
                    const std::string name = "moved/" + sizes + (moment == kZoomed ? "zoomed/" : "") + each.name;
                    const Control control = each.control;
                    benchmark::RegisterBenchmark(
                        name.c_str(), [=](benchmark::State& state) { moved(state, control, canvas, shown, moment); })
                        ->Unit(benchmark::kSecond)
                        ->UseRealTime()
                        ->Iterations(1);
                }
            }
            for (const double moment : {kUnzoomed, kZoomed}) {
                const std::string name = "played/" + sizes + (moment == kZoomed ? "zoomed" : "unzoomed");
                benchmark::RegisterBenchmark(name.c_str(),
                                             [=](benchmark::State& state) { played(state, canvas, shown, moment); })
                    ->Unit(benchmark::kSecond)
                    ->UseRealTime()
                    ->Iterations(1);
            }
            for (const int moves : {60, 125}) {
                const std::string name = "dragged/" + sizes + formatted("padding%dPerSecond", moves);
                benchmark::RegisterBenchmark(name.c_str(),
                                             [=](benchmark::State& state) { dragged(state, canvas, shown, moves); })
                    ->Unit(benchmark::kSecond)
                    ->UseRealTime()
                    ->Iterations(1);
            }
        }
    }
    return true;
}();

}  // namespace
}  // namespace lumivastor

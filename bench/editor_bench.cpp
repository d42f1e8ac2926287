// SPDX-License-Identifier: GPL-3.0-or-later

// The editor's window on an hour of recording with 330,000 pointer events.
//
// Aims: any edit is in force within 16 ms of the slider's movement – settings, labels and controls; its frame follows
// from the player –, and the window is open with its first frame within a second.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <cmath>
#include <filesystem>
#include <system_error>

#include "../tools/sample_movies.h"
#include "editor/editor_window.h"
#include "editor/preview/preview_view.h"
#include "editor/timeline/timeline_strip.h"
#include "model/pointer_track.h"
#include "ui/qt_main_loop.h"
#include "ui/value_slider.h"

namespace lumivastor {
namespace {

constexpr double kSeconds = 3600;
constexpr double kEventsPerSecond = 92;
// The movie itself is short: only the documents make edits longer.
constexpr double kMovieSeconds = 4;

// The recording, for as long as the program runs.
class SampleFolder {
  public:
    SampleFolder() : path_(make()) {}
    SampleFolder(const SampleFolder&) = delete;
    SampleFolder& operator=(const SampleFolder&) = delete;
    ~SampleFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    const std::filesystem::path& path() const { return path_; }

  private:
    static std::filesystem::path make() {
        auto made = std::filesystem::temp_directory_path() / "lumivastor-editor-bench";
        std::filesystem::create_directories(made);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = 2560;
        info.pixelHeight = 1440;
        info.duration = kMovieSeconds;
        makeSourceMovie(made, info, {});
        info.duration = kSeconds;
        info.save(made);
        model::PointerTrack track;
        for (int i = 0; i < static_cast<int>(kSeconds * kEventsPerSecond); ++i) {
            const double t = i / kEventsPerSecond;
            const double x = 1280 + 1200 * std::sin(t * 1.3);
            const double y = 720 + 700 * std::sin(t * 0.7);
            const bool isPress = i % 300 == 100;
            const auto button = isPress ? std::optional(model::PointerButton::left) : std::nullopt;
            track.events.push_back({t,
                                    x,
                                    y,
                                    x / static_cast<double>(info.pixelWidth),
                                    y / static_cast<double>(info.pixelHeight),
                                    isPress ? model::PointerKind::down : model::PointerKind::move,
                                    button,
                                    {},
                                    {}});
        }
        track.save(made);
        return made;
    }

    std::filesystem::path path_;
};

const std::filesystem::path& folder() {
    static const SampleFolder sample;
    return sample.path();
}

void opensWithItsFirstFrame(benchmark::State& state) {
    folder();  // making it is not measured
    for (auto _ : state) {
        ui::QtMainLoop loop;
        editor::EditorWindow window(folder(), loop, {});
        window.show();
        while (!window.controls().previewView->isExact()) QApplication::processEvents();
        state.PauseTiming();
        window.close();
        state.ResumeTiming();
    }
}
BENCHMARK(opensWithItsFirstFrame)->Unit(benchmark::kMillisecond);

// From the slider's movement to the new settings in force, and all that shows them up to date.
void slider(benchmark::State& state, const char* name) {
    ui::QtMainLoop loop;
    editor::EditorWindow window(folder(), loop, {});
    window.show();
    QApplication::processEvents();
    auto& moved = *window.findChild<ui::ValueSlider*>(name);
    int step = 0;
    for (auto _ : state) {
        moved.setValue(100 + ++step % 700);
        state.PauseTiming();
        QApplication::processEvents();
        state.ResumeTiming();
    }
    state.counters["zooms"] = static_cast<double>(window.session().composition()->zoomCount());
    window.close();
}
BENCHMARK_CAPTURE(slider, padding, "paddingSlider")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(slider, crop, "cropLeftSlider")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(slider, zoom, "zoomSlider")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(slider, smoothing, "smoothingSlider")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(slider, time, "timeSlider")->Unit(benchmark::kMillisecond);

// From the pointer's movement on the timeline to the zoom that follows it.
void dragsAZoom(benchmark::State& state) {
    ui::QtMainLoop loop;
    editor::EditorWindow window(folder(), loop, {});
    window.show();
    QApplication::processEvents();
    editor::TimelineStrip& strip = window.controls().transportBar.strip();
    const double start = window.session().composition()->zoomSpecs().at(1).start;
    strip.onDragBegin({editor::StripPart::Kind::zoom, 1});
    int step = 0;
    for (auto _ : state) {
        strip.onDrag(start + 0.1 * (++step % 5));
        state.PauseTiming();
        QApplication::processEvents();
        state.ResumeTiming();
    }
    strip.onDragEnd(false);
    state.counters["zooms"] = static_cast<double>(window.session().composition()->zoomCount());
    window.close();
}
BENCHMARK(dragsAZoom)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumivastor

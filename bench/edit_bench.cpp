// SPDX-License-Identifier: GPL-3.0-or-later

// Opening long recordings and editing them.
//
// Aims: a recording of three hours with a million events opens within 1 s (its documents are the larger part of that);
// any edit of a one-hour recording is in force within 16 ms.

#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "edit/composition.h"
#include "edit/edit_state.h"
#include "model/pointer_track.h"

namespace lumivastor {
namespace {

constexpr double kEventsPerSecond = 1'000'000.0 / (3 * 60 * 60);

model::CaptureInfo captureOf(double hours) {
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.pixelWidth = 2560;
    info.pixelHeight = 1440;
    info.duration = hours * 3600;
    return info;
}

model::PointerTrack trackOf(double hours) {
    model::PointerTrack track;
    const int count = static_cast<int>(hours * 3600 * kEventsPerSecond);
    for (int i = 0; i < count; ++i) {
        const double t = i / kEventsPerSecond;
        const double x = 1280 + 1200 * std::sin(t * 1.3);
        const double y = 720 + 700 * std::sin(t * 0.7);
        const auto kind = i % 300 == 100   ? model::PointerKind::down
                          : i % 300 == 108 ? model::PointerKind::up
                                           : model::PointerKind::move;
        track.events.push_back(
            {t,
             x,
             y,
             x / 2560,
             y / 1440,
             kind,
             kind == model::PointerKind::move ? std::nullopt : std::optional(model::PointerButton::left),
             {},
             {}});
    }
    track.cursorChanges = {{0, "hidden"}};
    track.cursorImages = {{"hidden", "", 0, 0, 0, 0, 1, false}};
    return track;
}

void openThreeHours(benchmark::State& state) {
    const auto folder = std::filesystem::temp_directory_path() / "lumivastor-edit-bench";
    std::filesystem::create_directories(folder);
    captureOf(3).save(folder);
    trackOf(3).save(folder);
    for (auto _ : state) {
        const edit::Composition composition(folder, 2560, 1440);
        benchmark::DoNotOptimize(composition.zoomCount());
    }
    state.counters["MB"] = static_cast<double>(std::filesystem::file_size(model::PointerTrack::fileURL(folder))) / 1e6;
    std::filesystem::remove_all(folder);
}
BENCHMARK(openThreeHours)->Unit(benchmark::kMillisecond);

// Each edit of the kind that the name says, on an hour of recording.
template <class Edit>
void editOneHour(benchmark::State& state, Edit edit) {
    const edit::Recording recording("", captureOf(1), trackOf(1));
    model::ProjectSettings settings;
    auto current = edit::deriveEditState(recording, settings, {2560, 1440});
    int step = 0;
    for (auto _ : state) {
        edit(settings, ++step);
        current = edit::deriveEditState(recording, settings, {2560, 1440}, current.get());
        benchmark::DoNotOptimize(current.get());
    }
    state.counters["events"] = static_cast<double>(recording.track.events.size());
    state.counters["zooms"] = static_cast<double>(current->zoomSpecs.size());
}

BENCHMARK_CAPTURE(editOneHour, padding, [](model::ProjectSettings& s, int i) {
    s.padding = (i % 10) * 0.01;
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(editOneHour, zoomScale, [](model::ProjectSettings& s, int i) {
    s.zoomScale = 1.2 + (i % 10) * 0.1;
})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(editOneHour, smoothing, [](model::ProjectSettings& s, int i) {
    s.smoothing = 0.1 + (i % 10) * 0.08;
})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

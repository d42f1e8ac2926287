// SPDX-License-Identifier: GPL-3.0-or-later

// The timeline strip of three hours of recording with 3,000 clicks, 500 zooms, 60 cuts, two sound tracks and 600 small
// pictures, at two pixels per point and the width of a large window.
//
// Aim: scrolling stays at 60 pictures a second, so laying out and painting one takes well below 16 ms.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QWheelEvent>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "edit/edit_state.h"
#include "editor/timeline/timeline_strip.h"

namespace lumivastor {
namespace {

constexpr double kSeconds = 3 * 3600;
constexpr int kClicks = 3000;
constexpr int kZooms = 500;
constexpr int kCuts = 60;
constexpr int kPictures = 600;
constexpr int kWidth = 1600;
constexpr int kRatio = 2;

std::shared_ptr<const edit::EditState> editState() {
    auto state = std::make_shared<edit::EditState>();
    state->trim = {30, kSeconds - 30};
    for (int i = 0; i < kClicks; ++i) {
        model::PointerSample click;
        click.t = kSeconds * (i + 0.3 * std::sin(i)) / kClicks;
        click.kind = model::PointerKind::down;
        state->clicks.push_back(click);
    }
    for (int i = 0; i < kZooms; ++i) {
        const double start = kSeconds * i / kZooms;
        state->zoomSpecs.push_back({start, start + 12, 1.6, {{start + 0.7, 0.5, 0.5}}});
    }
    for (int i = 0; i < kCuts; ++i) {
        const double start = kSeconds * (i + 0.5) / kCuts;
        state->settings.cuts.push_back({start, start + 20});
    }
    state->keptSegments = edit::keptSegments(state->trim, state->settings.cuts);
    return state;
}

std::shared_ptr<const render::RecordingOverview> overview() {
    auto made = std::make_shared<render::RecordingOverview>();
    std::vector<std::uint8_t> levels(static_cast<std::size_t>(kSeconds * render::Waveform::kLevelsPerSecond));
    for (std::size_t i = 0; i < levels.size(); ++i) levels[i] = static_cast<std::uint8_t>(150 + i * i % 100);
    made->systemSound = std::make_shared<const render::Waveform>(levels);
    made->microphone = std::make_shared<const render::Waveform>(std::move(levels));
    for (int i = 0; i < kPictures; ++i) {
        auto pixels = std::make_shared<imaging::BgraPremultipliedBuffer>(128, render::kSmallPictureHeight);
        for (int y = 0; y < pixels->height(); ++y) std::memset(pixels->row(y), (i + y) % 256, 128 * 4);
        made->pictures.push_back({kSeconds * i / kPictures, std::move(pixels)});
    }
    made->isComplete = true;
    return made;
}

class Shown {
  public:
    Shown() : strip_(kSeconds, 60, 8), image_(kWidth * kRatio, 160 * kRatio, QImage::Format_RGB32) {
        image_.setDevicePixelRatio(kRatio);
        strip_.setData({true, true, true});
        strip_.setContent(editState(), std::nullopt, 3);
        strip_.setOverview(overview());
        strip_.resize(kWidth, strip_.sizeHint().height());
    }
    editor::TimelineStrip& strip() { return strip_; }
    void paint() { strip_.render(&image_); }
    void wheel(int delta, Qt::KeyboardModifiers keys = {}) {
        const QPointF at(kWidth / 2.0, 40);
        QWheelEvent event(at, at, {}, {0, delta}, Qt::NoButton, keys, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&strip_, &event);
    }

  private:
    editor::TimelineStrip strip_;
    QImage image_;
};

void scrolls(benchmark::State& state) {
    Shown shown;
    shown.strip().zoomBy(static_cast<double>(state.range(0)));
    int direction = -1;
    for (auto _ : state) {
        const double before = shown.strip().visible().start;
        shown.wheel(direction * 15);
        if (shown.strip().visible().start == before) direction = -direction;
        shown.paint();
    }
}
BENCHMARK(scrolls)->Arg(2)->Arg(20)->Arg(1000)->Unit(benchmark::kMillisecond);

void zoomsInAndOut(benchmark::State& state) {
    Shown shown;
    int step = 0;
    for (auto _ : state) {
        shown.wheel(++step % 60 < 30 ? 60 : -60, Qt::ControlModifier);
        shown.paint();
    }
}
BENCHMARK(zoomsInAndOut)->Unit(benchmark::kMillisecond);

void showsEverything(benchmark::State& state) {
    Shown shown;
    const auto content = editState();
    for (auto _ : state) {
        shown.strip().setContent(content, std::nullopt, 3);
        shown.paint();
    }
}
BENCHMARK(showsEverything)->Unit(benchmark::kMillisecond);

void laysEverythingOut(benchmark::State& state) {
    Shown shown;
    const auto content = editState();
    for (auto _ : state) shown.strip().setContent(content, std::nullopt, 3);
}
BENCHMARK(laysEverythingOut)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumivastor

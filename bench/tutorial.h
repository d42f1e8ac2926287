// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <random>

#include "base/formatted.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "capture/live_video.h"
#include "imaging/drawing/bitmap_canvas.h"
#include "imaging/png_file.h"
#include "media/writing/asset_writer.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "screen_page.h"

// A typical tutorial as a recording, for benchmarks. Every twenty seconds: a pointer that moves, jitters and rests, two
// clicks with their zooms, typing behind a caret that blinks, a scroll, rests. The movie is written as the recorder
// writes it, with pictures only where the screen changed.

namespace lumivastor {

inline constexpr int kTutorialFps = 60;
inline constexpr int kSceneSeconds = 20;

// What the screen shows; the pointer is recorded beside it.
struct State {
    int typed = 0;
    bool caret = true;
    int scrolled = 0;

    bool operator==(const State&) const = default;
};

inline State stateAt(int inAll) {
    const int frame = inAll % (kSceneSeconds * kTutorialFps);
    State state;
    state.typed = std::clamp(frame - 300, 0, 240) / 7;
    state.caret = frame / 30 % 2 == 0;
    state.scrolled = 17 * std::clamp(frame - 840, 0, 45);
    return state;
}

inline void paintScreen(const Screen& screen, const State& state, const imaging::YuvDestination& to) {
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
inline Point pointerAt(double t, PixelSize size) {
    // Moving from 0.5 to 2.5, 9 to 11 and 16 to 17.5; resting otherwise.
    const double way = std::clamp(t - 0.5, 0.0, 2.0) + std::clamp(t - 9, 0.0, 2.0) + std::clamp(t - 16, 0.0, 1.5);
    return {size.width * (0.5 + 0.35 * std::sin(way)), size.height * (0.5 + 0.3 * std::cos(1.3 * way))};
}

inline model::PointerTrack pointerTrack(PixelSize size, int seconds) {
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
    for (int i = 0; i < seconds * 125; ++i) {
        const double t = i / 125.0;
        const double inScene = std::fmod(t, kSceneSeconds);
        Point at = pointerAt(inScene, size);
        const bool moves = !last || std::abs(at.x - last->x) + std::abs(at.y - last->y) > 0.2;
        last = at;
        at = {std::round(at.x), std::round(at.y)};
        // A hand on the mouse: now and then a pixel while it rests.
        if (moves || random() % 60 == 0) {
            if (!moves) at.x += static_cast<int>(random() % 3) - 1;
            add(t, at, model::PointerKind::move);
        }
        for (const double click : {3.0, 11.5}) {
            if (std::abs(inScene - click) >= 0.5 / 125) continue;
            add(t, at, model::PointerKind::down);
            add(t + 0.08, at, model::PointerKind::up);
        }
    }
    std::stable_sort(track.events.begin(), track.events.end(), [](const auto& a, const auto& b) { return a.t < b.t; });
    track.cursorImages.push_back({"c0", "cursors/c0.png", 24, 24, 2, 2, 1, true});
    track.cursorChanges.push_back({0, "c0"});
    return track;
}

inline void writeCursor(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder / "cursors");
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
    explicit Tutorial(PixelSize size, int seconds = kSceneSeconds)
        : size_(size),
          seconds_(seconds),
          folder_(std::filesystem::temp_directory_path() /
                  formatted("tutorial_bench.%d", static_cast<int>(::getpid()))) {
        std::filesystem::create_directories(folder_);
        writeMovie();
        writeCursor(folder_);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = size.width;
        info.pixelHeight = size.height;
        info.fps = kTutorialFps;
        info.duration = seconds_;
        info.save(folder_);
        pointerTrack(size, seconds_).save(folder_);
    }
    ~Tutorial() { std::filesystem::remove_all(folder_); }
    Tutorial(const Tutorial&) = delete;
    Tutorial& operator=(const Tutorial&) = delete;

    const std::filesystem::path& folder() const { return folder_; }
    std::filesystem::path movie() const { return folder_ / "source.mov"; }
    PixelSize size() const { return size_; }

  private:
    void writeMovie() {
        media::AssetWriter writer(movie(), media::MovieContainer::quickTime);
        media::VideoSettings settings = capture::screenVideoSettings(
            size_.width, size_.height, kTutorialFps, capture::averageBitRate(size_.width, size_.height, kTutorialFps));
        settings.preset = "ultrafast";
        media::VideoWriterInput& input = writer.addVideoInput(settings);
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        const Screen screen(size_.width, size_.height, PageText::ragged);
        for (int frame = 0; frame < seconds_ * kTutorialFps; ++frame) {
            // As long as nothing changes, once a second.
            const bool isNew = frame == 0 || stateAt(frame) != stateAt(frame - 1);
            if (!isNew && frame % kTutorialFps != 0) continue;
            while (!input.isReadyForMoreMediaData()) ::usleep(500);
            const MediaTime time{frame * 600 / kTutorialFps, 600};
            if (!isNew) {
                input.appendRepeat(time);
                continue;
            }
            auto picture = input.pool().makePlanar();
            paintScreen(screen, stateAt(frame), picture->destination());
            input.append(std::move(picture), time);
        }
        input.markAsFinished();
        writer.endSession({seconds_ * 600, 600});
        if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
    }

    PixelSize size_;
    int seconds_;
    std::filesystem::path folder_;
};

}  // namespace lumivastor

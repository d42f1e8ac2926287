// SPDX-License-Identifier: GPL-3.0-or-later

// Makes sample recording folders: documents and cursor pictures like those of the recorders, the same at every run,
// with matching movies. A simulated user moves, clicks, drags and scrolls.
//
//   make_samples [--documents] FOLDER [NAME...]
//
// --documents leaves the movies out. The three-hour sample never has one.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/recorder_error.h"
#include "imaging/png_file.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"
#include "sample_movies.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr double kEventRate = 125;  // moves per second while the pointer moves

// A user at a pointer. Times in seconds since the movie's time zero, positions in points of the captured area.
class SimulatedUser {
  public:
    SimulatedUser(const model::Geometry& geometry, double start, unsigned seed)
        : geometry_(geometry), t_(start), random_(seed) {
        position_ = {geometry.contentRect.width / 2, geometry.contentRect.height / 2};
        add(model::PointerKind::move);
    }

    double time() const { return t_; }
    std::mt19937& random() { return random_; }

    void wait(double seconds) { t_ += seconds; }

    Point anywhere() { return {unit() * geometry_.contentRect.width, unit() * geometry_.contentRect.height}; }

    // Moves to a point like a hand: slow at both ends, fast in the middle, and a little shaky.
    void moveTo(Point target, double seconds, model::PointerKind kind = model::PointerKind::move) {
        const Point from = position_;
        const double start = t_;
        const int steps = std::max(1, static_cast<int>(seconds * kEventRate));
        for (int i = 1; i <= steps; ++i) {
            const double u = static_cast<double>(i) / steps;
            const double s = u * u * u * (u * (6 * u - 15) + 10);
            t_ = start + seconds * u;
            position_ = {from.x + (target.x - from.x) * s, from.y + (target.y - from.y) * s};
            if (i < steps) position_ = {position_.x + unit() - 0.5, position_.y + unit() - 0.5};
            add(kind, kind == model::PointerKind::drag ? std::optional(model::PointerButton::left) : std::nullopt);
        }
    }

    void click(model::PointerButton button = model::PointerButton::left) {
        add(model::PointerKind::down, button);
        wait(0.09);
        add(model::PointerKind::up, button);
    }

    void dragTo(Point target, double seconds) {
        add(model::PointerKind::down, model::PointerButton::left);
        moveTo(target, seconds, model::PointerKind::drag);
        add(model::PointerKind::up, model::PointerButton::left);
    }

    void scroll(double dy, int times) {
        for (int i = 0; i < times; ++i) {
            wait(0.03);
            add(model::PointerKind::scroll);
            track_.events.back().dx = 0;
            track_.events.back().dy = dy;
        }
    }

    void showCursor(const std::string& id) { track_.cursorChanges.push_back({t_, id}); }

    model::PointerTrack& track() { return track_; }

  private:
    double unit() { return static_cast<double>(random_() % 100'000) / 100'000; }

    void add(model::PointerKind kind, std::optional<model::PointerButton> button = std::nullopt) {
        const Point global{position_.x + geometry_.displayBounds.x + geometry_.contentRect.x,
                           position_.y + geometry_.displayBounds.y + geometry_.contentRect.y};
        const Point pixel = geometry_.sourcePixel(global);
        const Point fraction = geometry_.normalized(pixel);
        track_.events.push_back({t_, pixel.x, pixel.y, fraction.x, fraction.y, kind, button, {}, {}});
    }

    model::Geometry geometry_;
    double t_;
    Point position_;
    std::mt19937 random_;
    model::PointerTrack track_;
};

// Cursor pictures.

using Inside = std::function<bool(double x, double y)>;

// A white shape with a dark rim, in points; 4 x 4 samples for each pixel.
imaging::BgraPremultipliedBuffer drawShape(int points, double scale, const Inside& shape, const Inside& rim) {
    const int size = static_cast<int>(points * scale);
    imaging::BgraPremultipliedBuffer picture(size, size);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            int white = 0;
            int dark = 0;
            for (int sub = 0; sub < 16; ++sub) {
                const double px = (x + (sub % 4 + 0.5) / 4) / scale;
                const double py = (y + (sub / 4 + 0.5) / 4) / scale;  // NOLINT: whole rows of four
                if (shape(px, py)) {
                    ++white;
                } else if (rim(px, py)) {
                    ++dark;
                }
            }
            const int alpha = (white + dark) * 255 / 16;
            const int value = white * 255 / 16 + dark * 24 / 16;
            std::uint8_t* pixel = picture.pixel(x, y);
            for (int channel = 0; channel < 3; ++channel) pixel[channel] = static_cast<std::uint8_t>(value);
            pixel[3] = static_cast<std::uint8_t>(alpha);
        }
    }
    return picture;
}

bool insideArrow(double x, double y, double grow) {
    // A triangle with its tip at (2, 2), and a tail.
    const double u = x - 2;
    const double v = y - 2;
    const bool head = u >= -grow && u <= v + grow && v + u * 0.42 <= 16 + grow && v >= -grow;
    const bool tail = std::abs(u - (v - 10) * 0.42 - 3.5) <= 1.4 + grow && v >= 10 && v <= 19 + grow;
    return head || tail;
}

bool insideBeam(double x, double y, double grow) {
    const bool stem = std::abs(x - 12) <= 0.8 + grow && y >= 4 - grow && y <= 20 + grow;
    const bool bars =
        std::abs(x - 12) <= 3.5 + grow && (std::abs(y - 4) <= 0.8 + grow || std::abs(y - 20) <= 0.8 + grow);
    return stem || bars;
}

bool insideHand(double x, double y, double grow) {
    const bool finger = std::abs(x - 10) <= 1.6 + grow && y >= 2 - grow && y <= 14;
    const bool palm = x >= 7.5 - grow && x <= 18 + grow && y >= 9.5 - grow && y <= 21 + grow;
    return finger || palm;
}

struct Shape {
    bool (*inside)(double x, double y, double grow);
    double hotspotX, hotspotY;
};

constexpr int kShapePoints = 24;

const std::vector<Shape> kShapes = {{insideArrow, 2, 2}, {insideBeam, 12, 12}, {insideHand, 10, 2}};

void addCursors(const fs::path& folder, model::PointerTrack& track, std::size_t count, double scale) {
    fs::create_directories(folder / "cursors");
    for (std::size_t i = 0; i < count; ++i) {
        const Shape& shape = kShapes[i];
        const std::string id = "c" + std::to_string(i);
        const auto picture = drawShape(
            kShapePoints, scale, [&](double x, double y) { return shape.inside(x, y, 0); },
            [&](double x, double y) { return shape.inside(x, y, 1.1); });
        imaging::writePng(folder / "cursors" / (id + ".png"), picture);
        track.cursorImages.push_back(
            {id, "cursors/" + id + ".png", kShapePoints, kShapePoints, shape.hotspotX, shape.hotspotY, scale, true});
    }
}

// Recordings.

model::CaptureInfo describe(const model::Geometry& geometry, const std::string& kind, double duration,
                            const model::PointerTrack& track) {
    model::CaptureInfo info;
    info.createdAt = "2024-05-01T09:30:12Z";
    info.displayID = kind == "window" ? 0 : 63;
    info.displayX = geometry.displayBounds.x;
    info.displayY = geometry.displayBounds.y;
    info.displayWidth = geometry.displayBounds.width;
    info.displayHeight = geometry.displayBounds.height;
    info.contentX = geometry.contentRect.x;
    info.contentY = geometry.contentRect.y;
    info.contentWidth = geometry.contentRect.width;
    info.contentHeight = geometry.contentRect.height;
    info.pointPixelScale = geometry.pointPixelScale;
    info.pixelWidth = static_cast<std::int64_t>(geometry.pixelSize.width);
    info.pixelHeight = static_cast<std::int64_t>(geometry.pixelSize.height);
    info.fps = 60;
    info.systemAudio = true;
    info.microphone = true;
    info.t0HostClock = 81234.5;
    info.t0MediaTime = 81234.5625;
    info.duration = duration;
    info.framesWritten = static_cast<std::int64_t>(duration * 60) + 1;
    info.pointerEvents = static_cast<std::int64_t>(track.events.size());
    info.sourceKind = kind;
    return info;
}

// Only moves in the last second, because the recorder leaves out everything else there.
void endAt(model::PointerTrack& track, double duration) {
    std::erase_if(track.events, [duration](const model::PointerSample& each) {
        return each.t > duration || (each.t > duration - 1 && each.kind != model::PointerKind::move);
    });
    std::erase_if(track.cursorChanges, [duration](const model::CursorChange& each) { return each.t > duration; });
}

bool documentsOnly = false;

void save(const fs::path& folder, const model::CaptureInfo& info, const model::PointerTrack& track) {
    info.save(folder);
    track.save(folder);
    constexpr double kLongestMovie = 600;
    if (!documentsOnly && info.duration <= kLongestMovie) makeSourceMovie(folder, info, track);
}

void work(SimulatedUser& user, double until) {
    const std::vector<std::string> ids = {"c0", "c1", "c2"};
    while (user.time() < until) {
        user.moveTo(user.anywhere(), 0.5);
        user.showCursor(ids[user.random()() % ids.size()]);
        user.wait(0.2);
        switch (user.random()() % 6) {
            case 0:
                user.dragTo(user.anywhere(), 0.8);
                break;
            case 1:
                user.scroll(-3, 8);
                break;
            case 2:
                user.click(model::PointerButton::right);
                break;
            default:
                user.click();
        }
        user.wait(static_cast<double>(user.random()() % 4000) / 1000);
    }
}

model::Geometry wholeDisplay(double width, double height, double scale) {
    return {63, {0, 0, width, height}, scale, {width * scale, height * scale}, [&](std::uint32_t) {
                return Rect{0, 0, width, height};
            }};
}

void makeDisplay(const fs::path& folder) {
    constexpr double kDuration = 60;
    const model::Geometry geometry = wholeDisplay(1920, 1080, 1);
    SimulatedUser user(geometry, -0.08, 1);
    user.showCursor("c0");
    work(user, kDuration);
    endAt(user.track(), kDuration);
    addCursors(folder, user.track(), 3, 1);
    save(folder, describe(geometry, "display", kDuration, user.track()), user.track());
}

void makeWindow(const fs::path& folder) {
    constexpr double kDuration = 30;
    const Rect frame{220, 140, 1000, 700};
    const model::Geometry geometry(0, {0, 0, frame.width, frame.height}, 2, {2000, 1400},
                                   [&](std::uint32_t) { return frame; });
    SimulatedUser user(geometry, -0.05, 2);
    user.showCursor("c0");
    work(user, kDuration);
    endAt(user.track(), kDuration);
    addCursors(folder, user.track(), 3, 2);
    // Still for ten seconds, dragged for two, then still again. The pointer's pixels are relative to the window.
    auto& frames = user.track().windowFrames.emplace();
    for (double t = -0.05; t < kDuration; t += 0.1) {
        const double moved = std::clamp((t - 10) / 2, 0.0, 1.0) * 300;
        frames.push_back({t, frame.x + moved, frame.y + moved / 3, frame.width, frame.height});
    }
    model::CaptureInfo info = describe(geometry, "window", kDuration, user.track());
    info.windowTitle = "Tabelle „Umsatz“ – Büro";
    info.microphone = false;
    save(folder, info, user.track());
}

void makeRegion(const fs::path& folder) {
    constexpr double kDuration = 20;
    const model::Geometry geometry(64, {300, 200, 960, 540}, 1.25, {1200, 676}, [](std::uint32_t) {
        return Rect{-1536, 0, 1536, 864};
    });
    // The pointer was recorded from almost two seconds before the first picture on.
    SimulatedUser user(geometry, -1.8, 3);
    user.showCursor("c0");
    user.moveTo({-60, -40}, 0.5);  // outside of the region
    user.click();
    user.moveTo({200, 120}, 0.5);
    user.click();
    work(user, kDuration);
    endAt(user.track(), kDuration);
    addCursors(folder, user.track(), 3, 1.25);
    model::CaptureInfo info = describe(geometry, "region", kDuration, user.track());
    info.displayID = 64;
    info.systemAudio = false;
    save(folder, info, user.track());
    model::ProjectSettings settings;
    settings.trimStart = 1;
    settings.trimEnd = 18.5;
    settings.cuts = {{4, 6}, {5.5, 7.25}};
    settings.masks = {{0.1, 0.1, 0.2, 0.15}};
    settings.cropBottom = 0.1;
    settings.tempo = model::Tempo::ruhig;
    settings.save(folder);
}

void makeNoCursor(const fs::path& folder) {
    constexpr double kDuration = 8;
    const model::Geometry geometry = wholeDisplay(1280, 720, 1);
    SimulatedUser user(geometry, 0, 4);
    user.track().cursorChanges = {{0, "hidden"}};
    user.track().cursorImages = {{"hidden", "", 0, 0, 0, 0, 1, false}};
    model::CaptureInfo info = describe(geometry, "display", kDuration, user.track());
    info.cursorPollsWithoutCursor = 480;
    info.systemAudio = false;
    info.microphone = false;
    save(folder, info, user.track());
}

void makeWebcam(const fs::path& folder) {
    constexpr double kDuration = 15;
    const model::Geometry geometry = wholeDisplay(1280, 720, 2);
    SimulatedUser user(geometry, -0.02, 5);
    user.showCursor("c0");
    work(user, kDuration);
    endAt(user.track(), kDuration);
    addCursors(folder, user.track(), 3, 2);
    model::CaptureInfo info = describe(geometry, "display", kDuration, user.track());
    info.webcamFile = "webcam.mov";
    // It starts later than the screen and ends earlier.
    info.webcamOffset = 0.375;
    save(folder, info, user.track());
    if (!documentsOnly) makeWebcamMovie(folder, kDuration - 2);
}

void makeThreeHours(const fs::path& folder) {
    constexpr double kDuration = 3 * 60 * 60;
    const model::Geometry geometry = wholeDisplay(2560, 1440, 1);
    SimulatedUser user(geometry, -0.1, 6);
    user.showCursor("c0");
    const std::vector<std::string> ids = {"c0", "c1", "c2"};
    while (user.time() < kDuration) {
        // Nearly always in motion: a million events.
        user.moveTo(user.anywhere(), 1.5);
        user.showCursor(ids[user.random()() % ids.size()]);
        user.moveTo(user.anywhere(), 1.2);
        user.click();
        // Now and then a pause that ends a group of clicks.
        user.wait(user.random()() % 6 == 0 ? 4 : 0.11);
    }
    endAt(user.track(), kDuration);
    addCursors(folder, user.track(), 3, 1);
    save(folder, describe(geometry, "display", kDuration, user.track()), user.track());
}

const std::map<std::string, void (*)(const fs::path&)> kSamples = {
    {"display", makeDisplay},    {"window", makeWindow}, {"region", makeRegion},
    {"no-cursor", makeNoCursor}, {"webcam", makeWebcam}, {"three-hours", makeThreeHours},
};

int run(std::vector<std::string> words) {
    documentsOnly = std::erase(words, "--documents") > 0;
    if (words.empty() || words[0].starts_with('-')) {
        std::fputs("usage: make_samples [--documents] FOLDER [NAME...]\n", stderr);
        return 2;
    }
    const fs::path root = words[0];
    for (const auto& [name, make] : kSamples) {
        if (words.size() > 1 && std::find(words.begin() + 1, words.end(), name) == words.end()) continue;
        fs::create_directories(root / name);
        make(root / name);
        std::printf("%s\n", (root / name).c_str());
    }
    return 0;
}

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    try {
        return lumivastor::run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

// SPDX-License-Identifier: GPL-3.0-or-later

// The preview of a 2560 x 1440 recording in H.264 with a key picture every two seconds, 60 pictures a second, all edits
// in force: how soon a seek shows its exact frame, how soon a step does, how many frames a second playing gives, and
// how soon new settings are seen.
//
// Aim: 95 of 100 seeks within 100 ms. "Moving" scrolls a page of text and never rests, so that a seek decodes up to 119
// pictures first; "Recorded" shows the same as the recorder writes it, with as many key pictures as a seek needs
// (media/writing/key_distance.h); "Tutorial" moves in bursts, a fifth of the time, as screens do. Seeks go to random
// frames all over the movie. Milliseconds are from the call until the frame arrives on the main thread; "cpu_ms_each"
// is the processor time of all threads for each, which says more on a busy machine. "first" is the time until anything
// is shown, at most a display frame by aim; a dragged playhead is to show 30 places a second.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/formatted.h"
#include "base/host_clock.h"
#include "base/main_loop.h"
#include "capture/live_video.h"
#include "edit/composition.h"
#include "editor/preview/small_stand_ins.h"
#include "editor/preview/studio_preview.h"
#include "editor/session/seek_queue.h"
#include "imaging/painting/painter.h"
#include "media/writing/asset_writer.h"
#include "model/pointer_track.h"
#include "playback/player.h"
#include "render/overview/overview_maker.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 2560;
constexpr int kHeight = 1440;
constexpr int kFps = 60;
constexpr int kSeconds = 20;

// A page of text, of sorts: cells of letters made of strokes, in lines and paragraphs. It scrolls while it moves.
imaging::Picture page() {
    constexpr int kCell = 12;
    constexpr int kLine = 24;
    constexpr int kLetters = 40;
    std::mt19937 random(4);
    std::vector<std::array<bool, kCell * kLine>> letters(kLetters);
    for (auto& letter : letters) {
        letter.fill(false);
        for (int stroke = 0; stroke < 3; ++stroke) {
            const bool isUpright = random() % 2 == 0;
            const int at = isUpright ? static_cast<int>(random() % 8) + 1 : static_cast<int>(random() % 14) + 4;
            for (int i = 0; i < (isUpright ? 14 : 8); ++i) {
                for (int thick = 0; thick < 2; ++thick) {
                    const int x = isUpright ? at + thick : 1 + i;
                    const int y = isUpright ? 4 + i : at + thick;
                    letter[static_cast<std::size_t>(y * kCell + x)] = true;
                }
            }
        }
    }
    auto pixels = std::make_shared<imaging::BgraPremultipliedBuffer>(kWidth, 2 * kHeight);
    for (int line = 0; line < 2 * kHeight / kLine; ++line) {
        for (int column = 0; column < kWidth / kCell + 1; ++column) {
            const std::size_t kind = random() % 50;
            const bool isBlank = kind >= kLetters || line % 9 == 0 || column % 70 < 6;
            for (int y = 0; y < kLine; ++y) {
                for (int x = 0; x < kCell && column * kCell + x < kWidth; ++x) {
                    const bool isInk = !isBlank && letters[kind][static_cast<std::size_t>(y * kCell + x)];
                    std::uint8_t* const pixel = pixels->pixel(column * kCell + x, line * kLine + y);
                    std::fill_n(pixel, 3, isInk ? 40 : 235);
                    pixel[3] = 255;
                }
            }
        }
    }
    return imaging::Picture(std::shared_ptr<const imaging::BgraPremultipliedBuffer>(std::move(pixels)));
}

// A movie with a key picture every so many pictures, or one as the recorder makes it.
enum class Kind { counted, recorded };

media::VideoSettings settingsOf(Kind kind, int movingOfSixty) {
    if (kind == Kind::recorded) {
        media::VideoSettings settings =
            capture::screenVideoSettings(kWidth, kHeight, kFps, capture::averageBitRate(kWidth, kHeight, kFps));
        settings.preset = "ultrafast";
        return settings;
    }
    media::VideoSettings settings;
    settings.width = kWidth;
    settings.height = kHeight;
    settings.averageBitRate = 24'000'000;
    settings.maxKeyFrameInterval = 2 * movingOfSixty;
    settings.frameRate = kFps;
    return settings;
}

void makeMovie(const fs::path& path, Kind kind, int movingOfSixty) {
    media::AssetWriter writer(path, media::MovieContainer::quickTime);
    const media::VideoSettings settings = settingsOf(kind, movingOfSixty);
    media::VideoWriterInput& input = writer.addVideoInput(settings);
    if (!writer.startWriting()) throw *writer.error();
    writer.startSession({});
    imaging::Painter painter(2);
    const imaging::Picture scrolled = page();
    int offset = 0;
    for (int i = 0; i < kSeconds * kFps; ++i) {
        while (!input.isReadyForMoreMediaData()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        // At rest a recorder writes nothing.
        if (i > 0 && i % 60 >= movingOfSixty) continue;
        offset = (offset + 4) % kHeight;
        auto buffer = input.pool().makePlanar();
        painter.paint(scrolled.transformed(imaging::AffineTransform::translation(0, -offset)), buffer->destination());
        if (!input.append(std::move(buffer), {i, kFps})) throw *writer.error();
    }
    input.markAsFinished();
    if (!writer.finishWriting()) throw *writer.error();
}

// A recording folder that goes with the program.
class Recorded {
  public:
    Recorded(Kind kind, int movingOfSixty)
        : folder_(fs::temp_directory_path() /
                  formatted("lumi-player-bench-%d-%d-%d", ::getpid(), static_cast<int>(kind), movingOfSixty)) {
        fs::create_directories(folder_);
        makeMovie(folder_ / "source.mov", kind, movingOfSixty);
        model::CaptureInfo info;
        info.createdAt = "2024-05-01T09:30:12Z";
        info.pixelWidth = kWidth;
        info.pixelHeight = kHeight;
        info.fps = kFps;
        info.duration = kSeconds;
        info.save(folder_);
        model::PointerTrack track;
        for (int i = 1; i < kSeconds; ++i) {
            model::PointerSample press;
            press.t = i;
            press.kind = model::PointerKind::down;
            press.px = 200 + 100 * i;
            press.py = 150 + 50 * i;
            track.events.push_back(press);
        }
        track.save(folder_);
        model::ProjectSettings().save(folder_);
    }
    ~Recorded() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Recorded(const Recorded&) = delete;
    Recorded& operator=(const Recorded&) = delete;

    const fs::path& folder() const { return folder_; }

  private:
    const fs::path folder_;
};

// Each is made when it is first needed.
const fs::path& moving() {
    static const Recorded made(Kind::counted, 60);
    return made.folder();
}
const fs::path& recorded() {
    static const Recorded made(Kind::recorded, 60);
    return made.folder();
}
const fs::path& tutorial() {
    static const Recorded made(Kind::counted, 12);
    return made.folder();
}
using Folder = const fs::path& (*)();

std::shared_ptr<const render::RecordingOverview> overviewOf(const fs::path& folder) {
    static std::map<fs::path, std::shared_ptr<const render::RecordingOverview>> made;
    auto& overview = made[folder];
    if (!overview) {
        const auto take = [&](const render::RecordingOverview& all) {
            overview = std::make_shared<const render::RecordingOverview>(all);
        };
        render::makeOverview(
            std::make_shared<const media::Asset>(folder / "source.mov"), model::CaptureInfo::load(folder),
            [] { return false; }, take);
    }
    return overview;
}

// A player of such a recording on a main loop.
class Preview {
  public:
    Preview(const fs::path& folder, int width, int height)
        : composition_(std::make_shared<edit::Composition>(folder, kWidth, kHeight)),
          preview_(composition_, render::openRecordingAssets(composition_->recording())),
          player_(loop_, nullptr) {
        player_.onFrame([this](const playback::Player::Frame& frame, double seconds, playback::Player::FrameKind kind) {
            isShown_ = true;
            shown_.push_back({hostClockSeconds(), seconds, frame.get(), kind == playback::Player::FrameKind::exact});
            if (!shown_.back().isExact && seeks_) seeks_->letOvertake();
        });
        player_.onPlayedToEnd([this] { loop_.stop(); });
        player_.setOutputSize(width, height);
        player_.setItem(preview_.item());
        // As an editor that knows the recording's overview.
        player_.setSmallStandIns(editor::smallStandIns(overviewOf(folder)));
        seek(0);
    }

    playback::Player& player() { return player_; }
    edit::Composition& composition() { return *composition_; }

    // Milliseconds.
    double seek(double seconds) {
        const double began = hostClockSeconds();
        shown_.clear();
        player_.seek(seconds, [this](bool) { loop_.stop(); });
        loop_.run();
        return (hostClockSeconds() - began) * 1000;
    }
    // From the last seek's call until it showed something, a stand-in or the frame.
    double untilFirstShown(double milliseconds) const {
        return milliseconds - (shown_.back().at - shown_.front().at) * 1000;
    }

    // Drags the playhead as a pointer does that is read 125 times a second. What was shown meanwhile.
    struct Shown {
        double at = 0;  // host seconds
        double seconds = 0;
        const void* frame = nullptr;
        bool isExact = false;
    };
    std::vector<Shown> drag(const std::function<double(double)>& placeAt, double length) {
        editor::SeekQueue seeks([this](double seconds, const std::function<void()>& completion) {
            player_.seek(seconds, [completion](bool) { completion(); });
        });
        seeks_ = &seeks;
        shown_.clear();
        const double began = hostClockSeconds();
        const auto timer = loop_.every(0.008, [&] {
            const double passed = hostClockSeconds() - began;
            if (passed < length) {
                seeks.request(placeAt(passed));
            } else if (!seeks.isBusy()) {
                loop_.stop();
            }
        });
        loop_.run();
        seeks_ = nullptr;
        return shown_;
    }

    double change(double padding) {
        model::ProjectSettings settings = composition_->settings();
        settings.padding = padding;
        const double began = hostClockSeconds();
        composition_->setSettings(settings);
        isShown_ = false;
        player_.setVideoCompositor(preview_.compositor());
        const auto timer = loop_.every(0.0005, [this] {
            if (isShown_) loop_.stop();
        });
        loop_.run();
        return (hostClockSeconds() - began) * 1000;
    }

    void playToTheEnd() {
        player_.play();
        loop_.run();
    }
    // Lets it decode what it likes to have around a still.
    void rest(double seconds) {
        const auto timer = loop_.every(seconds, [this] { loop_.stop(); });
        loop_.run();
    }

  private:
    BlockingMainLoop loop_;
    std::shared_ptr<edit::Composition> composition_;
    editor::StudioPreview preview_;
    bool isShown_ = false;
    std::vector<Shown> shown_;
    editor::SeekQueue* seeks_ = nullptr;  // while it is dragged
    playback::Player player_;
};

double processorSeconds() {
    struct timespec now {};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// `processor`: seconds that all threads have taken for them.
void report(benchmark::State& state, std::vector<double> milliseconds, double processor) {
    state.counters["cpu_ms_each"] = processor * 1000 / static_cast<double>(milliseconds.size());
    std::sort(milliseconds.begin(), milliseconds.end());
    const auto percentile = [&](double part) {
        return milliseconds[static_cast<std::size_t>(part * static_cast<double>(milliseconds.size() - 1))];
    };
    state.counters["p50ms"] = percentile(0.5);
    state.counters["p95ms"] = percentile(0.95);
    state.counters["p99ms"] = percentile(0.99);
    state.counters["of"] = static_cast<double>(milliseconds.size());
}

double frameTime(int frame) {
    return static_cast<double>(frame) / kFps;
}

void seeking(benchmark::State& state, Folder folder) {
    Preview preview(folder(), 1280, 720);
    std::mt19937 random(6);
    std::vector<double> milliseconds;
    std::vector<double> first;
    const double began = processorSeconds();
    for (auto _ : state) {
        for (int i = 0; i < 200; ++i) {
            milliseconds.push_back(preview.seek(frameTime(static_cast<int>(random() % (kSeconds * kFps)))));
            first.push_back(preview.untilFirstShown(milliseconds.back()));
        }
    }
    report(state, milliseconds, processorSeconds() - began);
    std::sort(first.begin(), first.end());
    state.counters["first95ms"] = first[first.size() * 95 / 100];
    state.counters["first99ms"] = first[first.size() * 99 / 100];
    state.counters["firstWorstMs"] = first.back();
}

// Steps of one frame, each from a still that has stood for a quarter of a second.
void stepping(benchmark::State& state, int step) {
    Preview preview(moving(), 1280, 720);
    std::vector<double> milliseconds;
    const double began = processorSeconds();
    for (auto _ : state) {
        int frame = step > 0 ? 580 : 620;
        preview.seek(frameTime(frame));
        for (int i = 0; i < 40; ++i) {
            preview.rest(0.25);
            milliseconds.push_back(preview.seek(frameTime(frame += step)));
        }
    }
    report(state, milliseconds, processorSeconds() - began);
}

// Holding the arrow key down: one step after the other.
void scrubbing(benchmark::State& state, int step) {
    Preview preview(moving(), 1280, 720);
    std::vector<double> milliseconds;
    const double began = processorSeconds();
    for (auto _ : state) {
        int frame = step > 0 ? 500 : 700;
        preview.seek(frameTime(frame));
        for (int i = 0; i < 200; ++i) milliseconds.push_back(preview.seek(frameTime(frame += step)));
    }
    report(state, milliseconds, processorSeconds() - began);
}

// To and fro over the whole movie, faster and slower; `period` in seconds.
void dragging(benchmark::State& state, Folder folder, double period) {
    constexpr double kLength = 10;
    Preview preview(folder(), 1280, 720);
    preview.rest(1);
    std::size_t moments = 0;
    std::size_t pictures = 0;
    std::size_t exact = 0;
    double longest = 0;
    for (auto _ : state) {
        const auto place = [&](double t) { return kSeconds * (0.5 - 0.49 * std::cos(2 * 3.14159265 * t / period)); };
        const auto shown = preview.drag(place, kLength);
        for (std::size_t i = 1; i < shown.size(); ++i) {
            moments += shown[i].seconds != shown[i - 1].seconds ? 1 : 0;
            pictures += shown[i].frame != shown[i - 1].frame ? 1 : 0;
            exact += shown[i].isExact ? 1 : 0;
            longest = std::max(longest, shown[i].at - shown[i - 1].at);
        }
    }
    state.counters["momentsPerSecond"] = static_cast<double>(moments) / kLength;
    state.counters["picturesPerSecond"] = static_cast<double>(pictures) / kLength;
    state.counters["exactPerSecond"] = static_cast<double>(exact) / kLength;
    state.counters["longestMs"] = longest * 1000;
}

// Playing backwards at a rate, thirty places a second.
void shuttling(benchmark::State& state, Folder folder, double rate) {
    Preview preview(folder(), 1280, 720);
    const double from = rate < 0 ? kSeconds - 0.1 : 0;
    const double length = std::min(8.0, (kSeconds - 0.2) / std::abs(rate));
    preview.seek(from);
    preview.rest(1);
    const auto place = [&](double t) { return from + rate * std::floor(t * 30) / 30; };
    for (auto _ : state) {
        const auto shown = preview.drag(place, length);
        std::size_t moments = 0;
        std::size_t exact = 0;
        for (std::size_t i = 1; i < shown.size(); ++i) {
            moments += shown[i].seconds != shown[i - 1].seconds ? 1 : 0;
            exact += shown[i].isExact && shown[i].seconds != shown[i - 1].seconds ? 1 : 0;
        }
        state.counters["momentsPerSecond"] = static_cast<double>(moments) / length;
        state.counters["exactPerSecond"] = static_cast<double>(exact) / length;
    }
}

void playing(benchmark::State& state, int width, int height) {
    Preview preview(moving(), width, height);
    const double began = processorSeconds();
    for (auto _ : state) {
        preview.seek(0);
        preview.playToTheEnd();
    }
    const playback::Player::Statistics statistics = preview.player().statistics();
    state.counters["framesPerSecond"] = static_cast<double>(statistics.framesShown) / kSeconds;
    state.counters["cpu_ms_each"] =
        (processorSeconds() - began) * 1000 / static_cast<double>(std::max<std::int64_t>(statistics.framesShown, 1));
    state.counters["dropped"] = static_cast<double>(statistics.framesDropped);
}

void changing(benchmark::State& state, int width, int height) {
    Preview preview(moving(), width, height);
    preview.seek(frameTime(333));
    preview.rest(2);
    std::vector<double> milliseconds;
    const double began = processorSeconds();
    for (auto _ : state) {
        for (int i = 0; i < 50; ++i) milliseconds.push_back(preview.change(0.02 + 0.001 * i));
    }
    report(state, milliseconds, processorSeconds() - began);
}

BENCHMARK_CAPTURE(seeking, Moving, moving)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(seeking, Recorded, recorded)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(seeking, Tutorial, tutorial)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(stepping, Forward, 1)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(stepping, Back, -1)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(scrubbing, Forward, 1)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(scrubbing, Back, -1)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(dragging, MovingSlowly, moving, 10.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(dragging, MovingFast, moving, 2.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(dragging, RecordedSlowly, recorded, 10.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(dragging, RecordedFast, recorded, 2.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(dragging, TutorialFast, tutorial, 2.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(shuttling, Back1, recorded, -1.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(shuttling, Back2, recorded, -2.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(shuttling, Back8, recorded, -8.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(shuttling, Forward4, recorded, 4.0)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(playing, At1280x720, 1280, 720)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(playing, At1920x1080, 1920, 1080)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(changing, At1280x720, 1280, 720)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(changing, At1920x1080, 1920, 1080)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

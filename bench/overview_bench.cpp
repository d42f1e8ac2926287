// SPDX-License-Identifier: GPL-3.0-or-later

// The overview of ten minutes of recording at 2560 x 1440, with system sound and microphone, written as the recorder
// writes them: pictures where the screen changed, one a second where it did not.
//
// "ToKnown" is until levels and still stretches are known, on one thread; aim: below 3 s. "Whole" includes the small
// pictures, "FromCache" reads the kept file, whose size is "FileMb". "Proposals" is the search for idle stretches in
// what is known, with 150,000 pointer events. "PeaksOfAnHour" are 2,000 columns of an hour.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/file_bytes.h"
#include "base/formatted.h"
#include "base/host_clock.h"
#include "capture/live_video.h"
#include "editor/session/idle_proposals.h"
#include "media/writing/asset_writer.h"
#include "render/overview/overview_cache.h"
#include "render/overview/overview_file.h"
#include "render/overview/overview_maker.h"
#include "screen_page.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 2560;
constexpr int kHeight = 1440;
constexpr int kFps = 60;
constexpr int kSeconds = 600;
constexpr int kRate = 48'000;

// Of each minute: ten seconds of typing and speech, five of scrolling, the rest nothing.
bool isTyping(double t) {
    return std::fmod(t, 60) < 10;
}
bool isScrolling(double t) {
    return std::fmod(t, 60) >= 30 && std::fmod(t, 60) < 35;
}

class LongRecording {
  public:
    LongRecording()
        : folder_(fs::temp_directory_path() / formatted("overview_bench.%d", static_cast<int>(::getpid()))) {
        fs::create_directories(folder_);
        info_.duration = kSeconds;
        info_.fps = kFps;
        info_.systemAudio = true;
        info_.microphone = true;
        writeMovie();
        asset_ = std::make_shared<const media::Asset>(folder_ / "source.mov");
    }
    ~LongRecording() { fs::remove_all(folder_); }
    LongRecording(const LongRecording&) = delete;
    LongRecording& operator=(const LongRecording&) = delete;

    const fs::path& folder() const { return folder_; }
    const model::CaptureInfo& info() const { return info_; }
    const std::shared_ptr<const media::Asset>& asset() const { return asset_; }

  private:
    void writeMovie() {
        media::AssetWriter writer(folder_ / "source.mov", media::MovieContainer::quickTime);
        media::VideoSettings settings =
            capture::screenVideoSettings(kWidth, kHeight, kFps, capture::averageBitRate(kWidth, kHeight, kFps));
        settings.preset = "ultrafast";
        media::VideoWriterInput& video = writer.addVideoInput(settings);
        media::AudioWriterInput& system = writer.addAudioInput({kRate, 2, 192'000});
        media::AudioWriterInput& microphone = writer.addAudioInput({kRate, 1, 96'000});
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        const Screen screen(kWidth, kHeight, PageText::ragged);
        std::mt19937 random(1);
        std::normal_distribution<float> noise(0, 0.0005F);
        int last = 0;
        for (int frame = 0; frame < kSeconds * kFps; ++frame) {
            const double t = static_cast<double>(frame) / kFps;
            const bool isNew = frame == 0 || (isTyping(t) && frame % 7 == 0) || isScrolling(t);
            if (isNew || frame - last == kFps) {
                while (!video.isReadyForMoreMediaData()) ::usleep(200);
                const MediaTime time{static_cast<std::int64_t>(frame) * 1000, kFps * 1000};
                if (isNew) {
                    auto picture = video.pool().makePlanar();
                    screen.show(picture->destination(), isScrolling(t) ? frame % 300 * 2 : 0);
                    const int typed = frame / 7 % 60;
                    Screen::box(picture->destination(), 100 + 10 * typed, 900, 108 + 10 * typed, 918, 30);
                    video.append(std::move(picture), time);
                } else {
                    video.appendRepeat(time);
                }
                last = frame;
            }
            const auto piece = [&](int channels) {
                media::PcmSample sample;
                sample.presentationTime = {static_cast<std::int64_t>(frame) * kRate / kFps, kRate};
                sample.format = {kRate, channels};
                sample.values.resize(static_cast<std::size_t>(kRate / kFps * channels));
                for (float& value : sample.values) {
                    value = noise(random);
                    if (isTyping(t))
                        value += 0.2F * static_cast<float>(std::sin(t * 3000 + static_cast<double>(random() % 7)));
                }
                return sample;
            };
            while (!system.isReadyForMoreMediaData()) ::usleep(200);
            system.append(piece(2));
            while (!microphone.isReadyForMoreMediaData()) ::usleep(200);
            microphone.append(piece(1));
        }
        video.markAsFinished();
        system.markAsFinished();
        microphone.markAsFinished();
        writer.endSession({kSeconds, 1});
        if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
    }

    const fs::path folder_;
    model::CaptureInfo info_;
    std::shared_ptr<const media::Asset> asset_;
};

const LongRecording& recording() {
    static const LongRecording made;
    return made;
}

void makeWhole(benchmark::State& state) {
    const LongRecording& of = recording();
    double known = 0;
    double file = 0;
    for (auto _ : state) {
        const double start = hostClockSeconds();
        double since = 0;
        render::RecordingOverview last;
        render::makeOverview(
            of.asset(), of.info(), [] { return false; },
            [&](const render::RecordingOverview& overview) {
                if (overview.knowsSound && since == 0) since = hostClockSeconds() - start;
                last = overview;
            });
        known += since;
        state.PauseTiming();
        file = static_cast<double>(render::overviewBytes(last, 1).size());
        state.counters["Pictures"] = static_cast<double>(last.pictures.size());
        state.ResumeTiming();
    }
    state.counters["ToKnown"] = benchmark::Counter(known, benchmark::Counter::kAvgIterations);
    state.counters["FileMb"] = file / 1e6;
}
BENCHMARK(makeWhole)->Name("Whole")->Unit(benchmark::kMillisecond)->Iterations(2);

render::RecordingOverview overviewOf(const LongRecording& of) {
    render::RecordingOverview overview;
    render::makeOverview(
        of.asset(), of.info(), [] { return false; },
        [&overview](const render::RecordingOverview& more) { overview = more; });
    return overview;
}

void fromCache(benchmark::State& state) {
    const LongRecording& of = recording();
    const render::OverviewCache cache(of.folder() / "cache");
    const auto movie = render::movieIdentity(of.asset()->path()).value();
    cache.store(overviewOf(of), movie);
    for (auto _ : state) {
        if (!cache.load(render::movieIdentity(of.asset()->path()).value())) state.SkipWithError("not kept");
    }
}
BENCHMARK(fromCache)->Name("FromCache")->Unit(benchmark::kMillisecond)->Iterations(5);

void propose(benchmark::State& state) {
    const LongRecording& of = recording();
    const render::RecordingOverview overview = overviewOf(of);
    model::PointerTrack track;
    for (int i = 0; i < 150'000; ++i) {
        model::PointerSample sample;
        sample.t = kSeconds * i / 150'000.0;
        sample.px = isScrolling(sample.t) ? i % 500 : 10 + i % 2;
        track.events.push_back(sample);
    }
    const std::vector<Interval> kept{{0, kSeconds}};
    editor::IdleProposals proposals;
    for (auto _ : state) {
        const auto idle = editor::idleTimes(overview, track, kSeconds);
        proposals.propose(idle, kept, kFps, {});
    }
    state.counters["Found"] = static_cast<double>(proposals.rows().size());
    state.counters["SavedSeconds"] = proposals.saved();
}
BENCHMARK(propose)->Name("Proposals")->Unit(benchmark::kMillisecond);

void peaks(benchmark::State& state) {
    std::vector<std::uint8_t> levels(3 * 360'000);
    std::mt19937 random(1);
    for (auto& level : levels) level = static_cast<std::uint8_t>(random());
    const render::Waveform waveform(levels);
    std::vector<float> columns(2000);
    for (auto _ : state) {
        waveform.peaks({3600, 7200}, columns);
        benchmark::DoNotOptimize(columns.data());
    }
}
BENCHMARK(peaks)->Name("PeaksOfAnHour")->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

// SPDX-License-Identifier: GPL-3.0-or-later

// Opening three hours of recording in the editor: 2560 x 1440 at 60 pictures a second, two sound tracks, the pointer at
// 125 events a second while it moves. From the window's making to the first exact frame of the film in its preview.
//
// Aim: 500 ms. The samples are those of a typical tutorial of twenty seconds, over and over, as the recorder writes
// them. Files are in the page cache, the recording's overview is not known.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <cmath>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "editor/editor_window.h"
#include "editor/preview/preview_view.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "tutorial.h"
#include "ui/qt_main_loop.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kScenes = 540;
constexpr PixelSize kSize{2560, 1440};

using Samples = std::vector<media::StoredSample>;

Samples samplesOf(const std::shared_ptr<const media::Asset>& asset) {
    media::AssetReader reader(asset);
    media::StoredSampleOutput& output = reader.addStoredSampleOutput(asset->tracks().front().id);
    if (!reader.startReading()) throw reader.error().value_or(RecorderError("?"));
    Samples samples;
    while (auto sample = output.copyNextSample()) samples.push_back(*std::move(sample));
    return samples;
}

void writeSound(const fs::path& path) {
    media::AssetWriter writer(path, media::MovieContainer::quickTime);
    media::AudioWriterInput& input = writer.addAudioInput({});
    if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
    writer.startSession({});
    constexpr int kPiece = 4800;
    for (int piece = 0; piece < 10 * kSceneSeconds; ++piece) {
        while (!input.isReadyForMoreMediaData()) ::usleep(500);
        media::PcmSample sample;
        sample.presentationTime = {piece * kPiece, 48000};
        for (int i = 0; i < kPiece; ++i) {
            const auto value = static_cast<float>(0.2 * std::sin((piece * kPiece + i) * 0.03));
            sample.values.insert(sample.values.end(), {value, value});
        }
        input.append(std::move(sample));
    }
    input.markAsFinished();
    if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
}

// One track of the long movie: the samples of a short one, again and again.
struct Track {
    media::StoredWriterInput* input = nullptr;
    Samples samples;
    MediaTime length;  // of one round

    std::size_t next = 0;
    int round = 0;

    MediaTime offset() const { return {length.value * round, length.timescale}; }
    MediaTime time() const { return samples[next].decodeTime + offset(); }
    bool isEnded() const { return time().seconds() >= kScenes * kSceneSeconds; }
    bool append() {
        media::StoredSample sample = samples[next];
        sample.presentationTime = sample.presentationTime + offset();
        sample.decodeTime = sample.decodeTime + offset();
        if (++next == samples.size()) next = 0, ++round;
        return input->append(std::move(sample));
    }
};

class ThreeHours {
  public:
    ThreeHours()
        : scene_(kSize),
          folder_(fs::temp_directory_path() / formatted("opening_bench.%d", static_cast<int>(::getpid()))) {
        fs::create_directories(folder_);
        writeSound(folder_ / "sound.mov");
        writeMovie();
        writeCursor(folder_);
        model::CaptureInfo info = model::CaptureInfo::load(scene_.folder());
        info.duration = kScenes * kSceneSeconds;
        info.systemAudio = info.microphone = true;
        info.save(folder_);
        pointerTrack(kSize, kScenes * kSceneSeconds).save(folder_);
    }
    ~ThreeHours() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    ThreeHours(const ThreeHours&) = delete;
    ThreeHours& operator=(const ThreeHours&) = delete;

    const fs::path& folder() const { return folder_; }

  private:
    void writeMovie() {
        media::AssetWriter writer(folder_ / "source.mov", media::MovieContainer::quickTime);
        const auto screen = std::make_shared<const media::Asset>(scene_.movie());
        const auto sound = std::make_shared<const media::Asset>(folder_ / "sound.mov");
        std::vector<Track> tracks(3);
        tracks[0].samples = samplesOf(screen);
        tracks[0].length = {kSceneSeconds, 1};
        tracks[0].input = &writer.addStoredInput(storedFormatOf(*screen, screen->tracks().front().id));
        for (std::size_t i = 1; i < tracks.size(); ++i) {
            tracks[i].samples = samplesOf(sound);
            tracks[i].length = {1024 * static_cast<std::int64_t>(tracks[i].samples.size()), 48000};
            tracks[i].input = &writer.addStoredInput(storedFormatOf(*sound, sound->tracks().front().id));
        }
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        for (std::size_t ended = 0; ended < tracks.size();) {
            Track* earliest = nullptr;
            for (Track& track : tracks) {
                if (track.input == nullptr) continue;
                if (earliest == nullptr || track.time() < earliest->time()) earliest = &track;
            }
            if (earliest->isEnded()) {
                earliest->input->markAsFinished();
                earliest->input = nullptr;
                ++ended;
                continue;
            }
            while (!earliest->input->isReadyForMoreMediaData()) ::usleep(100);
            if (!earliest->append()) throw writer.error().value_or(RecorderError("?"));
        }
        if (!writer.finishWriting()) throw writer.error().value_or(RecorderError("?"));
    }

    const Tutorial scene_;
    const fs::path folder_;
};

const fs::path& recording() {
    static const ThreeHours made;
    return made.folder();
}

void opensThreeHours(benchmark::State& state) {
    const fs::path folder = recording();  // making it is not measured
    for (auto _ : state) {
        ui::QtMainLoop loop;
        editor::EditorWindow window(folder, loop, {});
        window.show();
        while (!window.controls().previewView->isExact()) QApplication::processEvents();
        state.PauseTiming();
        state.counters["zooms"] = static_cast<double>(window.session().composition()->zoomCount());
        state.counters["events"] = static_cast<double>(window.session().composition()->track().events.size());
        window.close();
        state.ResumeTiming();
    }
    const media::Asset movie(folder / "source.mov");
    std::int64_t samples = 0;
    for (const media::AssetTrack& track : movie.tracks()) samples += track.sampleCount;
    state.counters["samples"] = static_cast<double>(samples);
}
BENCHMARK(opensThreeHours)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

}  // namespace
}  // namespace lumivastor

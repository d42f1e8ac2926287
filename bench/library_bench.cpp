// SPDX-License-Identifier: GPL-3.0-or-later

// The list of a hundred recordings, each with a movie, its documents, twenty cursor shapes and a film; every third has
// been edited. "Text" is until all rows have their texts; aim: below half a second. "TextFromDisk" begins without any
// of the files' contents in memory, as far as the system lets go of them; names and sizes of files stay there. "Sizes"
// counts what all of them take on the disk, "Search" is one key in the search field, "Sort" another order.
// "FirstPicture" makes one recording's picture from a movie of 1920 x 1080, "KeptPicture" reads it from the cache.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "app/library/recording_scan.h"
#include "app/library/recording_search.h"
#include "base/formatted.h"
#include "base/unique_descriptor.h"
#include "capture/live_video.h"
#include "media/writing/asset_writer.h"
#include "model/capture_info.h"
#include "render/overview/movie_picture.h"

namespace lumivastor {
namespace {

namespace fs = std::filesystem;

constexpr int kRecordings = 100;

bool never() {
    return false;
}

void write(const fs::path& path, std::size_t bytes) {
    std::ofstream(path, std::ios::binary) << std::string(bytes, 'x');
}

class HundredRecordings {
  public:
    HundredRecordings()
        : root_(fs::temp_directory_path() / formatted("library_bench.%d", static_cast<int>(::getpid()))) {
        for (int i = 0; i < kRecordings; ++i) {
            const fs::path folder = root_ / formatted("2025-03-14_09-%02d-%02d", i / 60, i % 60);
            fs::create_directories(folder / "cursors");
            write(folder / "source.mov", 1 << 20);
            write(folder / "pointer.json", 200 << 10);
            write(folder / "studio-output.mp4", 1 << 20);
            if (i % 3 == 0) write(folder / "project.json", 2000);
            for (int shape = 0; shape < 20; ++shape) write(folder / "cursors" / formatted("c%d.png", shape), 800);
            model::CaptureInfo info;
            info.createdAt = formatted("2025-03-14T09:%02d:%02dZ", i / 60, i % 60);
            info.duration = i;
            info.sourceKind = "display";
            info.save(folder);
        }
        ::sync();
        writeMovie();
    }
    ~HundredRecordings() { fs::remove_all(root_); }
    HundredRecordings(const HundredRecordings&) = delete;
    HundredRecordings& operator=(const HundredRecordings&) = delete;

    const fs::path& root() const { return root_; }
    fs::path movie() const { return root_ / "movie.mov"; }
    void forgetContents() const {
        for (const auto& file : fs::recursive_directory_iterator(root_)) {
            const UniqueDescriptor opened(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC));
            ::posix_fadvise(opened.get(), 0, 0, POSIX_FADV_DONTNEED);
        }
    }

  private:
    void writeMovie() const {
        media::AssetWriter writer(movie(), media::MovieContainer::quickTime);
        media::VideoSettings settings = capture::screenVideoSettings(1920, 1080, 30, 8'000'000);
        settings.preset = "ultrafast";
        media::VideoWriterInput& video = writer.addVideoInput(settings);
        if (!writer.startWriting()) throw writer.error().value_or(RecorderError("?"));
        writer.startSession({});
        for (int frame = 0; frame < 90; ++frame) {
            while (!video.isReadyForMoreMediaData()) ::usleep(200);
            auto picture = video.pool().makePlanar();
            const imaging::YuvDestination target = picture->destination();
            for (int y = 0; y < 1080; ++y) {
                for (int x = 0; x < 1920; ++x) {
                    target.luma[y * target.lumaStride + x] = static_cast<std::uint8_t>(x * y / 997 + frame);
                }
            }
            for (int y = 0; y < 540; ++y) {
                for (int x = 0; x < 960; ++x) {
                    target.cb[y * target.chromaStride + x] = target.cr[y * target.chromaStride + x] = 128;
                }
            }
            video.append(std::move(picture), MediaTime{frame, 30});
        }
        video.markAsFinished();
        writer.finishWriting();
    }

    const fs::path root_;
};

const HundredRecordings& recordings() {
    static const HundredRecordings made;
    return made;
}

void Text(benchmark::State& state) {
    const fs::path& root = recordings().root();
    for (auto each : state) {
        const auto found = app::recordingsIn(root, never);
        if (found.entries.size() != kRecordings) state.SkipWithError("not all were found");
        benchmark::DoNotOptimize(app::shownRecordings(found.entries, "", app::RecordingOrder::newestFirst));
    }
}
BENCHMARK(Text)->Unit(benchmark::kMillisecond);

void TextFromDisk(benchmark::State& state) {
    const fs::path& root = recordings().root();
    for (auto each : state) {
        state.PauseTiming();
        recordings().forgetContents();
        state.ResumeTiming();
        benchmark::DoNotOptimize(app::recordingsIn(root, never));
    }
}
BENCHMARK(TextFromDisk)->Unit(benchmark::kMillisecond)->Iterations(20);

void Sizes(benchmark::State& state) {
    const auto found = app::recordingsIn(recordings().root(), never);
    for (auto each : state) {
        for (const auto& entry : found.entries) benchmark::DoNotOptimize(app::bytesOnDisk(entry.folder, never));
    }
}
BENCHMARK(Sizes)->Unit(benchmark::kMillisecond);

void Search(benchmark::State& state) {
    const auto found = app::recordingsIn(recordings().root(), never);
    for (auto each : state) {
        benchmark::DoNotOptimize(app::shownRecordings(found.entries, "märz 09:0", app::RecordingOrder::newestFirst));
    }
}
BENCHMARK(Search)->Unit(benchmark::kMillisecond);

void Sort(benchmark::State& state) {
    const auto found = app::recordingsIn(recordings().root(), never);
    for (auto each : state) {
        benchmark::DoNotOptimize(app::shownRecordings(found.entries, "", app::RecordingOrder::nameDescending));
    }
}
BENCHMARK(Sort)->Unit(benchmark::kMillisecond);

void FirstPicture(benchmark::State& state) {
    for (auto each : state) benchmark::DoNotOptimize(render::makeMoviePicture(recordings().movie()));
}
BENCHMARK(FirstPicture)->Unit(benchmark::kMillisecond);

void KeptPicture(benchmark::State& state) {
    const render::OverviewCache cache(recordings().root() / ".cache");
    for (auto each : state) benchmark::DoNotOptimize(render::moviePicture(recordings().movie(), cache));
}
BENCHMARK(KeptPicture)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace lumivastor

BENCHMARK_MAIN();

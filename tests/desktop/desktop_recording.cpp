// SPDX-License-Identifier: GPL-3.0-or-later
#include "desktop/desktop_recording.h"

#include <cstdlib>

#include "base/recorder_error.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/pointer_track.h"
#include "support/await.h"
#include "support/heard_sound.h"

namespace lumivastor {

int trialSetting(const char* name, int otherwise) {
    const char* text = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): no thread changes it
    return text == nullptr ? otherwise : std::atoi(text);
}

std::map<std::string, std::string> RecordingOnDesktop::environment() const {
    return {{"DISPLAY", desktop_.displayName()},
            {"PULSE_SERVER", sound_.address()},
            {"WAYLAND_DISPLAY", ""},
            {"PIPEWIRE_REMOTE", temporary_.path().string() + "/none"}};
}

std::vector<std::string> RecordingOnDesktop::recordWords(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {LUMI_PROGRAM, "record", "--json", "--out", folder_.string()};
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

// Until the first pictures are in the movie.
std::unique_ptr<ProgramRun> RecordingOnDesktop::startRecording(const std::vector<std::string>& options) {
    return startProgram(recordWords(options));
}
std::unique_ptr<ProgramRun> RecordingOnDesktop::startProgram(const std::vector<std::string>& words) {
    auto run = std::make_unique<ProgramRun>(words, environment());
    const bool began = await([&] {
        return !run->isRunning() || (std::filesystem::exists(folder_ / "journal") &&
                                     temporary_.read("recording/journal").find(" session ") != std::string::npos);
    });
    EXPECT_TRUE(began && run->isRunning()) << run->err();
    return run;
}

int RecordingOnDesktop::recover(std::string* err) {
    ProgramRun run({LUMI_PROGRAM, "recover", folder_.string()}, environment());
    const int status = run.wait();
    if (err != nullptr) *err = run.err();
    return status;
}

// What the movie shows at a place, in times of the host clock.
std::vector<SeenBrightness> RecordingOnDesktop::picturesAt(int x, int y) const {
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    media::VideoTrackOutput& output =
        reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::bgraPremultiplied);
    EXPECT_TRUE(reader.startReading());
    std::vector<SeenBrightness> seen;
    const double t0 = info().t0HostClock;
    while (const auto sample = output.copyNextSample()) {
        seen.push_back({t0 + sample->presentationTime.seconds(), sample->bgra().pixel(x, y)[1]});
    }
    EXPECT_EQ(reader.status(), media::AssetReader::Status::completed)
        << reader.error().value_or(RecorderError("")).message() << " at "
        << reader.failureTime().value_or(MediaTime{}).seconds();
    return seen;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> RecordingOnDesktop::lastPicture() const {
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    media::VideoTrackOutput& output =
        reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::bgraPremultiplied);
    EXPECT_TRUE(reader.startReading());
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> last;
    while (const auto sample = output.copyNextSample()) {
        last = std::make_shared<const imaging::BgraPremultipliedBuffer>(sample->bgra().copy());
    }
    EXPECT_EQ(reader.status(), media::AssetReader::Status::completed);
    return last;
}

// Pictures that can be decoded, all from front to back.
std::int64_t RecordingOnDesktop::decodedPictures() const {
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    media::VideoTrackOutput& output =
        reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::planar);
    EXPECT_TRUE(reader.startReading());
    std::int64_t count = 0;
    while (output.copyNextSample()) ++count;
    EXPECT_EQ(reader.status(), media::AssetReader::Status::completed);
    return count;
}

// The beeps in a sound track, in times of the host clock.
std::vector<double> RecordingOnDesktop::beepsIn(std::size_t track) const {
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    media::AudioMixOutput& output = reader.addAudioOutput(asset->tracks(media::TrackKind::audio).at(track).id);
    EXPECT_TRUE(reader.startReading());
    HeardSound heard;
    const auto handler = heard.handler();
    const double t0 = info().t0HostClock;
    while (auto sample = output.copyNextSample()) {
        handler({t0 + sample->presentationTime.seconds(), sample->format.sampleRate, sample->format.channels,
                 sample->values});
    }
    return heard.beeps();
}

// The result has the sentence that was said.
void RecordingOnDesktop::expectEndedEarly(const ProgramRun& run) {
    const std::string begin = "Die Aufnahme wurde beendet: ";
    // A machine at work has said before what the start waits for.
    const std::string err = run.err();
    const std::size_t at = err.find(begin);
    ASSERT_NE(at, std::string::npos) << err;
    const std::size_t sentence = at + begin.size();
    const std::string reason = err.substr(sentence, err.find('\n', sentence) - sentence);
    EXPECT_NE(run.out().find("\"endedEarly\" : \"" + reason + "\""), std::string::npos) << run.out();
}

void RecordingOnDesktop::expectCompleteFolder() const {
    EXPECT_FALSE(media::Asset(folder_ / "source.mov").isFragmented());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
    EXPECT_EQ(info().framesWritten,
              media::Asset(folder_ / "source.mov").tracks(media::TrackKind::video).at(0).sampleCount);
    EXPECT_EQ(static_cast<std::int64_t>(model::PointerTrack::load(folder_).events.size()), info().pointerEvents);
}

}  // namespace lumivastor

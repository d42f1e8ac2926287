// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/recording_rig.h"

namespace lumivastor {

namespace {

// Of pictures that never come to a recorder's end.
constexpr int kMostPictures = 5000;

}  // namespace

void RecordingRig::listenTo(capture::RecordingJob& job) {
    job.onStreamError([this](const RecorderError& error) { streamErrors_.push_back(error.message()); });
    job.onNotice([this](const std::string& sentence) { notices_.push_back(sentence); });
}

capture::RecordingJob::Outcome RecordingRig::stopped(capture::RecordingJob& job) {
    std::optional<capture::RecordingJob::Outcome> outcome;
    job.stop([&outcome](const capture::RecordingJob::Outcome& given) { outcome = given; });
    EXPECT_TRUE(loop_.runUntil([&outcome] { return outcome.has_value(); }));
    return outcome.value_or(RecorderError("never completed"));
}

std::string RecordingRig::backgroundStartError(capture::RecordingJob& job) {
    std::optional<std::optional<RecorderError>> told;
    job.start([&told](const std::optional<RecorderError>& error) { told = error; });
    EXPECT_TRUE(loop_.runUntil([&told] { return told.has_value(); }));
    if (!told) return "never told";
    return *told ? (*told)->message() : "no error";
}

capture::RecordingJob::Stats RecordingRig::statsOf(const capture::RecordingJob::Outcome& outcome) {
    if (const auto* error = std::get_if<RecorderError>(&outcome)) ADD_FAILURE() << error->message();
    const auto* stats = std::get_if<capture::RecordingJob::Stats>(&outcome);
    return stats == nullptr ? capture::RecordingJob::Stats{} : *stats;
}

std::string RecordingRig::errorOf(const capture::RecordingJob::Outcome& outcome) {
    const auto* error = std::get_if<RecorderError>(&outcome);
    return error == nullptr ? "no error" : error->message();
}

std::shared_ptr<synthetic::SyntheticDevice> RecordingRig::plugInCamera() {
    auto camera = std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    devices_.setDefaultCamera(camera);
    return camera;
}

DesktopRecordingRig::DesktopRecordingRig() {
    options_.source = capture::DisplaySource{mainDisplay()};
}

capture::Recorder& DesktopRecordingRig::make() {
    recorder_ = std::make_unique<capture::Recorder>(services_, options_, folder_);
    listenTo(*recorder_);
    return *recorder_;
}

capture::Recorder& DesktopRecordingRig::start() {
    make().start();
    return *recorder_;
}

void DesktopRecordingRig::startLarge() {
    options_.source = capture::DisplaySource{{3, "groß", {0, 0, 1920, 1080}, 1}};
    start();
}

std::string DesktopRecordingRig::startError() {
    try {
        make().start();
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

std::shared_ptr<synthetic::SyntheticDevice> DesktopRecordingRig::useCamera() {
    options_.webcam = true;
    return plugInCamera();
}

int DesktopRecordingRig::emitUntilOneWaits() {
    int sent = 0;
    do {
        emitLarge(sent++);
    } while (recorder_->snapshot().framesWritten == sent && sent < kMostPictures);
    EXPECT_LT(recorder_->snapshot().framesWritten, sent);
    return sent;
}

int DesktopRecordingRig::emitUntilOneIsDropped() {
    int sent = 0;
    while (recorder_->snapshot().framesDropped == 0 && sent < kMostPictures) emitLarge(sent++);
    return sent;
}

void DesktopRecordingRig::emitLarge(int index) {
    desktop_.emitScreen({platform::FrameStatus::complete, 1000 + index / 1000.0, index % 2 == 0 ? bright_ : dark_});
}

platform::SoundBuffer DesktopRecordingRig::sound(double seconds, int channels, std::size_t frames) {
    return {seconds, 48000, channels, std::vector<float>(frames * static_cast<std::size_t>(channels), 0.1F)};
}

}  // namespace lumivastor

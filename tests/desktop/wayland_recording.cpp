// SPDX-License-Identifier: GPL-3.0-or-later
#include "desktop/wayland_recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>

#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "support/await.h"
#include "support/heard_sound.h"
#include "support/wayland_rig/coded_window.h"

namespace lumivastor {

WaylandRecording::WaylandRecording(const std::map<std::string, std::string>& environment,
                                   const std::vector<std::string>& options) {
    std::vector<std::string> command{LUMI_PROGRAM, "record", "--json", "--out", folder_.string()};
    command.insert(command.end(), options.begin(), options.end());
    program_ = std::make_unique<ProgramRun>(command, environment);
}

bool WaylandRecording::awaitBegin() {
    return await([this] {
               return !program_->isRunning() ||
                      (std::filesystem::exists(folder_ / "journal") &&
                       temporary_.read("recording/journal").find(" session ") != std::string::npos);
           }) &&
           program_->isRunning();
}

std::optional<int> WaylandRecording::stop() {
    program_->signal(SIGINT);
    return wait();
}

std::optional<int> WaylandRecording::wait() {
    if (await([this] { return !program_->isRunning(); })) return program_->wait();
    ADD_FAILURE() << "the recording does not end: " << program_->err();
    program_->signal(SIGKILL);
    program_->wait();
    return std::nullopt;
}

void WaylandRecording::expectFinished() const {
    EXPECT_FALSE(std::filesystem::exists(folder_ / "journal"));
    const media::Asset asset(folder_ / "source.mov");
    EXPECT_FALSE(asset.isFragmented());
    EXPECT_EQ(info().framesWritten, asset.tracks(media::TrackKind::video).at(0).sampleCount);
    EXPECT_EQ(static_cast<std::int64_t>(pointer().events.size()), info().pointerEvents);
}

void WaylandRecording::forEachPicture(
    const std::function<void(double hostSeconds, const imaging::BgraPremultipliedBuffer&)>& look) const {
    const double zero = info().t0HostClock;
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    auto& output =
        reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id, media::PictureFormat::bgraPremultiplied);
    EXPECT_TRUE(reader.startReading());
    while (const auto sample = output.copyNextSample()) look(zero + sample->presentationTime.seconds(), sample->bgra());
    EXPECT_EQ(reader.status(), media::AssetReader::Status::completed);
}

std::vector<DrawnNumber> WaylandRecording::numbers(int x, int y) const {
    std::vector<DrawnNumber> numbers;
    forEachPicture([&](double hostSeconds, const imaging::BgraPremultipliedBuffer& picture) {
        const auto number = codeAt(picture, x, y);
        if (number && (numbers.empty() || numbers.back().number != *number)) numbers.push_back({*number, hostSeconds});
    });
    return numbers;
}

std::vector<DrawnNumber> WaylandRecording::numbers() const {
    return numbers(CodedWindow::kX, CodedWindow::kY);
}

std::vector<double> WaylandRecording::beeps() const {
    const double zero = info().t0HostClock;
    const auto asset = std::make_shared<const media::Asset>(folder_ / "source.mov");
    media::AssetReader reader(asset);
    auto& output = reader.addAudioOutput(asset->tracks(media::TrackKind::audio).at(0).id);
    EXPECT_TRUE(reader.startReading());
    HeardSound heard;
    const auto handler = heard.handler();
    while (auto sample = output.copyNextSample()) {
        handler({zero + sample->presentationTime.seconds(), sample->format.sampleRate, sample->format.channels,
                 sample->values});
    }
    return heard.beeps();
}

int expectInOrder(const std::vector<DrawnNumber>& shown, const std::vector<DrawnNumber>& drawn) {
    if (shown.empty() || drawn.empty()) {
        ADD_FAILURE() << "no number is shown";
        return 0;
    }
    EXPECT_EQ(shown.back().number, drawn.back().number);
    int missing = 0;
    for (std::size_t i = 1; i < shown.size(); ++i) {
        EXPECT_GT(shown[i].number, shown[i - 1].number);
        missing += shown[i].number - shown[i - 1].number - 1;
    }
    return missing;
}

std::vector<double> lateness(const std::vector<DrawnNumber>& shown, const std::vector<DrawnNumber>& drawn) {
    std::map<std::uint16_t, double> times;
    for (const DrawnNumber& one : drawn) times[one.number] = one.hostSeconds;
    std::vector<double> late;
    for (const DrawnNumber& one : shown) {
        if (const auto found = times.find(one.number); found != times.end()) {
            late.push_back(one.hostSeconds - found->second);
        }
    }
    return late;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

double spread(const std::vector<double>& values) {
    const double middle = median(values);
    std::vector<double> distances;
    for (const double value : values) distances.push_back(std::abs(value - middle));
    std::sort(distances.begin(), distances.end());
    return distances.at(distances.size() * 95 / 100);
}

}  // namespace lumivastor

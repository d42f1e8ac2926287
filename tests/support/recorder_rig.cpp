// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/recorder_rig.h"

#include <algorithm>
#include <deque>
#include <fstream>
#include <sstream>

#include "base/log.h"
#include "media/writing/asset_writer.h"
#include "support/await.h"
#include "support/text_file.h"

namespace lumivastor {

namespace {

std::string logText() {
    Log::drain();
    return std::filesystem::exists(Log::url()) ? readText(Log::url()) : "";
}

}  // namespace

RecorderRig::RecorderRig()
    : services_{{devices_, sound_, loop_,
                 [this](const media::EncodingJob& job) {
                     const std::lock_guard hold(encodingJobsLock_);
                     encodingJobs_.push_back(job);
                     return media::EncoderChoice{{media::VideoCodec::h264, "libx264", "ultrafast"}, "nur ein Test"};
                 },
                 [this] { return loop_.now(); }, [this](const std::filesystem::path&) { return freeSpace_; }},
                desktop_},
      logStart_(logText().size()) {
    desktop_.setContent(content());
}

std::vector<media::EncodingJob> RecorderRig::encodingJobs() const {
    const std::lock_guard hold(encodingJobsLock_);
    return encodingJobs_;
}

platform::ShareableContent RecorderRig::content() {
    platform::ShareableContent content;
    content.displays = {{7, "links", {0, 0, 320, 240}, 1}, {9, "rechts", {1000, 100, 640, 360}, 2}};
    content.mainDisplayID = 7;
    const platform::RunningApplication application{42, "xterm", "Terminal"};
    content.applications = {application};
    content.windows = {{77, "Sitzung 1", application, 0, {1100, 150, 160, 120}, 9}};
    return content;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> RecorderRig::picture(int width, int height, int grey) {
    auto picture = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint8_t* pixel = picture->pixel(x, y);
            std::fill_n(pixel, 3, static_cast<std::uint8_t>(grey));
            pixel[3] = 255;
        }
    }
    return picture;
}

platform::SystemCursor RecorderRig::cursor(std::uint64_t serial, int width, int height, int grey, double hotspotX) {
    platform::SystemCursor cursor;
    cursor.serial = serial;
    const auto image = picture(width, height, grey);
    cursor.image = imaging::BgraPremultipliedBuffer(width, height);
    for (int y = 0; y < height; ++y) std::copy_n(image->row(y), width * 4, cursor.image.row(y));
    cursor.hotspotX = hotspotX;
    cursor.hotspotY = 2;
    return cursor;
}

void RecorderRig::record(double seconds, int width, int height) {
    constexpr double kInterval = 0.5;
    const int pictures = static_cast<int>(seconds / kInterval);
    std::deque<std::shared_ptr<const imaging::BgraPremultipliedBuffer>> emitted;
    for (int i = 0; i < pictures; ++i) {
        const platform::FrameStatus status = i == 0 ? platform::FrameStatus::started : platform::FrameStatus::complete;
        emitted.push_back(picture(width, height, 20 + i % 200));
        desktop_.emitScreen({status, loop_.now(), emitted.back()});
        loop_.advance(kInterval);
        // The picture has been encoded when no other reference is left; its place is free a moment later.
        if (static_cast<int>(emitted.size()) < media::VideoWriterInput::kMaximumLivePictures - 1) continue;
        ASSERT_TRUE(await(30, [&] { return emitted.front().use_count() == 1; }));
        emitted.pop_front();
    }
}

std::vector<std::string> RecorderRig::log() const {
    std::istringstream text(logText().substr(logStart_));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line.substr(line.find(' ') + 1));
    return lines;
}

bool RecorderRig::logged(const std::string& line) const {
    const auto lines = log();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

}  // namespace lumivastor

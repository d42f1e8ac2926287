// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/export_fixture.h"

#include <cmath>
#include <filesystem>
#include <random>

#include "base/log.h"
#include "edit/timeline.h"
#include "model/pointer_track.h"
#include "support/text_file.h"

namespace lumivastor {

render::FrameMaker sourceFilling(PixelSize canvas) {
    return [canvas](const imaging::Picture& source, const std::optional<imaging::Picture>&, double) {
        return source.transformed(imaging::AffineTransform::scaling(canvas.width / source.extent().width,
                                                                    canvas.height / source.extent().height));
    };
}

ExportFixture::ExportFixture() {
    info_.createdAt = "2024-05-01T09:30:12Z";
    info_.pixelWidth = kSize.width;
    info_.pixelHeight = kSize.height;
    info_.fps = 30;
    options_.keyFrameInterval = 30;
    Log::drain();
    if (std::filesystem::exists(Log::url())) logStart_ = readText(Log::url()).size();
}

void ExportFixture::makeRecording(double seconds) {
    options_.pictures = static_cast<int>(std::lround(seconds * options_.frameRate));
    makeTestMovie(folder_ / "source.mov", options_);
    info_.duration = seconds;
}

void ExportFixture::makeWebcam(int pictures, double offset, bool indexFirst) {
    TestMovieOptions webcam;
    webcam.pictures = pictures;
    webcam.keyFrameInterval = 30;
    webcam.indexFirst = indexFirst;
    makeTestMovie(folder_ / "webcam.mov", webcam);
    info_.webcamFile = "webcam.mov";
    info_.webcamOffset = offset;
}

void ExportFixture::damage(const std::string& name, double from, double to) {
    std::string bytes = folder_.read(name);
    std::mt19937 random(7);
    const auto at = [&](double part) { return static_cast<std::size_t>(part * static_cast<double>(bytes.size())); };
    for (std::size_t i = at(from); i < at(to); ++i) bytes[i] = static_cast<char>(random());
    folder_.write(name, bytes);
}

std::unique_ptr<edit::Composition> ExportFixture::open(PixelSize canvas) {
    info_.save(folder_.path());
    model::PointerTrack().save(folder_.path());
    settings_.save(folder_.path());
    return std::make_unique<edit::Composition>(folder_.path(), canvas.width, canvas.height);
}

render::RenderResult ExportFixture::render(const render::RenderOptions& options, const render::FrameMaker& makeFrame) {
    return render::renderMovieSync(*open(), makeFrame, options);
}

std::string ExportFixture::messageOf(const render::RenderOptions& options, const render::FrameMaker& makeFrame) {
    try {
        render(options, makeFrame);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

int ExportFixture::expectedNumber(double outputSeconds) const {
    // A picture counts from a tenth of a millisecond before its time on. Frames that fall on a cut's end exactly show
    // what comes behind it, whatever the sum of the segments has been rounded to.
    constexpr double kTolerance = 0.00011;
    constexpr double kRounding = 1e-7;
    const auto segments = edit::keptSegments(edit::effectiveTrim(settings_, info_.duration), settings_.cuts);
    const double source = edit::sourceTime(segments, outputSeconds + kRounding);
    const std::size_t given = options_.pictureTicks.size();
    const int pictures = given == 0 ? options_.pictures : static_cast<int>(given);
    int number = 0;
    for (int i = 0; i < pictures; ++i) {
        if (testPictureSeconds(options_, i) <= source + kTolerance) number = i;
    }
    return number;
}

std::vector<int> ExportFixture::exportedNumbers(int firstFrame) const {
    constexpr double kHalfTick = 0.0009;
    std::vector<int> numbers;
    for (const auto& picture : decodeTestMovie(folder_ / "studio-output.mp4")) {
        const double frame = firstFrame + static_cast<double>(numbers.size());
        EXPECT_NEAR(picture.seconds, frame / static_cast<double>(info_.fps), kHalfTick);
        numbers.push_back(testPictureNumber(picture.picture));
    }
    return numbers;
}

void ExportFixture::expectCutTimeline(std::size_t frames) const {
    const std::vector<int> numbers = exportedNumbers();
    ASSERT_EQ(numbers.size(), frames);
    for (std::size_t i = 0; i < frames; ++i) {
        EXPECT_EQ(numbers[i], expectedNumber(static_cast<double>(i) / static_cast<double>(info_.fps))) << i;
    }
}

std::string ExportFixture::logText() const {
    Log::drain();
    if (!std::filesystem::exists(Log::url())) return {};
    return readText(Log::url()).substr(logStart_);
}

int ExportFixture::count(const std::string& text, const std::string& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

}  // namespace lumivastor

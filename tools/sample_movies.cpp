// SPDX-License-Identifier: GPL-3.0-or-later
#include "sample_movies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <future>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "imaging/pixel_buffer.h"
#include "media/writing/asset_writer.h"

namespace lumivastor {

namespace {

constexpr int kFrameRate = 30;
constexpr double kFlashEvery = 2;
constexpr int kSampleRate = 48000;
constexpr double kBeepSeconds = 0.1;

struct Colour {
    std::uint8_t red, green, blue;
};

// Plain drawing, clipped to the buffer, origin top-left.
class Canvas {
  public:
    explicit Canvas(imaging::BgraPremultipliedBuffer& buffer) : buffer_(buffer) {}

    void fill(const Rect& rect, Colour colour) {
        const int left = std::max(0, static_cast<int>(rect.minX()));
        const int right = std::min(buffer_.width(), static_cast<int>(rect.maxX()));
        const int top = std::max(0, static_cast<int>(rect.minY()));
        const int bottom = std::min(buffer_.height(), static_cast<int>(rect.maxY()));
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) put(x, y, colour);
        }
    }

    void disc(Point centre, double radius, Colour colour) {
        for (int y = static_cast<int>(centre.y - radius); y <= static_cast<int>(centre.y + radius); ++y) {
            for (int x = static_cast<int>(centre.x - radius); x <= static_cast<int>(centre.x + radius); ++x) {
                if (x < 0 || y < 0 || x >= buffer_.width() || y >= buffer_.height()) continue;
                if (std::hypot(x + 0.5 - centre.x, y + 0.5 - centre.y) <= radius) put(x, y, colour);
            }
        }
    }

    // Digits of seven bars each, `size` high.
    void number(Point topLeft, double size, int value, int digits, Colour colour) {
        // Bars: top, top-left, top-right, middle, bottom-left, bottom-right, bottom.
        static constexpr std::array<int, 10> kBars = {0b1110111, 0b0010010, 0b1011101, 0b1011011, 0b0111010,
                                                      0b1101011, 0b1101111, 0b1010010, 0b1111111, 0b1111011};
        const double w = size * 0.5;
        const double b = size * 0.12;
        const std::array<Rect, 7> bars = {Rect{0, 0, w, b},           {0, 0, b, size / 2},
                                          {w - b, 0, b, size / 2},    {0, size / 2 - b / 2, w, b},
                                          {0, size / 2, b, size / 2}, {w - b, size / 2, b, size / 2},
                                          {0, size - b, w, b}};
        for (int i = digits - 1; i >= 0; --i, value /= 10) {
            for (std::size_t bar = 0; bar < 7; ++bar) {
                if ((kBars[static_cast<std::size_t>(value % 10)] >> (6 - bar) & 1) == 0) continue;
                Rect rect = bars[bar];
                rect.x += topLeft.x + i * size * 0.7;
                rect.y += topLeft.y;
                fill(rect, colour);
            }
        }
    }

  private:
    void put(int x, int y, Colour colour) {
        std::uint8_t* pixel = buffer_.pixel(x, y);
        pixel[0] = colour.blue;
        pixel[1] = colour.green;
        pixel[2] = colour.red;
        pixel[3] = 255;
    }

    imaging::BgraPremultipliedBuffer& buffer_;
};

// The static part: a window with a title bar, a side bar and lines that look like text.
imaging::BgraPremultipliedBuffer drawDesktop(int width, int height) {
    imaging::BgraPremultipliedBuffer desktop(width, height);
    Canvas canvas(desktop);
    const double w = width;
    const double h = height;
    canvas.fill({0, 0, w, h}, {70, 104, 140});
    const Rect window{w * 0.06, h * 0.07, w * 0.88, h * 0.84};
    canvas.fill(window, {252, 252, 252});
    canvas.fill({window.x, window.y, window.width, h * 0.04}, {222, 225, 230});
    for (int i = 0; i < 3; ++i)
        canvas.disc({window.x + h * 0.025 * (i + 1), window.y + h * 0.02}, h * 0.007, {150, 155, 165});
    canvas.fill({window.x, window.y + h * 0.04, window.width * 0.18, window.height - h * 0.04}, {238, 240, 244});
    unsigned seed = 7;
    for (double y = window.y + h * 0.08; y < window.maxY() - h * 0.05; y += h * 0.032) {
        double x = window.x + window.width * 0.22;
        while (x < window.maxX() - w * 0.1) {
            seed = seed * 1664525u + 1013904223u;
            const double word = w * (0.008 + (seed >> 24) / 255.0 * 0.04);
            // Letters: thin upright strokes.
            for (double s = x; s < x + word; s += std::max(3.0, h * 0.0055)) {
                canvas.fill({s, y, std::max(1.0, h * 0.0018), h * 0.014}, {60, 64, 72});
            }
            x += word + w * 0.008;
        }
    }
    return desktop;
}

void drawMoment(imaging::BgraPremultipliedBuffer& picture, const std::vector<model::PointerSample>& presses, int index,
                bool flash) {
    Canvas canvas(picture);
    const double w = picture.width();
    const double h = picture.height();
    const double t = static_cast<double>(index) / kFrameRate;
    for (const model::PointerSample& press : presses) {
        // Each click has a button that shows when it was hit.
        if (t < press.t - 3 || t > press.t + 1.5) continue;
        const Rect button{press.px - h * 0.06, press.py - h * 0.022, h * 0.12, h * 0.044};
        canvas.fill(button.grownBy(h * 0.003), {24, 90, 190});
        canvas.fill(button, t < press.t ? Colour{52, 130, 246} : Colour{36, 168, 96});
        canvas.fill({button.x + h * 0.02, button.midY() - h * 0.004, h * 0.08, h * 0.008}, {255, 255, 255});
    }
    canvas.disc({w * (0.5 + 0.4 * std::sin(t)), h * 0.95}, h * 0.025, {240, 180, 60});
    canvas.fill({0, h * 0.92, h * 0.3, h * 0.08}, {20, 22, 26});
    canvas.number({h * 0.015, h * 0.935}, h * 0.05, index, 6, {240, 240, 240});
    if (flash) canvas.fill({0, 0, h * 0.1, h * 0.1}, {255, 255, 255});
}

std::vector<float> beepSound(double from, std::size_t frames, int channels, double hertz) {
    std::vector<float> values(frames * static_cast<std::size_t>(channels));
    for (std::size_t i = 0; i < frames; ++i) {
        const double t = from + static_cast<double>(i) / kSampleRate;
        const double since = std::fmod(t, kFlashEvery);
        // The first flash comes after two seconds.
        const bool beeps = t >= kFlashEvery && since < kBeepSeconds;
        const auto value = static_cast<float>(beeps ? 0.4 * std::sin(2 * std::numbers::pi * hertz * since) : 0);
        for (int c = 0; c < channels; ++c)
            values[i * static_cast<std::size_t>(channels) + static_cast<std::size_t>(c)] = value;
    }
    return values;
}

// Feeds an input on a queue of its own: `step` appends one sample and says whether more follow.
class Feed {
  public:
    Feed(const std::string& label, media::WriterInput& input, std::function<bool()> step)
        : queue_(label), input_(input), step_(std::move(step)) {}

    void start() {
        input_.requestMediaDataWhenReady(queue_, [this] {
            while (!ended_ && input_.isReadyForMoreMediaData()) {
                if (step_()) continue;
                ended_ = true;
                input_.markAsFinished();
                done_.set_value();
            }
        });
    }
    void wait() { done_.get_future().wait(); }

  private:
    SerialQueue queue_;
    media::WriterInput& input_;
    std::function<bool()> step_;
    bool ended_ = false;
    std::promise<void> done_;
};

void throwIfFailed(bool good, const media::AssetWriter& writer) {
    if (good) return;
    throw writer.error().value_or(RecorderError("Der Beispielfilm konnte nicht geschrieben werden."));
}

// Sound and pictures are fed side by side until all of it is written.
void writeMovie(media::AssetWriter& writer, std::vector<std::unique_ptr<Feed>>& feeds) {
    throwIfFailed(writer.startWriting(), writer);
    writer.startSession(MediaTime{0, 600});
    for (auto& feed : feeds) feed->start();
    for (auto& feed : feeds) feed->wait();
    throwIfFailed(writer.finishWriting(), writer);
}

media::VideoWriterInput& addPictures(media::AssetWriter& writer, int width, int height) {
    media::VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.averageBitRate = static_cast<std::int64_t>(width) * height * 4;
    settings.frameRate = kFrameRate;
    settings.maxKeyFrameInterval = 2 * kFrameRate;
    settings.preset = "ultrafast";
    return writer.addVideoInput(settings);
}

}  // namespace

void makeSourceMovie(const std::filesystem::path& folder, const model::CaptureInfo& info,
                     const model::PointerTrack& track) {
    const auto width = static_cast<int>(info.pixelWidth);
    const auto height = static_cast<int>(info.pixelHeight);
    std::vector<model::PointerSample> presses;
    std::copy_if(track.events.begin(), track.events.end(), std::back_inserter(presses),
                 [](const model::PointerSample& each) { return each.kind == model::PointerKind::down; });
    const imaging::BgraPremultipliedBuffer desktop = drawDesktop(width, height);
    const int pictures = static_cast<int>(info.duration * kFrameRate) + 1;

    media::AssetWriter writer(folder / "source.mov", media::MovieContainer::quickTime);
    std::vector<std::unique_ptr<Feed>> feeds;
    media::VideoWriterInput& video = addPictures(writer, width, height);
    feeds.push_back(std::make_unique<Feed>("sample.video", video, [&, index = 0]() mutable {
        if (index == pictures) return false;
        auto picture = video.pool().makeBgra();
        for (int y = 0; y < height; ++y)
            std::copy_n(desktop.row(y), static_cast<std::size_t>(width) * 4, picture->row(y));
        const bool flash = index > 0 && index % static_cast<int>(kFlashEvery * kFrameRate) == 0;
        drawMoment(*picture, presses, index, flash);
        return video.append(std::move(picture), MediaTime{index++ * (600 / kFrameRate), 600});
    }));
    const auto addSound = [&](const std::string& label, int channels, double hertz) {
        media::AudioSettings settings;
        settings.channels = channels;
        settings.bitRate = 96000 * channels;
        media::AudioWriterInput& input = writer.addAudioInput(settings);
        const auto frames = static_cast<std::int64_t>(info.duration * kSampleRate);
        feeds.push_back(
            std::make_unique<Feed>(label, input, [&input, channels, hertz, frames, at = std::int64_t{0}]() mutable {
                const std::int64_t count = std::min<std::int64_t>(4800, frames - at);
                if (count <= 0) return false;
                media::PcmSample sample;
                sample.presentationTime = {at, kSampleRate};
                sample.format = {kSampleRate, channels};
                sample.values =
                    beepSound(static_cast<double>(at) / kSampleRate, static_cast<std::size_t>(count), channels, hertz);
                at += count;
                return input.append(std::move(sample));
            }));
    };
    if (info.systemAudio) addSound("sample.system", 2, 1000);
    if (info.microphone) addSound("sample.microphone", 1, 660);
    writeMovie(writer, feeds);
}

void makeWebcamMovie(const std::filesystem::path& folder, double seconds) {
    constexpr int kWidth = 640;
    constexpr int kHeight = 480;
    media::AssetWriter writer(folder / "webcam.mov", media::MovieContainer::quickTime);
    media::VideoWriterInput& video = addPictures(writer, kWidth, kHeight);
    std::vector<std::unique_ptr<Feed>> feeds;
    feeds.push_back(std::make_unique<Feed>("sample.webcam", video, [&, index = 0]() mutable {
        if (index >= seconds * kFrameRate) return false;
        auto picture = video.pool().makeBgra();
        Canvas canvas(*picture);
        const double t = static_cast<double>(index) / kFrameRate;
        const double nod = 14 * std::sin(t * 2);
        canvas.fill({0, 0, kWidth, kHeight}, {196, 206, 214});
        canvas.disc({320, 470 + nod * 0.3}, 170, {60, 80, 120});
        canvas.disc({320, 220 + nod}, 110, {232, 190, 160});
        canvas.disc({282, 200 + nod}, 12, {50, 40, 40});
        canvas.disc({358, 200 + nod}, 12, {50, 40, 40});
        canvas.fill({280, 262 + nod, 80, 10}, {170, 80, 80});
        return video.append(std::move(picture), MediaTime{index++ * (600 / kFrameRate), 600});
    }));
    writeMovie(writer, feeds);
}

}  // namespace lumivastor

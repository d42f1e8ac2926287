// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/libav_session.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "base/host_clock.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "ffmpeg/picture_to_bgra.h"
#include "platform/devices/device_sound.h"
#include "platform/pictures/device_clock.h"
#include "platform/sound/clock_drift_corrector.h"

namespace lumivastor::devices {
namespace {

// How long to wait before reading a V4L2 device again that had no picture: a tenth of a picture late at most, and
// almost free.
constexpr double kBetweenQuestions = 0.003;
// Some cameras take seconds until their first picture. One that is silent for longer counts as gone.
constexpr double kSilence = 8;

}  // namespace

/// One run of the device. The session's thread.
class LibavSession::Reading {
  public:
    Reading(platform::DeviceOutputs& outputs, bool isExternal)
        : outputs_(outputs),
          toBgra_(isExternal),
          corrector_(soundOptions(), [&outputs](platform::SoundBuffer buffer) { outputs.deliver(std::move(buffer)); }) {
    }

    /// When a sample with this stamp was taken.
    double hostSeconds(std::optional<double> stamp) { return clock_.hostSeconds(stamp, platform::ClockReading::now()); }
    platform::DeviceClock& clock() { return clock_; }

    void take(LibavInput::Kind kind, const AVFrame& frame, double hostSeconds) {
        if (kind == LibavInput::Kind::picture) {
            if (!outputs_.hasVideo()) return;
            if (auto image = toBgra_.convert(ffmpeg::pictureIn(frame)))
                outputs_.deliver({hostSeconds, std::move(image)});
        } else if (outputs_.hasAudio()) {
            takeSound(frame, hostSeconds);
        }
    }
    void finish() { corrector_.finish(); }

  private:
    static platform::ClockDriftCorrector::Options soundOptions() {
        platform::ClockDriftCorrector::Options options;
        options.sampleRate = DeviceSound::kSampleRate;
        options.channels = DeviceSound::kChannels;
        // The stamps are the device's own, or paced by this thread.
        options.jitterSeconds = 0.001;
        options.settleSeconds = 0;
        return options;
    }

    void takeSound(const AVFrame& frame, double hostSeconds) {
        const double late = sound_.delay();
        const std::vector<float> values = sound_.convert(frame);
        corrector_.add(soundFrame_, hostSeconds - late, values);
        soundFrame_ += static_cast<std::int64_t>(values.size()) / DeviceSound::kChannels;
    }

    platform::DeviceOutputs& outputs_;
    platform::DeviceClock clock_;
    ffmpeg::PictureToBgra toBgra_;
    DeviceSound sound_;
    platform::ClockDriftCorrector corrector_;
    std::int64_t soundFrame_ = 0;
};

LibavSession::LibavSession(Configuration configuration) : configuration_(std::move(configuration)) {}

LibavSession::~LibavSession() {
    stopRunning();
}

bool LibavSession::canSetPreset(PixelSize size) const {
    const auto& presets = configuration_.presets;
    return std::find(presets.begin(), presets.end(), size) != presets.end();
}

void LibavSession::setPreset(PixelSize size) {
    precondition(canSetPreset(size), "a preset that the device has");
    preset_ = size;
}

PixelSize LibavSession::activeFormat() const {
    return configuration_.activeFormat;
}

bool LibavSession::addVideoOutput(SerialQueue& queue, bool discardsLate,
                                  std::function<void(const platform::DeviceSample&)> handler) {
    if (configuration_.activeFormat.width == 0) return false;
    outputs_.setVideo(queue, discardsLate, std::move(handler));
    return true;
}

bool LibavSession::addAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) {
    if (!configuration_.hasSound) return false;
    outputs_.setAudio(queue, std::move(handler));
    return true;
}

void LibavSession::onInterruption(std::function<void(const std::string&)> handler) {
    interrupted_ = std::move(handler);
}

void LibavSession::startRunning() {
    precondition(!thread_.joinable(), "a session runs once");
    thread_ = std::thread([this] {
        nameThisThread("device.read");
        std::string trouble;
        try {
            read();
        } catch (const RecorderError& error) {
            trouble = error.message();
        }
        if (!trouble.empty() && interrupted_) interrupted_(trouble);
    });
}

void LibavSession::stopRunning() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard hold(lock_);
        stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
}

bool LibavSession::waitUntil(double hostSeconds) {
    std::unique_lock hold(lock_);
    const std::chrono::duration<double> left(hostSeconds - hostClockSeconds());
    wake_.wait_for(hold, std::max(left, std::chrono::duration<double>(0)), [this] { return stopping_; });
    return !stopping_;
}

void LibavSession::read() {
    std::unique_ptr<LibavInput> input = std::move(configuration_.open);
    if (!input || (preset_ && !(input->size() == *preset_))) {
        input.reset();
        input = std::make_unique<LibavInput>(configuration_.source(preset_));
    }
    Reading reading(outputs_, configuration_.isExternal);
    double heardOf = hostClockSeconds();
    std::optional<double> start;  // of a paced device's clock, on the host's
    while (waitUntil(0)) {
        const LibavInput::Kind kind = input->read();
        if (kind == LibavInput::Kind::end) {
            reading.finish();
            throw RecorderError("Das Gerät „" + configuration_.name + "“ wurde getrennt.");
        }
        const double now = hostClockSeconds();
        if (kind == LibavInput::Kind::nothingYet) {
            if (now > heardOf + kSilence) {
                reading.finish();
                throw RecorderError("Das Gerät „" + configuration_.name + "“ liefert nichts mehr.");
            }
            if (!waitUntil(now + kBetweenQuestions)) break;
            continue;
        }
        heardOf = now;
        double taken = 0;
        if (configuration_.needsPacing) {
            const double stamp = input->stamp().value_or(0);
            if (!start) start = now - stamp;
            taken = *start + stamp;
            if (!waitUntil(taken)) break;
        } else {
            taken = reading.hostSeconds(input->stamp());
        }
        reading.take(kind, input->frame(), taken);
    }
    reading.finish();
}

}  // namespace lumivastor::devices

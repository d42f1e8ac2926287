// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_audio_input_stream.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "base/host_clock.h"
#include "base/recorder_error.h"

namespace lumivastor::pulse {
namespace {

constexpr double kConnectSeconds = 3;
// How much sound comes at once. Small enough for a level meter, large enough to cost nothing.
constexpr double kFragmentSeconds = 0.02;
// The same where only the level matters, which is shown 25 times a second.
constexpr double kLevelSeconds = 0.04;

}  // namespace

PulseAudioInputStream::PulseAudioInputStream(const std::string& server, Kind kind, platform::InputChoice choice,
                                             int sampleRate, int channels, platform::ClockDriftCorrector& corrector)
    : connection_(server, kConnectSeconds),
      kind_(kind),
      choice_(std::move(choice)),
      sampleRate_(sampleRate),
      channels_(channels),
      corrector_(corrector) {
    isPipeWire_ = connection_.server().isPipeWire;
    connection_.watchServer([this] { sourcesMayHaveChanged_ = true; });
    device_ = wantedDevice();
    connect();
    updateState();
}

PulseAudioInputStream::~PulseAudioInputStream() = default;

std::string PulseAudioInputStream::wantedDevice() {
    const PulseConnection::Server server = connection_.server();
    if (kind_ == Kind::systemAudio) {
        // By its name: PipeWire 0.3.65 takes @DEFAULT_MONITOR@ for the microphone.
        const auto monitor = server.defaultSink.empty() ? std::nullopt : connection_.monitor(server.defaultSink);
        if (!monitor) throw RecorderError("Es gibt keine Tonausgabe, die aufgenommen werden könnte.");
        return *monitor;
    }
    if (!choice_.id.empty()) {
        const auto chosen = connection_.source(choice_.id);
        if (chosen) return chosen->name;
        if (choice_.only) throw RecorderError("Der Toneingang ist nicht mehr angeschlossen.");
    }
    const auto source = server.defaultSource.empty() ? std::nullopt : connection_.source(server.defaultSource);
    // Without a microphone the server's default source is a monitor.
    if (!source || source->isMonitor) throw RecorderError("Kein Mikrofon gefunden.");
    return source->name;
}

void PulseAudioInputStream::connect() {
    const char* const name = kind_ == Kind::systemAudio ? "Systemton" : "Mikrofon";
    stream_ = makeStream(connection_.context(), name, sampleRate_, channels_);
    if (!stream_) throw RecorderError("Der Ton kann nicht aufgenommen werden.");

    // Another device, or one that slept: latencies are other ones from here on.
    const auto begunAnew = [](pa_stream*, void* data) {
        auto& self = *static_cast<PulseAudioInputStream*>(data);
        self.corrector_.restart();
        self.sourcesMayHaveChanged_ = true;
    };
    pa_stream_set_moved_callback(stream_.get(), begunAnew, this);
    pa_stream_set_suspended_callback(stream_.get(), begunAnew, this);

    pa_buffer_attr attributes{};
    attributes.maxlength = UINT32_MAX;
    const auto frameBytes = static_cast<std::uint32_t>(channels_) * static_cast<std::uint32_t>(sizeof(float));
    const double fragment = corrector_.needsTimes() ? kFragmentSeconds : kLevelSeconds;
    attributes.fragsize = static_cast<std::uint32_t>(fragment * sampleRate_) * frameBytes;
    const bool asked =
        pa_stream_connect_record(stream_.get(), device_.c_str(), &attributes, PA_STREAM_ADJUST_LATENCY) >= 0;
    const bool ready = asked && connection_.runUntil(
                                    [this] {
                                        const pa_stream_state_t state = pa_stream_get_state(stream_.get());
                                        return state == PA_STREAM_READY || PA_STREAM_IS_GOOD(state) == 0;
                                    },
                                    kConnectSeconds);
    if (!ready || pa_stream_get_state(stream_.get()) != PA_STREAM_READY) {
        throw RecorderError("Der Ton kann nicht aufgenommen werden.");
    }
    if (isPipeWire_) return;
    askForTiming();
    if (!connection_.runUntil([this] { return timing_.has_value(); }, kConnectSeconds)) {
        throw RecorderError("Der Tonserver antwortet nicht.");
    }
}

void PulseAudioInputStream::askForTiming() {
    if (question_) return;
    const auto answered = [](pa_stream*, int, void* data) { static_cast<PulseAudioInputStream*>(data)->takeTiming(); };
    question_.reset(pa_stream_update_timing_info(stream_.get(), answered, this));
}

void PulseAudioInputStream::takeTiming() {
    question_.reset();
    const pa_timing_info* const info = pa_stream_get_timing_info(stream_.get());
    if (info == nullptr || info->write_index_corrupt != 0) return;
    const auto seconds = [](pa_usec_t microseconds) { return static_cast<double>(microseconds) * 1e-6; };
    const std::int64_t bytes = info->write_index;
    Timing timing;
    timing.frame = bytes / static_cast<std::int64_t>(sizeof(float)) / channels_;
    // A microphone's sound was heard the source's latency ago; a monitor's sound will be heard after the sink's
    // latency. A monitor also holds back, unreported, what the sink may still rewind: nothing for sinks that cannot
    // rewind, up to their latency for others. Half of that is the best guess, right for a null sink and at most 10 ms
    // off elsewhere.
    const double ahead = seconds(info->sink_usec);
    const double heldBack = std::min(ahead, kFragmentSeconds) / 2;
    timing.hostSeconds =
        hostClockSeconds() - seconds(info->transport_usec) - seconds(info->source_usec) + ahead - heldBack;
    timing_ = timing;
}

platform::AudioInputStream::State PulseAudioInputStream::run(double seconds) {
    connection_.run(seconds);
    if (!connection_.isAlive() || PA_STREAM_IS_GOOD(pa_stream_get_state(stream_.get())) == 0) return State::gone;
    read();
    if (!std::exchange(sourcesMayHaveChanged_, false)) return State::running;
    if (!isFollowing()) return State::changed;
    updateState();
    return State::running;
}

void PulseAudioInputStream::updateState() {
    if (kind_ != Kind::microphone) return;
    const char* const present = pa_stream_get_device_name(stream_.get());
    if (present == nullptr) return;
    try {
        if (const auto source = connection_.source(present)) {
            state_ = {source->name, source->description, source->isMuted, source->isMonitor};
        }
    } catch (const RecorderError&) {
        // The server is about to go, which the next `run` finds out.
    }
}

bool PulseAudioInputStream::isFollowing() {
    try {
        return wantedDevice() == device_;
    } catch (const RecorderError&) {
        // There is no default device any more. The present stream continues as long as it lives.
        return true;
    }
}

double PulseAudioInputStream::heardAt(std::int64_t frame, std::int64_t waitingFrames) const {
    // Behind PipeWire the latency that is told wanders by 20 ms; there, what arrives was heard up to now.
    if (!timing_) return hostClockSeconds() - static_cast<double>(waitingFrames) / sampleRate_;
    return timing_->hostSeconds + static_cast<double>(frame - timing_->frame) / sampleRate_;
}

void PulseAudioInputStream::read() {
    const std::size_t frameBytes = sizeof(float) * static_cast<std::size_t>(channels_);
    bool hasRead = false;
    for (;;) {
        const std::size_t waiting = pa_stream_readable_size(stream_.get());
        if (waiting == 0 || waiting == static_cast<std::size_t>(-1)) break;
        const double heard = heardAt(frame_, static_cast<std::int64_t>(waiting / frameBytes));
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream_.get(), &data, &bytes) < 0 || bytes == 0) break;
        // A fragment without data is a hole: time without sound, which the frame count includes.
        if (data != nullptr) {
            corrector_.add(frame_, heard, std::span(static_cast<const float*>(data), bytes / sizeof(float)));
        }
        frame_ += static_cast<std::int64_t>(bytes / frameBytes);
        pa_stream_drop(stream_.get());
        hasRead = true;
    }
    if (hasRead && !isPipeWire_ && corrector_.needsTimes()) askForTiming();
}

}  // namespace lumivastor::pulse

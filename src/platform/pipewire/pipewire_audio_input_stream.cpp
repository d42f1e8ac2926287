// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_audio_input_stream.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "platform/pipewire/sound_ring.h"

namespace lumivastor::pipewire {
namespace {

constexpr double kConnectSeconds = 3;
// A stream without a device waits for one; after this many seconds it counts as gone.
constexpr double kPatience = 2;
// Room for what the realtime thread is ahead: this thread takes its sound at least 30 times a second.
constexpr int kRingSeconds = 2;

}  // namespace

bool isMicrophone(const PipeWireConnection::Node& node) {
    return node.mediaClass == "Audio/Source" || node.mediaClass == "Audio/Source/Virtual" ||
           node.mediaClass == "Audio/Duplex";
}

std::optional<PipeWireConnection::Node> defaultMicrophone(const PipeWireConnection& connection) {
    const auto name = connection.defaultName("audio.source");
    if (!name) return std::nullopt;
    auto node = connection.node(*name);
    if (!node || !isMicrophone(*node)) return std::nullopt;
    return node;
}

std::optional<PipeWireConnection::Node> chosenMicrophone(const PipeWireConnection& connection,
                                                         const platform::InputChoice& choice) {
    if (!choice.id.empty()) {
        if (auto node = connection.node(choice.id)) return node;
        if (choice.only) return std::nullopt;
    }
    return defaultMicrophone(connection);
}

int microphoneChannels(const PipeWireConnection::Node& node) {
    return std::clamp(node.outputPorts, 1, 2);
}

/// The stream and what it shares with the library's data thread.
class PipeWireAudioInputStream::Stream {
  public:
    /// `latency` is the sink's; null for a microphone, of which `choice` is.
    Stream(PipeWireConnection& connection, const SinkLatency* latency, const platform::InputChoice& choice,
           int sampleRate, int channels, platform::ClockDriftCorrector& corrector)
        : latency_(latency),
          sampleRate_(sampleRate),
          channels_(channels),
          corrector_(corrector),
          ring_(static_cast<std::size_t>(kRingSeconds * sampleRate * channels)) {
        const bool isMicrophone = latency == nullptr;
        pw_properties* const properties =
            pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE,
                              "Production", PW_KEY_APP_NAME, "LumiVastor", PW_KEY_NODE_NAME, "lumivastor", nullptr);
        if (!isMicrophone) pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "true");
        // The session manager connects the default while the chosen device is away, unless only that will do.
        if (!choice.id.empty()) pw_properties_set(properties, "target.object", choice.id.c_str());
        if (choice.only) pw_properties_set(properties, "node.dont-fallback", "true");
        stream_ = pw_stream_new(connection.core(), isMicrophone ? "Mikrofon" : "Systemton", properties);
        if (stream_ == nullptr) throw RecorderError("Der Ton kann nicht aufgenommen werden.");
        listen();
        connect();
    }
    ~Stream() { pw_stream_destroy(stream_); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// The stream's own node.
    std::uint32_t node() const { return pw_stream_get_node_id(stream_); }
    bool isStreaming() const { return isStreaming_; }
    bool isBroken() const { return isBroken_; }
    /// Since when nothing flows; only while it does not.
    double pausedSince() const { return pausedSince_; }

    void handOver() {
        ring_.takeAll([this](std::int64_t frame, double hostSeconds, std::span<const float> values) {
            corrector_.add(frame, hostSeconds, values);
        });
    }

  private:
    void listen() {
        static constexpr pw_stream_events kEvents = [] {
            pw_stream_events events{};
            events.version = PW_VERSION_STREAM_EVENTS;
            events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
                static_cast<Stream*>(data)->takeState(state);
            };
            events.process = [](void* data) { static_cast<Stream*>(data)->process(); };
            return events;
        }();
        pw_stream_add_listener(stream_, &hook_, &kEvents, this);
    }

    void connect() {
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = static_cast<std::uint32_t>(sampleRate_);
        format.channels = static_cast<std::uint32_t>(channels_);
        format.position[0] = channels_ == 1 ? SPA_AUDIO_CHANNEL_MONO : SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        std::array<const spa_pod*, 1> formats{spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
        // On the data thread, because only there the stream's time belongs to the current buffer.
        const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS);
        if (pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, formats.data(), 1) < 0) {
            pw_stream_destroy(stream_);
            throw RecorderError("Der Ton kann nicht aufgenommen werden.");
        }
    }

    void takeState(pw_stream_state state) {
        isBroken_ = state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED;
        const bool wasStreaming = isStreaming_;
        isStreaming_ = state == PW_STREAM_STATE_STREAMING;
        if (!wasStreaming || isStreaming_) return;
        // The next sound may come from another device.
        pausedSince_ = hostClockSeconds();
        handOver();
        corrector_.restart();
    }

    // On the data thread.
    void process() {
        while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_)) {
            take(buffer->buffer->datas[0]);
            pw_stream_queue_buffer(stream_, buffer);
        }
    }

    void take(const spa_data& data) {
        if (data.data == nullptr || data.chunk->offset > data.maxsize) return;
        const std::size_t bytes = std::min(data.chunk->size, data.maxsize - data.chunk->offset);
        const std::size_t frames = bytes / sizeof(float) / static_cast<std::size_t>(channels_);
        const auto* const start = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset;
        if (frames == 0) return;
        pw_time time{};
        if (pw_stream_get_time_n(stream_, &time, sizeof time) < 0 || time.rate.denom == 0) return;
        // The cycle began at `now`. A microphone's first frame was heard earlier, by the device's delay; a sink's
        // monitor delivers what its speakers will play. Some frames are still in the resampler.
        const double cycle = static_cast<double>(frames) / sampleRate_;
        const double delay = static_cast<double>(time.delay) * time.rate.num / time.rate.denom;
        const double heard = static_cast<double>(time.now) * 1e-9 +
                             (latency_ != nullptr ? latency_->seconds(cycle) : -delay) -
                             static_cast<double>(time.buffered) / sampleRate_;
        // A full ring drops the sound, but the frame count goes on, which shows as a gap.
        static_cast<void>(
            ring_.put(frame_, heard,
                      std::span(reinterpret_cast<const float*>(start), frames * static_cast<std::size_t>(channels_))));
        frame_ += static_cast<std::int64_t>(frames);
    }

    const SinkLatency* latency_;
    int sampleRate_;
    int channels_;
    platform::ClockDriftCorrector& corrector_;
    SoundRing ring_;
    std::int64_t frame_ = 0;  // the data thread's
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    bool isStreaming_ = false;
    bool isBroken_ = false;
    double pausedSince_ = hostClockSeconds();
};

PipeWireAudioInputStream::PipeWireAudioInputStream(const std::string& remote, Kind kind,
                                                   const platform::InputChoice& choice, int sampleRate, int channels,
                                                   platform::ClockDriftCorrector& corrector)
    : connection_(remote, kConnectSeconds), choice_(choice) {
    if (const auto chosen = connection_.node(choice_.id)) chosenSerial_ = chosen->serial;
    if (kind == Kind::microphone && !chosenMicrophone(connection_, choice)) {
        throw RecorderError(choice.only ? "Der Toneingang ist nicht mehr angeschlossen." : "Kein Mikrofon gefunden.");
    }
    if (kind == Kind::systemAudio && !connection_.defaultName("audio.sink")) {
        throw RecorderError("Es gibt keine Tonausgabe, die aufgenommen werden könnte.");
    }
    if (kind == Kind::systemAudio) latency_ = std::make_unique<SinkLatency>(connection_);
    if (kind == Kind::microphone) mute_ = std::make_unique<SourceMute>(connection_);
    stream_ = std::make_unique<Stream>(connection_, latency_.get(), choice, sampleRate, channels, corrector);
    const bool flows =
        connection_.runUntil([this] { return stream_->isStreaming() || stream_->isBroken(); }, kConnectSeconds);
    if (!flows || stream_->isBroken()) throw RecorderError("Der Ton kann nicht aufgenommen werden.");
}

PipeWireAudioInputStream::~PipeWireAudioInputStream() = default;

platform::AudioInputStream::State PipeWireAudioInputStream::run(double seconds) {
    connection_.run(seconds);
    if (latency_) latency_->update();
    stream_->handOver();
    if (!connection_.isAlive() || stream_->isBroken()) return State::gone;
    const bool flows = stream_->isStreaming() || hostClockSeconds() < stream_->pausedSince() + kPatience;
    if (!flows) return State::gone;
    return hasChosenCome() ? State::changed : State::running;
}

bool PipeWireAudioInputStream::hasChosenCome() const {
    if (choice_.id.empty()) return false;
    const auto chosen = connection_.node(choice_.id);
    // Its ports come after it; without them nothing can be connected.
    if (!chosen || chosen->outputPorts == 0 || chosen->serial == chosenSerial_) return false;
    const auto source = connection_.sourceOf(stream_->node());
    return !source || source->serial != chosen->serial;
}

std::optional<platform::InputState> PipeWireAudioInputStream::state() {
    if (!mute_) return std::nullopt;
    const auto source = connection_.sourceOf(stream_->node());
    if (!source) return std::nullopt;
    mute_->watch(source->id);
    return platform::InputState{source->name, source->description, mute_->isMuted(), !isMicrophone(*source)};
}

}  // namespace lumivastor::pipewire

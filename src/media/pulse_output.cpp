#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "base/host_clock.h"
#include "media/smooth_clock.h"
#include "media/sound_output.h"

namespace lumivastor {

namespace {

constexpr int kRate = SoundOutput::kFormat.sampleRate;
constexpr auto kFrameBytes = static_cast<std::uint32_t>(sizeof(float) * SoundOutput::kFormat.channels);

// What the server is given ahead, and how much of it it asks for at once. Less makes changes of volume be heard
// sooner, and a busy machine stutter.
constexpr std::uint32_t kBufferFrames = kRate / 20;
constexpr std::uint32_t kRequestFrames = kRate / 100;

// A server answers within milliseconds; one that is stopped never does.
constexpr double kConnectSeconds = 1;
// A server that plays asks for more a hundred times a second.
constexpr double kSilentSeconds = 2;
constexpr double kWatchSeconds = 0.25;

struct LoopDelete {
    void operator()(pa_threaded_mainloop* loop) const {
        pa_threaded_mainloop_stop(loop);
        pa_threaded_mainloop_free(loop);
    }
};

struct ContextDelete {
    void operator()(pa_context* context) const {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
};

struct StreamDelete {
    void operator()(pa_stream* stream) const {
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_set_write_callback(stream, nullptr, nullptr);
        pa_stream_disconnect(stream);
        pa_stream_unref(stream);
    }
};

// Holds the loop: its thread runs no callback meanwhile. Not on that thread.
class Hold {
  public:
    explicit Hold(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
    ~Hold() { pa_threaded_mainloop_unlock(loop_); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

  private:
    pa_threaded_mainloop* const loop_;
};

// The connection stays from run to run; each run is a stream of its own, so that stopping drops what was not heard.
// Everything behind `loop_` is touched only while it is held, or on its thread.
class PulseOutput final : public SoundOutput {
  public:
    explicit PulseOutput(std::string server) : server_(std::move(server)), loop_(pa_threaded_mainloop_new()) {
        pa_threaded_mainloop_set_name(loop_.get(), "player.pulse");
        pa_threaded_mainloop_start(loop_.get());
    }
    ~PulseOutput() override {
        const Hold hold(loop_.get());
        endRun();
        context_.reset();
    }
    PulseOutput(const PulseOutput&) = delete;
    PulseOutput& operator=(const PulseOutput&) = delete;

    void start(Client client) override {
        const Hold hold(loop_.get());
        client_ = std::move(client);
        isRunning_ = true;
        written_ = 0;
        heard_ = 0;
        clock_ = {};
        begun_ = hostClockSeconds();
        if (context_ && pa_context_get_state(context_.get()) == PA_CONTEXT_READY) {
            openStream();
        } else {
            connect();
        }
        watch();
    }

    void stop() override {
        const Hold hold(loop_.get());
        if (isRunning_) heard_ = heardNow();
        endRun();
    }

    std::int64_t heardFrames() const override {
        const Hold hold(loop_.get());
        heard_ = heardNow();
        return heard_;
    }

  private:
    void connect() {
        context_.reset(pa_context_new(pa_threaded_mainloop_get_api(loop_.get()), "LumiVastor"));
        pa_context_set_state_callback(
            context_.get(), [](pa_context*, void* self) { static_cast<PulseOutput*>(self)->contextChanged(); }, this);
        // Starting a server behind the user's back is not a player's business.
        const char* const server = server_.empty() ? nullptr : server_.c_str();
        if (pa_context_connect(context_.get(), server, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            lose("Kein Tonserver gefunden.");
        }
    }

    void contextChanged() {
        const pa_context_state_t state = pa_context_get_state(context_.get());
        if (state == PA_CONTEXT_READY && isRunning_ && !stream_) openStream();
        if (PA_CONTEXT_IS_GOOD(state) == 0) {
            lose(stream_ ? "Der Tonserver ist nicht mehr da." : "Kein Tonserver gefunden.");
        }
    }

    void openStream() {
        pa_sample_spec format{};
        format.format = PA_SAMPLE_FLOAT32NE;
        format.rate = kRate;
        format.channels = kFormat.channels;
        stream_.reset(pa_stream_new(context_.get(), "Vorschau", &format, nullptr));
        if (!stream_) return lose(kUnplayable);
        pa_stream_set_state_callback(
            stream_.get(), [](pa_stream*, void* self) { static_cast<PulseOutput*>(self)->streamChanged(); }, this);
        pa_stream_set_write_callback(
            stream_.get(),
            [](pa_stream*, std::size_t bytes, void* self) { static_cast<PulseOutput*>(self)->write(bytes); }, this);
        constexpr auto kUnset = static_cast<std::uint32_t>(-1);
        const pa_buffer_attr buffer{kUnset, kBufferFrames * kFrameBytes, kUnset, kRequestFrames * kFrameBytes, kUnset};
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_INTERPOLATE_TIMING |
                                                          PA_STREAM_AUTO_TIMING_UPDATE);
        if (pa_stream_connect_playback(stream_.get(), nullptr, &buffer, flags, nullptr, nullptr) < 0) {
            lose(kUnplayable);
        }
    }

    void streamChanged() {
        if (PA_STREAM_IS_GOOD(pa_stream_get_state(stream_.get())) == 0) lose(kUnplayable);
    }

    void write(std::size_t bytes) {
        lastWrite_ = hostClockSeconds();
        while (bytes >= kFrameBytes) {
            void* data = nullptr;
            std::size_t room = bytes;
            if (pa_stream_begin_write(stream_.get(), &data, &room) < 0 || data == nullptr) return;
            room = std::min(room, bytes) / kFrameBytes * kFrameBytes;
            if (room == 0) {
                pa_stream_cancel_write(stream_.get());
                return;
            }
            client_.fill(std::span(static_cast<float*>(data), room / sizeof(float)));
            if (pa_stream_write(stream_.get(), data, room, nullptr, 0, PA_SEEK_RELATIVE) < 0) return;
            written_ += static_cast<std::int64_t>(room / kFrameBytes);
            bytes -= room;
        }
    }

    std::int64_t heardNow() const {
        pa_usec_t latency = 0;
        int isNegative = 0;
        if (!stream_ || written_ == 0 || pa_stream_get_latency(stream_.get(), &latency, &isNegative) < 0) return heard_;
        const double ahead = isNegative != 0 ? 0 : static_cast<double>(latency) * 1e-6;
        const double device = static_cast<double>(written_) / kRate - ahead;
        const double heard = clock_.at(hostClockSeconds(), std::max(device, 0.0));
        return std::clamp(static_cast<std::int64_t>(heard * kRate), heard_, written_);
    }

    // Looks after the run from time to time: whether anybody answers.
    void watch() {
        if (!isRunning_) return;
        const pa_usec_t next = pa_rtclock_now() + static_cast<pa_usec_t>(kWatchSeconds * 1e6);
        if (watch_ != nullptr) {
            pa_context_rttime_restart(context_.get(), watch_, next);
            return;
        }
        watch_ = pa_context_rttime_new(
            context_.get(), next,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
                static_cast<PulseOutput*>(self)->lookAfter();
            },
            this);
    }

    void lookAfter() {
        const double now = hostClockSeconds();
        if (written_ == 0 && now - begun_ > kConnectSeconds) return lose("Der Tonserver antwortet nicht.");
        if (written_ > 0 && now - lastWrite_ > kSilentSeconds) return lose("Der Tonserver antwortet nicht mehr.");
        watch();
    }

    void endWatch() {
        if (watch_ == nullptr) return;
        pa_threaded_mainloop_get_api(loop_.get())->time_free(watch_);
        watch_ = nullptr;
    }

    void lose(const char* reason) {
        if (!isRunning_) {
            context_.reset();
            return;
        }
        heard_ = heardNow();
        const Client client = std::exchange(client_, {});
        endRun();
        context_.reset();
        client.lost(RecorderError(reason));
    }

    void endRun() {
        isRunning_ = false;
        stream_.reset();
        client_ = {};
        endWatch();
    }

    static constexpr const char* kUnplayable = "Der Tonserver nimmt keinen Ton an.";

    const std::string server_;
    const std::unique_ptr<pa_threaded_mainloop, LoopDelete> loop_;
    std::unique_ptr<pa_context, ContextDelete> context_;  // null: not connected
    std::unique_ptr<pa_stream, StreamDelete> stream_;     // null: not playing
    pa_time_event* watch_ = nullptr;                      // while running
    Client client_;
    bool isRunning_ = false;
    double begun_ = 0;      // host seconds
    double lastWrite_ = 0;  // host seconds
    std::int64_t written_ = 0;
    mutable SmoothClock clock_;
    mutable std::int64_t heard_ = 0;
};

}  // namespace

std::unique_ptr<SoundOutput> makePulseOutput(std::string server) {
    return std::make_unique<PulseOutput>(std::move(server));
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_output.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "platform/pulse/pulse_handles.h"
#include "platform/sound/smooth_clock.h"

namespace lumivastor::pulse {

namespace {

constexpr int kRate = platform::SoundOutput::kFormat.sampleRate;
constexpr auto kFrameBytes = static_cast<std::uint32_t>(sizeof(float) * platform::SoundOutput::kFormat.channels);

// How much sound the server buffers, and how much it requests at once. Less makes changes of volume audible sooner, but
// a busy machine stutters.
constexpr std::uint32_t kBufferFrames = kRate / 20;
constexpr std::uint32_t kRequestFrames = kRate / 100;

// A server answers within milliseconds; one whose process is stopped never does.
constexpr double kConnectSeconds = 1;
// A playing server requests more a hundred times a second.
constexpr double kSilentSeconds = 2;
// How often a run queries the server's position; in between the host clock extrapolates. Not queried when the server
// requests sound: servers that count in blocks have always just advanced a block at that time.
constexpr double kWatchSeconds = 0.09;
// The largest age that an answer counts with: a longer one is time in which the answer waited for our thread.
constexpr double kOldestAnswer = 0.1;

// An idle sink may have rendered two seconds of silence ahead, which it will play first. A run that would have to wait
// longer than the first of these begins unheard. Waits beyond the second are ignored: no sink works in longer blocks,
// so such a number means something else.
constexpr double kPatience = 0.06;
constexpr double kLongestLead = 4;
// How often sound that is not heard is requested.
constexpr double kLeadPeriod = 0.01;

struct LoopDelete {
    void operator()(pa_threaded_mainloop* loop) const {
        pa_threaded_mainloop_stop(loop);
        pa_threaded_mainloop_free(loop);
    }
};

// Locks the loop: its thread runs no callback meanwhile. Not on that thread.
class Hold {
  public:
    explicit Hold(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
    ~Hold() { pa_threaded_mainloop_unlock(loop_); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

  private:
    pa_threaded_mainloop* const loop_;
};

// The connection stays from run to run; each run has its own stream, so that stopping drops what was not heard. Between
// runs a stopped ("resting") stream keeps its sink in short blocks. An idle sink without a device works in blocks of
// two seconds, and the next run would have to wait for the end of one.
//
// A run goes through these states, and reports the position in all of them:
//
//     opening ── the sink is ready ──────────────────────────────> flowing: the sink plays what is written
//        │                                                            ^
//        └── it still has much silence to play ──> lead: the host clock goes on, requested sound is dropped
//
// All members after `loop_` are used only while it is locked, or on its thread.
class PulseOutput final : public platform::SoundOutput {
  public:
    explicit PulseOutput(std::string server) : server_(std::move(server)), loop_(pa_threaded_mainloop_new()) {
        pa_threaded_mainloop_set_name(loop_.get(), "player.pulse");
        pa_threaded_mainloop_start(loop_.get());
        const Hold hold(loop_.get());
        connect();
    }
    ~PulseOutput() override {
        const Hold hold(loop_.get());
        endRun();
        resting_.reset();
        context_.reset();
    }
    PulseOutput(const PulseOutput&) = delete;
    PulseOutput& operator=(const PulseOutput&) = delete;

    void start(Client client) override {
        const Hold hold(loop_.get());
        client_ = std::move(client);
        state_ = State::opening;
        written_ = 0;
        heard_ = 0;
        dropped_ = 0;
        clock_ = {};
        reading_.reset();
        begun_ = hostClockSeconds();
        if (!context_) {
            connect();
        } else if (pa_context_get_state(context_.get()) == PA_CONTEXT_READY) {
            openStream();
        }
        if (isRunning()) watch();
    }

    void stop() override {
        const Hold hold(loop_.get());
        if (isRunning()) heard_ = heardNow();
        endRun();
    }

    std::int64_t heardFrames() const override {
        const Hold hold(loop_.get());
        heard_ = heardNow();
        return heard_;
    }

  private:
    enum class State { stopped, opening, lead, flowing };
    // The device's position at a host time, in seconds of the sound written to it. Negative before it has begun.
    struct Reading {
        double host = 0;
        double device = 0;
    };

    bool isRunning() const { return state_ != State::stopped; }

    void connect() {
        context_ = makeContext(pa_threaded_mainloop_get_api(loop_.get()));
        pa_context_set_state_callback(
            context_.get(), [](pa_context*, void* self) { static_cast<PulseOutput*>(self)->contextChanged(); }, this);
        if (!connectContext(context_.get(), server_)) lose("Kein Tonserver gefunden.");
    }

    void contextChanged() {
        const pa_context_state_t state = pa_context_get_state(context_.get());
        if (state == PA_CONTEXT_READY && !stream_) {
            if (isRunning()) {
                openStream();
            } else {
                resting_ = makePlaybackStream();
                if (resting_ && !connectStream(resting_.get())) resting_.reset();
            }
        }
        if (PA_CONTEXT_IS_GOOD(state) == 0) {
            lose(stream_ ? "Der Tonserver ist nicht mehr da." : "Kein Tonserver gefunden.");
        }
    }

    StreamHandle makePlaybackStream() {
        return makeStream(context_.get(), "Vorschau", kRate, static_cast<int>(kFormat.channels));
    }

    static bool connectStream(pa_stream* stream) {
        constexpr auto kUnset = static_cast<std::uint32_t>(-1);
        const pa_buffer_attr buffer{kUnset, kBufferFrames * kFrameBytes, kUnset, kRequestFrames * kFrameBytes, kUnset};
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE |
                                                          PA_STREAM_START_CORKED);
        return pa_stream_connect_playback(stream, nullptr, &buffer, flags, nullptr, nullptr) >= 0;
    }

    void openStream() {
        stream_ = makePlaybackStream();
        if (!stream_) return lose(kUnplayable);
        pa_stream_set_state_callback(
            stream_.get(), [](pa_stream*, void* self) { static_cast<PulseOutput*>(self)->streamChanged(); }, this);
        pa_stream_set_write_callback(
            stream_.get(),
            [](pa_stream*, std::size_t bytes, void* self) { static_cast<PulseOutput*>(self)->write(bytes); }, this);
        pa_stream_set_started_callback(
            stream_.get(), [](pa_stream*, void* self) { static_cast<PulseOutput*>(self)->ask(); }, this);
        pa_stream_set_latency_update_callback(
            stream_.get(), [](pa_stream*, void* self) { static_cast<PulseOutput*>(self)->answered(); }, this);
        if (!connectStream(stream_.get())) lose(kUnplayable);
    }

    void streamChanged() {
        const pa_stream_state_t state = pa_stream_get_state(stream_.get());
        if (PA_STREAM_IS_GOOD(state) == 0) return lose(kUnplayable);
        if (state != PA_STREAM_READY) return;
        resting_.reset();
        ask();
    }

    // Requests the server's position; `answered` receives it.
    void ask() { release(pa_stream_update_timing_info(stream_.get(), nullptr, nullptr)); }

    void answered() {
        const pa_timing_info* const info = pa_stream_get_timing_info(stream_.get());
        if (info == nullptr || pa_stream_get_state(stream_.get()) != PA_STREAM_READY) return;
        const auto seconds = [](pa_usec_t time) { return static_cast<double>(time) * 1e-6; };
        if (state_ == State::opening) {
            // The sink rendered what exceeds its present latency before this stream existed.
            const double ahead = seconds(info->sink_usec) - seconds(info->configured_sink_usec);
            return ahead > kPatience && ahead < kLongestLead ? beginLead(ahead) : flow();
        }
        if (state_ != State::flowing || info->playing == 0 || info->read_index_corrupt != 0) return;
        const double read = static_cast<double>(info->read_index) / kFrameBytes / kRate;
        const double age = std::min(seconds(pa_timeval_age(&info->timestamp)), kOldestAnswer);
        reading_ = Reading{hostClockSeconds() - age, read - seconds(info->sink_usec)};
    }

    void flow() {
        endLead();
        state_ = State::flowing;
        dropped_ = written_;
        write(pa_stream_writable_size(stream_.get()));
        release(pa_stream_cork(stream_.get(), 0, nullptr, nullptr));
    }

    void beginLead(double length) {
        state_ = State::lead;
        leadBegun_ = hostClockSeconds();
        leadLength_ = length;
        drop();
    }

    // Consumes the sound of the time in which none can be heard.
    void drop() {
        const double now = hostClockSeconds();
        if (now - leadBegun_ >= leadLength_) return flow();
        // Time in which there was nothing to hear does not count.
        const double late = now - leadBegun_ - static_cast<double>(written_) / kRate;
        if (late > 0) leadBegun_ += late;
        const std::int64_t wanted = std::llround((now - leadBegun_) * kRate) + kBufferFrames - written_;
        if (wanted > 0) {
            unheard_.resize(static_cast<std::size_t>(wanted * kFormat.channels));
            client_.fill(unheard_);
            written_ += wanted;
        }
        lastWrite_ = now;
        again(leadTimer_, kLeadPeriod, [](PulseOutput& self) { self.drop(); });
    }

    void endLead() { endTimer(leadTimer_); }

    void write(std::size_t bytes) {
        if (state_ != State::flowing || bytes == static_cast<std::size_t>(-1)) return;
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
        const double now = hostClockSeconds();
        double heard = 0;
        if (state_ == State::lead) {
            heard = clock_.at(now, now - leadBegun_);
        } else if (state_ == State::flowing && reading_) {
            const double device = reading_->device + now - reading_->host;
            heard = clock_.at(now, static_cast<double>(dropped_) / kRate + std::max(device, 0.0));
        } else {
            return heard_;
        }
        return std::clamp(static_cast<std::int64_t>(heard * kRate), heard_, written_);
    }

    // Calls a function on the loop's thread in a moment. `timer` is null at first and reused afterwards.
    template <typename Call>
    void again(pa_time_event*& timer, double seconds, Call) {
        const pa_usec_t next = pa_rtclock_now() + static_cast<pa_usec_t>(seconds * 1e6);
        if (timer != nullptr) {
            pa_context_rttime_restart(context_.get(), timer, next);
            return;
        }
        timer = pa_context_rttime_new(
            context_.get(), next,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
                Call{}(*static_cast<PulseOutput*>(self));
            },
            this);
    }

    void endTimer(pa_time_event*& timer) {
        if (timer == nullptr) return;
        pa_threaded_mainloop_get_api(loop_.get())->time_free(timer);
        timer = nullptr;
    }

    // Checks regularly whether the server still answers.
    void watch() {
        again(watch_, kWatchSeconds, [](PulseOutput& self) { self.lookAfter(); });
    }

    void lookAfter() {
        const double now = hostClockSeconds();
        if (written_ == 0 && now - begun_ > kConnectSeconds) return lose("Der Tonserver antwortet nicht.");
        if (written_ > 0 && now - lastWrite_ > kSilentSeconds) return lose("Der Tonserver antwortet nicht mehr.");
        if (state_ == State::flowing) ask();
        watch();
    }

    void lose(const char* reason) {
        resting_.reset();
        if (!isRunning()) {
            context_.reset();
            return;
        }
        heard_ = heardNow();
        const Client client = std::exchange(client_, {});
        stream_.reset();
        endRun();
        context_.reset();
        client.lost(RecorderError(reason));
    }

    void endRun() {
        state_ = State::stopped;
        endLead();
        endTimer(watch_);
        client_ = {};
        if (!stream_) return;
        // The stream rests from now on: sound that was not heard is dropped.
        removeCallbacks(stream_.get());
        if (pa_stream_get_state(stream_.get()) == PA_STREAM_READY) {
            release(pa_stream_cork(stream_.get(), 1, nullptr, nullptr));
            release(pa_stream_flush(stream_.get(), nullptr, nullptr));
            resting_ = std::move(stream_);
        }
        stream_.reset();
    }

    static constexpr const char* kUnplayable = "Der Tonserver nimmt keinen Ton an.";

    const std::string server_;
    const std::unique_ptr<pa_threaded_mainloop, LoopDelete> loop_;
    ContextHandle context_;               // null: not connected
    StreamHandle stream_;                 // null: not playing
    StreamHandle resting_;                // null: playing, or not connected
    pa_time_event* watch_ = nullptr;      // while running
    pa_time_event* leadTimer_ = nullptr;  // in the lead
    Client client_;
    State state_ = State::stopped;
    double begun_ = 0;      // host seconds
    double lastWrite_ = 0;  // host seconds
    double leadBegun_ = 0;  // host seconds
    double leadLength_ = 0;
    std::vector<float> unheard_;
    std::int64_t written_ = 0;  // requested: written to the server, or dropped
    std::int64_t dropped_ = 0;  // before anything was written
    std::optional<Reading> reading_;
    mutable platform::SmoothClock clock_;
    mutable std::int64_t heard_ = 0;
};

}  // namespace

std::unique_ptr<platform::SoundOutput> makePulseOutput(std::string server) {
    return std::make_unique<PulseOutput>(std::move(server));
}

}  // namespace lumivastor::pulse

// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/beeper.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <mutex>
#include <numbers>
#include <stdexcept>
#include <thread>
#include <vector>

#include "base/host_clock.h"
#include "support/await.h"

namespace lumivastor {
namespace {

constexpr int kRate = 48000;
constexpr int kChannels = 2;
constexpr std::int64_t kPeriod = static_cast<std::int64_t>(Beeper::kBetweenBeeps * kRate);
constexpr std::int64_t kBeepFrames = kRate / 50;
// Beeps begin this far into each period.
constexpr std::int64_t kFirst = kPeriod / 2;

}  // namespace

class Beeper::Player {
  public:
    Player(const std::string& server, const std::string& sink) : loop_(pa_mainloop_new()) {
        context_ = pa_context_new(pa_mainloop_get_api(loop_), "beeper");
        const bool asked = pa_context_connect(context_, server.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
        if (!asked || !await([this] { return pa_context_get_state(context_) == PA_CONTEXT_READY; })) {
            close();
            throw std::runtime_error("no sound server at " + server);
        }
        pa_sample_spec format{};
        format.format = PA_SAMPLE_FLOAT32NE;
        format.rate = kRate;
        format.channels = kChannels;
        stream_ = pa_stream_new(context_, "beeps", &format, nullptr);
        pa_buffer_attr attributes{};
        attributes.maxlength = attributes.prebuf = attributes.minreq = attributes.fragsize = UINT32_MAX;
        attributes.tlength = kRate / 10 * kChannels * sizeof(float);
        const auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
        const bool played =
            pa_stream_connect_playback(stream_, sink.c_str(), &attributes, flags, nullptr, nullptr) >= 0;
        if (!played || !await([this] { return pa_stream_get_state(stream_) == PA_STREAM_READY; })) {
            close();
            throw std::runtime_error("no sink " + sink);
        }
        thread_ = std::thread([this] {
            while (!ending_ && PA_STREAM_IS_GOOD(pa_stream_get_state(stream_)) != 0) {
                run(0.02);
                play();
            }
        });
    }

    ~Player() {
        ending_ = true;
        thread_.join();
        close();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    std::vector<double> beeps() const {
        const std::lock_guard hold(lock_);
        std::vector<double> all;
        if (std::ssize(readings_) < kAround) return all;
        const double now = hostClockSeconds();
        for (std::int64_t frame = kFirst + kPeriod; frame < written_; frame += kPeriod) {
            const double heard = heardAt(frame);
            if (heard < now) all.push_back(heard);
        }
        return all;
    }

  private:
    // When a frame was heard, as the server said.
    struct Reading {
        std::int64_t frame = 0;
        double hostSeconds = 0;
    };
    // Single readings are up to a millisecond off; this many tell.
    static constexpr std::ptrdiff_t kAround = 5;

    void run(double seconds) {
        pa_mainloop_prepare(loop_, static_cast<int>(seconds * 1e6));
        pa_mainloop_poll(loop_);
        pa_mainloop_dispatch(loop_);
    }

    template <typename Done>
    bool await(Done done) {
        const auto isBroken = [this] {
            return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_)) == 0 ||
                   (stream_ != nullptr && PA_STREAM_IS_GOOD(pa_stream_get_state(stream_)) == 0);
        };
        lumivastor::await(
            kPatience, [&] { return done() || isBroken(); }, [this] { run(0.1); });
        return done();
    }

    // Interpolated latencies, as the library offers them, are ten milliseconds off for a while after each change; the
    // raw ones are exact.
    void askForTiming() {
        if (question_ != nullptr) return;
        const auto answered = [](pa_stream*, int, void* data) { static_cast<Player*>(data)->takeTiming(); };
        question_ = pa_stream_update_timing_info(stream_, answered, this);
    }

    void takeTiming() {
        dropQuestion();
        const pa_timing_info* const info = pa_stream_get_timing_info(stream_);
        if (info == nullptr || info->playing == 0 || info->read_index_corrupt != 0 || info->read_index <= 0) return;
        const double heard = hostClockSeconds() - static_cast<double>(info->transport_usec) * 1e-6 +
                             static_cast<double>(info->sink_usec) * 1e-6;
        const std::int64_t frame = info->read_index / (kChannels * static_cast<std::int64_t>(sizeof(float)));
        const std::lock_guard hold(lock_);
        if (readings_.empty() || frame > readings_.back().frame) readings_.push_back({frame, heard});
    }

    // By what the server said around that time, as the beep was played: where the machine stands still for a moment,
    // the server runs out of sound, and everything behind is later.
    double heardAt(std::int64_t frame) const {
        const auto after = std::lower_bound(readings_.begin(), readings_.end(), frame,
                                            [](const Reading& one, std::int64_t wanted) { return one.frame < wanted; });
        const auto place =
            std::clamp<std::ptrdiff_t>(after - readings_.begin() - kAround / 2, 0, std::ssize(readings_) - kAround);
        std::array<double, kAround> starts{};
        for (std::ptrdiff_t i = 0; i < kAround; ++i) {
            const Reading& one = readings_[static_cast<std::size_t>(place + i)];
            starts[static_cast<std::size_t>(i)] = one.hostSeconds - static_cast<double>(one.frame) / kRate;
        }
        std::nth_element(starts.begin(), starts.begin() + kAround / 2, starts.end());
        return starts[kAround / 2] + static_cast<double>(frame) / kRate;
    }

    void dropQuestion() {
        if (question_ != nullptr) pa_operation_unref(question_);
        question_ = nullptr;
    }

    void play() {
        askForTiming();
        const std::size_t room = pa_stream_writable_size(stream_);
        if (room == static_cast<std::size_t>(-1) || room < kChannels * sizeof(float)) return;
        std::vector<float> values;
        const std::int64_t frames = static_cast<std::int64_t>(room / (kChannels * sizeof(float)));
        const std::lock_guard hold(lock_);
        for (std::int64_t frame = written_; frame < written_ + frames; ++frame) {
            const std::int64_t within = (frame - kFirst + kPeriod) % kPeriod;
            const bool beeps = frame > kPeriod && within < kBeepFrames;
            const double angle = 2 * std::numbers::pi * 1000 * static_cast<double>(within) / kRate;
            values.insert(values.end(), kChannels, beeps ? static_cast<float>(0.5 * std::cos(angle)) : 0.0F);
        }
        pa_stream_write(stream_, values.data(), values.size() * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
        written_ += frames;
    }

    void close() {
        if (question_ != nullptr) pa_operation_cancel(question_);
        dropQuestion();
        if (stream_ != nullptr) {
            pa_stream_disconnect(stream_);
            pa_stream_unref(stream_);
        }
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        pa_mainloop_free(loop_);
    }

    pa_mainloop* loop_;
    pa_context* context_ = nullptr;
    pa_stream* stream_ = nullptr;
    pa_operation* question_ = nullptr;
    mutable std::mutex lock_;
    std::vector<Reading> readings_;  // guarded by lock_; ascending
    std::int64_t written_ = 0;       // guarded by lock_
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

Beeper::Beeper(const std::string& server, const std::string& sink) : player_(std::make_unique<Player>(server, sink)) {}

Beeper::~Beeper() = default;

std::vector<double> Beeper::beeps() const {
    return player_->beeps();
}

}  // namespace lumivastor

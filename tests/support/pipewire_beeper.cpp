// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/pipewire_beeper.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>

#include "base/host_clock.h"
#include "support/beeper.h"

namespace lumivastor {
namespace {

constexpr int kRate = 48000;
constexpr std::int64_t kPeriod = static_cast<std::int64_t>(Beeper::kBetweenBeeps * kRate);
constexpr std::int64_t kBeepFrames = kRate / 50;

}  // namespace

class PipeWireBeeper::Player {
  public:
    Player(const std::string& remote, const std::string& sink) {
        pw_init(nullptr, nullptr);
        loop_ = pw_thread_loop_new("beeper", nullptr);
        context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
        core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, remote.c_str(), nullptr), 0);
        if (core_ == nullptr) {
            pw_context_destroy(context_);
            pw_thread_loop_destroy(loop_);
            throw std::runtime_error("no PipeWire server at " + remote);
        }
        stream_ = pw_stream_new(core_, "beeps",
                                pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback",
                                                  "target.object", sink.c_str(), nullptr));
        static constexpr pw_stream_events kEvents = [] {
            pw_stream_events events{};
            events.version = PW_VERSION_STREAM_EVENTS;
            events.process = [](void* data) { static_cast<Player*>(data)->play(); };
            return events;
        }();
        pw_stream_add_listener(stream_, &hook_, &kEvents, this);
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = kRate;
        format.channels = 2;
        format.position[0] = SPA_AUDIO_CHANNEL_FL;
        format.position[1] = SPA_AUDIO_CHANNEL_FR;
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        std::array<const spa_pod*, 1> formats{spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
        const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_RT_PROCESS);
        pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(), 1);
        pw_thread_loop_start(loop_);
    }

    ~Player() {
        pw_thread_loop_lock(loop_);
        pw_stream_destroy(stream_);
        pw_core_disconnect(core_);
        pw_thread_loop_unlock(loop_);
        pw_thread_loop_stop(loop_);
        pw_context_destroy(context_);
        pw_thread_loop_destroy(loop_);
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    std::vector<double> beeps() const {
        std::vector<double> all;
        const double now = hostClockSeconds();
        for (std::size_t i = 0; i < count_; ++i) {
            if (beeps_[i] < now) all.push_back(beeps_[i]);
        }
        return all;
    }

  private:
    // On the data thread: no locks, no memory.
    void play() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_);
        if (buffer == nullptr) return;
        spa_data& data = buffer->buffer->datas[0];
        const auto room = static_cast<std::int64_t>(data.maxsize / (2 * sizeof(float)));
        const std::int64_t frames =
            buffer->requested > 0 ? std::min(room, static_cast<std::int64_t>(buffer->requested)) : room;
        pw_time time{};
        pw_stream_get_time_n(stream_, &time, sizeof time);
        const double rate = time.rate.denom == 0 ? kRate : static_cast<double>(time.rate.denom) / time.rate.num;
        // The current cycle has its sound already: the sound requested here belongs to the next one.
        const double heard = static_cast<double>(time.now) * 1e-9 + static_cast<double>(frames) / kRate +
                             static_cast<double>(time.delay) / rate +
                             static_cast<double>(time.buffered + time.queued) / kRate;
        auto* value = static_cast<float*>(data.data);
        for (std::int64_t frame = written_; frame < written_ + frames; ++frame) {
            const std::int64_t within = frame % kPeriod;
            const bool beeps = frame >= kPeriod && within < kBeepFrames;
            if (beeps && within == 0 && count_ < beeps_.size()) {
                beeps_[count_] = heard + static_cast<double>(frame - written_) / kRate;
                ++count_;
            }
            const double angle = 2 * std::numbers::pi * 1000 * static_cast<double>(within) / kRate;
            const float level = beeps ? static_cast<float>(0.5 * std::cos(angle)) : 0.0F;
            *value++ = level;
            *value++ = level;
        }
        written_ += frames;
        data.chunk->offset = 0;
        data.chunk->stride = 2 * sizeof(float);
        data.chunk->size = static_cast<std::uint32_t>(frames) * 2 * sizeof(float);
        buffer->size = static_cast<std::uint64_t>(frames);
        pw_stream_queue_buffer(stream_, buffer);
    }

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    std::int64_t written_ = 0;          // the data thread's
    std::array<double, 2000> beeps_{};  // written up to count_
    std::atomic<std::size_t> count_ = 0;
};

PipeWireBeeper::PipeWireBeeper(const std::string& remote, const std::string& sink)
    : player_(std::make_unique<Player>(remote, sink)) {}

PipeWireBeeper::~PipeWireBeeper() = default;

std::vector<double> PipeWireBeeper::beeps() const {
    return player_->beeps();
}

}  // namespace lumivastor

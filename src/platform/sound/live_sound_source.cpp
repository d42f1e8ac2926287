// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/live_sound_source.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <limits>
#include <utility>

#include "base/host_clock.h"
#include "base/precondition.h"
#include "base/thread_name.h"

namespace lumivastor::platform {
namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();

// How long the thread waits for a server before it checks whether it must stop.
constexpr double kSlice = 0.03;
constexpr double kBetweenAttempts = 0.5;
// Sound that was heard before the stop arrives within about a server's period. A silent (suspended) source must not
// delay the stop any longer.
constexpr double kLastSound = 0.1;

}  // namespace

LiveSoundSource::LiveSoundSource(const ClockDriftCorrector::Options& options, Open open, std::function<int()> channels)
    : options_(options), open_(std::move(open)), channels_(std::move(channels)), stopAt_(kNever) {}

LiveSoundSource::~LiveSoundSource() {
    stop();
}

void LiveSoundSource::onReturn(ReturnHandler handler) {
    returned_ = std::move(handler);
}

void LiveSoundSource::onState(StateHandler handler) {
    stateChanged_ = std::move(handler);
}

void LiveSoundSource::start(Handler handler, EndHandler ended) {
    precondition(!handler_, "a sound source starts once");
    handler_ = std::move(handler);
    ended_ = std::move(ended);
    const auto outcome = std::make_shared<std::promise<std::optional<RecorderError>>>();
    thread_ = std::thread([this, outcome] {
        nameThisThread("sound.source");
        listen([&outcome](std::optional<RecorderError> failure) { outcome->set_value(std::move(failure)); });
    });
    const auto failure = outcome->get_future().get();
    if (!failure) return;
    thread_.join();
    throw RecorderError(*failure);
}

void LiveSoundSource::stop() {
    if (!thread_.joinable()) return;
    stopAt_ = hostClockSeconds();
    thread_.join();
}

void LiveSoundSource::listen(const std::function<void(std::optional<RecorderError>)>& started) {
    std::optional<ClockDriftCorrector> corrector;
    std::unique_ptr<AudioInputStream> stream;
    double heardTo = 0;
    try {
        if (options_.channels == 0) options_.channels = channels_();
        corrector.emplace(options_, [this, &heardTo](const SoundBuffer& buffer) {
            heardTo = buffer.hostSeconds + static_cast<double>(buffer.frames()) / buffer.sampleRate;
            handler_(buffer);
        });
        stream = open_(*corrector);
    } catch (const RecorderError& error) {
        started(error);
        return;
    }
    started(std::nullopt);
    tellState(*stream);
    while (stream && hostClockSeconds() < stopAt_ + kLastSound && heardTo < stopAt_) {
        const AudioInputStream::State state = stream->run(kSlice);
        if (state == AudioInputStream::State::running) {
            tellState(*stream);
            continue;
        }
        stream.reset();
        corrector->restart();
        if (stopAt_ != kNever) break;
        stream = reopen(*corrector);
    }
    stream.reset();
    corrector->finish();
}

void LiveSoundSource::tellState(AudioInputStream& stream) {
    if (!stateChanged_) return;
    const auto state = stream.state();
    if (!state || state == toldState_) return;
    toldState_ = state;
    stateChanged_(*state);
}

std::unique_ptr<AudioInputStream> LiveSoundSource::reopen(ClockDriftCorrector& corrector) {
    // The first attempt is not reported: a server that only closed this stream opens another at once.
    for (bool isTold = false; stopAt_ == kNever; isTold = true) {
        try {
            auto stream = open_(corrector);
            if (isTold && returned_) returned_();
            return stream;
        } catch (const RecorderError& error) {
            if (!isTold && ended_) ended_(error.message());
            pause(kBetweenAttempts);
        }
    }
    return nullptr;
}

void LiveSoundSource::pause(double seconds) const {
    const double until = hostClockSeconds() + seconds;
    while (stopAt_ == kNever && hostClockSeconds() < until) {
        std::this_thread::sleep_for(std::chrono::duration<double>(std::min(kSlice, seconds)));
    }
}

}  // namespace lumivastor::platform

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sound_board.h"

namespace lumivastor::platform {

void SoundBoard::begin(Kind kind, const std::string& wanted, double now) {
    const std::lock_guard hold(lock_);
    const bool isFirst = row(kind).running++ == 0;
    if (isFirst) row(kind).meter = {};
    if (kind != Kind::microphone) return;
    // What was told of an earlier source's device does not hold for this one.
    if (isFirst) watch_ = {};
    watch_.begin(wanted, now);
}

void SoundBoard::end(Kind kind) {
    const std::lock_guard hold(lock_);
    if (--row(kind).running == 0 && kind == Kind::microphone) watch_.end();
}

void SoundBoard::lost(Kind kind) {
    const std::lock_guard hold(lock_);
    if (kind == Kind::microphone) watch_.end();
}

void SoundBoard::returned(Kind kind, const std::string& wanted, double now) {
    const std::lock_guard hold(lock_);
    if (kind == Kind::microphone) watch_.begin(wanted, now);
}

void SoundBoard::add(Kind kind, const SoundBuffer& sound, double now) {
    const SoundLevel level = levelOf(sound.values);
    const double end = sound.hostSeconds + static_cast<double>(sound.frames()) / sound.sampleRate;
    const std::lock_guard hold(lock_);
    row(kind).meter.add(level, now);
    if (kind == Kind::microphone) watch_.add(level, sound.hostSeconds, end);
}

void SoundBoard::tell(const InputState& state) {
    const std::lock_guard hold(lock_);
    watch_.tell(state);
}

std::optional<LevelMeter::Reading> SoundBoard::level(Kind kind, double now) {
    const std::lock_guard hold(lock_);
    if (row(kind).running == 0) return std::nullopt;
    return row(kind).meter.read(now);
}

MicrophoneReport SoundBoard::microphone(double now) const {
    const std::lock_guard hold(lock_);
    return watch_.report(now);
}

}  // namespace lumivastor::platform

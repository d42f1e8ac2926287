// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/pauses/sound_pieces.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace lumivastor::capture {

namespace {

// As long as the fades of the cuts in a film.
constexpr double kFadeSeconds = 0.0025;

/// Frames of a buffer from `first` up to `end`.
struct Stretch {
    std::size_t first = 0;
    std::size_t end = 0;
    bool fadesIn = false;
    bool fadesOut = false;
};

// The first frame at or after a time.
std::size_t frameAt(const platform::SoundBuffer& sound, double hostSeconds) {
    const double frame = std::ceil((hostSeconds - sound.hostSeconds) * sound.sampleRate);
    return static_cast<std::size_t>(std::clamp(frame, 0.0, static_cast<double>(sound.frames())));
}

std::vector<Stretch> stretchesOf(const Pauses& pauses, const platform::SoundBuffer& sound) {
    std::vector<Stretch> kept;
    const auto add = [&](const Stretch& stretch) {
        if (stretch.first < stretch.end) kept.push_back(stretch);
    };
    Stretch next;
    for (const Pause& pause : pauses.list()) {
        const std::size_t from = frameAt(sound, pause.from);
        add({next.first, from, next.fadesIn, from < sound.frames()});
        next.first = pause.to ? std::max(next.first, frameAt(sound, *pause.to)) : sound.frames();
        // Also where a pause ends just between two buffers.
        next.fadesIn = pause.to && *pause.to + 0.5 / sound.sampleRate >= sound.hostSeconds;
    }
    next.end = sound.frames();
    add(next);
    return kept;
}

// Half a cosine from 0 to 1 over `frames`.
double fade(std::size_t frame, std::size_t frames) {
    return (1 - std::cos(std::numbers::pi * (static_cast<double>(frame) + 0.5) / static_cast<double>(frames))) / 2;
}

SoundPiece cut(const platform::SoundBuffer& sound, const Stretch& stretch) {
    const auto channels = static_cast<std::size_t>(sound.channels);
    SoundPiece piece{sound, stretch.fadesIn};
    piece.hostSeconds += static_cast<double>(stretch.first) / sound.sampleRate;
    piece.values.assign(sound.values.begin() + static_cast<std::ptrdiff_t>(stretch.first * channels),
                        sound.values.begin() + static_cast<std::ptrdiff_t>(stretch.end * channels));
    const std::size_t frames = piece.frames();
    const std::size_t fading = std::min(frames, static_cast<std::size_t>(kFadeSeconds * sound.sampleRate));
    const auto scale = [&](std::size_t frame, double factor) {
        for (std::size_t c = 0; c < channels; ++c) piece.values[frame * channels + c] *= static_cast<float>(factor);
    };
    for (std::size_t i = 0; i < fading; ++i) {
        if (stretch.fadesIn) scale(i, fade(i, fading));
        if (stretch.fadesOut) scale(frames - 1 - i, fade(i, fading));
    }
    return piece;
}

}  // namespace

std::vector<SoundPiece> piecesOutsideOf(const Pauses& pauses, const platform::SoundBuffer& sound) {
    if (pauses.list().empty()) return {{sound}};
    std::vector<SoundPiece> pieces;
    for (const Stretch& stretch : stretchesOf(pauses, sound)) {
        pieces.push_back(cut(sound, stretch));
        // Of a time in its middle, because rounding may put its first frame just before the end of a pause.
        const double half = static_cast<double>(pieces.back().frames()) / sound.sampleRate / 2;
        pieces.back().hostSeconds = pauses.nearestMovieTime(pieces.back().hostSeconds + half) - half;
    }
    return pieces;
}

std::vector<SoundPiece> SoundCutter::pieces(const Pauses& pauses, const platform::SoundBuffer& sound) {
    std::vector<SoundPiece> pieces = piecesOutsideOf(pauses, sound);
    if (pieces.empty()) return pieces;
    const double end = sound.hostSeconds + static_cast<double>(sound.frames()) / sound.sampleRate;
    const auto ended =
        std::ranges::count_if(pauses.list(), [end](const auto& pause) { return pause.to && *pause.to <= end; });
    if (ended > ended_ && pieces.size() == 1) pieces.front().isAfterPause = true;
    ended_ = ended;
    return pieces;
}

}  // namespace lumivastor::capture

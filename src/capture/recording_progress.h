// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/media_time.h"
#include "platform/capture_stream.h"

namespace lumivastor::capture {

/// Times of live samples in the writers' unit. A microsecond is a twentieth of a frame of sound at 48 kHz, so rounding
/// is inaudible, and sums with the clocks of sound and pictures (48000, 44100, 600) stay exact in 32 bits, which
/// nanoseconds would not.
inline constexpr std::int32_t kHostTimescale = 1'000'000;

inline MediaTime hostTime(double hostSeconds) {
    return MediaTime::fromSeconds(hostSeconds, kHostTimescale);
}

/// Whether a screen sample is recorded: only new content, and only with a picture.
inline bool isNewPicture(platform::FrameStatus status, bool hasImage) {
    return hasImage && (status == platform::FrameStatus::complete || status == platform::FrameStatus::started);
}

/// The progress of a recording: its time base and its counters. A plain value; the recorders guard it with their lock.
struct RecordingProgress {
    bool sessionStarted = false;
    /// Host clock, seconds: the movie's time zero, and the time at which it was set.
    double t0Host = 0;
    double t0Media = 0;
    /// The latest presentation time that was appended, of any kind.
    MediaTime lastPTS;
    std::int64_t framesWritten = 0;
    std::int64_t framesSkippedIdle = 0;
    std::int64_t framesDropped = 0;

    /// refused: no session can begin, so the sample is dropped. begun: this sample's time is the movie's zero.
    enum class Session { refused, begun, running };

    /// The first sample of any kind begins the session if the writer accepts samples.
    Session beginSessionIfNeeded(bool writerIsWriting, const MediaTime& time, double now) {
        if (sessionStarted) return Session::running;
        if (!writerIsWriting) return Session::refused;
        sessionStarted = true;
        t0Host = time.seconds();
        t0Media = now;
        lastPTS = time;
        return Session::begun;
    }

    /// Whether a picture is older than a session that sound has begun: such a picture has no place in the movie.
    bool isBeforeSession(const MediaTime& time) const { return sessionStarted && time < hostTime(t0Host); }

    /// The time at which a picture is appended. If sound began the session a little after the first picture was taken,
    /// that picture is shown from the movie's zero on, because on a still screen the next one is a second away.
    MediaTime pictureTime(const MediaTime& time) const {
        return framesWritten == 0 ? std::max(time, hostTime(t0Host)) : time;
    }

    void pictureWritten(const MediaTime& time) {
        ++framesWritten;
        sampleWritten(time);
    }
    void sampleWritten(const MediaTime& time) { lastPTS = std::max(lastPTS, time); }

    /// Seconds since the movie's zero.
    double elapsed(double now) const { return sessionStarted ? now - t0Host : 0; }
    double duration() const { return lastPTS.seconds() - t0Host; }
};

}  // namespace lumivastor::capture

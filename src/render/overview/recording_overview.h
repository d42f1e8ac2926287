// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/interval.h"
#include "imaging/pixel_buffer.h"
#include "render/overview/waveform.h"

namespace lumivastor::render {

/// A small copy of one of the movie's pictures.
struct SmallPicture {
    /// Source time from which the movie shows this picture.
    double seconds = 0;
    /// Opaque, at most `kSmallPictureHeight` pixels high, in the movie's aspect ratio.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> pixels;
};

/// Enough for a row of 48 points on a screen with two pixels per point, nearly.
inline constexpr int kSmallPictureHeight = 72;

/// What a timeline shows of a recording besides its edits. Times are source seconds. An immutable snapshot: while an
/// overview is made, each delivery is a new value that shares what has not changed. Copies share pixels and levels.
struct RecordingOverview {
    /// Null without such a track, and until its first levels are known. `Waveform::seconds` says how far they reach.
    std::shared_ptr<const Waveform> systemSound;
    std::shared_ptr<const Waveform> microphone;
    /// In the order of time. While an overview is made, the gaps between them become smaller.
    std::vector<SmallPicture> pictures;
    /// Stretches of at least half a second in which the movie's picture does not change, in the order of time.
    std::vector<Interval> stillStretches;
    /// The levels and the still stretches are all that there are: no more of them will arrive.
    bool knowsSound = false;
    /// No more will arrive. Without it, sound and pictures may be missing; with it, those that are missing do not exist
    /// or cannot be read.
    bool isComplete = false;

    /// The latest small picture at or before this time, or the first one; null when there are none.
    const SmallPicture* pictureAt(double seconds) const;
};

}  // namespace lumivastor::render

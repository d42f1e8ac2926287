// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"
#include "edit/recording.h"
#include "imaging/pixel_buffer.h"

// What the check video draws on one picture of a recording: first as a value for tests to examine, then as pixels.
// Coordinates are pixels of the recording with a top-left origin; times are seconds of the source movie.

namespace lumivastor::render::CursorRenderer {

/// A recorded cursor shape with its decoded picture.
struct Asset {
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> image;
    model::CursorImage info;
};

/// By the shapes' ids.
using Assets = std::map<std::string, Asset>;

/// The growing, fading circle around a click.
struct Ring {
    Point centre;
    double radius = 0;
    double lineWidth = 0;
    double alpha = 0;

    bool operator==(const Ring&) const = default;
};

/// The marks of one picture, in the order in which they are drawn.
struct Marks {
    std::vector<Ring> rings;
    Point pointer;
    /// The cursor shape to draw, owned by the assets; null for the dot that stands for a shape without a picture.
    const Asset* cursor = nullptr;
    Rect cursorRect;  // where its picture goes
    double dotRadius = 0;
    Rect indicator;
    bool indicatorIsLit = false;
    std::string label;
    Point labelBaseline;
    double labelSize = 0;  // pixels
};

/// How long a click's ring is visible, and how long the indicator is lit, in seconds; the end itself is excluded.
inline constexpr double kRingSeconds = 0.35;
inline constexpr double kIndicatorSeconds = 0.12;

/// The pointer's position at `t`: interpolated linearly between the events before and after, clamped to the first and
/// the last event. nullopt without events. `events` ascend in time.
std::optional<Point> pointerAt(const std::vector<model::PointerSample>& events, double t);

/// The rings at `t`. `presses` ascend in time. `scale` is pixels per point, as everywhere in this header.
std::vector<Ring> ringsAt(const std::vector<model::PointerSample>& presses, double scale, double t);

/// Whether the indicator is lit at `t`, because a press is recent enough.
bool indicatorIsLitAt(const std::vector<model::PointerSample>& presses, double t);

/// The marks at `t`; nullopt for a recording without pointer events.
std::optional<Marks> marksAt(const edit::Recording& recording, const Assets& assets, double t);

/// Draws the marks over a picture of the recording's size.
void paintMarks(const Marks& marks, imaging::BgraPremultipliedBuffer& picture);

/// Fills `target` with `source`, unscaled and aligned to the bottom-left corner: cut off where it is larger, opaque
/// black where it is smaller. Pictures of an intact recording have the document's size and are only copied.
void placePicture(const imaging::BgraPremultipliedBuffer& source, imaging::BgraPremultipliedBuffer& target);

}  // namespace lumivastor::render::CursorRenderer

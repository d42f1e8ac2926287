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

// What the check video draws on one picture of a recording: first as a value that tests can ask about, then as pixels.
// Everything is in pixels of the recording with the origin at the top-left; times are seconds of the source movie.

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
    /// The cursor shape to draw; null for the dot that stands for a shape without a picture. Belongs to the assets.
    const Asset* cursor = nullptr;
    Rect cursorRect;  // where its picture goes
    double dotRadius = 0;
    Rect indicator;
    bool indicatorIsLit = false;
    std::string label;
    Point labelBaseline;
    double labelSize = 0;  // pixels
};

/// How long a click's ring is seen, and how long the indicator is lit. Neither end counts.
inline constexpr double kRingSeconds = 0.35;
inline constexpr double kIndicatorSeconds = 0.12;

/// Where the pointer was at `t`: on the straight line between the events before and after, at the first or last one
/// outside of them. None without events. They ascend in time.
std::optional<Point> pointerAt(const std::vector<model::PointerSample>& events, double t);

/// The rings at `t`, for `presses` that ascend in time. `scale` is in pixels per point, as everywhere here.
std::vector<Ring> ringsAt(const std::vector<model::PointerSample>& presses, double scale, double t);

/// Whether a press is so recent at `t` that the indicator is lit.
bool indicatorIsLitAt(const std::vector<model::PointerSample>& presses, double t);

/// The marks at `t`; none for a recording without pointer events.
std::optional<Marks> marksAt(const edit::Recording& recording, const Assets& assets, double t);

/// Draws the marks over a picture of the recording's size.
void paintMarks(const Marks& marks, imaging::BgraPremultipliedBuffer& picture);

/// Shows `source` in all of `target`: at its own size from the bottom-left corner on, cut off where it is larger, and
/// opaque black where it does not reach. A recording's pictures have the size that its document says, and are just
/// copied.
void placePicture(const imaging::BgraPremultipliedBuffer& source, imaging::BgraPremultipliedBuffer& target);

}  // namespace lumivastor::render::CursorRenderer

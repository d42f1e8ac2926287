// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/check_video_marks.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <span>

#include "base/formatted.h"
#include "edit/edit_state.h"
#include "imaging/drawing/bitmap_canvas.h"

namespace lumivastor::render::CursorRenderer {

namespace {

// All lengths are in points.
constexpr double kFirstRadius = 14;
constexpr double kRingGrowth = 46;
constexpr double kRingLineWidth = 5;
constexpr double kThinnestRing = 2;  // pixels: thinner lines flicker
constexpr double kDotRadius = 8;
constexpr double kIndicatorPlace = 12;
constexpr double kIndicatorEdge = 26;
constexpr Point kLabelBaseline{48, 34};
constexpr double kLabelSize = 22;

// The label should look like Menlo; DejaVu is the family that Menlo was derived from.
constexpr const char* kLabelFamilies = "Menlo,DejaVu Sans Mono,monospace";

constexpr imaging::RgbaColour kRingColour{1, 0.35, 0, 1};
constexpr imaging::RgbaColour kDotColour{1, 1, 1, 0.95};
constexpr imaging::RgbaColour kLitColour{1, 0.35, 0, 1};
constexpr imaging::RgbaColour kUnlitColour{0.15, 0.15, 0, 0.55};
constexpr imaging::RgbaColour kLabelColour{1, 1, 1, 0.9};

// The presses whose age at `t` is at least 0 and below `seconds`. Ages never rise along the presses, even when rounded.
std::span<const model::PointerSample> recentPresses(const std::vector<model::PointerSample>& presses, double t,
                                                    double seconds) {
    const auto first = std::partition_point(presses.begin(), presses.end(),
                                            [&](const model::PointerSample& press) { return t - press.t >= seconds; });
    const auto end =
        std::partition_point(first, presses.end(), [&](const model::PointerSample& press) { return t - press.t >= 0; });
    return {first, end};
}

imaging::RgbaColour faded(imaging::RgbaColour colour, double alpha) {
    colour.alpha = alpha;
    return colour;
}

}  // namespace

std::optional<Point> pointerAt(const std::vector<model::PointerSample>& events, double t) {
    if (events.empty()) return std::nullopt;
    if (t <= events.front().t) return Point{events.front().px, events.front().py};
    if (t >= events.back().t) return Point{events.back().px, events.back().py};
    const auto after = std::upper_bound(events.begin(), events.end(), t,
                                        [](double time, const model::PointerSample& event) { return time < event.t; });
    const model::PointerSample& next = *after;
    const model::PointerSample& previous = *std::prev(after);  // strictly earlier: at or before `t`
    const double part = (t - previous.t) / (next.t - previous.t);
    return Point{previous.px + (next.px - previous.px) * part, previous.py + (next.py - previous.py) * part};
}

std::vector<Ring> ringsAt(const std::vector<model::PointerSample>& presses, double scale, double t) {
    std::vector<Ring> rings;
    for (const model::PointerSample& press : recentPresses(presses, t, kRingSeconds)) {
        const double u = (t - press.t) / kRingSeconds;
        rings.push_back({{press.px, press.py},
                         scale * (u * kRingGrowth + kFirstRadius),
                         std::max(scale * kRingLineWidth * (1 - u), kThinnestRing),
                         (1 - u) * 0.9});
    }
    return rings;
}

bool indicatorIsLitAt(const std::vector<model::PointerSample>& presses, double t) {
    return !recentPresses(presses, t, kIndicatorSeconds).empty();
}

std::optional<Marks> marksAt(const edit::Recording& recording, const Assets& assets, double t) {
    const std::optional<Point> pointer = pointerAt(recording.track.events, t);
    if (!pointer) return std::nullopt;
    const double scale = recording.info.pointPixelScale;

    Marks marks;
    marks.rings = ringsAt(recording.presses, scale, t);
    marks.pointer = *pointer;
    marks.dotRadius = scale * kDotRadius;
    const std::string* const shape = edit::cursorShapeAt(recording.track.cursorChanges, t);
    const auto asset = shape != nullptr ? assets.find(*shape) : assets.end();
    if (asset != assets.end()) {
        const model::CursorImage& info = asset->second.info;
        marks.cursor = &asset->second;
        marks.cursorRect = {pointer->x - scale * info.hotspotX, pointer->y - scale * info.hotspotY, scale * info.width,
                            scale * info.height};
    }
    marks.indicator = {kIndicatorPlace * scale, kIndicatorPlace * scale, kIndicatorEdge * scale,
                       kIndicatorEdge * scale};
    marks.indicatorIsLit = indicatorIsLitAt(recording.presses, t);
    marks.label = formatted("%.3f s", t);
    marks.labelBaseline = {kLabelBaseline.x * scale, kLabelBaseline.y * scale};
    marks.labelSize = kLabelSize * scale;
    return marks;
}

void paintMarks(const Marks& marks, imaging::BgraPremultipliedBuffer& picture) {
    imaging::BitmapCanvas canvas(picture);
    for (const Ring& ring : marks.rings) {
        canvas.strokeCircle(ring.centre, ring.radius, ring.lineWidth, faded(kRingColour, ring.alpha));
    }
    if (marks.cursor != nullptr) {
        canvas.drawPicture(*marks.cursor->image, marks.cursorRect);
    } else {
        canvas.fillCircle(marks.pointer, marks.dotRadius, kDotColour);
    }
    canvas.fillRect(marks.indicator, marks.indicatorIsLit ? kLitColour : kUnlitColour);
    canvas.drawText(marks.label, marks.labelBaseline, kLabelFamilies, marks.labelSize, kLabelColour);
}

void placePicture(const imaging::BgraPremultipliedBuffer& source, imaging::BgraPremultipliedBuffer& target) {
    constexpr std::uint8_t kBlack[4] = {0, 0, 0, 255};
    const int copied = std::min(source.width(), target.width());
    for (int y = 0; y < target.height(); ++y) {
        const int sourceY = y + source.height() - target.height();
        const int fromSource = sourceY >= 0 ? copied : 0;
        if (fromSource > 0) std::memcpy(target.row(y), source.row(sourceY), static_cast<std::size_t>(fromSource) * 4);
        for (int x = fromSource; x < target.width(); ++x) std::memcpy(target.pixel(x, y), kBlack, 4);
    }
}

}  // namespace lumivastor::render::CursorRenderer

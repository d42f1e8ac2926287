// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/zoom_engine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::edit {

namespace {

// Keys closer than this would turn an eased segment into a jump between two neighbouring pictures.
constexpr double kKeySpacing = 0.01;
// Room between two zooms that follow each other without zooming out.
constexpr double kSpecSpacing = 0.05;

std::vector<model::PointerSample> pressesInside(std::span<const model::PointerSample> samples, double width,
                                                double height) {
    const Rect picture{0, 0, width, height};
    std::vector<model::PointerSample> presses;
    for (const model::PointerSample& sample : samples) {
        if (sample.kind == model::PointerKind::down && picture.containsOrTouches({sample.px, sample.py})) {
            presses.push_back(sample);
        }
    }
    std::stable_sort(presses.begin(), presses.end(),
                     [](const model::PointerSample& a, const model::PointerSample& b) { return a.t < b.t; });
    return presses;
}

void appendKey(std::vector<ZoomEngine::Key>& keys, double wantedTime, double x, double y) {
    const double previous = keys.empty() ? -0.99 : keys.back().t;
    keys.push_back({std::max(previous + kKeySpacing, wantedTime), x, y});
}

// The focus keys up to the moment the zoom-out begins, in time order; always at least one.
std::vector<model::FocusKey> focusUntil(std::vector<model::FocusKey> focus, double outStart) {
    std::stable_sort(focus.begin(), focus.end(),
                     [](const model::FocusKey& a, const model::FocusKey& b) { return a.t < b.t; });
    const auto late =
        std::find_if(focus.begin() + 1, focus.end(), [&](const model::FocusKey& key) { return key.t > outStart; });
    focus.erase(late, focus.end());
    return focus;
}

}  // namespace

std::vector<model::ZoomSpec> ZoomEngine::autoSpecs(std::span<const model::PointerSample> clicks, double sourceWidth,
                                                   double sourceHeight, const Parameters& parameters) {
    return specsAround(pressesInside(clicks, sourceWidth, sourceHeight), sourceWidth, sourceHeight, parameters);
}

std::vector<model::ZoomSpec> ZoomEngine::specsAround(std::span<const model::PointerSample> places, double sourceWidth,
                                                     double sourceHeight, const Parameters& parameters) {
    if (sourceWidth <= 0 || sourceHeight <= 0) return {};
    std::vector<model::ZoomSpec> specs;
    double previousEnd = 0;
    for (std::size_t first = 0; first < places.size();) {
        std::size_t end = first + 1;
        while (end < places.size() && places[end].t - places[end - 1].t <= parameters.groupGap) ++end;

        model::ZoomSpec spec;
        spec.start =
            std::max(previousEnd + kSpecSpacing, places[first].t + parameters.arrival - parameters.zoomInDuration);
        spec.end = places[end - 1].t + parameters.hold;
        spec.scale = parameters.scale;
        const auto keyAt = [&](double t, const model::PointerSample& place) {
            spec.focus.push_back({t, place.px / sourceWidth, place.py / sourceHeight});
        };
        keyAt(spec.start + parameters.zoomInDuration, places[first]);
        const model::PointerSample* anchor = &places[first];
        for (std::size_t i = first + 1; i < end; ++i) {
            const model::PointerSample& place = places[i];
            if (std::hypot(place.px - anchor->px, place.py - anchor->py) > sourceWidth * parameters.panThreshold) {
                keyAt(place.t + parameters.arrival - parameters.panDuration, *anchor);
                keyAt(place.t + parameters.arrival, place);
                anchor = &place;
            }
        }
        previousEnd = spec.end + parameters.zoomOutDuration;
        specs.push_back(std::move(spec));
        first = end;
    }
    return specs;
}

ZoomEngine::ZoomEngine(std::vector<model::ZoomSpec> specs, double sourceWidth, double sourceHeight,
                       const Parameters& parameters)
    : scaleKeys_{{0, 1, 0}}, focusKeys_{{0, sourceWidth * 0.5, sourceHeight * 0.5}} {
    std::stable_sort(specs.begin(), specs.end(),
                     [](const model::ZoomSpec& a, const model::ZoomSpec& b) { return a.start < b.start; });
    for (std::size_t i = 0; i < specs.size(); ++i) {
        const model::ZoomSpec& spec = specs[i];
        precondition(!spec.focus.empty(), "a zoom has a focus key");
        const double inEnd = spec.start + parameters.zoomInDuration;
        const double holdEnd = std::max(inEnd, spec.end);
        bool zoomsOutFully = true;
        double outStart = holdEnd;
        if (i + 1 < specs.size()) {
            const double nextStart = specs[i + 1].start;
            zoomsOutFully = holdEnd + parameters.zoomOutDuration <= nextStart;
            // Too close to zoom out in between: stay, and go straight into the next zoom.
            if (!zoomsOutFully) outStart = std::max(inEnd, std::min(holdEnd, nextStart - kSpecSpacing));
        }
        const double outEnd = outStart + parameters.zoomOutDuration;

        const double scale = std::max(spec.scale, 1.0);
        appendKey(scaleKeys_, spec.start, interpolate(scaleKeys_, spec.start).x, 0);
        appendKey(scaleKeys_, inEnd, scale, 0);
        appendKey(scaleKeys_, outStart, scale, 0);
        if (zoomsOutFully) appendKey(scaleKeys_, outEnd, 1, 0);

        const std::vector<model::FocusKey> focus = focusUntil(spec.focus, outStart);
        // The camera stays where it is until the zoom begins.
        const Point current = interpolate(focusKeys_, spec.start);
        appendKey(focusKeys_, spec.start, current.x, current.y);
        for (const model::FocusKey& key : focus) {
            appendKey(focusKeys_, std::min(key.t, outStart), sourceWidth * key.x, sourceHeight * key.y);
        }
        if (zoomsOutFully) appendKey(focusKeys_, outEnd, sourceWidth * focus.back().x, sourceHeight * focus.back().y);

        events_.push_back({spec.start, outStart});
    }
}

ZoomEngine::Camera ZoomEngine::camera(double t) const {
    const Point focus = interpolate(focusKeys_, t);
    return {interpolate(scaleKeys_, t).x, focus.x, focus.y};
}

Point ZoomEngine::interpolate(std::span<const Key> keys, double t) {
    if (keys.empty()) return {1, 0};
    if (t <= keys.front().t) return {keys.front().x, keys.front().y};
    if (t >= keys.back().t) return {keys.back().x, keys.back().y};
    std::size_t low = 0;
    std::size_t high = keys.size() - 1;
    while (low + 1 < high) {
        const std::size_t middle = (low + high) / 2;
        if (t < keys[middle].t) {
            high = middle;
        } else {
            low = middle;
        }
    }
    const Key& from = keys[low];
    const Key& to = keys[high];
    const double length = to.t - from.t;
    if (length <= 0) return {to.x, to.y};
    const double u = (t - from.t) / length;
    // Quintic smootherstep: no speed and no acceleration at either end, so the camera rests at every key.
    const double eased = u * u * u * (u * (6 * u - 15) + 10);
    return {from.x + (to.x - from.x) * eased, from.y + (to.y - from.y) * eased};
}

}  // namespace lumivastor::edit

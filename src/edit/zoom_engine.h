// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "base/geometry.h"
#include "base/interval.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"

namespace lumivastor::edit {

/// The virtual camera of the studio video. `autoSpecs` proposes zooms from recorded clicks; an engine turns a list of
/// zooms, proposed or made by hand, into eased curves of scale and focus and returns the camera at any source time.
/// Immutable; queries may come from any thread and allocate nothing. All times are source seconds.
class ZoomEngine {
  public:
    /// A point of a curve. Scale curve: `x` is the scale, `y` is 0. Focus curve: source pixels, origin top-left.
    struct Key {
        double t = 0;
        double x = 0, y = 0;

        bool operator==(const Key&) const = default;
    };

    /// One zoom: from its start to the moment its zoom-out begins.
    using Event = Interval;

    struct Camera {
        /// 1 is the whole picture.
        double scale = 1;
        /// The picture point at the centre of the zoomed view: source pixels, origin top-left. Never clamped here.
        double focusX = 0, focusY = 0;
    };

    struct Parameters {
        /// Scale of proposed zooms.
        double scale = 1.6;
        /// Seconds.
        double zoomInDuration = 0.7;
        double zoomOutDuration = 1.0;
        double panDuration = 0.8;
        /// How long after a click the camera arrives on it, in seconds.
        double arrival = 0.15;
        /// How long a zoom stays after the last click of a group, in seconds.
        double hold = 2.0;
        /// Largest pause between two clicks of one group, in seconds.
        double groupGap = 3.2;
        /// Distance from which a click makes the camera pan, as a fraction of the source width.
        double panThreshold = 0.16;
    };

    /// Proposes zooms, in time order. Of `clicks` only the presses inside the picture count, its edges included.
    static std::vector<model::ZoomSpec> autoSpecs(std::span<const model::PointerSample> clicks, double sourceWidth,
                                                  double sourceHeight, const Parameters& parameters);

    /// The same around places of any kind, in time order and inside the picture.
    static std::vector<model::ZoomSpec> specsAround(std::span<const model::PointerSample> places, double sourceWidth,
                                                    double sourceHeight, const Parameters& parameters);

    /// Builds the curves. Every spec must have a focus key (a precondition: files are checked before).
    ZoomEngine(std::vector<model::ZoomSpec> specs, double sourceWidth, double sourceHeight,
               const Parameters& parameters);

    Camera camera(double t) const;

    /// Times increase by at least 0.01 s from key to key.
    const std::vector<Key>& scaleKeys() const { return scaleKeys_; }
    const std::vector<Key>& focusKeys() const { return focusKeys_; }
    const std::vector<Event>& events() const { return events_; }

    bool operator==(const ZoomEngine&) const = default;

  private:
    static Point interpolate(std::span<const Key> keys, double t);

    std::vector<Key> scaleKeys_;
    std::vector<Key> focusKeys_;
    std::vector<Event> events_;
};

}  // namespace lumivastor::edit

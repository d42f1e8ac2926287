// SPDX-License-Identifier: GPL-3.0-or-later
#include "edit/pointer_rests.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>

#include "edit/edit_state.h"

namespace lumivastor::edit {
namespace {

double distance(const model::PointerSample& a, const model::PointerSample& b) {
    return std::hypot(a.px - b.px, a.py - b.py);
}

// The cursor's shape over time.
class Shapes {
  public:
    explicit Shapes(const model::PointerTrack& track) : changes_(track.cursorChanges) {
        for (const model::CursorImage& image : track.cursorImages) {
            if (!image.visible) invisible_.insert(image.id);
        }
    }

    bool isVisibleAt(double t) const {
        const std::string* const id = cursorShapeAt(changes_, t);
        return id == nullptr || !invisible_.contains(*id);
    }
    bool differs(double before, double after) const {
        const std::string* const first = cursorShapeAt(changes_, before);
        const std::string* const second = cursorShapeAt(changes_, after);
        return first != nullptr && second != nullptr && *first != *second;
    }

  private:
    const std::vector<model::CursorChange>& changes_;
    std::set<std::string, std::less<>> invisible_;
};

}  // namespace

std::vector<model::PointerSample> pointerRests(const model::PointerTrack& track, double duration, double sourceWidth,
                                               const RestRules& rules) {
    std::vector<model::PointerSample> places;  // scrolling has no place of its own
    std::copy_if(track.events.begin(), track.events.end(), std::back_inserter(places),
                 [](const model::PointerSample& event) { return event.kind != model::PointerKind::scroll; });
    const Shapes shapes(track);
    const double radius = rules.radius * sourceWidth;
    std::vector<model::PointerSample> rests;
    if (places.empty()) return rests;

    // The last place that counted: at first where the recording began, which no move led to.
    model::PointerSample last = places.front();
    double farthest = 0;        // from there
    double departure = last.t;  // when the pointer left it
    for (std::size_t first = 0; first < places.size();) {
        // From `first` on the pointer stays near it until `end`.
        std::size_t end = first + 1;
        while (end < places.size() && distance(places[end], places[first]) <= radius) ++end;
        const model::PointerSample& arrival = places[first];
        const double until = end < places.size() ? places[end].t : duration;
        farthest = std::max(farthest, distance(arrival, last));
        if (farthest <= radius) departure = until;

        const double stay = until - arrival.t;
        const double settled = arrival.t + rules.secondsAtNewShape;
        const bool isLong =
            stay >= rules.seconds || (stay >= rules.secondsAtNewShape && shapes.differs(departure, settled));
        const bool isOfTheStop = arrival.t > duration - rules.beforeEnd;
        if (isLong && !isOfTheStop && farthest > rules.travel * sourceWidth && shapes.isVisibleAt(settled)) {
            last = places[end - 1];  // where it settled
            last.t = arrival.t;
            last.kind = model::PointerKind::move;
            last.button = std::nullopt;
            rests.push_back(last);
            farthest = 0;
            departure = until;
        }
        first = end;
    }
    return rests;
}

}  // namespace lumivastor::edit

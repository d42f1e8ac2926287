// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>

#include "base/interval.h"
#include "imaging/picture.h"

// A stand-in is a picture of the screen from near the moment that is sought. It is shown until the exact one is
// decoded.

namespace lumivastor::playback {

/// A small picture of the screen track.
struct SmallStandIn {
    imaging::Picture picture;
    /// A moment of the timeline at which the track shows it.
    double seconds = 0;
};

/// The small picture nearest to `seconds` among those that are shown within a stretch of the timeline; nullopt when
/// there is none. Called on the player's threads; must return at once.
using SmallStandIns = std::function<std::optional<SmallStandIn>(double seconds, const Interval& within)>;

/// Whether a decoded picture stands in better than a small one. Distances from the moment in seconds; nullopt: there is
/// no small one. A sharp picture from a little further away says more than a blurred one from nearby.
bool isDecodedBetter(double decodedDistance, const std::optional<double>& smallDistance);

/// From when a stand-in may be shown for a moment asked for at `asked`, after the last was shown at `last` (none yet:
/// nullopt); host seconds. Where a decoded picture is only `decodedDistance` seconds of the timeline away (nullopt:
/// there is none), the exact one is nearly there and is waited for. A stream of seeks shows no more stand-ins than a
/// display does, because each takes time from decoding.
double standInDue(double asked, const std::optional<double>& last, const std::optional<double>& decodedDistance);

/// Where the playhead of a still player will be soon, if it goes on as it did: dragged, shuttling, or stepped by a key
/// that is held down. Plain value; one thread.
class PlayheadMotion {
  public:
    /// The playhead went to `seconds` at the host time `now`.
    void moved(double seconds, double now);
    /// It was played, or the timeline is another.
    void reset() { last_.reset(), speed_ = 0; }

    /// The stretch that it will pass next, from its place on; before it when it goes back. nullopt while it does not
    /// move, or too fast for all pictures on its way to be decoded.
    std::optional<Interval> ahead() const;

  private:
    struct Move {
        double seconds = 0;
        double now = 0;
    };

    std::optional<Move> last_;
    double speed_ = 0;  // seconds of the timeline a second
};

}  // namespace lumivastor::playback

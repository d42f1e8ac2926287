// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <utility>

#include "imaging/damage_area.h"
#include "imaging/damage_history.h"

namespace lumivastor::capture {

/// Where a picture that is appended to the movie may differ from the one appended before. A stream tells how its
/// pictures differ from one delivery to the next; those that are left out, for want of room or as older than the
/// session, must not take their differences with them. One thread.
class AppendedDamage {
  public:
    /// The stream delivered a picture that differs from the one before within `damage`. Returns its number.
    std::uint64_t delivered(imaging::KnownDamage damage) { return history_.add(std::move(damage)); }

    /// The picture of this number is appended. Numbers do not descend. Newer pictures may have been delivered already;
    /// their differences are then told twice.
    imaging::KnownDamage appended(std::uint64_t number) { return history_.since(std::exchange(appended_, number)); }

  private:
    imaging::DamageHistory history_;
    std::uint64_t appended_ = 0;  // none
};

}  // namespace lumivastor::capture

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "imaging/damage_area.h"

namespace lumivastor::imaging {

/// What changed from picture to picture in one stream, so that a reused buffer that holds an earlier picture is brought
/// up to date by the difference alone. One thread at a time.
class DamageHistory {
  public:
    /// Buffers that lag further behind are filled whole. Streams rotate among fewer.
    static constexpr std::size_t kLength = 32;

    /// The stream goes on with a picture that differs from the one before only within `damage`. Returns its number,
    /// from 1 on.
    std::uint64_t add(KnownDamage damage);

    /// Where the newest picture differs from that of this number. 0 stands for a buffer without a picture.
    KnownDamage since(std::uint64_t picture) const;

  private:
    std::uint64_t newest_ = 0;
    std::deque<KnownDamage> recent_;  // of the newest pictures, the newest last
};

}  // namespace lumivastor::imaging

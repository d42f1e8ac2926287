// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "render/cut_composition.h"

namespace lumivastor::render {

/// Pictures of a film that are coded together and without the others.
struct PictureGroup {
    std::int64_t first = 0;  // its number in the film
    int count = 0;

    bool operator==(const PictureGroup&) const = default;
};

/// At most, in seconds: as far as key pictures of a film are apart.
inline constexpr double kGroupSeconds = 2;

/// Divides a film of `total` pictures (at least 1) into groups. They begin at each kept segment, and within one at the
/// source's even seconds, so that a cut changes the groups beside it only: those behind it have the same
/// pictures as before if it is a whole number of pictures long.
///
///     source   0----2----4----6----8----10          0----2----4-|xxx|-8----10
///     groups   [    ][    ][    ][    ][    ]       [    ][    ][ ][ ][    ]
///
/// A cut within half a second of a group's beginning begins none. No group but the last has one picture alone: two key
/// pictures in a row would need different numbers.
std::vector<PictureGroup> pictureGroups(std::span<const ShownSegment> segments, std::int64_t fps, std::int64_t total);

}  // namespace lumivastor::render

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Which keys of a keyboard type a letter. Plain functions of the server's keyboard mapping.

namespace lumivastor::x11 {

/// The symbols of each key as the server tells them: `columns` for each, the first key's first. The first two columns
/// are those of the first group (layout), the next two those of the second; what follows mixes further ones.
struct KeyboardMapping {
    std::span<const std::uint32_t> symbols;
    int columns = 0;
    int firstKey = 8;
};

/// All keys that type the letter (A...Z) in any group.
std::vector<std::uint8_t> keysFor(const KeyboardMapping& mapping, char letter);

/// Whether a press of `key`, one of those, means the letter while this group (0 to 3) is in force: where the group has
/// the letter on another key, that one does; where it has no such letter, as layouts of other scripts, every one of
/// them does.
bool meansLetter(const KeyboardMapping& mapping, std::uint8_t key, int group, char letter);

}  // namespace lumivastor::x11

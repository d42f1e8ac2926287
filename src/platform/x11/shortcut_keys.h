// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Which keys of a keyboard type a letter. Plain functions of the server's keyboard mapping.

namespace lumivastor::x11 {

/// The server's symbols of each key: `columns` for each key, starting with the first key. The first two columns belong
/// to the first group (layout), the next two to the second; the rest mixes further groups.
struct KeyboardMapping {
    std::span<const std::uint32_t> symbols;
    int columns = 0;
    int firstKey = 8;
};

/// All keys that type the letter (A...Z) in any group.
std::vector<std::uint8_t> keysFor(const KeyboardMapping& mapping, char letter);

/// Whether a press of `key`, one of `keysFor`, means the letter while this group (0 to 3) is active. If the group has
/// the letter, only the key with that letter does; if it lacks the letter, like layouts of other scripts, every one of
/// them does.
bool meansLetter(const KeyboardMapping& mapping, std::uint8_t key, int group, char letter);

}  // namespace lumivastor::x11

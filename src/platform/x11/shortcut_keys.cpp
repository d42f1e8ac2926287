// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/shortcut_keys.h"

#include <algorithm>

#include "platform/global_shortcut.h"

namespace lumivastor::x11 {

namespace {

// Only for these groups are the columns known.
constexpr int kPlainGroups = 2;
constexpr int kGroupColumns = 2;

constexpr std::uint32_t kEscapeSymbol = 0xff1b;

// The symbols of letters are their ASCII codes; a key's first symbol is the small letter, or on some servers the
// capital one.
bool types(std::uint32_t symbol, char letter) {
    if (letter == platform::kEscapeKey) return symbol == kEscapeSymbol;
    const auto capital = static_cast<std::uint32_t>(static_cast<unsigned char>(letter));
    return symbol == capital || symbol == capital + ('a' - 'A');
}

using Row = std::span<const std::uint32_t>;

bool typesIn(Row row, char letter) {
    return std::any_of(row.begin(), row.end(), [letter](std::uint32_t symbol) { return types(symbol, letter); });
}

std::size_t keyCount(const KeyboardMapping& mapping) {
    return mapping.columns > 0 ? mapping.symbols.size() / static_cast<std::size_t>(mapping.columns) : 0;
}

Row rowOf(const KeyboardMapping& mapping, std::size_t index) {
    const auto columns = static_cast<std::size_t>(mapping.columns);
    return mapping.symbols.subspan(index * columns, columns);
}

std::uint8_t keyOf(const KeyboardMapping& mapping, std::size_t index) {
    return static_cast<std::uint8_t>(mapping.firstKey + static_cast<int>(index));
}

Row groupOf(Row row, int group) {
    const auto first = static_cast<std::size_t>(group * kGroupColumns);
    return first < row.size() ? row.subspan(first, std::min<std::size_t>(kGroupColumns, row.size() - first)) : Row();
}

}  // namespace

std::vector<std::uint8_t> keysFor(const KeyboardMapping& mapping, char letter) {
    std::vector<std::uint8_t> keys;
    for (std::size_t i = 0; i < keyCount(mapping); ++i) {
        if (typesIn(rowOf(mapping, i), letter)) keys.push_back(keyOf(mapping, i));
    }
    return keys;
}

bool meansLetter(const KeyboardMapping& mapping, std::uint8_t key, int group, char letter) {
    if (group < 0 || group >= kPlainGroups) return true;
    bool groupHasLetter = false;
    for (std::size_t i = 0; i < keyCount(mapping); ++i) {
        if (!typesIn(groupOf(rowOf(mapping, i), group), letter)) continue;
        groupHasLetter = true;
        if (keyOf(mapping, i) == key) return true;
    }
    return !groupHasLetter;
}

}  // namespace lumivastor::x11

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/picture_changes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

constexpr int kMb = 16;
// Macroblocks that are asked, and how many are looked at to find them.
constexpr int kProbes = 24;
constexpr int kCandidates = 400;
// Rows of a macroblock that differ from the one above, from which on it tells one place from another.
constexpr int kBusyRows = 6;
// On a page that repeats itself few macroblocks do not tell how far it was moved. Displacements that have at least one
// over this many of the most votes are compared by what all of the picture says, of which each of so many is looked at.
constexpr int kRunnerUp = 2;
constexpr std::size_t kOneOf = 7;

// Levels of chroma between the least and the greatest of a macroblock. Black text of a bluish tint has 6; that of
// coloured text, 40 and more.
constexpr int kFaintContrast = 12;

// A row of a macroblock's chroma, in one register: operators work on each sample. The compiler does not find that in
// loops over eight bytes, and a scroll has half a million of these rows a second.
using ChromaRow = std::uint8_t __attribute__((vector_size(kMb / 2)));

ChromaRow chromaRow(const std::uint8_t* samples) {
    ChromaRow row;
    std::memcpy(&row, samples, sizeof row);
    return row;
}

bool isSameRow(ChromaRow a, ChromaRow b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// (a + b + 1) >> 1, without the ninth bit.
ChromaRow meanOf(ChromaRow a, ChromaRow b) {
    return (a | b) - ((a ^ b) >> 1);
}

ChromaRow meanOf(ChromaRow a, ChromaRow b, ChromaRow c, ChromaRow d) {
    ChromaRow mean;
    for (int i = 0; i < kMb / 2; ++i) mean[i] = static_cast<std::uint8_t>((a[i] + b[i] + c[i] + d[i] + 2) >> 2);
    return mean;
}

// The range of a macroblock's chroma, column by column.
struct Levels {
    ChromaRow least;
    ChromaRow greatest;

    explicit Levels(ChromaRow row) : least(row), greatest(row) {}
    void add(ChromaRow row) {
        least = row < least ? row : least;
        greatest = row > greatest ? row : greatest;
    }
    int contrast() const {
        int low = 255;
        int high = 0;
        for (int i = 0; i < kMb / 2; ++i) {
            low = std::min<int>(low, least[i]);
            high = std::max<int>(high, greatest[i]);
        }
        return high - low;
    }
};

struct Plane {
    const std::uint8_t* samples;
    std::ptrdiff_t stride;
    int width;
    int height;
    int mbSize;

    const std::uint8_t* at(int x, int y) const { return samples + y * stride + x; }
};

std::array<Plane, 3> planesOf(const imaging::YuvPicture& picture) {
    const int width = picture.chromaWidth();
    const int height = picture.chromaHeight();
    return {{{picture.luma.samples, picture.luma.stride, picture.width, picture.height, kMb},
             {picture.cb.samples, picture.cb.stride, width, height, kMb / 2},
             {picture.cr.samples, picture.cr.stride, width, height, kMb / 2}}};
}

int columnsOf(const imaging::YuvPicture& picture) {
    return (picture.width + kMb - 1) / kMb;
}

bool isSameRow(const std::uint8_t* a, const std::uint8_t* b, int count) {
    return std::memcmp(a, b, static_cast<std::size_t>(count)) == 0;
}

// Marks what differs in samples [left, right) of one row; `left` is a macroblock's edge.
void markRow(const Plane& a, const Plane& b, int y, int left, int right, std::uint8_t* marks) {
    if (isSameRow(a.at(left, y), b.at(left, y), right - left)) return;
    for (int x = left; x < right; x += a.mbSize) {
        std::uint8_t& mark = marks[x / a.mbSize];
        if (mark == 0 && !isSameRow(a.at(x, y), b.at(x, y), std::min(a.mbSize, right - x))) mark = 1;
    }
}

// A row of a macroblock's chroma at an odd displacement: means of the two or four samples around each, as 8.4.2.2.2
// rounds them.
ChromaRow chromaBetween(const Plane& plane, int x, int y, bool betweenColumns, bool betweenRows) {
    const std::uint8_t* const first = plane.at(x, y);
    if (!betweenRows) return meanOf(chromaRow(first), chromaRow(first + 1));
    const std::uint8_t* const below = first + plane.stride;
    if (!betweenColumns) return meanOf(chromaRow(first), chromaRow(below));
    return meanOf(chromaRow(first), chromaRow(first + 1), chromaRow(below), chromaRow(below + 1));
}

}  // namespace

int markChanges(const imaging::YuvPicture& picture, const imaging::YuvPicture& before,
                const imaging::KnownDamage& damage, MacroblockMap& changed) {
    const auto columns = static_cast<std::size_t>(columnsOf(picture));
    const auto rows = static_cast<std::size_t>((picture.height + kMb - 1) / kMb);
    changed.assign(columns * rows, 0);
    const PixelRect everything{0, 0, picture.width, picture.height};
    const auto rects = damage ? damage->rects() : std::span(&everything, 1);
    const auto a = planesOf(picture);
    const auto b = planesOf(before);
    for (const PixelRect& rect : rects) {
        // All of each macroblock that is touched.
        const int left = std::max(0, rect.x / kMb);
        const int top = std::max(0, rect.y / kMb);
        const int right = (rect.x + rect.width + kMb - 1) / kMb;
        const int bottom = (rect.y + rect.height + kMb - 1) / kMb;
        if (rect.width <= 0 || rect.height <= 0) continue;
        for (std::size_t i = 0; i < a.size(); ++i) {
            const int size = a[i].mbSize;
            const int end = std::min(right * size, a[i].width);
            for (int y = top * size; y < std::min(bottom * size, a[i].height) && left * size < end; ++y) {
                markRow(a[i], b[i], y, left * size, end, changed.data() + static_cast<std::size_t>(y / size) * columns);
            }
        }
    }
    return static_cast<int>(std::count(changed.begin(), changed.end(), 1));
}

bool isSame(const imaging::YuvPicture& picture, const imaging::YuvPicture& before, int mbX, int mbY) {
    const auto a = planesOf(picture);
    const auto b = planesOf(before);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int x = mbX * a[i].mbSize;
        const int width = std::min(a[i].mbSize, a[i].width - x);
        const int end = std::min((mbY + 1) * a[i].mbSize, a[i].height);
        for (int y = mbY * a[i].mbSize; y < end; ++y) {
            if (!isSameRow(a[i].at(x, y), b[i].at(x, y), width)) return false;
        }
    }
    return true;
}

Move findMove(const imaging::YuvPicture& picture, const imaging::YuvPicture& before, int mbX, int mbY,
              const Displacement& displacement) {
    const int left = mbX * kMb + displacement.x;
    const int top = mbY * kMb + displacement.y;
    if (mbX * kMb + kMb > picture.width || mbY * kMb + kMb > picture.height || left < 0 || top < 0 ||
        left + kMb > picture.width || top + kMb > picture.height) {
        return Move::none;
    }
    const auto a = planesOf(picture);
    const auto b = planesOf(before);
    for (int y = 0; y < kMb; ++y) {
        if (!isSameRow(a[0].at(mbX * kMb, mbY * kMb + y), b[0].at(left, top + y), kMb)) return Move::none;
    }
    const bool betweenColumns = left % 2 != 0;
    const bool betweenRows = top % 2 != 0;
    Move move = Move::exact;
    for (std::size_t i = 1; i < a.size(); ++i) {
        const int chromaX = mbX * kMb / 2;
        const int chromaY = mbY * kMb / 2;
        Levels levels(chromaRow(a[i].at(chromaX, chromaY)));
        for (int y = 0; y < kMb / 2; ++y) {
            const ChromaRow row = chromaRow(a[i].at(chromaX, chromaY + y));
            if (!betweenColumns && !betweenRows) {
                if (!isSameRow(row, chromaRow(b[i].at(left / 2, top / 2 + y)))) return Move::none;
                continue;
            }
            const ChromaRow between = chromaBetween(b[i], left / 2, top / 2 + y, betweenColumns, betweenRows);
            levels.add(row);
            levels.add(between);
            if (!isSameRow(row, between)) move = Move::faint;
        }
        if (move == Move::faint && levels.contrast() > kFaintContrast) return Move::none;
    }
    return move;
}

namespace {

int countMoved(const imaging::YuvPicture& picture, const imaging::YuvPicture& before, const MacroblockMap& changed,
               const Displacement& displacement) {
    const auto columns = static_cast<std::size_t>(columnsOf(picture));
    int count = 0;
    for (std::size_t mb = 0; mb < changed.size(); mb += kOneOf) {
        if (changed[mb] == 0) continue;
        const int x = static_cast<int>(mb % columns);
        const int y = static_cast<int>(mb / columns);
        count += findMove(picture, before, x, y, displacement) == Move::none ? 0 : 1;
    }
    return count;
}

}  // namespace

std::optional<Displacement> findScroll(const imaging::YuvPicture& picture, const imaging::YuvPicture& before,
                                       const MacroblockMap& changed, int reach) {
    precondition(reach >= 0, "a reach");
    const Plane a = planesOf(picture)[0];
    const Plane b = planesOf(before)[0];
    const auto columns = static_cast<std::size_t>(columnsOf(picture));
    std::vector<int> votes(static_cast<std::size_t>(2 * reach) + 1);
    int probes = 0;
    int candidates = 0;
    for (std::size_t k = 0; k < changed.size() && probes < kProbes && candidates < kCandidates; ++k) {
        // A step of a large prime takes them from all over the picture.
        const std::size_t mb = k * 7919 % changed.size();
        if (changed[mb] == 0) continue;
        ++candidates;
        const int x = static_cast<int>(mb % columns) * kMb;
        const int y = static_cast<int>(mb / columns) * kMb;
        if (x + kMb > picture.width || y + kMb > picture.height) continue;
        int busy = 0;
        for (int row = 1; row < kMb; ++row) busy += isSameRow(a.at(x, y + row), a.at(x, y + row - 1), kMb) ? 0 : 1;
        if (busy < kBusyRows) continue;
        ++probes;
        const int end = std::min(reach, picture.height - kMb - y);
        for (int by = std::max(-reach, -y); by <= end; ++by) {
            int row = 0;
            while (row < kMb && isSameRow(a.at(x, y + row), b.at(x, y + by + row), kMb)) ++row;
            if (row == kMb && by != 0) ++votes[static_cast<std::size_t>(by + reach)];
        }
    }
    const int most = *std::max_element(votes.begin(), votes.end());
    if (most < 3 || 3 * most < probes) return std::nullopt;
    std::optional<Displacement> best;
    int moved = 0;
    // The nearest first: of equals it is the likeliest.
    for (int i = 0; i < 2 * reach + 1; ++i) {
        const Displacement candidate{0, i % 2 == 0 ? i / 2 : -(i + 1) / 2};
        const int given = votes[static_cast<std::size_t>(candidate.y + reach)];
        if (kRunnerUp * given < most) continue;
        const int count = countMoved(picture, before, changed, candidate);
        if (best && count <= moved) continue;
        best = candidate;
        moved = count;
    }
    return best;
}

}  // namespace lumivastor::media

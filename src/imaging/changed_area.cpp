// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/changed_area.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace lumivastor::imaging {

namespace {

constexpr int kBlockWidth = 64;
constexpr int kBlockHeight = 16;
// From this part of the blocks on the rest is not compared: nearly all is painted or encoded anyway.
constexpr double kMost = 0.5;

// A plane of both pictures; its blocks are `blockWidth` samples wide.
struct Planes {
    const YuvPlane& before;
    const YuvPlane& after;
    int width;
    int blockWidth;

    // Marks the blocks in which a row differs.
    void markRow(int y, std::vector<std::uint8_t>& differs) const {
        const std::uint8_t* const a = before.samples + y * before.stride;
        const std::uint8_t* const b = after.samples + y * after.stride;
        if (std::memcmp(a, b, static_cast<std::size_t>(width)) == 0) return;
        for (std::size_t block = 0; block < differs.size(); ++block) {
            if (differs[block] != 0) continue;
            const int from = static_cast<int>(block) * blockWidth;
            const auto count = static_cast<std::size_t>(std::min(blockWidth, width - from));
            if (std::memcmp(a + from, b + from, count) != 0) differs[block] = 1;
        }
    }
};

// Stretches of blocks that differ in the same columns of several rows of blocks become one rectangle.
class Rectangles {
  public:
    explicit Rectangles(const YuvPicture& picture) : all_{0, 0, picture.width, picture.height} {}

    void addRow(int top, const std::vector<std::uint8_t>& differs) {
        std::vector<PixelRect> row;
        for (std::size_t from = 0; from < differs.size(); ++from) {
            if (differs[from] == 0) continue;
            std::size_t to = from;
            while (to < differs.size() && differs[to] != 0) ++to;
            row.push_back(
                {static_cast<int>(from) * kBlockWidth, top, static_cast<int>(to - from) * kBlockWidth, kBlockHeight});
            from = to;
        }
        for (PixelRect& each : open_) {
            const auto same = std::find_if(row.begin(), row.end(), [&](const PixelRect& one) {
                return one.x == each.x && one.width == each.width;
            });
            if (same == row.end()) {
                add(each);
            } else {
                *same = united(*same, each);
            }
        }
        open_ = std::move(row);
    }

    DamageArea finished() {
        for (const PixelRect& each : open_) add(each);
        return area_;
    }

  private:
    void add(const PixelRect& rect) { area_.add(intersection(rect, all_)); }

    const PixelRect all_;
    std::vector<PixelRect> open_;  // those that end with the last row
    DamageArea area_{DamageArea::kManyRects};
};

}  // namespace

KnownDamage changedArea(const YuvPicture& before, const YuvPicture& after) {
    if (before.width != after.width || before.height != after.height || before.encoding != after.encoding) {
        return std::nullopt;
    }
    const Planes luma{before.luma, after.luma, after.width, kBlockWidth};
    const Planes cb{before.cb, after.cb, after.chromaWidth(), kBlockWidth / 2};
    const Planes cr{before.cr, after.cr, after.chromaWidth(), kBlockWidth / 2};
    std::vector<std::uint8_t> differs(static_cast<std::size_t>((after.width + kBlockWidth - 1) / kBlockWidth));
    const int blockRows = (after.height + kBlockHeight - 1) / kBlockHeight;
    const auto most = static_cast<std::ptrdiff_t>(kMost * blockRows * static_cast<double>(differs.size()));
    std::ptrdiff_t found = 0;
    Rectangles rectangles(after);
    for (int top = 0; top < after.height; top += kBlockHeight) {
        std::fill(differs.begin(), differs.end(), std::uint8_t{0});
        const int bottom = std::min(top + kBlockHeight, after.height);
        for (int y = top; y < bottom; ++y) luma.markRow(y, differs);
        for (int y = top / 2; y < (bottom + 1) / 2; ++y) {
            cb.markRow(y, differs);
            cr.markRow(y, differs);
        }
        found += std::count(differs.begin(), differs.end(), std::uint8_t{1});
        if (found > most) return std::nullopt;
        rectangles.addRow(top, differs);
    }
    return rectangles.finished();
}

}  // namespace lumivastor::imaging

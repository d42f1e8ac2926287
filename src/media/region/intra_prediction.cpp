// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/intra_prediction.h"

#include <algorithm>

namespace lumivastor::media {

namespace {

// What is predicted from nothing: half of the range.
constexpr int kMiddle = 128;

std::uint8_t clipped(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

struct EdgeSums {
    int left = 0;
    int top = 0;
};

// Sums over `count` neighbours from `from` on, where they may be used.
EdgeSums sumsOf(const BlockPlace& place, const Neighbours& neighbours, int leftFrom, int topFrom, int count) {
    EdgeSums sums;
    for (int i = 0; neighbours.left && i < count; ++i) sums.left += place.samples[(leftFrom + i) * place.stride - 1];
    for (int i = 0; neighbours.top && i < count; ++i) sums.top += place.samples[topFrom + i - place.stride];
    return sums;
}

// The mean of the sums of 2^log2 neighbours that may be used.
int meanOf(const EdgeSums& sums, bool left, bool top, int log2) {
    if (left && top) return (sums.left + sums.top + (1 << log2)) >> (log2 + 1);
    if (left || top) return ((left ? sums.left : sums.top) + (1 << (log2 - 1))) >> log2;
    return kMiddle;
}

template <std::size_t kSize, std::size_t kSamples>
void predictVertically(const BlockPlace& place, std::array<std::uint8_t, kSamples>& prediction) {
    const std::uint8_t* const above = place.samples - place.stride;
    for (std::size_t y = 0; y < kSize; ++y) std::copy_n(above, kSize, prediction.begin() + y * kSize);
}

template <std::size_t kSize, std::size_t kSamples>
void predictHorizontally(const BlockPlace& place, std::array<std::uint8_t, kSamples>& prediction) {
    const std::uint8_t* left = place.samples - 1;
    for (std::size_t y = 0; y < kSize; ++y, left += place.stride) {
        std::fill_n(prediction.begin() + y * kSize, kSize, *left);
    }
}

// 8.3.3.4 and 8.3.4.4; `slope` makes a gradient of the weighted differences.
template <int kSize, std::size_t kSamples>
void predictPlane(const BlockPlace& place, int slope, std::array<std::uint8_t, kSamples>& prediction) {
    constexpr int kHalf = kSize / 2;
    const auto above = [&place](int x) -> int { return place.samples[x - place.stride]; };
    const auto left = [&place](int y) -> int { return place.samples[y * place.stride - 1]; };
    int horizontal = 0;
    int vertical = 0;
    for (int i = 0; i < kHalf; ++i) {
        horizontal += (i + 1) * (above(kHalf + i) - above(kHalf - 2 - i));
        vertical += (i + 1) * (left(kHalf + i) - left(kHalf - 2 - i));
    }
    const int a = 16 * (left(kSize - 1) + above(kSize - 1));
    const int b = (slope * horizontal + 32) >> 6;
    const int c = (slope * vertical + 32) >> 6;
    std::size_t at = 0;
    for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
            prediction[at++] = clipped((a + b * (x - (kHalf - 1)) + c * (y - (kHalf - 1)) + 16) >> 5);
        }
    }
}

// 8.3.4.1 to 8.3.4.3: each quarter has a mean of its own, and its own preference.
void predictChromaDc(const BlockPlace& place, const Neighbours& neighbours, Block8x8& prediction) {
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) {
            const EdgeSums sums = sumsOf(place, neighbours, 4 * y, 4 * x, 4);
            const bool prefersTop = x > y;
            const bool prefersLeft = y > x;
            const bool left = neighbours.left && !(prefersTop && neighbours.top);
            const bool top = neighbours.top && !(prefersLeft && neighbours.left);
            const auto mean = static_cast<std::uint8_t>(meanOf(sums, left, top, 2));
            for (int row = 0; row < 4; ++row) {
                std::fill_n(prediction.begin() + (4 * y + row) * 8 + 4 * x, 4, mean);
            }
        }
    }
}

// The 13 neighbours of a 4x4 block lie in one line: the lowest on the left first, over the corner, to the rightmost
// above. `Intra4x4Predictor` keeps that line filtered with three taps, filtered with two, and as it is.
constexpr int kLine = 13;
constexpr int kThreeTaps = 0;
constexpr int kTwoTaps = kLine;
constexpr int kPlain = 2 * kLine;
constexpr int kMean = 3 * kLine;
constexpr int kLowest = 0;  // p[-1, 3]
constexpr int kCorner = 4;  // p[-1, -1]
constexpr int leftAt(int y) {
    return 3 - y;
}
constexpr int topAt(int x) {
    return 5 + x;
}

// 8.3.1.2.1 to 8.3.1.2.9: where the sample x, y of a mode comes from. `k` steps of two rows or columns make one along
// the line.
constexpr int sourceOf(Intra4x4Mode mode, int x, int y) {
    switch (mode) {
        case Intra4x4Mode::vertical:
            return kPlain + topAt(x);
        case Intra4x4Mode::horizontal:
            return kPlain + leftAt(y);
        case Intra4x4Mode::dc:
            return kMean;
        case Intra4x4Mode::diagonalDownLeft:
            return kThreeTaps + topAt(x + y + 1);
        case Intra4x4Mode::diagonalDownRight:
            return kThreeTaps + kCorner + x - y;
        case Intra4x4Mode::verticalRight: {
            const int k = x - (y >> 1);
            if (2 * x - y >= 0) return (y % 2 == 0 ? kTwoTaps : kThreeTaps) + kCorner + k;
            return kThreeTaps + (2 * x - y == -1 ? kCorner : leftAt(y - 2));
        }
        case Intra4x4Mode::horizontalDown: {
            const int k = y - (x >> 1);
            if (2 * y - x >= 0) return x % 2 == 0 ? kTwoTaps + leftAt(k) : kThreeTaps + leftAt(k - 1);
            return kThreeTaps + (2 * y - x == -1 ? kCorner : topAt(x - 2));
        }
        case Intra4x4Mode::verticalLeft: {
            const int k = x + (y >> 1);
            return y % 2 == 0 ? kTwoTaps + topAt(k) : kThreeTaps + topAt(k + 1);
        }
        case Intra4x4Mode::horizontalUp: {
            const int k = y + (x >> 1);
            if (x + 2 * y > 5) return kPlain + kLowest;
            if (x + 2 * y == 5) return kThreeTaps + kLowest;
            return (x % 2 == 0 ? kTwoTaps : kThreeTaps) + leftAt(k + 1);
        }
    }
    return kMean;
}

constexpr auto kSources = [] {
    std::array<std::array<std::uint8_t, 16>, kIntra4x4Modes> sources{};
    for (int mode = 0; mode < kIntra4x4Modes; ++mode) {
        for (int i = 0; i < 16; ++i) {
            sources[static_cast<std::size_t>(mode)][static_cast<std::size_t>(i)] =
                static_cast<std::uint8_t>(sourceOf(static_cast<Intra4x4Mode>(mode), i % 4, i / 4));
        }
    }
    return sources;
}();

}  // namespace

bool mayPredict(Intra4x4Mode mode, const Neighbours& neighbours) {
    switch (mode) {
        case Intra4x4Mode::dc:
            return true;
        case Intra4x4Mode::vertical:
        case Intra4x4Mode::diagonalDownLeft:
        case Intra4x4Mode::verticalLeft:
            return neighbours.top;
        case Intra4x4Mode::horizontal:
        case Intra4x4Mode::horizontalUp:
            return neighbours.left;
        case Intra4x4Mode::diagonalDownRight:
        case Intra4x4Mode::verticalRight:
        case Intra4x4Mode::horizontalDown:
            return neighbours.left && neighbours.top && neighbours.topLeft;
    }
    return false;
}

bool mayPredict(Intra16x16Mode mode, const Neighbours& neighbours) {
    switch (mode) {
        case Intra16x16Mode::dc:
            return true;
        case Intra16x16Mode::vertical:
            return neighbours.top;
        case Intra16x16Mode::horizontal:
            return neighbours.left;
        case Intra16x16Mode::plane:
            return neighbours.left && neighbours.top && neighbours.topLeft;
    }
    return false;
}

bool mayPredict(IntraChromaMode mode, const Neighbours& neighbours) {
    switch (mode) {
        case IntraChromaMode::dc:
            return true;
        case IntraChromaMode::vertical:
            return neighbours.top;
        case IntraChromaMode::horizontal:
            return neighbours.left;
        case IntraChromaMode::plane:
            return neighbours.left && neighbours.top && neighbours.topLeft;
    }
    return false;
}

void predict(Intra16x16Mode mode, const BlockPlace& place, const Neighbours& neighbours, Block16x16& prediction) {
    switch (mode) {
        case Intra16x16Mode::vertical:
            return predictVertically<16>(place, prediction);
        case Intra16x16Mode::horizontal:
            return predictHorizontally<16>(place, prediction);
        case Intra16x16Mode::plane:
            return predictPlane<16>(place, 5, prediction);
        case Intra16x16Mode::dc:
            break;
    }
    const EdgeSums sums = sumsOf(place, neighbours, 0, 0, 16);
    prediction.fill(static_cast<std::uint8_t>(meanOf(sums, neighbours.left, neighbours.top, 4)));
}

void predict(IntraChromaMode mode, const BlockPlace& place, const Neighbours& neighbours, Block8x8& prediction) {
    switch (mode) {
        case IntraChromaMode::vertical:
            return predictVertically<8>(place, prediction);
        case IntraChromaMode::horizontal:
            return predictHorizontally<8>(place, prediction);
        case IntraChromaMode::plane:
            return predictPlane<8>(place, 34, prediction);
        case IntraChromaMode::dc:
            return predictChromaDc(place, neighbours, prediction);
    }
}

Intra4x4Predictor::Intra4x4Predictor(const BlockPlace& place, const Neighbours& neighbours) {
    std::array<int, kLine> line{};
    const auto at = [&line](int i) -> int& { return line[static_cast<std::size_t>(i)]; };
    if (neighbours.left) {
        for (int y = 0; y < 4; ++y) at(leftAt(y)) = place.samples[y * place.stride - 1];
    }
    if (neighbours.topLeft) at(kCorner) = place.samples[-place.stride - 1];
    if (neighbours.top) {
        const std::uint8_t* const above = place.samples - place.stride;
        for (int x = 0; x < 8; ++x) at(topAt(x)) = above[neighbours.topRight ? x : std::min(x, 3)];
    }
    for (int i = 0; i < kLine; ++i) {
        const int before = at(std::max(i - 1, 0));
        const int after = at(std::min(i + 1, kLine - 1));
        const auto place40 = static_cast<std::size_t>(i);
        values_[kThreeTaps + place40] = static_cast<std::uint8_t>((before + 2 * at(i) + after + 2) >> 2);
        values_[kTwoTaps + place40] = static_cast<std::uint8_t>((at(i) + after + 1) >> 1);
        values_[kPlain + place40] = static_cast<std::uint8_t>(at(i));
    }
    EdgeSums sums;
    for (int i = 0; i < 4; ++i) {
        sums.left += at(leftAt(i));
        sums.top += at(topAt(i));
    }
    values_[kMean] = static_cast<std::uint8_t>(meanOf(sums, neighbours.left, neighbours.top, 2));
}

void Intra4x4Predictor::predict(Intra4x4Mode mode, Block4x4& prediction) const {
    const auto& sources = kSources[static_cast<std::size_t>(mode)];
    for (std::size_t i = 0; i < prediction.size(); ++i) prediction[i] = values_[sources[i]];
}

}  // namespace lumivastor::media

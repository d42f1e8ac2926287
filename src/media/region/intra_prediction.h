// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumivastor::media {

// Prediction of a block from the samples left of it and above it (ITU-T H.264, 8.3). The numbers of modes are the
// standard's.

enum class Intra4x4Mode : std::uint8_t {
    vertical,
    horizontal,
    dc,
    diagonalDownLeft,
    diagonalDownRight,
    verticalRight,
    horizontalDown,
    verticalLeft,
    horizontalUp,
};
inline constexpr int kIntra4x4Modes = 9;
enum class Intra16x16Mode : std::uint8_t { vertical, horizontal, dc, plane };
enum class IntraChromaMode : std::uint8_t { dc, horizontal, vertical, plane };

/// Which neighbours of a block may be used.
struct Neighbours {
    bool left = false;
    bool top = false;
    bool topLeft = false;
    bool topRight = false;
};

/// A block's place in a plane that holds its neighbours, too. Only those that may be used are read.
struct BlockPlace {
    const std::uint8_t* samples = nullptr;  // the top left sample
    std::ptrdiff_t stride = 0;
};

bool mayPredict(Intra4x4Mode mode, const Neighbours& neighbours);
bool mayPredict(Intra16x16Mode mode, const Neighbours& neighbours);
bool mayPredict(IntraChromaMode mode, const Neighbours& neighbours);

using Block4x4 = std::array<std::uint8_t, 16>;
using Block8x8 = std::array<std::uint8_t, 64>;
using Block16x16 = std::array<std::uint8_t, 256>;

/// The modes must be allowed.
void predict(Intra16x16Mode mode, const BlockPlace& place, const Neighbours& neighbours, Block16x16& prediction);
void predict(IntraChromaMode mode, const BlockPlace& place, const Neighbours& neighbours, Block8x8& prediction);

/// All predictions of one 4x4 block. Its neighbours are filtered once; then every mode is a table of places in what
/// came out.
class Intra4x4Predictor {
  public:
    Intra4x4Predictor(const BlockPlace& place, const Neighbours& neighbours);

    void predict(Intra4x4Mode mode, Block4x4& prediction) const;

  private:
    std::array<std::uint8_t, 40> values_{};
};

}  // namespace lumivastor::media

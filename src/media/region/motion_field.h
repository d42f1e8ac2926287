// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumivastor::media {

/// A displacement into a reference picture, in quarters of a luma sample.
struct MotionVector {
    int x = 0;
    int y = 0;

    bool operator==(const MotionVector&) const = default;
};

/// The motion of a picture's macroblocks, each of which moves as a whole, and what a decoder predicts from it (ITU-T
/// H.264, 8.4.1). Macroblocks are set in the order of coding; predictions read those before.
class MotionField {
  public:
    MotionField(int widthInMbs, int heightInMbs);

    void setInter(int mbX, int mbY, MotionVector vector, int refIdx);
    void setIntra(int mbX, int mbY);

    /// mvpL0 of a macroblock with this reference (8.4.1.3).
    MotionVector predicted(int mbX, int mbY, int refIdx) const;
    /// The vector of a P_Skip macroblock, whose reference has the index 0 (8.4.1.1).
    MotionVector ofSkipped(int mbX, int mbY) const;

  private:
    static constexpr int kIntra = -1;
    static constexpr int kNotAvailable = -2;
    struct Motion {
        MotionVector vector;
        int refIdx = kNotAvailable;
    };

    /// The macroblocks before, in the order of coding; others are not available.
    Motion at(int mbX, int mbY) const;
    Motion& place(int mbX, int mbY);

    int widthInMbs_;
    std::vector<Motion> motions_;
};

}  // namespace lumivastor::media

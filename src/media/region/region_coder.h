// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/yuv_picture.h"
#include "media/region/macroblock_coder.h"
#include "media/region/motion_field.h"
#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

/// What a region picture does with one macroblock.
enum class MacroblockKind : std::uint8_t {
    skipped,  // as in the picture before
    base,     // as in the encoder's last picture; not in the first region picture behind it
    coded,    // from the source's samples
    moved,    // as another place of the picture before
};

/// A displacement in whole luma samples, from a place to where its content was.
struct Displacement {
    int x = 0;
    int y = 0;

    bool operator==(const Displacement&) const = default;
};

/// The macroblocks of one picture, row by row.
struct RegionPlan {
    std::vector<MacroblockKind> kinds;
    /// The QP of each macroblock; empty: that of the settings for all.
    std::vector<std::uint8_t> qps;
    /// Of each macroblock, used where it is `moved`; empty if none is. What they point to lies within the picture that
    /// is shown, as far as the macroblock does.
    std::vector<Displacement> displacements;
};

struct RegionCoderSettings {
    /// Of everything without a QP of its own. 15 keeps text and pointers at 47.7 to 52 dB of luma PSNR.
    int qp = 15;
    /// Of residuals against our own picture before, where a macroblock has the settings' QP. Those with another QP are
    /// a camera's, and noise is not worth its bits (`Rounding`).
    Rounding interRounding = Rounding::upFromTwoThirds;
    bool mayPredictFromPicture = true;
    IntraEffort effort = IntraEffort::all;
    /// As many bits as a picture's macroblocks may have; nullopt: any number.
    std::optional<std::size_t> maxBits;
};

/// A region picture without its slice header, which is written when everything before it is (`StreamWeaver`).
struct CodedRegion {
    std::vector<std::uint8_t> bits;  // slice_data(), without rbsp_slice_trailing_bits()
    std::size_t bitCount = 0;
    int sliceQp = 26;
    bool usesBase = false;

    struct Counts {
        int intra4x4 = 0;
        int intra16x16 = 0;
        int inter = 0;
        int base = 0;
        int moved = 0;
        int coarser = 0;  // attempts that did not fit

        int coded() const { return intra4x4 + intra16x16 + inter; }
    };
    Counts counts;
};

/// Writes pictures in which little changed, as one P slice of H.264 with CAVLC, and knows what decoders show where it
/// coded: bit for bit. It needs no other encoder's reconstruction (`MacroblockCoder`). One thread at a time.
class RegionCoder {
  public:
    /// Outside, quantising would lose more than anybody accepts, or its levels would no longer fit their codes.
    static constexpr int kFinestQp = 8;
    static constexpr int kCoarsestQp = 35;

    /// The size that is shown, in luma samples, each at least 1. Macroblocks at the right and lower edge continue with
    /// the last column and row. `chromaQpIndexOffset` is that of the stream's `regionParameterSet`, -12 to 12: below 0
    /// colours are sharper.
    RegionCoder(int width, int height, int chromaQpIndexOffset);

    int widthInMbs() const { return widthInMbs_; }
    int heightInMbs() const { return heightInMbs_; }

    /// Another encoder's picture takes its turn: nothing that is shown is ours.
    void forgetAll() { macroblocks_.forgetAll(); }

    /// The picture for this plan. nullopt when it would have more bits than it may, or a macroblock fits at no QP:
    /// another encoder has to take the picture. Everything is forgotten then.
    std::optional<CodedRegion> code(const imaging::YuvPicture& source, const RegionPlan& plan,
                                    const RegionCoderSettings& settings);

    /// Whether `reconstruction` is what decoders show in this macroblock.
    bool isKnown(std::size_t mb) const { return macroblocks_.isKnown(mb); }
    const imaging::YuvPicture& reconstruction() const { return macroblocks_.reconstruction(); }

  private:
    struct Slice;

    bool codeMacroblock(std::size_t mb, Slice& slice);
    void writeBase(std::size_t mb, Slice& slice);
    void writeMotion(std::size_t mb, Slice& slice);
    SourceMacroblock sourceOf(const imaging::YuvPicture& source, int mbX, int mbY) const;

    int width_;
    int height_;
    int widthInMbs_;
    int heightInMbs_;
    int chromaQpIndexOffset_;
    MacroblockCoder macroblocks_;
    MotionField motion_;
    BitWriter writer_;
};

/// The picture parameter set of region pictures, as a unit.
std::vector<std::uint8_t> regionParameterSet(std::uint32_t id, std::uint32_t sequenceId, int chromaQpIndexOffset);

}  // namespace lumivastor::media

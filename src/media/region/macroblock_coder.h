// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "imaging/yuv_picture.h"
#include "media/region/intra_prediction.h"
#include "media/region/motion_field.h"
#include "media/region/transform.h"
#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

/// How hard the coder looks for a macroblock's prediction.
enum class IntraEffort : std::uint8_t {
    whole,   // the modes of 16x16 alone
    simple,  // 4x4 blocks with the three modes that need no filter as well
    all,     // all modes
};

/// The samples of one macroblock to code.
struct SourceMacroblock {
    Block16x16 luma{};
    std::array<Block8x8, 2> chroma{};  // cb, cr
};

/// What holds for one macroblock to code.
struct MacroblockTask {
    int mbX = 0;
    int mbY = 0;
    int qp = 0;
    int chromaQpIndexOffset = 0;
    /// Of what is left when the macroblock is predicted from the picture before.
    Rounding interRounding = Rounding::upFromTwoThirds;
    bool mayPredictFromPicture = true;
    IntraEffort effort = IntraEffort::all;
    bool slicePredictsFromTwo = false;  // num_ref_idx_l0_active_minus1 is 1
    MotionVector predictedVector;       // of reference 0
};

enum class CodedAs : std::uint8_t { intra4x4, intra16x16, inter };

/// Codes macroblocks of P slices that use CAVLC, constrained intra prediction and no deblocking, and reconstructs them
/// as decoders do. Everything that it predicts from it has coded itself: neighbours in the same picture, or the same
/// place in the picture before. So it never needs what another encoder's pictures decode to. One thread at a time.
class MacroblockCoder {
  public:
    MacroblockCoder(int widthInMbs, int heightInMbs);

    /// The next macroblocks belong to another picture: `task.qp` is predicted from this QP.
    void beginSlice(int sliceQp);

    /// Appends macroblock_layer() (7.3.5). nullopt, with nothing appended, when it would exceed what a macroblock may
    /// have at this QP: 3200 bits, the levels of CAVLC, or the 16 bits of the inverse transform. The macroblock is not
    /// known then, and to be tried again with a coarser one.
    std::optional<CodedAs> code(const SourceMacroblock& source, const MacroblockTask& task, BitWriter& writer);

    /// Whether the picture that the next one refers to shows our reconstruction there.
    bool isKnown(std::size_t mb) const { return macroblocks_[mb].isKnown; }
    void forget(std::size_t mb) { macroblocks_[mb].isKnown = false; }
    void forgetAll();

    /// The reconstruction, right where macroblocks are known. Its size is that of whole macroblocks.
    const imaging::YuvPicture& reconstruction() const { return reconstruction_; }

  private:
    static constexpr std::size_t kLumaBlocks = 16;
    static constexpr std::size_t kChromaBlocks = 4;

    /// What later macroblocks need to know of one.
    struct Macroblock {
        std::uint64_t codedIn = 0;  // the slice in which it was coded last, or coded with intra prediction
        std::uint64_t intraIn = 0;
        bool isKnown = false;
        std::array<std::uint8_t, kLumaBlocks> lumaCounts{};  // total_coeff of blocks, in raster order
        std::array<std::array<std::uint8_t, kChromaBlocks>, 2> chromaCounts{};
        std::array<std::uint8_t, kLumaBlocks> intra4x4Modes{};
    };
    struct Plane {
        std::uint8_t* samples = nullptr;
        std::ptrdiff_t stride = 0;
    };
    struct Attempt;

    Plane planeAt(int plane, int mbX, int mbY) const;
    Neighbours neighboursOf(int mbX, int mbY) const;

    void chooseIntra(Attempt& attempt) const;
    void choosePrediction(Attempt& attempt);
    bool codeLuma4x4(Attempt& attempt);
    std::uint8_t predictedMode(const Attempt& attempt, std::size_t block) const;
    bool reconstructLuma16x16(Attempt& attempt);
    bool reconstructLumaInter(Attempt& attempt);
    bool reconstructChroma(Attempt& attempt);
    void writePrediction(const Attempt& attempt, BitWriter& writer) const;
    bool writeResidual(const Attempt& attempt, BitWriter& writer);
    int lumaContext(const Attempt& attempt, int x, int y) const;
    int chromaContext(const Attempt& attempt, std::size_t plane, int x, int y) const;

    int widthInMbs_;
    std::vector<Macroblock> macroblocks_;
    std::vector<std::uint8_t> samples_;
    imaging::YuvPicture reconstruction_;
    std::array<Plane, 3> planes_;
    std::uint64_t slice_ = 0;
    int lastQp_ = 0;
};

}  // namespace lumivastor::media

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_coder.h"

#include <algorithm>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

constexpr int kMbSize = 16;
// By how much a macroblock gets coarser that did not fit.
constexpr int kQpStep = 4;

constexpr std::uint32_t kPL016x16 = 0;            // mb_type
constexpr std::uint32_t kNoPattern = 0;           // coded_block_pattern 0 of a predicted macroblock, by its code
constexpr std::uint8_t kParameterSetUnit = 0x68;  // nal_ref_idc 3, nal_unit_type 8

int inMbs(int samples) {
    return (samples + kMbSize - 1) / kMbSize;
}

// One plane's part of a macroblock; beyond the plane its last column and row go on.
template <std::size_t kSize, std::size_t kSamples>
void copyBlock(const imaging::YuvPlane& plane, int width, int height, int mbX, int mbY,
               std::array<std::uint8_t, kSamples>& block) {
    constexpr int kInt = static_cast<int>(kSize);
    const int x = mbX * kInt;
    const auto present = static_cast<std::size_t>(std::min(kInt, width - x));
    for (std::size_t row = 0; row < kSize; ++row) {
        const int y = std::min(mbY * kInt + static_cast<int>(row), height - 1);
        const std::uint8_t* const samples = plane.samples + y * plane.stride + x;
        const auto to = block.begin() + static_cast<std::ptrdiff_t>(row * kSize);
        std::copy_n(samples, present, to);
        std::fill_n(to + static_cast<std::ptrdiff_t>(present), kSize - present, samples[present - 1]);
    }
}

}  // namespace

// What goes through the picture from macroblock to macroblock.
struct RegionCoder::Slice {
    const imaging::YuvPicture& source;
    const RegionPlan& plan;
    const RegionCoderSettings& settings;
    CodedRegion region;
    bool moves = false;         // somewhere; then predicted vectors are not zero everywhere
    std::uint32_t skipped = 0;  // since the last macroblock that was written

    void writeSkipRun(BitWriter& writer) {
        writer.unsignedGolomb(skipped);
        skipped = 0;
    }
};

RegionCoder::RegionCoder(int width, int height, int chromaQpIndexOffset)
    : width_(width),
      height_(height),
      widthInMbs_(inMbs(width)),
      heightInMbs_(inMbs(height)),
      chromaQpIndexOffset_(chromaQpIndexOffset),
      macroblocks_(widthInMbs_, heightInMbs_),
      motion_(widthInMbs_, heightInMbs_) {
    precondition(width > 0 && height > 0, "a picture");
}

SourceMacroblock RegionCoder::sourceOf(const imaging::YuvPicture& source, int mbX, int mbY) const {
    SourceMacroblock samples;
    copyBlock<16>(source.luma, width_, height_, mbX, mbY, samples.luma);
    copyBlock<8>(source.cb, (width_ + 1) / 2, (height_ + 1) / 2, mbX, mbY, samples.chroma[0]);
    copyBlock<8>(source.cr, (width_ + 1) / 2, (height_ + 1) / 2, mbX, mbY, samples.chroma[1]);
    return samples;
}

std::optional<CodedRegion> RegionCoder::code(const imaging::YuvPicture& source, const RegionPlan& plan,
                                             const RegionCoderSettings& settings) {
    const auto count = static_cast<std::size_t>(widthInMbs_) * static_cast<std::size_t>(heightInMbs_);
    precondition(source.width == width_ && source.height == height_, "a picture of the coder's size");
    precondition(plan.kinds.size() == count && (plan.qps.empty() || plan.qps.size() == count) &&
                     (plan.displacements.empty() || plan.displacements.size() == count),
                 "a plan for each macroblock");
    const auto has = [&plan](MacroblockKind kind) {
        return std::find(plan.kinds.begin(), plan.kinds.end(), kind) != plan.kinds.end();
    };
    Slice slice{source, plan, settings, {}};
    slice.region.sliceQp = std::clamp(settings.qp, kFinestQp, kCoarsestQp);
    slice.region.usesBase = has(MacroblockKind::base);
    slice.moves = has(MacroblockKind::moved);
    precondition(!slice.moves || !plan.displacements.empty(), "moved macroblocks say from where");
    macroblocks_.beginSlice(slice.region.sliceQp);
    writer_.clear();
    for (std::size_t mb = 0; mb < count; ++mb) {
        switch (plan.kinds[mb]) {
            case MacroblockKind::skipped:
                if (slice.moves) {
                    writeMotion(mb, slice);
                } else {
                    ++slice.skipped;
                }
                break;
            case MacroblockKind::moved:
                writeMotion(mb, slice);
                break;
            case MacroblockKind::base:
                writeBase(mb, slice);
                break;
            case MacroblockKind::coded:
                if (!codeMacroblock(mb, slice)) {
                    macroblocks_.forgetAll();
                    return std::nullopt;
                }
                break;
        }
        if (settings.maxBits && writer_.position() > *settings.maxBits) {
            macroblocks_.forgetAll();
            return std::nullopt;
        }
    }
    if (slice.skipped > 0) slice.writeSkipRun(writer_);
    const auto bytes = writer_.bytes();
    slice.region.bits.assign(bytes.begin(), bytes.end());
    slice.region.bitCount = writer_.position();
    return std::move(slice.region);
}

// A macroblock that is predicted whole from the picture before, with the vector that the plan says: skipped, if that
// is the vector of skipped ones there.
void RegionCoder::writeMotion(std::size_t mb, Slice& slice) {
    const int mbX = static_cast<int>(mb) % widthInMbs_;
    const int mbY = static_cast<int>(mb) / widthInMbs_;
    MotionVector vector;
    if (slice.plan.kinds[mb] == MacroblockKind::moved) {
        const Displacement& from = slice.plan.displacements[mb];
        vector = {4 * from.x, 4 * from.y};
        macroblocks_.forget(mb);
        ++slice.region.counts.moved;
    }
    motion_.setInter(mbX, mbY, vector, 0);
    if (motion_.ofSkipped(mbX, mbY) == vector) {
        ++slice.skipped;
        return;
    }
    slice.writeSkipRun(writer_);
    const MotionVector predicted = motion_.predicted(mbX, mbY, 0);
    writer_.unsignedGolomb(kPL016x16);
    if (slice.region.usesBase) writer_.flag(true);  // ref_idx_l0 0: te() of one bit, inverted
    writer_.signedGolomb(vector.x - predicted.x);   // mvd_l0
    writer_.signedGolomb(vector.y - predicted.y);
    writer_.unsignedGolomb(kNoPattern);
}

void RegionCoder::writeBase(std::size_t mb, Slice& slice) {
    slice.writeSkipRun(writer_);
    MotionVector predicted;
    if (slice.moves) {
        const int mbX = static_cast<int>(mb) % widthInMbs_;
        const int mbY = static_cast<int>(mb) / widthInMbs_;
        predicted = motion_.predicted(mbX, mbY, 1);
        motion_.setInter(mbX, mbY, {}, 1);
    }
    writer_.unsignedGolomb(kPL016x16);
    writer_.flag(false);  // ref_idx_l0 1
    writer_.signedGolomb(-predicted.x);
    writer_.signedGolomb(-predicted.y);
    writer_.unsignedGolomb(kNoPattern);
    macroblocks_.forget(mb);
    ++slice.region.counts.base;
}

bool RegionCoder::codeMacroblock(std::size_t mb, Slice& slice) {
    slice.writeSkipRun(writer_);
    const RegionCoderSettings& settings = slice.settings;
    MacroblockTask task;
    task.mbX = static_cast<int>(mb) % widthInMbs_;
    task.mbY = static_cast<int>(mb) / widthInMbs_;
    task.qp =
        slice.plan.qps.empty() ? slice.region.sliceQp : std::clamp<int>(slice.plan.qps[mb], kFinestQp, kCoarsestQp);
    task.chromaQpIndexOffset = chromaQpIndexOffset_;
    task.interRounding = task.qp == slice.region.sliceQp ? settings.interRounding : Rounding::upFromFourFifths;
    task.mayPredictFromPicture = settings.mayPredictFromPicture;
    task.effort = settings.effort;
    task.slicePredictsFromTwo = slice.region.usesBase;
    if (slice.moves) task.predictedVector = motion_.predicted(task.mbX, task.mbY, 0);
    const SourceMacroblock source = sourceOf(slice.source, task.mbX, task.mbY);
    std::optional<CodedAs> codedAs = macroblocks_.code(source, task, writer_);
    while (!codedAs && task.qp < kCoarsestQp) {
        ++slice.region.counts.coarser;
        task.qp = std::min(kCoarsestQp, task.qp + kQpStep);
        codedAs = macroblocks_.code(source, task, writer_);
    }
    if (!codedAs) return false;
    switch (*codedAs) {
        case CodedAs::intra4x4:
            ++slice.region.counts.intra4x4;
            break;
        case CodedAs::intra16x16:
            ++slice.region.counts.intra16x16;
            break;
        case CodedAs::inter:
            ++slice.region.counts.inter;
            break;
    }
    if (slice.moves && *codedAs == CodedAs::inter) motion_.setInter(task.mbX, task.mbY, {}, 0);
    if (slice.moves && *codedAs != CodedAs::inter) motion_.setIntra(task.mbX, task.mbY);
    return true;
}

std::vector<std::uint8_t> regionParameterSet(std::uint32_t id, std::uint32_t sequenceId, int chromaQpIndexOffset) {
    BitWriter writer;
    writer.bits(kParameterSetUnit, 8);
    writer.unsignedGolomb(id);
    writer.unsignedGolomb(sequenceId);
    writer.flag(false);        // entropy_coding_mode_flag: CAVLC
    writer.flag(false);        // bottom_field_pic_order_in_frame_present_flag
    writer.unsignedGolomb(0);  // num_slice_groups_minus1
    writer.unsignedGolomb(0);  // num_ref_idx_l0_default_active_minus1
    writer.unsignedGolomb(0);  // num_ref_idx_l1_default_active_minus1
    writer.flag(false);        // weighted_pred_flag
    writer.bits(0, 2);         // weighted_bipred_idc
    writer.signedGolomb(0);    // pic_init_qp_minus26
    writer.signedGolomb(0);    // pic_init_qs_minus26
    writer.signedGolomb(chromaQpIndexOffset);
    writer.flag(true);   // deblocking_filter_control_present_flag
    writer.flag(true);   // constrained_intra_pred_flag
    writer.flag(false);  // redundant_pic_cnt_present_flag
    writer.finish();
    return escaped(writer.bytes());
}

}  // namespace lumivastor::media

// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/stream_syntax.h"

#include <algorithm>
#include <array>

#include "base/precondition.h"
#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

namespace {

constexpr std::uint32_t kBaseline = 66;
constexpr std::uint32_t kMain = 77;
constexpr std::uint32_t kHigh = 100;
constexpr std::uint32_t kLevel11 = 11;

// Table A-1.
struct Level {
    std::uint32_t idc;
    std::uint32_t maxDpbMbs;
    int verticalReach;  // of motion vectors, in luma samples; down it is a quarter less
};
constexpr std::array<Level, 20> kLevels{
    {{9, 396, 64},      {10, 396, 64},     {11, 900, 128},     {12, 2376, 128},    {13, 2376, 128},
     {20, 2376, 128},   {21, 4752, 256},   {22, 8100, 256},    {30, 8100, 256},    {31, 18000, 512},
     {32, 20480, 512},  {40, 32768, 512},  {41, 32768, 512},   {42, 34816, 512},   {50, 110400, 512},
     {51, 184320, 512}, {52, 184320, 512}, {60, 696320, 8192}, {61, 696320, 8192}, {62, 696320, 8192}}};

const Level* levelOf(const SequenceParameterSet& set) {
    const std::uint32_t idc = set.isLevel1b ? 9 : set.levelIdc;
    for (const Level& level : kLevels) {
        if (level.idc == idc) return &level;
    }
    return nullptr;
}

// As many macroblocks as no level allows in a row or column.
constexpr std::uint32_t kMaxMbsInLine = 4096;

// E.1.1, up to the end: where the bits of max_dec_frame_buffering are.
Usable<BitRange> readVui(BitReader& reader) {
    constexpr std::uint32_t kExtendedSar = 255;
    if (reader.flag() && reader.bits(8) == kExtendedSar) reader.bits(32);  // sample aspect ratio
    if (reader.flag()) reader.flag();                                      // overscan
    if (reader.flag()) {                                                   // video_signal_type
        reader.bits(4);
        if (reader.flag()) reader.bits(24);  // colour_description
    }
    if (reader.flag()) {  // chroma_loc_info
        reader.unsignedGolomb();
        reader.unsignedGolomb();
    }
    if (reader.flag()) {  // timing_info
        reader.bits(32);
        reader.bits(32);
        reader.flag();
    }
    const bool hasNalHrd = reader.flag();
    if (hasNalHrd || reader.flag()) return Obstacle{"the stream states its buffering"};
    reader.flag();  // pic_struct_present_flag
    BitRange range;
    if (!reader.flag()) return range;                     // bitstream_restriction_flag
    reader.flag();                                        // motion_vectors_over_pic_boundaries_flag
    for (int i = 0; i < 4; ++i) reader.unsignedGolomb();  // limits of pictures, macroblocks and vectors
    if (reader.unsignedGolomb() != 0) return Obstacle{"the stream reorders pictures"};
    range.begin = reader.position();
    reader.unsignedGolomb();  // max_dec_frame_buffering
    range.end = reader.position();
    return range;
}

std::size_t stopBit(std::span<const std::uint8_t> content) {
    std::size_t at = content.size() * 8;
    while (at > 0) {
        --at;
        if ((content[at / 8] >> (7 - at % 8) & 1U) != 0) return at;
    }
    return 0;
}

// 7.3.3.1, for the numbers of P slices alone.
Usable<BitRange> readModification(BitReader& reader, const PictureParameterSet& picture) {
    std::uint32_t active = picture.numRefIdxL0DefaultActive;
    if (reader.flag()) active = reader.unsignedGolomb() + 1;  // num_ref_idx_active_override_flag
    if (active != 1) return Obstacle{"a slice has several references"};
    BitRange range{reader.position(), reader.position() + 1};
    if (reader.flag()) return Obstacle{"a slice arranges its references"};
    return range;
}

}  // namespace

Usable<SequenceParameterSet> readSequenceParameterSet(std::span<const std::uint8_t> unit) {
    if (unit.empty() || unitKind(unit) != H264Unit::sequenceParameters) {
        return Obstacle{"a unit is no sequence parameter set"};
    }
    SequenceParameterSet set;
    set.content = unescaped(unit);
    BitReader reader(set.content);
    reader.bits(8);  // the unit's header
    set.profileIdc = reader.bits(8);
    reader.bits(3);
    const bool constraintSet3 = reader.flag();
    reader.bits(4);
    set.levelIdc = reader.bits(8);
    set.isLevel1b = constraintSet3 && set.levelIdc == kLevel11 && set.profileIdc != kHigh;
    set.id = reader.unsignedGolomb();
    if (set.profileIdc != kBaseline && set.profileIdc != kMain && set.profileIdc != kHigh) {
        return Obstacle{"the profile is neither Baseline nor Main nor High"};
    }
    if (set.profileIdc == kHigh) {
        if (reader.unsignedGolomb() != 1) return Obstacle{"the colour format is not 4:2:0"};
        const std::uint32_t lumaDepth = reader.unsignedGolomb();
        const std::uint32_t chromaDepth = reader.unsignedGolomb();
        if (lumaDepth != 0 || chromaDepth != 0) return Obstacle{"samples do not have 8 bits"};
        if (reader.flag()) return Obstacle{"the transform can be bypassed"};
        if (reader.flag()) return Obstacle{"there are scaling matrices"};
    }
    set.log2MaxFrameNumAt.begin = reader.position();
    const std::uint32_t log2MaxFrameNumMinus4 = reader.unsignedGolomb();
    set.log2MaxFrameNumAt.end = reader.position();
    if (log2MaxFrameNumMinus4 > 12) return Obstacle{"frame numbers are too long"};
    set.log2MaxFrameNum = static_cast<int>(log2MaxFrameNumMinus4) + 4;
    set.picOrderCntType = reader.unsignedGolomb();
    if (set.picOrderCntType != 2) return Obstacle{"pictures may be shown in another order than decoded"};
    set.maxNumRefFramesAt.begin = reader.position();
    set.maxNumRefFrames = reader.unsignedGolomb();
    set.maxNumRefFramesAt.end = reader.position();
    if (reader.flag()) return Obstacle{"frame numbers may have gaps"};
    const std::uint32_t widthInMbsMinus1 = reader.unsignedGolomb();
    const std::uint32_t heightInMapUnitsMinus1 = reader.unsignedGolomb();
    set.frameMbsOnly = reader.flag();
    if (!set.frameMbsOnly) return Obstacle{"pictures may be fields"};
    if (widthInMbsMinus1 >= kMaxMbsInLine || heightInMapUnitsMinus1 >= kMaxMbsInLine) {
        return Obstacle{"pictures are too large"};
    }
    set.widthInMbs = static_cast<int>(widthInMbsMinus1) + 1;
    set.heightInMbs = static_cast<int>(heightInMapUnitsMinus1) + 1;
    set.width = 16 * set.widthInMbs;
    set.height = 16 * set.heightInMbs;
    reader.flag();                            // direct_8x8_inference_flag
    if (reader.flag()) {                      // frame_cropping_flag
        std::array<std::uint32_t, 4> crop{};  // left, right, top, bottom, in chroma samples
        for (std::uint32_t& each : crop) each = reader.unsignedGolomb();
        if (crop[0] != 0 || crop[2] != 0 || crop[1] >= 8 || crop[3] >= 8) {
            return Obstacle{"more is cropped than the rest of a macroblock"};
        }
        set.width -= static_cast<int>(2 * crop[1]);
        set.height -= static_cast<int>(2 * crop[3]);
    }
    if (reader.flag()) {  // vui_parameters_present_flag
        const auto vui = readVui(reader);
        if (const auto* obstacle = std::get_if<Obstacle>(&vui)) return *obstacle;
        set.maxDecFrameBufferingAt = std::get<BitRange>(vui);
    }
    set.endAt = stopBit(set.content);
    if (reader.overran() || reader.position() != set.endAt) return Obstacle{"a sequence parameter set is damaged"};
    return set;
}

std::vector<std::uint8_t> rewrittenParameterSet(const SequenceParameterSet& set, int log2MaxFrameNum,
                                                std::uint32_t maxNumRefFrames) {
    precondition(log2MaxFrameNum >= 4 && log2MaxFrameNum <= 16, "a length of frame numbers that exists");
    BitWriter writer;
    writer.append(set.content, 0, set.log2MaxFrameNumAt.begin);
    writer.unsignedGolomb(static_cast<std::uint32_t>(log2MaxFrameNum - 4));
    writer.append(set.content, set.log2MaxFrameNumAt.end, set.maxNumRefFramesAt.begin);
    writer.unsignedGolomb(maxNumRefFrames);
    std::size_t copied = set.maxNumRefFramesAt.end;
    if (set.maxDecFrameBufferingAt.end > 0) {
        writer.append(set.content, copied, set.maxDecFrameBufferingAt.begin);
        writer.unsignedGolomb(maxNumRefFrames);
        copied = set.maxDecFrameBufferingAt.end;
    }
    writer.append(set.content, copied, set.endAt);
    writer.finish();
    return escaped(writer.bytes());
}

std::uint32_t maxDpbFrames(const SequenceParameterSet& set) {
    const Level* const level = levelOf(set);
    if (level == nullptr) return 0;
    constexpr std::uint32_t kMostFrames = 16;
    const auto mbs = static_cast<std::uint32_t>(set.widthInMbs) * static_cast<std::uint32_t>(set.heightInMbs);
    return std::min(level->maxDpbMbs / mbs, kMostFrames);
}

int maxVerticalDisplacement(const SequenceParameterSet& set) {
    const Level* const level = levelOf(set);
    return level != nullptr ? level->verticalReach - 1 : 0;
}

Usable<PictureParameterSet> readPictureParameterSet(std::span<const std::uint8_t> unit) {
    if (unit.empty() || unitKind(unit) != H264Unit::pictureParameters) {
        return Obstacle{"a unit is no picture parameter set"};
    }
    const std::vector<std::uint8_t> content = unescaped(unit);
    BitReader reader(content);
    reader.bits(8);
    PictureParameterSet set;
    set.id = reader.unsignedGolomb();
    set.sequenceId = reader.unsignedGolomb();
    set.entropyCodingMode = reader.flag();
    set.bottomFieldPicOrderInFramePresent = reader.flag();
    if (reader.unsignedGolomb() != 0) return Obstacle{"there are several slice groups"};
    const std::uint32_t numRefIdxL0DefaultActiveMinus1 = reader.unsignedGolomb();
    reader.unsignedGolomb();  // num_ref_idx_l1_default_active_minus1
    set.weightedPred = reader.flag();
    reader.bits(2);  // weighted_bipred_idc: there are no B slices
    const std::int32_t picInitQpMinus26 = reader.signedGolomb();
    reader.signedGolomb();  // pic_init_qs_minus26
    reader.signedGolomb();  // chroma_qp_index_offset
    set.deblockingFilterControlPresent = reader.flag();
    reader.flag();  // constrained_intra_pred_flag
    set.redundantPicCntPresent = reader.flag();
    if (reader.overran()) return Obstacle{"a picture parameter set is damaged"};
    if (set.id > 255 || numRefIdxL0DefaultActiveMinus1 > 31 || picInitQpMinus26 < -26 || picInitQpMinus26 > 25) {
        return Obstacle{"a picture parameter set is out of range"};
    }
    if (set.weightedPred) return Obstacle{"prediction is weighted"};
    if (set.redundantPicCntPresent) return Obstacle{"pictures may be redundant"};
    set.numRefIdxL0DefaultActive = numRefIdxL0DefaultActiveMinus1 + 1;
    set.picInitQp = 26 + picInitQpMinus26;
    return set;
}

Usable<SliceHeader> readSliceHeader(std::span<const std::uint8_t> unit, const SequenceParameterSet& sequence,
                                    const PictureParameterSet& picture) {
    if (unit.empty() || (unitKind(unit) != H264Unit::slice && unitKind(unit) != H264Unit::refreshSlice)) {
        return Obstacle{"a unit is no slice"};
    }
    if (!isReference(unit)) return Obstacle{"a picture is no reference"};
    SliceHeader header;
    header.content = unescaped(unit);
    header.isIdr = unitKind(unit) == H264Unit::refreshSlice;
    BitReader reader(header.content);
    reader.bits(8);
    header.firstMbInSlice = reader.unsignedGolomb();
    constexpr std::uint32_t kPredicted = 0;
    constexpr std::uint32_t kIntra = 2;
    const std::uint32_t sliceType = reader.unsignedGolomb() % 5;  // 5 more: all of the picture's slices are such
    if (sliceType != kPredicted && sliceType != kIntra) return Obstacle{"a slice is neither P nor I"};
    header.isPredicted = sliceType == kPredicted;
    if (header.isPredicted && header.isIdr) return Obstacle{"a slice of an IDR picture is predicted"};
    if (reader.unsignedGolomb() != picture.id) return Obstacle{"a slice has an unknown picture parameter set"};
    header.frameNumAt.begin = reader.position();
    header.frameNum = reader.bits(sequence.log2MaxFrameNum);
    header.frameNumAt.end = reader.position();
    if (header.isIdr) reader.unsignedGolomb();  // idr_pic_id
    if (header.isPredicted) {
        const auto modification = readModification(reader, picture);
        if (const auto* obstacle = std::get_if<Obstacle>(&modification)) return *obstacle;
        header.refPicListModificationAt = std::get<BitRange>(modification);
    }
    if (header.isIdr) {
        reader.flag();  // no_output_of_prior_pics_flag
        if (reader.flag()) return Obstacle{"a picture is a long-term reference"};
    } else if (reader.flag()) {
        return Obstacle{"a slice marks references"};
    }
    if (picture.entropyCodingMode && header.isPredicted) reader.unsignedGolomb();  // cabac_init_idc
    header.sliceQp = picture.picInitQp + std::clamp(reader.signedGolomb(), -52, 52);
    if (picture.deblockingFilterControlPresent && reader.unsignedGolomb() != 1) {  // disable_deblocking_filter_idc
        reader.signedGolomb();
        reader.signedGolomb();
    }
    header.endAt = reader.position();
    if (reader.overran() || header.endAt > stopBit(header.content)) return Obstacle{"a slice is damaged"};
    return header;
}

}  // namespace lumivastor::media

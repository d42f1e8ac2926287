// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace lumivastor::media {

// Parameter sets and slice headers as far as region pictures depend on them (ITU-T H.264, 7.3.2.1, 7.3.2.2 and 7.3.3).
// Fields have the standard's names. Positions are bits of the unit without its emulation prevention bytes, counted from
// the unit's first byte.

/// Why region pictures cannot be put into a stream, for the log.
struct Obstacle {
    std::string_view reason;
};

/// What was read, or why it is of no use.
template <typename T>
using Usable = std::variant<T, Obstacle>;

/// A range of bits.
struct BitRange {
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct SequenceParameterSet {
    std::uint32_t profileIdc = 0;
    std::uint32_t levelIdc = 0;  // ten times the level's number
    bool isLevel1b = false;      // in the profiles that have it; it shares the number of level 1.1
    std::uint32_t id = 0;
    int log2MaxFrameNum = 4;
    std::uint32_t picOrderCntType = 0;
    std::uint32_t maxNumRefFrames = 0;
    int widthInMbs = 0;
    int heightInMbs = 0;
    /// The picture that is shown, in luma samples.
    int width = 0;
    int height = 0;
    bool frameMbsOnly = true;

    std::vector<std::uint8_t> content;  // the unit, without emulation prevention bytes
    BitRange log2MaxFrameNumAt;
    BitRange maxNumRefFramesAt;
    BitRange maxDecFrameBufferingAt;  // empty: not stated
    std::size_t endAt = 0;            // the stop bit
};

/// Reads a unit. Anything that our encoders never write is an obstacle: other colour formats and depths, scaling
/// matrices, the buffering of a hypothetical decoder. Takes any bytes.
Usable<SequenceParameterSet> readSequenceParameterSet(std::span<const std::uint8_t> unit);

/// The unit with other values of log2_max_frame_num and max_num_ref_frames; max_dec_frame_buffering follows, where it
/// is stated.
std::vector<std::uint8_t> rewrittenParameterSet(const SequenceParameterSet& set, int log2MaxFrameNum,
                                                std::uint32_t maxNumRefFrames);

/// How many frames of this size a decoder holds (A.3.1: MaxDpbFrames); 0 for an unknown level.
std::uint32_t maxDpbFrames(const SequenceParameterSet& set);
/// How many lines a motion vector may point up or down at this level; 0 for an unknown one.
int maxVerticalDisplacement(const SequenceParameterSet& set);

struct PictureParameterSet {
    std::uint32_t id = 0;
    std::uint32_t sequenceId = 0;
    bool entropyCodingMode = false;  // true: CABAC
    bool bottomFieldPicOrderInFramePresent = false;
    std::uint32_t numRefIdxL0DefaultActive = 1;
    bool weightedPred = false;
    int picInitQp = 26;
    bool deblockingFilterControlPresent = false;
    bool redundantPicCntPresent = false;
};

Usable<PictureParameterSet> readPictureParameterSet(std::span<const std::uint8_t> unit);

/// The header of a P or I slice of whole frames.
struct SliceHeader {
    bool isIdr = false;
    bool isPredicted = false;  // P; otherwise I
    std::uint32_t firstMbInSlice = 0;
    std::uint32_t frameNum = 0;
    int sliceQp = 26;

    std::vector<std::uint8_t> content;  // the whole slice, without emulation prevention bytes
    BitRange frameNumAt;
    BitRange refPicListModificationAt;  // of a P slice
    std::size_t endAt = 0;              // the slice's data, or CABAC's alignment before them
};

/// Reads a unit of kind 1 or 5. Obstacles: fields, B slices, more than one active reference, own modification of the
/// list, own marking, weighted prediction, and a picture that is no reference.
Usable<SliceHeader> readSliceHeader(std::span<const std::uint8_t> unit, const SequenceParameterSet& sequence,
                                    const PictureParameterSet& picture);

}  // namespace lumivastor::media

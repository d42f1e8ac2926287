// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/stream_weaver.h"

#include <algorithm>
#include <optional>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

constexpr std::uint32_t kReferences = 2;
constexpr std::uint32_t kMostPictureParameterSets = 256;
// nal_ref_idc 2, nal_unit_type 1.
constexpr std::uint8_t kRegionSliceUnit = 0x41;
constexpr std::uint32_t kAllPredicted = 5;  // slice_type

}  // namespace

Usable<StreamWeaver> StreamWeaver::make(std::span<const std::uint8_t> parameterSets, int chromaQpIndexOffset) {
    precondition(chromaQpIndexOffset >= -12 && chromaQpIndexOffset <= 12, "an offset that exists");
    std::optional<SequenceParameterSet> sequence;
    std::optional<PictureParameterSet> picture;
    const auto units = unitsOf(parameterSets);
    for (const auto unit : units) {
        if (unitKind(unit) == H264Unit::sequenceParameters) {
            if (sequence) return Obstacle{"there are several sequence parameter sets"};
            auto read = readSequenceParameterSet(unit);
            if (const auto* obstacle = std::get_if<Obstacle>(&read)) return *obstacle;
            sequence = std::move(std::get<SequenceParameterSet>(read));
        } else if (unitKind(unit) == H264Unit::pictureParameters) {
            if (picture) return Obstacle{"there are several picture parameter sets"};
            const auto read = readPictureParameterSet(unit);
            if (const auto* obstacle = std::get_if<Obstacle>(&read)) return *obstacle;
            picture = std::get<PictureParameterSet>(read);
        }
    }
    if (!sequence || !picture) return Obstacle{"a parameter set is missing"};
    if (picture->sequenceId != sequence->id) return Obstacle{"the parameter sets do not belong together"};
    if (picture->id + 1 >= kMostPictureParameterSets) return Obstacle{"no number is left for a picture parameter set"};
    if (sequence->maxNumRefFrames != 1) return Obstacle{"pictures may refer to others than the one before"};
    if (maxDpbFrames(*sequence) < kReferences) return Obstacle{"the level has no room for a second reference"};

    StreamWeaver weaver;
    for (const auto unit : units) {
        if (unitKind(unit) == H264Unit::sequenceParameters) {
            appendUnit(weaver.parameterSets_, rewrittenParameterSet(*sequence, kLog2MaxFrameNum, kReferences));
        } else {
            appendUnit(weaver.parameterSets_, unit);
        }
    }
    weaver.regionParametersId_ = picture->id + 1;
    appendUnit(weaver.parameterSets_,
               regionParameterSet(weaver.regionParametersId_, sequence->id, chromaQpIndexOffset));
    weaver.sequence_ = std::move(*sequence);
    weaver.picture_ = *picture;
    return weaver;
}

Usable<std::vector<std::uint8_t>> StreamWeaver::encoderPicture(std::span<const std::uint8_t> picture) {
    std::vector<std::uint8_t> stream;
    stream.reserve(picture.size() + 64);
    std::optional<bool> isIdr;  // of the slices so far
    for (const auto unit : unitsOf(picture)) {
        const H264Unit kind = unitKind(unit);
        const auto number = static_cast<int>(kind);
        if (kind == H264Unit::sequenceParameters || kind == H264Unit::pictureParameters) {
            return Obstacle{"parameter sets change within the stream"};
        }
        if (number >= 2 && number <= 4) return Obstacle{"slices are partitioned"};
        if (kind != H264Unit::slice && kind != H264Unit::refreshSlice) {
            appendUnit(stream, unit);
            continue;
        }
        const auto read = readSliceHeader(unit, sequence_, picture_);
        if (const auto* obstacle = std::get_if<Obstacle>(&read)) return *obstacle;
        const auto& header = std::get<SliceHeader>(read);
        if (!isIdr) {
            isIdr = header.isIdr;
            if (!header.isIdr && !begun_) return Obstacle{"the stream does not begin with an IDR picture"};
            const std::uint32_t numbers = 1U << sequence_.log2MaxFrameNum;
            encoderFrameNum_ = header.isIdr ? 0 : (encoderFrameNum_ + 1) % numbers;
            if (header.isIdr) regionPictures_ = 0;
            frameNum_ = header.isIdr ? 0 : (frameNum_ + 1) % (1U << kLog2MaxFrameNum);
            begun_ = true;
        }
        if (header.isIdr != *isIdr) return Obstacle{"a picture is an IDR picture in parts only"};
        if (header.frameNum != encoderFrameNum_) return Obstacle{"frame numbers do not follow each other"};
        appendSlice(header, stream);
    }
    if (!isIdr) return Obstacle{"there is no picture"};
    regionPictures_ = 0;
    return stream;
}

// The slice with the stream's frame number, and with the encoder's last picture as its reference.
void StreamWeaver::appendSlice(const SliceHeader& header, std::vector<std::uint8_t>& stream) {
    const std::vector<std::uint8_t>& content = header.content;
    writer_.clear();
    writer_.append(content, 0, header.frameNumAt.begin);
    writer_.bits(frameNum_, kLog2MaxFrameNum);
    std::size_t copied = header.frameNumAt.end;
    if (header.isPredicted && regionPictures_ > 0) {
        writer_.append(content, copied, header.refPicListModificationAt.begin);
        writer_.flag(true);                       // ref_pic_list_modification_flag_l0
        writer_.unsignedGolomb(0);                // modification_of_pic_nums_idc: a number to subtract
        writer_.unsignedGolomb(regionPictures_);  // abs_diff_pic_num_minus1
        writer_.unsignedGolomb(3);                // the end
        copied = header.refPicListModificationAt.end;
    }
    writer_.append(content, copied, header.endAt);
    // CABAC begins at a whole byte, behind ones; CAVLC goes on right there.
    std::size_t rest = header.endAt;
    if (picture_.entropyCodingMode) {
        writer_.align(true);
        rest = (header.endAt + 7) / 8 * 8;
    }
    writer_.append(content, rest, content.size() * 8);
    // The slice brings its own stop bit; a unit does not end with the zeros that may follow.
    auto bytes = writer_.bytes();
    while (!bytes.empty() && bytes.back() == 0) bytes = bytes.first(bytes.size() - 1);
    appendUnit(stream, escaped(bytes));
}

std::vector<std::uint8_t> StreamWeaver::regionPicture(const CodedRegion& region) {
    precondition(mayAddRegionPicture(), "a picture to go on from");
    precondition(!region.usesBase || regionPictures_ > 0, "the base is not the picture before");
    ++regionPictures_;
    frameNum_ = (frameNum_ + 1) % (1U << kLog2MaxFrameNum);
    writer_.clear();
    writer_.bits(kRegionSliceUnit, 8);
    writer_.unsignedGolomb(0);  // first_mb_in_slice
    writer_.unsignedGolomb(kAllPredicted);
    writer_.unsignedGolomb(regionParametersId_);
    writer_.bits(frameNum_, kLog2MaxFrameNum);
    writer_.flag(region.usesBase);                   // num_ref_idx_active_override_flag
    if (region.usesBase) writer_.unsignedGolomb(1);  // num_ref_idx_l0_active_minus1
    writer_.flag(false);                             // ref_pic_list_modification_flag_l0
    writer_.flag(regionPictures_ > 1);               // adaptive_ref_pic_marking_mode_flag
    if (regionPictures_ > 1) {
        writer_.unsignedGolomb(1);  // memory_management_control_operation: drop a short-term reference
        writer_.unsignedGolomb(0);  // difference_of_pic_nums_minus1: the picture before
        writer_.unsignedGolomb(0);  // the end
    }
    writer_.signedGolomb(region.sliceQp - 26);
    writer_.unsignedGolomb(1);  // disable_deblocking_filter_idc
    writer_.append(region.bits, 0, region.bitCount);
    writer_.finish();
    std::vector<std::uint8_t> stream;
    appendUnit(stream, escaped(writer_.bytes()));
    return stream;
}

}  // namespace lumivastor::media

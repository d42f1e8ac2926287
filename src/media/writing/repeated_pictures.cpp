// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/repeated_pictures.h"

#include <algorithm>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

// A unit's first byte: its importance (2 of 3, as references have) and its kind.
std::uint8_t unitHeader(H264Unit kind) {
    return static_cast<std::uint8_t>(0x40 | static_cast<std::uint8_t>(kind));
}

std::vector<std::uint8_t> unitOf(H264Unit kind, BitWriter& content) {
    std::vector<std::uint8_t> raw{unitHeader(kind)};
    const auto bytes = content.bytes();
    raw.insert(raw.end(), bytes.begin(), bytes.end());
    return escaped(raw);
}

std::vector<std::uint8_t> skipParameters(std::uint32_t id, std::uint32_t sequenceId) {
    BitWriter writer;
    writer.unsignedGolomb(id);
    writer.unsignedGolomb(sequenceId);
    writer.flag(false);        // variable-length coding
    writer.flag(false);        // no order counts of fields
    writer.unsignedGolomb(0);  // one slice group
    writer.unsignedGolomb(0);  // one active reference, forward
    writer.unsignedGolomb(0);  // and backward
    writer.flag(false);        // no weighted prediction
    writer.bits(0, 2);
    writer.signedGolomb(0);  // quantisers: nothing is quantised
    writer.signedGolomb(0);
    writer.signedGolomb(0);
    writer.flag(true);   // slices say whether they are deblocked
    writer.flag(false);  // no constrained intra prediction
    writer.flag(false);  // no redundant pictures
    writer.finish();
    return unitOf(H264Unit::pictureParameters, writer);
}

}  // namespace

std::optional<RepeatedPictures> RepeatedPictures::make(std::span<const std::uint8_t> parameterSets) {
    std::optional<SequenceParameters> sequence;
    std::uint32_t nextId = 0;
    for (const auto unit : unitsOf(parameterSets)) {
        if (unitKind(unit) == H264Unit::sequenceParameters) {
            if (sequence) return std::nullopt;
            sequence = parseSequenceParameters(unit);
            if (!sequence) return std::nullopt;
        } else if (unitKind(unit) == H264Unit::pictureParameters) {
            const auto picture = parsePictureParameters(unit);
            if (!picture || picture->weightedPrediction) return std::nullopt;
            nextId = std::max(nextId, picture->id + 1);
        }
    }
    constexpr std::uint32_t kParameterSets = 256;  // that a stream can tell apart
    if (!sequence || nextId == 0 || nextId >= kParameterSets || sequence->orderCountType != 2 ||
        sequence->referencePictures != 1 || !sequence->framesOnly || !sequence->plainColour) {
        return std::nullopt;
    }
    RepeatedPictures stage;
    stage.sequence_ = *sequence;
    stage.skipParametersId_ = nextId;
    for (const auto unit : unitsOf(parameterSets)) appendUnit(stage.parameterSets_, unit);
    appendUnit(stage.parameterSets_, skipParameters(nextId, sequence->id));
    return stage;
}

std::optional<std::vector<std::uint8_t>> RepeatedPictures::rewritten(std::span<const std::uint8_t> picture) {
    std::vector<std::uint8_t> stream;
    stream.reserve(picture.size() + 64);
    const std::uint32_t numbers = 1U << sequence_.frameNumberBits;
    bool isPicture = false;
    for (const auto unit : unitsOf(picture)) {
        const H264Unit kind = unitKind(unit);
        const bool isSlice = kind == H264Unit::slice || kind == H264Unit::refreshSlice;
        const bool isPartition = static_cast<int>(kind) >= 2 && static_cast<int>(kind) <= 4;
        const bool isNewParameters = kind == H264Unit::sequenceParameters || kind == H264Unit::pictureParameters;
        if (isPartition || isNewParameters || (isSlice && !isReference(unit))) return std::nullopt;
        if (!isSlice) {
            appendUnit(stream, unit);
            continue;
        }
        isPicture = true;
        if (kind == H264Unit::refreshSlice) inserted_ = 0;
        std::vector<std::uint8_t> content = unescaped(unit);
        BitReader reader(std::span<const std::uint8_t>(content).subspan(1));
        reader.unsignedGolomb();  // first macroblock
        reader.unsignedGolomb();  // kind of slice
        reader.unsignedGolomb();  // parameter set
        const std::size_t at = reader.position() + 8;
        const std::uint32_t number = reader.bits(sequence_.frameNumberBits);
        if (reader.overran()) return std::nullopt;
        lastNumber_ = (number + inserted_) % numbers;
        if (inserted_ == 0) {
            appendUnit(stream, unit);
            continue;
        }
        for (int i = 0; i < sequence_.frameNumberBits; ++i) {
            const std::size_t bit = at + static_cast<std::size_t>(i);
            const auto mask = static_cast<std::uint8_t>(0x80U >> bit % 8);
            const bool set = (lastNumber_ >> (sequence_.frameNumberBits - 1 - i) & 1U) != 0;
            std::uint8_t& byte = content[bit / 8];
            byte = static_cast<std::uint8_t>(set ? byte | mask : byte & ~mask);
        }
        appendUnit(stream, escaped(content));
    }
    if (!isPicture) return std::nullopt;
    begun_ = true;
    return stream;
}

std::vector<std::uint8_t> RepeatedPictures::repetition() {
    precondition(begun_, "a picture to repeat");
    ++inserted_;
    lastNumber_ = (lastNumber_ + 1) % (1U << sequence_.frameNumberBits);
    constexpr std::uint32_t kPredictedSlice = 5;  // and all of the picture's slices are
    BitWriter writer;
    writer.unsignedGolomb(0);  // first macroblock
    writer.unsignedGolomb(kPredictedSlice);
    writer.unsignedGolomb(skipParametersId_);
    writer.bits(lastNumber_, sequence_.frameNumberBits);
    writer.flag(false);        // as many references as the parameter set says
    writer.flag(false);        // in their natural order
    writer.flag(false);        // the oldest reference makes room for this picture
    writer.signedGolomb(0);    // quantiser
    writer.unsignedGolomb(1);  // no deblocking
    writer.unsignedGolomb(sequence_.macroblocks);
    writer.finish();
    std::vector<std::uint8_t> stream;
    appendUnit(stream, unitOf(H264Unit::slice, writer));
    return stream;
}

}  // namespace lumivastor::media

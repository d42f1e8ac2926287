// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace lumivastor::media {

// The part of H.264's syntax that is needed to write skip pictures and to find a stream's profile: bits, NAL units
// between start codes, parameter sets, and the beginnings of slice headers. Handles the output of our own encoder;
// anything else is rejected, never misread. What region pictures need beyond this is in `media/region`.

/// Reads bits, the highest of each byte first. Beyond the end it returns zeros and reports that.
class BitReader {
  public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint32_t bits(int count);  // at most 32
    bool flag() { return bits(1) != 0; }
    std::uint32_t unsignedGolomb();
    std::int32_t signedGolomb();

    std::size_t position() const { return position_; }  // in bits
    bool overran() const { return position_ > bytes_.size() * 8; }

  private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

/// Writes bits, the highest of each byte first.
class BitWriter {
  public:
    /// The lowest `count` bits of `value`, 0 to 32; those above are zero.
    void bits(std::uint32_t value, int count) {
        waiting_ = waiting_ << count | value;
        waitingBits_ += count;
        if (waitingBits_ >= 32) flushWord();
    }
    void flag(bool value) { bits(value ? 1 : 0, 1); }
    void unsignedGolomb(std::uint32_t value);
    void signedGolomb(std::int32_t value);
    /// The bits [from, to) of `bytes`.
    void append(std::span<const std::uint8_t> bytes, std::size_t from, std::size_t to);
    /// Bits of this value up to a whole byte, none if there is one already.
    void align(bool value);
    /// The stop bit and zeros up to a whole byte.
    void finish();
    /// Forgets everything, but keeps the memory.
    void clear() { rewind({}); }

    std::size_t position() const { return size_ * 8 + static_cast<std::size_t>(waitingBits_); }  // in bits
    /// What was written. A last byte that is not whole is filled with zeros. The view ends with the next call.
    std::span<const std::uint8_t> bytes();

    /// A place to which the writer can return while it is not cleared.
    struct Mark {
        std::size_t size = 0;
        std::uint64_t waiting = 0;
        int waitingBits = 0;
    };
    Mark mark() const { return {size_, waiting_, waitingBits_}; }
    void rewind(const Mark& mark) {
        size_ = mark.size;
        waiting_ = mark.waiting;
        waitingBits_ = mark.waitingBits;
    }

  private:
    void flushWord();

    std::vector<std::uint8_t> bytes_;  // longer than what is written
    std::size_t size_ = 0;             // bytes that are written
    std::uint64_t waiting_ = 0;        // its lowest bits follow these
    int waitingBits_ = 0;              // fewer than 32
};

/// The kinds of units that matter here, by their numbers in the stream.
enum class H264Unit : std::uint8_t { slice = 1, refreshSlice = 5, sequenceParameters = 7, pictureParameters = 8 };

/// A unit's kind; anything else keeps its number.
inline H264Unit unitKind(std::span<const std::uint8_t> unit) {
    return static_cast<H264Unit>(unit[0] & 0x1f);
}
/// Whether later pictures may refer to this one.
inline bool isReference(std::span<const std::uint8_t> unit) {
    return (unit[0] & 0x60) != 0;
}

/// The units of a stream with start codes, without the codes; none is empty. The views point into `stream`.
std::vector<std::span<const std::uint8_t>> unitsOf(std::span<const std::uint8_t> stream);

/// Removes the emulation prevention bytes from a unit's content, and inserts them again.
std::vector<std::uint8_t> unescaped(std::span<const std::uint8_t> unit);
std::vector<std::uint8_t> escaped(std::span<const std::uint8_t> content);

/// Appends a start code and the unit.
void appendUnit(std::vector<std::uint8_t>& stream, std::span<const std::uint8_t> unit);

struct SequenceParameters {
    std::uint32_t id = 0;
    int frameNumberBits = 0;
    std::uint32_t orderCountType = 0;  // 2: pictures are shown in the order of decoding
    std::uint32_t referencePictures = 0;
    std::uint32_t macroblocks = 0;  // in a picture
    bool framesOnly = true;         // never fields
    bool plainColour = true;        // 4:2:0 or monochrome in one stream
};

struct PictureParameters {
    std::uint32_t id = 0;
    std::uint32_t sequenceId = 0;
    bool weightedPrediction = false;
    bool oneSliceGroup = true;
};

/// The number of the profile that all sequence parameter sets among these state, as in the standard. nullopt when there
/// is none, or they disagree.
std::optional<int> profileOf(std::span<const std::uint8_t> parameterSets);

/// The number of the profile High.
inline constexpr int kH264High = 100;

/// nullopt when the unit is truncated or has features that our streams never have.
std::optional<SequenceParameters> parseSequenceParameters(std::span<const std::uint8_t> unit);
std::optional<PictureParameters> parsePictureParameters(std::span<const std::uint8_t> unit);

}  // namespace lumivastor::media

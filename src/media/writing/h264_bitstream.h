// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace lumivastor::media {

// The little of H.264's syntax that writing skip pictures and looking at a stream's profile take: units between start
// codes, parameter sets, and the beginnings of slice headers. Works on what our own encoder writes; anything else is
// turned away, never misread.

/// Reads bits from the first byte's highest on. Beyond the end it gives zeros and says so.
class BitReader {
  public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint32_t bits(int count);  // at most 32
    bool flag() { return bits(1) != 0; }
    std::uint32_t unsignedGolomb();

    std::size_t position() const { return position_; }  // in bits
    bool overran() const { return position_ > bytes_.size() * 8; }

  private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

/// Writes bits from the first byte's highest on.
class BitWriter {
  public:
    void bits(std::uint32_t value, int count);
    void flag(bool value) { bits(value ? 1 : 0, 1); }
    void unsignedGolomb(std::uint32_t value);
    void signedGolomb(std::int32_t value);
    /// The stop bit and zeros up to a whole byte.
    void finish();

    const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  private:
    std::vector<std::uint8_t> bytes_;
    int used_ = 0;  // bits of the last byte
};

/// The kinds of units that matter here, by their numbers in the stream.
enum class H264Unit : std::uint8_t { slice = 1, refreshSlice = 5, sequenceParameters = 7, pictureParameters = 8 };

/// A unit's kind; anything else keeps its number.
inline H264Unit unitKind(std::span<const std::uint8_t> unit) {
    return static_cast<H264Unit>(unit[0] & 0x1f);
}
/// Whether later pictures may lean on this one.
inline bool isReference(std::span<const std::uint8_t> unit) {
    return (unit[0] & 0x60) != 0;
}

/// The units of a stream with start codes, without these; none is empty. The views point into `stream`.
std::vector<std::span<const std::uint8_t>> unitsOf(std::span<const std::uint8_t> stream);

/// A unit's content with the bytes taken out that keep it from looking like a start code, and put in again.
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

/// The profile that all sequence parameter sets in these parameter sets name, by its number in the standard. nullopt
/// when there is none, or they disagree.
std::optional<int> profileOf(std::span<const std::uint8_t> parameterSets);

/// The number of the profile High.
inline constexpr int kH264High = 100;

/// nullopt when the unit ends too early or has features that our streams never have.
std::optional<SequenceParameters> parseSequenceParameters(std::span<const std::uint8_t> unit);
std::optional<PictureParameters> parsePictureParameters(std::span<const std::uint8_t> unit);

}  // namespace lumivastor::media

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace lumivastor::media {

/// What FFmpeg's decoder takes on two threads, in seconds.
struct DecodingCost {
    double macroblock = 0;         // each of a picture's, though it only stays as it was
    double changedMacroblock = 0;  // more, where it changed
    double byte = 0;
    double keyByte = 0;  // of a key picture: nothing is decoded beside it
};

/// Of the H.264 that is recorded live: variable-length codes, no deblocking.
DecodingCost liveH264Cost();
DecodingCost hevcCost();

struct KeyDistanceSettings {
    int maxPictures = 120;      // from one key picture to the next
    double maxSeekSeconds = 0;  // see `VideoSettings`, as the next one; 0: does not count
    double keySecondsAfterChange = 0;
    std::int32_t timescale = 600;  // of ticks
    int macroblocks = 0;           // of a picture, of 16 by 16 samples
    DecodingCost cost;
};

/// Decides which pictures are key pictures, by what a seek would cost: it decodes everything from the key picture on.
/// Counts pictures, what changed in them and their bytes; nothing is timed. One thread at a time.
class KeyDistance {
  public:
    /// At least so many pictures from one key picture to the next, unless `maxPictures` is less: where a single picture
    /// takes long to decode, seeks do, too, rather than that all bytes go into key pictures.
    static constexpr int kLeastPictures = 15;

    explicit KeyDistance(const KeyDistanceSettings& settings) : settings_(settings) {}

    /// `mayWait`: there are hardly bytes for a key picture now, so seeks may take longer.
    enum class Urgency { normal, mayWait };
    /// Whether the next picture, shown at `ticks`, must be a key picture. `isStill`: nothing changed in it.
    bool isDue(std::int64_t ticks, bool isStill, Urgency urgency = Urgency::normal) const;
    /// Whether one that costs nothing is better now than one that does soon.
    bool isWorthIt() const;

    /// The next picture, in which so many macroblocks changed.
    void add(std::int64_t ticks, int changedMacroblocks, bool isKey);
    /// The bytes of a picture that was added. Encoders may give them late.
    void wrote(std::size_t bytes, bool isKey);

    /// Seconds for decoding the last picture, from the key picture on.
    double seekSeconds() const { return seekSeconds_; }

  private:
    bool isAfter(const std::optional<std::int64_t>& change, std::int64_t ticks) const;

    KeyDistanceSettings settings_;
    int pictures_ = 0;  // from the last key picture on, including it
    double seekSeconds_ = 0;
    // Since the last key picture:
    std::optional<std::int64_t> lastChange_;
    std::optional<std::int64_t> largeChange_;  // the first one
};

}  // namespace lumivastor::media

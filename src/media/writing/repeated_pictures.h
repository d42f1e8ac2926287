// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

/// Writes pictures that repeat the one before into an H.264 stream, behind the encoder and without its knowing: a slice
/// whose macroblocks are all skipped, a dozen bytes, instead of tens of milliseconds of encoding. Such a picture is a
/// reference like every other, so it takes a number, and all that follow up to the next refresh are renumbered.
///
/// It holds only where every picture leans on just the one before: one reference picture, shown in the order of
/// decoding, no weighted prediction, whole frames. `make` looks that up in the stream's parameter sets. The skip
/// slices use a picture parameter set of their own with plain variable-length coding, whatever the encoder uses: a
/// whole picture of skips is one number there.
///
/// Streams are units behind start codes, as encoders give them. One thread at a time.
class RepeatedPictures {
  public:
    /// nullopt when a stream with these parameter sets does not meet the conditions.
    static std::optional<RepeatedPictures> make(std::span<const std::uint8_t> parameterSets);

    /// The parameter sets with the one for skip slices added: what the movie's header has to hold.
    const std::vector<std::uint8_t>& parameterSets() const { return parameterSets_; }

    /// Renumbers the next picture from the encoder. nullopt when it violates the conditions, as a picture does that is
    /// no reference; the stream cannot be continued then.
    std::optional<std::vector<std::uint8_t>> rewritten(std::span<const std::uint8_t> picture);

    /// A picture that equals the one before. There has been one.
    std::vector<std::uint8_t> repetition();

  private:
    RepeatedPictures() = default;

    SequenceParameters sequence_;
    std::uint32_t skipParametersId_ = 0;
    std::vector<std::uint8_t> parameterSets_;
    std::uint32_t inserted_ = 0;    // repetitions since the last refresh
    std::uint32_t lastNumber_ = 0;  // of the last picture, as written
    bool begun_ = false;
};

}  // namespace lumivastor::media

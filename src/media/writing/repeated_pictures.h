// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

/// Inserts pictures that repeat the one before into an H.264 stream, behind the encoder and unknown to it: a slice of
/// skipped macroblocks, a dozen bytes, instead of tens of milliseconds of encoding. Such a picture is a reference like
/// every other, so it takes a frame number, and all pictures up to the next refresh are renumbered.
///
/// This works only if every picture refers to just the one before: one reference picture, output in decoding order, no
/// weighted prediction, whole frames. `make` checks that in the stream's parameter sets. The skip slices have their own
/// picture parameter set with variable-length coding, whatever the encoder uses: it codes a whole picture of skips as
/// one number.
///
/// Streams are units with start codes, as encoders return them. One thread at a time.
class RepeatedPictures {
  public:
    /// nullopt when a stream with these parameter sets does not meet the conditions.
    static std::optional<RepeatedPictures> make(std::span<const std::uint8_t> parameterSets);

    /// The parameter sets with the one for skip slices added, for the movie's header.
    const std::vector<std::uint8_t>& parameterSets() const { return parameterSets_; }

    /// Renumbers the next picture from the encoder. nullopt when it violates the conditions, for example because it is
    /// not a reference; the stream cannot be continued then.
    std::optional<std::vector<std::uint8_t>> rewritten(std::span<const std::uint8_t> picture);

    /// A picture that equals the one before, which must exist.
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

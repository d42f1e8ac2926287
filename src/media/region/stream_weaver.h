// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "media/region/region_coder.h"
#include "media/region/stream_syntax.h"
#include "media/writing/h264_bitstream.h"

namespace lumivastor::media {

/// Puts region pictures between the pictures of an encoder that does not know of them, in an H.264 stream that stays
/// ordinary: slice headers get other numbers and name their references.
///
/// The encoder's pictures refer to just its own last one, X. The decoder holds two frames. The first region picture R1
/// behind X drops what is older by the sliding window; each further one drops its predecessor itself. So the list of a
/// region picture is [the picture before, X] without a word about it. The encoder's next picture names X, which the
/// sliding window drops then:
///
///     decoded      X1    X2         R1         R2         X3         X4
///     held after   [X1]  [X2, X1]   [R1, X2]   [R2, X2]   [X3, R2]   [X4, X3]
///     refers to          X1         X2         R1, X2     X2, named  X3
///
/// Streams are units with start codes, as encoders return them. One thread at a time.
class StreamWeaver {
  public:
    /// Reads an encoder's parameter sets. They must have one reference, output in the order of decoding, whole frames
    /// and a level whose decoders hold two frames of this size.
    static Usable<StreamWeaver> make(std::span<const std::uint8_t> parameterSets, int chromaQpIndexOffset);

    /// The parameter sets of the woven stream, for the movie's header.
    const std::vector<std::uint8_t>& parameterSets() const { return parameterSets_; }
    /// The size that is shown.
    int width() const { return sequence_.width; }
    int height() const { return sequence_.height; }
    /// How many lines a moved macroblock may come from above or below.
    int maxVerticalDisplacement() const { return media::maxVerticalDisplacement(sequence_); }

    /// The encoder's next picture for the woven stream. With an obstacle the stream cannot be continued.
    Usable<std::vector<std::uint8_t>> encoderPicture(std::span<const std::uint8_t> picture);

    /// Whether there is a picture to go on from, with a number that the encoder's next picture can still name.
    bool mayAddRegionPicture() const { return begun_ && regionPictures_ < kMostRegionPictures; }
    /// A region picture; `mayAddRegionPicture` must hold. It may use the base only if it is not the first behind an
    /// encoder's picture.
    std::vector<std::uint8_t> regionPicture(const CodedRegion& region);

    /// Region pictures since the encoder's last.
    std::uint32_t regionPictures() const { return regionPictures_; }

  private:
    /// Frame numbers as long as there are, so that an encoder's picture can name one far behind.
    static constexpr int kLog2MaxFrameNum = 16;
    static constexpr std::uint32_t kMostRegionPictures = (1U << kLog2MaxFrameNum) - 2;

    StreamWeaver() = default;
    void appendSlice(const SliceHeader& header, std::vector<std::uint8_t>& stream);

    SequenceParameterSet sequence_;
    PictureParameterSet picture_;
    std::uint32_t regionParametersId_ = 0;
    std::vector<std::uint8_t> parameterSets_;
    BitWriter writer_;
    bool begun_ = false;
    std::uint32_t encoderFrameNum_ = 0;  // of the encoder's last picture, as it wrote it
    std::uint32_t frameNum_ = 0;         // of the stream's last picture
    std::uint32_t regionPictures_ = 0;
};

}  // namespace lumivastor::media

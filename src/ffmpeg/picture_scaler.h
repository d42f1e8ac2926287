// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::ffmpeg {

/// The planes of a picture and the bytes from row to row in each, as FFmpeg takes them.
struct PicturePlanes {
    std::array<std::uint8_t*, 4> planes{};
    std::array<int, 4> strides{};
};

/// FFmpeg's scaler, for pictures that keep their size and change their pixel format. Keeps its tables from picture to
/// picture; one thread at a time.
class PictureScaler {
  public:
    enum class Precision {
        exact,  // flat colours survive to the nearest value
        quick,  // for live pictures
    };
    struct Conversion {
        int width = 0;
        int height = 0;
        int fromFormat = -1;  // see `formatWithoutRange`
        int toFormat = -1;
        imaging::YuvEncoding from;
        imaging::YuvEncoding to;
        /// Where the chroma samples sit that come in, as FFmpeg numbers it; those that go out then sit at the left one
        /// of two columns, between two rows. Absent: what FFmpeg takes for usual.
        std::optional<int> chromaLocation;
        Precision precision = Precision::exact;

        bool operator==(const Conversion&) const = default;
    };

    /// Makes the tables unless they are those of the last call. One of FFmpeg's errors, negative, when it cannot
    /// convert so (EINVAL) or memory is short (ENOMEM).
    int prepare(const Conversion& conversion);

    /// One picture, as last prepared; negative on error.
    int convert(const std::uint8_t* const* planes, const int* strides, const PicturePlanes& to);

  private:
    ScalerHandle scaler_;
    Conversion conversion_;
};

/// YUV of full range has pixel formats with names of their own, which the scaler warns about: the same format without
/// the range, which is passed separately.
int formatWithoutRange(int format);

bool isRgb(int format);

}  // namespace lumivastor::ffmpeg

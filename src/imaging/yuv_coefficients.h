// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// Luma and chroma as linear functions of red, green and blue, all 0...255. Luma is given without its offset,
/// chroma around 0.
struct YuvCoefficients {
    double lumaRed = 0, lumaGreen = 0, lumaBlue = 0;
    double lumaScale = 1;    // what 255 of light becomes, as a part of 255
    double chromaScale = 1;  // the same for chroma of -127.5...127.5
    double lumaOffset = 0;

    explicit YuvCoefficients(const YuvEncoding& encoding) {
        // ITU-R BT.601 and BT.709, item 3: the luma weights; BT.709 item 6.10: quantisation in 8 bits.
        lumaRed = encoding.matrix == YuvMatrix::bt601 ? 0.299 : 0.2126;
        lumaBlue = encoding.matrix == YuvMatrix::bt601 ? 0.114 : 0.0722;
        lumaGreen = 1 - lumaRed - lumaBlue;
        if (encoding.range == YuvRange::limited) {
            lumaScale = 219.0 / 255;
            chromaScale = 224.0 / 255;
            lumaOffset = 16;
        }
    }

    double luma(double red, double green, double blue) const {
        return (lumaRed * red + lumaGreen * green + lumaBlue * blue) * lumaScale;
    }
    double cb(double red, double green, double blue) const {
        return (blue - (lumaRed * red + lumaGreen * green + lumaBlue * blue)) / (2 * (1 - lumaBlue)) * chromaScale;
    }
    double cr(double red, double green, double blue) const {
        return (red - (lumaRed * red + lumaGreen * green + lumaBlue * blue)) / (2 * (1 - lumaRed)) * chromaScale;
    }

    double red(double luma, double cr) const { return luma / lumaScale + cr / chromaScale * 2 * (1 - lumaRed); }
    double blue(double luma, double cb) const { return luma / lumaScale + cb / chromaScale * 2 * (1 - lumaBlue); }
    double green(double luma, double cb, double cr) const {
        const double gray = luma / lumaScale;
        return (gray - lumaRed * red(luma, cr) - lumaBlue * blue(luma, cb)) / lumaGreen;
    }
};

}  // namespace lumivastor::imaging

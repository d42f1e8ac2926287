// SPDX-License-Identifier: GPL-3.0-or-later
#include "ffmpeg/colour_tags.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace lumivastor::ffmpeg {

imaging::YuvEncoding encodingFromTags(int colourSpace, int colourRange, int width, int height) {
    // PAL is the largest picture of standard definition.
    const bool highDefinition = width > 1024 || height > 576;
    imaging::YuvEncoding encoding;
    encoding.range = colourRange == AVCOL_RANGE_JPEG ? imaging::YuvRange::full : imaging::YuvRange::limited;
    switch (colourSpace) {
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_FCC:
            encoding.matrix = imaging::YuvMatrix::bt601;
            break;
        case AVCOL_SPC_UNSPECIFIED:
        case AVCOL_SPC_RESERVED:
            encoding.matrix = highDefinition ? imaging::YuvMatrix::bt709 : imaging::YuvMatrix::bt601;
            break;
        default:
            encoding.matrix = imaging::YuvMatrix::bt709;
            break;
    }
    return encoding;
}

}  // namespace lumivastor::ffmpeg

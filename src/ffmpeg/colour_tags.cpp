#include "ffmpeg/colour_tags.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace lumivastor {

YuvEncoding encodingFromTags(int colourSpace, int colourRange, int width, int height) {
    // PAL is the largest picture of standard definition.
    const bool highDefinition = width > 1024 || height > 576;
    YuvEncoding encoding;
    encoding.range = colourRange == AVCOL_RANGE_JPEG ? YuvRange::full : YuvRange::limited;
    switch (colourSpace) {
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_FCC:
            encoding.matrix = YuvMatrix::bt601;
            break;
        case AVCOL_SPC_UNSPECIFIED:
        case AVCOL_SPC_RESERVED:
            encoding.matrix = highDefinition ? YuvMatrix::bt709 : YuvMatrix::bt601;
            break;
        default:
            encoding.matrix = YuvMatrix::bt709;
            break;
    }
    return encoding;
}

}  // namespace lumivastor

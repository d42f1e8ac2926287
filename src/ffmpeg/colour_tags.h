// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "imaging/yuv_picture.h"

namespace lumivastor::ffmpeg {

/// Matrix and range that FFmpeg's colour space and range numbers (of a stream or a decoded picture) stand for. An
/// untagged picture counts as BT.709 from HD size upward and as BT.601 below, and as limited range.
imaging::YuvEncoding encodingFromTags(int colourSpace, int colourRange, int width, int height);

}  // namespace lumivastor::ffmpeg

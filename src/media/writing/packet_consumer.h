// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "ffmpeg/ffmpeg_handles.h"

namespace lumivastor::media {

/// Where encoded packets go; times are in the encoder's own timescale.
using PacketConsumer = std::function<void(AVPacket&)>;

}  // namespace lumivastor::media

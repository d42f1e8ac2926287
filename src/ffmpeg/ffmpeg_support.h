// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"

// Small helpers around FFmpeg that several sources of this folder share.
namespace lumivastor::ffmpeg {

/// A German clause without a full stop for one of FFmpeg's error numbers.
std::string ffmpegErrorText(int error);

/// Throws a `RecorderError` "<what>: <reason>." when `result` is one of FFmpeg's errors; passes it through otherwise.
int checked(int result, const char* what);

/// Empty packets and frames; running out of memory ends in a `RecorderError`.
PacketHandle makePacket();
FrameHandle makeFrame();

/// A further reference to the frame's samples, respectively the packet's bytes; nothing is copied.
FrameHandle referenceTo(const AVFrame& frame);
PacketHandle referenceTo(const AVPacket& packet);

/// Called before any of FFmpeg's libraries is used; any thread. Silences them, which would write their complaints about
/// damaged files to standard error (ours are in the errors that we throw), and bounds what a movie's header can make
/// them allocate at once.
void prepareFfmpeg();

/// `ticks` of a clock with the given time base as a media time. Exact for the time bases of movie files (1/n).
MediaTime mediaTime(std::int64_t ticks, int timeBaseNumerator, int timeBaseDenominator);

}  // namespace lumivastor::ffmpeg

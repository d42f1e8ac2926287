// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "base/pixel_size.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "platform/capture_device.h"

namespace lumivastor::devices {

/// What to open with libavdevice.
struct LibavSource {
    std::string format;  // of libavdevice: "v4l2" or "lavfi"
    std::string url;     // a path, or a filter graph
    std::map<std::string, std::string> options;
};

/// An open device of libavdevice. Packets are decoded as they arrive. One thread.
class LibavInput {
  public:
    enum class Kind { picture, sound, nothingYet, end };

    /// Throws `RecorderError` when it cannot be opened.
    explicit LibavInput(const LibavSource& source);
    ~LibavInput();
    LibavInput(const LibavInput&) = delete;
    LibavInput& operator=(const LibavInput&) = delete;

    bool hasPictures() const { return picture_.stream >= 0; }
    bool hasSound() const { return sound_.stream >= 0; }
    PixelSize size() const;

    /// Decodes the next frame. `nothingYet`: call again a few milliseconds later, because no frame is ready (V4L2 only)
    /// or a damaged one was skipped. `end`: the device is gone.
    Kind read();

    /// The frame of the last `read`.
    const AVFrame& frame() const { return *frame_; }
    /// Its time stamp in seconds of the device's clock; nullopt without one.
    std::optional<double> stamp() const { return stamp_; }

  private:
    struct Track {
        int stream = -1;
        ffmpeg::CodecHandle decoder;
    };

    void open(Track& track, int stream);
    bool decode(Track& track);

    ffmpeg::InputHandle input_;
    Track picture_;
    Track sound_;
    ffmpeg::PacketHandle packet_;
    ffmpeg::FrameHandle frame_;
    std::optional<double> stamp_;
};

}  // namespace lumivastor::devices

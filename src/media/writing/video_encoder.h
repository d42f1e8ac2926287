// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/picture_pool.h"
#include "media/writing/packet_consumer.h"
#include "media/writing/repeated_pictures.h"

namespace lumivastor::media {

/// The stream that pictures become: H.264, or HEVC Main, which QuickTime files hold as "hvc1".
enum class VideoCodec { h264, hevc };

class PictureEncoder;
struct VideoSettings;

/// Opens an encoder for these settings. Throws `RecorderError`.
using PictureEncoderMaker = std::function<std::unique_ptr<PictureEncoder>(const VideoSettings&)>;

/// How pictures are encoded: 4:2:0, BT.709 limited range and tagged so, never reordered.
struct VideoSettings {
    int width = 0;
    int height = 0;
    std::int64_t averageBitRate = 0;  // bits a second
    int maxKeyFrameInterval = 120;    // pictures from one key picture to the next, at most
    /// Seconds of the movie from one key picture to the next, at most; 0 leaves it to the count of pictures. For live
    /// pictures, of which a screen at rest gives one a second: seeking decodes everything from the key picture on, and
    /// what it may cost is laid down in seconds.
    double maxKeyFrameSeconds = 0;
    int frameRate = 60;            // expected; also how long the last picture is shown unless the session has an end
    std::int32_t timescale = 600;  // of the track: picture times are rounded to it
    VideoCodec codec = VideoCodec::h264;
    /// FFmpeg's name of the encoder, one for `codec`; empty: libx264 or libx265. encoder_choice.h finds one that works.
    std::string encoder;
    /// The software encoders' trade of time against quality, by their own name for it. Hardware encoders have their own
    /// and ignore it.
    std::string preset = "superfast";
    /// How many pictures libx264's rate control looks ahead to see what stays on the screen and is worth its bits.
    /// Presets this fast do without, and then a picture at rest keeps the coarseness of the motion before it: 29 dB of
    /// luma PSNR on text at the export's bit rate instead of 48, for 3 ms of 29 at 2560 x 1440. With it `superfast` is
    /// the fastest that is above 45 dB and no worse in motion; `ultrafast` loses 7 dB there, `veryfast` gains none and
    /// costs 1.6 times as much (bench/encoder_bench.cpp). Not with `lowLatency`.
    int lookahead = 10;
    /// Whether every picture leaves the encoder as soon as it is encoded, without looking ahead. A recording that is
    /// killed loses what its encoder still holds, and at one picture a second a dozen pictures are a dozen seconds.
    /// Fragmented movies are always written so.
    bool lowLatency = false;
    /// For libx264: pictures are encoded as well as this rate factor says, and `averageBitRate` is what any two seconds
    /// may take on average. For recordings: an average that is to be met starves the first pictures and whatever comes
    /// after them. 20 keeps a desktop's text at 48 dB of luma PSNR while it is scrolled and at 50 at rest, an average
    /// rate at 39 and 45 (bench/encoder_bench.cpp). Without delay the encoder takes all pictures for equally long, so
    /// that on a screen at rest key pictures must be several pictures apart, or they exceed what is allowed and pulse.
    std::optional<int> constantQuality;
    /// Whether repeated pictures are written without the encoder (see `RepeatedPictures`), which libx264's streams
    /// allow. Off, and with other encoders, they are encoded like all others.
    bool skipRepeatedPictures = true;
    /// So many repeats of a picture, and of a key picture, still go through the encoder, so that what stands still
    /// gains its full sharpness. Measured on text at 1280 x 720: without any it stays at 40 dB of luma PSNR, with two
    /// at 46, with three at 53, and more than four gain nothing.
    int settlingRepeats = 3;
    /// H.264 has to be of profile High: hardware is asked for it, and a trial refuses an encoder whose stream says
    /// otherwise. libx264 makes it with every preset but `ultrafast`, which leaves out what High adds.
    bool highProfile = false;
    /// Opens the encoder instead of `VideoEncoder`; empty: does not. Tests stand in for hardware with it.
    PictureEncoderMaker make;
};

/// Turns pictures into packets. One thread at a time. Everything throws `RecorderError`.
class PictureEncoder {
  public:
    PictureEncoder() = default;
    virtual ~PictureEncoder() = default;
    PictureEncoder(const PictureEncoder&) = delete;
    PictureEncoder& operator=(const PictureEncoder&) = delete;

    /// What the movie's header says about the stream.
    virtual ffmpeg::CodecParametersHandle parameters() const = 0;

    /// `ticks` in the settings' timescale, ascending. The encoder keeps the picture until the next one comes.
    virtual void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, std::int64_t ticks,
                        const PacketConsumer& consume) = 0;
    /// The picture encoded last is shown at `ticks` as well. There has been one.
    virtual void repeat(std::int64_t ticks, const PacketConsumer& consume) = 0;
    /// Gives what the encoder still holds.
    virtual void finish(const PacketConsumer& consume) = 0;
};

/// The encoder that the settings ask for: that of their `make`, else a `VideoEncoder`.
std::unique_ptr<PictureEncoder> makePictureEncoder(const VideoSettings& settings);

/// Encodes pictures with FFmpeg's encoders. H.264 in 4:2:0 has even sizes only, in its cropping too: for an odd width
/// or height the stream has one column or row more, a repetition of the last, and the movie's header names the true
/// size, which players that honour it (FFmpeg's among them) cut to.
class VideoEncoder final : public PictureEncoder {
  public:
    explicit VideoEncoder(const VideoSettings& settings);

    ffmpeg::CodecParametersHandle parameters() const override;
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, std::int64_t ticks,
                const PacketConsumer& consume) override;
    void repeat(std::int64_t ticks, const PacketConsumer& consume) override;
    void finish(const PacketConsumer& consume) override;

  private:
    /// What has been handed over and has not come out yet, in the order of showing.
    struct Pending {
        std::int64_t ticks;
        bool isRepeat;
    };

    bool isKeyDue(std::int64_t ticks) const;
    void submit(std::int64_t ticks, const PacketConsumer& consume);
    void receive(const PacketConsumer& consume);
    void giveRewritten(const AVPacket& packet, const PacketConsumer& consume);
    void giveRepeats(const PacketConsumer& consume);

    VideoSettings settings_;
    ffmpeg::CodecHandle codec_;
    ffmpeg::PacketHandle packet_;
    std::optional<RepeatedPictures> repeats_;  // only where the stream allows it
    std::deque<Pending> pending_;              // only with repeats_
    std::shared_ptr<imaging::PlanarBuffer> last_;
    int repeatsOfLast_ = 0;
    int sinceKey_ = 0;           // pictures since the key picture asked for last, that one included
    std::int64_t keyTicks_ = 0;  // at most so far from one to the next; 0: any
    std::int64_t lastKeyTicks_ = 0;
};

}  // namespace lumivastor::media

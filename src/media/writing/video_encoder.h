// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ffmpeg/ffmpeg_handles.h"
#include "imaging/damage_area.h"
#include "imaging/picture_pool.h"
#include "media/writing/key_distance.h"
#include "media/writing/packet_consumer.h"
#include "media/writing/repeated_pictures.h"

namespace lumivastor::media {

/// The codec of pictures: H.264, HEVC Main, which is "hvc1" in QuickTime files, or VP9 for WebM files.
enum class VideoCodec { h264, hevc, vp9 };

class PictureEncoder;
struct VideoSettings;

/// Opens an encoder for these settings. Throws `RecorderError`.
using PictureEncoderMaker = std::function<std::unique_ptr<PictureEncoder>(const VideoSettings&)>;

/// How pictures are encoded: always as 4:2:0, BT.709 limited range, tagged as such and never reordered.
struct VideoSettings {
    int width = 0;
    int height = 0;
    std::int64_t averageBitRate = 0;  // bits a second
    int maxKeyFrameInterval = 120;    // pictures from one key picture to the next, at most
    /// For recordings, whose pictures are anything from a whole screen to a repeat: a seek takes this long at most, in
    /// seconds of decoding from the key picture on, as `KeyDistance` estimates it. With 0 only the number of pictures
    /// counts.
    double maxSeekSeconds = 0;
    /// For recordings: the time from a large change to the next key picture at most, and from any other to the one that
    /// shows what has stood still since. With 0 there is none for these reasons.
    double keySecondsAfterChange = 0;
    int frameRate = 60;            // expected; also the duration of the last picture unless the session has an end
    std::int32_t timescale = 600;  // of the track: picture times are rounded to it
    VideoCodec codec = VideoCodec::h264;
    /// FFmpeg's name of the encoder, one for `codec`; empty: libx264, libx265 or libvpx-vp9. encoder_choice.h finds one
    /// that works.
    std::string encoder;
    /// The software encoders' trade-off between time and quality, by their own name for it. Hardware encoders ignore
    /// it.
    std::string preset = "superfast";
    /// How many pictures libx264's rate control looks ahead, to spend bits on what stays on the screen. Presets this
    /// fast have no lookahead by default; a still picture then keeps the coarseness of the motion before it: 29 dB of
    /// luma PSNR on text at the export's bit rate instead of 48, while lookahead takes 3 ms of 29 at 2560 x 1440. With
    /// it, `superfast` is the fastest preset above 45 dB that is no worse in motion; `ultrafast` loses 7 dB there,
    /// `veryfast` gains nothing and costs 1.6 times as much (bench/encoder_bench.cpp). Not used with `lowLatency`.
    int lookahead = 10;
    /// Whether every picture leaves the encoder as soon as it is encoded, without lookahead. A killed recording loses
    /// what its encoder still holds, and at one picture a second a dozen pictures are a dozen seconds. Always so for
    /// fragmented movies.
    bool lowLatency = false;
    /// For libx264: the rate factor, which sets a constant quality; `averageBitRate` then limits the average of any two
    /// seconds. For recordings, because a target average starves the first pictures and those after them. 20 keeps a
    /// desktop's text at 48 dB of luma PSNR while it scrolls and at 50 while it is still, an average rate at 39 and 45
    /// (bench/encoder_bench.cpp). With low latency the encoder assumes that all pictures have the same duration, so on
    /// a still screen key pictures must be several pictures apart; otherwise they exceed the limit and the quality
    /// pulses.
    std::optional<int> constantQuality;
    /// Whether `averageBitRate` limits that. Not for those who choose each picture's quality by `setQuality`.
    bool limitsQuality = true;
    /// Whether repeated pictures are written without the encoder (see `RepeatedPictures`), which libx264's streams
    /// allow. If not, and with other encoders, they are encoded like all others.
    bool skipRepeatedPictures = true;
    /// This many repeats of a picture, and of a key picture, still go through the encoder, so that a still picture
    /// reaches full sharpness. Measured on text at 1280 x 720: with none it stays at 40 dB of luma PSNR, with two at
    /// 46, with three at 53; more than four gain nothing.
    int settlingRepeats = 3;
    /// For libx264: each picture refers to no other than the one before, as `RegionVideoEncoder` needs it. Repeats
    /// behind the encoder need the same and set it themselves.
    bool refersToLastOnly = false;
    /// H.264 must have profile High: it is requested from hardware, and a trial rejects an encoder whose stream has
    /// another. libx264 produces it with every preset except `ultrafast`, which does not use what High adds.
    bool highProfile = false;
    /// Opens an encoder in place of `VideoEncoder`, unless empty. Tests simulate hardware with it.
    PictureEncoderMaker make;
};

/// Encodes pictures into packets. One thread at a time. All functions throw `RecorderError`.
class PictureEncoder {
  public:
    PictureEncoder() = default;
    virtual ~PictureEncoder() = default;
    PictureEncoder(const PictureEncoder&) = delete;
    PictureEncoder& operator=(const PictureEncoder&) = delete;

    /// The stream's parameters for the movie's header.
    virtual ffmpeg::CodecParametersHandle parameters() const = 0;

    /// `ticks` in the settings' timescale, ascending. `damage` tells where the picture may differ from the one that was
    /// encoded before it. The encoder keeps the picture until the next call.
    virtual void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                        std::int64_t ticks, const PacketConsumer& consume) = 0;
    /// Shows the last encoded picture, which must exist, at `ticks` as well.
    virtual void repeat(std::int64_t ticks, const PacketConsumer& consume) = 0;
    /// Passes on what the encoder still holds.
    virtual void finish(const PacketConsumer& consume) = 0;
};

/// For an encoder with these settings.
KeyDistanceSettings keyDistanceSettings(const VideoSettings& settings);

/// The encoder for these settings: that of their `make`, or else a `VideoEncoder`.
std::unique_ptr<PictureEncoder> makePictureEncoder(const VideoSettings& settings);

/// Encodes pictures with FFmpeg's encoders. H.264 in 4:2:0 has only even sizes, even with cropping. For an odd width or
/// height the stream has one more column or row, which repeats the last, and the movie's header has the true size, to
/// which players that honour it (FFmpeg's among them) crop.
class VideoEncoder final : public PictureEncoder {
  public:
    explicit VideoEncoder(const VideoSettings& settings);

    ffmpeg::CodecParametersHandle parameters() const override;
    void encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                std::int64_t ticks, const PacketConsumer& consume) override;
    void repeat(std::int64_t ticks, const PacketConsumer& consume) override;
    void finish(const PacketConsumer& consume) override;

    /// The next picture is a key picture, besides those that the settings ask for.
    void requestKey() { isKeyRequested_ = true; }

    /// For libx264 with a constant quality that nothing limits: steps of QP by which the pictures from the next one on
    /// are coarser. The factor itself stays, because libx264 gives a key picture the mean of those before it.
    void setCoarseness(double steps) { coarseness_ = steps; }

  private:
    /// What was passed to the encoder and has not come out yet, in presentation order.
    struct Pending {
        std::int64_t ticks;
        bool isRepeat;
    };

    int macroblocksIn(const imaging::KnownDamage& damage) const;
    void addCoarseness(AVFrame& frame) const;
    void submit(std::int64_t ticks, int changedMacroblocks, const PacketConsumer& consume);
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
    bool isKeyRequested_ = false;
    double coarseness_ = 0;
    KeyDistance keys_;
    bool choosesKeys_ = false;  // rather than the encoder
};

}  // namespace lumivastor::media

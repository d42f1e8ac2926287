// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/writing/video_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/writing/codec_support.h"
#include "media/writing/encoder_pictures.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kNoVideoEncoder = "Der Video-Encoder konnte nicht geöffnet werden";
constexpr const char* kPictureRefused = "Ein Bild konnte nicht kodiert werden";

int evenUp(int size) {
    return size + size % 2;
}

int inMacroblocks(std::int64_t samples) {
    constexpr int kSide = 16;
    return static_cast<int>((samples + kSide - 1) / kSide);
}

std::string encoderName(const VideoSettings& settings) {
    if (!settings.encoder.empty()) return settings.encoder;
    switch (settings.codec) {
        case VideoCodec::hevc:
            return "libx265";
        case VideoCodec::vp9:
            return "libvpx-vp9";
        default:
            return "libx264";
    }
}

AVCodecID codecId(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::hevc:
            return AV_CODEC_ID_HEVC;
        case VideoCodec::vp9:
            return AV_CODEC_ID_VP9;
        default:
            return AV_CODEC_ID_H264;
    }
}

void set(AVCodecContext& codec, const char* option, const std::string& value) {
    ffmpeg::checked(av_opt_set(codec.priv_data, option, value.c_str(), 0), kNoVideoEncoder);
}

void setUpX264(AVCodecContext& codec, const VideoSettings& settings) {
    set(codec, "preset", settings.preset);
    set(codec, "profile", "high");
    set(codec, "forced-idr", "1");
    if (settings.lowLatency) {
        set(codec, "tune", "zerolatency");
    } else if (settings.lookahead > 0) {
        set(codec, "rc-lookahead", std::to_string(settings.lookahead));
        set(codec, "x264-params", "mbtree=1");
    }
    if (settings.constantQuality) {
        set(codec, "crf", std::to_string(*settings.constantQuality));
        if (settings.limitsQuality) {
            codec.rc_max_rate = codec.bit_rate;
            codec.rc_buffer_size = static_cast<int>(std::min<std::int64_t>(2 * codec.bit_rate, INT32_MAX));
        } else {
            // The factor is the QP then. Otherwise a picture behind motion or behind a key picture would be coarser,
            // because libx264 expects more of the same.
            codec.qcompress = 1;
            // `setCoarseness` needs adaptive quantisation, which not all presets have. Its strength is libx264's own:
            // with less, large dark areas show bands (`LargeDarkAreasShowNoBands`).
            set(codec, "aq-mode", "1");
        }
        codec.bit_rate = 0;
    }
    if (settings.skipRepeatedPictures || settings.refersToLastOnly) {
        // Required for repeats behind the encoder; see `RepeatedPictures`.
        codec.refs = 1;
        set(codec, "weightp", "none");
    }
}

void setUpX265(AVCodecContext& codec, const VideoSettings& settings) {
    set(codec, "preset", settings.preset);
    set(codec, "forced-idr", "1");
    if (settings.lowLatency) set(codec, "tune", "zerolatency");
    // FFmpeg before 6.1 passes the clock's rate as that of the pictures, by which the encoder would distribute the
    // bits. Its own key pictures must be such that decoding can begin there, too.
    std::string parameters = "log-level=none:open-gop=0:info=0:fps=" + std::to_string(settings.frameRate);
    // FFmpeg passes on its number of threads as the number of pictures in progress, each of which adds delay.
    if (settings.lowLatency) parameters += ":frame-threads=1";
    set(codec, "x265-params", parameters);
}

// Measured settings: docs/decisions/0017-forms-of-films.md.
void setUpVpx(AVCodecContext& codec, const VideoSettings& settings) {
    set(codec, "deadline", "realtime");
    set(codec, "cpu-used", "7");
    set(codec, "tune-content", "screen");
    set(codec, "row-mt", "1");
    set(codec, "tile-columns", "2");
    // No picture waits, and none is coded that is not shown: packets and pictures correspond.
    set(codec, "lag-in-frames", "0");
    set(codec, "auto-alt-ref", "0");
    if (settings.constantQuality) {
        set(codec, "crf", std::to_string(*settings.constantQuality));
        // Without a rate the factor alone decides.
        if (!settings.limitsQuality) codec.bit_rate = 0;
    }
}

// Hardware encoders have no common option names: each takes those that it knows.
void setUpHardware(AVCodecContext& codec, const VideoSettings& settings) {
    if (settings.highProfile && settings.codec == VideoCodec::h264) askForHighProfile(codec);
    struct Option {
        const char* name;
        const char* value;
    };
    for (const Option& option : {Option{"forced-idr", "1"}, Option{"forced_idr", "1"}}) {
        av_opt_set(codec.priv_data, option.name, option.value, 0);
    }
    if (!settings.lowLatency) return;
    for (const Option& option : {Option{"delay", "0"}, Option{"zerolatency", "1"}, Option{"async_depth", "1"}}) {
        av_opt_set(codec.priv_data, option.name, option.value, 0);
    }
}

}  // namespace

std::unique_ptr<PictureEncoder> makePictureEncoder(const VideoSettings& settings) {
    if (settings.make) return settings.make(settings);
    return std::make_unique<VideoEncoder>(settings);
}

KeyDistanceSettings keyDistanceSettings(const VideoSettings& settings) {
    KeyDistanceSettings keys;
    keys.maxPictures = settings.maxKeyFrameInterval;
    keys.maxSeekSeconds = settings.maxSeekSeconds;
    keys.keySecondsAfterChange = settings.keySecondsAfterChange;
    keys.timescale = settings.timescale;
    keys.macroblocks = inMacroblocks(settings.width) * inMacroblocks(settings.height);
    keys.cost = settings.codec == VideoCodec::hevc ? hevcCost() : liveH264Cost();
    return keys;
}

VideoEncoder::VideoEncoder(const VideoSettings& settings) : settings_(settings), keys_(keyDistanceSettings(settings)) {
    precondition(settings.width > 0 && settings.height > 0 && settings.frameRate > 0 && settings.timescale > 0 &&
                     settings.maxKeyFrameInterval > 0,
                 "video settings name size, rate and key distance");
    const std::string name = encoderName(settings);
    const AVCodec* const encoder = avcodec_find_encoder_by_name(name.c_str());
    codec_ = makeEncoder(encoder, kNoVideoEncoder);
    precondition(encoder->id == codecId(settings.codec), "the encoder is one for the codec");
    codec_->width = evenUp(settings.width);
    codec_->height = evenUp(settings.height);
    codec_->time_base = {1, settings.timescale};
    codec_->framerate = {settings.frameRate, 1};
    codec_->sample_aspect_ratio = {1, 1};
    codec_->bit_rate = settings.averageBitRate;
    codec_->gop_size = settings.maxKeyFrameInterval;
    codec_->max_b_frames = 0;
    codec_->thread_count = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    codec_->colorspace = AVCOL_SPC_BT709;
    codec_->color_primaries = AVCOL_PRI_BT709;
    codec_->color_trc = AVCOL_TRC_BT709;
    codec_->color_range = AVCOL_RANGE_MPEG;
    preparePictureFormat(*codec_, *encoder, kNoVideoEncoder);
    const bool mayRepeat = settings.skipRepeatedPictures && name == "libx264";
    if (name == "libx264") {
        setUpX264(*codec_, settings);
    } else if (name == "libx265") {
        setUpX265(*codec_, settings);
    } else if (name == "libvpx-vp9") {
        setUpVpx(*codec_, settings);
    } else {
        setUpHardware(*codec_, settings);
    }
    ffmpeg::checked(avcodec_open2(codec_.get(), encoder, nullptr), kNoVideoEncoder);
    packet_ = ffmpeg::makePacket();
    if (mayRepeat && codec_->extradata_size > 0) {
        repeats_ = RepeatedPictures::make({codec_->extradata, static_cast<std::size_t>(codec_->extradata_size)});
    }
    // The encoder does not get all pictures, or knows the number of pictures only.
    choosesKeys_ = repeats_ || settings.maxSeekSeconds > 0 || settings.keySecondsAfterChange > 0;
}

ffmpeg::CodecParametersHandle VideoEncoder::parameters() const {
    ffmpeg::CodecParametersHandle parameters = parametersOf(*codec_);
    if (repeats_) replaceParameterSets(*parameters, repeats_->parameterSets());
    parameters->width = settings_.width;
    parameters->height = settings_.height;
    return parameters;
}

void VideoEncoder::encode(const std::shared_ptr<imaging::PlanarBuffer>& picture, const imaging::KnownDamage& damage,
                          std::int64_t ticks, const PacketConsumer& consume) {
    const imaging::YuvDestination& planes = picture->destination();
    precondition(planes.width == settings_.width && planes.height == settings_.height, "a picture of the input's size");
    precondition(planes.encoding == imaging::YuvEncoding{}, "pictures are written in BT.709, limited range");
    picture->repeatOddEdges();
    last_ = picture;
    repeatsOfLast_ = 0;
    submit(ticks, macroblocksIn(damage), consume);
}

void VideoEncoder::addCoarseness(AVFrame& frame) const {
    if (coarseness_ == 0) return;
    AVFrameSideData* const data =
        av_frame_new_side_data(&frame, AV_FRAME_DATA_REGIONS_OF_INTEREST, sizeof(AVRegionOfInterest));
    if (data == nullptr) throw std::bad_alloc();
    AVRegionOfInterest all{};
    all.self_size = sizeof(all);
    all.bottom = frame.height;
    all.right = frame.width;
    // As a share of all QPs.
    constexpr int kQps = 51;
    constexpr int kSteps = 1000;
    all.qoffset = {static_cast<int>(std::lround(coarseness_ * kSteps)), kQps * kSteps};
    std::memcpy(data->data, &all, sizeof(all));
}

int VideoEncoder::macroblocksIn(const imaging::KnownDamage& damage) const {
    if (!damage) return inMacroblocks(settings_.width) * inMacroblocks(settings_.height);
    int count = 0;
    for (const PixelRect& rect : damage->rects()) count += inMacroblocks(rect.width) * inMacroblocks(rect.height);
    return count;
}

void VideoEncoder::repeat(std::int64_t ticks, const PacketConsumer& consume) {
    precondition(last_ != nullptr, "a picture to repeat");
    // A key picture starts from nothing, and must settle like a new one.
    if (keys_.isDue(ticks, true)) repeatsOfLast_ = -1;
    if (!repeats_ || repeatsOfLast_ < settings_.settlingRepeats) {
        ++repeatsOfLast_;
        submit(ticks, 0, consume);
        return;
    }
    pending_.push_back({ticks, true});
    keys_.add(ticks, 0, false);
    giveRepeats(consume);
}

void VideoEncoder::submit(std::int64_t ticks, int changedMacroblocks, const PacketConsumer& consume) {
    const ffmpeg::FrameHandle frame = encoderPicture(*codec_, last_);
    frame->pts = ticks;
    addCoarseness(*frame);
    if (choosesKeys_) {
        const bool isKey = keys_.isDue(ticks, changedMacroblocks == 0);
        if (isKey) frame->pict_type = AV_PICTURE_TYPE_I;
        keys_.add(ticks, changedMacroblocks, isKey);
    }
    if (isKeyRequested_) frame->pict_type = AV_PICTURE_TYPE_I;
    isKeyRequested_ = false;
    if (repeats_) pending_.push_back({ticks, false});
    ffmpeg::checked(avcodec_send_frame(codec_.get(), frame.get()), kPictureRefused);
    receive(consume);
}

void VideoEncoder::finish(const PacketConsumer& consume) {
    ffmpeg::checked(avcodec_send_frame(codec_.get(), nullptr), kPictureRefused);
    receive(consume);
}

void VideoEncoder::receive(const PacketConsumer& consume) {
    drainEncoder(*codec_, *packet_, kPictureRefused, [this, &consume](AVPacket& packet) {
        // Only the last picture's counts; the others last until the next.
        packet.duration = settings_.timescale / settings_.frameRate;
        keys_.wrote(static_cast<std::size_t>(packet.size), (packet.flags & AV_PKT_FLAG_KEY) != 0);
        if (!repeats_) {
            consume(packet);
            return;
        }
        giveRewritten(packet, consume);
        giveRepeats(consume);
    });
}

void VideoEncoder::giveRewritten(const AVPacket& packet, const PacketConsumer& consume) {
    const bool isExpected = !pending_.empty() && !pending_.front().isRepeat && pending_.front().ticks == packet.pts;
    const auto stream = repeats_->rewritten({packet.data, static_cast<std::size_t>(packet.size)});
    if (!isExpected || !stream) {
        throw RecorderError(std::string(kPictureRefused) + ": Der Encoder liefert einen unerwarteten Bildstrom.");
    }
    pending_.pop_front();
    const ffmpeg::PacketHandle rewritten = packetOf(*stream, packet, kPictureRefused);
    consume(*rewritten);
}

// Repeats can be written as soon as everything before them has come out.
void VideoEncoder::giveRepeats(const PacketConsumer& consume) {
    for (; !pending_.empty() && pending_.front().isRepeat; pending_.pop_front()) {
        const std::vector<std::uint8_t> stream = repeats_->repetition();
        const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
        ffmpeg::checked(av_new_packet(packet.get(), static_cast<int>(stream.size())), kPictureRefused);
        std::copy(stream.begin(), stream.end(), packet->data);
        packet->pts = packet->dts = pending_.front().ticks;
        packet->duration = settings_.timescale / settings_.frameRate;
        consume(*packet);
    }
}

}  // namespace lumivastor::media

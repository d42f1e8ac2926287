#include "media/encoders.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "media/ffmpeg_support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace lumivastor {

namespace {

constexpr const char* kNoVideoEncoder = "Der Video-Encoder konnte nicht geöffnet werden";
constexpr const char* kNoAudioEncoder = "Der Ton-Encoder konnte nicht geöffnet werden";
constexpr const char* kPictureRefused = "Ein Bild konnte nicht kodiert werden";
constexpr const char* kSoundRefused = "Der Ton konnte nicht kodiert werden";

int evenUp(int size) {
    return size + size % 2;
}

CodecHandle makeCodec(const AVCodec* encoder, const char* what) {
    prepareFfmpeg();
    if (encoder == nullptr) checked(AVERROR_ENCODER_NOT_FOUND, what);
    CodecHandle codec(avcodec_alloc_context3(encoder));
    if (!codec) checked(AVERROR(ENOMEM), what);
    codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return codec;
}

CodecParametersHandle parametersOf(const AVCodecContext& codec) {
    CodecParametersHandle parameters(avcodec_parameters_alloc());
    if (!parameters) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    checked(avcodec_parameters_from_context(parameters.get(), &codec), "Eine Spur konnte nicht angelegt werden");
    return parameters;
}

// All packets that the encoder has ready.
void drain(AVCodecContext& codec, AVPacket& packet, const char* what, const PacketConsumer& consume) {
    for (;;) {
        const int result = avcodec_receive_packet(&codec, &packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        checked(result, what);
        consume(packet);
        av_packet_unref(&packet);
    }
}

void releasePicture(void* opaque, std::uint8_t*) {
    delete static_cast<std::shared_ptr<PlanarBuffer>*>(opaque);
}

// The encoder's view of a picture; holds it until the encoder is done with it.
FrameHandle frameAround(const std::shared_ptr<PlanarBuffer>& picture) {
    const YuvDestination& planes = picture->destination();
    FrameHandle frame = makeFrame();
    frame->width = evenUp(planes.width);
    frame->height = evenUp(planes.height);
    frame->format = AV_PIX_FMT_YUV420P;
    frame->data[0] = planes.luma;
    frame->data[1] = planes.blueDifference;
    frame->data[2] = planes.redDifference;
    frame->linesize[0] = static_cast<int>(planes.lumaStride);
    frame->linesize[1] = frame->linesize[2] = static_cast<int>(planes.chromaStride);
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_primaries = AVCOL_PRI_BT709;
    frame->color_trc = AVCOL_TRC_BT709;
    frame->color_range = AVCOL_RANGE_MPEG;
    // All three planes lie in one block, of which the library only needs to know that it is held.
    const auto height = static_cast<std::size_t>(frame->height);
    const std::size_t bytes =
        static_cast<std::size_t>(planes.lumaStride) * height + static_cast<std::size_t>(planes.chromaStride) * height;
    auto holder = std::make_unique<std::shared_ptr<PlanarBuffer>>(picture);
    frame->buf[0] = av_buffer_create(planes.luma, bytes, releasePicture, holder.get(), AV_BUFFER_FLAG_READONLY);
    if (frame->buf[0] == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
    static_cast<void>(holder.release());
    return frame;
}

}  // namespace

VideoEncoder::VideoEncoder(const VideoSettings& settings) : settings_(settings) {
    precondition(settings.width > 0 && settings.height > 0 && settings.frameRate > 0 && settings.timescale > 0 &&
                     settings.maxKeyFrameInterval > 0,
                 "video settings name size, rate and key distance");
    const AVCodec* const encoder = avcodec_find_encoder_by_name("libx264");
    codec_ = makeCodec(encoder, kNoVideoEncoder);
    codec_->width = evenUp(settings.width);
    codec_->height = evenUp(settings.height);
    codec_->pix_fmt = AV_PIX_FMT_YUV420P;
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
    checked(av_opt_set(codec_->priv_data, "preset", settings.preset.c_str(), 0), kNoVideoEncoder);
    checked(av_opt_set(codec_->priv_data, "profile", "high", 0), kNoVideoEncoder);
    if (settings.lookahead > 0) {
        checked(av_opt_set_int(codec_->priv_data, "rc-lookahead", settings.lookahead, 0), kNoVideoEncoder);
        checked(av_opt_set(codec_->priv_data, "x264-params", "mbtree=1", 0), kNoVideoEncoder);
    }
    if (settings.skipRepeatedPictures) {
        // What writing repeats behind the encoder takes; see there.
        codec_->refs = 1;
        checked(av_opt_set(codec_->priv_data, "weightp", "none", 0), kNoVideoEncoder);
        checked(av_opt_set(codec_->priv_data, "forced-idr", "1", 0), kNoVideoEncoder);
    }
    checked(avcodec_open2(codec_.get(), encoder, nullptr), kNoVideoEncoder);
    packet_ = makePacket();
    if (settings.skipRepeatedPictures && codec_->extradata_size > 0) {
        repeats_ = RepeatedPictures::make({codec_->extradata, static_cast<std::size_t>(codec_->extradata_size)});
    }
}

CodecParametersHandle VideoEncoder::parameters() const {
    CodecParametersHandle parameters = parametersOf(*codec_);
    if (repeats_) {
        const std::vector<std::uint8_t>& sets = repeats_->parameterSets();
        av_freep(&parameters->extradata);
        parameters->extradata_size = 0;
        parameters->extradata = static_cast<std::uint8_t*>(av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
        if (parameters->extradata == nullptr) throw RecorderError("Der Arbeitsspeicher reicht nicht.");
        std::copy(sets.begin(), sets.end(), parameters->extradata);
        parameters->extradata_size = static_cast<int>(sets.size());
    }
    parameters->width = settings_.width;
    parameters->height = settings_.height;
    return parameters;
}

void VideoEncoder::encode(const std::shared_ptr<PlanarBuffer>& picture, std::int64_t ticks,
                          const PacketConsumer& consume) {
    const YuvDestination& planes = picture->destination();
    precondition(planes.width == settings_.width && planes.height == settings_.height, "a picture of the input's size");
    precondition(planes.encoding == YuvEncoding{}, "pictures are written in BT.709, limited range");
    picture->repeatOddEdges();
    last_ = picture;
    repeatsOfLast_ = 0;
    submit(ticks, consume);
}

void VideoEncoder::repeat(std::int64_t ticks, const PacketConsumer& consume) {
    precondition(last_ != nullptr, "a picture to repeat");
    const bool isKey = sinceKey_ >= settings_.maxKeyFrameInterval;
    // A key picture starts from nothing, and has to settle like a new one.
    if (isKey) repeatsOfLast_ = -1;
    if (!repeats_ || repeatsOfLast_ < settings_.settlingRepeats) {
        ++repeatsOfLast_;
        submit(ticks, consume);
        return;
    }
    pending_.push_back({ticks, true});
    ++sinceKey_;
    giveRepeats(consume);
}

void VideoEncoder::submit(std::int64_t ticks, const PacketConsumer& consume) {
    const FrameHandle frame = frameAround(last_);
    frame->pts = ticks;
    if (repeats_) {
        // The encoder counts only what it sees, so key pictures are asked for by our own count.
        if (sinceKey_ >= settings_.maxKeyFrameInterval) {
            frame->pict_type = AV_PICTURE_TYPE_I;
            sinceKey_ = 0;
        }
        ++sinceKey_;
        pending_.push_back({ticks, false});
    }
    checked(avcodec_send_frame(codec_.get(), frame.get()), kPictureRefused);
    receive(consume);
}

void VideoEncoder::finish(const PacketConsumer& consume) {
    checked(avcodec_send_frame(codec_.get(), nullptr), kPictureRefused);
    receive(consume);
}

void VideoEncoder::receive(const PacketConsumer& consume) {
    drain(*codec_, *packet_, kPictureRefused, [this, &consume](AVPacket& packet) {
        // Only the last picture's counts; the others last until the next.
        packet.duration = settings_.timescale / settings_.frameRate;
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
    const PacketHandle rewritten = makePacket();
    checked(av_new_packet(rewritten.get(), static_cast<int>(stream->size())), kPictureRefused);
    std::copy(stream->begin(), stream->end(), rewritten->data);
    rewritten->pts = packet.pts;
    rewritten->dts = packet.dts;
    rewritten->duration = packet.duration;
    rewritten->flags = packet.flags;
    consume(*rewritten);
}

// Repeats can be written as soon as all before them is out.
void VideoEncoder::giveRepeats(const PacketConsumer& consume) {
    for (; !pending_.empty() && pending_.front().isRepeat; pending_.pop_front()) {
        const std::vector<std::uint8_t> stream = repeats_->repetition();
        const PacketHandle packet = makePacket();
        checked(av_new_packet(packet.get(), static_cast<int>(stream.size())), kPictureRefused);
        std::copy(stream.begin(), stream.end(), packet->data);
        packet->pts = packet->dts = pending_.front().ticks;
        packet->duration = settings_.timescale / settings_.frameRate;
        consume(*packet);
    }
}

AudioEncoder::AudioEncoder(const AudioSettings& settings) : settings_(settings) {
    precondition(settings.sampleRate > 0 && settings.channels > 0 && settings.bitRate > 0, "sound settings are given");
    const AVCodec* const encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    codec_ = makeCodec(encoder, kNoAudioEncoder);
    codec_->sample_rate = settings.sampleRate;
    codec_->sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&codec_->ch_layout, settings.channels);
    codec_->bit_rate = settings.bitRate;
    codec_->time_base = {1, settings.sampleRate};
    checked(avcodec_open2(codec_.get(), encoder, nullptr), kNoAudioEncoder);
    packet_ = makePacket();
}

CodecParametersHandle AudioEncoder::parameters() const {
    return parametersOf(*codec_);
}

void AudioEncoder::encode(const PcmSample& sample, std::int64_t startFrame, const PacketConsumer& consume) {
    precondition(sample.format.sampleRate == settings_.sampleRate && sample.format.channels == settings_.channels,
                 "sound of the input's rate and channels");
    const auto channels = static_cast<std::size_t>(settings_.channels);
    const auto packetFrames = static_cast<std::size_t>(codec_->frame_size);
    if (!begun_) {
        waitingStart_ = std::max<std::int64_t>(startFrame, 0);
        begun_ = true;
    }
    std::int64_t reached = waitingStart_ + static_cast<std::int64_t>(waiting_.size() / channels);
    const auto jitter = static_cast<std::int64_t>(kJitterSeconds * settings_.sampleRate);
    std::size_t skip = 0;
    if (std::abs(startFrame - reached) > jitter) {
        // Silence goes in piece by piece, so that a gap of hours takes no memory.
        while (reached < startFrame) {
            const auto piece = std::min<std::int64_t>(startFrame - reached, codec_->frame_size);
            waiting_.insert(waiting_.end(), static_cast<std::size_t>(piece) * channels, 0.0F);
            while (waiting_.size() >= packetFrames * channels) send(packetFrames, consume);
            reached += piece;
        }
        skip = std::min(static_cast<std::size_t>(reached - startFrame), sample.frames());
    }
    const auto from = sample.values.begin() + static_cast<std::ptrdiff_t>(skip * channels);
    // The encoder refuses values that are no numbers.
    std::transform(from, sample.values.end(), std::back_inserter(waiting_),
                   [](float value) { return std::isfinite(value) ? value : 0.0F; });
    while (waiting_.size() >= packetFrames * channels) send(packetFrames, consume);
}

void AudioEncoder::finish(const PacketConsumer& consume) {
    const std::size_t left = waiting_.size() / static_cast<std::size_t>(settings_.channels);
    if (left > 0) send(left, consume);
    checked(avcodec_send_frame(codec_.get(), nullptr), kSoundRefused);
    receive(consume);
}

void AudioEncoder::send(std::size_t frames, const PacketConsumer& consume) {
    const auto channels = static_cast<std::size_t>(settings_.channels);
    const FrameHandle frame = makeFrame();
    frame->nb_samples = static_cast<int>(frames);
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->sample_rate = settings_.sampleRate;
    checked(av_channel_layout_copy(&frame->ch_layout, &codec_->ch_layout), kSoundRefused);
    checked(av_frame_get_buffer(frame.get(), 0), kSoundRefused);
    frame->pts = waitingStart_;
    for (std::size_t c = 0; c < channels; ++c) {
        auto* const plane = reinterpret_cast<float*>(frame->extended_data[c]);
        for (std::size_t i = 0; i < frames; ++i) plane[i] = waiting_[i * channels + c];
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(frames * channels));
    waitingStart_ += static_cast<std::int64_t>(frames);
    checked(avcodec_send_frame(codec_.get(), frame.get()), kSoundRefused);
    receive(consume);
}

void AudioEncoder::receive(const PacketConsumer& consume) {
    drain(*codec_, *packet_, kSoundRefused, consume);
}

}  // namespace lumivastor

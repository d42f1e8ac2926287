// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/picture_decoder.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "imaging/picture_limits.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kUndecodable = "Das Video konnte nicht dekodiert werden";

// Each thread holds a whole picture. More threads than this cost memory and gain nothing measurable.
constexpr int kMaxDecoderThreads = 8;

std::int64_t frameDuration(const AVFrame& frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
    return frame.duration;
#else
    return frame.pkt_duration;
#endif
}

// Whether this packet begins an open H.264 group, whose pictures may refer to earlier ones: a key picture that is not
// an instantaneous refresh. Packets in movies are units behind lengths of four bytes (other sizes are not in use).
bool isOpenH264Key(const AVCodecContext& codec, const AVPacket& packet) {
    if (codec.codec_id != AV_CODEC_ID_H264) return false;
    constexpr int kRefresh = 5;
    const auto size = static_cast<std::size_t>(packet.size);
    for (std::size_t at = 0; at + 4 < size;) {
        if ((packet.data[at + 4] & 0x1f) == kRefresh) return false;
        const std::size_t length = std::size_t{packet.data[at]} << 24 | std::size_t{packet.data[at + 1]} << 16 |
                                   std::size_t{packet.data[at + 2]} << 8 | packet.data[at + 3];
        at += 4 + length;
    }
    return true;
}

}  // namespace

PictureDecoder::PictureDecoder(std::shared_ptr<const Asset> asset, int trackId) : asset_(std::move(asset)) {
    const AssetTrack* const track = asset_->track(trackId);
    precondition(track != nullptr && track->kind == TrackKind::video, "a video track of the movie");
    track_ = *track;
    file_ = asset_->takeFile();
    if (!file_) file_ = std::make_unique<MovieFile>(asset_->path());
    const AVStream* const stream = file_->stream(track_.streamIndex);
    if (stream == nullptr || stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) {
        throw RecorderError(asset_->path().filename().string() + " wurde verändert.");
    }
    file_->selectOnly(track_.streamIndex);
    packet_ = ffmpeg::makePacket();
    openCodec(true);
}

PictureDecoder::~PictureDecoder() = default;

void PictureDecoder::openCodec(bool strict) {
    const AVStream* const stream = file_->stream(track_.streamIndex);
    const AVCodec* const decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (decoder == nullptr) ffmpeg::checked(AVERROR_DECODER_NOT_FOUND, kUndecodable);
    codec_.reset(avcodec_alloc_context3(decoder));
    if (!codec_) ffmpeg::checked(AVERROR(ENOMEM), kUndecodable);
    ffmpeg::checked(avcodec_parameters_to_context(codec_.get(), stream->codecpar), kUndecodable);
    codec_->pkt_timebase = stream->time_base;
    codec_->thread_count = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMaxDecoderThreads);
    codec_->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
    codec_->max_pixels = imaging::kMaxPictureArea;
    // Report damage instead of guessing pictures. Concealment stays on only because without it FFmpeg takes every
    // picture of several slices for damaged: its bookkeeping of slices belongs to concealment. What it guesses carries
    // a flag and is refused below.
    codec_->err_recognition = strict ? AV_EF_EXPLODE : 0;
    codec_->error_concealment = FF_EC_DEBLOCK;
    ffmpeg::checked(avcodec_open2(codec_.get(), decoder, nullptr), kUndecodable);
    strict_ = strict;
}

std::int64_t PictureDecoder::ticks(const MediaTime& time) const {
    const AVRational base = codec_->pkt_timebase;
    return av_rescale_q_rnd(time.value, AVRational{1, time.timescale}, base, AV_ROUND_DOWN);
}

MediaTime PictureDecoder::timeOf(std::int64_t ticks) const {
    return ffmpeg::mediaTime(ticks, codec_->pkt_timebase.num, codec_->pkt_timebase.den);
}

std::optional<MediaTime> PictureDecoder::nextTime() const {
    if (next_.frame == nullptr) return std::nullopt;
    return next_.time;
}

MediaTime PictureDecoder::currentEnd() const {
    precondition(hasCurrent(), "a current picture");
    return next_.frame != nullptr ? next_.time : current_.time + current_.duration;
}

bool PictureDecoder::canDecodeOnTo(const MediaTime& time) {
    if (!positioned_ || failure_ || !hasCurrent() || time < current_.time) return false;
    if (next_.frame == nullptr || time < next_.time) return true;
    return file_->keyTimeBefore(track_.streamIndex, ticks(time)) <= lastDecodeTicks_;
}

void PictureDecoder::seek(const MediaTime& time, const std::function<bool()>& passing) {
    if (!canDecodeOnTo(time)) {
        jump(time);
        fetchNext();
        if (!failure_) {
            current_ = std::move(next_);
            next_ = {};
            if (hasCurrent()) fetchNext();
        }
    }
    while (next_.frame != nullptr && next_.time <= time) {
        if (passing && !passing()) return;
        current_ = std::move(next_);
        next_ = {};
        fetchNext();
    }
    // Damage between the last good picture and the requested moment: the picture shown then is unknown.
    if (failure_ && (!hasCurrent() || current_.time + current_.duration <= time)) std::rethrow_exception(failure_);
}

void PictureDecoder::advance() {
    if (failure_) std::rethrow_exception(failure_);
    current_ = std::move(next_);
    next_ = {};
    if (hasCurrent()) fetchNext();
}

// Positions the file at a key picture that is shown at or before `time`. The index knows decode times only; where the
// pictures are reordered, the key picture found by them can be shown too late, and an earlier one is used.
void PictureDecoder::jump(const MediaTime& time) {
    const int index = track_.streamIndex;
    const std::int64_t target = ticks(time);
    std::int64_t from = target;
    current_ = {};
    next_ = {};
    failure_ = nullptr;
    failureTime_ = time;
    ended_ = false;
    draining_ = false;
    positioned_ = true;
    for (;;) {
        avcodec_flush_buffers(codec_.get());
        av_packet_unref(packet_.get());
        packetWaiting_ = false;
        const std::int64_t key = file_->keyTimeBefore(index, from);
        const bool isFirst = key == std::numeric_limits<std::int64_t>::min();
        file_->seek(index, key);
        try {
            packetWaiting_ = file_->readPacket(*packet_);
        } catch (const RecorderError&) {
            failure_ = std::current_exception();
            return;
        }
        lastDecodeTicks_ = key;
        if (!packetWaiting_) return;
        firstKeyTicks_ = packet_->pts;
        if (isFirst) firstKeyTicks_ = std::numeric_limits<std::int64_t>::min();
        if (isFirst || packet_->pts <= target) {
            const bool strict = isFirst || !isOpenH264Key(*codec_, *packet_);
            if (strict != strict_) openCodec(strict);
            return;
        }
        from = key - 1;
    }
}

// The index knows decode times only, so a key picture that is decoded before `time` may be shown behind it.
std::optional<MediaTime> PictureDecoder::keyTimeAfter(const MediaTime& time) {
    const int index = track_.streamIndex;
    const std::int64_t target = ticks(time);
    positioned_ = false;
    packetWaiting_ = false;
    std::optional<std::int64_t> key = file_->keyTimeBefore(index, target);
    if (key == std::numeric_limits<std::int64_t>::min()) key = file_->keyTimeAfter(index, target);
    for (; key; key = file_->keyTimeAfter(index, *key)) {
        file_->seek(index, *key);
        av_packet_unref(packet_.get());
        try {
            if (!file_->readPacket(*packet_)) return std::nullopt;
        } catch (const RecorderError&) {
            return std::nullopt;
        }
        const std::int64_t shown = packet_->pts;
        av_packet_unref(packet_.get());
        if (shown != AV_NOPTS_VALUE && shown > target) return timeOf(shown);
    }
    return std::nullopt;
}

bool PictureDecoder::sendNextPacket() {
    if (!packetWaiting_ && !draining_) packetWaiting_ = file_->readPacket(*packet_);
    if (!packetWaiting_) {
        if (draining_) return false;
        draining_ = true;
        const int result = avcodec_send_packet(codec_.get(), nullptr);
        if (result < 0 && result != AVERROR_EOF) ffmpeg::checked(result, kUndecodable);
        return true;
    }
    const std::int64_t decodeTicks = packet_->dts;
    const int result = avcodec_send_packet(codec_.get(), packet_.get());
    if (result == AVERROR(EAGAIN)) return true;  // the decoder must return pictures first
    av_packet_unref(packet_.get());
    packetWaiting_ = false;
    if (decodeTicks != AV_NOPTS_VALUE) lastDecodeTicks_ = decodeTicks;
    ffmpeg::checked(result, kUndecodable);
    return true;
}

PictureDecoder::Picture PictureDecoder::decodeOne() {
    ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    for (;;) {
        const int result = avcodec_receive_frame(codec_.get(), frame.get());
        if (result == AVERROR_EOF) return {};
        if (result == AVERROR(EAGAIN)) {
            if (!sendNextPacket()) return {};
            continue;
        }
        ffmpeg::checked(result, kUndecodable);
        const std::int64_t shown = frame->pts != AV_NOPTS_VALUE ? frame->pts : frame->best_effort_timestamp;
        if (shown == AV_NOPTS_VALUE || shown < firstKeyTicks_) {
            av_frame_unref(frame.get());
            continue;
        }
        if ((frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0) {
            ffmpeg::checked(AVERROR_INVALIDDATA, kUndecodable);
        }
        if (!imaging::isDecodablePictureSize(frame->width, frame->height)) {
            ffmpeg::checked(AVERROR_INVALIDDATA, kUndecodable);
        }
        Picture picture;
        picture.time = timeOf(shown);
        picture.duration = timeOf(std::max<std::int64_t>(frameDuration(*frame), 0));
        picture.frame = std::move(frame);
        return picture;
    }
}

void PictureDecoder::fetchNext() {
    if (ended_ || failure_) return;
    try {
        next_ = decodeOne();
        ended_ = next_.frame == nullptr;
    } catch (const RecorderError&) {
        failure_ = std::current_exception();
        if (hasCurrent()) failureTime_ = current_.time + current_.duration;
    }
}

}  // namespace lumivastor::media

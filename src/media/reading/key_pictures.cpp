// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/key_pictures.h"

#include <limits>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "ffmpeg/ffmpeg_support.h"
#include "ffmpeg/picture_conversion.h"
#include "imaging/picture_limits.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

constexpr const char* kUndecodable = "Das Video konnte nicht dekodiert werden";

int streamIndexOf(const Asset& asset, int trackId) {
    const AssetTrack* const track = asset.track(trackId);
    precondition(track != nullptr && track->kind == TrackKind::video, "a video track of the movie");
    return track->streamIndex;
}

std::vector<IndexedSample> indexOf(MovieFile& file, int streamIndex) {
    AVStream* const stream = file.stream(streamIndex);
    const int count = avformat_index_get_entries_count(stream);
    std::vector<IndexedSample> samples;
    samples.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const AVIndexEntry* const entry = avformat_index_get_entry(stream, i);
        if (entry == nullptr) break;
        samples.push_back({ffmpeg::mediaTime(entry->timestamp, stream->time_base.num, stream->time_base.den),
                           entry->size, (entry->flags & AVINDEX_KEYFRAME) != 0, entry->pos});
    }
    return samples;
}

}  // namespace

KeyPictures::KeyPictures(std::shared_ptr<const Asset> asset, int trackId)
    : asset_(std::move(asset)),
      streamIndex_(streamIndexOf(*asset_, trackId)),
      file_(std::make_unique<MovieFile>(asset_->path())),
      converter_(std::make_unique<ffmpeg::PictureConverter>()) {
    const AVStream* const stream = file_->stream(streamIndex_);
    if (stream == nullptr || stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) {
        throw RecorderError(asset_->path().filename().string() + " wurde verändert.");
    }
    file_->selectOnly(streamIndex_);
}

KeyPictures::~KeyPictures() = default;

std::vector<IndexedSample> KeyPictures::index() const {
    return indexOf(*file_, streamIndex_);
}

std::vector<IndexedSample> sampleIndex(const Asset& asset, int trackId) {
    const AssetTrack* const track = asset.track(trackId);
    precondition(track != nullptr, "a track of the movie");
    MovieFile file(asset.path());
    if (file.stream(track->streamIndex) == nullptr) {
        throw RecorderError(asset.path().filename().string() + " wurde verändert.");
    }
    return indexOf(file, track->streamIndex);
}

// One thread: several would wait for further pictures before they return the first.
void KeyPictures::openCodec() {
    const AVStream* const stream = file_->stream(streamIndex_);
    const AVCodec* const decoder = avcodec_find_decoder(stream->codecpar->codec_id);
    if (decoder == nullptr) ffmpeg::checked(AVERROR_DECODER_NOT_FOUND, kUndecodable);
    ffmpeg::CodecHandle codec(avcodec_alloc_context3(decoder));
    if (!codec) ffmpeg::checked(AVERROR(ENOMEM), kUndecodable);
    ffmpeg::checked(avcodec_parameters_to_context(codec.get(), stream->codecpar), kUndecodable);
    codec->pkt_timebase = stream->time_base;
    codec->thread_count = 1;
    codec->max_pixels = imaging::kMaxPictureArea;
    ffmpeg::checked(avcodec_open2(codec.get(), decoder, nullptr), kUndecodable);
    codec_ = std::move(codec);
}

std::optional<KeyPictures::Picture> KeyPictures::decode(const MediaTime& decodeTime) {
    const AVRational base = file_->stream(streamIndex_)->time_base;
    const std::int64_t ticks =
        av_rescale_q_rnd(decodeTime.value, AVRational{1, decodeTime.timescale}, base, AV_ROUND_NEAR_INF);
    const std::int64_t key = file_->keyTimeBefore(streamIndex_, ticks);
    if (key == std::numeric_limits<std::int64_t>::min()) return std::nullopt;
    file_->seek(streamIndex_, key);
    const ffmpeg::PacketHandle packet = ffmpeg::makePacket();
    if (!file_->readPacket(*packet)) return std::nullopt;

    if (!codec_) openCodec();
    avcodec_flush_buffers(codec_.get());
    // Then the end, so that a decoder of reordered pictures does not wait for the next one.
    if (avcodec_send_packet(codec_.get(), packet.get()) < 0) return std::nullopt;
    if (avcodec_send_packet(codec_.get(), nullptr) < 0) return std::nullopt;
    const ffmpeg::FrameHandle frame = ffmpeg::makeFrame();
    if (avcodec_receive_frame(codec_.get(), frame.get()) < 0) return std::nullopt;
    const bool isDamaged = (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0;
    if (isDamaged || !imaging::isDecodablePictureSize(frame->width, frame->height)) return std::nullopt;
    const std::int64_t shown = packet->pts != AV_NOPTS_VALUE ? packet->pts : key;
    return Picture{ffmpeg::mediaTime(shown, base.num, base.den), converter_->planar(*frame)};
}

}  // namespace lumivastor::media

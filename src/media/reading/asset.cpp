// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/asset.h"

#include <algorithm>
#include <utility>

#include "base/recorder_error.h"
#include "ffmpeg/colour_tags.h"
#include "ffmpeg/ffmpeg_support.h"
#include "imaging/picture_limits.h"
#include "media/reading/movie_file.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

// How far into the file FFmpeg may look for properties that the header lacks. Our own movies need one picture.
constexpr std::int64_t kProbeBytes = 32 << 20;

void fillVideo(const AVCodecParameters& parameters, AssetTrack& track) {
    track.width = parameters.width;
    track.height = parameters.height;
    track.encoding =
        ffmpeg::encodingFromTags(parameters.color_space, parameters.color_range, parameters.width, parameters.height);
    track.colourTagged = parameters.color_space != AVCOL_SPC_UNSPECIFIED;
}

void fillAudio(const AVCodecParameters& parameters, AssetTrack& track) {
    track.sampleRate = parameters.sample_rate;
    track.channels = parameters.ch_layout.nb_channels;
}

bool isUsable(const AssetTrack& track) {
    if (track.kind == TrackKind::video) {
        return imaging::isDecodablePictureSize(track.width, track.height);
    }
    constexpr int kMaxSampleRate = 768000;  // twice what any sound card offers
    constexpr int kMaxChannels = 64;
    return track.sampleRate > 0 && track.sampleRate <= kMaxSampleRate && track.channels > 0 &&
           track.channels <= kMaxChannels;
}

}  // namespace

Asset::Asset(std::filesystem::path path) : path_(std::move(path)) {
    file_ = std::make_unique<MovieFile>(path_);
    MovieFile& file = *file_;
    fragmented_ = file.isFragmented();
    AVFormatContext& context = file.context();
    context.probesize = kProbeBytes;
    const int probed = avformat_find_stream_info(&context, nullptr);
    if (probed < 0) {
        throw RecorderError(path_.filename().string() +
                            " konnte nicht gelesen werden: " + ffmpeg::ffmpegErrorText(probed) + ".");
    }
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        const AVStream& stream = *context.streams[i];
        const AVMediaType type = stream.codecpar->codec_type;
        if (type != AVMEDIA_TYPE_VIDEO && type != AVMEDIA_TYPE_AUDIO) continue;
        if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) continue;
        if (stream.time_base.num <= 0 || stream.time_base.den <= 0) continue;
        AssetTrack track;
        track.id = stream.id;
        track.streamIndex = static_cast<int>(i);
        track.kind = type == AVMEDIA_TYPE_VIDEO ? TrackKind::video : TrackKind::audio;
        track.codec = avcodec_get_name(stream.codecpar->codec_id);
        const AVRational base = stream.time_base;
        const std::int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
        track.start = ffmpeg::mediaTime(start, base.num, base.den);
        const bool durationKnown = !fragmented_ && stream.duration != AV_NOPTS_VALUE && stream.duration > 0;
        track.end = durationKnown ? track.start + ffmpeg::mediaTime(stream.duration, base.num, base.den)
                                  : std::max(track.start, file.indexEnd(static_cast<int>(i)));
        track.sampleCount = avformat_index_get_entries_count(&stream);
        if (track.kind == TrackKind::video) {
            fillVideo(*stream.codecpar, track);
        } else {
            fillAudio(*stream.codecpar, track);
        }
        if (!isUsable(track)) {
            throw RecorderError(path_.filename().string() +
                                " konnte nicht gelesen werden: " + "Eine Spur hat unmögliche Maße.");
        }
        if (this->track(track.id) != nullptr) {
            throw RecorderError(path_.filename().string() +
                                " konnte nicht gelesen werden: " + "Zwei Spuren haben dieselbe Nummer.");
        }
        tracks_.push_back(std::move(track));
    }
    if (tracks_.empty()) {
        throw RecorderError(path_.filename().string() + " enthält weder Bild noch Ton.");
    }
}

Asset::~Asset() = default;

std::unique_ptr<MovieFile> Asset::takeFile() const {
    const std::lock_guard hold(lock_);
    return std::move(file_);
}

std::vector<AssetTrack> Asset::tracks(TrackKind kind) const {
    std::vector<AssetTrack> found;
    std::copy_if(tracks_.begin(), tracks_.end(), std::back_inserter(found),
                 [kind](const AssetTrack& track) { return track.kind == kind; });
    return found;
}

const AssetTrack* Asset::track(int id) const {
    const auto found =
        std::find_if(tracks_.begin(), tracks_.end(), [id](const AssetTrack& track) { return track.id == id; });
    return found == tracks_.end() ? nullptr : &*found;
}

MediaTime Asset::duration() const {
    MediaTime longest;
    for (const AssetTrack& track : tracks_) longest = std::max(longest, track.end);
    return longest;
}

}  // namespace lumivastor::media

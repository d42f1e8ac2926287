// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/examination/movie_examination.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>
#include <system_error>

#include "base/descriptor_io.h"
#include "base/handled_error.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "base/unique_descriptor.h"
#include "ffmpeg/ffmpeg_support.h"
#include "media/examination/packet_structure.h"
#include "media/reading/asset_reader.h"
#include "media/reading/key_pictures.h"
#include "media/reading/movie_file.h"
#include "media/reading/sound_decoder.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace lumivastor::media {

namespace {

// Of the whole work. Decoding all sound takes longer than everything else, unless every picture is decoded.
constexpr double kIndexShare = 0.1;
constexpr double kSoundShare = 0.7;
constexpr double kSoundShareOfThorough = 0.2;

constexpr int kChannels = 2;
constexpr std::size_t kFramesAtOnce = 4800;
// How many pictures pass between two looks at the stop request.
constexpr std::size_t kPicturesAtOnce = 1000;

struct Packet {
    double seconds = 0;
    std::uint64_t offset = 0;
    std::uint64_t bytes = 0;
    bool isKey = false;
    MediaTime time;
};

class Examination {
  public:
    Examination(const std::shared_ptr<const Asset>& movie, const ExaminationOptions& options)
        : movie_(movie),
          options_(options),
          file_(movie->path()),
          bytes_(::open(movie->path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        struct stat status {};
        if (!bytes_.isOpen() || ::fstat(bytes_.get(), &status) != 0) {
            throw RecorderError(movie->path().filename().string() + " konnte nicht gelesen werden: " +
                                systemErrorText({errno, std::generic_category()}) + ".");
        }
        fileSize_ = static_cast<std::uint64_t>(status.st_size);
    }

    MovieExamination run() {
        MovieExamination result;
        const double indexEnd = kIndexShare;
        const double soundEnd = indexEnd + (options_.decodesEveryPicture ? kSoundShareOfThorough : kSoundShare);
        const auto videos = movie_->tracks(TrackKind::video);
        for (const AssetTrack& track : videos) result.videos.push_back(examineVideo(track));
        report(indexEnd);
        examineSounds(result, indexEnd, soundEnd);
        for (std::size_t i = 0; i < videos.size(); ++i) {
            const double part = (1 - soundEnd) / static_cast<double>(videos.size());
            const double from = soundEnd + part * static_cast<double>(i);
            if (options_.decodesEveryPicture) {
                decodeAll(videos[i], result.videos[i], from, from + part);
            } else {
                decodeSome(videos[i], result.videos[i], from, from + part);
            }
        }
        report(1);
        return result;
    }

  private:
    void goOn() const {
        if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
    }
    void report(double progress) {
        goOn();
        reached_ = std::max(reached_, progress);
        if (options_.progress) options_.progress(reached_);
    }

    std::vector<Packet> packetsOf(const AssetTrack& track) {
        AVStream* const stream = file_.stream(track.streamIndex);
        if (stream == nullptr) throw RecorderError(movie_->path().filename().string() + " wurde verändert.");
        const int count = avformat_index_get_entries_count(stream);
        std::vector<Packet> packets;
        packets.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            const AVIndexEntry* const entry = avformat_index_get_entry(stream, i);
            if (entry == nullptr) break;
            const MediaTime time = ffmpeg::mediaTime(entry->timestamp, stream->time_base.num, stream->time_base.den);
            packets.push_back({time.seconds(), static_cast<std::uint64_t>(std::max<std::int64_t>(entry->pos, 0)),
                               static_cast<std::uint64_t>(std::max(entry->size, 0)),
                               (entry->flags & AVINDEX_KEYFRAME) != 0, time});
        }
        return packets;
    }

    static void noteDamage(VideoExamination& video, double seconds) {
        video.firstDamage = std::min(video.firstDamage.value_or(seconds), seconds);
    }

    VideoExamination examineVideo(const AssetTrack& track) {
        VideoExamination video;
        video.width = track.width;
        video.height = track.height;
        video.start = track.start.seconds();
        video.end = track.end.seconds();
        const std::vector<Packet> packets = packetsOf(track);
        video.pictures = static_cast<std::int64_t>(packets.size());
        for (std::size_t i = 0; i < packets.size(); ++i) {
            const double next =
                i + 1 < packets.size() ? packets[i + 1].seconds : std::max(video.end, packets[i].seconds);
            const double gap = next - packets[i].seconds;
            if (gap <= video.longestGap) continue;
            video.longestGap = gap;
            video.longestGapStart = packets[i].seconds;
        }
        measureIntervals(packets, video);
        examineStructure(track, packets, video);
        return video;
    }

    static void measureIntervals(const std::vector<Packet>& packets, VideoExamination& video) {
        std::vector<double> intervals;
        for (std::size_t i = 1; i < packets.size(); ++i) {
            intervals.push_back(packets[i].seconds - packets[i - 1].seconds);
        }
        if (intervals.size() < 2) return;
        std::vector<double> sorted = intervals;
        const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::nth_element(sorted.begin(), middle, sorted.end());
        const double median = *middle;
        if (!(median > 0)) return;
        double sum = 0;
        for (const double interval : intervals) {
            sum += std::abs(interval - median * std::max(std::round(interval / median), 1.0));
        }
        video.typicalInterval = median;
        video.intervalJitter = sum / static_cast<double>(intervals.size());
    }

    void examineStructure(const AssetTrack& track, const std::vector<Packet>& packets, VideoExamination& video) {
        const AVCodecParameters& parameters = *file_.stream(track.streamIndex)->codecpar;
        const std::span<const std::uint8_t> extra(parameters.extradata,
                                                  static_cast<std::size_t>(std::max(parameters.extradata_size, 0)));
        const std::optional<int> lengths = lengthBytes(track.codec, extra);
        const ReadAt readAt = [this](std::uint64_t offset, std::span<std::uint8_t> bytes) {
            const Transfer read = readAllAt(bytes_.get(), offset, bytes.data(), bytes.size());
            return !read.error && read.count == bytes.size();
        };
        for (std::size_t i = 0; i < packets.size(); ++i) {
            if (i % kPicturesAtOnce == 0) goOn();
            const Packet& packet = packets[i];
            const bool isInside =
                packet.bytes > 0 && packet.offset <= fileSize_ && packet.bytes <= fileSize_ - packet.offset;
            if (isInside && (!lengths || isWholePicture(readAt, packet.offset, packet.bytes, *lengths))) continue;
            ++video.brokenPictures;
            noteDamage(video, packet.seconds);
        }
    }

    SoundExamination examineIndex(const AssetTrack& track) {
        SoundExamination sound;
        sound.start = std::max(track.start.seconds(), 0.0);
        sound.end = track.end.seconds();
        const std::vector<Packet> packets = packetsOf(track);
        if (packets.empty()) return sound;
        constexpr double kLastPacketSeconds = 1;
        sound.end = std::min(sound.end, packets.back().seconds + kLastPacketSeconds);
        // Other codecs than that of recordings may have packets of any length.
        if (track.codec != "aac") return sound;
        constexpr double kFramesInPacket = 1024;
        const double length = kFramesInPacket / track.sampleRate;
        for (std::size_t i = 1; i < packets.size(); ++i) {
            sound.longestGap = std::max(sound.longestGap, packets[i].seconds - packets[i - 1].seconds - length);
        }
        // The clock of the file may be coarser than a frame.
        if (sound.longestGap < length / 2) sound.longestGap = 0;
        const double spanned = packets.back().seconds - packets.front().seconds + length;
        sound.drift = static_cast<double>(packets.size()) * length - spanned;
        return sound;
    }

    // Side by side, for the loudness of all of them.
    void examineSounds(MovieExamination& result, double from, double to) {
        struct Track {
            std::unique_ptr<SoundDecoder> decoder;
            std::unique_ptr<LoudnessMeter> meter;
            std::int64_t begin = 0;  // in frames
            std::int64_t end = 0;
            std::int64_t zeros = 0;
            std::int64_t longestZeros = 0;
        };
        const std::vector<AssetTrack> stored = movie_->tracks(TrackKind::audio);
        if (stored.empty()) return;
        const int rate = stored.front().sampleRate;
        const bool haveOneRate = std::all_of(stored.begin(), stored.end(),
                                             [rate](const AssetTrack& track) { return track.sampleRate == rate; });
        constexpr int kLeastRate = 8000;
        std::vector<Track> tracks;
        std::int64_t end = 0;
        for (const AssetTrack& track : stored) {
            result.sounds.push_back(examineIndex(track));
            Track each;
            each.decoder = std::make_unique<SoundDecoder>(movie_, track.id, kChannels);
            if (track.sampleRate >= kLeastRate && stored.size() > 1) {
                each.meter = std::make_unique<LoudnessMeter>(PcmFormat{track.sampleRate, kChannels},
                                                             LoudnessMeter::Figures::integrated);
            }
            each.begin = std::llround(result.sounds.back().start * track.sampleRate);
            each.end = std::llround(std::min(result.sounds.back().end, kLongestSeconds) * track.sampleRate);
            each.decoder->seek(each.begin);
            end = std::max(end, each.end);
            tracks.push_back(std::move(each));
        }
        std::unique_ptr<LoudnessMeter> together;
        if (haveOneRate && rate >= kLeastRate) {
            together = std::make_unique<LoudnessMeter>(PcmFormat{rate, kChannels}, LoudnessMeter::Figures::all);
        }
        std::vector<float> values;
        std::vector<float> mix;
        for (std::int64_t at = 0; at < end; at += kFramesAtOnce) {
            mix.assign(kFramesAtOnce * kChannels, 0.0F);
            for (Track& track : tracks) {
                const std::int64_t begin = std::max(at, track.begin);
                const std::int64_t until = std::min(at + static_cast<std::int64_t>(kFramesAtOnce), track.end);
                if (begin >= until) continue;
                values.resize(static_cast<std::size_t>(until - begin) * kChannels);
                track.decoder->read(values);
                countZeros(values, track.zeros, track.longestZeros);
                if (track.meter) track.meter->add(values);
                const auto target = mix.begin() + static_cast<std::ptrdiff_t>(begin - at) * kChannels;
                std::transform(values.begin(), values.end(), target, target, std::plus<>());
            }
            if (together) {
                const auto frames = static_cast<std::size_t>(std::min<std::int64_t>(kFramesAtOnce, end - at));
                together->add(std::span(mix).first(frames * kChannels));
            }
            report(from + (to - from) * static_cast<double>(at) / static_cast<double>(end));
        }
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            SoundExamination& sound = result.sounds[i];
            sound.longestSilence = static_cast<double>(tracks[i].longestZeros) / stored[i].sampleRate;
            sound.isSilent = tracks[i].longestZeros >= tracks[i].end - tracks[i].begin;
            sound.damagedPackets = tracks[i].decoder->refusedPackets();
            if (tracks[i].meter) sound.integratedLoudness = tracks[i].meter->loudness().integrated;
        }
        if (!together) return;
        result.loudness = together->loudness();
        if (tracks.size() == 1) result.sounds.front().integratedLoudness = result.loudness.integrated;
    }

    static void countZeros(const std::vector<float>& values, std::int64_t& zeros, std::int64_t& longest) {
        for (std::size_t i = 0; i < values.size(); i += kChannels) {
            zeros = values[i] == 0 && values[i + 1] == 0 ? zeros + 1 : 0;
            longest = std::max(longest, zeros);
        }
    }

    void decodeSome(const AssetTrack& track, VideoExamination& video, double from, double to) {
        std::vector<Packet> keys = packetsOf(track);
        std::erase_if(keys, [](const Packet& packet) { return !packet.isKey; });
        if (keys.empty() || options_.sampledPictures < 1) return;
        KeyPictures pictures(movie_, track.id);
        const std::size_t count = std::min(keys.size(), static_cast<std::size_t>(options_.sampledPictures));
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = count == 1 ? 0 : i * (keys.size() - 1) / (count - 1);
            ++video.decoded;
            if (!canDecode(pictures, keys[at])) {
                ++video.undecodable;
                noteDamage(video, keys[at].seconds);
            }
            report(from + (to - from) * static_cast<double>(i) / static_cast<double>(count));
        }
    }

    // A file that ends too early is no other damage than a picture that is not one.
    static bool canDecode(KeyPictures& pictures, const Packet& key) {
        try {
            return pictures.decode(key.time).has_value();
        } catch (const RecorderError& error) {
            if (isOutOfMemory(error)) throw;
            return false;
        }
    }

    void decodeAll(const AssetTrack& track, VideoExamination& video, double from, double to) {
        AssetReader reader(movie_);
        VideoTrackOutput& output = reader.addVideoOutput(track.id, PictureFormat::planar);
        if (reader.startReading()) {
            while (output.copyNextSample()) {
                ++video.decoded;
                if (video.pictures > 0) {
                    report(from +
                           (to - from) * static_cast<double>(video.decoded) / static_cast<double>(video.pictures));
                }
            }
        }
        const auto error = reader.error();
        if (!error) return;
        if (isOutOfMemory(*error)) throw RecorderError(*error);
        ++video.undecodable;
        noteDamage(video, reader.failureTime().value_or(MediaTime{}).seconds());
    }

    // What a file says of its length is not trusted further.
    static constexpr double kLongestSeconds = 24 * 3600;

    const std::shared_ptr<const Asset>& movie_;
    const ExaminationOptions& options_;
    MovieFile file_;
    const UniqueDescriptor bytes_;
    std::uint64_t fileSize_ = 0;
    double reached_ = 0;
};

}  // namespace

MovieExamination examineMovie(const std::shared_ptr<const Asset>& movie, const ExaminationOptions& options) {
    return Examination(movie, options).run();
}

}  // namespace lumivastor::media

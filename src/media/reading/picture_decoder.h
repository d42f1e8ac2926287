// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

#include "base/media_time.h"
#include "ffmpeg/ffmpeg_handles.h"
#include "media/reading/asset.h"
#include "media/reading/movie_file.h"

namespace lumivastor::media {

/// Decodes one video track in presentation order and finds the picture that is shown at any moment: the last one whose
/// presentation time is at or before it. Decodes on several threads. One thread at a time calls it.
///
/// Damage is not concealed: where the decoder reports an error, decoding ends with a `RecorderError`. After a jump to a
/// key picture, its leading pictures (open groups) are left out. H.264 decoders treat the references that are missing
/// after such a jump as damage, so from then on they report only what they cannot conceal.
class PictureDecoder {
  public:
    /// Throws when the file cannot be opened or its codec is not known.
    PictureDecoder(std::shared_ptr<const Asset> asset, int trackId);
    ~PictureDecoder();

    /// Makes the picture shown at `time` the current one: the track's first picture if all are later, none if the track
    /// is empty. Jumps to a key picture where that is quicker than decoding on. Throws when damage prevents it from
    /// finding the picture.
    ///
    /// `passing`, if given, is called for every other picture decoded on the way, while that is the current one. If it
    /// returns false, the seek ends there; a later seek can continue from that picture.
    void seek(const MediaTime& time, const std::function<bool()>& passing = {});

    bool hasCurrent() const { return current_.frame != nullptr; }
    const AVFrame& current() const { return *current_.frame; }
    MediaTime currentTime() const { return current_.time; }
    /// The time of the next picture; nullopt at the track's end, or where damage follows.
    std::optional<MediaTime> nextTime() const;
    /// The end of the current picture: the next one's time or, if none is known, the end that the file states.
    MediaTime currentEnd() const;

    /// Makes the next picture the current one; none at the end. Throws where damage follows.
    void advance();

    /// The time of the first key picture behind `time`, where decoding can resume after damage; nullopt when there is
    /// none, or the file ends before it. The next `seek` jumps.
    std::optional<MediaTime> keyTimeAfter(const MediaTime& time);

    /// After an exception: the time at which decoding failed. As far as known, the first moment without a picture.
    MediaTime failureTime() const { return failureTime_; }

  private:
    struct Picture {
        ffmpeg::FrameHandle frame;
        MediaTime time;
        MediaTime duration;
    };

    void openCodec(bool strict);
    void jump(const MediaTime& time);
    bool canDecodeOnTo(const MediaTime& time);
    bool sendNextPacket();
    Picture decodeOne();
    void fetchNext();
    std::int64_t ticks(const MediaTime& time) const;
    MediaTime timeOf(std::int64_t ticks) const;

    std::shared_ptr<const Asset> asset_;
    AssetTrack track_;
    std::unique_ptr<MovieFile> file_;
    ffmpeg::CodecHandle codec_;
    ffmpeg::PacketHandle packet_;
    bool packetWaiting_ = false;  // packet_ holds one that the decoder has not taken yet
    bool draining_ = false;
    bool ended_ = false;
    bool positioned_ = false;
    std::int64_t firstKeyTicks_ = 0;    // presentation time of the key picture jumped to
    std::int64_t lastDecodeTicks_ = 0;  // of the last packet handed to the decoder
    bool strict_ = true;                // whether codec_ was opened to report every error
    Picture current_;
    Picture next_;
    std::exception_ptr failure_;  // met while looking ahead; thrown when the picture is asked for
    MediaTime failureTime_;
};

}  // namespace lumivastor::media

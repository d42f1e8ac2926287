// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "media/reading/segmented_movie.h"
#include "media/reading/sound_joins.h"
#include "media/reading/sound_track_reader.h"
#include "platform/sound/sound_output.h"
#include "playback/playback_position_map.h"
#include "playback/played_ranges.h"

namespace lumivastor::playback {

/// The sound of a player, which is also its clock: decodes ahead along the played ranges, on its own thread, mixes when
/// the output requests sound, and reports which moment is heard. Tracks are mixed that late so that a change of volume
/// is delayed only by the output's few hundredths of a second. Without sound tracks it plays silence.
///
/// `position`, `elapsed` and `isFinished` may be called on any thread; everything else belongs to the player's.
class PlayerSound {
  public:
    /// How much sound is decoded ahead, in seconds: one read may take the disk this long without a gap in the sound.
    static constexpr double kAhead = 0.5;

    PlayerSound(const media::SegmentedMovie& movie, const std::vector<media::AudioMixInput>& mix, PlayedRanges ranges);
    /// Not while running.
    ~PlayerSound();
    PlayerSound(const PlayerSound&) = delete;
    PlayerSound& operator=(const PlayerSound&) = delete;

    bool hasTracks() const { return !trackIds_.empty(); }

    /// Begins to decode, if nothing has begun it yet. Until then no file is open: opening hours of sound takes time
    /// that the first picture needs. `start` begins it in any case.
    void prepare();

    /// Prepares to play from a moment, or from the next that is played. Not while running.
    void cue(double seconds);
    /// Plays from the cued moment. `lost` as in `SoundOutput::Client`. The output outlives this object.
    void start(platform::SoundOutput& output, std::function<void(const RecorderError&)> lost);
    /// Stops and cues the moment heard last.
    void stop();

    void setMix(const std::vector<media::AudioMixInput>& mix);
    /// While running: sound that was not yet given to the output follows the new ranges.
    void setRanges(PlayedRanges ranges);

    /// The moment that is heard, in seconds of the timeline; when not running, the cued one.
    double position() const;
    /// For how many seconds the output has been heard; when not running, 0.
    double elapsed() const;
    /// Whether everything has been heard to the end. False when not running.
    bool isFinished() const;

  private:
    // Sound of all tracks from one stretch of the source, not mixed.
    struct Block {
        media::SoundStretch range;  // the played range that it is in
        std::int64_t source = 0;
        std::size_t frames = 0;
        std::size_t used = 0;
        std::vector<std::vector<float>> tracks;
    };
    struct Volume {
        float now = 0;     // the volume that was applied last
        float target = 0;  // the volume that is set
    };

    std::vector<float> volumesOf(const std::vector<media::AudioMixInput>& mix) const;
    void fill(std::span<float> values);
    void mix(Block& block, std::span<float> values);
    void decode();
    void read(Block& block, std::vector<std::unique_ptr<media::SoundTrackReader>>& readers);
    void decodeFrom(std::int64_t source);
    void decodeAgain(std::int64_t source);
    std::int64_t heard(platform::SoundOutput*& output) const;

    const media::SegmentedMovie movie_;
    std::vector<int> trackIds_;

    mutable std::mutex lock_;
    std::condition_variable wake_;
    // All guarded by lock_.
    PlayedRanges ranges_;
    std::vector<Volume> volumes_;  // of trackIds_
    std::deque<Block> blocks_;     // decoded, not given to the output
    std::int64_t framesAhead_ = 0;
    std::int64_t decodeFrom_ = 0;   // the source frame to be decoded next
    std::int64_t decodeRound_ = 0;  // counts changes of that from outside
    bool mayDecode_ = false;
    bool isDecoded_ = false;  // up to the end of the played ranges
    mutable PlaybackPositionMap positions_;
    platform::SoundOutput* output_ = nullptr;  // while running
    std::int64_t run_ = 0;                     // counts runs
    std::int64_t cued_ = 0;                    // the source frame that is heard when not running
    bool isEnding_ = false;

    std::thread thread_;  // last: it uses everything above
};

}  // namespace lumivastor::playback

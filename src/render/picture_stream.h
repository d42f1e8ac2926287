// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"
#include "render/export_plan.h"
#include "render/read_ahead.h"

namespace lumivastor::render {

/// The pictures of one track of an edited movie, by ascending times. Damage does not end the stream: a new reader
/// starts a little further on, and until its first picture the last one is held. Without a picture to hold, restarts
/// follow at once until there is one. One thread at a time; decoding runs on it.
class PictureStream {
  public:
    struct Options {
        std::string logName;     // the reader's name in the log
        double duration = 0;     // of the edited video, in seconds
        double lastSeconds = 0;  // taken as the time of the last picture before the first one
        // Whether pictures are compared with the one that was shown before them.
        bool findsChanges = true;
        /// What identifies the movie, for `YuvPicture::source`; nullopt: not known, and neither are the pictures.
        std::optional<std::uint64_t> movie = std::nullopt;
        /// Whether pictures have no samples: nothing is decoded, and only damage is not noticed.
        bool timesOnly = false;
    };

    PictureStream(media::SegmentedMovie movie, int trackId, Options options);

    /// Opens the reader and reads the picture that is shown at `start` (seconds of the edited video). Throws
    /// `RecorderError`.
    void open(double start = 0);

    /// Advances to `t` (seconds of the edited video). False when reading cannot continue because all restarts are used
    /// up.
    bool advance(double t);

    /// The picture at that time; null before the first one. While the picture stays the same, so does the value, and
    /// recipes compare equal. It says where it differs from the current picture before it, unless it does nearly
    /// everywhere.
    const imaging::Picture* current() const { return current_ ? &*current_ : nullptr; }
    /// The next picture; null at the end.
    const imaging::Picture* pending() const {
        return slots_.pending() == nullptr ? nullptr : &slots_.pending()->picture;
    }
    /// The time of the last picture that was shown.
    double lastSeconds() const { return slots_.lastSeconds(); }

  private:
    struct Sample {
        double seconds;
        imaging::YuvPicture samples;
        imaging::Picture picture{samples};
    };

    bool advanceSlots(double t);
    void updateCurrent();
    void openAt(const MediaTime& start);
    std::optional<Sample> readNext();
    void restart(const RestartPolicy::Attempt& attempt);

    const media::SegmentedMovie movie_;
    const int trackId_;
    const Options options_;
    std::unique_ptr<media::AssetReader> reader_;
    media::VideoTrackOutput* output_ = nullptr;  // of reader_
    ReadAhead<Sample> slots_;
    imaging::YuvPicture shown_;  // the current picture's samples; without an owner before the first
    std::optional<imaging::Picture> current_;
    RestartPolicy restarts_;
};

}  // namespace lumivastor::render

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"
#include "render/export_plan.h"
#include "render/read_ahead.h"

namespace lumivastor::render {

/// The pictures of one track of an edited movie, asked for by ascending times. Damage does not end it: the reader is
/// made again a little further on, and until pictures come again the last one is held. Where there is none to hold yet,
/// reading goes on at once until the first one is there. One thread at a time, which decodes.
class PictureStream {
  public:
    struct Options {
        std::string logName;     // what the log calls the reader
        double duration = 0;     // of the edited video, in seconds
        double lastSeconds = 0;  // what counts as the time of the last picture before there is one
    };

    PictureStream(media::SegmentedMovie movie, int trackId, Options options);

    /// Opens the reader and reads the first picture. Throws `RecorderError`.
    void open();

    /// Moves on to `t` (seconds of the edited video). False when it cannot be read on: the reader failed once more than
    /// it may be made again.
    bool advance(double t);

    /// The picture at that time: the same value, hence equal in recipes, as long as it is the same. Null before the
    /// first one's time.
    const imaging::Picture* current() const { return pictureOf(slots_.current()); }
    /// The picture that will be next; null at the end.
    const imaging::Picture* pending() const { return pictureOf(slots_.pending()); }
    /// The time of the last picture that was shown.
    double lastSeconds() const { return slots_.lastSeconds(); }

  private:
    struct Sample {
        double seconds;
        imaging::Picture picture;
    };

    static const imaging::Picture* pictureOf(const Sample* sample) {
        return sample == nullptr ? nullptr : &sample->picture;
    }
    void openAt(const MediaTime& start);
    std::optional<Sample> readNext();
    void restart(const RestartPolicy::Attempt& attempt);

    const media::SegmentedMovie movie_;
    const int trackId_;
    const Options options_;
    std::unique_ptr<media::AssetReader> reader_;
    media::VideoTrackOutput* output_ = nullptr;  // of reader_
    ReadAhead<Sample> slots_;
    RestartPolicy restarts_;
};

}  // namespace lumivastor::render

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <utility>

#include "imaging/yuv_picture.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"
#include "render/export_plan.h"
#include "render/read_ahead.h"

namespace lumivastor {

/// One picture track, asked for frame by frame, ascending, at a constant rate. Part of benchmarks.
class MovieFrames {
  public:
    MovieFrames(media::SegmentedMovie movie, int trackId, int fps) : reader_(std::move(movie)), fps_(fps) {
        output_ = &reader_.addVideoOutput(trackId, media::PictureFormat::planar);
        if (!reader_.startReading()) throw reader_.error().value_or(RecorderError("?"));
        slots_.setPending(readNext());
    }

    const imaging::YuvPicture& at(int frame) {
        slots_.advance(render::frameSeconds(frame, fps_), [this] { return readNext(); });
        return slots_.current()->picture;
    }

  private:
    struct Sample {
        double seconds;
        imaging::YuvPicture picture;
    };

    std::optional<Sample> readNext() {
        const auto sample = output_->copyNextSample();
        if (!sample) return std::nullopt;
        return Sample{sample->presentationTime.seconds(), sample->planar()};
    }

    media::AssetReader reader_;
    int fps_;
    media::VideoTrackOutput* output_ = nullptr;
    render::ReadAhead<Sample> slots_{0};
};

}  // namespace lumivastor

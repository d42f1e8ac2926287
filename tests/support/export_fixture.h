// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/pixel_size.h"
#include "edit/composition.h"
#include "model/capture_info.h"
#include "model/project_settings.h"
#include "render/movie_renderer.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor {

/// The source picture alone, filling a canvas.
render::FrameMaker sourceFilling(PixelSize canvas);

/// A small recording folder that tests fill, change, export and examine.
class ExportFixture : public testing::Test {
  protected:
    /// The size of the source pictures, and of the canvas unless a test says otherwise.
    static constexpr PixelSize kSize{128, 96};

    ExportFixture();

    /// "source.mov" with `seconds` of pictures as `options_` says.
    void makeRecording(double seconds);
    /// The webcam movie: numbered pictures at 30 a second, from source time `offset` on.
    void makeWebcam(int pictures, double offset, bool indexFirst = false);
    /// Noise over a part of a file, given as fractions of its length.
    void damage(const std::string& name, double from, double to);

    /// Saves the documents and opens the folder.
    std::unique_ptr<edit::Composition> open(PixelSize canvas = kSize);
    render::RenderResult render(const render::RenderOptions& options = {},
                                const render::FrameMaker& makeFrame = sourceFilling(kSize));
    /// The message of the export's error.
    std::string messageOf(const render::RenderOptions& options = {},
                          const render::FrameMaker& makeFrame = sourceFilling(kSize));

    /// The number of the source picture that must be shown at an output time.
    int expectedNumber(double outputSeconds) const;
    /// The numbers that the export shows; expects the times of the frames from `firstFrame` on.
    std::vector<int> exportedNumbers(int firstFrame = 0) const;
    /// Expects every frame of the export to show the picture of the cut timeline.
    void expectCutTimeline(std::size_t frames) const;

    /// This test's lines in the log.
    std::string logText() const;
    static int count(const std::string& text, const std::string& part);

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    model::ProjectSettings settings_;
    TestMovieOptions options_;

  private:
    std::size_t logStart_ = 0;
};

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "edit/composition.h"
#include "imaging/picture.h"
#include "render/cut_composition.h"
#include "render/picture_stream.h"

namespace lumivastor::render {

/// Makes the recipe of a frame, in canvas pixels, from the pictures of screen and webcam (null before its first) at a
/// source time in seconds. Called on one thread, which is not the caller's. May throw `RecorderError`.
using FrameMaker = std::function<imaging::Picture(const imaging::Picture& source,
                                                  const std::optional<imaging::Picture>& webcam, double sourceTime)>;

/// The frames of an edited video, from its beginning or any later time on: what every form of film shows. One thread at
/// a time; decoding runs on it.
class ComposedFrames {
  public:
    /// With `recipes` nothing is decoded: frames are recipes that tell which pictures they are made of, but cannot be
    /// painted. Damage is not noticed then.
    enum class Content { pictures, recipes };

    /// Composition and maker outlive the frames. The state is taken now.
    ComposedFrames(const edit::Composition& composition, const FrameMaker& makeFrame,
                   Content content = Content::pictures);

    /// Opens the movies; frames from `start` on (seconds of the edited video) can follow. Once. Throws `RecorderError`.
    void open(double start = 0);

    const edit::EditState& state() const { return *state_; }
    const CutComposition& cut() const { return cut_; }
    bool hasCamera() const { return webcam_.has_value(); }

    /// The frame at `t`, in seconds of the edited video, not before the one of the last call. Throws `RecorderError`.
    imaging::Picture at(double t);

  private:
    const edit::Recording& recording_;
    const std::shared_ptr<const edit::EditState> state_;
    const FrameMaker& makeFrame_;
    const Content content_;
    CutComposition cut_;
    std::optional<PictureStream> screen_;
    std::optional<PictureStream> webcam_;
    bool webcamIsReadable_ = true;
};

}  // namespace lumivastor::render

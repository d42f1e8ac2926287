// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/interval.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "edit/recording.h"
#include "playback/player_item.h"
#include "render/cut_composition.h"

namespace lumivastor::editor {

/// The studio preview of a recording: the item that a player shows, and its parts that change with edits. Its timeline
/// is the whole recording: seeks reach parts that are cut away, but playing jumps over them.
///
/// All frames have one canvas. So the player's item stays when the export's size, and with it the composition's canvas,
/// changes.
///
/// One thread. The compositors may be called on any thread, and may outlive the preview.
class StudioPreview {
  public:
    /// The canvas of the largest export, so that no preview is enlarged.
    static constexpr PixelSize kCanvas{3840, 2160};

    /// The whole screen movie, the webcam at its offset, all sound. Throws `RecorderError` when the recording has no
    /// length or an impossible frame rate.
    StudioPreview(std::shared_ptr<const edit::Composition> composition, const render::RecordingAssets& assets);

    /// Sets another composition of the same recording. Frames requested from now on show it.
    void setComposition(std::shared_ptr<const edit::Composition> composition);

    /// Everything that a player needs, with the settings now in force.
    playback::PlayerItem item() const;

    // The parts of the item that depend on settings. The owner passes them to the player after each edit.

    /// Composes each frame with the settings in force at that moment. A player that gets a new compositor shows the
    /// current frame with the new settings at once.
    playback::VideoCompositor compositor() const;
    /// The volumes of the settings.
    std::vector<media::AudioMixInput> audioMix() const;
    /// The kept segments, which are what is played.
    std::vector<playback::PlayedRange> playedRanges() const;

  private:
    class LiveComposition;

    render::CutComposition uncut_;
    std::shared_ptr<LiveComposition> live_;
};

}  // namespace lumivastor::editor

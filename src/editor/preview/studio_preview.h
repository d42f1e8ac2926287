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

/// The studio preview of a recording: the player's item, and how it changes with every edit. Its timeline is the
/// recording's own: parts that are cut away can be sought, but playing jumps over them.
///
/// All frames have one canvas, so that the player's item stays when the export's size, and with it the composition's
/// canvas, changes.
///
/// One thread; its compositors may be called on any thread, and may outlive it.
class StudioPreview {
  public:
    /// The canvas of the largest export, so that none is enlarged.
    static constexpr PixelSize kCanvas{3840, 2160};

    /// The whole screen movie, the webcam at its offset, all sound. Throws `RecorderError` when the recording has no
    /// length or an impossible frame rate.
    StudioPreview(std::shared_ptr<const edit::Composition> composition, const render::RecordingAssets& assets);

    /// Switches to another composition of the same recording. Frames requested from now on show it.
    void setComposition(std::shared_ptr<const edit::Composition> composition);

    /// Everything that a player needs, with the settings in force.
    playback::PlayerItem item() const;

    // The parts that settings change, for the player.

    /// Composes frames with the current settings. Giving the player another compositor makes it show new settings at
    /// once.
    playback::VideoCompositor compositor() const;
    /// The volumes by the settings.
    std::vector<media::AudioMixInput> audioMix() const;
    /// Seconds by which the webcam's picture is shown later.
    double webcamShift() const;
    /// The kept segments, through which playing goes.
    std::vector<Interval> playedRanges() const;

  private:
    class LiveComposition;

    render::CutComposition uncut_;
    std::shared_ptr<LiveComposition> live_;
};

}  // namespace lumivastor::editor

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

/// The studio preview of a recording: what a player shows of it, and what changes in that with every edit. Its timeline
/// is the recording's own: what is cut away is there and can be sought, but playing jumps over it.
///
/// All frames have one canvas, so that the player's item stays when the export's size, and with it the composition's
/// canvas, changes.
///
/// One thread; the compositors that it gives out may be called on any, and outlive it.
class StudioPreview {
  public:
    /// That of the largest export, so that none is blown up.
    static constexpr PixelSize kCanvas{3840, 2160};

    /// The whole screen movie, the webcam at its offset, all sound. Throws `RecorderError` when the recording has no
    /// length or an impossible frame rate.
    StudioPreview(std::shared_ptr<const edit::Composition> composition, const render::RecordingAssets& assets);

    /// Another composition of the same recording is in force. Frames that are asked for from now on are its own.
    void setComposition(std::shared_ptr<const edit::Composition> composition);

    /// Everything that a player needs, with the settings in force.
    playback::PlayerItem item() const;

    // What settings change, to be given to the player anew.

    /// Composes frames with whatever is in force at that moment. Giving the player another of these makes it show new
    /// settings at once.
    playback::VideoCompositor compositor() const;
    /// The volumes that the settings ask for.
    std::vector<media::AudioMixInput> audioMix() const;
    /// The kept segments, which is what playing goes through.
    std::vector<Interval> playedRanges() const;

  private:
    class LiveComposition;

    render::CutComposition uncut_;
    std::shared_ptr<LiveComposition> live_;
};

}  // namespace lumivastor::editor

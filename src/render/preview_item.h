#pragma once

#include <memory>
#include <vector>

#include "edit/composition.h"
#include "media/player_item.h"
#include "render/cut_composition.h"

// The studio preview of a recording, as a player's item. Its timeline is the recording's own: what is cut away is there
// and can be sought, but playing jumps over it.

namespace lumivastor {

/// Everything that a player needs to show the recording with the settings in force: the whole screen movie, the webcam
/// at its offset, all sound. What settings change is given to the player anew with the functions below. The item does
/// not keep the composition alive: frames that are asked for after it has gone are a `RecorderError`. Throws
/// `RecorderError` when the recording has no length or an impossible frame rate.
PlayerItem makePlayerItem(const std::shared_ptr<const Composition>& composition, const RecordingAssets& assets);

/// Composes frames with whatever settings are in force at that moment. Giving the player another of these makes it show
/// new settings at once.
VideoCompositor makeVideoCompositor(const std::shared_ptr<const Composition>& composition);

/// The volumes that the settings ask for now, of the sound tracks that the item's mix names.
std::vector<AudioMixInput> previewMix(const Composition& composition, const std::vector<AudioMixInput>& itemMix);

/// The kept segments, which is what playing goes through.
std::vector<PlayedRange> previewRanges(const Composition& composition);

}  // namespace lumivastor

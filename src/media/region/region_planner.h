// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "base/pixel_rect.h"
#include "imaging/damage_area.h"
#include "imaging/yuv_picture.h"
#include "media/region/picture_changes.h"
#include "media/region/region_coder.h"

namespace lumivastor::media {

struct RegionPlannerSettings {
    /// Where a camera's picture lies, and the QP of what is coded there. A camera's noise is not worth the QP of text.
    std::optional<PixelRect> camera;
    int cameraQp = 16;
    /// Lines that a scroll may go in one picture, up or down; 0: do not look for scrolls. Not more than the stream's
    /// level has (`StreamWeaver::maxVerticalDisplacement`).
    int scrollReach = 400;
};

/// Decides what a region picture does with each macroblock, from source pictures alone. For each picture `look` comes
/// first, then either `plan`, or `encoderTook`, or both, if the picture was ours and became too large. One thread at a
/// time.
class RegionPlanner {
  public:
    RegionPlanner(int width, int height, const RegionPlannerSettings& settings);

    struct Changes {
        int changed = 0;  // macroblocks
        int toCode = 0;   // of them, without those that are the picture before, moved
    };
    /// Compares a picture with the one before; only where there is `damage`, if that is known. Without `looksForScroll`
    /// all that changed is to be coded.
    Changes look(const imaging::YuvPicture& source, const imaging::YuvPicture& before,
                 const imaging::KnownDamage& damage, bool looksForScroll = true);

    /// The plan for that picture, whose other macroblocks have the QP `qp`. `base` is the source of the encoder's last
    /// picture; null directly behind that.
    RegionPlan plan(const imaging::YuvPicture& source, const imaging::YuvPicture* base, int qp);

    /// The encoder takes the picture: a key picture, one that changed at large, or one in which it refines what it has.
    void encoderTook(bool startsOver);

    /// Some chroma was moved that is not exactly so (`Move::faint`), since the encoder's last picture. The next one
    /// mends it.
    bool isBlurred() const { return isBlurred_; }

  private:
    int columns_;
    int rows_;
    RegionPlannerSettings settings_;
    MacroblockMap changed_;
    std::optional<Displacement> scroll_;
    MacroblockMap moved_;  // where there is a scroll
    bool blurs_ = false;   // some of them are faint
    bool isBlurred_ = false;
    MacroblockMap inCamera_;
    /// What changed while the encoder refined. It gives little to what will soon be something else, and a screen that
    /// rests from then on would stay so.
    MacroblockMap coarse_;
};

}  // namespace lumivastor::media

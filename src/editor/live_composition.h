#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "edit/composition.h"
#include "editor/edit_session.h"
#include "imaging/picture.h"

namespace lumivastor {

/// The frames of whatever composition is in force, all on one canvas: so the player's item stays the same when the
/// export's size, and with it the composition's canvas, changes. Frames of an edit that is made while playing look like
/// it at once. Any thread.
class LiveComposition {
  public:
    /// The canvas of the frames: that of the largest export, so that none is blown up.
    static constexpr CanvasSize kCanvas{3840, 2160};

    explicit LiveComposition(std::shared_ptr<const Composition> composition) : composition_(std::move(composition)) {}

    void set(std::shared_ptr<const Composition> composition) {
        const std::scoped_lock guard(lock_);
        composition_.swap(composition);
    }

    Picture compose(const Picture& screen, const std::optional<Picture>& webcam, double seconds) const {
        const std::shared_ptr<const Composition> composition = current();
        const double width = static_cast<double>(kCanvas.width) / composition->canvasWidth();
        const double height = static_cast<double>(kCanvas.height) / composition->canvasHeight();
        return composition->compose(screen, webcam, seconds).transformed(AffineTransform::scaling(width, height));
    }

  private:
    std::shared_ptr<const Composition> current() const {
        const std::scoped_lock guard(lock_);
        return composition_;
    }

    mutable std::mutex lock_;
    std::shared_ptr<const Composition> composition_;  // guarded by lock_
};

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include "imaging/damage_area.h"
#include "imaging/picture.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// The number of threads that paint film frames on this machine: one for each processor, up to a limit.
int paintingThreads();

/// The fast painter: within 2 of 255 of reference_painter.h, with the same pixels for every number of threads and on
/// every machine.
///
/// A recipe is first compiled into layers for each grid of samples of the destination (paint_plan.h); then vectorised
/// kernels paint it in tiles, several bands of tiles in parallel. Luma and chroma are painted separately and never pass
/// through red, green and blue when source and destination agree on their encoding, because stacking and fading have
/// the same result in both. What an opaque layer hides is not painted.
///
/// Keeps the split channels of prepared layers and its working memory from frame to frame, so a painter should live as
/// long as its stream of frames. One call at a time.
class Painter {
  public:
    /// `threads` counts the caller's own, at least 1.
    explicit Painter(int threads);
    ~Painter();
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    /// Paints the rectangle (0, 0, width, height) of the picture's space, replacing all of `destination`.
    void paint(const Picture& picture, BgraPremultipliedBuffer& destination);

    /// The same as 4:2:0 samples in the destination's encoding; what is transparent becomes black.
    void paint(const Picture& picture, const YuvDestination& destination);

    /// The same only where `damage` is, in the destination's pixels (top-left origin), and in the chroma samples of
    /// these pixels; all other samples stay. The painted ones are bit for bit what painting the whole picture gives.
    void paint(const Picture& picture, const YuvDestination& destination, const DamageArea& damage);

    /// The work of the last call: its time depends on these and on the visible area.
    struct Work {
        /// Layers of all plans, those for parts of the picture included.
        std::size_t layers = 0;
        /// Squares of pixellated areas that were averaged.
        std::size_t squares = 0;
    };
    const Work& lastWork() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace lumivastor::imaging

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>

#include "imaging/picture.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

/// How many threads a painter of film frames works with on this machine: one for each processor, up to a limit.
int paintingThreads();

/// Paints pictures quickly: what reference_painter.h says within 2 of 255, the same pixels for every number of threads
/// and on every machine.
///
/// A recipe is first turned into layers for each grid of samples of the destination (paint_plan.h); then tiles of it
/// are painted by vectorised kernels, bands of them at once on several threads. Luma and chroma are painted
/// separately and never pass through red, green and blue when source and destination agree on their encoding, because
/// stacking and fading mean the same in either. What an opaque layer hides is not touched.
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

    /// What the last call took: its time follows from these and from the size of what shows.
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

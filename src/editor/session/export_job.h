// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "edit/composition.h"
#include "model/project_settings.h"
#include "render/movie_renderer.h"

namespace lumivastor::editor {

/// One export, on its own threads and with its own composition, so that the editor stays usable. The destructor cancels
/// the export, waits for its end, which takes a few pictures, and leaves no half-written file. Main thread.
class ExportJob {
  public:
    struct Callbacks {
        std::function<void(double fraction)> progress;  // 0 to 1, never falling
        /// The last call; none if the job is destroyed before. May destroy the job.
        std::function<void(const render::RenderOutcome& outcome)> completion;
    };

    /// Starts the export of `composition` with `settings`, at their size. The loop outlives the job. Throws
    /// `RecorderError` if a film of that size is not possible.
    ExportJob(const edit::Composition& composition, const model::ProjectSettings& settings, MainLoop& loop,
              Callbacks callbacks);
    ~ExportJob();
    ExportJob(const ExportJob&) = delete;
    ExportJob& operator=(const ExportJob&) = delete;

    /// The completion follows soon, with the error "Abgebrochen." unless the export had already finished.
    void cancel();
    bool wasCancelled() const { return cancelled_; }

    int width() const { return composition_->canvasWidth(); }
    int height() const { return composition_->canvasHeight(); }

  private:
    const Callbacks callbacks_;
    std::unique_ptr<const edit::Composition> composition_;
    bool cancelled_ = false;
    // Work that arrives after the job finds the token expired.
    Lifetime lifetime_;
    std::jthread thread_;  // last: it uses everything above
};

}  // namespace lumivastor::editor

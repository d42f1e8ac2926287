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

/// One export on threads of its own, while the editor stays usable: it has a composition of its own. Destroying it
/// cancels it, waits for its end, which takes a few pictures, and leaves no half-written file. Main thread.
class ExportJob {
  public:
    struct Callbacks {
        std::function<void(double fraction)> progress;  // 0 to 1, never falling
        /// Last of all, unless the job is destroyed before. May destroy the job.
        std::function<void(const render::RenderOutcome& outcome)> completion;
    };

    /// Begins the export of `composition` under `settings`, at the size that they name. The loop outlives the job.
    /// Throws `RecorderError` when there is no such size.
    ExportJob(const edit::Composition& composition, const model::ProjectSettings& settings, MainLoop& loop,
              Callbacks callbacks);
    ~ExportJob();
    ExportJob(const ExportJob&) = delete;
    ExportJob& operator=(const ExportJob&) = delete;

    /// The completion follows soon, with the error "Abgebrochen." unless the export was through already.
    void cancel();
    bool wasCancelled() const { return cancelled_; }

    int width() const { return composition_->canvasWidth(); }
    int height() const { return composition_->canvasHeight(); }

  private:
    const Callbacks callbacks_;
    std::unique_ptr<const edit::Composition> composition_;
    bool cancelled_ = false;
    // Work that arrives when the job is gone finds this gone, too.
    Lifetime lifetime_;
    std::jthread thread_;  // last: it uses everything above
};

}  // namespace lumivastor::editor

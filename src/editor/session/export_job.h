// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

#include "base/lifetime.h"
#include "base/main_loop.h"
#include "base/pixel_size.h"
#include "edit/composition.h"
#include "model/project_settings.h"
#include "render/film_form.h"
#include "render/movie_renderer.h"

namespace lumivastor::editor {

/// An export as it was asked for. Later edits do not change it.
struct ExportRequest {
    std::shared_ptr<const edit::Composition> composition;  // of its own, at the film's size
    render::FilmForm form = render::FilmForm::mp4;
    std::filesystem::path file;  // the film's place
    render::AnimationOptions animation{};
    bool chapters = false;  // the marks become chapters
    /// See `render::RenderOptions`.
    std::filesystem::path cacheFolder{};
};

/// The export of `composition` with `settings`, at their size, in their form, to the recording's folder. Throws
/// `RecorderError` if a film of that size is not possible.
ExportRequest exportRequest(const edit::Composition& composition, const model::ProjectSettings& settings);
/// The same for a folder that no editor has open, with the settings of its document. One without a document gets
/// `newLook`, as when it is opened for the first time. Throws `RecorderError`.
ExportRequest exportRequest(const std::filesystem::path& folder, const model::ProjectSettings& newLook = {});

/// The size of the film's pictures. That of the canvas where the options of an animated picture are invalid, which the
/// export reports.
PixelSize filmSize(const ExportRequest& request);

/// One export, on its own threads. The destructor cancels the export, waits for its end, which takes a few pictures,
/// and leaves no half-written file. Main thread.
class ExportJob {
  public:
    struct Callbacks {
        std::function<void(double fraction)> progress;  // 0 to 1, never falling
        /// The last call; none if the job is destroyed before. May destroy the job.
        std::function<void(const render::RenderOutcome& outcome)> completion;
    };

    /// Starts the export. The loop outlives the job. Throws `RecorderError` if there are no threads for it.
    ExportJob(const ExportRequest& request, MainLoop& loop, Callbacks callbacks);
    ~ExportJob();
    ExportJob(const ExportJob&) = delete;
    ExportJob& operator=(const ExportJob&) = delete;

    /// The completion follows soon, with the error "Abgebrochen." unless the export had already finished.
    void cancel();
    bool wasCancelled() const { return cancelled_; }

  private:
    const Callbacks callbacks_;
    const std::shared_ptr<const edit::Composition> composition_;
    bool cancelled_ = false;
    // Work that arrives after the job finds the token expired.
    Lifetime lifetime_;
    std::jthread thread_;  // last: it uses everything above
};

}  // namespace lumivastor::editor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/export_job.h"

#include <utility>

#include "base/pixel_size.h"
#include "render/export_plan.h"

namespace lumivastor::editor {

namespace {

std::unique_ptr<const edit::Composition> onExportCanvas(const edit::Composition& composition,
                                                        const model::ProjectSettings& settings) {
    const PixelSize canvas = render::exportCanvas(settings.exportHeight);
    return std::make_unique<const edit::Composition>(composition, settings, canvas.width, canvas.height);
}

}  // namespace

ExportJob::ExportJob(const edit::Composition& composition, const model::ProjectSettings& settings, MainLoop& loop,
                     Callbacks callbacks)
    : callbacks_(std::move(callbacks)), composition_(onExportCanvas(composition, settings)) {
    render::RenderOptions options;
    options.postToMain = [&loop, alive = lifetime_.watch()](std::function<void()> work) {
        loop.async([alive, work = std::move(work)] {
            if (!alive.expired()) work();
        });
    };
    options.progress = [this](double fraction) {
        if (callbacks_.progress) callbacks_.progress(fraction);
    };
    thread_ = render::renderMovie(*composition_, std::move(options), [this](const render::RenderOutcome& outcome) {
        // The completion may destroy the job and, with it, what called this.
        const auto completion = callbacks_.completion;
        const render::RenderOutcome result = outcome;  // NOLINT(performance-unnecessary-copy-initialization)
        if (completion) completion(result);
    });
}

ExportJob::~ExportJob() = default;

void ExportJob::cancel() {
    cancelled_ = true;
    thread_.request_stop();
}

}  // namespace lumivastor::editor

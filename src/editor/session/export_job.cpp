#include "editor/session/export_job.h"

#include <utility>

#include "render/export_plan.h"

namespace lumivastor {

namespace {

std::unique_ptr<const Composition> onExportCanvas(const Composition& composition, const ProjectSettings& settings) {
    const CanvasSize canvas = exportCanvas(settings.exportHeight);
    return std::make_unique<const Composition>(composition, settings, canvas.width, canvas.height);
}

}  // namespace

ExportJob::ExportJob(const Composition& composition, const ProjectSettings& settings, MainLoop& loop,
                     Callbacks callbacks)
    : callbacks_(std::move(callbacks)),
      composition_(onExportCanvas(composition, settings)),
      alive_(std::make_shared<const bool>(true)) {
    RenderOptions options;
    options.postToMain = [&loop, weak = std::weak_ptr(alive_)](std::function<void()> work) {
        loop.async([weak, work = std::move(work)] {
            if (const auto alive = weak.lock()) work();
        });
    };
    options.progress = [this](double fraction) {
        if (callbacks_.progress) callbacks_.progress(fraction);
    };
    thread_ = renderMovie(*composition_, std::move(options), [this](const RenderOutcome& outcome) {
        // The completion may destroy the job and, with it, what called this.
        const auto completion = callbacks_.completion;
        const RenderOutcome result = outcome;  // NOLINT(performance-unnecessary-copy-initialization)
        if (completion) completion(result);
    });
}

ExportJob::~ExportJob() = default;

void ExportJob::cancel() {
    cancelled_ = true;
    thread_.request_stop();
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/export_job.h"

#include <system_error>
#include <utility>

#include "base/pixel_size.h"
#include "model/look.h"
#include "render/export_plan.h"

namespace lumivastor::editor {

ExportRequest exportRequest(const edit::Composition& composition, const model::ProjectSettings& settings) {
    const PixelSize canvas = render::exportCanvas(settings.exportHeight);
    ExportRequest request;
    request.composition = std::make_shared<const edit::Composition>(composition, settings, canvas.width, canvas.height);
    request.form = render::filmForm(settings.exportFormat);
    request.file = composition.folder() / render::usualName(request.form);
    return request;
}

ExportRequest exportRequest(const std::filesystem::path& folder, const model::ProjectSettings& newLook) {
    const model::ProjectSettings settings = model::ProjectSettings::load(folder);
    const PixelSize canvas = render::exportCanvas(settings.exportHeight);
    auto composition = std::make_shared<const edit::Composition>(folder, canvas.width, canvas.height);
    std::error_code ignored;
    if (!std::filesystem::exists(std::filesystem::symlink_status(model::ProjectSettings::fileURL(folder), ignored))) {
        return exportRequest(*composition, model::withLook(settings, newLook, composition->recording().hasWebcam()));
    }
    ExportRequest request;
    request.composition = std::move(composition);
    request.form = render::filmForm(settings.exportFormat);
    request.file = folder / render::usualName(request.form);
    return request;
}

PixelSize filmSize(const ExportRequest& request) {
    const PixelSize canvas{request.composition->canvasWidth(), request.composition->canvasHeight()};
    if (!render::isAnimation(request.form)) return canvas;
    try {
        return render::animationSize(request.animation, canvas);
    } catch (const RecorderError&) {
        return canvas;
    }
}

ExportJob::ExportJob(const ExportRequest& request, MainLoop& loop, Callbacks callbacks)
    : callbacks_(std::move(callbacks)), composition_(request.composition) {
    render::RenderOptions options;
    options.form = request.form;
    options.file = request.file;
    options.animation = request.animation;
    options.chapters = request.chapters;
    options.cacheFolder = request.cacheFolder;
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

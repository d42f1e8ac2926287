// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_queue.h"

#include <algorithm>
#include <utility>

#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"

namespace lumivastor::editor {

namespace {

ExportEntry entryOf(const ExportRequest& request) {
    ExportEntry entry;
    entry.folder = request.composition->folder();
    entry.file = request.file;
    entry.form = request.form;
    const PixelSize size = filmSize(request);
    entry.width = size.width;
    entry.height = size.height;
    return entry;
}

}  // namespace

ExportQueue::ExportQueue(MainLoop& loop, Options options)
    : loop_(loop), options_([&options] {
          if (!options.clock) options.clock = hostClockSeconds;
          return std::move(options);
      }()) {}

ExportQueue::~ExportQueue() = default;

std::shared_ptr<void> ExportQueue::observe(Observer observer) {
    auto observes = std::make_shared<Observer>(std::move(observer));
    std::erase_if(observers_, [](const auto& each) { return each.expired(); });
    observers_.push_back(observes);
    return observes;
}

int ExportQueue::add(ExportRequest request) {
    request.cacheFolder = options_.filmCache;
    if (list_.writing(request.file) != nullptr) {
        throw RecorderError(request.file.filename().string() + " wird gerade schon gerendert.");
    }
    const int id = list_.add(entryOf(request));
    waiting_.emplace(id, std::move(request));
    // First: what an export must not meet ends then (film_preparer.h).
    tellChanged();
    startNext();
    return id;
}

// As in an editor, a damaged look keeps nobody from exporting.
model::ProjectSettings ExportQueue::newLook() const {
    try {
        return options_.newLook ? options_.newLook() : model::ProjectSettings();
    } catch (const RecorderError& error) {
        Log::write("Editor", error.message());
        return {};
    }
}

int ExportQueue::addRecording(const std::filesystem::path& folder) {
    ExportEntry entry;
    entry.folder = folder;
    try {
        const model::ProjectSettings settings = model::ProjectSettings::load(folder);
        entry.form = render::filmForm(settings.exportFormat);
        entry.file = folder / render::usualName(entry.form);
        ExportRequest request = exportRequest(folder, newLook());
        if (const ExportEntry* const same = list_.writing(request.file)) return same->id;
        return add(std::move(request));
    } catch (const RecorderError& error) {
        Log::write("Editor", "Render-Fehler: " + error.message());
        const int id = list_.add(std::move(entry));
        list_.fail(id, error.message());
        tellChanged();
        tellEnded(id);
        return id;
    }
}

void ExportQueue::cancel(int id) {
    const ExportEntry* const entry = list_.find(id);
    if (entry == nullptr) return;
    if (entry->state == ExportState::waiting) {
        waiting_.erase(id);
        list_.cancelled(id);
        tellChanged();
        tellEnded(id);
    } else if (entry->state == ExportState::running) {
        list_.setCancelling(id);
        job_->cancel();
        tellChanged();
    }
}

void ExportQueue::remove(int id) {
    list_.remove(id);
    tellChanged();
}

void ExportQueue::removeFinished() {
    list_.removeFinished();
    tellChanged();
}

void ExportQueue::move(int id, bool up) {
    list_.move(id, up);
    tellChanged();
}

void ExportQueue::end() {
    hasEnded_ = true;
    observers_.clear();
    job_.reset();
    waiting_.clear();
    awake_.reset();
    for (const ExportEntry& entry : std::vector(list_.entries())) {
        if (isUnfinished(entry.state)) list_.cancelled(entry.id);
    }
}

void ExportQueue::startNext() {
    while (!hasEnded_ && job_ == nullptr) {
        const ExportEntry* const next = list_.next();
        if (next == nullptr) break;
        start(next->id);
    }
    if (job_ == nullptr) awake_.reset();
}

void ExportQueue::start(int id) {
    const auto request = waiting_.extract(id);
    ExportJob::Callbacks callbacks;
    callbacks.progress = [this, id](double fraction) {
        list_.setProgress(id, fraction, remaining_->update(fraction, options_.clock()));
        tellChanged();
    };
    callbacks.completion = [this, id](const render::RenderOutcome& outcome) { ended(id, outcome); };
    list_.start(id);
    remaining_.emplace(options_.clock());
    if (!awake_ && options_.keepAwake) awake_ = options_.keepAwake();
    try {
        job_ = std::make_unique<ExportJob>(request.mapped(), loop_, std::move(callbacks));
    } catch (const RecorderError& error) {
        list_.fail(id, error.message());
    }
    tellChanged();
    if (job_ == nullptr) tellEnded(id);
}

void ExportQueue::ended(int id, const render::RenderOutcome& outcome) {
    const bool wasCancelled = job_->wasCancelled();
    job_.reset();
    if (const auto* result = std::get_if<render::RenderResult>(&outcome)) {
        list_.finish(id, result->seconds, result->zoomCount);
    } else if (wasCancelled) {
        list_.cancelled(id);
    } else {
        const std::string reason = std::get<RecorderError>(outcome).message();
        Log::write("Editor", "Render-Fehler: " + reason);
        list_.fail(id, reason);
    }
    startNext();
    tellChanged();
    tellEnded(id);
}

// An observer may end, or end others, while it is called.
void ExportQueue::tellChanged() {
    for (const std::weak_ptr<Observer>& each : std::vector(observers_)) {
        if (const auto observer = each.lock(); observer && observer->changed) observer->changed();
    }
}

void ExportQueue::tellEnded(int id) {
    const ExportEntry* const found = list_.find(id);
    if (found == nullptr) return;
    const ExportEntry entry = *found;
    for (const std::weak_ptr<Observer>& each : std::vector(observers_)) {
        if (const auto observer = each.lock(); observer && observer->ended) observer->ended(entry);
    }
}

}  // namespace lumivastor::editor

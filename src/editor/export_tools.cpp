// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/export_tools.h"

#include <cstdint>
#include <system_error>
#include <utility>

#include "base/recorder_error.h"
#include "editor/exports/export_dialog.h"
#include "editor/render_bar.h"
#include "editor/session/edit_session.h"
#include "editor/session/labels.h"
#include "render/film_target.h"

namespace lumivastor::editor {

ExportTools::ExportTools(QWidget& window, EditSession& session, RenderBar& bar, std::shared_ptr<ExportQueue> queue,
                         Callbacks callbacks)
    : window_(window),
      session_(session),
      bar_(bar),
      queue_(std::move(queue)),
      callbacks_(std::move(callbacks)),
      observation_(queue_->observe({[this] { refresh(); }, [this](const ExportEntry& entry) { ended(entry); }})) {
    refresh();
}

void ExportTools::render() {
    if (!mayRender()) return;
    bar_.setRevealable(false);
    session_.saveNow();
    try {
        queue_->add(exportRequest(*session_.composition(), session_.settings()));
    } catch (const RecorderError& error) {
        callbacks_.status("Export fehlgeschlagen: " + error.message());
    }
}

void ExportTools::showDialog() {
    if (dialog_) {
        dialog_->raise();
        dialog_->activateWindow();
        return;
    }
    const auto composition = session_.composition();
    const model::CaptureInfo& info = composition->info();
    const FilmFacts film{composition->folder(),
                         composition->outputDuration(),
                         session_.settings().exportHeight,
                         !composition->state()->marks.empty(),
                         info.fps,
                         info.systemAudio || info.microphone,
                         earlierFilms()};
    const std::filesystem::path last = callbacks_.folder.load ? callbacks_.folder.load() : std::filesystem::path();
    ExportDialog::Callbacks callbacks;
    callbacks.obstacle = [this, film, composition](const ExportChoice& choice) -> std::string {
        try {
            render::filmTarget(composition->recording(), choice.form, choice.file);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return choiceObstacle(choice, film, queue_->list());
    };
    callbacks.exportAs = [this](const ExportChoice& choice) { exportAs(choice); };
    dialog_ = new ExportDialog(window_, film, firstChoice(session_.settings(), film, last), std::move(callbacks));
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->open();
}

std::vector<FilmFacts::Earlier> ExportTools::earlierFilms() const {
    std::vector<FilmFacts::Earlier> films;
    for (const ExportEntry& entry : queue_->list().entries()) {
        if (entry.folder != session_.composition()->folder() || entry.state != ExportState::done) continue;
        std::error_code error;
        const std::uintmax_t bytes = std::filesystem::file_size(entry.file, error);
        if (error || !(entry.seconds > 0)) continue;
        films.push_back({entry.form, entry.height, static_cast<double>(bytes) / entry.seconds});
    }
    return films;
}

void ExportTools::exportAs(const ExportChoice& choice) {
    if (callbacks_.folder.keep) callbacks_.folder.keep(choice.file.parent_path());
    session_.saveNow();
    try {
        queue_->add(exportRequest(*session_.composition(), session_.settings(), choice));
    } catch (const RecorderError& error) {
        callbacks_.status("Export fehlgeschlagen: " + error.message());
    }
}

void ExportTools::cancel() {
    if (shown_) queue_->cancel(shown_->id);
}

bool ExportTools::isRendering() const {
    return queue_->list().shownFor(session_.composition()->folder()) != nullptr;
}

bool ExportTools::mayRender() const {
    const std::filesystem::path file =
        session_.composition()->folder() / render::usualName(render::filmForm(session_.settings().exportFormat));
    return queue_->list().writing(file) == nullptr;
}

void ExportTools::end() {
    observation_.reset();
    if (queue_.use_count() == 1) queue_->end();
}

void ExportTools::refresh() {
    const ExportEntry* const entry = queue_->list().shownFor(session_.composition()->folder());
    const bool isOther = (entry == nullptr) != !shown_ || (entry != nullptr && entry->id != shown_->id);
    if (isOther) bar_.setRendering(entry != nullptr);
    bar_.setRenderable(mayRender());
    if (entry != nullptr && shown_ != *entry) {
        bar_.setProgress(entry->fraction);
        if (entry->state == ExportState::waiting) {
            callbacks_.status("Wartet auf einen anderen Export …");
        } else if (!entry->isCancelling) {
            callbacks_.status(labels::rendering(entry->width, entry->height, entry->remaining));
        }
    }
    shown_ = entry == nullptr ? std::nullopt : std::optional(*entry);
    if (isOther) callbacks_.changed();
}

void ExportTools::ended(const ExportEntry& entry) {
    if (entry.folder != session_.composition()->folder()) return;
    switch (entry.state) {
        case ExportState::done:
            film_ = entry.file;
            bar_.setRevealable(true);
            callbacks_.status(labels::rendered(entry.seconds, entry.zooms, entry.file.filename().string()));
            break;
        case ExportState::failed:
            callbacks_.status("Fehlgeschlagen: " + entry.reason);
            break;
        default:
            callbacks_.status("Rendern abgebrochen.");
    }
    callbacks_.changed();
}

}  // namespace lumivastor::editor

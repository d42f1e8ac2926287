// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editor/exports/export_choice.h"
#include "editor/exports/export_queue.h"

class QWidget;

namespace lumivastor::editor {

class EditSession;
class ExportDialog;
class RenderBar;

/// The exports of one editor's recording: asks the queue for them, and shows in the editor's last row what becomes of
/// them. The queue goes on without it. Main thread.
class ExportTools {
  public:
    /// Where the folder of the last export is kept; empty functions keep nothing.
    struct FolderMemory {
        std::function<std::filesystem::path()> load;
        std::function<void(const std::filesystem::path& folder)> keep;
    };
    struct Callbacks {
        std::function<void(const std::string& text)> status;
        /// `isRendering`, `mayRender` or `film` may have changed.
        std::function<void()> changed;
        FolderMemory folder;
    };

    /// `window` is the parent of dialogs. All outlive the tools.
    ExportTools(QWidget& window, EditSession& session, RenderBar& bar, std::shared_ptr<ExportQueue> queue,
                Callbacks callbacks);

    /// "Video rendern": the recording's own film, with the settings in force, which are saved.
    void render();
    /// Shows the dialog "Exportieren als …".
    void showDialog();
    /// Cancels the export that is shown.
    void cancel();

    /// Whether an export of this recording waits or runs.
    bool isRendering() const;
    /// Whether the recording's own film can be rendered now, and is not already.
    bool mayRender() const;
    /// The last film that was finished while this editor was open; empty without one.
    const std::filesystem::path& film() const { return film_; }

    /// Shows the queue's state; also when the settings have changed.
    void refresh();

    /// Cancels the exports of a queue that no one else has. Uses no widget.
    void end();

  private:
    void ended(const ExportEntry& entry);
    void exportAs(const ExportChoice& choice);
    std::vector<FilmFacts::Earlier> earlierFilms() const;

    QWidget& window_;
    EditSession& session_;
    RenderBar& bar_;
    const std::shared_ptr<ExportQueue> queue_;
    const Callbacks callbacks_;
    QPointer<ExportDialog> dialog_;
    std::optional<ExportEntry> shown_;
    std::filesystem::path film_;
    std::shared_ptr<void> observation_;
};

}  // namespace lumivastor::editor

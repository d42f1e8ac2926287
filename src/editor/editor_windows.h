// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/main_loop.h"
#include "editor/export_tools.h"
#include "editor/exports/export_queue.h"
#include "editor/exports/film_preparer.h"
#include "editor/session/second_attempt.h"
#include "platform/sound/sound_output.h"
#include "render/overview/overview_maker.h"

namespace lumivastor::editor {

class EditorWindow;
class ExportNotices;
class ExportsWindow;

/// The open editors, one for each folder. Main thread.
class EditorWindows {
  public:
    struct Options {
        std::function<std::unique_ptr<platform::SoundOutput>()> makeSoundOutput;
        /// A folder was dropped on an editor.
        std::function<void(const std::filesystem::path& folder)> dropped;
        /// The user wants to make another recording; if empty, editors have no button for it.
        std::function<void()> newRecording;
        /// Called when an export begins. Keeps the machine awake while the result lives.
        std::function<std::shared_ptr<void>()> keepAwake;
        /// The folder that keeps overviews of recordings; if empty, they are made again for each editor.
        std::filesystem::path overviewCache = {};
        /// The folder that remembers what films are made of and keeps parts of unfinished ones; if empty, every export
        /// makes everything.
        std::filesystem::path filmCache = {};
        /// "Im Hintergrund vorbereiten": where the choice is kept, and what prevents it (`FilmPreparer::Options`).
        FilmPreparer::SwitchMemory preparesFilms = {};
        std::function<bool()> isOnMains = {};
        std::function<bool()> isRecording = {};
        /// Where the folder of the last export is kept.
        ExportTools::FolderMemory exportFolder = {};
        /// Whether a notification may be shown now; empty: always. It would be in the picture of a recording.
        std::function<bool()> mayNotify = {};
        /// The message bus for notifications; empty means the session's.
        std::string bus = {};
        /// The folder of saved looks; if empty, there are none.
        std::filesystem::path looks = {};
    };

    /// The loop outlives this object.
    EditorWindows(MainLoop& loop, Options options);
    /// Closes all editors and saves.
    ~EditorWindows();

    /// Shows the editor of a recording folder: the open one, or a new one. Throws `RecorderError` if the folder cannot
    /// be edited.
    EditorWindow& open(const std::filesystem::path& folder);

    /// Whether an editor is open on this folder.
    bool isOpen(const std::filesystem::path& folder) const;

    /// Puts an export of a recording into the queue, with the recording's own settings and to its folder, without
    /// opening an editor. What cannot be exported is in the list of exports as failed. The same export is not put in
    /// twice.
    void render(const std::filesystem::path& folder);

    /// Shows the list of exports. Closing an editor shows it, too, while an export of its recording goes on.
    void showExports();

    /// Whether the program may end. While exports wait or run, this takes a second attempt, and the list of exports
    /// comes to the front and says so.
    bool mayClose();
    /// Cancels all exports, waits for their end, and saves. Uses no widget, because at the end of a program the windows
    /// may be gone.
    void endWork();

    ExportQueue& exports() { return *exports_; }

    /// The number of editors, including those that closed a moment ago.
    std::size_t count() const { return editors_.size(); }

  private:
    struct Editor;
    /// The open editor of a folder; null when there is none.
    EditorWindow* openedOn(const std::filesystem::path& folder);
    bool isShown(const ExportEntry& entry) const;

    MainLoop& loop_;
    const Options options_;
    const std::shared_ptr<render::OverviewMaker> overviews_;
    const std::shared_ptr<ExportQueue> exports_;
    const std::shared_ptr<FilmPreparer> preparer_;
    SecondAttempt closing_;
    std::unique_ptr<ExportsWindow> exportsWindow_;  // once shown
    std::vector<std::unique_ptr<Editor>> editors_;
    std::unique_ptr<ExportNotices> notices_;
};

}  // namespace lumivastor::editor

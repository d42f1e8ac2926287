// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/main_loop.h"
#include "editor/exports/export_list.h"
#include "editor/session/export_job.h"
#include "editor/session/remaining_time.h"

namespace lumivastor::editor {

/// Runs exports one after the other, each with the composition that it was asked for with. Editors and other windows
/// come and go meanwhile. Main thread.
class ExportQueue {
  public:
    struct Options {
        /// Called when the first of several exports begins. Keeps the machine awake while the result lives.
        std::function<std::shared_ptr<void>()> keepAwake{};
        /// Seconds of any clock that never runs backward; the host clock unless set.
        std::function<double()> clock{};
        /// What exports take from earlier ones; see `render::RenderOptions`. Empty: nothing.
        std::filesystem::path filmCache{};
        /// The look of recordings without a document; without it they have the program's defaults. May throw
        /// `RecorderError`; then they have these, too.
        std::function<model::ProjectSettings()> newLook{};
    };
    /// What an observer wants to know. It may call every function of the queue.
    struct Observer {
        /// The list has changed. An export that was put in is in it before it starts.
        std::function<void()> changed{};
        /// An export has ended; `changed` has been called before.
        std::function<void(const ExportEntry& entry)> ended{};
    };

    /// The loop outlives the queue.
    ExportQueue(MainLoop& loop, Options options);
    /// Cancels all exports and waits for their end. Calls no observer.
    ~ExportQueue();
    ExportQueue(const ExportQueue&) = delete;
    ExportQueue& operator=(const ExportQueue&) = delete;

    /// Observes while the result lives.
    [[nodiscard]] std::shared_ptr<void> observe(Observer observer);

    const ExportList& list() const { return list_; }

    /// Puts an export at the end, which starts at once if it is the only one. Returns its id. Throws `RecorderError`
    /// when an unfinished export writes the same file.
    int add(ExportRequest request);
    /// The same with the settings of the recording's document, to the recording's folder. What cannot be exported is in
    /// the list as failed.
    int addRecording(const std::filesystem::path& folder);

    /// Ends a running or waiting export, which leaves no file.
    void cancel(int id);
    void remove(int id);
    void removeFinished();
    void move(int id, bool up);

    /// Cancels all exports and waits for their end. Starts none any more. Calls no observer.
    void end();

  private:
    model::ProjectSettings newLook() const;
    void startNext();
    void start(int id);
    void ended(int id, const render::RenderOutcome& outcome);
    void tellChanged();
    void tellEnded(int id);

    MainLoop& loop_;
    const Options options_;
    ExportList list_;
    std::map<int, ExportRequest> waiting_;
    std::vector<std::weak_ptr<Observer>> observers_;
    std::shared_ptr<void> awake_;  // while an export runs
    std::optional<RemainingTime> remaining_;
    bool hasEnded_ = false;
    std::unique_ptr<ExportJob> job_;  // of the running one
};

}  // namespace lumivastor::editor

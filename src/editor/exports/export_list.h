// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "render/film_form.h"

// What the queue of exports holds, as values: which one runs next, what may be done with each. No threads, no files.

namespace lumivastor::editor {

enum class ExportState { waiting, running, done, failed, cancelled };

constexpr bool isUnfinished(ExportState state) {
    return state == ExportState::waiting || state == ExportState::running;
}

/// One export in the list.
struct ExportEntry {
    int id = 0;                    // unique in its list
    std::filesystem::path folder;  // of the recording
    std::filesystem::path file;    // the film's place
    render::FilmForm form = render::FilmForm::mp4;
    int width = 0;  // of the film, in pixels
    int height = 0;
    ExportState state = ExportState::waiting;
    double fraction = 0;                // 0 to 1; while running
    std::optional<double> remaining{};  // seconds; while running, if known
    bool isCancelling = false;          // running, but asked to stop
    double seconds = 0;                 // of the finished film
    std::int64_t zooms = 0;             // in the finished film
    std::string reason{};               // why it failed, as a German sentence

    bool operator==(const ExportEntry&) const = default;
};

/// The exports in the order in which they run; finished ones stay until they are removed.
class ExportList {
  public:
    /// What can be done with an entry now.
    struct Actions {
        bool cancel = false;
        bool remove = false;
        bool moveUp = false;  // before the waiting one in front of it
        bool moveDown = false;
        bool play = false;
        bool reveal = false;

        bool operator==(const Actions&) const = default;
    };

    const std::vector<ExportEntry>& entries() const { return entries_; }
    /// Null when there is none.
    const ExportEntry* find(int id) const;
    const ExportEntry* running() const;
    /// The next one to run: the first that waits, while none runs.
    const ExportEntry* next() const;
    bool isBusy() const;
    /// The number of exports that wait or run.
    int unfinished() const;
    /// The unfinished export to this file; null when there is none.
    const ExportEntry* writing(const std::filesystem::path& file) const;
    /// The export that a recording's editor shows: the running one, or else the first that waits.
    const ExportEntry* shownFor(const std::filesystem::path& folder) const;
    Actions actions(int id) const;

    /// Puts an entry at the end and returns its new id.
    int add(ExportEntry entry);
    void start(int id);
    void setProgress(int id, double fraction, std::optional<double> remaining);
    void setCancelling(int id);
    void finish(int id, double seconds, std::int64_t zooms);
    void fail(int id, std::string reason);
    void cancelled(int id);
    /// Removes a finished entry. Another one stays.
    void remove(int id);
    void removeFinished();
    /// Moves a waiting entry in front of the waiting one before it, or behind the one after it.
    void move(int id, bool up);

  private:
    std::vector<ExportEntry>::iterator at(int id);
    /// The waiting neighbour of a waiting entry; the end when there is none.
    std::vector<ExportEntry>::const_iterator neighbour(int id, bool up) const;

    std::vector<ExportEntry> entries_;
    int lastId_ = 0;
};

}  // namespace lumivastor::editor

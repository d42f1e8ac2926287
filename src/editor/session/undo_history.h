// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <optional>

#include "model/project_settings.h"

namespace lumivastor::editor {

/// The snapshots that undo and redo go back and forth between. Times are seconds of any clock that never runs backward,
/// passed in. One thread.
class UndoHistory {
  public:
    /// At most this many steps are kept.
    static constexpr std::size_t kLimit = 50;
    /// A run of changes that follow each other more closely than this, in seconds, is one step.
    static constexpr double kPause = 1.0;

    /// Remembers `before`, the settings before a change, and forgets what was undone. With `coalesce` a change that
    /// follows the last one closely joins its step, however long the run becomes.
    void push(const model::ProjectSettings& before, bool coalesce, double now);

    /// The settings to go back to, none when there are none; `current` is what redo comes back to. The next change is a
    /// step of its own.
    std::optional<model::ProjectSettings> undo(const model::ProjectSettings& current);
    /// The same in the other direction.
    std::optional<model::ProjectSettings> redo(const model::ProjectSettings& current);

    std::size_t undoSteps() const { return undoStack_.size(); }
    std::size_t redoSteps() const { return redoStack_.size(); }

  private:
    using Stack = std::deque<model::ProjectSettings>;
    std::optional<model::ProjectSettings> move(Stack& from, Stack& to, const model::ProjectSettings& current);

    Stack undoStack_;
    Stack redoStack_;
    std::optional<double> lastPush_;
};

}  // namespace lumivastor::editor

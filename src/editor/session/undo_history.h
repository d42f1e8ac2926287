// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "model/project_settings.h"

namespace lumivastor::editor {

/// The settings that undo and redo return to. Times are seconds of any clock that never runs backward. One thread.
class UndoHistory {
  public:
    /// The maximum number of steps.
    static constexpr std::size_t kLimit = 50;
    /// Changes with shorter pauses between them, in seconds, are one step.
    static constexpr double kPause = 1.0;

    /// Adds a step to `before`, the settings before a change, and drops the steps of redo. With `coalesce`, a change
    /// within `kPause` after the last one joins its step; such a run may be of any length. `name` is German and says
    /// what the change does, such as "Zoom verschieben"; a run has the name of its first change.
    void push(const model::ProjectSettings& before, const std::string& name, bool coalesce, double now);
    /// The next change is a step of its own.
    void endRun() { lastPush_.reset(); }

    /// The settings to go back to; nullopt if there are none. Redo returns to `current`. The next change is a step of
    /// its own.
    std::optional<model::ProjectSettings> undo(const model::ProjectSettings& current);
    /// The same in the other direction.
    std::optional<model::ProjectSettings> redo(const model::ProjectSettings& current);

    std::size_t undoSteps() const { return undoStack_.size(); }
    std::size_t redoSteps() const { return redoStack_.size(); }
    /// The names of the changes that `undo` takes back and that `redo` makes again; empty if there are none.
    std::string undoName() const { return undoStack_.empty() ? "" : undoStack_.back().name; }
    std::string redoName() const { return redoStack_.empty() ? "" : redoStack_.back().name; }

  private:
    struct Step {
        model::ProjectSettings settings;
        std::string name;
    };
    using Stack = std::deque<Step>;
    std::optional<model::ProjectSettings> move(Stack& from, Stack& to, const model::ProjectSettings& current);

    Stack undoStack_;
    Stack redoStack_;
    std::optional<double> lastPush_;
};

}  // namespace lumivastor::editor

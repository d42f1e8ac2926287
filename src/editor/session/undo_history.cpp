// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/undo_history.h"

#include <utility>

namespace lumivastor::editor {

void UndoHistory::push(const model::ProjectSettings& before, const std::string& name, bool coalesce, double now) {
    const bool joins = coalesce && lastPush_ && now - *lastPush_ < kPause;
    lastPush_ = now;
    if (joins) return;
    undoStack_.push_back({before, name});
    if (undoStack_.size() > kLimit) undoStack_.pop_front();
    redoStack_.clear();
}

std::optional<model::ProjectSettings> UndoHistory::undo(const model::ProjectSettings& current) {
    return move(undoStack_, redoStack_, current);
}

std::optional<model::ProjectSettings> UndoHistory::redo(const model::ProjectSettings& current) {
    return move(redoStack_, undoStack_, current);
}

std::optional<model::ProjectSettings> UndoHistory::move(Stack& from, Stack& to, const model::ProjectSettings& current) {
    if (from.empty()) return std::nullopt;
    Step step = std::move(from.back());
    from.pop_back();
    to.push_back({current, step.name});
    // What was just undone is no run that a change could still join.
    endRun();
    return std::move(step.settings);
}

}  // namespace lumivastor::editor

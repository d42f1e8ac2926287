// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_list.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::editor {

namespace {

using Entries = std::vector<ExportEntry>;

const ExportEntry* firstWith(const Entries& entries, ExportState state) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [state](const ExportEntry& entry) { return entry.state == state; });
    return found == entries.end() ? nullptr : &*found;
}

}  // namespace

const ExportEntry* ExportList::find(int id) const {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [id](const ExportEntry& entry) { return entry.id == id; });
    return found == entries_.end() ? nullptr : &*found;
}

Entries::iterator ExportList::at(int id) {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [id](const ExportEntry& entry) { return entry.id == id; });
    precondition(found != entries_.end(), "an export of the list");
    return found;
}

const ExportEntry* ExportList::running() const {
    return firstWith(entries_, ExportState::running);
}

const ExportEntry* ExportList::next() const {
    return running() != nullptr ? nullptr : firstWith(entries_, ExportState::waiting);
}

bool ExportList::isBusy() const {
    return unfinished() > 0;
}

int ExportList::unfinished() const {
    return static_cast<int>(std::count_if(entries_.begin(), entries_.end(),
                                          [](const ExportEntry& entry) { return isUnfinished(entry.state); }));
}

const ExportEntry* ExportList::writing(const std::filesystem::path& file) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&file](const ExportEntry& entry) {
        return isUnfinished(entry.state) && entry.file.lexically_normal() == file.lexically_normal();
    });
    return found == entries_.end() ? nullptr : &*found;
}

const ExportEntry* ExportList::shownFor(const std::filesystem::path& folder) const {
    const ExportEntry* shown = nullptr;
    for (const ExportEntry& entry : entries_) {
        if (!isUnfinished(entry.state) || entry.folder != folder) continue;
        if (entry.state == ExportState::running) return &entry;
        if (shown == nullptr) shown = &entry;
    }
    return shown;
}

Entries::const_iterator ExportList::neighbour(int id, bool up) const {
    const auto self =
        std::find_if(entries_.begin(), entries_.end(), [id](const ExportEntry& entry) { return entry.id == id; });
    if (self == entries_.end() || self->state != ExportState::waiting) return entries_.end();
    const auto waits = [](const ExportEntry& entry) { return entry.state == ExportState::waiting; };
    if (!up) return std::find_if(std::next(self), entries_.end(), waits);
    const auto before = std::find_if(std::make_reverse_iterator(self), entries_.rend(), waits);
    return before == entries_.rend() ? entries_.end() : std::prev(before.base());
}

ExportList::Actions ExportList::actions(int id) const {
    const ExportEntry* const entry = find(id);
    Actions actions;
    if (entry == nullptr) return actions;
    actions.cancel = isUnfinished(entry->state) && !entry->isCancelling;
    actions.remove = !isUnfinished(entry->state);
    actions.moveUp = neighbour(id, true) != entries_.end();
    actions.moveDown = neighbour(id, false) != entries_.end();
    actions.play = actions.reveal = entry->state == ExportState::done;
    return actions;
}

int ExportList::add(ExportEntry entry) {
    entry.id = ++lastId_;
    entries_.push_back(std::move(entry));
    return lastId_;
}

void ExportList::start(int id) {
    precondition(running() == nullptr, "one export runs at a time");
    at(id)->state = ExportState::running;
}

void ExportList::setProgress(int id, double fraction, std::optional<double> remaining) {
    const auto entry = at(id);
    entry->fraction = std::max(entry->fraction, fraction);
    entry->remaining = remaining;
}

void ExportList::setCancelling(int id) {
    at(id)->isCancelling = true;
}

void ExportList::finish(int id, double seconds, std::int64_t zooms) {
    const auto entry = at(id);
    entry->state = ExportState::done;
    entry->fraction = 1;
    entry->remaining.reset();
    entry->seconds = seconds;
    entry->zooms = zooms;
}

void ExportList::fail(int id, std::string reason) {
    const auto entry = at(id);
    entry->state = ExportState::failed;
    entry->remaining.reset();
    entry->reason = std::move(reason);
}

void ExportList::cancelled(int id) {
    const auto entry = at(id);
    entry->state = ExportState::cancelled;
    entry->remaining.reset();
}

void ExportList::remove(int id) {
    std::erase_if(entries_, [id](const ExportEntry& entry) { return entry.id == id && !isUnfinished(entry.state); });
}

void ExportList::removeFinished() {
    std::erase_if(entries_, [](const ExportEntry& entry) { return !isUnfinished(entry.state); });
}

void ExportList::move(int id, bool up) {
    const auto other = neighbour(id, up);
    if (other == entries_.end()) return;
    std::iter_swap(at(id), at(other->id));
}

}  // namespace lumivastor::editor

// SPDX-License-Identifier: GPL-3.0-or-later

// What the commands of the list of recordings do.

#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeView>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "app/windows/recordings_model.h"
#include "app/windows/recordings_view.h"
#include "app/windows/recordings_window.h"
#include "base/recorder_error.h"

namespace lumivastor::app {

namespace {

constexpr const char* kTrash = "In den Papierkorb";

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

}  // namespace

void RecordingsWindow::openSelected() {
    const RecordingEntry* const entry = selected();
    if (entry == nullptr || isChanging(*entry)) return;
    const RecordingCommands can = commandsOf(*entry);
    tell("");
    const std::filesystem::path folder = entry->folder;
    if (can.canComplete) {
        actions_.complete(folder);
        library_.refresh();
    } else if (can.canOpen) {
        if (const auto refusal = actions_.open(folder)) tell(*refusal);
    } else {
        tell(entry->fault.empty() ? useRefusal(*entry, RecordingUse::none).value_or("") : entry->fault);
    }
}

void RecordingsWindow::renderSelected() {
    tell("");
    for (const RecordingEntry& entry : allSelected()) {
        if (commandsOf(entry).canRender && !isChanging(entry)) actions_.render(entry.folder);
    }
    library_.refresh();
}

void RecordingsWindow::checkSelected() {
    const RecordingEntry* const entry = selected();
    if (entry == nullptr || !commandsOf(*entry).canOpen || isChanging(*entry)) return;
    tell(actions_.check(std::filesystem::path(entry->folder)).value_or(""));
}

// Its folder is about to have another name.
bool RecordingsWindow::isChanging(const RecordingEntry& entry) {
    if (!library_.isChanging(entry.folder)) return false;
    tell(library_.changeRefusal(entry.folder).value_or(""));
    return true;
}

void RecordingsWindow::renameSelected() {
    const RecordingEntry* const entry = selected();
    if (entry == nullptr) return;
    if (const auto refusal = library_.changeRefusal(entry->folder)) {
        tell(*refusal);
        return;
    }
    tell("");
    view_->setFocus();
    view_->edit(model_->index(view_->currentIndex().row(), RecordingsModel::name));
}

void RecordingsWindow::rename(const std::filesystem::path& folder, const std::string& typed) {
    library_.rename(folder, typed, [this, alive = lifetime_.watch()](const auto& outcome) {
        if (alive.expired()) return;
        if (const auto* error = std::get_if<RecorderError>(&outcome)) {
            tell(error->message());
        } else {
            allSelected_.clear();
            select(std::get<std::filesystem::path>(outcome));
        }
    });
}

void RecordingsWindow::revealSelected() {
    if (const RecordingEntry* const entry = selected()) actions_.reveal(std::filesystem::path(entry->folder));
}

void RecordingsWindow::askToTrash() {
    std::vector<std::filesystem::path> folders;
    for (const RecordingEntry& entry : allSelected()) folders.push_back(entry.folder);
    if (folders.empty()) return;
    for (const std::filesystem::path& folder : folders) {
        if (const auto refusal = library_.changeRefusal(folder)) {
            tell(*refusal);
            return;
        }
    }
    tell("");
    const bool isOne = folders.size() == 1;
    auto* box = new QMessageBox(this);
    box->setObjectName("trashDialog");
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(kTrash);
    box->setTextFormat(Qt::PlainText);
    box->setText(
        (isOne ? "„" + qt(folders.front().filename().string()) + "“" : QString::number(folders.size()) + " Aufnahmen") +
        " in den Papierkorb verschieben?");
    box->setInformativeText(
        isOne ? "Die Aufnahme kommt mit allem, was in ihrem Ordner liegt, in den Papierkorb und lässt sich dort "
                "wiederherstellen."
              : "Die Aufnahmen kommen mit allem, was in ihren Ordnern liegt, in den Papierkorb und lassen sich dort "
                "wiederherstellen.");
    const QPushButton* const move = box->addButton(kTrash, QMessageBox::AcceptRole);
    box->setDefaultButton(box->addButton("Abbrechen", QMessageBox::RejectRole));
    connect(move, &QPushButton::clicked, this, [this, folders] { moveToTrash(folders); });
    box->open();
}

void RecordingsWindow::moveToTrash(const std::vector<std::filesystem::path>& folders) {
    library_.moveToTrash(folders, [this, alive = lifetime_.watch()](const RecordingLibrary::TrashOutcome& outcome) {
        if (alive.expired()) return;
        std::string sentence;
        if (outcome.moved.size() == 1) {
            sentence = "„" + outcome.moved.front().filename().string() +
                       "“ liegt im Papierkorb und lässt sich dort wiederherstellen.";
        } else if (!outcome.moved.empty()) {
            sentence = std::to_string(outcome.moved.size()) +
                       " Aufnahmen liegen im Papierkorb und lassen sich dort wiederherstellen.";
        }
        for (const RecorderError& error : outcome.refused) {
            sentence += (sentence.empty() ? "" : "\n") + error.message();
        }
        tell(sentence);
    });
}

void RecordingsWindow::addFolders(const std::vector<std::filesystem::path>& folders) {
    tell("");
    for (const std::filesystem::path& folder : folders) {
        library_.add(folder, [this, folder](const std::optional<std::filesystem::path>& first) {
            if (first) {
                searchField_->clear();
                select(*first);
            } else {
                tell("In „" + folder.filename().string() + "“ liegt keine Aufnahme.");
            }
        });
    }
}

}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/look_tools.h"

#include <QComboBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <utility>

#include "base/log.h"
#include "base/recorder_error.h"
#include "editor/editor_builders.h"

namespace lumivastor::editor {

namespace {

constexpr const char* kCancel = "Abbrechen";

std::string quoted(const std::string& name) {
    return "„" + name + "“";
}

}  // namespace

LookTools::LookTools(QWidget& window, EditSession& session, model::LookFolder looks, Callbacks callbacks)
    : window_(window), session_(session), looks_(std::move(looks)), callbacks_(std::move(callbacks)) {}

// Dialogs only block their own window: the others go on, and so does an export.
void LookTools::show(QDialog& dialog, const char* name) {
    dialog.setObjectName(name);
    dialog.setAttribute(Qt::WA_DeleteOnClose);
    dialog.open();
}

void LookTools::attempt(const std::function<void()>& command) {
    callbacks_.run([&] {
        try {
            command();
        } catch (const RecorderError& error) {
            Log::write("Editor", error.message());
            callbacks_.report(error.message());
        }
    });
}

void LookTools::save() {
    auto* dialog = new QInputDialog(&window_);
    dialog->setWindowTitle("Look sichern");
    dialog->setLabelText("Name des Looks:");
    dialog->setOkButtonText("Sichern");
    dialog->setCancelButtonText(kCancel);
    QObject::connect(dialog, &QInputDialog::textValueSelected, &window_,
                     [this](const QString& text) { saveAs(text.toStdString()); });
    show(*dialog, "lookNameDialog");
}

void LookTools::saveAs(const std::string& typed) {
    attempt([&] {
        const std::string name = model::checkedLookName(typed);
        const std::string done = "Der Look " + quoted(name) + " ist gesichert.";
        if (!looks_.contains(name)) {
            store(name, done);
            return;
        }
        auto* box = new QMessageBox(&window_);
        box->setWindowTitle("Look sichern");
        box->setTextFormat(Qt::PlainText);
        box->setText(toQString("Es gibt schon einen Look " + quoted(name) + ". Soll er ersetzt werden?"));
        const QPushButton* replace = box->addButton("Ersetzen", QMessageBox::AcceptRole);
        box->setDefaultButton(box->addButton(kCancel, QMessageBox::RejectRole));
        QObject::connect(replace, &QPushButton::clicked, &window_,
                         [this, name, done] { attempt([&] { store(name, done); }); });
        show(*box, "lookReplaceDialog");
    });
}

void LookTools::store(const std::string& name, const std::string& done) {
    looks_.save(name, session_.settings());
    callbacks_.report(done);
}

void LookTools::remove() {
    QStringList names;
    for (const std::string& name : looks_.names()) names << toQString(name);
    if (names.isEmpty()) {
        attempt([] { throw RecorderError("Es ist kein Look gesichert."); });
        return;
    }
    auto* dialog = new QInputDialog(&window_);
    dialog->setWindowTitle("Look löschen");
    dialog->setLabelText("Dieser Look wird gelöscht:");
    dialog->setComboBoxItems(names);
    dialog->setOkButtonText("Löschen");
    dialog->setCancelButtonText(kCancel);
    QObject::connect(dialog, &QInputDialog::textValueSelected, &window_, [this](const QString& text) {
        attempt([&] {
            looks_.remove(text.toStdString());
            callbacks_.report("Der Look " + quoted(text.toStdString()) + " ist gelöscht.");
        });
    });
    show(*dialog, "lookDeleteDialog");
    // Assistive programs find the name of a list in its label.
    if (auto* label = dialog->findChild<QLabel*>()) label->setBuddy(dialog->findChild<QComboBox*>());
}

void LookTools::makeStandard() {
    attempt([this] { store(model::LookFolder::kStandard, "Neue Aufnahmen bekommen jetzt diesen Look."); });
}

void LookTools::takeFromRecording() {
    auto* panel = new QFileDialog(&window_, "Einstellungen übernehmen von");
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    panel->setLabelText(QFileDialog::Accept, "Übernehmen");
    panel->setLabelText(QFileDialog::Reject, kCancel);
    panel->setLabelText(QFileDialog::FileName, "Ordner:");
    panel->setLabelText(QFileDialog::LookIn, "In:");
    panel->setLabelText(QFileDialog::FileType, "Art:");
    panel->setDirectory(toQString(session_.composition()->folder().parent_path().string()));
    QObject::connect(panel, &QFileDialog::fileSelected, &window_, [this](const QString& folder) {
        attempt([&] { session_.applyLook(model::lookOfRecording(folder.toStdString()), "Einstellungen übernehmen"); });
    });
    show(*panel, "lookFolderDialog");
}

void LookTools::fillMenu(QMenu& menu) {
    const auto add = [&](const std::string& name) {
        QString title = toQString(name);
        title.replace("&", "&&");  // a lone one would mark the letter behind it
        QObject::connect(menu.addAction(title), &QAction::triggered, &window_, [this, name] { apply(name); });
    };
    for (const std::string& name : looks_.names()) {
        if (name != model::LookFolder::kStandard) add(name);
    }
    if (menu.isEmpty()) menu.addAction("(keine gesicherten)")->setEnabled(false);
    menu.addSeparator();
    add(model::LookFolder::kStandard);
}

void LookTools::apply(const std::string& name) {
    attempt([&] { session_.applyLook(looks_.load(name), "Look anwenden"); });
}

}  // namespace lumivastor::editor

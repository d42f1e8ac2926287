// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "editor/session/edit_session.h"
#include "model/look.h"

class QDialog;
class QMenu;
class QWidget;

namespace lumivastor::editor {

/// The commands of the menu "Look", with their dialogs. Applying a look is a step of the history; saved looks are not
/// part of it. Main thread.
class LookTools {
  public:
    struct Callbacks {
        /// Runs a command; what it reports goes with the next one.
        std::function<void(const std::function<void()>& command)> run;
        /// A German sentence for the user.
        std::function<void(const std::string& sentence)> report;
    };

    /// `window` is the dialogs'.
    LookTools(QWidget& window, EditSession& session, model::LookFolder looks, Callbacks callbacks);
    LookTools(const LookTools&) = delete;
    LookTools& operator=(const LookTools&) = delete;

    /// Asks for a name and saves the look in force.
    void save();
    /// Asks which look to delete.
    void remove();
    /// New recordings get the look in force.
    void makeStandard();
    /// Asks for another recording and applies its look.
    void takeFromRecording();
    /// Whether there is a look to delete.
    bool hasLooks() const { return !looks_.names().empty(); }
    /// Makes an item for each saved look, and one for the look of new recordings. The folder is read each time, because
    /// other editors save looks, too.
    void fillMenu(QMenu& menu);

  private:
    void apply(const std::string& name);
    void saveAs(const std::string& name);
    void store(const std::string& name, const std::string& done);
    void attempt(const std::function<void()>& command);
    void show(QDialog& dialog, const char* name);

    QWidget& window_;
    EditSession& session_;
    const model::LookFolder looks_;
    const Callbacks callbacks_;
};

}  // namespace lumivastor::editor

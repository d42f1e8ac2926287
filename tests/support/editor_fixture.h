// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <QString>
#include <QTest>
#include <memory>
#include <optional>
#include <string>

#include "editor/editor_controls.h"
#include "editor/editor_window.h"
#include "editor/preview/preview_view.h"
#include "support/export_fixture.h"
#include "support/qt_await.h"
#include "support/temporary_folder.h"
#include "ui/qt_main_loop.h"

namespace lumivastor {

/// An editor's window on a small recording with three clicks, operated with pointer and keys.
class EditorFixture : public ExportFixture {
  protected:
    static constexpr double kSeconds = 6;

    EditorFixture();
    ~EditorFixture() override;

    /// Writes the documents and shows the window.
    void openWindow(bool webcam = false);
    editor::EditorWindow& window() { return *window_; }
    editor::EditorControls& controls() { return window_->controls(); }
    editor::EditSession& session() { return window_->session(); }
    editor::Transport& transport() { return window_->transport(); }
    model::ProjectSettings saved() const { return model::ProjectSettings::load(folder_.path()); }

    /// Waits for the end of an export, at most five minutes.
    bool awaitExport() {
        return awaitInLoop([this] { return !window_->isRendering(); }, 300);
    }

    /// A control by its name.
    template <typename Widget = QWidget>
    Widget* find(const char* name) {
        auto* widget = window_->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    void click(const char* name);
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Drags a slider's handle to a fraction of its way, in several steps.
    void drag(const char* slider, double part);
    std::string textOf(const char* label);
    /// The values of the controls, the window's labels and the list of zooms: everything that undo restores.
    std::string everythingShown();

    ui::QtMainLoop loop_;
    std::shared_ptr<editor::ExportQueue> exports_;
    std::unique_ptr<editor::EditorWindow> window_;
    const TemporaryFolder looks_;  // the folder of saved looks
    std::filesystem::path revealed_;
    std::filesystem::path opened_;
    int closed_ = 0;
    int newRecordings_ = 0;
    std::weak_ptr<void> awake_;  // while an export keeps the machine awake
};

}  // namespace lumivastor

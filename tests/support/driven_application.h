// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPoint>
#include <QSize>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/main_window_state.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/scripted_keyboard.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/desktop_rig/shown_windows.h"
#include "support/program_home.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"

class QApplication;

namespace lumivastor::app {
class MainWindow;
}
namespace lumivastor::editor {
class EditorWindow;
}
namespace lumivastor::ui {
class QtMainLoop;
}

namespace lumivastor {

inline constexpr const char* kMainTitle = "LumiVastor";
inline constexpr const char* kRecordingsTitle = "LumiVastor – Aufnahmen";
inline constexpr const char* kPanelTitle = "LumiVastor – Aufnahme läuft";
inline constexpr const char* kArmTitle = "LumiVastor – Ausschnitt vorbereiten";
inline constexpr const char* kPickerTitle = "LumiVastor – Ausschnitt wählen";
inline constexpr const char* kCountdownTitle = "LumiVastor – Countdown";

/// The positions of the windows' controls, in points of the window, measured on windows that are not shown. Makes the
/// process's one QApplication. Throws std::runtime_error for unknown names.
class WindowMap {
  public:
    WindowMap();
    ~WindowMap();
    WindowMap(const WindowMap&) = delete;
    WindowMap& operator=(const WindowMap&) = delete;

    /// The hot spot of a control of the main window. Boxes are hit at their left end.
    QPoint control(const std::string& name) const;
    QPoint segment(app::SourceType type) const;
    /// The button of the notice when there is one.
    QPoint noticeButton(const std::string& text, const std::string& action);

    /// The middle of a control of the list of recordings, which has this size and shows the recordings of a folder; and
    /// of one of its rows, by the recording's name.
    QPoint recordingsControl(const std::filesystem::path& root, QSize size, const std::string& name);
    QPoint recordingsRow(const std::filesystem::path& root, QSize size, const std::string& recording);

    /// A point in a control of a recording's editor of this size: (0, 0) is the control's top left, (1, 1) its bottom
    /// right; for a slider, (0, 0.5) and (1, 0.5) are the ends of the handle's way. Does not write into the folder.
    QPoint editorControl(const std::filesystem::path& recording, QSize size, const std::string& name, QPointF place);

  private:
    editor::EditorWindow& editor(const std::filesystem::path& recording, QSize size);
    template <typename Place>
    QPoint inRecordings(const std::filesystem::path& root, QSize size, Place place);

    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<app::MainWindow> window_;
    std::filesystem::path edited_;
    std::unique_ptr<TemporaryFolder> copy_;  // of that recording
    std::unique_ptr<ui::QtMainLoop> loop_;
    std::unique_ptr<editor::EditorWindow> editor_;
};

/// The program itself on its own display server, driven with pointer and keys. Destruction ends the program and deletes
/// its home folder. One thread.
class DrivenApplication {
  public:
    struct Options {
        /// Empty for the one that the program finds by itself; its home has none.
        std::string pulseServer = {};
        /// Pixels per point.
        int scale = 1;
        /// Overrides the program's environment.
        std::map<std::string, std::string> environment = {};
    };
    /// Does not change the desktop.
    DrivenApplication(DesktopRig& desktop, WindowMap& map, Options options);
    ~DrivenApplication();

    std::map<std::string, std::string> environment() const;

    /// Starts the program and waits until its window is shown and sources are listed. False when that takes too long.
    [[nodiscard]] bool start(const std::vector<std::string>& switches = {});
    ProgramRun& program() { return *program_; }
    const ProgramHome& home() const { return home_; }
    ScriptedPointer& pointer() { return pointer_; }
    ScriptedKeyboard& keyboard() { return keyboard_; }

    std::optional<ShownWindow> shown(const std::string& title) const;
    bool isShown(const std::string& title) const { return shown(title).has_value(); }
    bool waitForWindow(const std::string& title) const;
    bool waitForNoWindow(const std::string& title) const;

    // In points of a window. False when there is no such window.
    [[nodiscard]] bool moveTo(const std::string& title, QPoint at);
    [[nodiscard]] bool clickAt(const std::string& title, QPoint at);
    [[nodiscard]] bool drag(const std::string& title, QPoint from, QPoint to);
    [[nodiscard]] bool click(const std::string& control) { return clickAt(kMainTitle, map_.control(control)); }
    [[nodiscard]] bool choose(app::SourceType type) { return clickAt(kMainTitle, map_.segment(type)); }
    /// The record button's key.
    void pressRecord() { keyboard_.press({ScriptedKeyboard::kReturn}); }
    /// Waits from the countdown until the first pictures are in the newest recording's movie, and a little longer.
    [[nodiscard]] bool waitUntilRecording();
    [[nodiscard]] bool clickPanelStop();
    /// The newest recording's editor.
    std::string editorTitle() const;
    [[nodiscard]] bool clickInEditor(const std::string& control, QPointF place = {0.5, 0.5});
    [[nodiscard]] bool dragInEditor(const std::string& control, QPointF from, QPointF to);
    /// In the list of recordings.
    [[nodiscard]] bool clickInRecordings(const std::string& control);
    [[nodiscard]] bool clickRecording(const std::string& name);
    /// Waits until the newest recording's video is complete.
    [[nodiscard]] bool waitForVideo() const;

    /// The oldest first.
    std::vector<std::filesystem::path> recordings() const { return home_.recordings(); }
    std::string log() const { return home_.log(); }
    bool logged(const std::string& text) const { return log().find(text) != std::string::npos; }

  private:
    const Options options_;
    DesktopRig& desktop_;
    WindowMap& map_;
    ProgramHome home_;
    ScriptedPointer pointer_{desktop_.displayName()};
    ScriptedKeyboard keyboard_{desktop_.displayName()};
    std::unique_ptr<ProgramRun> program_;
};

void sleepFor(double seconds);

}  // namespace lumivastor

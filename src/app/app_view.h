// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/main_window_state.h"
#include "base/geometry.h"
#include "capture/recording/webcam_preview.h"
#include "platform/shareable_content.h"

namespace lumivastor::app {

/// The application's windows, as its controller sees them: they show what they are told and decide nothing. Main
/// thread.
class AppView {
  public:
    virtual ~AppView() = default;

    virtual void show(const MainWindowState& state) = 0;
    /// To the front, with the keyboard.
    virtual void showMainWindow() = 0;
    virtual void hideMainWindow() = 0;

    /// In the main window, mirrored.
    virtual void showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) = 0;
    virtual void hideCameraPreview() = 0;

    /// Large, in the middle of the main screen; again to change the number.
    virtual void showCountdown(int number) = 0;
    virtual void hideCountdown() = 0;

    /// Whether one of the screens that windows can be put on is this display.
    virtual bool hasScreen(const platform::Display& display) = 0;
    virtual void showRegionArmPanel(const platform::Display& display) = 0;
    virtual void closeRegionArmPanel() = 0;
    /// Lets the user drag a rectangle: points of the display, relative to its top-left corner. Nothing: cancelled. Not
    /// called within `pickRegion`.
    virtual void pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) = 0;

    virtual void installStatusItem(const std::string& title) = 0;
    virtual void setStatusItemTitle(const std::string& title) = 0;
    virtual void removeStatusItem() = 0;

    /// On the main screen when none is given. `preview`: of the webcam that is recorded, if one is. `hasShortcut`:
    /// whether keys stop the recording, too.
    virtual void showRecordingPanel(const std::optional<platform::Display>& display,
                                    std::shared_ptr<capture::WebcamPreview> preview, bool hasShortcut) = 0;
    virtual void setRecordingPanelTime(const std::string& time) = 0;
    virtual void removeRecordingPanel() = 0;

    /// Lets the user choose one folder, starting in `start`. Nothing: cancelled.
    virtual void askForFolder(const std::string& message, const std::filesystem::path& start,
                              std::function<void(std::optional<std::filesystem::path>)> completion) = 0;
    /// Throws `RecorderError` when the folder holds nothing that can be edited.
    virtual void openEditor(const std::filesystem::path& folder) = 0;
    /// Whether all editors may close; those that export say in front of everything that they have to be asked a
    /// second time.
    virtual bool editorsMayClose() = 0;
    /// In the file viewer. False when there is none.
    virtual bool openFolder(const std::filesystem::path& folder) = 0;
    /// Shows the folder that holds the file, with the file selected.
    virtual void revealFile(const std::filesystem::path& file) = 0;

    /// The answer to a request to quit that had to wait.
    virtual void replyToApplicationShouldTerminate() = 0;
};

}  // namespace lumivastor::app

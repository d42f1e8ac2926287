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
#include "imaging/pixel_buffer.h"
#include "platform/shareable_content.h"

namespace lumivastor::app {

/// The key combinations of a recording, as users read them; empty where there is none.
struct RecordingKeys {
    std::string stop;
    std::string pause;
    std::string mark;
};

/// The application's windows as the controller sees them. They show state and decide nothing. Main thread.
class AppView {
  public:
    virtual ~AppView() = default;

    virtual void show(const MainWindowState& state) = 0;
    /// Brings it to the front, with keyboard focus.
    virtual void showMainWindow() = 0;
    virtual void hideMainWindow() = 0;
    /// Hides every window of the program, for desktops that cannot leave them out of a recording.
    virtual void hideAllWindows() = 0;
    /// Shows the main window and what `hideAllWindows` has hidden.
    virtual void showAllWindows() = 0;

    /// Shows the preview in the main window, mirrored.
    virtual void showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) = 0;
    virtual void hideCameraPreview() = 0;

    /// Shows a large number in the middle of the main screen; a click on it cancels. Call it again to change the
    /// number.
    virtual void showCountdown(int number) = 0;
    virtual void hideCountdown() = 0;

    /// Whether windows can be placed on this display.
    virtual bool hasScreen(const platform::Display& display) = 0;
    virtual void showRegionArmPanel(const platform::Display& display) = 0;
    virtual void closeRegionArmPanel() = 0;
    /// Lets the user drag a rectangle, in points relative to the display's top-left corner. nullopt if cancelled; never
    /// called before `pickRegion` returns.
    virtual void pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) = 0;

    /// The same on a picture of the display, for desktops where no window can lie over the screen.
    virtual void pickRegionOnPicture(const platform::Display& display,
                                     std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture,
                                     std::function<void(std::optional<Rect>)> completion) = 0;

    /// Whether the desktop shows status items.
    virtual bool hasStatusItems() = 0;
    virtual void installStatusItem(const std::string& title) = 0;
    virtual void setStatusItemTitle(const std::string& title) = 0;
    virtual void removeStatusItem() = 0;

    /// Shows it on the main screen if `display` is nullopt. `preview` is that of the recorded webcam, or null.
    virtual void showRecordingPanel(const std::optional<platform::Display>& display,
                                    std::shared_ptr<capture::WebcamPreview> preview, const RecordingKeys& keys) = 0;
    /// In the panel and the status item, as far as they are shown.
    virtual void setRecordingPaused(bool paused) = 0;
    /// The number of marks so far, in the panel.
    virtual void setRecordingMarks(int count) = 0;
    virtual void setRecordingPanelTime(const std::string& time) = 0;
    /// Shows a sentence of warning while recording, in the panel and at the status item; empty for none. It is gone
    /// with them.
    virtual void setRecordingHint(const std::string& sentence) = 0;
    virtual void removeRecordingPanel() = 0;

    /// Lets the user choose one folder, starting in `start`. nullopt if cancelled.
    virtual void askForFolder(const std::string& message, const std::filesystem::path& start,
                              std::function<void(std::optional<std::filesystem::path>)> completion) = 0;
    /// Shows the list of recordings.
    virtual void showRecordings() = 0;
    /// Throws `RecorderError` when the folder holds no editable recording.
    virtual void openEditor(const std::filesystem::path& folder) = 0;
    /// Whether all editors may close. Editors with an export come to the front and show that a second request is
    /// needed.
    virtual bool editorsMayClose() = 0;
    /// Opens it in the file viewer. False without a file viewer.
    virtual bool openFolder(const std::filesystem::path& folder) = 0;
    /// Opens the file's folder in the file viewer, with the file selected.
    virtual void revealFile(const std::filesystem::path& file) = 0;

    /// The program may end now: the answer to a quit request that got `later`.
    virtual void replyToApplicationShouldTerminate() = 0;
};

}  // namespace lumivastor::app

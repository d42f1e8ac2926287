// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "app/app_view.h"

namespace lumivastor::app {

/// Replaces the windows after the display server is gone: shows nothing and asks no questions.
class NoView final : public AppView {
  public:
    /// `terminate` is called when the work that delayed the end is finished.
    explicit NoView(std::function<void()> terminate) : terminate_(std::move(terminate)) {}

    void show(const MainWindowState&) override {}
    void showMainWindow() override {}
    void hideMainWindow() override {}
    void hideAllWindows() override {}
    void showAllWindows() override {}
    void showCameraPreview(std::shared_ptr<capture::WebcamPreview>) override {}
    void hideCameraPreview() override {}
    void showCountdown(int) override {}
    void hideCountdown() override {}
    bool hasScreen(const platform::Display&) override { return false; }
    void showRegionArmPanel(const platform::Display&) override {}
    void closeRegionArmPanel() override {}
    void pickRegion(const platform::Display&, std::function<void(std::optional<Rect>)>) override {}
    void pickRegionOnPicture(const platform::Display&, std::shared_ptr<const imaging::BgraPremultipliedBuffer>,
                             std::function<void(std::optional<Rect>)>) override {}
    bool hasStatusItems() override { return false; }
    void installStatusItem(const std::string&) override {}
    void setStatusItemTitle(const std::string&) override {}
    void removeStatusItem() override {}
    void showRecordingPanel(const std::optional<platform::Display>&, std::shared_ptr<capture::WebcamPreview>,
                            const RecordingKeys&) override {}
    void setRecordingPaused(bool) override {}
    void setRecordingMarks(int) override {}
    void setRecordingPanelTime(const std::string&) override {}
    void setRecordingHint(const std::string&) override {}
    void removeRecordingPanel() override {}
    void askForFolder(const std::string&, const std::filesystem::path&,
                      std::function<void(std::optional<std::filesystem::path>)>) override {}
    void showRecordings() override {}
    void openEditor(const std::filesystem::path&) override {}
    bool editorsMayClose() override { return true; }
    bool openFolder(const std::filesystem::path&) override { return false; }
    void revealFile(const std::filesystem::path&) override {}
    void replyToApplicationShouldTerminate() override { terminate_(); }

  private:
    const std::function<void()> terminate_;
};

}  // namespace lumivastor::app

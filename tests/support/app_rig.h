// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "support/recorder_rig.h"

namespace lumivastor {

/// A view without windows: records the controller's calls; the test takes the user's part.
class RecordedView final : public app::AppView {
  public:
    app::MainWindowState state;
    /// The other calls, in order: "showMainWindow", "countdown 3", "panel links", ...
    std::vector<std::string> calls;
    std::shared_ptr<capture::WebcamPreview> cameraPreview;
    std::shared_ptr<capture::WebcamPreview> panelPreview;
    std::vector<std::string> statuses;  // each new one

    // The view's answers.
    std::vector<std::string> screens = {"links", "rechts"};
    std::optional<std::filesystem::path> folderToChoose;
    std::filesystem::path folderAskedFrom;
    std::string folderMessage;
    std::function<void(std::optional<Rect>)> regionCompletion;
    std::optional<std::string> editorError;
    bool editorsMay = true;
    bool canOpenFolders = true;
    bool hasTray = true;
    /// The picture for the last region.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> regionPicture;
    std::optional<bool> panelHasShortcut;  // nullopt until there was a panel
    /// Called when an editor should open.
    std::function<void(const std::filesystem::path&)> onOpenEditor;

    /// The number of times that `call` was made.
    int count(const std::string& call) const;

    void show(const app::MainWindowState& newState) override;
    void showMainWindow() override { calls.emplace_back("showMainWindow"); }
    void hideMainWindow() override { calls.emplace_back("hideMainWindow"); }
    void hideAllWindows() override { calls.emplace_back("hideAllWindows"); }
    void showAllWindows() override { calls.emplace_back("showAllWindows"); }
    void showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) override;
    void hideCameraPreview() override;
    void showCountdown(int number) override { calls.push_back("countdown " + std::to_string(number)); }
    void hideCountdown() override { calls.emplace_back("hideCountdown"); }
    bool hasScreen(const platform::Display& display) override;
    void showRegionArmPanel(const platform::Display& display) override { calls.push_back("arm " + display.name); }
    void closeRegionArmPanel() override { calls.emplace_back("closeArm"); }
    void pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) override;
    void pickRegionOnPicture(const platform::Display& display,
                             std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture,
                             std::function<void(std::optional<Rect>)> completion) override;
    bool hasStatusItems() override { return hasTray; }
    void installStatusItem(const std::string& title) override { calls.push_back("install " + title); }
    void setStatusItemTitle(const std::string& title) override { calls.push_back("title " + title); }
    void removeStatusItem() override { calls.emplace_back("removeStatusItem"); }
    void showRecordingPanel(const std::optional<platform::Display>& display,
                            std::shared_ptr<capture::WebcamPreview> preview, const app::RecordingKeys& keys) override;
    void setRecordingPaused(bool paused) override { calls.emplace_back(paused ? "paused" : "resumed"); }
    void setRecordingMarks(int count) override { calls.push_back("marks " + std::to_string(count)); }
    void setRecordingPanelTime(const std::string& time) override { calls.push_back("time " + time); }
    void setRecordingHint(const std::string& sentence) override { calls.push_back("hint " + sentence); }
    void removeRecordingPanel() override { calls.emplace_back("removePanel"); }
    void askForFolder(const std::string& message, const std::filesystem::path& start,
                      std::function<void(std::optional<std::filesystem::path>)> completion) override;
    void showRecordings() override { calls.emplace_back("showRecordings"); }
    void openEditor(const std::filesystem::path& folder) override;
    bool editorsMayClose() override {
        calls.emplace_back("editorsMayClose");
        return editorsMay;
    }
    bool openFolder(const std::filesystem::path& folder) override {
        calls.push_back("openFolder " + folder.string());
        return canOpenFolders;
    }
    void revealFile(const std::filesystem::path& file) override { calls.push_back("reveal " + file.string()); }
    void replyToApplicationShouldTerminate() override { calls.emplace_back("terminate"); }
};

class MemoryPreferences final : public app::Preferences {
  public:
    std::optional<bool> autoZooms;

    std::optional<bool> autoZoomsEnabled() const override { return autoZooms; }
    void setAutoZoomsEnabled(bool enabled) override { autoZooms = enabled; }

    std::optional<bool> preparation;

    std::optional<bool> preparesFilms() const override { return preparation; }
    void setPreparesFilms(bool prepares) override { preparation = prepares; }

    std::optional<int> countdown;

    std::optional<int> countdownSeconds() const override { return countdown; }
    void setCountdownSeconds(int seconds) override { countdown = seconds; }

    std::vector<std::filesystem::path> places;

    std::vector<std::filesystem::path> recordingPlaces() const override { return places; }
    void setRecordingPlaces(const std::vector<std::filesystem::path>& now) override { places = now; }

    std::map<std::string, app::ChosenDevice> cardSounds;  // by the card

    app::ChosenDevice cardSound(const std::string& card) const override {
        const auto found = cardSounds.find(card);
        return found == cardSounds.end() ? app::ChosenDevice() : found->second;
    }
    void setCardSound(const std::string& card, const app::ChosenDevice& sound) override { cardSounds[card] = sound; }

    app::ChosenDevice chosenMicrophone;
    app::ChosenDevice chosenCamera;

    app::ChosenDevice microphone() const override { return chosenMicrophone; }
    void setMicrophone(const app::ChosenDevice& device) override { chosenMicrophone = device; }
    app::ChosenDevice camera() const override { return chosenCamera; }
    void setCamera(const app::ChosenDevice& device) override { chosenCamera = device; }
};

/// Counts the holds that keep the machine awake.
class CountedInhibitor final : public app::SleepInhibitor {
  public:
    int holds = 0;

    std::unique_ptr<Hold> inhibit(const std::string& reason) override;
};

/// The whole application without windows, on a desktop, sound server, devices and clock that a test drives by hand.
class AppRig : public RecorderRig {
  protected:
    AppRig();
    ~AppRig() override;

    /// Two displays and three windows of other programs, two of them worth recording.
    static platform::ShareableContent appContent();

    /// Makes the controller, launches it, and waits until its sources are listed.
    void launch(const app::CommandSwitches& switches = {});
    /// The services of this rig.
    app::AppServices appServices();
    /// From the next launch on, check videos go on until they are asked to stop, or `checkVideoEnds_` is called; the
    /// folder for them is chosen.
    void useSlowCheckVideos();
    /// Waits for work of other threads until the phase is reached.
    void untilStatus(const std::string& start);
    void untilCalled(const std::string& call);
    /// From idle to a running recording, with one picture in it.
    void startRecording();
    /// One picture of what is recorded, now.
    void emitPicture();
    /// Stops the recording and waits until its folder is finished.
    void stopRecording();

    std::filesystem::path root_ = temporary_ / "Movies";
    RecordedView view_;
    MemoryPreferences preferences_;
    CountedInhibitor sleep_;
    bool shortcutIsTaken_ = false;
    std::atomic<bool> grabWaits_ = false;              // the desktop's dialog for the shortcut is open
    std::function<void()> pressShortcut_;              // while one is grabbed
    std::map<char, std::function<void()>> pressKeys_;  // by letter: the other shortcuts, while they are grabbed
    std::function<void()> stopFromOutside_;            // while other processes may stop the recording
    std::function<void(app::AppServices&)> beforeLaunch_;
    std::function<void(const render::CursorRenderer::Outcome&)> checkVideoEnds_;
    std::atomic<bool> checkVideoWasStopped_ = false;
    std::unique_ptr<app::AppDelegate> app_;
};

}  // namespace lumivastor

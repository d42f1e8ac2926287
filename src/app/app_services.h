// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>
#include <vector>

#include "app/session/preferences.h"
#include "app/session/sleep_inhibitor.h"
#include "capture/capture_services.h"
#include "capture/proof/recording_proof.h"
#include "capture/recording_control.h"
#include "capture/recovery/recovery.h"
#include "model/project_settings.h"
#include "platform/device_selection.h"
#include "platform/global_shortcut.h"
#include "platform/sound/sound_board.h"
#include "render/cursor_renderer.h"

namespace lumivastor::app {

/// The services that the application uses. They must outlive the application.
struct AppServices : capture::CaptureServices {
    /// The folder of all recordings; each has its own folder in it.
    std::filesystem::path root;
    Preferences& preferences;
    SleepInhibitor& sleep;
    /// Grabs the key combination that stops the recording; null when it is not available. `pressed` may run on any
    /// thread. Where the desktop has a `contentPicker`, this may wait for the user's answer, and is called on a thread
    /// of its own; null when `stop` was requested. Only there it takes `further`, which the same dialog offers.
    std::function<std::unique_ptr<platform::GlobalShortcut>(
        std::function<void()> pressed, std::vector<platform::FurtherKeys> further, std::stop_token stop)>
        grabStopShortcut;

    /// Grabs another key combination while a recording runs; null when it is not available. `pressed` may run on any
    /// thread. Not where the desktop has a `contentPicker`, whose dialogs would be in the recording.
    std::function<std::unique_ptr<platform::GlobalShortcut>(const platform::ShortcutRequest&, std::function<void()>)>
        grabShortcut = [](const platform::ShortcutRequest&, const std::function<void()>&) {
            return std::unique_ptr<platform::GlobalShortcut>();
        };

    /// Lets other processes of the user stop the recording while the result lives. `stop` may run on any thread.
    std::function<std::shared_ptr<void>(std::function<void()> stop)> offerStop = [](std::function<void()> stop) {
        return std::make_shared<capture::RecordingControl>(capture::recordingControlFolder(), std::move(stop));
    };

    /// How loud the sound sources are that run at this moment; they report to it.
    std::shared_ptr<platform::SoundBoard> soundBoard = std::make_shared<platform::SoundBoard>();
    /// What the user has chosen; `sound` and `devices` follow it.
    std::shared_ptr<platform::DeviceSelection> selection = std::make_shared<platform::DeviceSelection>();
    /// Calls `changed` on any thread whenever microphones or cameras may have come or gone, while the result lives.
    std::function<std::shared_ptr<void>(std::function<void()> changed)> watchDevices =
        [](const std::function<void()>&) { return nullptr; };

    std::function<std::time_t()> wallClock = [] { return std::time(nullptr); };
    std::function<std::jthread(std::filesystem::path, render::CursorRenderer::Options,
                               std::function<void(const render::CursorRenderer::Outcome&)>)>
        renderCheckVideo = render::CursorRenderer::render;
    std::function<capture::Recovery(const std::filesystem::path&)> recover = capture::recoverRecording;
    /// Checks a recording that has ended, on a thread of its own.
    std::function<model::RecordingQuality(const std::filesystem::path&, std::stop_token)> prove =
        capture::proveRecording;
    /// The look of new recordings; nullopt when the user has chosen none. May throw `RecorderError`.
    std::function<std::optional<model::ProjectSettings>()> newLook = [] { return std::nullopt; };
    /// A recording was opened in an editor.
    std::function<void(const std::filesystem::path& folder)> recordingOpened = [](const std::filesystem::path&) {};
};

}  // namespace lumivastor::app

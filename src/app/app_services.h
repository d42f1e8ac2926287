// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

#include "app/session/preferences.h"
#include "app/session/sleep_inhibitor.h"
#include "capture/capture_services.h"
#include "capture/recovery/recovery.h"
#include "platform/global_shortcut.h"
#include "render/cursor_renderer.h"

namespace lumivastor::app {

/// What the application works with. Whoever makes the application keeps all of it alive longer.
struct AppServices : capture::CaptureServices {
    /// Where recordings are kept, each in a folder of its own.
    std::filesystem::path root;
    Preferences& preferences;
    SleepInhibitor& sleep;
    /// A key combination that stops the recording; `pressed` may run on any thread. Null when it cannot be had.
    std::function<std::unique_ptr<platform::GlobalShortcut>(std::function<void()> pressed)> grabStopShortcut;

    std::function<std::time_t()> wallClock = [] { return std::time(nullptr); };
    std::function<std::jthread(std::filesystem::path, render::CursorRenderer::Options,
                               std::function<void(const render::CursorRenderer::Outcome&)>)>
        renderCheckVideo = render::CursorRenderer::render;
    std::function<capture::Recovery(const std::filesystem::path&)> recover = capture::recoverRecording;
};

}  // namespace lumivastor::app

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

namespace lumivastor {

/// What the application works with. Whoever makes the application keeps all of it alive longer.
struct AppServices : CaptureServices {
    /// Where recordings are kept, each in a folder of its own.
    std::filesystem::path root;
    Preferences& preferences;
    SleepInhibitor& sleep;
    /// A key combination that stops the recording; `pressed` may run on any thread. Null when it cannot be had.
    std::function<std::unique_ptr<GlobalShortcut>(std::function<void()> pressed)> grabStopShortcut;

    std::function<std::time_t()> wallClock = [] { return std::time(nullptr); };
    std::function<std::jthread(std::filesystem::path, CursorRenderer::Options,
                               std::function<void(const CursorRenderer::Outcome&)>)>
        renderCheckVideo = CursorRenderer::render;
    std::function<Recovery(const std::filesystem::path&)> recover = recoverRecording;
};

}  // namespace lumivastor

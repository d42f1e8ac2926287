// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_windows.h"

#include <QScreen>
#include <utility>

#include "editor/editor_window.h"

namespace lumivastor::editor {

namespace {

// After closing: by then, events that refer to the window have run.
constexpr double kRemovalDelay = 1.0;
// The approximate size of the frame that a window manager adds.
constexpr QSize kFrame(8, 40);

void bringToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

}  // namespace

struct EditorWindows::Editor {
    std::unique_ptr<EditorWindow> window;
    std::unique_ptr<MainLoop::Timer> removal;  // once closed
};

EditorWindows::EditorWindows(MainLoop& loop, Options options) : loop_(loop), options_(std::move(options)) {}
EditorWindows::~EditorWindows() = default;

EditorWindow& EditorWindows::open(const std::filesystem::path& folder) {
    std::error_code ignored;
    for (const auto& editor : editors_) {
        if (editor->removal || !std::filesystem::equivalent(editor->window->folder(), folder, ignored)) continue;
        bringToFront(*editor->window);
        return *editor->window;
    }
    auto editor = std::make_unique<Editor>();
    EditorWindow::Options options;
    options.makeSoundOutput = options_.makeSoundOutput;
    options.openFolder = options_.dropped;
    options.newRecording = options_.newRecording;
    options.keepAwake = options_.keepAwake;
    options.closed = [this, raw = editor.get()] {
        raw->removal = loop_.every(kRemovalDelay, [this, raw] {
            std::erase_if(editors_, [raw](const auto& each) { return each.get() == raw; });
        });
    };
    editor->window = std::make_unique<EditorWindow>(folder, loop_, std::move(options));
    editor->window->fitInto(editor->window->screen()->availableSize() - kFrame);
    editor->window->show();
    editors_.push_back(std::move(editor));
    return *editors_.back()->window;
}

bool EditorWindows::mayClose() {
    bool all = true;
    for (const auto& editor : editors_) {
        if (editor->removal || editor->window->mayClose()) continue;
        bringToFront(*editor->window);
        all = false;
    }
    return all;
}

void EditorWindows::endWork() {
    for (const auto& editor : editors_) {
        if (!editor->removal) editor->window->endWork();
    }
}

}  // namespace lumivastor::editor

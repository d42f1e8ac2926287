#include "editor/editor_windows.h"

#include <QScreen>
#include <utility>

#include "editor/editor_window.h"

namespace lumivastor {

namespace {

// After closing: what still refers to the window has long run by then.
constexpr double kRemovalDelay = 1.0;
// What a window manager puts round a window, about.
constexpr QSize kFrame(8, 40);

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
        editor->window->setWindowState(editor->window->windowState() & ~Qt::WindowMinimized);
        editor->window->raise();
        editor->window->activateWindow();
        return *editor->window;
    }
    auto editor = std::make_unique<Editor>();
    EditorWindow::Options options;
    options.makeSoundOutput = options_.makeSoundOutput;
    options.openFolder = options_.dropped;
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

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_windows.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "base/host_clock.h"
#include "editor/editor_window.h"
#include "editor/exports/export_notices.h"
#include "editor/exports/exports_window.h"
#include "model/look.h"
#include "ui/file_viewer.h"

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

EditorWindows::EditorWindows(MainLoop& loop, Options options)
    : loop_(loop),
      options_(std::move(options)),
      overviews_(std::make_shared<render::OverviewMaker>(loop, options_.overviewCache)),
      exports_(std::make_shared<ExportQueue>(
          loop,
          ExportQueue::Options{.keepAwake = options_.keepAwake,
                               .filmCache = options_.filmCache,
                               .newLook = [looks = model::LookFolder(
                                               options_.looks)] { return looks.load(model::LookFolder::kStandard); }})),
      preparer_(std::make_shared<FilmPreparer>(
          loop, *exports_,
          FilmPreparer::Options{options_.filmCache, options_.preparesFilms, options_.isOnMains, options_.isRecording})),
      notices_(std::make_unique<ExportNotices>(
          loop, *exports_, ExportNotices::Options{options_.bus, [this](const ExportEntry& entry) {
                                                      return (!options_.mayNotify || options_.mayNotify()) &&
                                                             !isShown(entry);
                                                  }})) {}

// What tells the preparer about recordings may be gone already.
EditorWindows::~EditorWindows() {
    preparer_->end();
}

EditorWindow* EditorWindows::openedOn(const std::filesystem::path& folder) {
    std::error_code ignored;
    for (const auto& editor : editors_) {
        if (!editor->removal && std::filesystem::equivalent(editor->window->folder(), folder, ignored)) {
            return editor->window.get();
        }
    }
    return nullptr;
}

EditorWindow& EditorWindows::open(const std::filesystem::path& folder) {
    if (EditorWindow* const opened = openedOn(folder)) {
        bringToFront(*opened);
        return *opened;
    }
    auto editor = std::make_unique<Editor>();
    EditorWindow::Options options;
    options.makeSoundOutput = options_.makeSoundOutput;
    options.openFolder = options_.dropped;
    options.newRecording = options_.newRecording;
    options.exports = exports_;
    options.preparer = preparer_;
    options.showExports = [this] { showExports(); };
    options.exportFolder = options_.exportFolder;
    options.overviews = overviews_;
    options.looks = options_.looks;
    options.closed = [this, raw = editor.get()] {
        // What goes on without the editor is seen there.
        if (exports_->list().shownFor(raw->window->folder()) != nullptr) showExports();
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

bool EditorWindows::isOpen(const std::filesystem::path& folder) const {
    std::error_code ignored;
    return std::any_of(editors_.begin(), editors_.end(), [&](const auto& editor) {
        return !editor->removal && std::filesystem::equivalent(editor->window->folder(), folder, ignored);
    });
}

void EditorWindows::render(const std::filesystem::path& folder) {
    if (EditorWindow* const opened = openedOn(folder)) {
        opened->render();
    } else {
        exports_->addRecording(folder);
    }
}

void EditorWindows::showExports() {
    if (!exportsWindow_) {
        exportsWindow_ =
            std::make_unique<ExportsWindow>(*exports_, ExportsWindow::Callbacks{ui::playFile, ui::revealInFileViewer});
    }
    exportsWindow_->show();
    bringToFront(*exportsWindow_);
}

// Whether the user sees what became of it anyway.
bool EditorWindows::isShown(const ExportEntry& entry) const {
    const QWidget* const active = QApplication::activeWindow();
    if (active == nullptr) return false;
    if (active == exportsWindow_.get()) return true;
    return std::any_of(editors_.begin(), editors_.end(), [&](const auto& editor) {
        return editor->window.get() == active && editor->window->folder() == entry.folder;
    });
}

bool EditorWindows::mayClose() {
    if (!exports_->list().isBusy() || closing_.attempt(hostClockSeconds())) return true;
    showExports();
    exportsWindow_->setStatus(kCloseWhileRendering);
    return false;
}

void EditorWindows::endWork() {
    preparer_->end();
    exports_->end();
    notices_.reset();
    for (const auto& editor : editors_) {
        if (!editor->removal) editor->window->endWork();
    }
}

}  // namespace lumivastor::editor

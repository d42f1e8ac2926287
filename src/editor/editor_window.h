// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/main_loop.h"
#include "editor/editor_controls.h"
#include "editor/preview/studio_preview.h"
#include "editor/session/edit_session.h"
#include "editor/session/export_job.h"
#include "editor/session/remaining_time.h"
#include "editor/session/second_attempt.h"
#include "editor/session/transport.h"
#include "playback/player.h"

namespace lumivastor::editor {

/// The editor's window for one recording. It connects the widgets of `EditorControls` with `EditSession`, `Transport`
/// and `ExportJob`, which decide what happens. Main thread.
class EditorWindow final : public QWidget {
  public:
    struct Options {
        /// The output of the preview's sound; if empty, the preview is silent.
        std::function<std::unique_ptr<platform::SoundOutput>()> makeSoundOutput;
        /// Shows a rendered movie to the user; the desktop's file viewer unless set.
        std::function<void(const std::filesystem::path& file)> reveal;
        /// A folder was dropped on the window.
        std::function<void(const std::filesystem::path& folder)> openFolder;
        /// The user wants to make another recording; if empty, there is no such button.
        std::function<void()> newRecording;
        /// Called when an export begins. Keeps the machine awake while the result lives.
        std::function<std::shared_ptr<void>()> keepAwake;
        /// The window has closed, and everything is saved.
        std::function<void()> closed;
        /// Seconds of any clock that never runs backward; the host clock unless set.
        std::function<double()> clock;
    };

    /// Opens a recording folder; `show` shows the window. The loop outlives the window. Throws `RecorderError`.
    EditorWindow(const std::filesystem::path& folder, MainLoop& loop, Options options);
    /// Closes the window if it is still open.
    ~EditorWindow() override;

    const std::filesystem::path& folder() const { return session_->composition()->folder(); }
    EditSession& session() { return *session_; }
    Transport& transport() { return *transport_; }
    EditorControls& controls() { return *controls_; }
    bool isRendering() const { return exportJob_ != nullptr; }

    /// Whether the window may close. During an export the first call returns false and shows a status that says so; a
    /// second call soon after returns true.
    bool mayClose();
    /// Cancels an export, waits for its end, and saves. Uses no widget, because at the end of a program the windows may
    /// be gone.
    void endWork();

    /// On a screen with no more space than `room`, in points, makes the window smaller than its usual minimum, down to
    /// the minimum of its contents. The preview shrinks.
    void fitInto(QSize room);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Handles keys before the focused control does.
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void openSession(const std::filesystem::path& folder);
    void build();
    EditorActions actions();
    void setUpPlayer();
    void refresh();
    EditorTools::Content toolContent(const edit::EditState& state, double zoomScale) const;
    void refreshTransport();
    void refreshPlayer();

    bool handleKey(int key, Qt::KeyboardModifiers modifiers, bool isRepeated);
    void setMaskDrawing(bool drawing);
    void finishMask(const Rect& viewRect);
    void addZoom();
    void showSelectedZoom();
    void renderMovie();
    void renderCompleted(const render::RenderOutcome& outcome);
    void setStatus(const std::string& text) { controls_->renderBar.setStatus(text); }
    void runCommand(const std::function<void()>& command);
    void withdrawHint();
    void shutDown();

    MainLoop& loop_;
    const Options options_;
    std::unique_ptr<EditSession> session_;
    std::unique_ptr<StudioPreview> preview_;
    std::unique_ptr<Transport> transport_;
    std::unique_ptr<EditorControls> controls_;
    std::shared_ptr<const edit::EditState> shownState_;
    std::unique_ptr<playback::Player> player_;

    std::unique_ptr<ExportJob> exportJob_;
    std::optional<RemainingTime> remaining_;
    SecondAttempt closing_;
    std::shared_ptr<void> awake_;  // while exporting
    std::filesystem::path lastRenderURL_;
    bool closed_ = false;

    // The status that a command has set. The next command removes it.
    bool isRunningCommand_ = false;
    std::string hint_;
};

}  // namespace lumivastor::editor

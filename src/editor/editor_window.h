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

/// The editor's window: the preview of one recording, its time line, and the controls of everything that can be edited.
/// Wires them together; what they do is decided in `EditSession`, `Transport` and `ExportJob`. Main thread.
class EditorWindow final : public QWidget {
  public:
    struct Options {
        /// Where the preview's sound goes; without it nothing is heard.
        std::function<std::unique_ptr<platform::SoundOutput>()> makeSoundOutput;
        /// Shows a rendered movie to the user; the desktop's file viewer unless set.
        std::function<void(const std::filesystem::path& file)> reveal;
        /// A folder was dropped on the window.
        std::function<void(const std::filesystem::path& folder)> openFolder;
        /// The user wants to record something else; without it there is no such button.
        std::function<void()> newRecording;
        /// Keeps the machine awake for as long as the result lives: asked for when an export begins.
        std::function<std::shared_ptr<void>()> keepAwake;
        /// The window has closed, and everything is saved.
        std::function<void()> closed;
        /// Seconds of any clock that never runs backward; the host clock unless set.
        std::function<double()> clock;
    };

    /// Opens a recording folder; `show` shows the window. The loop outlives the window. Throws `RecorderError`.
    EditorWindow(const std::filesystem::path& folder, MainLoop& loop, Options options);
    /// Closes it, where it is still open.
    ~EditorWindow() override;

    const std::filesystem::path& folder() const { return session_->composition()->folder(); }
    EditSession& session() { return *session_; }
    Transport& transport() { return *transport_; }
    EditorControls& controls() { return *controls_; }
    bool isRendering() const { return exportJob_ != nullptr; }

    /// Whether the window may close: not while an export runs, until that is asked for a second time. The status then
    /// says so.
    bool mayClose();
    /// Cancels an export, waits for its end, and saves. Touches no widget: for the end of a program whose windows are
    /// gone.
    void endWork();

    /// Makes the window smaller than it usually may be, as far as its contents go, where a screen has no more room than
    /// this, in points. The preview gives way.
    void fitInto(QSize room);

  protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Sees the keys before the control that has the keyboard does.
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

    // What a command said about itself: it goes when the user does something else.
    bool isRunningCommand_ = false;
    std::string hint_;
};

}  // namespace lumivastor::editor

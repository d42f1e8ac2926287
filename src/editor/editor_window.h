// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/main_loop.h"
#include "editor/editor_controls.h"
#include "editor/export_tools.h"
#include "editor/exports/export_queue.h"
#include "editor/exports/film_preparer.h"
#include "editor/key_page.h"
#include "editor/look_tools.h"
#include "editor/menu_bar.h"
#include "editor/overview_tools.h"
#include "editor/preview/studio_preview.h"
#include "editor/preview_tools.h"
#include "editor/session/edit_session.h"
#include "editor/session/shuttle.h"
#include "editor/session/transport.h"
#include "editor/timeline_tools.h"
#include "playback/player.h"

namespace lumivastor::editor {

/// The editor's window for one recording. It connects the widgets of `EditorControls` with `EditSession`, `Transport`
/// and `ExportTools`, which decide what happens. Main thread.
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
        /// Makes the overview of the recording; if null, the window makes it without a cache.
        std::shared_ptr<render::OverviewMaker> overviews;
        /// Runs the exports. If null, the window makes a queue, whose exports end with the window.
        std::shared_ptr<ExportQueue> exports;
        /// Prepares the film while nobody works; if null, nobody does, and there is no such command.
        std::shared_ptr<FilmPreparer> preparer;
        /// The user wants to see the list of exports; if empty, there is no such command.
        std::function<void()> showExports;
        /// The folder that the dialog of an export began with last, and the next one.
        ExportTools::FolderMemory exportFolder;
        /// The folder of saved looks; if empty, there are none.
        std::filesystem::path looks;
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
    PreviewTools& previewTools() { return *previewTools_; }
    Shuttle& shuttle() { return *shuttle_; }
    const CommandActions& commandActions() const { return commands_; }
    OverviewTools& overviewTools() { return *overviewTools_; }
    ExportTools& exportTools() { return *exportTools_; }
    bool isRendering() const { return exportTools_->isRendering(); }

    /// "Video rendern".
    void render() { renderMovie(); }

    /// Shows the dialog "Leerlauf kürzen".
    void showIdleProposals();

    /// Saves. Exports go on where others have their queue, and are cancelled and awaited where not. Uses no widget,
    /// because at the end of a program the windows may be gone.
    void endWork();

    /// On a screen with no more space than `room`, in points, makes the window smaller than its usual minimum. The
    /// preview shrinks; where type is too large for that, everything beside the column of settings scrolls.
    void fitInto(QSize room);

  protected:
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    /// Handles keys before the focused control does.
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void openSession(const std::filesystem::path& folder);
    void build();
    EditorActions actions();
    CommandActions commands(const EditorActions& actions);
    void report(const std::string& sentence);
    void setUpPlayer();
    void setUpOverview();
    void setUpPreparation();
    void refresh();
    EditorTools::Content toolContent(const edit::EditState& state, double zoomScale) const;
    void refreshTransport();
    void refreshPlayer();

    void refreshMenus();
    void refreshShuttle();

    bool handleKey(const QKeyEvent& press, const QWidget& receiver);
    bool handlePreviewKey(const std::string& key);
    bool pressFocusedControl(const std::string& key);
    bool leaveMode();
    bool placeMask();
    void togglePlayback();
    void markCut();
    void goTo(std::optional<double> seconds);
    void deleteSelected();
    void setFullScreen(bool isFull);
    void showKeys();
    void setMaskDrawing(bool drawing);
    void finishMask(const Rect& viewRect);
    void addZoom();
    void showSelectedZoom();
    void renderMovie();
    void setStatus(const std::string& text) { controls_->renderBar.setStatus(text); }
    void runCommand(const std::function<void()>& command);
    void withdrawHint();
    void shutDown();

    MainLoop& loop_;
    const Options options_;
    std::unique_ptr<EditSession> session_;
    std::unique_ptr<StudioPreview> preview_;
    render::RecordingAssets assets_;
    std::unique_ptr<Transport> transport_;
    std::unique_ptr<EditorControls> controls_;
    std::unique_ptr<TimelineTools> timelineTools_;
    std::unique_ptr<PreviewTools> previewTools_;
    std::unique_ptr<Shuttle> shuttle_;
    std::unique_ptr<LookTools> lookTools_;
    std::string lookFault_;  // why a new recording does not have the standard look
    CommandActions commands_;
    std::optional<MenuBar> menus_;
    CommandState commandState_;  // that the menus show
    bool hasLooks_ = false;      // when a menu was opened last
    QPointer<KeyPage> keyPage_;
    std::shared_ptr<const edit::EditState> shownState_;
    std::unique_ptr<playback::Player> player_;
    std::unique_ptr<OverviewTools> overviewTools_;

    std::unique_ptr<ExportTools> exportTools_;
    std::unique_ptr<FilmPreparer::Watch> preparation_;  // if there is a preparer
    bool closed_ = false;

    // The status that a command has set. The next command removes it.
    bool isRunningCommand_ = false;
    std::string hint_;
};

}  // namespace lumivastor::editor

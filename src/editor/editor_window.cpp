// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QLayout>
#include <QMenuBar>
#include <QMimeData>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <future>
#include <utility>

#include "base/host_clock.h"
#include "base/interval.h"
#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "editor/preview/small_stand_ins.h"
#include "editor/session/frame_time.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "ui/accessible.h"
#include "ui/file_viewer.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr int kWidth = 1320;
constexpr int kMinimumWidth = 1180;
constexpr int kMinimumHeight = 800;
constexpr int kMinimumHeightWithWebcam = 930;
// The window opens this much higher than it has to be.
constexpr int kAir = 20;

std::filesystem::path droppedFolder(const QMimeData& data) {
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) return url.toLocalFile().toStdString();
    }
    return {};
}

}  // namespace

EditorWindow::EditorWindow(const std::filesystem::path& folder, MainLoop& loop, Options options)
    : loop_(loop), options_([&options] {
          if (!options.clock) options.clock = hostClockSeconds;
          if (!options.reveal) options.reveal = ui::revealInFileViewer;
          return std::move(options);
      }()) {
    openSession(folder);
    build();
    setUpPlayer();
    setUpOverview();
    setUpPreparation();
    refresh();
    refreshTransport();
    if (!lookFault_.empty()) setStatus(lookFault_);
    qApp->installEventFilter(this);
}

EditorWindow::~EditorWindow() {
    shutDown();
}

void EditorWindow::openSession(const std::filesystem::path& folder) {
    EditSession::Options options;
    options.clock = options_.clock;
    options.changed = [this] { refresh(); };
    options.status = [this](const std::string& text) { report(text); };
    options.beep = [] { QApplication::beep(); };
    // Only a new recording needs the look, and is worth a word if it is damaged.
    std::error_code ignored;
    if (!std::filesystem::exists(std::filesystem::symlink_status(model::ProjectSettings::fileURL(folder), ignored))) {
        try {
            options.newLook = model::LookFolder(options_.looks).load(model::LookFolder::kStandard);
        } catch (const RecorderError& error) {
            lookFault_ = error.message();
            Log::write("Editor", lookFault_);
        }
    }
    // Both take a tenth of a second or two for hours of recording.
    auto screen = std::async(std::launch::async, [folder] { return render::openScreenAsset(folder); });
    session_ = std::make_unique<EditSession>(folder, loop_, std::move(options));

    const std::shared_ptr<const edit::Composition> composition = session_->composition();
    const model::CaptureInfo& info = composition->info();
    assets_ = render::openRecordingAssets(composition->recording(), screen.get());
    preview_ = std::make_unique<StudioPreview>(composition, assets_);

    PlayerControls player;
    player.play = [this] { player_->play(); };
    player.pause = [this] {
        player_->pause();
        return player_->currentTime();
    };
    player.seek = [this](double seconds, std::function<void()> completion) {
        player_->seek(seconds, [completion = std::move(completion)](bool) { completion(); });
    };
    transport_ = std::make_unique<Transport>(
        std::move(player), Transport::Options{info.duration, info.fps, [this] { refreshTransport(); }});
}

void EditorWindow::build() {
    const std::filesystem::path name =
        folder().has_filename() ? folder().filename() : folder().parent_path().filename();
    setWindowTitle("LumiVastor – " + QString::fromStdString(name.string()));
    setProperty("role", "window");
    ui::makeWindow(*this);
    setAttribute(Qt::WA_StyledBackground);
    setAcceptDrops(true);
    // The window itself has the focus until the user presses the tabulator key.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    setStyleSheet(ui::theme::styleSheet(font()));
    const model::CaptureInfo& info = session_->info();
    const EditorActions controlActions = actions();
    controls_ = std::make_unique<EditorControls>(
        *this,
        EditorControls::Recording{
            info.duration, info.fps, {session_->hasWebcam(), info.knowsPositions(), labels::pointerNote(info)}},
        controlActions);
    controls_->previewView->setCanvas(StudioPreview::kCanvas);
    controls_->maskDrawView->isReady = [this] { return !controls_->previewView->isStandIn(); };
    controls_->maskDrawView->onFinish = [this](const Rect& rect) { finishMask(rect); };
    timelineTools_ = std::make_unique<TimelineTools>(
        *session_, controls_->transportBar.strip(),
        TimelineTools::Callbacks{[this](const std::function<void()>& command) { runCommand(command); },
                                 [this] { showSelectedZoom(); }, [this] { refresh(); },
                                 [this] { return std::get<double>(controls_->settingsColumn.values()[kZoomSlider]); }});
    previewTools_ = std::make_unique<PreviewTools>(*session_, *transport_, *controls_->previewView,
                                                   *controls_->previewHandlesView, [this] {
                                                       refreshPlayer();
                                                       refreshMenus();
                                                   });
    shuttle_ = std::make_unique<Shuttle>(
        *transport_, loop_,
        Shuttle::Options{options_.clock, [this] { return preview_->playedRanges(); }, [this] { refreshShuttle(); }});
    lookTools_ = std::make_unique<LookTools>(
        *this, *session_, model::LookFolder(options_.looks),
        LookTools::Callbacks{[this](const std::function<void()>& command) { runCommand(command); },
                             [this](const std::string& sentence) { report(sentence); }});
    exportTools_ = std::make_unique<ExportTools>(
        *this, *session_, controls_->renderBar,
        options_.exports ? options_.exports
                         : std::make_shared<ExportQueue>(loop_, ExportQueue::Options{.clock = options_.clock}),
        ExportTools::Callbacks{[this](const std::string& text) { setStatus(text); }, [this] { refreshMenus(); },
                               options_.exportFolder});
    commands_ = commands(controlActions);
    menus_.emplace(commands_,
                   CommandSubmenus{{Command::applyLook, [this](QMenu& menu) { lookTools_->fillMenu(menu); }}});
    // Other editors save and delete looks, too.
    menus_->onOpen = [this] {
        hasLooks_ = lookTools_->hasLooks();
        refreshMenus();
    };
    hasLooks_ = lookTools_->hasLooks();
    layout()->setMenuBar(menus_->bar());

    // The sizes of the widgets are only known after the style sheet has set their fonts.
    for (QWidget* each : findChildren<QWidget*>()) {
        each->ensurePolished();
        each->updateGeometry();
    }
    controls_->settingsColumn.fitWidth();
    const int height = session_->hasWebcam() ? kMinimumHeightWithWebcam : kMinimumHeight;
    // Larger type needs more.
    const auto sized = [this](int width, int least) {
        const QSize needed = controls_->sizeFor(width);
        return QSize(std::max(width, needed.width()),
                     std::max(least, needed.height() + menus_->bar()->sizeHint().height()));
    };
    setMinimumSize(sized(kMinimumWidth, height));
    resize(sized(std::max(kWidth, controls_->wideEnough()), height + kAir).expandedTo(minimumSize()));
}

void EditorWindow::fitInto(QSize room) {
    // What has no room is scrolled.
    setMinimumSize(minimumSize().boundedTo(room.expandedTo(layout()->totalMinimumSize())));
    resize(size().boundedTo(room.expandedTo(minimumSize())));
}

EditorActions EditorWindow::actions() {
    EditorActions actions;
    const auto atPlayhead = [this](void (EditSession::*command)(double)) {
        return [this, command] { runCommand([&] { (session_.get()->*command)(transport_->playhead()); }); };
    };
    const auto plain = [this](void (EditSession::*command)()) {
        return [this, command] { runCommand([&] { (session_.get()->*command)(); }); };
    };
    actions.togglePlayback = [this] { runCommand([this] { togglePlayback(); }); };
    actions.step = [this](double seconds) { runCommand([&] { transport_->step(seconds); }); };
    actions.scrub = [this](double seconds) { runCommand([&] { transport_->scrub(seconds); }); };
    actions.setTrimStart = atPlayhead(&EditSession::setTrimStart);
    actions.setTrimEnd = atPlayhead(&EditSession::setTrimEnd);
    actions.resetTrim = plain(&EditSession::resetTrim);
    actions.markCutStart = atPlayhead(&EditSession::markCutStart);
    actions.addCut = atPlayhead(&EditSession::addCut);
    actions.removeLastCut = plain(&EditSession::removeLastCut);
    actions.showIdleProposals = [this] { showIdleProposals(); };
    actions.selectZoom = [this](int index) {
        runCommand([&] {
            session_->selectZoom(index);
            showSelectedZoom();
        });
    };
    actions.showZoom = [this] { runCommand([this] { showSelectedZoom(); }); };
    actions.addZoom = [this] { runCommand([this] { addZoom(); }); };
    actions.deleteZoom = plain(&EditSession::deleteSelectedZoom);
    actions.resetZooms = plain(&EditSession::resetZoomsToAuto);
    actions.setZoomScale = [this](double scale) {
        ControlValues values = controls_->settingsColumn.values();
        values[kZoomSlider] = scale;
        runCommand([&] { session_->applyControls(values); });
    };
    actions.toggleMaskDrawing = [this] {
        runCommand([this] { setMaskDrawing(!controls_->maskDrawView->isDrawing()); });
    };
    actions.removeLastMask = plain(&EditSession::removeLastMask);
    actions.removeAllMasks = plain(&EditSession::removeAllMasks);
    actions.applyControls = [this](const ControlValues& values) {
        runCommand([&] { session_->applyControls(values); });
    };
    actions.render = [this] { renderMovie(); };
    actions.cancelRender = [this] { exportTools_->cancel(); };
    actions.reveal = [this] { options_.reveal(exportTools_->film()); };
    actions.newRecording = options_.newRecording;
    return actions;
}

void EditorWindow::runCommand(const std::function<void()>& command) {
    withdrawHint();
    isRunningCommand_ = true;
    command();
    isRunningCommand_ = false;
}

void EditorWindow::report(const std::string& sentence) {
    if (!controls_) {
        lookFault_ = sentence;  // the session opens before the widgets are made
        return;
    }
    setStatus(sentence);
    if (isRunningCommand_) hint_ = sentence;
}

void EditorWindow::withdrawHint() {
    const std::string hint = std::exchange(hint_, {});
    if (!hint.empty() && controls_->renderBar.status() == hint) setStatus({});
}

void EditorWindow::setUpPlayer() {
    player_ =
        std::make_unique<playback::Player>(loop_, options_.makeSoundOutput ? options_.makeSoundOutput() : nullptr);
    player_->onFrame([this](const playback::Player::Frame& frame, double, playback::Player::FrameKind kind) {
        const bool isExact = kind == playback::Player::FrameKind::exact;
        controls_->previewView->setFrame(frame, isExact);
        if (!isExact) transport_->standInShown();
    });
    player_->onTimeChanged([this](double seconds) { transport_->timePassed(seconds); });
    player_->onPlayedToEnd([this] { transport_->ended(player_->currentTime()); });
    player_->onError([this](const RecorderError& error) {
        Log::write("Editor", "Vorschau: " + error.message());
        setStatus(error.message());
    });
    controls_->previewView->onResize = [this](PixelSize size) { player_->setOutputSize(size.width, size.height); };

    const PixelSize size = controls_->previewView->pixelSize();
    player_->setOutputSize(std::max(size.width, 1), std::max(size.height, 1));
    player_->setItem(preview_->item());
}

void EditorWindow::setUpOverview() {
    OverviewTools::Callbacks callbacks;
    callbacks.arrived = [this](std::shared_ptr<const render::RecordingOverview> overview) {
        player_->setSmallStandIns(smallStandIns(overview));
        controls_->transportBar.strip().setOverview(std::move(overview));
    };
    callbacks.run = [this](const std::function<void()>& command) { runCommand(command); };
    callbacks.playFrom = [this](double seconds) {
        runCommand([&] {
            transport_->jump(seconds);
            if (!transport_->isPlaying()) transport_->toggle();
        });
    };
    overviewTools_ =
        std::make_unique<OverviewTools>(*this, *session_, loop_, options_.overviews, assets_, std::move(callbacks));
}

void EditorWindow::setUpPreparation() {
    if (!options_.preparer) return;
    FilmPreparer::Editor editor;
    editor.composition = [this] { return session_->composition(); };
    editor.isBusy = [this] { return transport_->isPlaying() || shuttle_->isRunning() || session_->isDragging(); };
    editor.show = [this](double part) { controls_->renderBar.setPrepared(part); };
    preparation_ = options_.preparer->watch(std::move(editor));
}

void EditorWindow::showIdleProposals() {
    overviewTools_->showIdleProposals();
}

void EditorWindow::refresh() {
    const auto state = session_->composition()->state();
    const ControlValues values = session_->controls();
    controls_->settingsColumn.setValues(values);
    controls_->tools.setContent(toolContent(*state, std::get<double>(values[kZoomSlider])));
    controls_->transportBar.setLength(labels::videoLength(state->outputDuration));
    controls_->transportBar.strip().setContent(state, session_->pendingCutStart(), session_->selectedZoom());
    previewTools_->refresh();
    if (state != shownState_) {
        shownState_ = state;
        refreshPlayer();
        if (preparation_) preparation_->edited();
    }
    exportTools_->refresh();
    refreshMenus();
    overviewTools_->refresh();
}

EditorTools::Content EditorWindow::toolContent(const edit::EditState& state, double zoomScale) const {
    EditorTools::Content content;
    content.trim = labels::trim(state.trim, session_->info().fps);
    content.cuts = labels::cuts(state.settings.cuts, session_->pendingCutStart());
    content.zoomMode = labels::zoomMode(session_->hasManualZooms());
    content.masks = labels::masks(state.settings.masks.size(), controls_->maskDrawView->isDrawing());
    for (const model::ZoomSpec& zoom : state.zoomSpecs) {
        content.zooms.push_back(labels::zoomItem(static_cast<int>(content.zooms.size()) + 1, zoom));
    }
    content.selectedZoom = session_->selectedZoom();
    content.zoomScale = zoomScale;
    return content;
}

void EditorWindow::refreshPlayer() {
    const std::vector<Interval>& kept = shownState_->keptSegments;
    transport_->setPlayed(shownState_->trim, kept.empty() ? shownState_->trim.start : kept.back().end);
    preview_->setComposition(previewTools_->composition());
    player_->setPlayedRanges(preview_->playedRanges());
    player_->setAudioMix(preview_->audioMix());
    player_->setWebcamShift(preview_->webcamShift());
    // While playing, the player requests frames anyway; only a still frame must be composed again.
    if (transport_->isPlaying()) return;
    player_->setVideoCompositor(preview_->compositor());
}

void EditorWindow::refreshTransport() {
    controls_->transportBar.setPlayhead(transport_->playhead());
    controls_->transportBar.setPlaying(shuttle_->rate() != 0);
    previewTools_->refresh();
    refreshMenus();
    if (preparation_) preparation_->touched();
}

void EditorWindow::addZoom() {
    session_->addZoom(transport_->playhead(), std::get<double>(controls_->settingsColumn.values()[kZoomSlider]));
    showSelectedZoom();
}

void EditorWindow::showSelectedZoom() {
    if (const auto moment = session_->selectedZoomMoment()) transport_->jump(*moment);
}

void EditorWindow::setMaskDrawing(bool drawing) {
    if (drawing) {
        transport_->pause();
        // The rectangle is drawn on the picture as the video shows it.
        previewTools_->clearSelection();
    }
    controls_->setMaskDrawing(drawing);
    refresh();
}

void EditorWindow::finishMask(const Rect& viewRect) {
    const Rect onCanvas = canvasRect(viewRect, controls_->previewView->shownRect(),
                                     {session_->composition()->canvasWidth(), session_->composition()->canvasHeight()});
    session_->addMask(onCanvas, transport_->playhead());
    setMaskDrawing(false);
}

void EditorWindow::renderMovie() {
    if (!exportTools_->mayRender()) return;
    transport_->pause();
    exportTools_->render();
}

void EditorWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (options_.openFolder && !droppedFolder(*event->mimeData()).empty()) event->acceptProposedAction();
}

void EditorWindow::dropEvent(QDropEvent* event) {
    const std::filesystem::path folder = droppedFolder(*event->mimeData());
    if (folder.empty() || !options_.openFolder) return;
    event->acceptProposedAction();
    // Not from within the drag: opening may show a message.
    loop_.async([open = options_.openFolder, folder] { open(folder); });
}

void EditorWindow::endWork() {
    exportTools_->end();
    session_->saveNow();
}

void EditorWindow::closeEvent(QCloseEvent* event) {
    shutDown();
    event->accept();
    if (options_.closed) options_.closed();
}

void EditorWindow::shutDown() {
    if (std::exchange(closed_, true)) return;
    qApp->removeEventFilter(this);
    overviewTools_->end();
    shuttle_->stop();
    preparation_.reset();
    endWork();
}

}  // namespace lumivastor::editor

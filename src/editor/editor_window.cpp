// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/editor_window.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QUrl>
#include <algorithm>
#include <cmath>
#include <utility>

#include "base/host_clock.h"
#include "base/interval.h"
#include "base/log.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "editor/session/frame_time.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
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

bool isText(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) != nullptr || qobject_cast<const QTextEdit*>(widget) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(widget) != nullptr;
}

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
    refresh();
    refreshTransport();
    qApp->installEventFilter(this);
}

EditorWindow::~EditorWindow() {
    shutDown();
}

void EditorWindow::openSession(const std::filesystem::path& folder) {
    EditSession::Options options;
    options.clock = options_.clock;
    options.changed = [this] { refresh(); };
    options.status = [this](const std::string& text) {
        setStatus(text);
        if (isRunningCommand_) hint_ = text;
    };
    options.beep = [] { QApplication::beep(); };
    session_ = std::make_unique<EditSession>(folder, loop_, std::move(options));

    const std::shared_ptr<const edit::Composition> composition = session_->composition();
    const model::CaptureInfo& info = composition->info();
    preview_ = std::make_unique<StudioPreview>(composition, render::openRecordingAssets(composition->recording()));

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
    setAttribute(Qt::WA_StyledBackground);
    setAcceptDrops(true);
    // The window itself has the focus until the user presses the tabulator key.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
    setStyleSheet(ui::theme::styleSheet(font()));
    const model::CaptureInfo& info = session_->info();
    controls_ = std::make_unique<EditorControls>(
        *this, EditorControls::Recording{info.duration, info.fps, session_->hasWebcam()}, actions());
    controls_->previewView->setCanvas(StudioPreview::kCanvas);
    controls_->maskDrawView->onFinish = [this](const Rect& rect) { finishMask(rect); };

    // The sizes of the widgets are only known after the style sheet has set their fonts.
    for (QWidget* each : findChildren<QWidget*>()) {
        each->ensurePolished();
        each->updateGeometry();
    }
    const int height = session_->hasWebcam() ? kMinimumHeightWithWebcam : kMinimumHeight;
    // Larger type needs a larger minimum.
    const QSize least = layout()->minimumSize().expandedTo({kMinimumWidth, height});
    setMinimumSize(least);
    resize(least.expandedTo({kWidth, height + kAir}));
}

void EditorWindow::fitInto(QSize room) {
    const QSize contents = layout()->minimumSize();
    setMinimumSize(minimumSize().boundedTo(room.expandedTo(contents)));
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
    actions.togglePlayback = [this] { runCommand([this] { transport_->toggle(); }); };
    actions.step = [this](double seconds) { runCommand([&] { transport_->step(seconds); }); };
    actions.scrub = [this](double seconds) { runCommand([&] { transport_->scrub(seconds); }); };
    actions.setTrimStart = atPlayhead(&EditSession::setTrimStart);
    actions.setTrimEnd = atPlayhead(&EditSession::setTrimEnd);
    actions.resetTrim = plain(&EditSession::resetTrim);
    actions.markCutStart = atPlayhead(&EditSession::markCutStart);
    actions.addCut = atPlayhead(&EditSession::addCut);
    actions.removeLastCut = plain(&EditSession::removeLastCut);
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
    actions.cancelRender = [this] {
        if (exportJob_) exportJob_->cancel();
    };
    actions.reveal = [this] { options_.reveal(lastRenderURL_); };
    actions.newRecording = options_.newRecording;
    return actions;
}

void EditorWindow::runCommand(const std::function<void()>& command) {
    withdrawHint();
    isRunningCommand_ = true;
    command();
    isRunningCommand_ = false;
}

void EditorWindow::withdrawHint() {
    const std::string hint = std::exchange(hint_, {});
    if (!hint.empty() && controls_->renderBar.status() == hint) setStatus({});
}

void EditorWindow::setUpPlayer() {
    player_ =
        std::make_unique<playback::Player>(loop_, options_.makeSoundOutput ? options_.makeSoundOutput() : nullptr);
    player_->onFrame([this](const playback::Player::Frame& frame, double) { controls_->previewView->setFrame(frame); });
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

void EditorWindow::refresh() {
    const auto state = session_->composition()->state();
    const ControlValues values = session_->controls();
    controls_->settingsColumn.setValues(values);
    controls_->tools.setContent(toolContent(*state, std::get<double>(values[kZoomSlider])));
    controls_->transportBar.setLength(labels::videoLength(state->outputDuration));
    controls_->transportBar.strip().setContent(state, session_->pendingCutStart(), session_->selectedZoom());
    if (state != shownState_) {
        shownState_ = state;
        refreshPlayer();
    }
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
    preview_->setComposition(session_->composition());
    player_->setPlayedRanges(preview_->playedRanges());
    player_->setAudioMix(preview_->audioMix());
    // While playing, the player requests frames anyway; only a still frame must be composed again.
    if (transport_->isPlaying()) return;
    player_->setVideoCompositor(preview_->compositor());
}

void EditorWindow::refreshTransport() {
    controls_->transportBar.setPlayhead(transport_->playhead());
    controls_->transportBar.setPlaying(transport_->isPlaying());
}

void EditorWindow::addZoom() {
    session_->addZoom(transport_->playhead(), std::get<double>(controls_->settingsColumn.values()[kZoomSlider]));
    showSelectedZoom();
}

void EditorWindow::showSelectedZoom() {
    if (const auto moment = session_->selectedZoomMoment()) transport_->jump(*moment);
}

void EditorWindow::setMaskDrawing(bool drawing) {
    if (drawing) transport_->pause();
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
    if (exportJob_) return;
    transport_->pause();
    controls_->renderBar.setRevealable(false);
    session_->saveNow();
    ExportJob::Callbacks callbacks;
    callbacks.progress = [this](double fraction) {
        controls_->renderBar.setProgress(fraction);
        if (exportJob_->wasCancelled() || closing_.stands(options_.clock())) return;
        setStatus(labels::rendering(exportJob_->width(), exportJob_->height(),
                                    remaining_->update(fraction, options_.clock())));
    };
    callbacks.completion = [this](const render::RenderOutcome& outcome) { renderCompleted(outcome); };
    try {
        exportJob_ =
            std::make_unique<ExportJob>(*session_->composition(), session_->settings(), loop_, std::move(callbacks));
    } catch (const RecorderError& error) {
        setStatus("Export fehlgeschlagen: " + error.message());
        return;
    }
    remaining_.emplace(options_.clock());
    closing_.forget();
    if (options_.keepAwake) awake_ = options_.keepAwake();
    controls_->renderBar.setRendering(true);
    setStatus(labels::rendering(exportJob_->width(), exportJob_->height()));
}

void EditorWindow::renderCompleted(const render::RenderOutcome& outcome) {
    const bool cancelled = exportJob_->wasCancelled();
    exportJob_.reset();
    awake_.reset();
    controls_->renderBar.setRendering(false);
    if (const auto* result = std::get_if<render::RenderResult>(&outcome)) {
        lastRenderURL_ = result->url;
        controls_->renderBar.setRevealable(true);
        setStatus(labels::rendered(result->seconds, result->zoomCount, result->url.filename().string()));
        return;
    }
    const std::string message = std::get<RecorderError>(outcome).message();
    if (cancelled) {
        setStatus("Rendern abgebrochen.");
        return;
    }
    Log::write("Editor", "Render-Fehler: " + message);
    setStatus("Fehlgeschlagen: " + message);
}

bool EditorWindow::eventFilter(QObject* object, QEvent* event) {
    if (event->type() != QEvent::KeyPress || closed_) return false;
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr || widget->window() != this || isText(QApplication::focusWidget())) return false;
    const auto* press = static_cast<QKeyEvent*>(event);
    return handleKey(press->key(), press->modifiers() & ~Qt::KeypadModifier, press->isAutoRepeat());
}

bool EditorWindow::handleKey(int key, Qt::KeyboardModifiers modifiers, bool isRepeated) {
    const bool shift = modifiers == Qt::ShiftModifier;
    const double step = shift ? 1.0 : frameLength(session_->info().fps);
    const bool plain = modifiers == Qt::NoModifier;
    switch (key) {
        case Qt::Key_Space:
            if (!plain) return false;
            if (!isRepeated) runCommand([this] { transport_->toggle(); });
            return true;
        case Qt::Key_Escape:
            if (!controls_->maskDrawView->isDrawing()) return false;
            setMaskDrawing(false);
            return true;
        case Qt::Key_Left:
        case Qt::Key_Right:
            if (!plain && !shift) return false;
            runCommand([&] { transport_->step(key == Qt::Key_Left ? -step : step); });
            return true;
        case Qt::Key_Z:
            if (modifiers == Qt::ControlModifier) {
                runCommand([this] { session_->undo(); });
            } else if (modifiers == (Qt::ControlModifier | Qt::ShiftModifier)) {
                runCommand([this] { session_->redo(); });
            } else {
                return false;
            }
            return true;
        case Qt::Key_W:
            if (modifiers != Qt::ControlModifier) return false;
            // A key that is held down counts once.
            if (!isRepeated) close();
            return true;
        case Qt::Key_N:
            if (modifiers != Qt::ControlModifier || !options_.newRecording) return false;
            options_.newRecording();
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            // The space bar plays, so the return key presses the focused button.
            if (auto* button = qobject_cast<QAbstractButton*>(focusWidget()); button != nullptr && plain) {
                button->click();
                return true;
            }
            if (auto* menu = qobject_cast<QComboBox*>(focusWidget()); menu != nullptr && plain) {
                menu->showPopup();
                return true;
            }
            return false;
        default:
            return false;
    }
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

bool EditorWindow::mayClose() {
    if (!exportJob_ || exportJob_->wasCancelled() || closing_.attempt(options_.clock())) return true;
    setStatus(kCloseWhileRendering);
    return false;
}

void EditorWindow::endWork() {
    exportJob_.reset();
    session_->saveNow();
}

void EditorWindow::closeEvent(QCloseEvent* event) {
    if (!closed_ && !mayClose()) {
        event->ignore();
        return;
    }
    shutDown();
    event->accept();
    if (options_.closed) options_.closed();
}

void EditorWindow::shutDown() {
    if (std::exchange(closed_, true)) return;
    qApp->removeEventFilter(this);
    transport_->pause();
    // Waits for a running export, so that no half-written file is left.
    endWork();
    awake_.reset();
}

}  // namespace lumivastor::editor

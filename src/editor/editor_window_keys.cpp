// SPDX-License-Identifier: GPL-3.0-or-later

// The commands of the editor's window: what menus and keys do.

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QTextEdit>

#include "editor/editor_window.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/session/frame_time.h"
#include "editor/session/jump_places.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "ui/segmented_control.h"

namespace lumivastor::editor {

namespace {

// A press of + or − shows times this much larger or smaller.
constexpr double kTimelineZoom = 1.5;
// By which an arrow with Shift moves what is selected, in source pixels.
constexpr double kLargeNudge = 10;

bool isText(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) != nullptr || qobject_cast<const QTextEdit*>(widget) != nullptr ||
           qobject_cast<const QPlainTextEdit*>(widget) != nullptr ||
           qobject_cast<const QAbstractSpinBox*>(widget) != nullptr;
}

bool usesArrows(const QWidget& widget) {
    // The arrows up and down go through segments, of which the tabulator key reaches only the selected one.
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    if (button != nullptr && button->group() != nullptr) return true;
    // They get the keys that their segments leave.
    if (dynamic_cast<const ui::SegmentedControl*>(&widget) != nullptr) return true;
    return qobject_cast<const QAbstractSlider*>(&widget) != nullptr ||
           qobject_cast<const QComboBox*>(&widget) != nullptr;
}

}  // namespace

CommandActions EditorWindow::commands(const EditorActions& actions) {
    const auto command = [this](auto run) { return [this, run] { runCommand(run); }; };
    const double frame = frameLength(session_->info().fps);
    const auto step = [&actions](double seconds) { return [step = actions.step, seconds] { step(seconds); }; };
    const auto state = [this] { return session_->composition()->state(); };
    const std::int64_t fps = session_->info().fps;

    CommandActions all = {
        {Command::render, actions.render},
        {Command::reveal, actions.reveal},
        {Command::close, [this] { close(); }},
        {Command::undo, command([this] { session_->undo(); })},
        {Command::redo, command([this] { session_->redo(); })},
        {Command::deleteSelected, command([this] { deleteSelected(); })},
        {Command::setTrimStart, actions.setTrimStart},
        {Command::setTrimEnd, actions.setTrimEnd},
        {Command::resetTrim, actions.resetTrim},
        {Command::markCut, command([this] { markCut(); })},
        {Command::removeLastCut, actions.removeLastCut},
        {Command::shortenIdle, [this] { showIdleProposals(); }},
        {Command::addZoom, actions.addZoom},
        {Command::showZoom, actions.showZoom},
        {Command::editFocus, command([this] { previewTools_->toggleFocus(); })},
        {Command::resetZooms, actions.resetZooms},
        {Command::drawMask, actions.toggleMaskDrawing},
        {Command::removeLastMask, actions.removeLastMask},
        {Command::removeAllMasks, actions.removeAllMasks},
        {Command::selectNext, command([this] { previewTools_->selectNext(); })},
        {Command::saveLook, [this] { lookTools_->save(); }},
        {Command::deleteLook, [this] { lookTools_->remove(); }},
        {Command::makeStandardLook, [this] { lookTools_->makeStandard(); }},
        {Command::takeSettings, [this] { lookTools_->takeFromRecording(); }},
        {Command::enlargeTimeline, [this] { controls_->transportBar.strip().zoomBy(kTimelineZoom); }},
        {Command::shrinkTimeline, [this] { controls_->transportBar.strip().zoomBy(1 / kTimelineZoom); }},
        {Command::showWholeTimeline, [this] { controls_->transportBar.strip().showAll(); }},
        {Command::showSelection, [this] { controls_->transportBar.strip().showSelection(); }},
        {Command::fullScreen, [this] { setFullScreen(!isFullScreen()); }},
        {Command::togglePlayback, actions.togglePlayback},
        {Command::playForward, command([this] { shuttle_->press(true); })},
        {Command::stop, command([this] { shuttle_->stop(); })},
        {Command::playBackward, command([this] { shuttle_->press(false); })},
        {Command::frameBack, step(-frame)},
        {Command::frameForward, step(frame)},
        {Command::secondBack, step(-1)},
        {Command::secondForward, step(1)},
        {Command::toStart, command([=, this] { goTo(startPlace(*state(), transport_->playhead(), fps)); })},
        {Command::toEnd,
         command([=, this] { goTo(endPlace(*state(), transport_->playhead(), transport_->duration(), fps)); })},
        {Command::toPreviousPlace, command([=, this] { goTo(previousPlace(*state(), transport_->playhead(), fps)); })},
        {Command::toNextPlace, command([=, this] { goTo(nextPlace(*state(), transport_->playhead(), fps)); })},
        {Command::exportAs, [this] { exportTools_->showDialog(); }},
        {Command::showKeys, [this] { showKeys(); }},
    };
    if (const auto preparer = options_.preparer) {
        all[Command::prepareFilms] = [this, preparer] {
            preparer->setOn(!preparer->isOn());
            refreshMenus();
        };
    }
    if (options_.showExports) all[Command::showExports] = options_.showExports;
    if (actions.newRecording) all[Command::newRecording] = actions.newRecording;
    return all;
}

void EditorWindow::togglePlayback() {
    if (shuttle_->isRunning()) {
        shuttle_->stop();
    } else {
        transport_->toggle();
    }
}

void EditorWindow::markCut() {
    if (session_->pendingCutStart()) {
        session_->addCut(transport_->playhead());
    } else {
        session_->markCutStart(transport_->playhead());
    }
}

void EditorWindow::goTo(std::optional<double> seconds) {
    if (seconds) transport_->scrub(*seconds);
}

void EditorWindow::deleteSelected() {
    if (previewTools_->selection()) {
        previewTools_->deleteSelected();
    } else {
        controls_->transportBar.strip().deleteSelection();
    }
}

void EditorWindow::setFullScreen(bool isFull) {
    setWindowState(isFull ? windowState() | Qt::WindowFullScreen : windowState() & ~Qt::WindowFullScreen);
}

// The desktop may do it, too.
void EditorWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange || !menus_) return;
    controls_->setFullScreen(isFullScreen());
    menus_->bar()->setVisible(!isFullScreen());
    refreshMenus();
}

void EditorWindow::showKeys() {
    // A page that was closed is deleted a little later.
    if (keyPage_ && keyPage_->isVisible()) {
        keyPage_->close();
        return;
    }
    keyPage_ = new KeyPage(this);
    keyPage_->show();
}

void EditorWindow::refreshMenus() {
    if (!menus_) return;
    const auto inForce = session_->composition()->state();
    const model::ProjectSettings& settings = inForce->settings;
    CommandState state;
    state.undoName = session_->history().undoName();
    state.redoName = session_->history().redoName();
    state.isRendering = !exportTools_->mayRender();
    state.hasVideo = !exportTools_->film().empty();
    const auto& selection = previewTools_->selection();
    state.hasSelection = selection || controls_->transportBar.strip().selection().kind != StripSelection::Kind::none;
    state.hasPendingCut = session_->pendingCutStart().has_value();
    state.hasCuts = !settings.cuts.empty();
    state.hasZooms = session_->selectedZoom() >= 0;
    state.hasManualZooms = settings.zooms.has_value();
    state.isEditingFocus = previewTools_->isEditingFocus();
    state.hasMasks = !settings.masks.empty();
    state.isDrawingMask = controls_->maskDrawView->isDrawing();
    state.isPlaying = shuttle_->rate() != 0;
    state.isFullScreen = isFullScreen();
    state.hasLooks = hasLooks_;
    state.preparesFilms = options_.preparer && options_.preparer->isOn();
    if (state == commandState_) return;
    commandState_ = state;
    menus_->setState(state);
}

void EditorWindow::refreshShuttle() {
    withdrawHint();
    const std::string text = labels::shuttle(shuttle_->rate());
    if (!text.empty()) {
        setStatus(text);
        hint_ = text;
    }
    refreshTransport();
}

bool EditorWindow::eventFilter(QObject* object, QEvent* event) {
    if (closed_) return false;
    const QEvent::Type type = event->type();
    // In any window of the program.
    const bool isWork = type == QEvent::MouseButtonPress || type == QEvent::KeyPress || type == QEvent::Wheel;
    if (isWork && preparation_) preparation_->touched();
    const TimelineStrip* strip = &controls_->transportBar.strip();
    // What is selected on the strip takes over from a mask or the bubble. A zoom's frame stays while the user scrubs.
    if (event->type() == QEvent::MouseButtonPress && object == strip && !previewTools_->isEditingFocus()) {
        previewTools_->clearSelection();
    }
    if (event->type() != QEvent::KeyPress) return false;
    auto* widget = qobject_cast<QWidget*>(object);
    if (widget == nullptr || widget->window() != this || isText(QApplication::focusWidget())) return false;
    // The keys of a menu that is open, and of a drag on the strip.
    if (QApplication::activePopupWidget() != nullptr || (widget == strip && session_->isDragging())) return false;
    return handleKey(*static_cast<QKeyEvent*>(event), *widget);
}

bool EditorWindow::handleKey(const QKeyEvent& press, const QWidget& receiver) {
    const std::string key = keyName(press);
    if (key == "Esc") return leaveMode();
    if ((key == "Return" || key == "Enter") && controls_->maskDrawView->isDrawing()) return placeMask();
    if (pressFocusedControl(key) || handlePreviewKey(key)) return true;
    const std::optional<Command> command = commandWithKey(key);
    const auto action = command ? commands_.find(*command) : commands_.end();
    if (action == commands_.end()) return false;
    const CommandEntry& entry = commandEntry(*command);
    if (entry.yieldsToControls && usesArrows(receiver)) return false;
    // A key that is held down counts once, unless its command is one to repeat.
    if (entry.repeats || !press.isAutoRepeat()) action->second();
    return true;
}

// Esc ends one thing at a time.
bool EditorWindow::leaveMode() {
    if (controls_->maskDrawView->isDrawing()) {
        setMaskDrawing(false);
        return true;
    }
    if (previewTools_->escape()) return true;
    if (!isFullScreen()) return false;
    setFullScreen(false);
    return true;
}

// For those who cannot draw it: a mask in the middle, which the arrow keys then move and size.
bool EditorWindow::placeMask() {
    const Rect shown = controls_->previewView->shownRect();
    const std::size_t before = session_->settings().masks.size();
    finishMask({shown.x + shown.width * 3 / 8, shown.y + shown.height * 3 / 8, shown.width / 4, shown.height / 4});
    if (session_->settings().masks.size() > before) previewTools_->choose({PreviewItem::Kind::mask, before});
    return true;
}

bool EditorWindow::handlePreviewKey(const std::string& key) {
    if (!previewTools_->selection()) return false;
    const bool isSize = key.starts_with("Ctrl+");
    std::string_view arrow = std::string_view(key).substr(isSize ? 5 : 0);
    const bool isLarge = arrow.starts_with("Shift+");
    if (isLarge) arrow.remove_prefix(6);
    const double by = isLarge ? kLargeNudge : 1;
    Point pixels;
    if (arrow == "Left") pixels.x = -by;
    if (arrow == "Right") pixels.x = by;
    if (arrow == "Up") pixels.y = -by;
    if (arrow == "Down") pixels.y = by;
    if (pixels == Point{}) return false;
    runCommand([&] { isSize ? previewTools_->resize(pixels) : previewTools_->nudge(pixels); });
    return true;
}

// The space bar plays, so the return key presses the focused button.
bool EditorWindow::pressFocusedControl(const std::string& key) {
    if (key != "Return" && key != "Enter") return false;
    if (auto* button = qobject_cast<QAbstractButton*>(focusWidget()); button != nullptr) {
        button->click();
        return true;
    }
    if (auto* menu = qobject_cast<QComboBox*>(focusWidget()); menu != nullptr) {
        menu->showPopup();
        return true;
    }
    return false;
}

}  // namespace lumivastor::editor

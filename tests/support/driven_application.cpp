// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/driven_application.h"

#include <QApplication>
#include <QPushButton>
#include <QTreeView>
#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "app/library/recording_library.h"
#include "app/windows/main_window.h"
#include "app/windows/recordings_window.h"
#include "base/recorder_error.h"
#include "editor/editor_window.h"
#include "media/reading/asset.h"
#include "support/await.h"
#include "ui/qt_main_loop.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor {

namespace {

// Until the program and the window manager have dealt with what a hand has done.
constexpr double kHandPause = 0.3;

QWidget& find(const QWidget& window, const std::string& name) {
    auto* const widget = window.findChild<QWidget*>(QString::fromStdString(name));
    if (widget == nullptr) throw std::runtime_error("no control is called " + name);
    return *widget;
}

}  // namespace

void sleepFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Windows' maps

WindowMap::WindowMap() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    application_ = std::make_unique<QApplication>(count_, words_);
    ui::theme::apply(*application_);
    window_ = std::make_unique<app::MainWindow>(app::MainWindowActions{});
    window_->setVisible(true);
    QApplication::processEvents();
}

WindowMap::~WindowMap() = default;

QPoint WindowMap::control(const std::string& name) const {
    const QWidget& widget = find(*window_, name);
    return widget.mapTo(window_.get(), QPoint(12, widget.height() / 2));
}

QPoint WindowMap::segment(app::SourceType type) const {
    const auto& control = static_cast<ui::SegmentedControl&>(find(*window_, "sourceTypeControl"));
    const QWidget* const segment = control.segment(static_cast<int>(type));
    return segment->mapTo(window_.get(), segment->rect().center());
}

QPoint WindowMap::noticeButton(const std::string& text, const std::string& action) {
    app::MainWindowState state;
    state.notices[app::NoticeKind::interrupted] = {text, action};
    window_->show(state);
    QApplication::processEvents();
    const QWidget& button = find(*window_, "noticeButton");
    const QPoint place = button.mapTo(window_.get(), button.rect().center());
    window_->show(app::MainWindowState{});
    QApplication::processEvents();
    return place;
}

editor::EditorWindow& WindowMap::editor(const std::filesystem::path& recording, QSize size) {
    if (edited_ != recording) {
        editor_.reset();
        copy_ = std::make_unique<TemporaryFolder>();
        std::filesystem::copy(recording, copy_->path(), std::filesystem::copy_options::recursive);
        if (!loop_) loop_ = std::make_unique<ui::QtMainLoop>();
        editor_ = std::make_unique<editor::EditorWindow>(copy_->path(), *loop_, editor::EditorWindow::Options{});
        editor_->show();
        edited_ = recording;
    }
    // As a small screen does it.
    editor_->fitInto(size);
    editor_->resize(size);
    QApplication::processEvents();
    return *editor_;
}

// Reads the folder and writes nothing into it.
template <typename Place>
QPoint WindowMap::inRecordings(const std::filesystem::path& root, QSize size, Place place) {
    if (!loop_) loop_ = std::make_unique<ui::QtMainLoop>();
    app::RecordingLibrary library(*loop_, {.root = root});
    app::RecordingsWindow window(library, {});
    window.orderFront();
    window.resize(size);
    await(
        kPatience, [&] { return library.isRead(); }, [] { QApplication::processEvents(QEventLoop::AllEvents, 1); });
    QApplication::processEvents();
    return place(window);
}

QPoint WindowMap::recordingsControl(const std::filesystem::path& root, QSize size, const std::string& name) {
    return inRecordings(root, size, [&](app::RecordingsWindow& window) {
        const QWidget& widget = find(window, name);
        return widget.mapTo(&window, widget.rect().center());
    });
}

QPoint WindowMap::recordingsRow(const std::filesystem::path& root, QSize size, const std::string& recording) {
    return inRecordings(root, size, [&](app::RecordingsWindow& window) {
        const auto& list = static_cast<const QTreeView&>(find(window, "recordingsList"));
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            const QModelIndex index = list.model()->index(row, 0);
            if (index.data().toString().toStdString() != recording) continue;
            return list.viewport()->mapTo(&window, list.visualRect(index).center());
        }
        throw std::runtime_error("no recording is called " + recording);
    });
}

QPoint WindowMap::editorControl(const std::filesystem::path& recording, QSize size, const std::string& name,
                                QPointF place) {
    editor::EditorWindow& window = editor(recording, size);
    const QWidget& widget = find(window, name);
    const double inset = dynamic_cast<const ui::ValueSlider*>(&widget) != nullptr ? ui::ValueSlider::kHandleInset : 0;
    const QPointF at(inset + (widget.width() - 2 * inset) * place.x(), widget.height() * place.y());
    return widget.mapTo(&window, at).toPoint();
}

// The program

DrivenApplication::DrivenApplication(DesktopRig& desktop, WindowMap& map, Options options)
    : options_(std::move(options)), desktop_(desktop), map_(map) {}

DrivenApplication::~DrivenApplication() = default;

std::map<std::string, std::string> DrivenApplication::environment() const {
    std::map<std::string, std::string> variables = {
        {"DISPLAY", desktop_.displayName()},
        {"HOME", home_.path().string()},
        {"XDG_RUNTIME_DIR", (home_ / "run").string()},
        {"XDG_CONFIG_HOME", ""},
        {"PULSE_SERVER", options_.pulseServer},
        {"PIPEWIRE_REMOTE", (home_ / "none").string()},
        {"LUMIVASTOR_TEST_CAMERA", "testsrc2=size={size}:rate=30"},
        {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
        {"WAYLAND_DISPLAY", ""},
        {"QT_QPA_PLATFORM", ""},
    };
    for (const auto& [name, value] : options_.environment) variables[name] = value;
    return variables;
}

bool DrivenApplication::start(const std::vector<std::string>& switches) {
    // Ends with this process also when that is killed.
    std::vector<std::string> words = {"setpriv", "--pdeathsig", "KILL", LUMI_PROGRAM};
    words.insert(words.end(), switches.begin(), switches.end());
    program_ = std::make_unique<ProgramRun>(words, environment());
    if (!waitForWindow(kMainTitle)) return false;
    // Until the sources are listed and the window manager has placed and focused the window.
    sleepFor(1.5);
    return true;
}

std::optional<ShownWindow> DrivenApplication::shown(const std::string& title) const {
    return shownWindow(desktop_.displayName(), title);
}

bool DrivenApplication::waitForWindow(const std::string& title) const {
    return await([&] { return isShown(title) || !program_->isRunning(); }) && isShown(title);
}

bool DrivenApplication::waitForNoWindow(const std::string& title) const {
    return await([&] { return !isShown(title); });
}

bool DrivenApplication::moveTo(const std::string& title, QPoint at) {
    const auto window = shown(title);
    if (!window) return false;
    pointer_.moveTo(window->x + at.x() * options_.scale, window->y + at.y() * options_.scale);
    return true;
}

bool DrivenApplication::clickAt(const std::string& title, QPoint at) {
    if (!moveTo(title, at)) return false;
    pointer_.click(1);
    sleepFor(kHandPause);
    return true;
}

bool DrivenApplication::drag(const std::string& title, QPoint from, QPoint to) {
    if (!moveTo(title, from)) return false;
    pointer_.press(1);
    constexpr int kSteps = 10;
    bool isThere = true;
    for (int i = 1; i <= kSteps && isThere; ++i) {
        isThere = moveTo(title, from + (to - from) * i / kSteps);
        sleepFor(0.02);
    }
    pointer_.release(1);
    sleepFor(kHandPause);
    return isThere;
}

bool DrivenApplication::waitUntilRecording() {
    if (!waitForWindow(kPanelTitle)) return false;
    if (!await([this] { return home_.isRecording(); })) return false;
    sleepFor(1.5);
    return true;
}

bool DrivenApplication::clickPanelStop() {
    const auto panel = shown(kPanelTitle);
    if (!panel) return false;
    constexpr int kFromRight = 84;  // to the button's left edge
    constexpr int kFromBelow = 30;  // inside the button, with levels below it or not
    return clickAt(kPanelTitle,
                   {panel->width / options_.scale - kFromRight + 36, panel->height / options_.scale - kFromBelow});
}

std::string DrivenApplication::editorTitle() const {
    return "LumiVastor – " + recordings().back().filename().string();
}

bool DrivenApplication::clickInEditor(const std::string& control, QPointF place) {
    const auto window = shown(editorTitle());
    if (!window) return false;
    const QSize size(window->width / options_.scale, window->height / options_.scale);
    return clickAt(editorTitle(), map_.editorControl(recordings().back(), size, control, place));
}

bool DrivenApplication::dragInEditor(const std::string& control, QPointF from, QPointF to) {
    const auto window = shown(editorTitle());
    if (!window) return false;
    const QSize size(window->width / options_.scale, window->height / options_.scale);
    return drag(editorTitle(), map_.editorControl(recordings().back(), size, control, from),
                map_.editorControl(recordings().back(), size, control, to));
}

bool DrivenApplication::clickInRecordings(const std::string& control) {
    const auto window = shown(kRecordingsTitle);
    if (!window) return false;
    const QSize size(window->width / options_.scale, window->height / options_.scale);
    return clickAt(kRecordingsTitle, map_.recordingsControl(home_ / "Movies/LumiVastor", size, control));
}

bool DrivenApplication::clickRecording(const std::string& name) {
    const auto window = shown(kRecordingsTitle);
    if (!window) return false;
    const QSize size(window->width / options_.scale, window->height / options_.scale);
    return clickAt(kRecordingsTitle, map_.recordingsRow(home_ / "Movies/LumiVastor", size, name));
}

bool DrivenApplication::waitForVideo() const {
    // It has its name from the beginning, and can be read from its end on.
    const auto isWhole = [file = recordings().back() / "studio-output.mp4"] {
        try {
            return !media::Asset(file).tracks().empty();
        } catch (const RecorderError&) {
            return false;
        }
    };
    // Exports take long where many tests run.
    return await(5 * kPatience, isWhole);
}

}  // namespace lumivastor

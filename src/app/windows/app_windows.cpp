// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/app_windows.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QIcon>
#include <QImage>
#include <QKeyEvent>
#include <QMessageBox>
#include <QScreen>
#include <QSessionManager>
#include <QTimer>
#include <QTreeView>
#include <QUrl>
#include <algorithm>
#include <system_error>
#include <utility>
#include <vector>

#include "ui/file_viewer.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr QSize kFolderPanelSize(760, 480);
// The approximate height that a window manager adds.
constexpr int kTitleBar = 40;
// Columns of the list in Qt's file dialog.
constexpr int kNameColumn = 0;
constexpr int kSizeColumn = 1;
constexpr int kKindColumn = 2;
constexpr int kDateColumn = 3;

QString text(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

// The screen of a display: both have the monitor's name. Where names differ, both have the same origin in pixels.
QScreen* screenFor(const platform::Display& display) {
    const auto screens = QGuiApplication::screens();
    for (QScreen* screen : screens) {
        if (screen->name() == QString::fromStdString(display.name)) return screen;
    }
    for (QScreen* screen : screens) {
        if (screen->geometry().x() == display.frame.x && screen->geometry().y() == display.frame.y) return screen;
    }
    return nullptr;
}

// A window for the user's work, not a panel or a menu.
bool isWindow(const QWidget& widget) {
    return widget.isVisible() && widget.windowType() == Qt::Window;
}

bool hasVisibleWindow() {
    const QWidgetList all = QApplication::topLevelWidgets();
    return std::any_of(all.begin(), all.end(), [](const QWidget* each) { return isWindow(*each); });
}

// The sounds with a level while that is recorded, in the order of the boxes.
std::vector<platform::SoundBoard::Kind> recordedKinds(const MainWindowChoices& choices) {
    std::vector<platform::SoundBoard::Kind> kinds;
    if (choices.recordsSystemAudio()) kinds.push_back(platform::SoundBoard::Kind::systemAudio);
    if (choices.microphone) kinds.push_back(platform::SoundBoard::Kind::microphone);
    return kinds;
}

QScreen& mainScreen() {
    return *QGuiApplication::primaryScreen();
}

}  // namespace

AppWindows::AppWindows(Options options)
    : options_(std::move(options)), window_(std::make_unique<MainWindow>(actions())) {
    // The delegate decides whether closing the last window ends the program.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    qApp->installEventFilter(this);
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, window_.get(), [this](QSessionManager& session) {
        // The session manager allows no question to the user, so nothing is decided here; the quit request follows as
        // an event.
        if (!session.allowsInteraction()) return;
        if (!delegate_->videosMayEnd()) session.cancel();
        session.release();
    });
    QObject::connect(qApp, &QGuiApplication::lastWindowClosed, window_.get(), [this] {
        // Not while the window is still closing, and not if another window has been opened meanwhile.
        QTimer::singleShot(0, window_.get(), [this] {
            if (hasVisibleWindow() || !delegate_->applicationShouldTerminateAfterLastWindowClosed()) return;
            terminate(AppDelegate::TerminationCause::user);
        });
    });
}

AppWindows::~AppWindows() {
    qApp->removeEventFilter(this);
}

MainWindowActions AppWindows::actions() {
    MainWindowActions actions;
    actions.sourceTypeChanged = [this](SourceType type) { delegate_->sourceTypeChanged(type); };
    actions.sourceSelected = [this](int index) { delegate_->sourceSelected(index); };
    actions.refreshSources = [this] { delegate_->refreshSources(); };
    actions.chooseContent = [this] { delegate_->chooseContent(); };
    actions.fpsSelected = [this](int index) { delegate_->fpsSelected(index); };
    actions.cancelCountdown = [this] { delegate_->cancelCountdown(); };
    actions.countdownSelected = [this](int index) { delegate_->countdownSelected(index); };
    actions.autoZoomToggled = [this](bool on) { delegate_->autoZoomToggled(on); };
    actions.systemAudioToggled = [this](bool on) { delegate_->systemAudioToggled(on); };
    actions.microphoneToggled = [this](bool on) { delegate_->microphoneToggled(on); };
    actions.webcamToggled = [this](bool on) { delegate_->webcamToggled(on); };
    actions.microphoneSelected = [this](int index) { delegate_->microphoneSelected(index); };
    actions.cameraSelected = [this](int index) { delegate_->cameraSelected(index); };
    actions.cardSoundSelected = [this](int index) { delegate_->cardSoundSelected(index); };
    actions.shown = [this](bool isShown) {
        if (delegate_ != nullptr) delegate_->mainWindowShown(isShown);
    };
    actions.level = options_.level;
    actions.toggleRecording = [this] { delegate_->toggleRecording(); };
    actions.renderCheckVideo = [this] { delegate_->renderCheckVideo(); };
    actions.renderStudioVideo = [this] { delegate_->renderStudioVideo(); };
    actions.revealFolder = [this] { delegate_->revealFolder(); };
    actions.noticeAction = [this](NoticeKind kind) { noticeAction(kind); };
    actions.showExports = [this] { options_.editors.showExports(); };
    actions.about = [this] { showAbout(); };
    actions.checkForUpdates = options_.checkForUpdates;
    actions.terminate = [this] { terminate(AppDelegate::TerminationCause::user); };
    actions.mayClose = [this] { return delegate_->mainWindowShouldClose(); };
    return actions;
}

void AppWindows::noticeAction(NoticeKind kind) {
    if (kind == NoticeKind::interrupted) delegate_->completeInterrupted();
    if (kind == NoticeKind::checkVideo) delegate_->revealCheckVideo();
    if (kind == NoticeKind::update) options_.openUpdate();
}

// Not by `quit`, which would close the windows one by one and ask again.
void AppWindows::terminate(AppDelegate::TerminationCause cause) {
    if (delegate_->applicationShouldTerminate(cause) == AppDelegate::TerminateReply::now) QCoreApplication::exit();
}

void AppWindows::replyToApplicationShouldTerminate() {
    QCoreApplication::exit();
}

bool AppWindows::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::Quit) {
        terminate(AppDelegate::TerminationCause::system);
        return true;
    }
    if (event->type() != QEvent::KeyPress) return false;
    const auto* press = static_cast<QKeyEvent*>(event);
    if (press->key() == Qt::Key_Escape && press->modifiers() == Qt::NoModifier && window_->isActiveWindow() &&
        delegate_->isCountingDown()) {
        delegate_->cancelCountdown();
        return true;
    }
    if (press->key() != Qt::Key_Q || press->modifiers() != Qt::ControlModifier) return false;
    if (!press->isAutoRepeat()) terminate(AppDelegate::TerminationCause::user);
    return true;
}

void AppWindows::reopen() {
    const bool hadVisibleWindow = hasVisibleWindow();
    // No window comes to the front while a recording is prepared or runs.
    const bool isRecording = !delegate_->applicationShouldTerminateAfterLastWindowClosed();
    for (QWidget* each : QApplication::topLevelWidgets()) {
        if (isRecording || !isWindow(*each)) continue;
        each->setWindowState(each->windowState() & ~Qt::WindowMinimized);
        each->raise();
        each->activateWindow();
    }
    delegate_->applicationShouldHandleReopen(hadVisibleWindow);
}

void AppWindows::showAbout() {
    QMessageBox box(window_.get());
    box.setWindowTitle("Über LumiVastor");
    box.setIconPixmap(QApplication::windowIcon().pixmap(QSize(64, 64), window_->devicePixelRatioF()));
    box.setText("<b>LumiVastor</b> " LUMI_VERSION);
    box.setInformativeText("Nimmt den Bildschirm auf und macht aus der Aufnahme ein Lernvideo.");
    box.addButton("Schließen", QMessageBox::AcceptRole);
    box.exec();
}

// Main window

void AppWindows::show(const MainWindowState& state) {
    choices_ = state.choices;
    window_->show(state);
}

void AppWindows::showMainWindow() {
    if (!window_->testAttribute(Qt::WA_Moved)) {
        QRect frame = window_->rect();
        frame.moveCenter(mainScreen().availableGeometry().center());
        window_->move(frame.topLeft());
    }
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->setVisible(true);
    window_->raise();
    window_->activateWindow();
}

void AppWindows::hideMainWindow() {
    window_->hide();
}

void AppWindows::hideAllWindows() {
    hidden_.clear();
    for (QWidget* each : QApplication::topLevelWidgets()) {
        if (!each->isVisible()) continue;
        if (isWindow(*each) && each != window_.get()) hidden_.emplace_back(each);
        each->hide();
    }
}

void AppWindows::showAllWindows() {
    for (const QPointer<QWidget>& each : std::exchange(hidden_, {})) {
        if (each) each->show();
    }
    showMainWindow();
}

void AppWindows::showCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) {
    window_->setCameraPreview(std::move(preview));
}

void AppWindows::hideCameraPreview() {
    window_->setCameraPreview(nullptr);
}

// Panels

void AppWindows::showCountdown(int number) {
    if (!countdown_) {
        countdown_ = std::make_unique<CountdownWindow>(mainScreen(), [this] { delegate_->cancelCountdown(); });
    }
    countdown_->setNumber(number);
    countdown_->orderFront();
}

void AppWindows::hideCountdown() {
    if (!countdown_) return;
    countdown_->hide();
    // It may be what was clicked.
    countdown_.release()->deleteLater();
}

bool AppWindows::hasScreen(const platform::Display& display) {
    return screenFor(display) != nullptr;
}

void AppWindows::showRegionArmPanel(const platform::Display& display) {
    QScreen* const screen = screenFor(display);
    armPanel_ = std::make_unique<RegionArmPanel>(
        screen != nullptr ? *screen : mainScreen(), [this] { delegate_->regionArmProceed(); },
        [this] { delegate_->regionArmCancel(); });
    armPanel_->orderFront();
}

void AppWindows::closeRegionArmPanel() {
    if (!armPanel_) return;
    armPanel_->hide();
    // One of its own buttons may have been clicked.
    armPanel_.release()->deleteLater();
}

void AppWindows::pickRegion(const platform::Display& display, std::function<void(std::optional<Rect>)> completion) {
    QScreen* const screen = screenFor(display);
    if (screen == nullptr) {
        QTimer::singleShot(0, window_.get(), [completion = std::move(completion)] { completion(std::nullopt); });
        return;
    }
    picker_.pick(*screen, [display, ratio = screen->devicePixelRatio(),
                           completion = std::move(completion)](std::optional<Rect> rect) {
        completion(rect ? std::optional(displayRect(*rect, ratio, display)) : std::nullopt);
    });
}

void AppWindows::pickRegionOnPicture(const platform::Display& display,
                                     std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture,
                                     std::function<void(std::optional<Rect>)> completion) {
    QScreen* const screen = screenFor(display);
    // A copy of its own: the pixels' owner may go first.
    const QImage image = QImage(picture->row(0), picture->width(), picture->height(),
                                static_cast<qsizetype>(picture->stride()), QImage::Format_RGB32)
                             .copy();
    picker_.pickOnPicture(screen != nullptr ? *screen : mainScreen(), QPixmap::fromImage(image),
                          [display, completion = std::move(completion)](std::optional<Rect> rect, const Size& shown) {
                              completion(rect ? std::optional(displayRect(*rect, shown, display)) : std::nullopt);
                          });
}

void AppWindows::installStatusItem(const std::string& title) {
    statusItem_ = std::make_unique<StatusItem>(QString::fromStdString(title), recordingActions());
}

void AppWindows::setStatusItemTitle(const std::string& title) {
    if (statusItem_) statusItem_->setTitle(QString::fromStdString(title));
}

void AppWindows::removeStatusItem() {
    if (!statusItem_) return;
    // It may be what was clicked.
    QTimer::singleShot(0, window_.get(), [item = std::shared_ptr<StatusItem>(std::move(statusItem_))] {});
}

void AppWindows::showRecordingPanel(const std::optional<platform::Display>& display,
                                    std::shared_ptr<capture::WebcamPreview> preview, const RecordingKeys& keys) {
    QScreen* const screen = display ? screenFor(*display) : nullptr;
    recordingPanel_ = std::make_unique<RecordingPanel>(screen != nullptr ? *screen : mainScreen(), std::move(preview),
                                                       keys, recordingActions());
    recordingPanel_->showLevels(recordedKinds(choices_), options_.level);
    recordingPanel_->orderFront();
}

void AppWindows::setRecordingPanelTime(const std::string& time) {
    if (recordingPanel_) recordingPanel_->setTime(QString::fromStdString(time));
}

void AppWindows::setRecordingHint(const std::string& sentence) {
    if (recordingPanel_) recordingPanel_->setHint(QString::fromStdString(sentence));
    if (statusItem_) statusItem_->setHint(QString::fromStdString(sentence));
}

RecordingActions AppWindows::recordingActions() {
    return {.stop = [this] { delegate_->stopFromStatusItem(); },
            .togglePause = [this] { delegate_->togglePause(); },
            .mark = [this] { delegate_->setMark(); }};
}

void AppWindows::setRecordingPaused(bool paused) {
    if (recordingPanel_) recordingPanel_->setPaused(paused);
    if (statusItem_) statusItem_->setPaused(paused);
}

void AppWindows::setRecordingMarks(int count) {
    if (recordingPanel_) recordingPanel_->setMarks(count);
}

void AppWindows::removeRecordingPanel() {
    if (!recordingPanel_) return;
    recordingPanel_->hide();
    recordingPanel_.release()->deleteLater();
}

// Folders

void AppWindows::askForFolder(const std::string& message, const std::filesystem::path& start,
                              std::function<void(std::optional<std::filesystem::path>)> completion) {
    QWidget* const asking = recordings_ && recordings_->isActiveWindow() ? static_cast<QWidget*>(recordings_.get())
                                                                         : static_cast<QWidget*>(window_.get());
    auto* panel = new QFileDialog(asking, QString::fromStdString(message));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    panel->setLabelText(QFileDialog::Accept, "Öffnen");
    panel->setLabelText(QFileDialog::Reject, "Abbrechen");
    panel->setLabelText(QFileDialog::FileName, "Ordner:");
    panel->setLabelText(QFileDialog::LookIn, "In:");
    panel->setLabelText(QFileDialog::FileType, "Art:");
    std::error_code error;
    const bool exists = std::filesystem::is_directory(start, error);
    const QString first = exists ? text(start) : text(start.parent_path().parent_path());
    panel->setDirectory(first);
    panel->setSidebarUrls({QUrl::fromLocalFile(first), QUrl::fromLocalFile(QDir::homePath())});
    // For folders only name and date matter, not size and kind.
    if (auto* list = panel->findChild<QTreeView*>("treeView")) {
        for (const int column : {kSizeColumn, kKindColumn}) list->hideColumn(column);
        list->header()->setStretchLastSection(false);
        list->header()->setSectionResizeMode(kNameColumn, QHeaderView::Stretch);
        list->header()->setSectionResizeMode(kDateColumn, QHeaderView::ResizeToContents);
    }
    panel->resize(kFolderPanelSize);
    QObject::connect(panel, &QDialog::finished, panel, [panel, completion = std::move(completion)](int result) {
        const QStringList chosen = panel->selectedFiles();
        if (result != QDialog::Accepted || chosen.isEmpty()) {
            completion(std::nullopt);
        } else {
            completion(std::filesystem::path(chosen.first().toStdString()));
        }
    });
    panel->open();
}

void AppWindows::showRecordings() {
    if (!recordings_) {
        recordings_ = std::make_unique<RecordingsWindow>(options_.library, recordingsActions(), options_.order);
        // Smaller on a screen that has no room for it.
        const QRect room = window_->screen()->availableGeometry();
        recordings_->resize(recordings_->size().boundedTo(room.size() - QSize(0, kTitleBar)));
        QRect frame = recordings_->rect();
        frame.moveCenter(room.center());
        recordings_->move(frame.topLeft());
    }
    recordings_->orderFront();
}

RecordingsActions AppWindows::recordingsActions() {
    RecordingsActions actions;
    actions.open = [this](const std::filesystem::path& folder) { return delegate_->open(folder); };
    actions.render = options_.render;
    actions.complete = [this](const std::filesystem::path& folder) { delegate_->complete(folder); };
    actions.check = [this](const std::filesystem::path& folder) { return delegate_->renderCheckVideo(folder); };
    actions.showExports = [this] { options_.editors.showExports(); };
    actions.orderChosen = options_.orderChosen;
    actions.reveal = [](const std::filesystem::path& folder) { ui::revealInFileViewer(folder); };
    actions.chooseFolder = [this](std::function<void(const std::string&)> refused) {
        delegate_->chooseFolder(std::move(refused));
    };
    return actions;
}

void AppWindows::openEditor(const std::filesystem::path& folder) {
    options_.editors.open(folder);
}

bool AppWindows::openFolder(const std::filesystem::path& folder) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(text(folder)));
}

void AppWindows::revealFile(const std::filesystem::path& file) {
    ui::revealInFileViewer(file);
}

}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/main_window.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "app/windows/camera_view.h"
#include "app/windows/countdown_cover.h"
#include "ui/accessible.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr int kWidth = 580;
constexpr int kHeight = 634;
constexpr int kLeastHeight = 320;  // on the smallest of screens; the rest is scrolled
constexpr int kRowWidth = 530;
constexpr int kSourceWidth = 496;
constexpr int kEdge = 20;
constexpr int kSpacing = 6;
constexpr int kGroupSpace = 8;
constexpr int kButtonSpace = 16;  // above the record button
// At the usual size of type.
constexpr double kRecordType = 14;
constexpr double kRecordHeight = 28;
constexpr double kStatusType = 11;
constexpr int kStatusLines = 5;
constexpr int kStatusLinesBesideNotices = 2;
constexpr double kStatusLine = 14;
constexpr QSize kCameraSize(224, 126);
constexpr double kCameraRadius = 10;
constexpr QSize kLevelSize(110, 8);
constexpr double kLargeType = 1.6;
// Beside the camera's picture.
constexpr int kDeviceWidth = kRowWidth - kCameraSize.width() - 2 * kSpacing;

// This window's style in addition to the shared one.
constexpr const char* kSheet = R"(
    QWidget[role="window"] { background: #1A1C21; }
    QLabel[role="status"] { font-family: monospace; font-size: @status-type; color: @second; }
    QFrame[role="notice"] { background: #2B2622; border: 1px solid #5A4636; border-radius: 7px; }
    QPushButton[role="record"] {
        background: #CC382B; border: 2px solid #CC382B; border-radius: 8px; color: white;
        font-size: @record-type; font-weight: 600; min-height: @record-height;
    }
    QPushButton[role="record"]:hover { background: #D63C2F; border-color: #D63C2F; }
    QPushButton[role="record"]:pressed { background: #BC3529; border-color: #BC3529; }
    QPushButton[role="record"]:disabled { background: #4A302D; border-color: #4A302D; color: #A9918E; }
    QPushButton[role="record"]:focus { border-color: #FFD8D3; }
)";

// The approximate size of the frame that a window manager adds.
constexpr QSize kFrame(8, 40);

// In pixels: scales with the desktop's font size, like everything else.
int grown(double usual, const QFont& font) {
    return static_cast<int>(std::lround(usual * ui::theme::typeFactor(font)));
}

QLabel* caption(const char* text) {
    auto* label = new QLabel(text);
    label->setProperty("role", "second");
    return label;
}

QCheckBox* box(const char* title, const char* name, const std::function<void(bool)>& toggled) {
    auto* made = new QCheckBox(title);
    made->setObjectName(name);
    QObject::connect(made, &QCheckBox::clicked, made, toggled);
    return made;
}

// Assistive programs find the name of a list in its label; what they call its name is what is chosen.
QLabel* hiddenLabel(QComboBox& popup) {
    auto* label = new QLabel(popup.accessibleName());
    label->setBuddy(&popup);
    label->hide();
    return label;
}

// A box with the meter of its sound beside it.
QHBoxLayout* withLevel(QCheckBox* made, LevelView* level, const char* name) {
    level->setObjectName(name);
    level->setFixedSize(kLevelSize);
    level->hide();
    auto* row = new QHBoxLayout;
    row->setSpacing(2 * kSpacing);
    row->addWidget(made);
    row->addStretch(1);
    row->addWidget(level);
    // Up to where the pop-ups end, beside the camera's picture.
    row->addSpacing(kRowWidth - kDeviceWidth - 2 * kSpacing);
    return row;
}

QPushButton* button(const char* title, const char* name, const std::function<void()>& clicked) {
    auto* made = new QPushButton(title);
    made->setObjectName(name);
    made->setAutoDefault(false);
    QObject::connect(made, &QPushButton::clicked, made, [clicked] { clicked(); });
    return made;
}

// The target of the menu's editing shortcuts: the text field with keyboard focus.
template <typename Edit>
void inTextField(Edit edit) {
    if (auto* field = qobject_cast<QLineEdit*>(QApplication::focusWidget())) (field->*edit)();
}

// Read-only texts can be copied, too.
QLabel* textWithKeyboard() {
    return qobject_cast<QLabel*>(QApplication::focusWidget());
}

void copySelection() {
    inTextField(&QLineEdit::copy);
    const QLabel* const text = textWithKeyboard();
    if (text == nullptr || !text->hasSelectedText()) return;
    // A selection separates its lines by a character of its own.
    QGuiApplication::clipboard()->setText(text->selectedText().replace(QChar::ParagraphSeparator, '\n'));
}

void selectEverything() {
    inTextField(&QLineEdit::selectAll);
    if (QLabel* const text = textWithKeyboard()) text->setSelection(0, static_cast<int>(text->text().size()));
}

void makeCopyable(QLabel& label) {
    label.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label.setFocusPolicy(Qt::StrongFocus);
}

// An unchanged text keeps its selection. Returns whether it has changed.
bool setTextIfOther(QLabel& label, const std::string& text) {
    const QString now = QString::fromStdString(text);
    if (label.text() == now) return false;
    label.setText(now);
    return true;
}

void select(QComboBox& popup, int index) {
    const QSignalBlocker quiet(popup);
    popup.setCurrentIndex(index);
}

}  // namespace

MainWindow::MainWindow(MainWindowActions actions) : actions_(std::move(actions)) {
    setObjectName("mainWindow");
    setWindowTitle("LumiVastor");
    setProperty("role", "window");
    ui::makeWindow(*this);
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
    setFixedSize(kWidth, kHeight);
    setStyleSheet(ui::theme::styleSheet(font()) +
                  QString(kSheet)
                      .replace("@second", ui::theme::kSecondText.name())
                      .replace("@record-type", QString::number(grown(kRecordType, font())) + "px")
                      .replace("@record-height", QString::number(grown(kRecordHeight, font())) + "px")
                      .replace("@status-type", QString::number(grown(kStatusType, font())) + "px"));

    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    buildMenus(*whole);
    content_ = new QWidget;
    area_ = new QScrollArea;
    area_->setProperty("role", "plain");
    area_->setFrameShape(QFrame::NoFrame);
    area_->setWidgetResizable(true);
    area_->setFocusPolicy(Qt::NoFocus);
    area_->setAccessibleName("Aufnahme");
    auto* column = new QVBoxLayout(content_);
    column->setContentsMargins(kEdge + kSpacing - 1, kSpacing, kEdge + kSpacing - 1, kEdge);
    column->setSpacing(kSpacing);
    buildSource(*column);
    buildBoxes(*column);
    buildButtons(*column);
    buildStatus(*column);
    area_->setWidget(content_);
    whole->addWidget(area_);
    recordButton_->setFocus();
    countdown_ = new CountdownCover(this, actions_.cancelCountdown);
    // Size hints are only right after the style sheet's fonts have been applied.
    for (QWidget* each : findChildren<QWidget*>()) each->ensurePolished();
    takeRoom();
}

// Notices and large type may need more room than the fixed height. What the screen has no room for is scrolled.
void MainWindow::takeRoom() {
    const QSize room = screen()->availableSize() - kFrame;
    QLayout& contents = *content_->layout();
    contents.activate();
    // One below the other on a screen that is too narrow for a row.
    if (buttonRow_->direction() == QBoxLayout::LeftToRight &&
        contents.totalMinimumSize().width() + area_->verticalScrollBar()->sizeHint().width() > room.width()) {
        buttonRow_->setDirection(QBoxLayout::TopToBottom);
        contents.activate();
    }
    const int menus = layout()->totalMinimumSize().height() - layout()->minimumSize().height();
    int width = std::max(kWidth, contents.totalMinimumSize().width());
    const int needed = menus + (contents.hasHeightForWidth() ? contents.totalHeightForWidth(width)
                                                             : contents.totalMinimumSize().height());
    if (needed > room.height()) width += area_->verticalScrollBar()->sizeHint().width();
    setFixedSize(std::min(width, std::max(kWidth, room.width())),
                 std::min(std::max(kHeight, needed), std::max(kLeastHeight, room.height())));
}

void MainWindow::buildMenus(QVBoxLayout& column) {
    auto* bar = new QMenuBar;
    QMenu* application = bar->addMenu("LumiVastor");
    application->addAction("Über LumiVastor", this, [this] { actions_.about(); });
    application->addSeparator();
    if (actions_.checkForUpdates) {
        application->addAction("Nach Updates suchen …", this, [this] { actions_.checkForUpdates(); });
        application->addSeparator();
    }
    QAction* const quit = application->addAction("LumiVastor beenden", this, [this] { actions_.terminate(); });
    quit->setShortcut(QKeySequence("Ctrl+Q"));
    // Ignores auto-repeat: a held key is one press.
    quit->setAutoRepeat(false);
    QMenu* edit = bar->addMenu("Bearbeiten");
    const auto add = [&](const char* title, const char* key, auto action) {
        edit->addAction(title, this, action)->setShortcut(QKeySequence(key));
    };
    add("Ausschneiden", "Ctrl+X", [] { inTextField(&QLineEdit::cut); });
    add("Kopieren", "Ctrl+C", copySelection);
    add("Einsetzen", "Ctrl+V", [] { inTextField(&QLineEdit::paste); });
    add("Alles auswählen", "Ctrl+A", selectEverything);
    QMenu* windows = bar->addMenu("Fenster");
    showRecordings_ = windows->addAction("Aufnahmen", this, [this] { actions_.renderStudioVideo(); });
    showRecordings_->setShortcut(QKeySequence("Ctrl+L"));
    if (actions_.showExports) {
        showExports_ = windows->addAction("Exporte", this, [this] { actions_.showExports(); });
        showExports_->setShortcut(QKeySequence("Ctrl+E"));
    }
    column.setMenuBar(bar);
}

void MainWindow::buildSource(QVBoxLayout& column) {
    static constexpr std::array<std::string_view, 4> kTypes = {"Bildschirm", "Fenster", "Ausschnitt", "iPhone"};
    column.addWidget(caption("Quelle"));
    sourceTypeControl_ = new ui::SegmentedControl(kTypes, "Art der Quelle");
    sourceTypeControl_->setObjectName("sourceTypeControl");
    sourceTypeControl_->setMinimumWidth(kRowWidth);
    sourceTypeControl_->onSelect = [this] {
        actions_.sourceTypeChanged(static_cast<SourceType>(sourceTypeControl_->index()));
    };
    column.addWidget(sourceTypeControl_);

    displayPopup_ = new QComboBox;
    displayPopup_->setObjectName("displayPopup");
    displayPopup_->setAccessibleName("Quelle");
    displayPopup_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    connect(displayPopup_, &QComboBox::activated, this, actions_.sourceSelected);
    refreshButton_ = button("↻", "refreshButton", actions_.refreshSources);
    chooseButton_ = button("", "chooseButton", actions_.chooseContent);
    chooseButton_->setToolTip("Öffnet den Auswahldialog des Desktops");
    chooseButton_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    chooseButton_->hide();
    refreshButton_->setToolTip("Liste aktualisieren");
    refreshButton_->setAccessibleName("Liste aktualisieren");
    cardSoundCaption_ = caption("Ton");
    cardSoundPopup_ = devicePopup("Ton des Geräts", "cardSoundPopup", actions_.cardSoundSelected);
    cardSoundPopup_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    cardSoundCaption_->hide();
    auto* row = new QHBoxLayout;
    row->setSpacing(kSpacing);
    row->addWidget(displayPopup_, 1);
    row->addWidget(chooseButton_, 1);
    row->addWidget(cardSoundCaption_);
    row->addWidget(cardSoundPopup_, 1);
    row->addWidget(refreshButton_);
    sourceRow_ = new QWidget;
    sourceRow_->setFixedWidth(kSourceWidth);
    row->setContentsMargins(0, 0, 0, 0);
    sourceRow_->setLayout(row);
    // Assistive programs find the name of a list in its label, if both have the same parent; what they call its name is
    // what is chosen. The label that is seen stands above all of this.
    auto* name = new QLabel("Quelle", sourceRow_);
    name->setBuddy(displayPopup_);
    name->hide();
    column.addWidget(sourceRow_);
    column.addSpacing(kGroupSpace);

    auto* rate = caption("Bildrate");
    fpsPopup_ = new QComboBox;
    rate->setBuddy(fpsPopup_);
    fpsPopup_->setObjectName("fpsPopup");
    fpsPopup_->setAccessibleName("Bildrate");
    fpsPopup_->addItems({"60 Bilder/s", "30 Bilder/s"});
    connect(fpsPopup_, &QComboBox::activated, this, actions_.fpsSelected);
    auto* countdown = caption("Countdown");
    countdownPopup_ = new QComboBox;
    countdown->setBuddy(countdownPopup_);
    countdownPopup_->setObjectName("countdownPopup");
    countdownPopup_->setAccessibleName("Countdown");
    for (const int seconds : kCountdowns) {
        countdownPopup_->addItem(seconds == 0 ? QString("ohne") : QString::number(seconds) + " Sekunden");
    }
    connect(countdownPopup_, &QComboBox::activated, this, actions_.countdownSelected);
    auto* pair = new QGridLayout;
    pair->setHorizontalSpacing(2 * kSpacing);
    pair->setVerticalSpacing(kSpacing);
    pair->addWidget(rate, 0, 0);
    pair->addWidget(countdown, 0, 1);
    pair->addWidget(fpsPopup_, 1, 0, Qt::AlignLeft);
    pair->addWidget(countdownPopup_, 1, 1, Qt::AlignLeft);
    pair->setColumnStretch(2, 1);
    column.addLayout(pair);
    column.addSpacing(kGroupSpace);
}

void MainWindow::buildBoxes(QVBoxLayout& column) {
    column.addWidget(caption("Zooms"));
    autoZoomBox_ = box("Automatische Zooms (Kamera fährt zu deinen Klicks)", "autoZoomBox", actions_.autoZoomToggled);
    column.addWidget(autoZoomBox_);
    column.addSpacing(kGroupSpace);

    auto* boxes = new QVBoxLayout;
    boxes->setSpacing(kSpacing);
    boxes->addWidget(caption("Ton"));
    systemAudioBox_ = box("Systemton aufnehmen", "systemAudioBox", actions_.systemAudioToggled);
    const auto beat = std::make_shared<LevelBeat>(actions_.level);
    systemAudioLevel_ = new LevelView("Pegel des Systemtons", platform::SoundBoard::Kind::systemAudio, beat);
    boxes->addLayout(withLevel(systemAudioBox_, systemAudioLevel_, "systemAudioLevel"));
    microphoneBox_ = box("Mikrofon aufnehmen", "microphoneBox", actions_.microphoneToggled);
    microphoneLevel_ = new LevelView("Pegel des Mikrofons", platform::SoundBoard::Kind::microphone, beat);
    boxes->addLayout(withLevel(microphoneBox_, microphoneLevel_, "microphoneLevel"));
    microphonePopup_ = devicePopup("Mikrofon", "microphonePopup", actions_.microphoneSelected);
    microphonePopup_->setFixedWidth(kDeviceWidth);
    boxes->addWidget(hiddenLabel(*microphonePopup_));
    boxes->addWidget(microphonePopup_);
    boxes->addSpacing(kGroupSpace);

    boxes->addWidget(caption("Kamera"));
    webcamBox_ = box("Kamera aufnehmen (Facecam)", "webcamBox", actions_.webcamToggled);
    boxes->addWidget(webcamBox_);
    cameraPopup_ = devicePopup("Kamera", "cameraPopup", actions_.cameraSelected);
    cameraPopup_->setFixedWidth(kDeviceWidth);
    boxes->addWidget(hiddenLabel(*cameraPopup_));
    boxes->addWidget(cameraPopup_);
    boxes->addStretch(1);
    // Their room is kept until the devices are listed, unless large type needs it.
    for (QComboBox* each : {microphonePopup_, cameraPopup_}) {
        QSizePolicy reserved = each->sizePolicy();
        reserved.setRetainSizeWhenHidden(ui::theme::typeFactor(font()) < kLargeType);
        each->setSizePolicy(reserved);
    }

    // Beside the boxes, in reserved room: nothing moves when it appears.
    webcamPreviewContainer_ = new CameraView(kCameraSize, kCameraRadius);
    webcamPreviewContainer_->setObjectName("webcamPreviewContainer");
    webcamPreviewContainer_->hide();
    auto* row = new QGridLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setRowMinimumHeight(0, kCameraSize.height());
    row->addLayout(boxes, 0, 0);
    row->addWidget(webcamPreviewContainer_, 0, 0, Qt::AlignRight | Qt::AlignTop);
    column.addLayout(row);
    // Room that is left is below everything, so that the record button stays where it is when a notice appears or goes:
    // a click that is on its way would miss it.
    column.addSpacing(kButtonSpace);
}

QComboBox* MainWindow::devicePopup(const char* title, const char* name, const std::function<void(int)>& selected) {
    auto* popup = new QComboBox;
    popup->setObjectName(name);
    popup->setAccessibleName(title);
    popup->hide();
    connect(popup, &QComboBox::activated, this, [selected](int index) {
        if (selected) selected(index);
    });
    return popup;
}

void MainWindow::showDevices(const MainWindowState& state) {
    // Shown from the start, so that nothing moves with the boxes; only large type needs the room.
    const bool isLarge = ui::theme::typeFactor(font()) >= kLargeType;
    const auto show = [isLarge](QComboBox& popup, DevicePopup& shown, const DevicePopup& now, bool isOn) {
        if (shown.items != now.items) {
            const QSignalBlocker quiet(popup);
            popup.clear();
            for (const std::string& item : now.items) popup.addItem(QString::fromStdString(item));
        }
        shown = now;
        select(popup, now.index);
        // Long names are cut off at their end.
        popup.setToolTip(popup.currentText());
        popup.setVisible(!now.items.empty() && (isOn || !isLarge));
    };
    show(*microphonePopup_, shownMicrophones_, state.microphones, state.choices.microphone);
    show(*cameraPopup_, shownCameras_, state.cameras, state.choices.webcam);
    show(*cardSoundPopup_, shownCardSounds_, state.cardSounds, true);
    cardSoundCaption_->setVisible(!state.cardSounds.items.empty());
    systemAudioLevel_->setVisible(state.choices.systemAudio);
    microphoneLevel_->setVisible(state.choices.microphone);
}

void MainWindow::buildButtons(QVBoxLayout& column) {
    recordButton_ = button("Aufnahme starten", "recordButton", actions_.toggleRecording);
    recordButton_->setProperty("role", "record");
    recordButton_->setMinimumWidth(kRowWidth);
    recordButton_->setShortcut(Qt::Key_Return);
    column.addWidget(recordButton_);
    buttonRow_ = new QBoxLayout(QBoxLayout::LeftToRight);
    buttonRow_->setSpacing(kSpacing);
    studioButton_ = button("Aufnahme bearbeiten …", "studioButton", actions_.renderStudioVideo);
    renderButton_ = button("Prüfvideo erzeugen …", "renderButton", actions_.renderCheckVideo);
    revealButton_ = button("Aufnahmeordner öffnen", "revealButton", actions_.revealFolder);
    for (QPushButton* each : {studioButton_, renderButton_, revealButton_}) buttonRow_->addWidget(each, 1);
    column.addLayout(buttonRow_);
}

void MainWindow::buildStatus(QVBoxLayout& column) {
    noticeRows_ = new QVBoxLayout;
    noticeRows_->setSpacing(kSpacing);
    column.addLayout(noticeRows_);
    statusLabel_ = new QLabel;
    statusLabel_->setObjectName("statusLabel");
    ui::makeStatusLine(*statusLabel_);
    statusLabel_->setProperty("role", "status");
    statusLabel_->setWordWrap(true);
    statusLabel_->setTextFormat(Qt::PlainText);
    makeCopyable(*statusLabel_);
    statusLabel_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    statusRoom_ = new QSpacerItem(0, 0);
    statusRow_ = new QHBoxLayout;
    statusRow_->setSpacing(0);
    statusRow_->addWidget(statusLabel_, 1);
    statusRow_->addItem(statusRoom_);
    reserveStatusRoom();
    column.addLayout(statusRow_);
    progressBar_ = new QProgressBar;
    progressBar_->setObjectName("progressBar");
    progressBar_->setAccessibleName("Fortschritt des Prüfvideos");
    progressBar_->setRange(0, 1000);
    progressBar_->setTextVisible(false);
    progressBar_->hide();
    column.addWidget(progressBar_);
    column.addStretch(1);
}

// Room for the longest text, so that nothing moves when it appears. A notice takes of that, so that with the usual text
// the window stays as it is.
void MainWindow::reserveStatusRoom() {
    const int lines = shownNotices_.empty() ? kStatusLines : kStatusLinesBesideNotices;
    statusRoom_->changeSize(0, lines * grown(kStatusLine, font()));
    statusRow_->invalidate();
}

void MainWindow::show(const MainWindowState& state) {
    QWidget* const focused = focusWidget();
    showChoices(state);
    showButtons(state);
    if (setTextIfOther(*statusLabel_, state.status)) ui::announce(*statusLabel_);
    progressBar_->setVisible(state.progress.has_value());
    progressBar_->setValue(static_cast<int>(std::lround(state.progress.value_or(0) * progressBar_->maximum())));
    showNotices(state.notices);
    countdown_->show(state.countdown);
    keepFocus(focused);
}

// A disabled control loses the keyboard focus to the next one; it gets it back when it is enabled again.
void MainWindow::keepFocus(QWidget* focused) {
    if (focused != nullptr && !focused->isEnabled()) {
        lostFocus_ = focused;
        if (focusWidget() != nullptr) focusWidget()->clearFocus();
    }
    if (!lostFocus_ || !lostFocus_->isEnabled()) return;
    if (focusWidget() == nullptr) lostFocus_->setFocus();
    lostFocus_.clear();
}

void MainWindow::showChoices(const MainWindowState& state) {
    const MainWindowChoices& choices = state.choices;
    sourceTypeControl_->setIndex(static_cast<int>(choices.sourceType));
    if (shownItems_ != state.sourceItems) {
        shownItems_ = state.sourceItems;
        const QSignalBlocker quiet(displayPopup_);
        displayPopup_->clear();
        for (const std::string& item : shownItems_) displayPopup_->addItem(QString::fromStdString(item));
    }
    select(*displayPopup_, choices.sourceIndex);
    for (QWidget* each : std::initializer_list<QWidget*>{displayPopup_, refreshButton_}) {
        each->setVisible(!state.chooseTitle);
    }
    chooseButton_->setVisible(state.chooseTitle.has_value());
    chooseButton_->setText(QString::fromStdString(state.chooseTitle.value_or("")));
    sourceRow_->setFixedWidth(state.chooseTitle ? std::max(kRowWidth, chooseButton_->minimumSizeHint().width())
                                                : kSourceWidth);
    showDevices(state);
    takeRoom();
    select(*fpsPopup_, choices.fpsIndex);
    select(*countdownPopup_, choices.countdownIndex);
    autoZoomBox_->setChecked(choices.autoZoom);
    systemAudioBox_->setChecked(choices.systemAudio);
    microphoneBox_->setChecked(choices.microphone);
    webcamBox_->setChecked(choices.webcam);
}

void MainWindow::showButtons(const MainWindowState& state) {
    recordButton_->setText(QString::fromStdString(state.recordTitle));
    // Setting the text removes the shortcut.
    recordButton_->setShortcut(Qt::Key_Return);
    recordButton_->setEnabled(state.recordEnabled);
    for (QWidget* each :
         std::initializer_list<QWidget*>{sourceTypeControl_, displayPopup_, refreshButton_, chooseButton_, fpsPopup_,
                                         countdownPopup_, systemAudioBox_, microphoneBox_, webcamBox_, microphonePopup_,
                                         cameraPopup_, cardSoundPopup_, studioButton_, revealButton_}) {
        each->setEnabled(state.controlsEnabled);
    }
    renderButton_->setEnabled(state.controlsEnabled && !state.progress);
    // No window opens that would be in the picture of a recording.
    for (QAction* each : {showRecordings_, showExports_}) {
        if (each != nullptr) each->setEnabled(state.controlsEnabled);
    }
}

void MainWindow::showNotices(const std::map<NoticeKind, Notice>& notices) {
    if (shownNotices_ == notices) return;
    shownNotices_ = notices;
    while (QLayoutItem* item = noticeRows_->takeAt(0)) {
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    for (const auto& [kind, notice] : notices) {
        auto* row = new QFrame;
        row->setProperty("role", "notice");
        auto* layout = new QHBoxLayout(row);
        layout->setContentsMargins(ui::theme::kNear, ui::theme::kTight, ui::theme::kTight, ui::theme::kTight);
        auto* text = new QLabel(QString::fromStdString(notice.text));
        text->setObjectName("noticeLabel");
        text->setProperty("role", "second");
        text->setTextFormat(Qt::PlainText);
        text->setWordWrap(true);
        makeCopyable(*text);
        layout->addWidget(text, 1);
        if (!notice.action.empty()) {
            layout->addWidget(
                button(notice.action.c_str(), "noticeButton", [this, kind = kind] { actions_.noticeAction(kind); }));
        }
        noticeRows_->addWidget(row);
        // Only visible widgets count for the window's size.
        row->show();
        for (QWidget* each : row->findChildren<QWidget*>()) each->ensurePolished();
    }
    orderNotices();
    reserveStatusRoom();
    takeRoom();
}

// The keyboard goes to them where they are: above the status.
void MainWindow::orderNotices() {
    QWidget* before = revealButton_;
    for (int i = 0; i < noticeRows_->count(); ++i) {
        QWidget* const row = noticeRows_->itemAt(i)->widget();
        for (const char* name : {"noticeLabel", "noticeButton"}) {
            auto* const next = row->findChild<QWidget*>(name);
            if (next == nullptr) continue;
            setTabOrder(before, next);
            before = next;
        }
    }
    setTabOrder(before, statusLabel_);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(!actions_.mayClose || actions_.mayClose());
}

// A minimised window is not seen.
void MainWindow::tellShown() {
    const bool isShown = isVisible() && !isMinimized();
    if (std::exchange(toldShown_, isShown) != isShown && actions_.shown) actions_.shown(isShown);
}

void MainWindow::showEvent(QShowEvent*) {
    tellShown();
}

void MainWindow::hideEvent(QHideEvent*) {
    tellShown();
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange) tellShown();
}

// The area does this only for keys that one of its own controls has got.
bool MainWindow::focusNextPrevChild(bool next) {
    const bool hasMoved = QWidget::focusNextPrevChild(next);
    if (hasMoved && focusWidget() != nullptr) area_->ensureWidgetVisible(focusWidget());
    return hasMoved;
}

void MainWindow::resizeEvent(QResizeEvent*) {
    countdown_->setGeometry(rect());
}

void MainWindow::setCameraPreview(std::shared_ptr<capture::WebcamPreview> preview) {
    webcamPreviewContainer_->setVisible(preview != nullptr);
    webcamPreviewContainer_->setPreview(std::move(preview));
}

}  // namespace lumivastor::app

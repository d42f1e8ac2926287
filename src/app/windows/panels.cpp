// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/panels.h"

#include <QBitmap>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <utility>

#include "app/windows/camera_view.h"
#include "platform/backends/desktop_backend.h"
#include "ui/accessible.h"
#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr double kScreenMargin = 24;
constexpr int kButtonType = 12;  // in pixels
constexpr int kHintWidth = 280;
constexpr int kHintMargin = 12;
// Of the level meters below the buttons.
constexpr int kLevelsAway = 7;
constexpr int kLevelStep = 6;
constexpr int kLevelHeight = 3;
constexpr int kBelowLevels = 6;
constexpr int kButtonHeight = 28;
constexpr int kBesideCamera = 66;

QColor night(double alpha) {
    return QColor::fromRgbF(0.09F, 0.11F, 0.15F, static_cast<float>(alpha));
}

QPushButton* panelButton(const QString& text, const char* name, QWidget* parent, std::function<void()> action) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setProperty("role", "panel");
    button->setFocusPolicy(Qt::NoFocus);
    QObject::connect(button, &QPushButton::clicked, button, [action = std::move(action)] { action(); });
    return button;
}

QString withKeys(const QString& what, const QString& keys) {
    return keys.isEmpty() ? what : what + " (" + keys + ")";
}

// Laid down for the usual type; larger type makes panels larger as a whole.
int grown(double points) {
    return static_cast<int>(std::lround(points * ui::theme::typeFactor(QGuiApplication::font())));
}
QSize grown(QSize size) {
    return {grown(size.width()), grown(size.height())};
}
QRect grown(const QRect& rect) {
    return {grown(rect.x()), grown(rect.y()), grown(rect.width()), grown(rect.height())};
}
QString pixelType(int usual) {
    return "font-size: " + QString::number(grown(usual)) + "px;";
}

QPainterPath plate(const QRectF& rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

}  // namespace

FloatingPanel::FloatingPanel(QSize size, const Look& look)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                           Qt::NoDropShadowWindowHint | Qt::X11BypassWindowManagerHint),
      look_(look),
      isSeeThrough_(platform::canShowTranslucentWindows()) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, isSeeThrough_);
    // Closing a panel must not end the program.
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(size);
    setStyleSheet(ui::theme::styleSheet(font()) + "QPushButton[role=\"panel\"] { " + pixelType(kButtonType) + " }");
}

void FloatingPanel::orderFront() {
    show();
    raise();
}

void FloatingPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, isSeeThrough_);
    QColor background = look_.background;
    if (!isSeeThrough_) background.setAlphaF(1);
    painter.fillPath(plate(rect(), look_.radius), background);
}

void FloatingPanel::resizeEvent(QResizeEvent*) {
    if (isSeeThrough_) return;
    QBitmap mask(size());
    mask.fill(Qt::color0);
    QPainter painter(&mask);
    painter.fillPath(plate(rect(), look_.radius), Qt::color1);
    painter.end();
    setMask(mask);
}

CountdownWindow::CountdownWindow(const QScreen& screen, std::function<void()> cancel)
    : FloatingPanel({220, 220}, {.background = night(0.85), .radius = 36}),
      cancel_(std::move(cancel)),
      label_(new QLabel(this)) {
    setObjectName("countdownWindow");
    setWindowTitle("LumiVastor – Countdown");
    label_->setStyleSheet("color: white; font-size: 120px; font-weight: bold;");
    label_->setAlignment(Qt::AlignCenter);
    label_->setGeometry(0, 30, 220, 150);
    auto* note = new QLabel("Abbrechen: Esc oder Klick", this);
    note->setObjectName("countdownNote");
    note->setStyleSheet("color: rgba(255, 255, 255, 200); font-size: 13px;");
    note->setAlignment(Qt::AlignCenter);
    note->setGeometry(0, 182, 220, 20);
    for (QLabel* each : {label_, note}) each->setAttribute(Qt::WA_TransparentForMouseEvents);
    setCursor(Qt::PointingHandCursor);
    QRect frame = rect();
    frame.moveCenter(screen.geometry().center());
    move(frame.topLeft());
}

void CountdownWindow::setNumber(int number) {
    label_->setNum(number);
    setAccessibleName("Aufnahme beginnt in " + QString::number(number));
    setAccessibleDescription("Esc oder ein Klick bricht ab");
}

void CountdownWindow::mousePressEvent(QMouseEvent*) {
    cancel_();
}

// A dot while the recording runs, two bars in a pause.
class RecordingPanel::Sign final : public QWidget {
  public:
    explicit Sign(QWidget* parent) : QWidget(parent) { setPaused(false); }

    void setPaused(bool paused) {
        isPaused_ = paused;
        setAccessibleName(paused ? "Pause" : "Aufnahme läuft");
        update();
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const double side = 0.6 * height();
        const QRectF square((width() - side) / 2, (height() - side) / 2, side, side);
        if (!isPaused_) {
            painter.setBrush(QColor(0xFF, 0x45, 0x3A));
            painter.drawEllipse(square);
            return;
        }
        painter.setBrush(QColor(0xFF, 0xD6, 0x0A));
        for (const double x : {square.left(), square.right() - 0.36 * side}) {
            painter.drawRoundedRect(QRectF(x, square.top(), 0.36 * side, side), 1, 1);
        }
    }

  private:
    bool isPaused_ = false;
};

RecordingPanel::RecordingPanel(const QScreen& screen, std::shared_ptr<capture::WebcamPreview> preview,
                               const RecordingKeys& keys, const RecordingActions& actions)
    : FloatingPanel(grown(preview ? QSize(414, 60) : QSize(350, 44)), {.background = night(0.92), .radius = 12}),
      pauseKeys_(QString::fromStdString(keys.pause)),
      sign_(new Sign(this)),
      time_(new ui::DigitLabel(this)),
      hint_(new QLabel(this)),
      hasCamera_(preview != nullptr) {
    setObjectName("recordingPanel");
    setWindowTitle("LumiVastor – Aufnahme läuft");
    const int middle = preview ? 30 : 22;
    const int dotX = preview ? kBesideCamera : 12;
    const int right = preview ? 414 : 350;
    if (preview) {
        auto* camera = new CameraView(grown(QSize(44, 44)), grown(22), this);
        camera->setObjectName("panelCamera");
        camera->move(grown(12), grown(middle - 22));
        camera->setPreview(std::move(preview));
    }
    sign_->setGeometry(grown(QRect(dotX, middle - 10, 20, 20)));
    time_->setObjectName("recordingTime");
    time_->setStyleSheet(pixelType(15) + " font-weight: 500;");
    setTime("0:00");
    time_->setGeometry(grown(QRect(dotX + 24, middle - 10, 60, 20)));
    markButton_ = panelButton("", "panelMarkButton", this, actions.mark);
    markButton_->setToolTip(withKeys("Marke setzen", QString::fromStdString(keys.mark)));
    pauseButton_ = panelButton("", "panelPauseButton", this, actions.togglePause);
    auto* stop = panelButton("Stopp", "panelStopButton", this, actions.stop);
    stop->setToolTip(withKeys("Aufnahme stoppen", QString::fromStdString(keys.stop)));
    for (int place = 3; QPushButton * each : {markButton_, pauseButton_, stop}) {
        each->setGeometry(grown(QRect(right - 4 - 80 * place--, middle - kButtonHeight / 2, 72, kButtonHeight)));
    }
    setMarks(0);
    setPaused(false);
    hint_->setObjectName("recordingHint");
    hint_->setStyleSheet(pixelType(12) + " color: #FFB454;");
    hint_->setWordWrap(true);
    hint_->hide();
    ui::makeStatusLine(*hint_);
    const QRect free = screen.availableGeometry();
    move(free.x() + free.width() - width() - static_cast<int>(kScreenMargin),
         free.y() + free.height() - height() - static_cast<int>(kScreenMargin));
}

void RecordingPanel::setTime(const QString& time) {
    time_->setText(time);
}

// Beside the camera there is room for them: buttons and levels are in the middle together. Otherwise the panel grows.
void RecordingPanel::showLevels(const std::vector<platform::SoundBoard::Kind>& kinds, const LevelReader& read) {
    if (kinds.empty()) return;
    const auto beat = std::make_shared<LevelBeat>(read);
    const int levels = kLevelsAway + kLevelStep * (static_cast<int>(kinds.size()) - 1) + kLevelHeight;
    const int row = pauseButton_->y();
    const int up = hasCamera_ ? grown(levels / 2.0) : 0;
    for (QWidget* const part : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (part != hint_ && part->objectName() != "panelCamera") part->move(part->x(), part->y() - up);
    }
    const int left = grown(hasCamera_ ? kBesideCamera : kHintMargin);
    int top = row - up + grown(kButtonHeight + kLevelsAway);
    for (const auto kind : kinds) {
        const bool isMicrophone = kind == platform::SoundBoard::Kind::microphone;
        auto* const level =
            new LevelView(isMicrophone ? "Pegel des Mikrofons" : "Pegel des Systemtons", kind, beat, this);
        level->setObjectName("panelLevel");
        level->setGeometry(left, top, width() - left - grown(kHintMargin), grown(kLevelHeight));
        level->show();
        top += grown(kLevelStep);
    }
    if (hasCamera_) return;
    const int more = row + grown(kButtonHeight + levels + kBelowLevels) - height();
    setFixedSize(width(), height() + more);
    move(x(), y() - more);
}

void RecordingPanel::setHint(const QString& sentence) {
    if (hint_->text() == sentence) return;
    hint_->setText(sentence);
    hint_->setVisible(!sentence.isEmpty());
    const QSize bare = size() - hintRoom_;
    QSize room{0, 0};
    if (!sentence.isEmpty()) {
        const int margin = grown(kHintMargin);
        const int width = std::max(bare.width(), grown(kHintWidth) + 2 * margin);
        const int height = hint_->heightForWidth(width - 2 * margin);
        hint_->setGeometry(margin, margin, width - 2 * margin, height);
        room = {width - bare.width(), margin + height};
    }
    const QPoint by(room.width() - hintRoom_.width(), room.height() - hintRoom_.height());
    for (QWidget* const part : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (part != hint_) part->move(part->pos() + by);
    }
    hintRoom_ = room;
    grip_ += by;
    setFixedSize(bare + room);
    move(pos() - by);
    ui::announce(*hint_);
}

QString RecordingPanel::pauseTip() const {
    return withKeys(pauseButton_->text() == "Pause" ? "Aufnahme pausieren" : "Aufnahme fortsetzen", pauseKeys_);
}

void RecordingPanel::setPaused(bool paused) {
    sign_->setPaused(paused);
    pauseButton_->setText(paused ? "Weiter" : "Pause");
    pauseButton_->setToolTip(pauseTip());
}

void RecordingPanel::setMarks(int count) {
    markButton_->setText(count == 0 ? QString("Marke") : "Marke · " + QString::number(count));
}

void RecordingPanel::mousePressEvent(QMouseEvent* event) {
    grip_ = event->position().toPoint();
}

void RecordingPanel::mouseMoveEvent(QMouseEvent* event) {
    if ((event->buttons() & Qt::LeftButton) != 0) move(event->globalPosition().toPoint() - grip_);
}

RegionArmPanel::RegionArmPanel(const QScreen& screen, std::function<void()> proceed, std::function<void()> cancel)
    : FloatingPanel(grown(QSize(430, 56)), {.background = night(0.92), .radius = 12}) {
    setObjectName("regionArmPanel");
    setWindowTitle("LumiVastor – Ausschnitt vorbereiten");
    auto* label = new QLabel("Fenster zurechtlegen, dann:", this);
    label->setStyleSheet(pixelType(13));
    label->setGeometry(grown(QRect(16, 19, 190, 18)));
    auto* choose = panelButton("Ausschnitt wählen", "armProceedButton", this, std::move(proceed));
    choose->setProperty("active", true);
    choose->setGeometry(grown(QRect(210, 14, 132, 28)));
    auto* abandon = panelButton("Abbrechen", "armCancelButton", this, std::move(cancel));
    abandon->setGeometry(grown(QRect(350, 14, 72, 28)));
    const QRect free = screen.availableGeometry();
    move(free.x() + (free.width() - width()) / 2, free.y() + static_cast<int>(kScreenMargin));
}

}  // namespace lumivastor::app

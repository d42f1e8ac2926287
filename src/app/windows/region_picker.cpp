// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/region_picker.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "platform/backends/desktop_backend.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

constexpr float kDimming = 0.35F;
constexpr double kLineWidth = 2;
constexpr double kLabelMarginX = 8;
constexpr double kLabelMarginY = 4;
constexpr double kLabelRadius = 6;
constexpr float kLabelAlpha = 0.7F;

Point pointOf(const QMouseEvent& event) {
    return {event.position().x(), event.position().y()};
}

QRectF qRect(const Rect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

}  // namespace

PickerView::PickerView(QSize size, QPixmap background, QWidget* parent)
    : QWidget(parent),
      selection_({static_cast<double>(size.width()), static_cast<double>(size.height())}),
      background_(std::move(background)) {
    resize(size);
    setCursor(Qt::CrossCursor);
    setFocusPolicy(Qt::StrongFocus);
    setObjectName("pickerView");
    setAccessibleName("Ausschnitt mit der Maus aufziehen");
}

void PickerView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return;
    selection_.mouseDown(pointOf(*event));
    update();
}

void PickerView::mouseMoveEvent(QMouseEvent* event) {
    selection_.mouseDragged(pointOf(*event));
    update();
}

void PickerView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) finish(selection_.mouseUp(pointOf(*event)));
}

void PickerView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) finish(std::nullopt);
}

void PickerView::finish(std::optional<Rect> rect) {
    const auto told = std::exchange(onFinish, nullptr);
    if (told) told(rect);
}

void PickerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto hole = selection_.hole();
    if (background_.isNull()) {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, kDimming));
        if (hole) painter.fillRect(qRect(*hole), Qt::transparent);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    } else {
        painter.drawPixmap(rect(), background_);
        QRegion dimmed(rect());
        if (hole) dimmed -= qRect(*hole).toAlignedRect();
        painter.setClipRegion(dimmed);
        painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, kDimming));
        painter.setClipping(false);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    if (hole) {
        painter.setPen(QPen(ui::theme::kAccent, kLineWidth));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(qRect(*hole));
    }
    if (const auto label = selection_.label()) drawCenteredText(painter, *label);
}

void PickerView::drawCenteredText(QPainter& painter, const OverlayLabel& label) {
    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(label.fontSize));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    const QString text = QString::fromStdString(label.text);
    QRectF box = QFontMetricsF(font).boundingRect(text);
    box.moveCenter({label.centre.x, label.centre.y});
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, kLabelAlpha));
    painter.drawRoundedRect(box.adjusted(-kLabelMarginX, -kLabelMarginY, kLabelMarginX, kLabelMarginY), kLabelRadius,
                            kLabelRadius);
    painter.setPen(Qt::white);
    painter.drawText(box.adjusted(-kLabelMarginX, 0, kLabelMarginX, 0), Qt::AlignCenter, text);
}

PickerWindow::PickerWindow(QScreen& screen)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint |
                           Qt::X11BypassWindowManagerHint) {
    setObjectName("pickerWindow");
    setWindowTitle("LumiVastor – Ausschnitt wählen");
    setAttribute(Qt::WA_QuitOnClose, false);
    QPixmap background;
    if (platform::canShowTranslucentWindows()) {
        setAttribute(Qt::WA_TranslucentBackground);
    } else {
        // Without a compositing manager the view cannot be translucent, so it shows a copy of the screen.
        background = screen.grabWindow(0, 0, 0, screen.geometry().width(), screen.geometry().height());
    }
    setGeometry(screen.geometry());
    view_ = new PickerView(screen.geometry().size(), std::move(background), this);
}

void PickerWindow::orderFront() {
    show();
    raise();
    activateWindow();
    view_->setFocus();
    view_->grabKeyboard();
}

void RegionPicker::pick(QScreen& screen, std::function<void(std::optional<Rect>)> completion) {
    if (window_) window_->view().onFinish(std::nullopt);
    window_ = std::make_unique<PickerWindow>(screen);
    window_->view().onFinish = [this, completion = std::move(completion)](std::optional<Rect> rect) {
        window_->hide();
        // Not within the view's own event handler.
        QTimer::singleShot(0, [window = std::shared_ptr<PickerWindow>(std::move(window_)), completion, rect] {
            window->close();
            completion(rect);
        });
    };
    window_->orderFront();
    Log::write("Region", std::string("Overlay angezeigt: sichtbar=") + (window_->isVisible() ? "true" : "false") +
                             formatted(", Schirm=%d×%d", screen.geometry().width(), screen.geometry().height()));
}

}  // namespace lumivastor::app

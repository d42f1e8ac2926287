// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/region_picker.h"

#include <QAccessible>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "base/formatted.h"
#include "base/log.h"
#include "platform/backends/desktop_backend.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

// By which a key moves or sizes, in points.
constexpr double kStep = 10;
constexpr double kLargeStep = 100;
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
    setAccessibleDescription(
        "Pfeiltasten verschieben einen Ausschnitt, mit Strg ändern sie seine Größe; "
        "die Eingabetaste wählt ihn, Esc bricht ab");
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
    if (event->key() == Qt::Key_Escape) return finish(std::nullopt);
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (const auto rect = selection_.madeByKeys()) finish(rect);
        return;
    }
    const double step = event->modifiers() & Qt::ShiftModifier ? kLargeStep : kStep;
    Point by;
    if (event->key() == Qt::Key_Left) by.x = -step;
    if (event->key() == Qt::Key_Right) by.x = step;
    if (event->key() == Qt::Key_Up) by.y = -step;
    if (event->key() == Qt::Key_Down) by.y = step;
    if (by == Point{}) return;
    if (event->modifiers() & Qt::ControlModifier) {
        selection_.sizeByKey(by);
    } else {
        selection_.moveByKey(by);
    }
    update();
    const auto rect = selection_.madeByKeys();
    if (!rect) return;
    setAccessibleDescription(QString::fromStdString(
        formatted("links %.0f, oben %.0f, %.0f × %.0f Punkte", rect->x, rect->y, rect->width, rect->height)));
    QAccessibleEvent changed(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&changed);
}

void PickerView::finish(std::optional<Rect> rect) {
    const auto told = std::exchange(onFinish, nullptr);
    if (told) told(rect);
}

void PickerView::resizeEvent(QResizeEvent*) {
    selection_ = RegionSelection({static_cast<double>(width()), static_cast<double>(height())});
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
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(rect(), background_);
        QRegion dimmed(rect());
        if (hole) dimmed -= qRect(*hole).toAlignedRect();
        painter.setClipRegion(dimmed);
        painter.fillRect(rect(), QColor::fromRgbF(0, 0, 0, kDimming));
        painter.setClipping(false);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    if (hole) {
        painter.setBrush(Qt::NoBrush);
        // A dark line below, so that the frame is seen on every screen.
        painter.setPen(QPen(ui::theme::kUnder, 2 * kLineWidth));
        painter.drawRect(qRect(*hole));
        painter.setPen(QPen(ui::theme::kAccent, kLineWidth));
        painter.drawRect(qRect(*hole));
    }
    if (const auto label = selection_.label()) drawCenteredText(painter, *label);
}

void PickerView::drawCenteredText(QPainter& painter, const OverlayLabel& label) const {
    QFont font = painter.font();
    font.setPixelSize(static_cast<int>(label.fontSize * ui::theme::typeFactor(QGuiApplication::font())));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    const QString text = QString::fromStdString(label.text);
    QRectF box = QFontMetricsF(font).boundingRect(text);
    box.moveCenter({label.centre.x, label.centre.y});
    // Large type may not leave the screen.
    box.moveBottom(std::min(box.bottom(), height() - kLabelMarginY));
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

PicturePickerWindow::PicturePickerWindow(QScreen& screen, const QPixmap& picture)
    : QWidget(nullptr, Qt::FramelessWindowHint), picture_(picture.size()) {
    setObjectName("pickerWindow");
    setWindowTitle("LumiVastor – Ausschnitt wählen");
    setAttribute(Qt::WA_QuitOnClose, false);
    // The compositor decides the size and chooses the output by this one.
    setScreen(&screen);
    setGeometry(screen.geometry());
    view_ = new PickerView(screen.geometry().size(), picture, this);
}

void PicturePickerWindow::orderFront() {
    showFullScreen();
    activateWindow();
    view_->setFocus();
}

void PicturePickerWindow::resizeEvent(QResizeEvent*) {
    const Rect place = fittedInto({static_cast<double>(width()), static_cast<double>(height())},
                                  {static_cast<double>(picture_.width()), static_cast<double>(picture_.height())});
    view_->setGeometry(qRect(place).toRect());
}

void PicturePickerWindow::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), Qt::black);
}

template <typename Window>
void RegionPicker::run(std::unique_ptr<Window> window, std::function<void(std::optional<Rect>)> completion) {
    if (window_) view_->onFinish(std::nullopt);
    view_ = &window->view();
    view_->onFinish = [this, completion = std::move(completion)](std::optional<Rect> rect) {
        window_->hide();
        // Not within the view's own event handler.
        QTimer::singleShot(0, [window = std::shared_ptr<QWidget>(std::move(window_)), completion, rect] {
            window->close();
            completion(rect);
        });
    };
    Window& shown = *window;
    window_ = std::move(window);
    shown.orderFront();
    const QSize size = shown.screen()->geometry().size();
    Log::write("Region", std::string("Overlay angezeigt: sichtbar=") + (shown.isVisible() ? "true" : "false") +
                             formatted(", Schirm=%d×%d", size.width(), size.height()));
}

void RegionPicker::pick(QScreen& screen, std::function<void(std::optional<Rect>)> completion) {
    run(std::make_unique<PickerWindow>(screen), std::move(completion));
}

void RegionPicker::pickOnPicture(QScreen& screen, const QPixmap& picture,
                                 std::function<void(std::optional<Rect>, const Size&)> completion) {
    auto window = std::make_unique<PicturePickerWindow>(screen, picture);
    const PickerView& view = window->view();
    run(std::move(window), [&view, completion = std::move(completion)](std::optional<Rect> rect) {
        completion(rect, {static_cast<double>(view.width()), static_cast<double>(view.height())});
    });
}

}  // namespace lumivastor::app

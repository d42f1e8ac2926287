// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/recordings_view.h"

#include <QEvent>
#include <QFontMetrics>
#include <QHeaderView>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QStyledItemDelegate>
#include <algorithm>
#include <cmath>
#include <vector>

#include "app/windows/recordings_model.h"
#include "ui/icons.h"
#include "ui/theme.h"

namespace lumivastor::app {

namespace {

namespace theme = ui::theme;

constexpr QSize kPicture(112, 63);
constexpr double kPictureRadius = 5;
constexpr double kRowRadius = 8;
constexpr int kBadgeSides = 8;  // beside its text
constexpr int kLeastHeight = 240;

struct BadgeColours {
    QColor ground, text;
};

// The texts have a contrast of at least 7 with their grounds.
BadgeColours coloursOf(BadgeKind kind) {
    switch (kind) {
        case BadgeKind::good:
            return {QColor(0x1F, 0x3A, 0x2C), QColor(0x9C, 0xE5, 0xB8)};
        case BadgeKind::active:
            return {QColor(0x4A, 0x2A, 0x14), QColor(0xFF, 0xC4, 0x9E)};
        case BadgeKind::warning:
            return {QColor(0x45, 0x38, 0x12), QColor(0xFF, 0xDD, 0x8A)};
        case BadgeKind::fault:
            return {QColor(0x4D, 0x22, 0x22), QColor(0xFF, 0xBD, 0xB5)};
        case BadgeKind::neutral:
            break;
    }
    return {theme::kTrack, theme::kText};
}

QFont sized(QFont font, double points, QFont::Weight weight = QFont::Normal) {
    font.setPointSizeF(points);
    font.setWeight(weight);
    return font;
}

QFont nameFont(const QFont& base) {
    return sized(base, theme::typeScale(base).body, QFont::DemiBold);
}
QFont smallFont(const QFont& base) {
    return sized(base, theme::typeScale(base).small);
}
QFont badgeFont(const QFont& base) {
    return sized(base, theme::typeScale(base).small, QFont::Medium);
}

int badgeWidth(const QFont& base, const QString& text) {
    return QFontMetrics(badgeFont(base)).horizontalAdvance(text) + 2 * kBadgeSides;
}

class RowPainter final : public QStyledItemDelegate {
  public:
    RowPainter(const RecordingsModel& model, QObject* parent) : QStyledItemDelegate(parent), model_(model) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const int lines = QFontMetrics(nameFont(option.font)).height() + QFontMetrics(smallFont(option.font)).height();
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(std::max(kPicture.height(), lines + theme::kTight) + 2 * theme::kNear);
        return size;
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        if (index.column() == RecordingsModel::name) {
            paintPicture(*painter, pictureRect(option.rect), model_.picture(index));
            paintName(*painter, option, index);
        } else if (index.column() == RecordingsModel::state) {
            paintBadges(*painter, option, index);
        } else {
            const QString text = index.data(Qt::DisplayRole).toString();
            painter->setFont(sized(option.font, theme::typeScale(option.font).body));
            painter->setPen(theme::kText);
            const QRect place = option.rect.adjusted(theme::kNear, 0, -theme::kNear, 0);
            painter->drawText(place, index.data(Qt::TextAlignmentRole).toInt(), text);
        }
        painter->restore();
    }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override {
        auto* field = new QLineEdit(parent);
        field->setObjectName("renameField");
        field->setAccessibleName("Neuer Name");
        return field;
    }
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex&) const override {
        const QRect texts = textRect(option.rect);
        const int height = editor->sizeHint().height();
        editor->setGeometry(texts.x() - theme::kNear, texts.center().y() - height / 2, texts.width() + theme::kNear,
                            height);
    }

  private:
    static QRect pictureRect(const QRect& cell) {
        return {QPoint(cell.x() + theme::kNear, cell.y() + (cell.height() - kPicture.height()) / 2), kPicture};
    }
    static QRect textRect(const QRect& cell) {
        return cell.adjusted(kPicture.width() + theme::kNear + theme::kApart, 0, -theme::kNear, 0);
    }

    static void paintPicture(QPainter& painter, const QRect& place, const QPixmap& picture) {
        QPainterPath frame;
        frame.addRoundedRect(place, kPictureRadius, kPictureRadius);
        painter.fillPath(frame, theme::kStage);
        if (picture.isNull()) {
            constexpr int kIcon = 24;
            ui::icon("film", theme::kDisabledText)
                .paint(&painter, QRect(place.center() - QPoint(kIcon / 2, kIcon / 2), QSize(kIcon, kIcon)));
        } else {
            painter.save();
            painter.setClipPath(frame);
            // As large as fits; narrow ones keep the dark ground beside them.
            const QSizeF size = QSizeF(picture.size()).scaled(place.size(), Qt::KeepAspectRatio);
            const QPointF corner = QRectF(place).center() - QPointF(size.width() / 2, size.height() / 2);
            painter.drawPixmap(QRectF(corner, size), picture, QRectF(picture.rect()));
            painter.restore();
        }
        painter.setPen(QPen(theme::kLine, 1));
        painter.drawRoundedRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5), kPictureRadius, kPictureRadius);
    }

    void paintName(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
        const QRect place = textRect(option.rect);
        const QString detail = model_.detail(index);
        const QFont first = nameFont(option.font);
        const QFont second = smallFont(option.font);
        const QFontMetrics firstMetrics(first);
        const QFontMetrics secondMetrics(second);
        const int height = firstMetrics.height() + (detail.isEmpty() ? 0 : secondMetrics.height() + 2);
        const int top = place.y() + (place.height() - height) / 2;
        painter.setFont(first);
        painter.setPen(theme::kText);
        const QString name = index.data(Qt::DisplayRole).toString();
        painter.drawText(place.x(), top + firstMetrics.ascent(),
                         firstMetrics.elidedText(name, Qt::ElideMiddle, place.width()));
        if (detail.isEmpty()) return;
        painter.setFont(second);
        painter.setPen(theme::kSecondText);
        painter.drawText(place.x(), top + height - secondMetrics.descent(),
                         secondMetrics.elidedText(detail, Qt::ElideRight, place.width()));
    }

    void paintBadges(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
        const RecordingEntry* const entry = model_.entry(index);
        if (entry == nullptr) return;
        painter.setFont(badgeFont(option.font));
        const int height = QFontMetrics(badgeFont(option.font)).height() + theme::kTight;
        const std::vector<Badge> badges = badgesOf(*entry);
        const int left = option.rect.x() + theme::kNear;
        int wide = -theme::kTight;
        for (const Badge& badge : badges) {
            wide += badgeWidth(option.font, QString::fromStdString(badge.text)) + theme::kTight;
        }
        // One below the other where the column is narrow.
        const bool isColumn = left + wide > option.rect.right() + 1;
        const int lines = isColumn ? static_cast<int>(badges.size()) : 1;
        int y = option.rect.y() + (option.rect.height() - lines * height - (lines - 1) * theme::kTight / 2) / 2;
        int x = left;
        for (const Badge& badge : badges) {
            const QString text = QString::fromStdString(badge.text);
            const QRect place(x, y, badgeWidth(option.font, text), height);
            const BadgeColours colours = coloursOf(badge.kind);
            painter.setPen(Qt::NoPen);
            painter.setBrush(colours.ground);
            painter.drawRoundedRect(place, height / 2.0, height / 2.0);
            painter.setPen(colours.text);
            painter.drawText(place, Qt::AlignCenter, text);
            if (isColumn) {
                y += height + theme::kTight / 2;
            } else {
                x = place.right() + 1 + theme::kTight;
            }
        }
    }

    const RecordingsModel& model_;
};

}  // namespace

RecordingsView::RecordingsView(RecordingsModel& model, QWidget* parent) : QTreeView(parent) {
    setObjectName("recordingsList");
    setAccessibleName("Aufnahmen");
    setModel(&model);
    setItemDelegate(new RowPainter(model, this));
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::EditKeyPressed);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setContextMenuPolicy(Qt::CustomContextMenu);
    // Rows paint their own ground.
    setStyleSheet(QString("QTreeView, QTreeView:focus { border-color: %1; border-radius: 8px; padding: 4px; }"
                          "QTreeView::item, QTreeView::item:selected { background: transparent; border: none; }"
                          "QHeaderView::section { padding: 3px 8px; }")
                      .arg(theme::kLine.name()));
    header()->setAccessibleName("Spalten");
    header()->setSectionsClickable(true);
    header()->setSectionsMovable(false);
    header()->setStretchLastSection(false);
    header()->setSortIndicatorShown(true);
    header()->setHighlightSections(false);
}

void RecordingsView::fitColumns() {
    const QFontMetrics body(sized(font(), theme::typeScale(font()).body));
    const auto wide = [&](const char* longest) { return body.horizontalAdvance(longest) + 2 * theme::kNear; };
    header()->setMinimumSectionSize(1);
    header()->setSectionResizeMode(QHeaderView::Fixed);
    header()->setSectionResizeMode(RecordingsModel::name, QHeaderView::Stretch);
    header()->resizeSection(RecordingsModel::date, wide("88.88.8888, 88:88"));
    // Headings are small, but have room for the arrow of the order.
    constexpr int kArrow = 18;
    lengthWidth_ = std::max(wide("88:88:88"), wide("Länge") + kArrow);
    sizeWidth_ = std::max(wide("888,8 MB"), wide("Größe") + kArrow);
    header()->resizeSection(RecordingsModel::length, lengthWidth_);
    header()->resizeSection(RecordingsModel::size, sizeWidth_);
    // The name that a recording gets by itself has room; the picture, the scroll bar and the frame, too.
    constexpr int kFrame = 24;
    besideStates_ = kPicture.width() + theme::kApart + 2 * theme::kNear + kFrame +
                    QFontMetrics(nameFont(font())).horizontalAdvance("8888-88-88_88-88-88") +
                    header()->sectionSize(RecordingsModel::date) + lengthWidth_ + sizeWidth_;
    // Around the list are the window's edges and its frame.
    constexpr int kAround = 60;
    const int room = screen()->availableSize().width() - kAround;
    setMinimumSize(std::min(besideStates_ + oneBadge(), room), kLeastHeight);
    fitWidth();
}

int RecordingsView::oneBadge() const {
    return badgeWidth(font(), "Wird aufgenommen") + 2 * theme::kNear;
}

// Two badges stand side by side where the list is wide enough, or else one below the other. On the narrowest of screens
// names need the room of lengths and sizes.
void RecordingsView::fitWidth() {
    const int all = besideStates_ + oneBadge();
    setColumnHidden(RecordingsModel::size, width() < all);
    setColumnHidden(RecordingsModel::length, width() < all - sizeWidth_);
    const int two =
        badgeWidth(font(), "Bearbeitet") + theme::kTight + badgeWidth(font(), "Wird gerendert") + 2 * theme::kNear;
    header()->resizeSection(RecordingsModel::state, width() >= besideStates_ + two ? two : oneBadge());
}

void RecordingsView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    fitWidth();
}

void RecordingsView::drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const bool isSelected = selectionModel()->isSelected(index);
    if (isSelected) {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QRectF row = QRectF(option.rect).adjusted(1, 2, -1, -2);
        painter->setBrush(theme::kControl);
        painter->setPen(hasFocus() ? QPen(theme::kFocus, 2) : QPen(Qt::NoPen));
        painter->drawRoundedRect(row, kRowRadius, kRowRadius);
        painter->restore();
    }
    QStyleOptionViewItem plain = option;
    plain.state &= ~QStyle::State_HasFocus;
    QTreeView::drawRow(painter, plain, index);
}

QItemSelectionModel::SelectionFlags RecordingsView::selectionCommand(const QModelIndex& index,
                                                                     const QEvent* event) const {
    // A click beside the rows leaves them selected.
    if (!index.isValid()) return QItemSelectionModel::NoUpdate;
    return QTreeView::selectionCommand(index, event);
}

void RecordingsView::changeEvent(QEvent* event) {
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) fitColumns();
}

}  // namespace lumivastor::app

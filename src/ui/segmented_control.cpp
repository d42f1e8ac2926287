// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/segmented_control.h"

#include <QAccessibleWidget>
#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <algorithm>

namespace lumivastor::ui {

namespace {

// A group of radio buttons; its value is the title of the selected one.
class AccessibleSegments final : public QAccessibleWidget {
  public:
    explicit AccessibleSegments(SegmentedControl& control)
        : QAccessibleWidget(&control, QAccessible::Grouping), control_(control) {}

    QString text(QAccessible::Text which) const override {
        if (which != QAccessible::Value) return QAccessibleWidget::text(which);
        return control_.index() < 0 ? QString() : control_.segment(control_.index())->text();
    }

  private:
    SegmentedControl& control_;
};

QAccessibleInterface* accessibleOf(const QString&, QObject* object) {
    auto* control = dynamic_cast<SegmentedControl*>(object);
    return control != nullptr ? new AccessibleSegments(*control) : nullptr;
}

}  // namespace

SegmentedControl::SegmentedControl(std::span<const std::string_view> titles, const QString& accessibleName,
                                   QWidget* parent)
    : QFrame(parent), group_(new QButtonGroup(this)) {
    // Does nothing when it is installed already.
    QAccessible::installFactory(accessibleOf);
    setProperty("role", "segments");
    setAccessibleName(accessibleName);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(2, 2, 2, 2);
    row->setSpacing(2);
    for (const std::string_view title : titles) {
        const QString text = QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size()));
        auto* segment = new QPushButton(text, this);
        segment->setProperty("role", "segment");
        segment->setCheckable(true);
        // Assistive programs see radio buttons by this; which are exclusive is decided by the group.
        segment->setAutoExclusive(true);
        segment->setFocusPolicy(Qt::TabFocus);
        segment->setAccessibleName(accessibleName + ": " + text);
        group_->addButton(segment, static_cast<int>(segments_.size()));
        segments_.push_back(segment);
        row->addWidget(segment, 1);
    }
    offerSelected();
    connect(group_, &QButtonGroup::idClicked, this, [this] {
        offerSelected();
        if (onSelect) onSelect();
    });
}

int SegmentedControl::index() const {
    return group_->checkedId();
}

void SegmentedControl::setIndex(int index) {
    if (index == group_->checkedId()) return;
    const bool isSegment = index >= 0 && index < static_cast<int>(segments_.size());
    if (isSegment) {
        segment(index)->setChecked(true);
    } else if (auto* checked = group_->checkedButton()) {
        // An exclusive group refuses to uncheck its checked button.
        group_->setExclusive(false);
        checked->setChecked(false);
        group_->setExclusive(true);
    }
    offerSelected();
}

// Qt would offer the segment that had the keyboard last, at first the first one.
void SegmentedControl::offerSelected() {
    const int offered = std::max(index(), 0);
    for (int i = 0; i < static_cast<int>(segments_.size()); ++i) {
        segment(i)->setFocusPolicy(i == offered ? Qt::TabFocus : Qt::NoFocus);
    }
}

void SegmentedControl::keyPressEvent(QKeyEvent* event) {
    const int by = event->key() == Qt::Key_Down ? 1 : event->key() == Qt::Key_Up ? -1 : 0;
    if (by == 0) return QFrame::keyPressEvent(event);
    const int next = std::clamp(index() + by, 0, static_cast<int>(segments_.size()) - 1);
    if (next != index()) segment(next)->click();
    segment(next)->setFocus(Qt::TabFocusReason);
}

}  // namespace lumivastor::ui

// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/segmented_control.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPushButton>

namespace lumivastor::ui {

SegmentedControl::SegmentedControl(std::span<const std::string_view> titles, const QString& accessibleName,
                                   QWidget* parent)
    : QFrame(parent), group_(new QButtonGroup(this)) {
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
        segment->setFocusPolicy(Qt::TabFocus);
        segment->setAccessibleName(accessibleName + ": " + text);
        group_->addButton(segment, static_cast<int>(segments_.size()));
        segments_.push_back(segment);
        row->addWidget(segment, 1);
    }
    connect(group_, &QButtonGroup::idClicked, this, [this] {
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
}

}  // namespace lumivastor::ui

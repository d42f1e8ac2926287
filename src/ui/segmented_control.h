// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

class QAbstractButton;
class QButtonGroup;

namespace lumivastor::ui {

/// A row of segments of which one is selected. The tabulator key goes to the selected one, the up and down keys move
/// the selection.
class SegmentedControl final : public QFrame {
  public:
    /// `accessibleName` names what the user chooses here.
    SegmentedControl(std::span<const std::string_view> titles, const QString& accessibleName,
                     QWidget* parent = nullptr);

    /// -1 when none is selected.
    int index() const;
    /// Does not call `onSelect`. An index out of range selects none.
    void setIndex(int index);
    QAbstractButton* segment(int index) const { return segments_[static_cast<std::size_t>(index)]; }

    /// The user has selected a segment.
    std::function<void()> onSelect;

  protected:
    /// Keys that the segments do not use.
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void offerSelected();

    QButtonGroup* group_;
    std::vector<QAbstractButton*> segments_;
};

}  // namespace lumivastor::ui

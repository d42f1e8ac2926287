// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTreeView>

#include "app/library/recording_texts.h"

namespace lumivastor::app {

class RecordingsModel;

/// The list of recordings: a row each, with its picture, its facts in columns, and its state as badges. Knows how rows
/// look, not what happens with them.
class RecordingsView final : public QTreeView {
  public:
    /// The model outlives the view.
    explicit RecordingsView(RecordingsModel& model, QWidget* parent = nullptr);

    bool isRenaming() const { return state() == QAbstractItemView::EditingState; }
    /// Widens the columns to what they show in the font that is in force.
    void fitColumns();

  protected:
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event = nullptr) const override;

  private:
    int oneBadge() const;
    void fitWidth();

    int lengthWidth_ = 0, sizeWidth_ = 0;
    int besideStates_ = 0;  // the width that everything but the states' column needs
};

}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <functional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "editor/editor_builders.h"
#include "editor/session/idle_proposals.h"

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace lumivastor::editor {

/// "Leerlauf kürzen": a list of the stretches in which nothing happens, from which the user takes those to cut. It
/// stays beside the editor's window, so that the preview can be seen. Main thread.
class IdleDialog final : public QDialog {
  public:
    struct Callbacks {
        /// A row was clicked: shows and plays what comes at this time.
        std::function<void(double seconds)> show;
        /// The user wants the chosen cuts.
        std::function<void(const IdleProposals& proposals)> apply;
    };

    IdleDialog(QWidget& window, Callbacks callbacks);

    /// The recording is still being looked through.
    void setSearching();
    /// What is idle, and what the video shows at present. Empties nothing that the user has chosen.
    void setContent(std::vector<Interval> idle, std::vector<Interval> kept, std::int64_t fps);

    const IdleProposals& proposals() const { return proposals_; }
    const edit::IdleRules& rules() const { return rules_; }

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    LabelledSlider addSlider(QGridLayout& grid, const QString& caption, const SliderSpec& spec,
                             double edit::IdleRules::*field);
    void propose();
    void fillList();
    void refreshSummary();
    void rowChanged(QTreeWidgetItem* item);
    void showRow(QTreeWidgetItem* item);
    void chooseAll(bool areChosen);

    const Callbacks callbacks_;
    edit::IdleRules rules_;
    std::vector<Interval> idle_;
    std::vector<Interval> kept_;
    std::int64_t fps_ = 60;
    bool isSearching_ = true;
    IdleProposals proposals_;
    QTreeWidget* list_;
    QLabel* summary_;
    QPushButton* allButton_;
    QPushButton* noneButton_;
    QPushButton* applyButton_;
};

}  // namespace lumivastor::editor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/idle_dialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <utility>

#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

// So that a rest is always shorter than the shortest stretch that is proposed.
constexpr ui::ControlRange kLeastRange{1.5, 20};
constexpr ui::ControlRange kRestRange{0, 1.4};
// How long before a cut a row is shown from, in seconds.
constexpr double kLeadIn = 1;

constexpr int kWidth = 430;
constexpr int kHeight = 460;

enum Column : int { kStart, kLength, kSaved };

}  // namespace

IdleDialog::IdleDialog(QWidget& window, Callbacks callbacks)
    : QDialog(&window),
      callbacks_(std::move(callbacks)),
      list_(new QTreeWidget),
      summary_(new QLabel),
      allButton_(smallButton("Alle", {}, {"idleAllButton", "Alle Stellen", "Alle Stellen wählen"},
                             [this] { chooseAll(true); })),
      noneButton_(smallButton("Keine", {}, {"idleNoneButton", "Keine Stelle", "Keine Stelle wählen"},
                              [this] { chooseAll(false); })),
      applyButton_(
          smallButton("Kürzen", {}, {"idleApplyButton", "Kürzen", "Die gewählten Stellen herausschneiden"}, [this] {
              callbacks_.apply(proposals_);
              accept();
          })) {
    setObjectName("idleDialog");
    setWindowTitle("Leerlauf kürzen");
    setModal(false);

    auto* times = new QGridLayout;
    times->setHorizontalSpacing(ui::theme::kApart);
    times->setVerticalSpacing(ui::theme::kTight);
    times->setColumnStretch(1, 1);
    addSlider(
        *times, "Leerlauf ab",
        {{"idleLeastSlider", "Leerlauf ab", "So lange darf nichts passieren, bevor eine Stelle vorgeschlagen wird"},
         kLeastRange,
         edit::IdleRules().least,
         idleLength},
        &edit::IdleRules::least);
    addSlider(*times, "Rest",
              {{"idleRestSlider", "Rest", "So viel bleibt von jeder Stelle, je zur Hälfte am Anfang und am Ende"},
               kRestRange,
               edit::IdleRules().rest,
               idleLength},
              &edit::IdleRules::rest);

    setNames(*list_, {"idleList", "Stellen ohne Bewegung und Ton",
                      "Ein Klick zeigt die Stelle in der Vorschau und spielt sie ab"});
    list_->setHeaderLabels({"Beginn", "Länge", "Gespart"});
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAllColumnsShowFocus(true);
    list_->header()->setSectionsMovable(false);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionResizeMode(kStart, QHeaderView::Stretch);
    for (const Column column : {kLength, kSaved}) {
        list_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
        list_->headerItem()->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    connect(list_, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) { rowChanged(item); });
    connect(list_, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { showRow(item); });

    summary_->setObjectName("idleSummary");
    summary_->setWordWrap(true);
    applyButton_->setProperty("role", "main");
    auto* closeButton = smallButton("Schließen", {}, {"idleCloseButton", "Schließen", "Ohne zu kürzen schließen"},
                                    [this] { reject(); });
    closeButton->setProperty("role", "bottom");
    // The return key shows the row that has the focus, and otherwise presses the focused button.
    for (QPushButton* each : {allButton_, noneButton_, applyButton_, closeButton}) each->setAutoDefault(false);

    auto* choices = new QHBoxLayout;
    choices->setSpacing(ui::theme::kTight + 1);
    choices->addWidget(allButton_);
    choices->addWidget(noneButton_);
    choices->addSpacing(ui::theme::kNear);
    choices->addWidget(summary_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(ui::theme::kNear);
    buttons->addStretch(1);
    buttons->addWidget(closeButton);
    buttons->addWidget(applyButton_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin);
    layout->setSpacing(ui::theme::kApart);
    layout->addLayout(times);
    layout->addWidget(list_, 1);
    layout->addLayout(choices);
    layout->addLayout(buttons);
    // Larger type needs a larger list.
    const double factor = ui::theme::typeFactor(font());
    const QSize size = (QSizeF(kWidth, kHeight) * factor).toSize().boundedTo(window.screen()->availableSize() * 9 / 10);
    resize(size);
    list_->setFocus();
    // Over the column of settings, so that it hides as little as possible of the preview.
    const QRect beside = window.geometry();
    move(beside.right() - size.width() - ui::theme::kMargin, beside.top() + ui::theme::kMargin);
    setSearching();
}

LabelledSlider IdleDialog::addSlider(QGridLayout& grid, const QString& caption, const SliderSpec& spec,
                                     double edit::IdleRules::*field) {
    const LabelledSlider slider = makeSlider(spec);
    slider.setValue(rules_.*field);
    slider.slider->onMove = [this, slider, field] {
        // In tenths of a second, as it is shown.
        constexpr double kTenths = 10;
        rules_.*field = std::round(slider.slider->doubleValue() * kTenths) / kTenths;
        slider.label->setText(QString::fromStdString(slider.text(rules_.*field)));
        propose();
    };
    slider.label->setMinimumWidth(ui::theme::smallTextWidth("20.0 s"));
    const int row = grid.rowCount();
    auto* label = new QLabel(caption);
    label->setBuddy(slider.slider);
    grid.addWidget(label, row, 0);
    grid.addWidget(slider.slider, row, 1);
    grid.addWidget(slider.label, row, 2);
    return slider;
}

void IdleDialog::setSearching() {
    isSearching_ = true;
    proposals_.propose({}, {}, fps_, rules_);
    fillList();
}

void IdleDialog::setContent(std::vector<Interval> idle, std::vector<Interval> kept, std::int64_t fps) {
    isSearching_ = false;
    idle_ = std::move(idle);
    kept_ = std::move(kept);
    fps_ = fps;
    propose();
}

void IdleDialog::propose() {
    if (isSearching_) return;
    proposals_.propose(idle_, kept_, fps_, rules_);
    fillList();
}

void IdleDialog::fillList() {
    const QSignalBlocker quiet(list_);
    const auto& rows = proposals_.rows();
    const int count = static_cast<int>(rows.size());
    while (list_->topLevelItemCount() > count) delete list_->takeTopLevelItem(count);
    while (list_->topLevelItemCount() < count) list_->addTopLevelItem(new QTreeWidgetItem);
    for (int i = 0; i < count; ++i) {
        const IdleProposals::Row& row = rows[static_cast<std::size_t>(i)];
        QTreeWidgetItem& item = *list_->topLevelItem(i);
        const std::string start = idleClock(row.stretch.idle.start);
        const std::string length = idleLength(row.stretch.idle.length());
        const std::string saved = idleLength(row.saved());
        item.setText(kStart, QString::fromStdString(start));
        item.setText(kLength, QString::fromStdString(length));
        item.setText(kSaved, QString::fromStdString(saved));
        for (const Column column : {kLength, kSaved}) {
            item.setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
        }
        item.setCheckState(kStart, row.isChosen ? Qt::Checked : Qt::Unchecked);
        item.setData(kStart, Qt::AccessibleTextRole,
                     QString::fromStdString("Leerlauf bei " + start + ", " + length + ", spart " + saved));
    }
    if (list_->currentItem() == nullptr && count > 0) list_->setCurrentItem(list_->topLevelItem(0));
    refreshSummary();
}

void IdleDialog::refreshSummary() {
    summary_->setText(isSearching_ ? QStringLiteral("Die Aufnahme wird durchgesehen …")
                                   : QString::fromStdString(idleSummary(proposals_)));
    const bool isEmpty = proposals_.rows().empty();
    allButton_->setEnabled(!isEmpty);
    noneButton_->setEnabled(!isEmpty);
    applyButton_->setEnabled(proposals_.chosen() > 0);
}

void IdleDialog::rowChanged(QTreeWidgetItem* item) {
    const int row = list_->indexOfTopLevelItem(item);
    if (row < 0) return;
    proposals_.choose(static_cast<std::size_t>(row), item->checkState(kStart) == Qt::Checked);
    refreshSummary();
}

void IdleDialog::showRow(QTreeWidgetItem* item) {
    const int row = list_->indexOfTopLevelItem(item);
    if (row < 0) return;
    const Interval& cut = proposals_.rows()[static_cast<std::size_t>(row)].stretch.cut;
    callbacks_.show(std::max(cut.start - kLeadIn, 0.0));
}

void IdleDialog::chooseAll(bool areChosen) {
    proposals_.chooseAll(areChosen);
    fillList();
}

void IdleDialog::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && list_->hasFocus() && list_->currentItem() != nullptr) {
        showRow(list_->currentItem());
    } else if (auto* button = qobject_cast<QPushButton*>(focusWidget()); isReturn && button != nullptr) {
        button->click();
    } else {
        QDialog::keyPressEvent(event);
    }
}

}  // namespace lumivastor::editor

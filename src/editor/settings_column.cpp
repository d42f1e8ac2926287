// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/settings_column.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "editor/editor_builders.h"
#include "ui/colour_well.h"
#include "ui/segmented_control.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

const model::ProjectSettings kDefaults;

// The column's width, in points: captions and values as wide as their text, between them sliders that are long enough
// to set a hundredth, and space for the scroll bar.
constexpr int kColumnSlider = 120;
constexpr int kScrollBar = 10;
int columnWidth() {
    return ui::theme::smallTextWidth("Hintergrund") + ui::theme::smallTextWidth("0 % (stumm)") + kColumnSlider +
           4 * ui::theme::kApart + 2 * ui::theme::kNear + kScrollBar;
}

}  // namespace

// Adds the row of one control to its card.
class SettingsColumn::RowBuilder {
  public:
    RowBuilder(Card& card, std::size_t index, bool isEnabled, const std::function<void()>& changed)
        : card_(card), index_(index), isEnabled_(isEnabled), control_(controlTable()[index]), changed_(changed) {}

    Row operator()(const SliderControl& kind) const {
        return sliderRow({control_.names, kind.range, kDefaults.*kind.field, kind.text});
    }

    Row operator()(const OffsetControl& kind) const { return sliderRow({control_.names, kind.range, 0, kind.text}); }

    Row operator()(const ZoomControl& kind) const {
        return sliderRow({control_.names, kind.range, kDefaults.zoomScale, kind.text});
    }

    Row operator()(const ColourControl&) const {
        auto* well = new ui::ColourWell;
        well->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        well->onChoose = changed_;
        addRow(well);
        return {index_,
                [well] {
                    const ui::ColourWell::Components& colour = well->components();
                    return ColourValue{colour.red, colour.green, colour.blue};
                },
                [well](const ControlValue& value) {
                    const auto& colour = std::get<ColourValue>(value);
                    well->setComponents({colour.red, colour.green, colour.blue});
                }};
    }

    Row operator()(const SwitchControl& kind) const {
        auto* box = new QCheckBox(toQString(kind.text));
        box->setFocusPolicy(Qt::TabFocus);
        box->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        QObject::connect(box, &QCheckBox::clicked, box, [changed = changed_] { changed(); });
        addRow(box);
        return {index_, [box] { return box->isChecked(); },
                [box](const ControlValue& value) { box->setChecked(std::get<bool>(value)); }};
    }

    Row operator()(const SegmentControl& kind) const {
        std::vector<std::string_view> titles;
        for (const Choice& choice : kind.choices.list) titles.push_back(choice.title);
        auto* segments = new ui::SegmentedControl(titles, QString::fromUtf8(control_.names.accessible));
        segments->onSelect = changed_;
        addRow(segments);
        return {index_, [segments] { return segments->index(); },
                [segments](const ControlValue& value) { segments->setIndex(std::get<int>(value)); }};
    }

    Row operator()(const MenuControl& kind) const {
        QComboBox* menu = popUp(control_.names);
        for (const Choice& choice : kind.choices.list) menu->addItem(toQString(choice.title));
        QObject::connect(menu, &QComboBox::activated, menu, [changed = changed_] { changed(); });
        addRow(menu);
        return {index_, [menu] { return menu->currentIndex(); },
                [menu](const ControlValue& value) { menu->setCurrentIndex(std::get<int>(value)); }};
    }

  private:
    Row sliderRow(const SliderSpec& spec) const {
        const LabelledSlider row = makeSlider(spec);
        row.slider->onMove = changed_;
        row.slider->setEnabled(isEnabled_);
        row.label->setEnabled(isEnabled_);
        card_.addRow(toQString(control_.caption), row.slider, row.label);
        return {index_, [row] { return row.slider->doubleValue(); },
                [row](const ControlValue& value) { row.setValue(std::get<double>(value)); }};
    }

    void addRow(QWidget* widget) const {
        setNames(*widget, control_.names);
        widget->setEnabled(isEnabled_);
        card_.addRow(toQString(control_.caption), widget);
    }

    Card& card_;
    const std::size_t index_;
    const bool isEnabled_;
    const Control& control_;
    const std::function<void()>& changed_;
};

SettingsColumn::SettingsColumn(const Recording& recording, const EditorActions& actions)
    : lastSet_(controlValues(kDefaults, {}, -1)), area_(new QScrollArea) {
    area_->setWidget(makeCards(recording, [this, apply = actions.applyControls] { apply(values()); }));
    area_->setWidgetResizable(true);
    area_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    area_->setFrameShape(QFrame::NoFrame);
    area_->setFocusPolicy(Qt::NoFocus);
    area_->setAccessibleName("Einstellungen");
    area_->setFixedWidth(columnWidth());
}

void SettingsColumn::fitWidth() {
    // Segments and check boxes are wider than a slider may be where type is large.
    QLayout& cards = *area_->widget()->layout();
    cards.activate();
    // Besides the bar there is the column's line at its left.
    const int bar = area_->verticalScrollBar()->sizeHint().width() + ui::theme::kTight;
    area_->setFixedWidth(std::max(columnWidth(), cards.totalMinimumSize().width() + bar));
}

QWidget* SettingsColumn::makeCards(const Recording& recording, const std::function<void()>& changed) {
    auto* content = new QWidget;
    content->setProperty("role", "column");
    auto* cards = new QVBoxLayout(content);
    cards->setContentsMargins(ui::theme::kApart, ui::theme::kApart, ui::theme::kApart, ui::theme::kApart);
    cards->setSpacing(ui::theme::kNear);
    const std::span<const Control> table = controlTable();
    std::unique_ptr<Card> card;
    std::string_view title;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (table[i].needsWebcam && !recording.hasWebcam) continue;
        if (card == nullptr || table[i].card != title) {
            title = table[i].card;
            card = std::make_unique<Card>(*cards, toQString(title));
            if (title == kPointerCard && !recording.pointerNote.empty()) {
                card->addNote("pointerNote", toQString(recording.pointerNote));
            }
        }
        const bool isEnabled = !table[i].needsPointer || recording.knowsPositions;
        rows_.push_back(std::visit(RowBuilder(*card, i, isEnabled, changed), table[i].kind));
    }
    cards->addStretch(1);
    return content;
}

ControlValues SettingsColumn::values() const {
    ControlValues values = lastSet_;
    for (const Row& row : rows_) values.all[row.control] = row.value();
    return values;
}

void SettingsColumn::setValues(const ControlValues& values) {
    lastSet_ = values;
    for (const Row& row : rows_) row.setValue(values.all[row.control]);
}

}  // namespace lumivastor::editor

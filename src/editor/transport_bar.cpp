// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/transport_bar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "base/saturated.h"
#include "editor/editor_builders.h"
#include "editor/session/frame_time.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "ui/flow_layout.h"
#include "ui/icons.h"
#include "ui/text_labels.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor::editor {

namespace {

// The least length of the time slider, in points.
constexpr int kLeastSlider = 120;

QPushButton* transportButton(const QString& iconName, const ControlNames& names, std::function<void()> action) {
    auto* button = smallButton({}, iconName, names, std::move(action));
    button->setProperty("role", "transport");
    button->setIconSize({22, 22});
    return button;
}

}  // namespace

TransportBar::TransportBar(double duration, std::int64_t fps, const EditorActions& actions)
    : fps_(fps), timeLabel_(new ui::DigitLabel), lengthLabel_(secondLabel()) {
    timeLabel_->setObjectName("timeLabel");
    timeLabel_->setProperty("role", "time");
    timeLabel_->reserveFor(QString::fromStdString(labels::time(duration, fps)));
    lengthLabel_->setObjectName("lengthLabel");
    lengthLabel_->setToolTip("Länge des fertigen Videos");

    auto* row = new ui::FlowLayout(ui::theme::kApart);
    row->addWidget(makeButtons(actions));
    row->addWidget(timeLabel_);
    makeTimeline(duration, actions);
    row->addFilling(timeSlider_, kLeastSlider);
    row->addWidget(lengthLabel_);
    auto* rows = new QVBoxLayout;
    rows->setSpacing(ui::theme::kTight);
    rows->addLayout(row);
    rows->addWidget(strip_);
    layout_ = rows;
}

QWidget* TransportBar::makeButtons(const EditorActions& actions) {
    playButton_ = transportButton("play", {"playButton", "Abspielen", "Abspielen (Leertaste)"}, actions.togglePlayback);
    playButton_->setProperty("role", "play");
    playButton_->setIconSize({26, 26});
    const double frame = frameLength(fps_);
    const auto stepper = [&actions](double seconds) { return [step = actions.step, seconds] { step(seconds); }; };

    auto* holder = new QWidget;
    auto* buttons = new QHBoxLayout(holder);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(ui::theme::kTight);
    buttons->addWidget(transportButton(
        "backward-second", {"secondBackButton", "1 Sekunde zurück", "1 Sekunde zurück (Shift+←)"}, stepper(-1)));
    buttons->addWidget(
        transportButton("backward-frame", {"frameBackButton", "1 Bild zurück", "1 Bild zurück (←)"}, stepper(-frame)));
    buttons->addSpacing(ui::theme::kTight);
    buttons->addWidget(playButton_);
    buttons->addSpacing(ui::theme::kTight);
    buttons->addWidget(
        transportButton("forward-frame", {"frameForwardButton", "1 Bild vor", "1 Bild vor (→)"}, stepper(frame)));
    buttons->addWidget(transportButton(
        "forward-second", {"secondForwardButton", "1 Sekunde vor", "1 Sekunde vor (Shift+→)"}, stepper(1)));
    return holder;
}

void TransportBar::makeTimeline(double duration, const EditorActions& actions) {
    timeSlider_ = new ui::ValueSlider({0, duration}, saturatedRound<int>(duration / frameLength(fps_)));
    setNames(*timeSlider_, {"timeSlider", "Zeit", "Zeit in der Aufnahme"});
    timeSlider_->valueText = [fps = fps_](double seconds) { return labels::time(seconds, fps); };
    timeSlider_->onMove = [slider = timeSlider_, scrub = actions.scrub] { scrub(slider->doubleValue()); };
    strip_ = new TimelineStrip(duration, fps_, ui::ValueSlider::kHandleInset);
    strip_->setObjectName("timelineStrip");
    strip_->setAccessibleName("Zeitleiste");
    strip_->setToolTip("Helle Abschnitte sind im Video, orange sind Zooms, Punkte sind Klicks");
    strip_->onScrub = actions.scrub;
}

void TransportBar::setPlayhead(double seconds) {
    timeSlider_->setDoubleValue(seconds);
    timeLabel_->setText(QString::fromStdString(labels::time(seconds, fps_)));
    strip_->setPlayhead(seconds);
}

void TransportBar::setPlaying(bool playing) {
    strip_->setPlaying(playing);
    playButton_->setIcon(ui::icon(playing ? "pause" : "play"));
    playButton_->setAccessibleName(playing ? "Anhalten" : "Abspielen");
    playButton_->setToolTip(playing ? "Anhalten (Leertaste)" : "Abspielen (Leertaste)");
}

void TransportBar::setLength(const std::string& text) {
    lengthLabel_->setText(QString::fromStdString(text));
}

}  // namespace lumivastor::editor

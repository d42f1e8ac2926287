// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/editor_fixture.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <sstream>
#include <variant>

#include "model/pointer_track.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor {

EditorFixture::EditorFixture() {
    ui::theme::apply(*qApp);
}

EditorFixture::~EditorFixture() = default;

void EditorFixture::openWindow(bool webcam) {
    options_.sounds = {TestSound{}};
    makeRecording(kSeconds);
    info_.systemAudio = true;
    if (webcam) makeWebcam(150, 0.5);
    info_.save(folder_.path());
    model::PointerTrack track;
    for (int i = 0; i <= 60 * static_cast<int>(kSeconds); ++i) {
        const double t = i / 60.0;
        const double x = 20 + 14 * t;
        track.events.push_back({t, x, 40, x / 128, 40.0 / 96, model::PointerKind::move, {}, {}, {}});
        if (i == 90 || i == 130 || i == 300) {
            track.events.push_back(
                {t, x, 40, x / 128, 40.0 / 96, model::PointerKind::down, model::PointerButton::left, {}, {}});
        }
    }
    track.save(folder_.path());
    settings_.exportHeight = 1080;
    settings_.save(folder_.path());
    editor::EditorWindow::Options options;
    options.reveal = [this](const std::filesystem::path& file) { revealed_ = file; };
    options.openFolder = [this](const std::filesystem::path& folder) { opened_ = folder; };
    options.closed = [this] { ++closed_; };
    options.looks = looks_.path();
    options.newRecording = [this] { ++newRecordings_; };
    exports_ = std::make_shared<editor::ExportQueue>(loop_, editor::ExportQueue::Options{[this] {
                                                         const auto hold = std::make_shared<int>(0);
                                                         awake_ = hold;
                                                         return hold;
                                                     }});
    options.exports = exports_;
    options.showExports = [] {};
    window_ = std::make_unique<editor::EditorWindow>(folder_.path(), loop_, std::move(options));
    window_->show();
    window_->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
}

void EditorFixture::click(const char* name) {
    if (auto* button = find<QAbstractButton>(name)) QTest::mouseClick(button, Qt::LeftButton);
}

void EditorFixture::press(int key, Qt::KeyboardModifiers modifiers) {
    QWidget* receiver = window_->focusWidget();
    QTest::keyClick(receiver != nullptr ? receiver : window_.get(), static_cast<Qt::Key>(key), modifiers);
}

void EditorFixture::drag(const char* name, double part) {
    auto* slider = find<ui::ValueSlider>(name);
    const auto at = [slider](double fraction) {
        const double way = slider->width() - 2 * ui::ValueSlider::kHandleInset;
        return QPoint(static_cast<int>(ui::ValueSlider::kHandleInset + way * fraction), slider->height() / 2);
    };
    const double from = static_cast<double>(slider->value()) / slider->maximum();
    QTest::mousePress(slider, Qt::LeftButton, {}, at(from));
    constexpr int kStops = 10;
    for (int i = 1; i <= kStops; ++i) QTest::mouseMove(slider, at(from + (part - from) * i / kStops));
    // A pixel more or less, by the slider's width, must not keep it from its end.
    const QPoint to = part > 0 ? at(part) : QPoint(-20, slider->height() / 2);
    QTest::mouseMove(slider, to);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, to);
}

std::string EditorFixture::textOf(const char* name) {
    return find<QLabel>(name)->text().toStdString();
}

std::string EditorFixture::everythingShown() {
    std::ostringstream text;
    text.precision(17);
    for (const editor::ControlValue& value : controls().settingsColumn.values().all) {
        if (const auto* colour = std::get_if<editor::ColourValue>(&value)) {
            text << colour->red << " " << colour->green << " " << colour->blue << " ";
        } else if (const auto* number = std::get_if<double>(&value)) {
            text << *number << " ";
        } else if (const auto* index = std::get_if<int>(&value)) {
            text << *index << " ";
        } else {
            text << std::get<bool>(value) << " ";
        }
    }
    text << "\n";
    for (const QLabel* label : window_->findChildren<QLabel*>()) {
        const QString name = label->objectName();
        // The playhead and the status are no part of an edit.
        if (!name.isEmpty() && name != "timeLabel" && name != "statusLabel") {
            text << name.toStdString() << ": " << label->text().toStdString() << "\n";
        }
    }
    const auto* zooms = find<QComboBox>("zoomPopup");
    for (int i = 0; i < zooms->count(); ++i) text << zooms->itemText(i).toStdString() << "\n";
    return text.str();
}

}  // namespace lumivastor

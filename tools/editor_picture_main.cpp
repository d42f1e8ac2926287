// SPDX-License-Identifier: GPL-3.0-or-later

// Makes a picture of the editor's window for review, without a display and at any scale.
//
//   editor_picture FOLDER OUT.png [--size WxH] [--at T] [--font POINTS] [--state STATE]
//
// STATE: "edited" (trim, cuts, zooms by hand, masks), "mask" (a rectangle is being drawn), "rendering", "focus" (the
// keyboard is on a control), "menu" (the list of zooms is open). QT_SCALE_FACTOR=2 in the environment doubles the
// pixels. The folder's project document is not changed.

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "base/recorder_error.h"
#include "editor/editor_window.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "editor/session/labels.h"
#include "ui/qt_main_loop.h"
#include "ui/theme.h"
#include "ui/value_slider.h"

namespace lumivastor {
namespace {

void drag(QWidget& view, QPointF from, QPointF to) {
    const auto send = [&view](QEvent::Type type, QPointF at, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, view.mapToGlobal(at), type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          buttons, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    };
    send(QEvent::MouseButtonPress, from, Qt::LeftButton);
    send(QEvent::MouseMove, to, Qt::LeftButton);
}

void settle(int milliseconds) {
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) QApplication::processEvents(QEventLoop::AllEvents, 20);
}

void edit(editor::EditorWindow& window) {
    editor::EditSession& session = window.session();
    const double length = session.info().duration;
    session.setTrimStart(length * 0.06);
    session.setTrimEnd(length * 0.95);
    session.markCutStart(length * 0.3);
    session.addCut(length * 0.36);
    session.markCutStart(length * 0.55);
    session.addCut(length * 0.6);
    session.addZoom(length * 0.75, 2.0);
    session.addMask({300, 300, 500, 200}, 0);
    session.addMask({1500, 900, 400, 120}, 0);
}

void putInto(editor::EditorWindow& window, const std::string& state) {
    editor::EditorControls& controls = window.controls();
    if (state == "edited") edit(window);
    if (state == "mask") {
        window.findChild<QPushButton*>("maskDrawButton")->click();
        const Rect shown = controls.previewView->shownRect();
        drag(*controls.maskDrawView, {shown.x + shown.width * 0.3, shown.y + shown.height * 0.3},
             {shown.x + shown.width * 0.6, shown.y + shown.height * 0.55});
    }
    if (state == "rendering") {
        controls.renderBar.setRendering(true);
        controls.renderBar.setProgress(0.42);
        controls.renderBar.setStatus(editor::labels::rendering(2560, 1440, 83.0));
    }
    if (state == "rendered") {
        controls.renderBar.setRevealable(true);
        controls.renderBar.setStatus(editor::labels::rendered(12.4, 3, "studio-output.mp4"));
    }
    if (state == "focus") window.findChild<ui::ValueSlider*>("paddingSlider")->setFocus(Qt::TabFocusReason);
    if (state == "focus-button") window.findChild<QPushButton*>("showZoomButton")->setFocus(Qt::TabFocusReason);
    if (state == "menu") window.findChild<QComboBox*>("zoomPopup")->showPopup();
}

int run(int argc, char** argv) {
    std::optional<std::string> size, at, font, state;
    for (int i = 3; i + 1 < argc; i += 2) {
        const std::string option = argv[i];
        (option == "--size" ? size : option == "--at" ? at : option == "--font" ? font : state) = argv[i + 1];
    }
    QApplication application(argc, argv);
    ui::theme::apply(application);
    if (font) {
        QFont larger = QApplication::font();
        larger.setPointSizeF(std::stod(*font));
        QApplication::setFont(larger);
    }
    const std::filesystem::path folder = argv[1];
    const auto document = model::ProjectSettings::load(folder);
    {
        ui::QtMainLoop loop;
        editor::EditorWindow window(folder, loop, {});
        if (size) {
            int width = 0;
            int height = 0;
            if (std::sscanf(size->c_str(), "%dx%d", &width, &height) == 2) window.resize(width, height);
        }
        window.show();
        settle(300);
        if (at) window.transport().jump(std::stod(*at));
        if (state) putInto(window, *state);
        settle(1500);
        QPixmap picture = window.grab();
        if (QWidget* popup = QApplication::activePopupWidget()) {
            QPainter painter(&picture);
            painter.drawPixmap(popup->mapToGlobal(QPoint()) - window.mapToGlobal(QPoint()), popup->grab());
        }
        if (!picture.save(argv[2])) throw RecorderError("cannot write the picture");
        std::printf("%s: %d×%d points\n", argv[2], window.width(), window.height());
        window.close();
    }
    document.save(folder);
    return 0;
}

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "editor_picture FOLDER OUT.png [--size WxH] [--at T] [--font POINTS] [--state STATE]\n");
        return 2;
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is running yet
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    try {
        return lumivastor::run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

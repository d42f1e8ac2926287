// SPDX-License-Identifier: GPL-3.0-or-later

// Makes a picture of the editor's window for review, without a display and at any scale.
//
//   editor_picture FOLDER OUT.png [--size WxH] [--at T] [--font POINTS] [--state STATE]
//
// STATE: "edited" (trim, cuts, zooms by hand, masks), "mask" (a rectangle is being drawn), "rendering", "focus" (the
// keyboard is on a control), "menu" (the list of zooms is open), "timeline" (enlarged, the end of a zoom is dragged),
// "frames" (frames of it, a cut is selected), "timeline-menu", "timeline-focus", "idle" (cuts are proposed), "export",
// "export-gif" (the dialog of an export), "exports" (the list), "file-menu". QT_SCALE_FACTOR=2 in the environment
// doubles the pixels. The folder's project document is not changed.

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QElapsedTimer>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QScrollArea>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/recorder_error.h"
#include "editor/editor_window.h"
#include "editor/exports/export_dialog.h"
#include "editor/exports/exports_window.h"
#include "editor/exports/film_preparer.h"
#include "editor/idle_dialog.h"
#include "editor/preview/mask_draw_view.h"
#include "editor/preview/preview_view.h"
#include "editor/session/labels.h"
#include "editor/timeline/timeline_strip.h"
#include "render/cut_composition.h"
#include "render/overview/overview_maker.h"
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

// What the recording looks and sounds like, all at once.
void showOverview(editor::EditorWindow& window) {
    const auto composition = window.session().composition();
    render::makeOverview(
        render::openRecordingAssets(composition->recording()).screen, composition->info(), [] { return false; },
        [&window](const render::RecordingOverview& overview) {
            window.controls().transportBar.strip().setOverview(
                std::make_shared<const render::RecordingOverview>(overview));
        });
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

// The timeline's part around the end of a zoom that `edit` has added.
void putTimelineInto(editor::EditorWindow& window, const std::string& state) {
    edit(window);
    editor::TimelineStrip& strip = window.controls().transportBar.strip();
    const auto zooms = window.session().composition()->zoomSpecs();
    const double end = zooms.at(zooms.size() - 2).end;
    const auto at = [&strip](double seconds, const editor::Lane& lane) {
        const double inset = ui::ValueSlider::kHandleInset;
        return QPointF(editor::TimeScale(strip.visible(), inset, strip.width() - inset).at(seconds), lane.middle());
    };
    if (state == "timeline") {
        window.transport().jump(end - 1);
        strip.zoomBy(4);
        drag(strip, at(end, strip.lanes().zooms), at(end + 0.4, strip.lanes().zooms));
    } else if (state == "frames") {
        strip.selectCut(0);
        window.transport().jump(window.session().settings().cuts.at(0).end);
        strip.zoomBy(100);
    } else if (state == "timeline-menu") {
        const QPoint place = at(end - 0.5, strip.lanes().zooms).toPoint();
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, strip.mapToGlobal(place));
        QApplication::sendEvent(&strip, &event);
    } else {
        strip.setFocus(Qt::TabFocusReason);
    }
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
    if (state.starts_with("timeline") || state == "frames") putTimelineInto(window, state);
    if (state == "file-menu" || state == "edit-menu" || state == "playback-menu") {
        if (state != "file-menu") edit(window);
        const auto* bar = window.findChild<QMenuBar*>("menuBar");
        QAction* menu = bar->actions().at(state == "file-menu" ? 0 : state == "edit-menu" ? 1 : 3);
        menu->menu()->popup(bar->mapToGlobal(bar->actionGeometry(menu).bottomLeft()));
    }
    if (state == "keys") window.commandActions().at(editor::Command::showKeys)();
    if (state == "frame") window.previewTools().toggleFocus();
    if (state == "handles" || state == "bubble") {
        window.session().addMask({1100, 500, 600, 160}, window.transport().playhead());
        const auto wanted = state == "bubble" ? editor::PreviewItem::Kind::bubble : editor::PreviewItem::Kind::mask;
        do {
            window.previewTools().selectNext();
        } while (window.previewTools().selection() && window.previewTools().selection()->kind != wanted);
    }
    if (state == "full") window.commandActions().at(editor::Command::fullScreen)();
    if (state == "menu") window.findChild<QComboBox*>("zoomPopup")->showPopup();
    if (state == "idle") window.showIdleProposals();
    if (state == "export" || state == "export-gif") {
        window.exportTools().showDialog();
        auto* form = window.findChild<QComboBox*>("exportFormBox");
        if (state == "export-gif") form->setCurrentIndex(form->findData(static_cast<int>(render::FilmForm::gif)));
    }
}

// The list of exports, with one in each state. Nothing is written to the recording.
QPixmap exportsPicture(const std::filesystem::path& folder, MainLoop& loop) {
    double now = 0;
    editor::ExportQueue queue(loop, {{}, [&now] { return now += 20; }});
    editor::ExportsWindow list(queue, {});
    const std::filesystem::path films = std::filesystem::temp_directory_path() / "lumivastor-pictures";
    std::filesystem::create_directories(films);
    const auto add = [&](const char* name, render::FilmForm form) {
        editor::ExportRequest request = editor::exportRequest(folder);
        request.form = form;
        request.file = films / name;
        request.animation.to = 0.5;
        return queue.add(std::move(request));
    };
    add("Vorschau.gif", render::FilmForm::gif);
    while (queue.list().isBusy()) settle(50);
    editor::ExportRequest nowhere = editor::exportRequest(folder);
    nowhere.file = films / "fehlt" / "Kurzfassung.webm";
    queue.add(std::move(nowhere));
    while (queue.list().isBusy()) settle(50);
    add("Einführung.mp4", render::FilmForm::mp4);
    add("Einführung.webm", render::FilmForm::webm);
    queue.cancel(add("Einführung.webp", render::FilmForm::webp));
    add("Kapitel 2.mp4", render::FilmForm::mp4);
    list.show();
    while (queue.list().running() != nullptr && queue.list().running()->fraction < 0.1) settle(50);
    settle(300);
    const QPixmap picture = list.grab();
    queue.end();
    std::filesystem::remove_all(films);
    return picture;
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
        // What the menus have in the application. Nothing is prepared, for there is no cache.
        editor::EditorWindow::Options options;
        options.exports = std::make_shared<editor::ExportQueue>(loop, editor::ExportQueue::Options{});
        options.preparer =
            std::make_shared<editor::FilmPreparer>(loop, *options.exports, editor::FilmPreparer::Options{});
        options.newRecording = options.showExports = [] {};
        editor::EditorWindow window(folder, loop, std::move(options));
        if (size) {
            int width = 0;
            int height = 0;
            if (std::sscanf(size->c_str(), "%dx%d", &width, &height) == 2) window.resize(width, height);
        }
        window.show();
        settle(300);
        showOverview(window);
        if (at) window.transport().jump(std::stod(*at));
        if (state) putInto(window, *state);
        settle(1500);
        // The window makes its own meanwhile, which may not be complete yet.
        showOverview(window);
        QPixmap picture = window.grab();
        if (QWidget* popup = QApplication::activePopupWidget()) {
            QPainter painter(&picture);
            painter.drawPixmap(popup->mapToGlobal(QPoint()) - window.mapToGlobal(QPoint()), popup->grab());
        }
        if (auto* dialog = window.findChild<editor::IdleDialog*>("idleDialog");
            dialog != nullptr && dialog->isVisible()) {
            QPainter painter(&picture);
            painter.drawPixmap(dialog->pos() - window.pos(), dialog->grab());
        }
        if (auto* page = window.findChild<editor::KeyPage*>("keyPage")) {
            // The screen of this platform is smaller than the page.
            page->resize(page->findChild<QScrollArea*>()->widget()->sizeHint() + QSize(4, 4));
            settle(100);
            picture = page->grab();
        }
        if (auto* dialog = window.findChild<editor::ExportDialog*>(); dialog != nullptr && dialog->isVisible()) {
            picture = dialog->grab();
        }
        if (state == "exports") picture = exportsPicture(folder, loop);
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

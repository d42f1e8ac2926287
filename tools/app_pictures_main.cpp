// SPDX-License-Identifier: GPL-3.0-or-later

// Makes pictures of all windows and states of the application, for review. Drives the program itself with pointer and
// keys on its own display server, from the first start to an exported video. Takes about two minutes.
//
//   app_pictures FOLDER SUFFIX SCALE composed|plain
//
// SCALE is the number of pixels per point, 1 or 2. "composed" runs a compositing manager, so that panels are
// translucent. Every picture is FOLDER/NAME@SUFFIX.png.

#include <xcb/xcb.h>

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QScreen>
#include <QTreeView>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "app/library/recording_library.h"
#include "app/windows/main_window.h"
#include "app/windows/panels.h"
#include "app/windows/recordings_window.h"
#include "app/windows/status_item.h"
#include "capture/journal/journal.h"
#include "demo_window.h"
#include "model/capture_info.h"
#include "support/await.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_program.h"
#include "support/driven_application.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"
#include "ui/qt_main_loop.h"

namespace lumivastor {
namespace {

constexpr unsigned kTab = 0xff09;
constexpr unsigned kDown = 0xff54;
constexpr int kWidth = 1600;
constexpr int kHeight = 1000;
// The margins around a window: its title bar, and a little of the desktop.
constexpr int kTitleBar = 30;
constexpr int kRound = 10;

Point centre(const Rect& rect) {
    return {rect.midX(), rect.midY()};
}

class Story {
  public:
    Story(std::string folder, std::string suffix, int scale, bool isComposed)
        : folder_(std::move(folder)),
          suffix_(std::move(suffix)),
          scale_(scale),
          desktop_({.width = kWidth * scale, .height = kHeight * scale, .hasWindowManager = true}) {
        desktop_.paintRoot(0x39566f, true);
        if (scale_ > 1) desktop_.setDotsPerInch(96 * scale_);
        if (isComposed) {
            composer_ = std::make_unique<RigProgram>(
                std::vector<std::string>{"picom", "--backend", "xrender", "--config", "/dev/null"}, "picom", -1,
                std::vector<std::string>{"DISPLAY=" + desktop_.displayName()});
        }
        demo_ = std::make_unique<DemoWindow>(desktop_.displayName());
        app_ = std::make_unique<DrivenApplication>(
            desktop_, map_, DrivenApplication::Options{.pulseServer = sound_.address(), .scale = scale_});
    }

    void tell() {
        recordingsWindow();
        statesThatAreHardToReach();
        statusIcon();
        need(app_->start(), "the program starts");
        sources();
        menus();
        folders();
        recordingWithEverything();
        editing();
        interruption();
        region();
        app_->program().signal(SIGTERM);
        need(app_->program().wait() == 0, "the program ends");
    }

  private:
    static void need(bool isSo, const char* what) {
        if (!isSo) throw std::runtime_error(std::string("not so: ") + what);
    }

    QImage screen() const {
        xcb_connection_t* const connection = desktop_.connection();
        const auto width = static_cast<std::uint16_t>(kWidth * scale_);
        const auto height = static_cast<std::uint16_t>(kHeight * scale_);
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
            xcb_get_image_reply(
                connection,
                xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, desktop_.root(), 0, 0, width, height, ~0U),
                nullptr),
            &std::free);
        need(reply != nullptr, "the server gives pictures");
        return QImage(xcb_get_image_data(reply.get()), width, height, QImage::Format_RGB32).copy();
    }

    std::string file(const std::string& name) const { return folder_ + "/" + name + "@" + suffix_ + ".png"; }
    void save(const QImage& picture, const std::string& name) const {
        need(picture.save(QString::fromStdString(file(name))), "pictures can be written");
        std::printf("%s\n", file(name).c_str());
    }
    // The whole screen, or a window with its margins.
    void picture(const std::string& name) {
        sleepFor(0.5);
        save(screen(), name);
    }
    void picture(const std::string& name, const std::string& title) {
        sleepFor(0.5);
        const auto window = app_->shown(title);
        need(window.has_value(), ("there is a window " + title).c_str());
        save(screen().copy(QRect(window->x, window->y, window->width, window->height)
                               .adjusted(-kRound * scale_, -kTitleBar * scale_, kRound * scale_, kRound * scale_)),
             name);
    }
    void press(std::initializer_list<unsigned> keys) {
        app_->keyboard().press(keys);
        sleepFor(0.3);
    }
    void clickInDemo(Point at) {
        const Point place = demo_->onScreen(at);
        app_->pointer().moveTo(static_cast<int>(place.x), static_cast<int>(place.y));
        sleepFor(0.4);
        app_->pointer().click(1);
        sleepFor(0.8);
    }

    void statesThatAreHardToReach() const {
        showStates("main");
        const QFont usual = QApplication::font();
        QFont larger = usual;
        larger.setPointSizeF(20);  // twice as large as usual
        QApplication::setFont(larger);
        showStates("main-large-type");
        app::RegionArmPanel arm(
            *QGuiApplication::primaryScreen(), [] {}, [] {});
        saveWidget(arm, "region-ready-large-type");
        app::RecordingPanel panel(*QGuiApplication::primaryScreen(), nullptr, {}, {});
        saveWidget(panel, "recording-panel-large-type");
        QApplication::setFont(usual);
    }

    // A picture of a screen with a window on it, different for each recording.
    static void paintScreen(int hue, const imaging::YuvDestination& picture, const TestMovieOptions& options) {
        for (int y = 0; y < options.height; ++y) {
            for (int x = 0; x < options.width; ++x) {
                const bool inWindow = x > 60 && x < options.width - 90 && y > 40 && y < options.height - 30;
                const bool inBar = inWindow && y < 64;
                const bool inText = inWindow && y > 84 && y % 18 < 7 && x > 84 && x < 380 + (y / 18 * 97 + hue) % 160;
                const int light = inBar ? 90 : inText ? 70 : inWindow ? 225 : 60 + y / 6;
                picture.luma[y * picture.lumaStride + x] = static_cast<std::uint8_t>(light);
            }
        }
        for (int y = 0; y < options.height / 2; ++y) {
            for (int x = 0; x < options.width / 2; ++x) {
                const bool inWindow = x > 30 && x < options.width / 2 - 45 && y > 20 && y < options.height / 2 - 15;
                picture.cb[y * picture.chromaStride + x] = static_cast<std::uint8_t>(inWindow ? 128 : 120 + hue % 40);
                picture.cr[y * picture.chromaStride + x] = static_cast<std::uint8_t>(inWindow ? 128 : 135 - hue % 50);
            }
        }
    }

    static void makeRecording(const std::filesystem::path& folder, int hue, double seconds, const char* createdAt) {
        std::filesystem::create_directories(folder);
        TestMovieOptions options;
        options.width = 640;
        options.height = 360;
        options.pictures = 2;
        options.paint = [&](int, const imaging::YuvDestination& picture) { paintScreen(hue, picture, options); };
        makeTestMovie(folder / "source.mov", options);
        model::CaptureInfo info;
        info.createdAt = createdAt;
        info.duration = seconds;
        info.sourceKind = hue % 2 == 0 ? "display" : "window";
        if (hue % 2 != 0) info.windowTitle = "Terminal – Sitzung " + std::to_string(hue);
        info.save(folder);
    }

    void recordingsWindow() const {
        const TemporaryFolder home;
        const std::filesystem::path root = home / "Movies/LumiVastor";
        ui::QtMainLoop loop;
        const auto show = [&](const char* name, const QString& query) {
            app::RecordingLibrary library(loop, {.root = root, .places = {home / "Kurse/Gastvortrag"}});
            app::RecordingsActions actions;
            actions.open = [](const std::filesystem::path&) -> std::optional<std::string> { return std::nullopt; };
            app::RecordingsWindow window(library, actions);
            window.orderFront();
            const auto isDone = [&] {
                const auto& entries = library.entries();
                return library.isRead() && std::all_of(entries.begin(), entries.end(),
                                                       [](const auto& entry) { return entry.bytes.has_value(); });
            };
            await(kPatience, isDone, [] { QApplication::processEvents(QEventLoop::AllEvents, 5); });
            for (int i = 0; i < 200; ++i) {
                QApplication::processEvents(QEventLoop::AllEvents, 5);
                sleepFor(0.01);
            }
            window.findChild<QLineEdit*>("searchField")->setText(query);
            saveWidget(window, name);
            if (std::string(name) != "recordings") return;
            auto* const list = window.findChild<QTreeView*>("recordingsList");
            list->setFocus();
            QApplication::processEvents();
            saveWidget(window, "recordings-focus");
            list->edit(list->model()->index(0, 0));
            QApplication::processEvents();
            saveWidget(window, "recordings-rename");
        };
        show("recordings-empty", "");
        makeRecording(root / "2026-03-14_09-05-33", 4, 83, "2026-03-14T08:07:00Z");
        makeRecording(root / "Übung 7 – Schnitt und Zoom", 17, 754, "2026-03-12T15:00:00Z");
        makeRecording(root / "Einführung in die Tabellenkalkulation mit vielen Beispielen und einem sehr langen Namen",
                      30, 3723, "2026-03-10T12:30:00Z");
        makeRecording(root / "Installation", 8, 41, "2026-03-09T12:30:00Z");
        makeRecording(home / "Kurse/Gastvortrag", 22, 2765, "2026-03-03T12:30:00Z");
        makeRecording(root / "Ohne Film", 3, 20, "2026-03-02T12:30:00Z");
        std::filesystem::remove(root / "Ohne Film/source.mov");
        const auto write = [](const std::filesystem::path& file) { std::ofstream(file) << "{}"; };
        for (const char* name : {"2026-03-14_09-05-33", "Übung 7 – Schnitt und Zoom"}) {
            write(root / name / "project.json");
        }
        write(root / "Übung 7 – Schnitt und Zoom/studio-output.mp4");
        std::filesystem::create_directories(root / "2026-03-15_10-00-00");
        write(root / "2026-03-15_10-00-00/source.mov");
        std::filesystem::create_directories(root / "2026-03-13_17-20-00");
        write(root / "2026-03-13_17-20-00/source.mov");
        write(root / "2026-03-13_17-20-00/journal");
        const capture::Journal recorder(root / "2026-03-15_10-00-00");
        show("recordings", "");
        show("recordings-no-hit", "Klavier");
        const QFont usual = QApplication::font();
        QFont larger = usual;
        larger.setPointSizeF(14);
        QApplication::setFont(larger);
        show("recordings-large-type", "");
        QApplication::setFont(usual);
    }

    void saveWidget(QWidget& widget, const std::string& name) const {
        widget.setVisible(true);
        QApplication::processEvents();
        QImage picture(widget.size() * scale_, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(scale_);
        picture.fill(Qt::transparent);
        widget.render(&picture);
        save(picture, name);
    }

    void showStates(const std::string& start) const {
        app::MainWindow window({});
        window.setVisible(true);
        const auto show = [&](const app::MainWindowState& state, const char* name) {
            window.show(state);
            saveWidget(window, start + name);
        };
        app::MainWindowState state;
        state.sourceItems = {"keine Berechtigung"};
        state.choices.sourceIndex = 0;
        state.status =
            "Die Bildschirmaufnahme ist noch nicht erlaubt.\n"
            "Systemeinstellungen → Datenschutz & Sicherheit → Bildschirmaufnahme,\n"
            "dort „LumiVastor\" aktivieren und die App neu starten.";
        show(state, "-denied");
        state.sourceItems = {"Aufnahmekarte HDMI USB 3.0"};
        state.choices.sourceType = app::SourceType::device;
        state.microphones = state.cameras = {{"Standard"}, 0};
        state.cardSounds = {{"Standard: Aufnahmekarte HDMI USB 3.0 Analog Stereo", "Ohne Ton"}, 0};
        state.status = "Bereit. Hinweis: Vom iPhone gibt es keine Klick-Daten - Zooms setzt du im Editor von Hand.";
        show(state, "-card");
        state.choices.sourceType = app::SourceType::display;
        state.cardSounds = {};
        state.sourceItems = {"Bildschirm 1 – 1920×1080 px"};
        state.status = "Bereit. 1 Bildschirm(e) gefunden.";
        state.notices[app::NoticeKind::update] = {"LumiVastor 1.2.0 ist verfügbar.", "Herunterladen"};
        show(state, "-update");
        state.notices[app::NoticeKind::interrupted] = {"3 Aufnahmen wurden unterbrochen, zuletzt 2025-03-14_09-05-33",
                                                       "Abschließen"};
        state.notices[app::NoticeKind::recording] = {
            "Die Aufnahme wurde vom System beendet: Das aufgenommene Fenster wurde geschlossen.", ""};
        state.status =
            "Prüfvideo fertig: 1234 Bilder, 20.6 s\ncursor-check.mp4\n\nBeim Ansehen prüfen: Sitzt der Ring genau auf "
            "dem angeklickten\nKnopf, und knackt der Klick im Ton im selben Moment?";
        state.progress = 0.4;
        show(state, "-everything");
    }

    void statusIcon() const {
        QImage picture(QSize(420, 160) * scale_, QImage::Format_ARGB32_Premultiplied);
        picture.setDevicePixelRatio(scale_);
        QPainter painter(&picture);
        painter.fillRect(0, 0, 420, 80, QColor(0x20, 0x22, 0x26));
        painter.fillRect(0, 80, 420, 80, QColor(0xE8, 0xE8, 0xEA));
        for (const int top : {0, 80}) {
            int x = 20;
            for (const char* time : {"0:07", "12:34", "125:00"}) {
                for (const int side : {22, 24, 32}) {
                    app::recordingIcon(time).paint(&painter, x, top + 24, side, side);
                    x += side + 14;
                }
                x += 10;
            }
        }
        painter.end();
        save(picture, "status-icon");
    }

    void sources() {
        picture("main", kMainTitle);
        for (int i = 0; i < 3; ++i) press({kTab});
        picture("main-focus", kMainTitle);
        need(app_->choose(app::SourceType::window), "a control is there");
        picture("main-windows", kMainTitle);
        need(app_->click("displayPopup"), "a control is there");
        picture("main-windows-list", kMainTitle);
        press({ScriptedKeyboard::kEscape});
        need(app_->choose(app::SourceType::region), "a control is there");
        picture("main-region", kMainTitle);
        need(app_->choose(app::SourceType::device), "a control is there");
        picture("main-device", kMainTitle);
        need(app_->choose(app::SourceType::display), "a control is there");
        need(app_->click("webcamBox"), "a control is there");
        sleepFor(1);
        picture("main-camera", kMainTitle);
    }

    void menus() {
        need(app_->clickAt(kMainTitle, {30, 14}), "a control is there");
        picture("menu-application", kMainTitle);
        press({kDown});
        press({ScriptedKeyboard::kReturn});
        picture("about");
        press({ScriptedKeyboard::kEscape});
        need(app_->clickAt(kMainTitle, {120, 14}), "a control is there");
        picture("menu-edit", kMainTitle);
        press({ScriptedKeyboard::kEscape});
        press({ScriptedKeyboard::kEscape});
    }

    void folders() {
        need(app_->click("studioButton"), "a control is there");
        need(app_->waitForWindow(kRecordingsTitle), "the list opens");
        picture("recordings-first");
        press({ScriptedKeyboard::kControl, 'o'});
        sleepFor(1);
        picture("open-folder");
        press({ScriptedKeyboard::kReturn});
        picture("recordings-refusal", kRecordingsTitle);
        press({ScriptedKeyboard::kControl, 'w'});
        need(app_->waitForNoWindow(kRecordingsTitle), "the list closes");
        picture("main-no-movie", kMainTitle);
    }

    void recordingWithEverything() {
        need(app_->click("systemAudioBox"), "a control is there");
        need(app_->click("microphoneBox"), "a control is there");
        app_->pressRecord();
        need(app_->waitForWindow(kCountdownTitle), "the countdown comes");
        picture("countdown");
        picture("countdown-close", kCountdownTitle);
        need(app_->waitUntilRecording(), "the recording begins");
        clickInDemo(centre(DemoWindow::document(1)));
        demo_->showDocument(1);
        sleepFor(2);
        clickInDemo(centre(DemoWindow::markButton()));
        demo_->setMarked(true);
        sleepFor(2);
        clickInDemo(centre(DemoWindow::saveButton()));
        demo_->setSaved(true);
        sleepFor(2);
        picture("recording");
        picture("recording-panel-camera", kPanelTitle);
        need(app_->clickPanelStop(), "a control is there");
        need(app_->waitForWindow(app_->editorTitle()), "the editor opens");
        sleepFor(2);
        picture("editor-opened");
    }

    void editing() {
        need(app_->clickInEditor("timeSlider", {0.4, 0.5}), "a control is there");
        need(app_->clickInEditor("cutStartButton"), "a control is there");
        need(app_->clickInEditor("timeSlider", {0.5, 0.5}), "a control is there");
        need(app_->clickInEditor("cutEndButton"), "a control is there");
        need(app_->clickInEditor("maskDrawButton"), "a control is there");
        need(app_->dragInEditor("previewView", {0.3, 0.3}, {0.5, 0.45}), "a control is there");
        need(app_->clickInEditor("addZoomButton"), "a control is there");
        sleepFor(1);
        picture("editor-edited", app_->editorTitle());
        need(app_->clickInEditor("renderButton"), "a control is there");
        sleepFor(1);
        picture("editor-rendering", app_->editorTitle());
        need(app_->waitForVideo(), "the video is rendered");
        sleepFor(1);
        picture("editor-rendered", app_->editorTitle());
        press({ScriptedKeyboard::kControl, 'w'});
        need(app_->waitForNoWindow(app_->editorTitle()), "the editor closes");
        picture("main-finished", kMainTitle);
    }

    void interruption() {
        need(app_->click("webcamBox"), "a control is there");
        app_->pressRecord();
        need(app_->waitUntilRecording(), "the second recording begins");
        picture("recording-panel", kPanelTitle);
        sleepFor(3);
        app_->program().signal(SIGKILL);
        app_->program().wait();
        need(app_->waitForNoWindow(kMainTitle), "the killed program's window goes");
        need(app_->start(), "the program starts again");
        // It is completed without being asked.
        sleepFor(3);
        picture("main-interrupted", kMainTitle);
    }

    void region() {
        need(app_->choose(app::SourceType::region), "a control is there");
        app_->pressRecord();
        need(app_->waitForWindow(kArmTitle), "the panel before the region comes");
        picture("region-ready");
        picture("region-ready-close", kArmTitle);
        need(app_->clickAt(kArmTitle, {270, 28}), "a control is there");
        need(app_->waitForWindow(kPickerTitle), "the overlay comes");
        picture("region-overlay");
        need(app_->moveTo(kPickerTitle, {400, 250}), "a control is there");
        app_->pointer().press(1);
        need(app_->moveTo(kPickerTitle, {700, 400}), "a control is there");
        need(app_->moveTo(kPickerTitle, {1050, 700}), "a control is there");
        picture("region-dragged");
        press({ScriptedKeyboard::kEscape});
        app_->pointer().release(1);
        need(app_->waitForWindow(kMainTitle), "the main window comes back");
        picture("main-cancelled", kMainTitle);
    }

    const std::string folder_;
    const std::string suffix_;
    const int scale_;
    WindowMap map_;
    DesktopRig desktop_;
    PulseRig sound_;
    std::unique_ptr<RigProgram> composer_;
    std::unique_ptr<DemoWindow> demo_;
    std::unique_ptr<DrivenApplication> app_;
};

}  // namespace
}  // namespace lumivastor

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("usage: app_pictures FOLDER SUFFIX SCALE composed|plain\n", stderr);
        return 2;
    }
    try {
        lumivastor::Story(argv[1], argv[2], std::atoi(argv[3]), std::string(argv[4]) == "composed").tell();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

// The program itself, on a display server, a sound server and a camera of the tests' own, worked with pointer and keys.

#include "app/application.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QAbstractButton>
#include <QApplication>
#include <chrono>
#include <csignal>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/windows/main_window.h"
#include "editor/look.h"
#include "editor/segmented_control.h"
#include "media/asset.h"
#include "media/asset_reader.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "support/desktop_rig/desktop_rig.h"
#include "support/desktop_rig/rig_window.h"
#include "support/desktop_rig/scripted_keyboard.h"
#include "support/desktop_rig/scripted_pointer.h"
#include "support/desktop_rig/shown_windows.h"
#include "support/program_run.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

constexpr const char* kMainTitle = "LumiVastor";
constexpr const char* kPanelTitle = "LumiVastor – Aufnahme läuft";
constexpr const char* kArmTitle = "LumiVastor – Ausschnitt vorbereiten";
constexpr const char* kPickerTitle = "LumiVastor – Ausschnitt wählen";
constexpr std::uint32_t kBackground = 0x204060;

void sleepFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

// Where the main window has its controls: asked of one that nobody sees.
class MainWindowMap {
  public:
    MainWindowMap() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        application_ = std::make_unique<QApplication>(count_, words_);
        look::apply(*application_);
        window_ = std::make_unique<MainWindow>(MainWindowActions{});
        window_->setVisible(true);
        QApplication::processEvents();
    }

    // The hot spot of a control, in the window. Boxes are hit at their left end.
    QPoint control(const char* name) const {
        const auto* widget = window_->findChild<QWidget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget->mapTo(window_.get(), QPoint(12, widget->height() / 2));
    }
    QPoint segment(SourceType type) const {
        const auto* control = static_cast<SegmentedControl*>(window_->findChild<QWidget*>("sourceTypeControl"));
        const auto* segment = control->segment(static_cast<int>(type));
        return segment->mapTo(window_.get(), segment->rect().center());
    }

  private:
    int count_ = 1;
    char name_[5] = "test";
    char* words_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> application_;
    std::unique_ptr<MainWindow> window_;
};

class ApplicationOnDesktop : public testing::Test {
  protected:
    ApplicationOnDesktop() {
        desktop_.paintRoot(kBackground);
        std::filesystem::create_directory(temporary_ / "run");
        ::chmod((temporary_ / "run").c_str(), 0700);
    }
    ~ApplicationOnDesktop() override {
        if (HasFailure()) std::cerr << "The program's log:\n" << log() << (program_ ? program_->err() : "");
    }

    std::map<std::string, std::string> environment() const {
        return {{"DISPLAY", desktop_.displayName()},
                {"HOME", temporary_.path().string()},
                {"XDG_RUNTIME_DIR", (temporary_ / "run").string()},
                {"XDG_CONFIG_HOME", ""},
                {"PULSE_SERVER", pulseServer_},
                {"PIPEWIRE_REMOTE", (temporary_ / "none").string()},
                {"LUMIVASTOR_TEST_CAMERA", "testsrc2=size={size}:rate=30"},
                {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
                {"WAYLAND_DISPLAY", ""},
                {"QT_QPA_PLATFORM", ""}};
    }

    void start(const std::vector<std::string>& switches = {}) {
        // Ends with this test also when that is killed.
        std::vector<std::string> words = {"setpriv", "--pdeathsig", "KILL", LUMI_PROGRAM};
        words.insert(words.end(), switches.begin(), switches.end());
        program_ = std::make_unique<ProgramRun>(words, environment());
        ASSERT_TRUE(waitForWindow(kMainTitle));
        // Until the sources are listed and the window manager has placed and focused the window.
        sleepFor(1.5);
    }

    bool isShown(const std::string& title) const { return shownWindow(desktop_.displayName(), title).has_value(); }
    bool waitForWindow(const std::string& title) const {
        return waitFor([&] { return isShown(title) || !program_->isRunning(); }) && isShown(title);
    }
    bool waitForNoWindow(const std::string& title) const {
        return waitFor([&] { return !isShown(title); });
    }

    void clickAt(const std::string& title, int x, int y) {
        const auto window = shownWindow(desktop_.displayName(), title);
        ASSERT_TRUE(window) << title;
        pointer_.moveTo(window->x + x, window->y + y);
        pointer_.click(1);
        sleepFor(0.3);
    }
    void click(const char* control) { clickAt(kMainTitle, map_.control(control).x(), map_.control(control).y()); }
    void choose(SourceType type) { clickAt(kMainTitle, map_.segment(type).x(), map_.segment(type).y()); }

    // Return is the record button's key.
    void pressRecord() { keyboard_.press({ScriptedKeyboard::kReturn}); }
    // From the countdown until the first pictures are in the movie.
    void waitUntilRecording() {
        ASSERT_TRUE(waitForWindow(kPanelTitle));
        ASSERT_TRUE(waitFor([this] {
            return !recordings().empty() && std::filesystem::exists(recordings()[0] / "journal") &&
                   readText(recordings()[0] / "journal").find(" session ") != std::string::npos;
        }));
        EXPECT_FALSE(isShown(kMainTitle));
        sleepFor(1.5);
    }
    void clickPanelStop() {
        const auto panel = shownWindow(desktop_.displayName(), kPanelTitle);
        ASSERT_TRUE(panel);
        clickAt(kPanelTitle, panel->width - 84 + 36, panel->height / 2);
    }
    // The editor opens on the one recording there is.
    void waitForEditor() {
        ASSERT_EQ(recordings().size(), 1U);
        ASSERT_TRUE(waitForWindow("LumiVastor – " + recordings()[0].filename().string()));
        EXPECT_TRUE(isShown(kMainTitle));
        EXPECT_FALSE(isShown(kPanelTitle));
    }
    void quit() {
        program_->signal(SIGTERM);
        EXPECT_EQ(program_->wait(), 0);
        EXPECT_EQ(program_->err(), "");
    }

    std::vector<std::filesystem::path> recordings() const {
        std::vector<std::filesystem::path> found;
        const auto root = temporary_ / "Movies/LumiVastor";
        if (!std::filesystem::exists(root)) return found;
        for (const auto& entry : std::filesystem::directory_iterator(root)) found.push_back(entry.path());
        return found;
    }
    CaptureInfo info() const { return CaptureInfo::load(recordings().at(0)); }
    std::string log() const {
        const auto file = temporary_ / "Library/Logs/LumiVastor.log";
        return std::filesystem::exists(file) ? readText(file) : "";
    }
    bool logged(const std::string& text) const { return log().find(text) != std::string::npos; }

    // The last picture of the movie, as 0xRRGGBB at a place; encoding blurs it a little.
    std::vector<std::uint32_t> lastPictureAt(const std::vector<QPoint>& places) const {
        const auto asset = std::make_shared<const Asset>(recordings().at(0) / "source.mov");
        AssetReader reader(asset);
        VideoTrackOutput& output =
            reader.addVideoOutput(asset->tracks(TrackKind::video).at(0).id, PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        std::vector<std::uint32_t> colours;
        while (const auto sample = output.copyNextSample()) {
            colours.clear();
            for (const QPoint& place : places) {
                const std::uint8_t* pixel = sample->bgra().pixel(place.x(), place.y());
                colours.push_back(static_cast<std::uint32_t>(pixel[2] << 16 | pixel[1] << 8 | pixel[0]));
            }
        }
        return colours;
    }
    static bool isNear(std::uint32_t colour, std::uint32_t other) {
        for (const int shift : {0, 8, 16}) {
            if (std::abs(static_cast<int>(colour >> shift & 255) - static_cast<int>(other >> shift & 255)) > 8) {
                return false;
            }
        }
        return true;
    }

    const MainWindowMap map_;
    TemporaryFolder temporary_;
    DesktopRig desktop_{{.hasWindowManager = true}};
    PulseRig sound_;
    std::string pulseServer_ = sound_.address();
    ScriptedPointer pointer_{desktop_.displayName()};
    ScriptedKeyboard keyboard_{desktop_.displayName()};
    std::unique_ptr<ProgramRun> program_;
};

TEST_F(ApplicationOnDesktop, recordsADisplayWithEverythingOnAndOpensTheEditor) {
    RigWindow other(desktop_.displayName(), {.x = 20, .y = 40, .width = 200, .height = 200, .color = 0xD0A000});
    start();
    for (const char* box : {"autoZoomBox", "systemAudioBox", "microphoneBox", "webcamBox"}) click(box);
    sleepFor(1);
    pressRecord();
    waitUntilRecording();
    const auto panel = shownWindow(desktop_.displayName(), kPanelTitle);
    ASSERT_TRUE(panel);
    EXPECT_EQ(panel->width, 254);
    EXPECT_EQ(panel->height, 60);
    EXPECT_EQ(panel->x, 1280 - 254 - 24);
    EXPECT_EQ(panel->y, 800 - 60 - 24);
    pointer_.moveTo(100, 150);
    pointer_.click(1);
    sleepFor(0.5);
    clickPanelStop();
    waitForEditor();

    EXPECT_EQ(info().sourceKind, "display");
    EXPECT_EQ(info().fps, 60);
    EXPECT_EQ(info().pixelWidth, 1280);
    EXPECT_TRUE(info().systemAudio);
    EXPECT_TRUE(info().microphone);
    EXPECT_EQ(info().webcamFile, "webcam.mov");
    EXPECT_GT(info().pointerEvents, 2);
    EXPECT_EQ(readText(recordings()[0] / "project.json"), "{\"zoomScale\": 1.0}");
    // The panel is in no picture: what lies below it is.
    const auto colours = lastPictureAt({{panel->x + 127, panel->y + 4}, {panel->x + 230, panel->y + 30}, {100, 150}});
    EXPECT_TRUE(isNear(colours[0], kBackground)) << std::hex << colours[0];
    EXPECT_TRUE(isNear(colours[1], kBackground)) << std::hex << colours[1];
    EXPECT_TRUE(isNear(colours[2], 0xD0A000)) << std::hex << colours[2];
    quit();
}

TEST_F(ApplicationOnDesktop, recordsAWindowAndStopsByTheShortcut) {
    RigWindow other(desktop_.displayName(), {.title = "Vorführung", .x = 20, .y = 40, .width = 320, .height = 240});
    start();
    choose(SourceType::window);
    pressRecord();
    waitUntilRecording();
    keyboard_.press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, 's'});
    waitForEditor();
    EXPECT_EQ(info().sourceKind, "window");
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 240);
    EXPECT_NE(info().windowTitle.value_or("").find("Vorführung"), std::string::npos);
    EXPECT_FALSE(info().systemAudio);
    EXPECT_FALSE(info().microphone);
    EXPECT_FALSE(info().webcamFile);
    EXPECT_FALSE(std::filesystem::exists(recordings()[0] / "project.json")) << "automatic zooms are on";
    quit();
}

TEST_F(ApplicationOnDesktop, recordsARegionThatIsDragged) {
    start();
    choose(SourceType::region);
    pressRecord();
    ASSERT_TRUE(waitForWindow(kArmTitle));
    EXPECT_FALSE(isShown(kMainTitle));
    const auto arm = shownWindow(desktop_.displayName(), kArmTitle);
    EXPECT_EQ(arm->x, 640 - 215);
    EXPECT_EQ(arm->y, 24);
    EXPECT_EQ(arm->width, 430);
    EXPECT_EQ(arm->height, 56);
    clickAt(kArmTitle, 270, 28);
    ASSERT_TRUE(waitForWindow(kPickerTitle));
    sleepFor(0.5);
    pointer_.moveTo(200, 100);
    pointer_.press(1);
    pointer_.moveTo(400, 200);
    pointer_.moveTo(520, 340);
    pointer_.release(1);
    waitUntilRecording();
    clickPanelStop();
    waitForEditor();
    EXPECT_EQ(info().sourceKind, "region");
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 240);
    EXPECT_EQ(info().contentX, 200);
    EXPECT_EQ(info().contentY, 100);
    EXPECT_TRUE(logged("[Region] Overlay angezeigt: sichtbar=true, Schirm=1280×800"));
    quit();
}

TEST_F(ApplicationOnDesktop, everyWayOutOfARegionBringsTheWindowBack) {
    start();
    choose(SourceType::region);
    const auto toOverlay = [this] {
        pressRecord();
        ASSERT_TRUE(waitForWindow(kArmTitle));
        clickAt(kArmTitle, 270, 28);
        ASSERT_TRUE(waitForWindow(kPickerTitle));
        sleepFor(0.5);
    };
    const auto expectBack = [this](const char* what) {
        EXPECT_TRUE(waitForWindow(kMainTitle)) << what;
        EXPECT_TRUE(waitForNoWindow(kPickerTitle)) << what;
        EXPECT_FALSE(isShown(kArmTitle)) << what;
        sleepFor(0.5);
    };
    pressRecord();
    ASSERT_TRUE(waitForWindow(kArmTitle));
    clickAt(kArmTitle, 385, 28);
    expectBack("the panel's button");

    toOverlay();
    keyboard_.press({ScriptedKeyboard::kEscape});
    expectBack("Escape");

    toOverlay();
    pointer_.moveTo(200, 100);
    pointer_.press(1);
    pointer_.moveTo(500, 400);
    keyboard_.press({ScriptedKeyboard::kEscape});
    pointer_.release(1);
    expectBack("Escape during the drag");

    toOverlay();
    pointer_.moveTo(200, 100);
    pointer_.press(1);
    pointer_.moveTo(259, 300);
    pointer_.release(1);
    expectBack("59 points");
    EXPECT_TRUE(recordings().empty());
    quit();
}

TEST_F(ApplicationOnDesktop, quittingWhileRecordingFinishesTheFolder) {
    start();
    pressRecord();
    waitUntilRecording();
    quit();
    ASSERT_EQ(recordings().size(), 1U);
    EXPECT_FALSE(Asset(recordings()[0] / "source.mov").isFragmented());
    EXPECT_FALSE(std::filesystem::exists(recordings()[0] / "journal"));
    EXPECT_GT(info().framesWritten, 0);
}

TEST_F(ApplicationOnDesktop, testRegionGoesToTheOverlayByItself) {
    start({"--test-region"});
    ASSERT_TRUE(waitForWindow(kArmTitle));
    ASSERT_TRUE(waitForWindow(kPickerTitle));
    for (const char* line :
         {"[Region] Testmodus: löse Ausschnitt-Fluss aus", "[Region] Fluss gestartet: Fenster weg, App tritt zurück",
          "[Region] Bereit-Feld angezeigt", "[Region] Nutzer bereit, zeige Overlay",
          "[Region] Overlay angezeigt: sichtbar=true, Schirm=1280×800"}) {
        EXPECT_TRUE(waitFor([&] { return logged(line); })) << line;
    }
    sleepFor(0.5);
    keyboard_.press({ScriptedKeyboard::kEscape});
    EXPECT_TRUE(waitForWindow(kMainTitle));
    quit();
}

TEST_F(ApplicationOnDesktop, opensTheEditorFromTheCommandLineAndForLaterStarts) {
    start();
    pressRecord();
    waitUntilRecording();
    clickPanelStop();
    waitForEditor();
    quit();
    const std::string editor = "LumiVastor – " + recordings()[0].filename().string();

    start({"--open-editor", recordings()[0].string()});
    EXPECT_TRUE(waitForWindow(editor));
    quit();

    start({"--open-editor"});
    sleepFor(1.5);
    EXPECT_FALSE(isShown(editor)) << "nothing is named";
    // A later start has the first one open it, and ends.
    ProgramRun later({LUMI_PROGRAM, "--open-editor", recordings()[0].string()}, environment());
    EXPECT_EQ(later.wait(), 0) << later.err();
    EXPECT_TRUE(waitForWindow(editor));
    ProgramRun another({LUMI_PROGRAM}, environment());
    EXPECT_EQ(another.wait(), 0) << another.err();
    EXPECT_TRUE(program_->isRunning());
    quit();
}

TEST_F(ApplicationOnDesktop, withoutASoundServerTheMicrophoneIsRefused) {
    pulseServer_ = nobodysAddress(temporary_);
    start();
    click("microphoneBox");
    pressRecord();
    EXPECT_TRUE(waitFor([this] { return logged("[Permissions] Mikrofon: nicht gefunden"); }));
    sleepFor(1);
    EXPECT_TRUE(recordings().empty()) << "a countdown has its folder already";
    EXPECT_TRUE(isShown(kMainTitle));
    quit();
}

TEST_F(ApplicationOnDesktop, anInterruptedRecordingIsCompletedWithOneClick) {
    start();
    pressRecord();
    waitUntilRecording();
    sleepFor(3);  // so that a fragment is on the disk
    program_->signal(SIGKILL);
    program_->wait();
    ASSERT_TRUE(std::filesystem::exists(recordings().at(0) / "journal"));
    ASSERT_TRUE(waitForNoWindow(kMainTitle));

    start();
    // The button at the right end of the line above the status.
    const auto window = shownWindow(desktop_.displayName(), kMainTitle);
    const QPoint status = map_.control("statusLabel");
    bool done = false;
    for (int y = status.y() - 60; y < status.y() && !done; y += 6) {
        clickAt(kMainTitle, window->width - 70, y);
        done = !std::filesystem::exists(recordings()[0] / "journal");
    }
    EXPECT_TRUE(waitFor([this] { return !std::filesystem::exists(recordings()[0] / "journal"); }));
    EXPECT_GT(info().framesWritten, 0);
    EXPECT_FALSE(Asset(recordings()[0] / "source.mov").isFragmented());
    quit();
}

TEST_F(ApplicationOnDesktop, closingTheWindowEndsTheProgram) {
    start();
    keyboard_.press({ScriptedKeyboard::kAlt, 0xffc1});  // Alt+F4
    EXPECT_EQ(program_->wait(), 0);
}

TEST(Application, saysWhenThereIsNoDisplay) {
    const TemporaryFolder home;
    ProgramRun run({LUMI_PROGRAM}, {{"DISPLAY", ":54321"}, {"HOME", home.path().string()}, {"WAYLAND_DISPLAY", ""}});
    EXPECT_EQ(run.wait(), 1);
    EXPECT_EQ(run.err(), "Der Bildschirm ist nicht erreichbar. Läuft die Sitzung unter X11?\n");
}

}  // namespace
}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, on a display server, a sound server and a camera of the tests' own, worked with pointer and keys.

#include "app/startup/application.h"

#include <gtest/gtest.h>

#include <QPoint>
#include <csignal>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/capture_info.h"
#include "model/project_settings.h"
#include "support/await.h"
#include "support/desktop_rig/rig_window.h"
#include "support/driven_application.h"
#include "support/sound_rig.h"
#include "support/text_file.h"

namespace lumivastor::app {
namespace {

constexpr std::uint32_t kBackground = 0x204060;

// What a person does with the program. A step that cannot be done fails the test.
class ApplicationOnDesktop : public testing::Test {
  protected:
    ApplicationOnDesktop() { desktop_.paintRoot(kBackground); }
    ~ApplicationOnDesktop() override {
        if (HasFailure() && app_) std::cerr << "The program's log:\n" << app_->log() << app_->program().err();
    }

    DrivenApplication& app() { return *app_; }
    void start(const std::vector<std::string>& switches = {}) {
        if (!app_) {
            app_ = std::make_unique<DrivenApplication>(desktop_, map_,
                                                       DrivenApplication::Options{.pulseServer = pulseServer_});
        }
        ASSERT_TRUE(app_->start(switches));
    }
    void startRecording() {
        app().pressRecord();
        ASSERT_TRUE(app().waitUntilRecording());
        EXPECT_FALSE(app().isShown(kMainTitle));
    }
    void stopByPanel() {
        ASSERT_TRUE(app().clickPanelStop());
        waitForEditor();
    }
    // The editor opens on the one recording there is.
    void waitForEditor() {
        ASSERT_EQ(app().recordings().size(), 1U);
        ASSERT_TRUE(app().waitForWindow(app().editorTitle()));
        EXPECT_TRUE(app().isShown(kMainTitle));
        EXPECT_FALSE(app().isShown(kPanelTitle));
        // Until the window manager has placed it.
        sleepFor(1);
    }
    void quit() {
        app().program().signal(SIGTERM);
        EXPECT_EQ(app().program().wait(), 0);
        EXPECT_EQ(app().program().err(), "");
    }

    // Exports what the editor shows, and looks at the file.
    void exportMovie() {
        ASSERT_TRUE(app().clickInEditor("renderButton"));
        ASSERT_TRUE(app().waitForVideo());
        // Until then the file is being checked, and closing the editor would show the list of exports.
        ASSERT_TRUE(await([this] { return app().logged("[Studio] fertig: "); }));
        const media::Asset movie(app().recordings().back() / "studio-output.mp4");
        ASSERT_EQ(movie.tracks(media::TrackKind::video).size(), 1U);
        const model::ProjectSettings settings = project();
        EXPECT_EQ(movie.tracks(media::TrackKind::video)[0].height, settings.exportHeight);
        const double whole = (settings.trimEnd > 0 ? settings.trimEnd : info().duration) - settings.trimStart;
        double cut = 0;
        for (const model::CutRange& range : settings.cuts) cut += range.end - range.start;
        EXPECT_NEAR(movie.duration().seconds(), whole - cut, 0.1);
    }
    void closeEditor() {
        EXPECT_TRUE(await([this] {
            app().keyboard().press({ScriptedKeyboard::kControl, 'w'});
            sleepFor(0.3);
            return !app().isShown(app().editorTitle());
        }));
    }
    model::ProjectSettings project() const { return model::ProjectSettings::load(app_->recordings().back()); }
    // What is edited is saved a moment later.
    bool waitForProject(const std::function<bool(const model::ProjectSettings&)>& isSo) const {
        return await([&] { return isSo(project()); });
    }

    model::CaptureInfo info() const { return model::CaptureInfo::load(app_->recordings().at(0)); }
    // The last picture of the movie, as 0xRRGGBB at a place; encoding blurs it a little.
    std::vector<std::uint32_t> lastPictureAt(const std::vector<QPoint>& places) const {
        const auto asset = std::make_shared<const media::Asset>(app_->recordings().at(0) / "source.mov");
        media::AssetReader reader(asset);
        media::VideoTrackOutput& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id,
                                                                media::PictureFormat::bgraPremultiplied);
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

    WindowMap map_;
    DesktopRig desktop_{{.hasWindowManager = true}};
    PulseRig sound_;
    TemporaryFolder temporary_;
    std::string pulseServer_ = sound_.address();

  private:
    std::unique_ptr<DrivenApplication> app_;
};

TEST_F(ApplicationOnDesktop, RecordsADisplayWithEverythingOnAndOpensTheEditor) {
    RigWindow other(desktop_.displayName(), {.x = 20, .y = 40, .width = 200, .height = 200, .color = 0xD0A000});
    start();
    for (const char* box : {"autoZoomBox", "systemAudioBox", "microphoneBox", "webcamBox"})
        ASSERT_TRUE(app().click(box));
    sleepFor(1);
    startRecording();
    const auto panel = app().shown(kPanelTitle);
    ASSERT_TRUE(panel);
    EXPECT_EQ(panel->width, 414);
    EXPECT_EQ(panel->height, 60);
    EXPECT_EQ(panel->x, 1280 - 414 - 24);
    EXPECT_EQ(panel->y, 800 - 60 - 24);
    // Two moves, as those to the panel may come too late to be recorded.
    app().pointer().moveTo(60, 120);
    app().pointer().moveTo(100, 150);
    app().pointer().click(1);
    sleepFor(0.5);
    stopByPanel();

    EXPECT_EQ(info().sourceKind, "display");
    EXPECT_EQ(info().fps, 60);
    EXPECT_EQ(info().pixelWidth, 1280);
    EXPECT_TRUE(info().systemAudio);
    EXPECT_TRUE(info().microphone);
    EXPECT_EQ(info().webcamFile, "webcam.mov");
    EXPECT_GT(info().pointerEvents, 2);
    EXPECT_EQ(readText(app().recordings()[0] / "project.json"), "{\"zoomScale\": 1.0}");
    // The panel is in no picture: what lies below it is.
    const auto colours = lastPictureAt({{panel->x + 127, panel->y + 4}, {panel->x + 230, panel->y + 30}, {100, 150}});
    EXPECT_TRUE(isNear(colours[0], kBackground)) << std::hex << colours[0];
    EXPECT_TRUE(isNear(colours[1], kBackground)) << std::hex << colours[1];
    EXPECT_TRUE(isNear(colours[2], 0xD0A000)) << std::hex << colours[2];
    exportMovie();
    EXPECT_EQ(media::Asset(app().recordings()[0] / "studio-output.mp4").tracks(media::TrackKind::audio).size(), 1U);
    quit();
}

TEST_F(ApplicationOnDesktop, RecordsAWindowAndStopsByTheShortcut) {
    RigWindow other(desktop_.displayName(), {.title = "Vorführung", .x = 20, .y = 40, .width = 320, .height = 240});
    start();
    ASSERT_TRUE(app().choose(SourceType::window));
    startRecording();
    app().keyboard().press({ScriptedKeyboard::kControl, ScriptedKeyboard::kAlt, ScriptedKeyboard::kShift, 's'});
    waitForEditor();
    EXPECT_EQ(info().sourceKind, "window");
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 240);
    EXPECT_NE(info().windowTitle.value_or("").find("Vorführung"), std::string::npos);
    EXPECT_FALSE(info().systemAudio);
    EXPECT_FALSE(info().microphone);
    EXPECT_FALSE(info().webcamFile);
    EXPECT_FALSE(std::filesystem::exists(app().recordings()[0] / "project.json")) << "automatic zooms are on";
    quit();
}

TEST_F(ApplicationOnDesktop, AWindowIsRecordedEditedAndExported) {
    RigWindow other(desktop_.displayName(), {.title = "Vorführung", .x = 20, .y = 40, .width = 640, .height = 400});
    start();
    ASSERT_TRUE(app().choose(SourceType::window));
    startRecording();
    for (const int x : {120, 300, 500}) {
        app().pointer().moveTo(other.screenX() + x, other.screenY() + 200);
        sleepFor(0.3);
        app().pointer().click(1);
        sleepFor(1);
    }
    stopByPanel();
    const model::ProjectSettings untouched = project();
    EXPECT_GE(info().pointerEvents, 6);

    // Each of these is a step that can be undone.
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.1, 0.5}));
    ASSERT_TRUE(app().clickInEditor("trimStartButton"));
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.4, 0.5}));
    ASSERT_TRUE(app().clickInEditor("cutStartButton"));
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.5, 0.5}));
    ASSERT_TRUE(app().clickInEditor("cutEndButton"));
    ASSERT_TRUE(app().clickInEditor("maskDrawButton"));
    ASSERT_TRUE(app().dragInEditor("previewView", {0.4, 0.4}, {0.6, 0.6}));
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.7, 0.5}));
    ASSERT_TRUE(app().clickInEditor("addZoomButton"));
    // Within a second, a drag would belong to the same step.
    sleepFor(1.2);
    ASSERT_TRUE(app().dragInEditor("paddingSlider", {untouched.padding / 0.14, 0.5}, {0.9, 0.5}));
    ASSERT_TRUE(waitForProject([&](const model::ProjectSettings& now) { return now.padding > 0.12; }));
    const model::ProjectSettings edited = project();
    EXPECT_NEAR(edited.trimStart, info().duration * 0.1, 0.1);
    ASSERT_EQ(edited.cuts.size(), 1U);
    EXPECT_NEAR(edited.cuts[0].end - edited.cuts[0].start, info().duration * 0.1, 0.1);
    ASSERT_EQ(edited.masks.size(), 1U);
    ASSERT_TRUE(edited.zooms);
    EXPECT_NEAR(edited.zooms->back().start, info().duration * 0.7, 0.1);

    // The time line shows what plays.
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.2, 0.5}));
    app().keyboard().press({' '});
    sleepFor(2.5);  // a sound server may take one of them to answer
    app().keyboard().press({' '});
    ASSERT_TRUE(app().clickInEditor("trimStartButton"));
    ASSERT_TRUE(
        waitForProject([&](const model::ProjectSettings& now) { return now.trimStart > info().duration * 0.2; }));

    for (int step = 0; step < 6; ++step) app().keyboard().press({ScriptedKeyboard::kControl, 'z'});
    EXPECT_TRUE(waitForProject([&](const model::ProjectSettings& now) { return now == untouched; }));
    for (int step = 0; step < 5; ++step) {
        app().keyboard().press({ScriptedKeyboard::kControl, ScriptedKeyboard::kShift, 'z'});
    }
    EXPECT_TRUE(waitForProject([&](const model::ProjectSettings& now) { return now == edited; }));
    exportMovie();
    closeEditor();
    EXPECT_EQ(project(), edited);
    quit();
}

TEST_F(ApplicationOnDesktop, RecordsARegionThatIsDragged) {
    start();
    ASSERT_TRUE(app().choose(SourceType::region));
    app().pressRecord();
    ASSERT_TRUE(app().waitForWindow(kArmTitle));
    EXPECT_FALSE(app().isShown(kMainTitle));
    const auto arm = app().shown(kArmTitle);
    EXPECT_EQ(arm->x, 640 - 215);
    EXPECT_EQ(arm->y, 24);
    EXPECT_EQ(arm->width, 430);
    EXPECT_EQ(arm->height, 56);
    ASSERT_TRUE(app().clickAt(kArmTitle, {270, 28}));
    ASSERT_TRUE(app().waitForWindow(kPickerTitle));
    sleepFor(0.5);
    app().pointer().moveTo(200, 100);
    app().pointer().press(1);
    app().pointer().moveTo(400, 200);
    app().pointer().moveTo(520, 340);
    app().pointer().release(1);
    ASSERT_TRUE(app().waitUntilRecording());
    stopByPanel();
    EXPECT_EQ(info().sourceKind, "region");
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 240);
    EXPECT_EQ(info().contentX, 200);
    EXPECT_EQ(info().contentY, 100);
    EXPECT_TRUE(app().logged("[Region] Overlay angezeigt: sichtbar=true, Schirm=1280×800"));
    exportMovie();
    quit();
}

TEST_F(ApplicationOnDesktop, EveryWayOutOfARegionBringsTheWindowBack) {
    start();
    ASSERT_TRUE(app().choose(SourceType::region));
    const auto toOverlay = [this] {
        app().pressRecord();
        ASSERT_TRUE(app().waitForWindow(kArmTitle));
        ASSERT_TRUE(app().clickAt(kArmTitle, {270, 28}));
        ASSERT_TRUE(app().waitForWindow(kPickerTitle));
        sleepFor(0.5);
    };
    const auto expectBack = [this](const char* what) {
        EXPECT_TRUE(app().waitForWindow(kMainTitle)) << what;
        EXPECT_TRUE(app().waitForNoWindow(kPickerTitle)) << what;
        EXPECT_FALSE(app().isShown(kArmTitle)) << what;
        sleepFor(0.5);
    };
    app().pressRecord();
    ASSERT_TRUE(app().waitForWindow(kArmTitle));
    ASSERT_TRUE(app().clickAt(kArmTitle, {385, 28}));
    expectBack("the panel's button");

    toOverlay();
    app().keyboard().press({ScriptedKeyboard::kEscape});
    expectBack("Escape");

    toOverlay();
    app().pointer().moveTo(200, 100);
    app().pointer().press(1);
    app().pointer().moveTo(500, 400);
    app().keyboard().press({ScriptedKeyboard::kEscape});
    app().pointer().release(1);
    expectBack("Escape during the drag");

    toOverlay();
    app().pointer().moveTo(200, 100);
    app().pointer().press(1);
    app().pointer().moveTo(259, 300);
    app().pointer().release(1);
    expectBack("59 points");
    EXPECT_TRUE(app().recordings().empty());

    // The program ends from there, too, although its menu is hidden.
    toOverlay();
    app().keyboard().press({ScriptedKeyboard::kControl, 'q'});
    EXPECT_EQ(app().program().wait(), 0);
}

TEST_F(ApplicationOnDesktop, QuittingWhileRecordingFinishesTheFolder) {
    start();
    startRecording();
    quit();
    ASSERT_EQ(app().recordings().size(), 1U);
    EXPECT_FALSE(media::Asset(app().recordings()[0] / "source.mov").isFragmented());
    EXPECT_FALSE(std::filesystem::exists(app().recordings()[0] / "journal"));
    EXPECT_GT(info().framesWritten, 0);
}

TEST_F(ApplicationOnDesktop, ADisplayServerThatGoesAwayEndsTheProgramAndTheRecordingIsKept) {
    start();
    startRecording();
    desktop_.killServer();
    EXPECT_EQ(app().program().wait(), 1);
    ASSERT_EQ(app().recordings().size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(app().recordings()[0] / "journal"));
    EXPECT_GT(info().framesWritten, 0);
    EXPECT_FALSE(media::Asset(app().recordings()[0] / "source.mov").isFragmented());
    EXPECT_TRUE(isNear(lastPictureAt({{100, 400}})[0], kBackground));
}

TEST_F(ApplicationOnDesktop, AVideoThatIsRenderedLeavesNoHalfFileHoweverTheProgramEnds) {
    // What changes all over takes long to render.
    RigWindow restless(desktop_.displayName(), {.x = 20, .y = 40, .width = 640, .height = 640});
    start();
    startRecording();
    for (int seed = 0; seed < 60; ++seed) {
        restless.drawPattern(seed);
        sleepFor(0.04);
    }
    stopByPanel();
    const auto video = app().recordings()[0] / "studio-output.mp4";
    const auto startAgain = [this] {
        start({"--open-editor", app().recordings()[0].string()});
        waitForEditor();
    };
    // Large, so that it lasts.
    ASSERT_TRUE(app().clickInEditor("exportResolutionControl", {0.83, 0.5}));
    ASSERT_TRUE(waitForProject([](const model::ProjectSettings& now) { return now.exportHeight == 2160; }));

    ASSERT_TRUE(app().clickInEditor("renderButton"));
    app().keyboard().press({ScriptedKeyboard::kControl, 'q'});
    sleepFor(0.5);
    EXPECT_TRUE(app().program().isRunning()) << "the user is asked first";
    app().keyboard().press({ScriptedKeyboard::kControl, 'q'});
    EXPECT_EQ(app().program().wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(video)) << "quitting";

    startAgain();
    ASSERT_TRUE(app().clickInEditor("renderButton"));
    app().program().signal(SIGTERM);
    app().program().signal(SIGTERM);
    EXPECT_EQ(app().program().wait(), 0);
    EXPECT_EQ(app().program().err(), "");
    EXPECT_FALSE(std::filesystem::exists(video)) << "a signal";

    startAgain();
    ASSERT_TRUE(app().clickInEditor("renderButton"));
    ASSERT_TRUE(app().clickInEditor("timeSlider", {0.3, 0.5}));
    ASSERT_TRUE(app().clickInEditor("trimStartButton"));
    desktop_.killServer();
    EXPECT_EQ(app().program().wait(), 1);
    EXPECT_FALSE(std::filesystem::exists(video)) << "the end of the display server";
    EXPECT_GT(project().trimStart, 0) << "what was edited is saved";
}

TEST_F(ApplicationOnDesktop, TestRegionGoesToTheOverlayByItself) {
    start({"--test-region"});
    ASSERT_TRUE(app().waitForWindow(kArmTitle));
    ASSERT_TRUE(app().waitForWindow(kPickerTitle));
    for (const char* line :
         {"[Region] Testmodus: löse Ausschnitt-Fluss aus", "[Region] Fluss gestartet: Fenster weg, App tritt zurück",
          "[Region] Bereit-Feld angezeigt", "[Region] Nutzer bereit, zeige Overlay",
          "[Region] Overlay angezeigt: sichtbar=true, Schirm=1280×800"}) {
        EXPECT_TRUE(await([&] { return app().logged(line); })) << line;
    }
    sleepFor(0.5);
    app().keyboard().press({ScriptedKeyboard::kEscape});
    EXPECT_TRUE(app().waitForWindow(kMainTitle));
    quit();
}

TEST_F(ApplicationOnDesktop, OpensTheEditorFromTheCommandLineAndForLaterStarts) {
    start();
    startRecording();
    stopByPanel();
    quit();
    const std::string editor = "LumiVastor – " + app().recordings()[0].filename().string();

    start({"--open-editor", app().recordings()[0].string()});
    EXPECT_TRUE(app().waitForWindow(editor));
    quit();

    start({"--open-editor"});
    sleepFor(1.5);
    EXPECT_FALSE(app().isShown(editor)) << "nothing is named";
    // A later start has the first one open it, and ends.
    ProgramRun later({LUMI_PROGRAM, "--open-editor", app().recordings()[0].string()}, app().environment());
    EXPECT_EQ(later.wait(), 0) << later.err();
    EXPECT_TRUE(app().waitForWindow(editor));
    ProgramRun another({LUMI_PROGRAM}, app().environment());
    EXPECT_EQ(another.wait(), 0) << another.err();
    EXPECT_TRUE(app().program().isRunning());
    quit();
}

TEST_F(ApplicationOnDesktop, WithoutASoundServerTheMicrophoneIsRefused) {
    pulseServer_ = nobodysAddress(temporary_);
    start();
    ASSERT_TRUE(app().click("microphoneBox"));
    app().pressRecord();
    EXPECT_TRUE(await([this] { return app().logged("[Permissions] Mikrofon: nicht gefunden"); }));
    sleepFor(1);
    EXPECT_TRUE(app().recordings().empty()) << "a countdown has its folder already";
    EXPECT_TRUE(app().isShown(kMainTitle));
    quit();
}

TEST_F(ApplicationOnDesktop, AnInterruptedRecordingIsCompletedAtTheNextStart) {
    start();
    startRecording();
    ASSERT_TRUE(await([this] {
        try {
            return media::Asset(app().recordings().at(0) / "source.mov")
                       .tracks(media::TrackKind::video)
                       .at(0)
                       .sampleCount > 0;
        } catch (const std::exception&) {
            return false;  // no fragment is on the disk yet
        }
    }));
    app().program().signal(SIGKILL);
    app().program().wait();
    ASSERT_TRUE(std::filesystem::exists(app().recordings().at(0) / "journal"));
    ASSERT_TRUE(app().waitForNoWindow(kMainTitle));

    start();
    EXPECT_TRUE(await([&] { return !std::filesystem::exists(app().recordings()[0] / "journal"); }));
    EXPECT_TRUE(await([&] { return std::filesystem::exists(app().recordings()[0] / "quality.json"); }));
    EXPECT_GT(info().framesWritten, 0);
    EXPECT_FALSE(media::Asset(app().recordings()[0] / "source.mov").isFragmented());
    quit();
}

TEST_F(ApplicationOnDesktop, ClosingTheWindowEndsTheProgram) {
    start();
    app().keyboard().press({ScriptedKeyboard::kAlt, 0xffc1});  // Alt+F4
    EXPECT_EQ(app().program().wait(), 0);
}

TEST(Application, SaysWhenThereIsNoDisplay) {
    const TemporaryFolder home;
    ProgramRun run({LUMI_PROGRAM}, {{"DISPLAY", ":54321"}, {"HOME", home.path().string()}, {"WAYLAND_DISPLAY", ""}});
    EXPECT_EQ(run.wait(), 1);
    EXPECT_EQ(run.err(), "Der Bildschirm ist nicht erreichbar. Läuft die Sitzung unter X11?\n");
}

}  // namespace
}  // namespace lumivastor::app

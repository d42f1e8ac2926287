// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/edit_session.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "base/log.h"
#include "base/recorder_error.h"
#include "editor/session/labels.h"
#include "support/file_size_limit.h"
#include "support/manual_main_loop.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor::editor {
namespace {

// A recording without movies: an edit session opens none.
class EditSessionTest : public testing::Test {
  protected:
    static constexpr double kSecond = 1;

    EditSessionTest() {
        info_.createdAt = "2024-05-01T09:30:12Z";
        info_.pixelWidth = 1920;
        info_.pixelHeight = 1080;
        info_.duration = 20;
        info_.fps = 60;
        model::PointerTrack track;
        for (int i = 0; i <= 2000; ++i) {
            const double t = i / 100.0;
            const double x = 960 + 500 * std::sin(t);
            track.events.push_back({t, x, 540, x / 1920, 0.5, model::PointerKind::move, {}, {}, {}});
            if (i % 700 == 500) {
                track.events.push_back(
                    {t, x, 540, x / 1920, 0.5, model::PointerKind::down, model::PointerButton::left, {}, {}});
            }
        }
        info_.save(folder_.path());
        track.save(folder_.path());
    }

    EditSession& session() {
        if (!session_) {
            session_ = std::make_unique<EditSession>(
                folder_.path(), loop_,
                EditSession::Options{[this] { return loop_.now(); }, [this] { ++changes_; },
                                     [this](const std::string& text) { status_ = text; }, [this] { ++beeps_; },
                                     newLook_});
        }
        return *session_;
    }

    model::ProjectSettings saved() const { return model::ProjectSettings::load(folder_.path()); }
    bool isSaved() const { return std::filesystem::exists(model::ProjectSettings::fileURL(folder_.path())); }
    void movePadding(double value) {
        ControlValues values = session().controls();
        values["paddingSlider"] = value;
        session().applyControls(values);
    }

    TemporaryFolder folder_;
    model::CaptureInfo info_;
    ManualMainLoop loop_;
    int changes_ = 0;
    int beeps_ = 0;
    std::string status_;
    model::ProjectSettings newLook_;
    std::unique_ptr<EditSession> session_;
};

TEST_F(EditSessionTest, ADragOfFiveSecondsIsOneStepAndOneSave) {
    for (int i = 1; i <= 250; ++i) {
        movePadding(i * 0.0005);
        loop_.advance(0.02);
        EXPECT_FALSE(isSaved());
    }
    EXPECT_EQ(session().history().undoSteps(), 1u);
    loop_.advance(0.8);
    EXPECT_EQ(saved().padding, 0.125);
    session().undo();
    EXPECT_EQ(session().settings(), model::ProjectSettings());
}

TEST_F(EditSessionTest, TwoDragsWithAPauseBetweenThemAreTwoSteps) {
    movePadding(0.01);
    loop_.advance(1.1);
    movePadding(0.02);
    EXPECT_EQ(session().history().undoSteps(), 2u);
}

TEST_F(EditSessionTest, EachEditPutsTheSaveOff) {
    movePadding(0.01);
    loop_.advance(0.7);
    movePadding(0.02);
    loop_.advance(0.7);
    EXPECT_FALSE(isSaved());
    loop_.advance(0.2);
    EXPECT_EQ(saved().padding, 0.02);
}

TEST_F(EditSessionTest, SavingAtOnceReplacesTheLaterSave) {
    movePadding(0.01);
    session().saveNow();
    EXPECT_EQ(saved().padding, 0.01);
    std::filesystem::remove(model::ProjectSettings::fileURL(folder_.path()));
    loop_.advance(5);
    EXPECT_FALSE(isSaved());
}

TEST_F(EditSessionTest, ADocumentThatNobodyEditedStaysAsItIs) {
    const std::string document = "{\"padding\": 0.03,   \"note\": \"from elsewhere\"}";
    folder_.write("project.json", document);
    EXPECT_EQ(session().settings().padding, 0.03);
    session().saveNow();
    EXPECT_EQ(folder_.read("project.json"), document);
    movePadding(0.04);
    session().saveNow();
    EXPECT_EQ(saved().padding, 0.04);
    folder_.write("project.json", document);
    session().saveNow();
    EXPECT_EQ(folder_.read("project.json"), document) << "what was edited is saved already";
    EXPECT_EQ(status_, "");
}

TEST_F(EditSessionTest, AFolderWithoutADocumentGetsOneAtTheEnd) {
    session().saveNow();
    EXPECT_EQ(saved(), model::ProjectSettings());
    EXPECT_TRUE(isSaved());
}

TEST_F(EditSessionTest, ADocumentThatCannotBeReadIsKeptBesideTheFirstThatIsSaved) {
    const std::string document = "{\"padding\": 0.03, \"tempo\": \"gemütlich\"}";
    folder_.write("project.json", document);
    session().saveNow();
    EXPECT_EQ(folder_.read("project.json"), document);
    movePadding(0.04);
    loop_.advance(0.8);
    EXPECT_EQ(saved().padding, 0.04);
    EXPECT_EQ(folder_.read("project.json.alt"), document);
    EXPECT_EQ(status_, "„project.json“ war nicht lesbar und liegt jetzt unverändert in „project.json.alt“.");
    status_.clear();
    movePadding(0.05);
    session().saveNow();
    EXPECT_EQ(folder_.read("project.json.alt"), document);
    EXPECT_EQ(status_, "");
}

TEST_F(EditSessionTest, WhatAnotherProgramSavedIsKeptBesideAndTold) {
    movePadding(0.04);
    session().saveNow();
    folder_.write("project.json", "{\"padding\": 0.1}");
    movePadding(0.05);
    loop_.advance(0.8);
    EXPECT_EQ(saved().padding, 0.05);
    EXPECT_EQ(folder_.read("project.json.alt"), "{\"padding\": 0.1}");
    EXPECT_EQ(status_,
              "„project.json“ wurde von einem anderen Programm geändert. Dessen Fassung liegt jetzt in "
              "„project.json.alt“.");
}

TEST_F(EditSessionTest, ADocumentThatAnotherProgramMadeMeanwhileIsKeptBesideToo) {
    session();
    folder_.write("project.json", "{}");
    movePadding(0.05);
    session().saveNow();
    EXPECT_EQ(folder_.read("project.json.alt"), "{}");
    EXPECT_EQ(saved().padding, 0.05);
}

TEST_F(EditSessionTest, ADocumentThatWasTakenAwayIsMadeAgain) {
    movePadding(0.04);
    session().saveNow();
    std::filesystem::remove(model::ProjectSettings::fileURL(folder_.path()));
    movePadding(0.05);
    session().saveNow();
    EXPECT_EQ(saved().padding, 0.05);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "project.json.alt"));
    EXPECT_EQ(status_, "");
}

TEST_F(EditSessionTest, ASaveThatFailsIsToldAndTriedAgain) {
    movePadding(0.04);
    session().saveNow();
    movePadding(0.05);
    {
        const FileSizeLimit full(100);
        loop_.advance(0.8);
    }
    EXPECT_EQ(saved().padding, 0.04);
    EXPECT_EQ(status_,
              "Speichern fehlgeschlagen: „project.json“ konnte nicht geschrieben werden: Die Datei ist zu groß.");
    session().saveNow();
    EXPECT_EQ(saved().padding, 0.05);
}

TEST_F(EditSessionTest, ASaveThatFailsIsInTheLog) {
    session();
    std::filesystem::create_directory(model::ProjectSettings::fileURL(folder_.path()));
    movePadding(0.05);
    loop_.advance(0.8);
    EXPECT_EQ(status_,
              "Speichern fehlgeschlagen: „project.json“ konnte nicht geschrieben werden: Ein Ordner steht an der "
              "Stelle der Datei.");
    Log::drain();
    EXPECT_NE(readText(Log::url()).find("[Editor] " + status_), std::string::npos);
}

TEST_F(EditSessionTest, AControlThatIsMovedToWhereItStandsChangesNothing) {
    session().applyControls(session().controls());
    EXPECT_EQ(session().history().undoSteps(), 0u);
    loop_.advance(5);
    EXPECT_FALSE(isSaved());
}

TEST_F(EditSessionTest, UndoAndRedoOfNothingBeep) {
    session().undo();
    session().redo();
    EXPECT_EQ(beeps_, 2);
    EXPECT_EQ(changes_, 0);
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    loop_.advance(5);
    EXPECT_FALSE(isSaved());
}

TEST_F(EditSessionTest, EveryCommandIsUndoneAndRedone) {
    const std::vector<std::function<void()>> commands = {
        [this] { session().setTrimStart(1.5); },
        [this] { session().setTrimEnd(18); },
        [this] {
            session().markCutStart(3);
            session().addCut(4);
        },
        [this] {
            session().markCutStart(6);
            session().addCut(7);
        },
        [this] { session().removeLastCut(); },
        [this] { session().addZoom(10, 2); },
        [this] { session().deleteSelectedZoom(); },
        [this] {
            session().addMask({100, 100, 300, 200}, 0);
        },
        [this] {
            session().addMask({500, 100, 300, 200}, 0);
        },
        [this] { session().removeLastMask(); },
        [this] { session().removeAllMasks(); },
        [this] { session().resetZoomsToAuto(); },
        [this] { session().resetTrim(); },
        [this] { movePadding(0.1); },
    };
    std::vector<model::ProjectSettings> states = {session().settings()};
    for (const auto& command : commands) {
        command();
        EXPECT_NE(session().settings(), states.back()) << states.size();
        states.push_back(session().settings());
        loop_.advance(2);
    }
    EXPECT_EQ(session().history().undoSteps(), commands.size());
    for (std::size_t i = commands.size(); i-- > 0;) {
        session().undo();
        EXPECT_EQ(session().settings(), states[i]) << i;
    }
    for (std::size_t i = 1; i < states.size(); ++i) {
        session().redo();
        EXPECT_EQ(session().settings(), states[i]) << i;
    }
    EXPECT_EQ(beeps_, 0);
    loop_.advance(1);
    EXPECT_EQ(saved(), states.back());
}

TEST_F(EditSessionTest, AnEditAfterAnUndoEmptiesTheRedoStack) {
    session().setTrimStart(2);
    session().undo();
    EXPECT_EQ(session().history().redoSteps(), 1u);
    movePadding(0.1);
    EXPECT_EQ(session().history().redoSteps(), 0u);
}

TEST_F(EditSessionTest, TrimsAreSnappedToFrames) {
    session().setTrimStart(2.0251);
    session().setTrimEnd(9.999);
    EXPECT_DOUBLE_EQ(session().settings().trimStart, 121.0 / 60);
    EXPECT_DOUBLE_EQ(session().settings().trimEnd, 599.0 / 60);
    EXPECT_EQ(labels::trim(session().composition()->state()->trim, info_.fps),
              "Bereich: 2.017 – 9.983 s (Bild 121 – 599)");
    session().resetTrim();
    EXPECT_EQ(session().settings(), model::ProjectSettings());
}

TEST_F(EditSessionTest, ACutWithoutAStartIsRefused) {
    session().addCut(4);
    EXPECT_EQ(status_, "Zuerst „Schnitt von hier\" drücken.");
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    EXPECT_EQ(session().history().undoSteps(), 0u);
}

TEST_F(EditSessionTest, ACutThatIsTooShortOrBackwardIsRefusedAndItsStartStays) {
    session().markCutStart(4);
    for (const double end : {4.0, 4.0 + 0.5 / 60, 3.0}) {
        status_.clear();
        session().addCut(end);
        EXPECT_EQ(status_, "Das Schnittende muss hinter dem Anfang liegen.") << end;
    }
    EXPECT_EQ(session().history().undoSteps(), 0u);
    EXPECT_EQ(session().pendingCutStart(), 4);
    session().addCut(4 + 1.0 / 60);  // 0.0167 s
    EXPECT_EQ(session().settings().cuts.size(), 1u);
    EXPECT_EQ(session().pendingCutStart(), std::nullopt);
}

TEST_F(EditSessionTest, CutsAreSortedAndTheLastOneIsRemoved) {
    session().markCutStart(8);
    session().addCut(9);
    session().markCutStart(2);
    session().addCut(3);
    EXPECT_EQ(session().settings().cuts, (std::vector<model::CutRange>{{2, 3}, {8, 9}}));
    session().removeLastCut();
    EXPECT_EQ(session().settings().cuts, (std::vector<model::CutRange>{{2, 3}}));
    session().removeLastCut();
    EXPECT_EQ(session().history().undoSteps(), 4u);
    session().removeLastCut();
    EXPECT_EQ(session().history().undoSteps(), 4u);
}

TEST_F(EditSessionTest, AZoomAddedToAutomaticOnesMakesAManualListOfAllOfThem) {
    const std::vector<model::ZoomSpec> automatic = session().composition()->zoomSpecs();
    ASSERT_EQ(automatic.size(), 3u);
    EXPECT_EQ(labels::zoomMode(session().hasManualZooms()), "Automatik");
    session().addZoom(1.008, 2.2);
    ASSERT_TRUE(session().settings().zooms);
    const std::vector<model::ZoomSpec> zooms = *session().settings().zooms;
    ASSERT_EQ(zooms.size(), 4u);
    EXPECT_EQ(std::vector<model::ZoomSpec>(zooms.begin(), zooms.end() - 1), automatic);
    EXPECT_EQ(zooms.back().start, 1);
    EXPECT_EQ(zooms.back().end, 3.5);
    EXPECT_EQ(zooms.back().scale, 2.2);
    ASSERT_EQ(zooms.back().focus.size(), 1u);
    EXPECT_EQ(zooms.back().focus[0].t, 1.7);
    const Point cursor = session().composition()->cursorNormalized(2).value();
    EXPECT_EQ(zooms.back().focus[0].x, cursor.x);
    EXPECT_EQ(zooms.back().focus[0].y, cursor.y);
    EXPECT_EQ(labels::zoomMode(session().hasManualZooms()), "von Hand bearbeitet");
    // It is the first one in time, and selected.
    EXPECT_EQ(session().selectedZoom(), 0);
    EXPECT_EQ(session().controls()["zoomSlider"], ControlValue(2.2));
    EXPECT_EQ(session().selectedZoomMoment(), 2);
    EXPECT_EQ(session().history().undoSteps(), 1u);
}

TEST_F(EditSessionTest, AZoomAddedWithTheSliderAtTheBottomIsVisible) {
    session().addZoom(1, 1.0);
    EXPECT_EQ(session().settings().zooms->back().scale, 1.4);
    EXPECT_EQ(session().controls()["zoomSlider"], ControlValue(1.4));
}

TEST_F(EditSessionTest, AZoomWithoutAPointerLooksAtTheMiddle) {
    model::PointerTrack().save(folder_.path());
    session().addZoom(1, 2);
    EXPECT_EQ(session().settings().zooms->back().focus, (std::vector<model::FocusKey>{{1.7, 0.5, 0.5}}));
}

TEST_F(EditSessionTest, DeletingAnAutomaticZoomKeepsTheOthersAsAList) {
    const std::vector<model::ZoomSpec> automatic = session().composition()->zoomSpecs();
    session().selectZoom(1);
    session().deleteSelectedZoom();
    EXPECT_EQ(session().settings().zooms, (std::vector<model::ZoomSpec>{automatic[0], automatic[2]}));
    EXPECT_EQ(session().selectedZoom(), 1);
    session().deleteSelectedZoom();
    session().deleteSelectedZoom();
    EXPECT_EQ(session().settings().zooms, std::vector<model::ZoomSpec>());
    EXPECT_EQ(session().selectedZoom(), -1);
    EXPECT_EQ(session().selectedZoomMoment(), std::nullopt);
    session().deleteSelectedZoom();
    EXPECT_EQ(session().history().undoSteps(), 3u);
    session().resetZoomsToAuto();
    EXPECT_EQ(session().settings().zooms, std::nullopt);
    EXPECT_EQ(session().selectedZoom(), 0);
}

TEST_F(EditSessionTest, TheZoomSliderOnlyTouchesTheSelectedZoomOfAList) {
    session().addZoom(1, 2);
    session().selectZoom(2);
    const double others = session().settings().zooms->at(0).scale;
    ControlValues values = session().controls();
    EXPECT_EQ(values["zoomSlider"], ControlValue(1.6));
    values["zoomSlider"] = 2.7;
    session().applyControls(values);
    const std::vector<model::ZoomSpec> inForce = session().composition()->zoomSpecs();
    EXPECT_EQ(inForce[0].scale, 2);
    EXPECT_EQ(inForce[1].scale, others);
    EXPECT_EQ(inForce[2].scale, 2.7);
}

TEST_F(EditSessionTest, AnotherSliderLeavesTheZoomsAsTheyAre) {
    session().addZoom(1, 2);
    session().addZoom(15, 3);
    session().deleteSelectedZoom();
    const auto zooms = session().settings().zooms;
    movePadding(0.1);
    EXPECT_EQ(session().settings().zooms, zooms);
}

TEST_F(EditSessionTest, MasksAreFractionsOfTheSource) {
    const edit::StudioLayout layout = session().composition()->state()->layout;
    const Rect& screen = layout.screenRect;
    // The bottom-left quarter of the screen on the canvas.
    ASSERT_TRUE(session().addMask({screen.x, screen.y, screen.width / 2, screen.height / 2}, 0));
    const model::MaskRect mask = session().settings().masks.at(0);
    EXPECT_NEAR(mask.x, 0, 1e-9);
    EXPECT_NEAR(mask.y, 0.5, 1e-9);
    EXPECT_NEAR(mask.width, 0.5, 1e-9);
    EXPECT_NEAR(mask.height, 0.5, 1e-9);
}

TEST_F(EditSessionTest, AMaskBesideThePictureIsNone) {
    EXPECT_FALSE(session().addMask({-50, -50, 20, 20}, 0));
    EXPECT_EQ(session().history().undoSteps(), 0u);
    session().removeLastMask();
    session().removeAllMasks();
    EXPECT_EQ(session().history().undoSteps(), 0u);
}

TEST_F(EditSessionTest, ThePreviewHasTheCanvasOfTheExport) {
    EXPECT_EQ(session().composition()->canvasWidth(), 2560);
    ControlValues values = session().controls();
    values["exportResolutionControl"] = 2;
    session().applyControls(values);
    EXPECT_EQ(session().composition()->canvasWidth(), 3840);
    EXPECT_EQ(session().settings().exportHeight, 2160);
    session().undo();
    EXPECT_EQ(session().composition()->canvasHeight(), 1440);
    EXPECT_EQ(session().settings(), model::ProjectSettings());
}

TEST_F(EditSessionTest, AnExportHeightThatNoMovieHasStillHasAPreview) {
    model::ProjectSettings settings;
    settings.exportHeight = -7;
    settings.save(folder_.path());
    EXPECT_EQ(session().composition()->canvasHeight(), 1440);
    EXPECT_EQ(session().settings(), settings);
}

TEST_F(EditSessionTest, AFolderWithoutDocumentsIsRefused) {
    const TemporaryFolder empty;
    EXPECT_THROW(EditSession(empty.path(), loop_, {}), RecorderError);
}

TEST_F(EditSessionTest, ADragIsOneStepThatIsInForceAtOnce) {
    const model::ProjectSettings before = session().settings();
    model::ProjectSettings next = before;
    session().beginDrag("Bereich verschieben");
    for (int i = 1; i <= 5; ++i) {
        next.trimStart = i;
        session().dragTo(next);
        EXPECT_EQ(session().settings().trimStart, i);
        EXPECT_EQ(session().history().undoSteps(), 0u);
        loop_.advance(2 * kSecond);
    }
    EXPECT_EQ(session().dragOrigin(), before);
    session().endDrag();
    EXPECT_FALSE(session().isDragging());
    EXPECT_EQ(session().history().undoSteps(), 1u);
    EXPECT_EQ(session().history().undoName(), "Bereich verschieben");
    // No slider joins it.
    movePadding(0.05);
    EXPECT_EQ(session().history().undoSteps(), 2u);
    session().undo();
    session().undo();
    EXPECT_EQ(session().settings(), before);
}

TEST_F(EditSessionTest, ADragThatIsTakenBackLeavesNothing) {
    movePadding(0.05);
    session().undo();
    const model::ProjectSettings before = session().settings();
    for (const bool byUndo : {false, true}) {
        session().beginDrag("Bereich verschieben");
        model::ProjectSettings next = before;
        next.trimStart = 3;
        session().dragTo(next);
        if (byUndo)
            session().undo();
        else
            session().cancelDrag();
        EXPECT_FALSE(session().isDragging());
        EXPECT_EQ(session().settings(), before);
        EXPECT_EQ(session().history().undoSteps(), 0u);
        EXPECT_EQ(session().history().redoSteps(), 1u);
    }
    session().beginDrag("Bereich verschieben");
    session().endDrag();
    EXPECT_EQ(session().history().undoSteps(), 0u);
    EXPECT_EQ(session().history().redoSteps(), 1u);
}

TEST_F(EditSessionTest, ACommandKeepsWhatWasDraggedBefore) {
    session().beginDrag("Bereich verschieben");
    model::ProjectSettings next = session().settings();
    next.trimStart = 3;
    session().dragTo(next);
    session().setTrimEnd(10);
    EXPECT_FALSE(session().isDragging());
    EXPECT_EQ(session().history().undoSteps(), 2u);
    EXPECT_EQ(session().settings().trimStart, 3);
    session().undo();
    EXPECT_EQ(session().settings(), next);
}

TEST_F(EditSessionTest, ALookIsOneStepAndKeepsWhatBelongsToTheRecording) {
    session().setTrimStart(2);
    session().addZoom(5, 2);
    const model::ProjectSettings before = session().settings();
    model::ProjectSettings look;
    look.padding = 0.1;
    look.exportHeight = 720;
    look.webcamSize = 0.4;
    look.trimStart = 9;
    look.cropTop = 0.2;
    session().applyLook(look, "Look anwenden");
    model::ProjectSettings expected = before;
    expected.padding = 0.1;
    expected.exportHeight = 720;
    EXPECT_EQ(session().settings(), expected) << "there is no webcam";
    EXPECT_EQ(session().composition()->canvasHeight(), 720);
    EXPECT_EQ(session().history().undoName(), "Look anwenden");
    const std::size_t steps = session().history().undoSteps();
    session().applyLook(look, "Look anwenden");
    EXPECT_EQ(session().history().undoSteps(), steps) << "it changes nothing";
    loop_.advance(0.8);
    EXPECT_EQ(saved(), expected);
    session().undo();
    EXPECT_EQ(session().settings(), before);
}

TEST_F(EditSessionTest, ANewRecordingHasTheLookOfNewOnes) {
    newLook_.padding = 0.1;
    newLook_.exportHeight = 720;
    newLook_.webcamEnabled = false;
    newLook_.trimStart = 9;
    model::ProjectSettings expected;
    expected.padding = 0.1;
    expected.exportHeight = 720;
    EXPECT_EQ(session().settings(), expected);
    EXPECT_EQ(session().composition()->canvasHeight(), 720);
    EXPECT_EQ(session().history().undoSteps(), 0u);
    loop_.advance(10);
    EXPECT_FALSE(isSaved()) << "opening writes nothing";
    session().saveNow();
    EXPECT_EQ(saved(), expected);
}

TEST_F(EditSessionTest, ANewRecordingOpensWithoutALookThatCannotBeDrawn) {
    newLook_.cornerRadius = 1e300;
    newLook_.padding = 1e300;
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    EXPECT_NE(status_, "");
    status_.clear();
    session().applyLook(newLook_, "Look anwenden");
    EXPECT_EQ(session().settings(), model::ProjectSettings());
    EXPECT_NE(status_, "");
    EXPECT_EQ(session().history().undoSteps(), 0u);
}

TEST_F(EditSessionTest, ARecordingWithADocumentKeepsItsOwnLook) {
    newLook_.padding = 0.1;
    for (const char* text : {"{}", "{\"padding\": "}) {
        folder_.write("project.json", text);
        EXPECT_EQ(session().settings(), model::ProjectSettings());
        session_.reset();
    }
}

}  // namespace
}  // namespace lumivastor::editor

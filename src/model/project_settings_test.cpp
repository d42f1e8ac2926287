// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/project_settings.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/recorder_error.h"
#include "model/record_fields.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor::model {
namespace {

ProjectSettings parsed(const std::string& text) {
    return ProjectSettings::parse(FileBytes::copyOf(text));
}

ProjectSettings loadedFrom(const std::string& text) {
    const TemporaryFolder folder;
    folder.write("project.json", text);
    return ProjectSettings::load(folder.path());
}

constexpr const char* kDefaultText = R"({
  "backgroundBlue" : 0.21,
  "backgroundGreen" : 0.16,
  "backgroundRed" : 0.13,
  "cornerRadius" : 26,
  "cropBottom" : 0,
  "cropLeft" : 0,
  "cropRight" : 0,
  "cropTop" : 0,
  "cursorScale" : 1.7,
  "cuts" : [],
  "exportFormat" : "mp4",
  "exportHeight" : 1440,
  "masks" : [],
  "micVolume" : 1,
  "padding" : 0.055,
  "smoothing" : 0.88,
  "systemVolume" : 1,
  "tempo" : "normal",
  "trimEnd" : 0,
  "trimStart" : 0,
  "version" : 1,
  "webcamCorner" : 0,
  "webcamEnabled" : true,
  "webcamSize" : 0.26,
  "webcamZoom" : 1,
  "zoomScale" : 1.6
})";

ProjectSettings editedSettings() {
    ProjectSettings settings;
    settings.trimStart = 1.5;
    settings.trimEnd = 1.0 / 3;
    settings.cuts = {{2, 3}, {4.5, 4.75}};
    settings.zooms = {{{1, 3.5, 1.9, {{1.7, 0.25, 0.75}, {2.5, 0.5, 0.5}}}, {7, 8, 1.4, {}}}};
    settings.tempo = Tempo::ruhig;
    settings.exportFormat = ExportFormat::mov;
    settings.exportHeight = 2160;
    settings.webcamEnabled = false;
    settings.webcamCorner = 3;
    settings.masks = {{0.1, 0.2, 0.3, 0.4}};
    return settings;
}

TEST(ProjectSettings, HaveTheirDefaultsAndLeaveOutWhatIsOff) {
    EXPECT_EQ(kFieldCount<ProjectSettings>, 29u);
    const TemporaryFolder folder;
    ProjectSettings().save(folder.path());
    EXPECT_EQ(folder.read("project.json"), kDefaultText);
}

TEST(ProjectSettings, AnEmptyObjectGivesTheDefaults) {
    EXPECT_EQ(parsed("{}"), ProjectSettings());
    EXPECT_FALSE(parsed("{}").zooms.has_value());
}

TEST(ProjectSettings, ReadBackWhatWasWritten) {
    const TemporaryFolder folder;
    editedSettings().save(folder.path());
    EXPECT_EQ(ProjectSettings::load(folder.path()), editedSettings());
}

TEST(ProjectSettings, EachFieldIsReadUnderItsKeyAndTheOthersKeepTheirDefaults) {
    EXPECT_EQ(parsed(R"({"trimStart": 2})").trimStart, 2);
    EXPECT_EQ(parsed(R"({"webcamCorner": 2})").webcamCorner, 2);
    EXPECT_EQ(parsed(R"({"tempo": "schnell"})").tempo, Tempo::schnell);
    EXPECT_EQ(parsed(R"({"exportFormat": "mov"})").exportFormat, ExportFormat::mov);
    EXPECT_EQ(parsed(R"({"webcamEnabled": false})").webcamEnabled, false);
    EXPECT_EQ(parsed(R"({"micVolume": 0.5})").systemVolume, 1);
}

TEST(ProjectSettings, NullKeepsTheDefault) {
    EXPECT_EQ(parsed(R"({"padding": null, "cuts": null, "tempo": null, "zooms": null, "webcamEnabled": null})"),
              ProjectSettings());
}

TEST(ProjectSettings, AnEmptyZoomListIsNotAnAbsentOne) {
    const ProjectSettings settings = loadedFrom(R"({"zooms": []})");
    ASSERT_TRUE(settings.zooms.has_value());
    EXPECT_TRUE(settings.zooms->empty());
    EXPECT_NE(settings, ProjectSettings());
    const TemporaryFolder folder;
    settings.save(folder.path());
    EXPECT_NE(folder.read("project.json").find("\"zooms\" : []"), std::string::npos);
    ProjectSettings().save(folder.path());
    EXPECT_EQ(folder.read("project.json").find("zooms"), std::string::npos);
}

TEST(ProjectSettings, LoudnessIsLevelledOnlyWhereTheDocumentSaysSo) {
    EXPECT_FALSE(ProjectSettings().levelsLoudness());
    EXPECT_FALSE(parsed(R"({"levelLoudness": null})").levelsLoudness());
    EXPECT_FALSE(parsed(R"({"levelLoudness": false})").levelsLoudness());
    ProjectSettings settings = parsed(R"({"levelLoudness": true})");
    EXPECT_TRUE(settings.levelsLoudness());
    const TemporaryFolder folder;
    settings.save(folder.path());
    EXPECT_NE(folder.read("project.json").find("\"levelLoudness\" : true"), std::string::npos);
    EXPECT_EQ(ProjectSettings::load(folder.path()), settings);
    EXPECT_EQ(loadedFrom(R"({"levelLoudness": 1, "padding": 0.1})"), ProjectSettings());
}

TEST(ProjectSettings, TheCameraIsShiftedOnlyWhereTheDocumentSaysSo) {
    EXPECT_EQ(ProjectSettings().webcamShiftInForce(), 0);
    const TemporaryFolder folder;
    ProjectSettings().save(folder.path());
    EXPECT_EQ(folder.read("project.json").find("webcamShift"), std::string::npos);
    const ProjectSettings settings = parsed(R"({"webcamShift": -0.12})");
    EXPECT_EQ(settings.webcamShiftInForce(), -0.12);
    settings.save(folder.path());
    EXPECT_NE(folder.read("project.json").find("\"webcamShift\" : -0.12"), std::string::npos);
    EXPECT_EQ(parsed(R"({"webcamShift": 1e300})").webcamShiftInForce(), 0.5);
    EXPECT_EQ(parsed(R"({"webcamShift": -7})").webcamShiftInForce(), -0.5);
}

TEST(ProjectSettings, AnyErrorGivesTheWholeDefaultDocument) {
    for (const char* text : {
             "",
             "[]",
             "{",
             R"({"padding": 0.1, "tempo": "gemütlich"})",
             R"({"padding": 0.1, "exportFormat": "avi"})",
             R"({"padding": 0.1, "trimStart": "1"})",
             R"({"padding": 0.1, "webcamEnabled": 1})",
             R"({"padding": 0.1, "webcamCorner": 1.5})",
             R"({"padding": 0.1, "cuts": [{"start": 1}]})",
             R"({"padding": 0.1, "cuts": [{"start": 1, "end": null}]})",
             R"({"padding": 0.1, "zooms": [{"start": 1, "end": 2, "scale": 2}]})",
             R"({"padding": 0.1, "zooms": [{"start": 1, "end": 2, "scale": 2, "focus": [{"t": 1, "x": 0}]}]})",
             R"({"padding": 0.1, "masks": [{"x": 1, "y": 2, "width": 3}]})",
             R"({"padding": 0.1} x)",
             R"({"padding": 0.1, "padding": 0.2})",
             R"({"padding": 0.1, "smoothing": 1e999})",
             R"({"padding": 0.1, "smoothing": NaN})",
             "\xEF\xBB\xBF{\"padding\": 0.1}",
         }) {
        EXPECT_EQ(loadedFrom(text), ProjectSettings()) << text;
    }
    EXPECT_EQ(ProjectSettings::load("/nowhere/at/all"), ProjectSettings());
}

TEST(ProjectSettings, TheVersionIsReadButAlwaysWrittenAsOne) {
    const ProjectSettings settings = parsed(R"({"version": 7, "padding": 0.1})");
    EXPECT_EQ(settings.version, 7);
    const TemporaryFolder folder;
    settings.save(folder.path());
    EXPECT_EQ(ProjectSettings::load(folder.path()).version, 1);
    EXPECT_EQ(ProjectSettings::load(folder.path()).padding, 0.1);
}

TEST(ProjectSettings, ValuesOutOfRangeAreKept) {
    const ProjectSettings settings =
        parsed(R"({"cropLeft": 0.7, "smoothing": -3, "webcamCorner": 9, "exportHeight": 1})");
    EXPECT_EQ(settings.cropLeft, 0.7);
    EXPECT_EQ(settings.smoothing, -3);
    EXPECT_EQ(settings.webcamCorner, 9);
    EXPECT_EQ(settings.exportHeight, 1);
}

TEST(ProjectSettings, EveryFieldTakesPartInEquality) {
    const std::vector<std::function<void(ProjectSettings&)>> changes = {
        [](auto& s) { s.version = 2; },
        [](auto& s) { s.trimStart = 9; },
        [](auto& s) { s.trimEnd = 9; },
        [](auto& s) {
            s.cuts = {{1, 2}};
        },
        [](auto& s) { s.zooms.emplace(); },
        [](auto& s) { s.zoomScale = 9; },
        [](auto& s) { s.tempo = Tempo::ruhig; },
        [](auto& s) { s.smoothing = 9; },
        [](auto& s) { s.cursorScale = 9; },
        [](auto& s) { s.backgroundRed = 9; },
        [](auto& s) { s.backgroundGreen = 9; },
        [](auto& s) { s.backgroundBlue = 9; },
        [](auto& s) { s.padding = 9; },
        [](auto& s) { s.cornerRadius = 9; },
        [](auto& s) { s.systemVolume = 9; },
        [](auto& s) { s.micVolume = 9; },
        [](auto& s) { s.exportHeight = 9; },
        [](auto& s) { s.exportFormat = ExportFormat::mov; },
        [](auto& s) { s.webcamEnabled = false; },
        [](auto& s) { s.webcamSize = 9; },
        [](auto& s) { s.webcamCorner = 9; },
        [](auto& s) { s.webcamZoom = 9; },
        [](auto& s) { s.cropTop = 9; },
        [](auto& s) { s.cropBottom = 9; },
        [](auto& s) { s.cropLeft = 9; },
        [](auto& s) { s.cropRight = 9; },
        [](auto& s) {
            s.masks = {{1, 2, 3, 4}};
        },
    };
    EXPECT_EQ(changes.size(), 27u);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        ProjectSettings settings;
        changes[i](settings);
        EXPECT_NE(settings, ProjectSettings()) << i;
    }
}

TEST(ProjectSettings, SavingIntoAFolderThatIsGoneOnlyWritesALineIntoTheLog) {
    const TemporaryFolder folder;
    Log::drain();
    std::filesystem::remove(Log::url());
    EXPECT_NO_THROW(editedSettings().save(folder / "gone"));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << "it makes no folder";
    Log::drain();
    const std::string log = readText(Log::url());
    EXPECT_NE(log.find("Speichern fehlgeschlagen: "), std::string::npos) << log;
    EXPECT_NE(log.find("project.json"), std::string::npos) << log;
}

TEST(ProjectSettings, TemposAndFormatsComeInTheOrderOfTheMenus) {
    ASSERT_EQ(kAllTempos.size(), 3u);
    EXPECT_EQ(factor(kAllTempos[0]), 0.75);
    EXPECT_EQ(factor(kAllTempos[1]), 1.0);
    EXPECT_EQ(factor(kAllTempos[2]), 1.35);
    EXPECT_EQ(fileExtension(kAllExportFormats[0]), "mp4");
    EXPECT_EQ(fileExtension(kAllExportFormats[1]), "mov");
}

}  // namespace
}  // namespace lumivastor::model

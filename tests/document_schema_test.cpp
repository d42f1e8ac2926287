// SPDX-License-Identifier: GPL-3.0-or-later

// Holds the JSON Schemas and docs/formats.md against what the program writes and what it refuses.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "base/recorder_error.h"
#include "model/record_fields.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

const std::filesystem::path kSource = LUMI_SOURCE_FOLDER;

// What the checker says about these files, a line each, and about the schema.
std::vector<std::string> verdicts(const std::vector<std::string>& words) {
    // Debian's Python, which has the package; the user's own may not.
    std::vector<std::string> all = {"/usr/bin/python3", (kSource / "tests/support/check_documents.py").string()};
    all.insert(all.end(), words.begin(), words.end());
    ProgramRun checker(all, {});
    EXPECT_EQ(checker.wait(), 0) << checker.err();
    std::istringstream out(checker.out());
    std::vector<std::string> lines;
    for (std::string line; std::getline(out, line);) lines.push_back(line);
    return lines;
}

std::string schemaFile(const std::string& name) {
    return (kSource / "docs/schemas" / (name + ".schema.json")).string();
}

// Documents beside each other in one folder.
class DocumentSchema : public testing::Test {
  protected:
    // Writes a document as the program does.
    template <class Document>
    void save(const Document& document) {
        const auto folder = folder_ / std::to_string(files_.size());
        std::filesystem::create_directory(folder);
        document.save(folder);
        files_.push_back(Document::fileURL(folder).string());
    }
    void write(const std::string& text) {
        const std::string name = std::to_string(files_.size()) + ".json";
        folder_.write(name, text);
        files_.push_back((folder_ / name).string());
    }

    void expectWrittenAsDescribed(const std::string& schema, const std::string& defaults = "-") {
        std::vector<std::string> words = {"--written", defaults, schemaFile(schema)};
        words.insert(words.end(), files_.begin(), files_.end());
        EXPECT_EQ(verdicts(words), std::vector<std::string>(files_.size(), "valid"));
    }

    // Every text that both sides are to refuse; `parse` is the program's side.
    void expectRefused(const std::string& schema, const std::vector<std::string>& texts,
                       const std::function<void(const FileBytes&)>& parse) {
        std::vector<std::string> words = {schemaFile(schema)};
        for (const std::string& text : texts) write(text);
        words.insert(words.end(), files_.begin(), files_.end());
        const std::vector<std::string> lines = verdicts(words);
        ASSERT_EQ(lines.size(), texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            EXPECT_NE(lines[i], "valid") << texts[i];
            EXPECT_THROW(parse(FileBytes::copyOf(texts[i])), RecorderError) << texts[i];
        }
    }

    TemporaryFolder folder_;
    std::vector<std::string> files_;
};

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const auto at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

model::CaptureInfo someCapture() {
    model::CaptureInfo info;
    info.createdAt = model::CaptureInfo::timestamp(1714555812);
    info.displayID = 66;
    info.displayX = -1920;
    info.displayWidth = info.contentWidth = 1920;
    info.displayHeight = info.contentHeight = 1080.5;
    info.pixelWidth = 1920;
    info.pixelHeight = 1080;
    info.duration = 12.5;
    info.framesWritten = 740;
    return info;
}

TEST_F(DocumentSchema, DescribesEveryCaptureDocument) {
    model::CaptureInfo info = someCapture();
    save(info);
    for (const char* kind : {"display", "region", "window", "device"}) {
        info.sourceKind = kind;
        save(info);
    }
    info.windowTitle = "Über „uns“";
    info.displayID = 0;
    info.displayX = info.displayWidth = info.displayHeight = 0;
    save(info);
    info.webcamFile = "webcam.mov";
    info.webcamOffset = -0.125;
    info.systemAudio = info.microphone = true;
    save(info);
    for (const auto& [known, name] : model::EnumerationNames<model::KnownPointer>::list) {
        info.pointerKnown = known;
        save(info);
    }
    expectWrittenAsDescribed("capture");
}

model::PointerTrack someTrack() {
    model::PointerTrack track;
    track.events = {{-0.5, -10, 2000, -0.01, 1.5, model::PointerKind::move, {}, {}, {}},
                    {1, 1, 2, 0.1, 0.2, model::PointerKind::scroll, {}, 0.0, -1.0}};
    for (const model::PointerKind kind : {model::PointerKind::down, model::PointerKind::up, model::PointerKind::drag}) {
        for (const model::PointerButton button :
             {model::PointerButton::left, model::PointerButton::right, model::PointerButton::other}) {
            track.events.push_back({2, 1, 2, 0.1, 0.2, kind, button, {}, {}});
        }
    }
    track.cursorChanges = {{-0.5, "c0"}, {3, "hidden"}};
    track.cursorImages = {{"c0", "cursors/c0.png", 24, 24, 4, 4, 1, true}, {"hidden", "", 0, 0, 0, 0, 1, false}};
    return track;
}

TEST_F(DocumentSchema, DescribesEveryPointerTrack) {
    save(model::PointerTrack());
    model::PointerTrack track = someTrack();
    save(track);
    track.windowFrames.emplace();
    save(track);
    track.windowFrames = {{-0.5, -20, 30, 640, 480.5}};
    save(track);
    expectWrittenAsDescribed("pointer");
}

TEST_F(DocumentSchema, DescribesEveryProjectDocument) {
    model::ProjectSettings settings;
    save(settings);
    for (const model::Tempo tempo : model::kAllTempos) {
        settings.tempo = tempo;
        save(settings);
    }
    for (const model::ExportFormat format : model::kAllExportFormats) {
        settings.exportFormat = format;
        save(settings);
    }
    settings.zooms.emplace();
    save(settings);
    settings.zooms = {{{1, 3.5, 1.9, {{1.7, 0.25, 0.75}, {2.5, 0.5, 0.5}}}}};
    settings.cuts = {{2, 3}};
    settings.masks = {{0.1, 0.2, 0.3, 0.4}};
    save(settings);
    settings.levelLoudness = true;
    settings.webcamShift = -0.125;
    save(settings);
    expectWrittenAsDescribed("project", files_.front());
}

TEST_F(DocumentSchema, DescribesEveryQualityDocument) {
    model::RecordingQuality quality;
    quality.checkedAt = model::CaptureInfo::timestamp(1714555812);
    save(quality);
    quality.ok = false;
    quality.summary = "Die Prüfung fand Fehler: Das Mikrofon war durchgehend stumm.";
    quality.checks = {{"microphone", false, "Das Mikrofon war durchgehend stumm."}};
    quality.picturesCounted = quality.picturesLost = quality.pictures = 12;
    quality.sounds = {{"system", 0.02, 12.5, 0.01, 0, 0.5, 0, -18.25},
                      {"microphone", 0, 12.5, -0.01, 0.2, 12.5, 3, {}}};
    quality.webcam = model::WebcamQuality{10, -0.2, 12.5, 0.1, 0.033, 0.001, 0.02};
    quality.integratedLoudness = -18.25;
    quality.loudnessRange = 6;
    quality.truePeak = 0.5;
    save(quality);
    expectWrittenAsDescribed("quality");
}

TEST_F(DocumentSchema, DescribesEveryMarksDocument) {
    model::Marks marks;
    save(marks);
    marks.list = {{0}, {12.25}};
    save(marks);
    expectWrittenAsDescribed("marks");
}

TEST_F(DocumentSchema, RefusesWhatTheProgramRefusesOfMarksDocuments) {
    expectRefused("marks",
                  {"[]", "{}", R"({"version":1})", R"({"version":1,"marks":[{}]})",
                   R"({"version":1,"marks":[{"t":"1"}]})", R"({"version":1,"marks":[1]})"},
                  [](const FileBytes& bytes) { model::Marks::parse(bytes); });
}

TEST_F(DocumentSchema, RefusesWhatTheProgramRefusesOfCaptureDocuments) {
    const TemporaryFolder folder;
    model::CaptureInfo info = someCapture();
    info.sourceKind = "display";
    info.webcamFile = "webcam.mov";
    info.webcamOffset = 0.5;
    info.save(folder.path());
    const std::string text = folder.read("capture.json");
    std::vector<std::string> broken = {
        "[]",
        "{}",
        replaced(text, "\"framesWritten\" : 740", "\"framesWritten\" : 740.5"),
        replaced(text, "\"framesWritten\" : 740", "\"framesWritten\" : \"740\""),
        replaced(text, "\"duration\" : 12.5", "\"duration\" : null"),
        replaced(text, "\"displayID\" : 66", "\"displayID\" : -1"),
        replaced(text, "\"displayID\" : 66", "\"displayID\" : 4294967296"),
        replaced(text, "\"systemAudio\" : false", "\"systemAudio\" : 0"),
        replaced(text, "\"sourceKind\" : \"display\"", "\"sourceKind\" : 1"),
        replaced(text, "\"webcamFile\" : \"webcam.mov\"", "\"webcamFile\" : []"),
        replaced(text, "\"webcamOffset\" : 0.5", "\"webcamOffset\" : \"0.5\""),
        replaced(text, "{\n", "{ \"pointerKnown\" : \"clicks\","),
    };
    // Every field that is not optional, missing.
    for (const std::string_view key : model::fieldKeys<model::CaptureInfo>()) {
        if (key == "sourceKind" || key == "webcamFile" || key == "webcamOffset" || key == "windowTitle") continue;
        if (key == "pointerKnown") continue;
        broken.push_back(replaced(text, "\"" + std::string(key) + "\"", "\"x\""));
    }
    expectRefused("capture", broken, [](const FileBytes& bytes) { model::CaptureInfo::parse(bytes); });
}

TEST_F(DocumentSchema, RefusesWhatTheProgramRefusesOfPointerTracks) {
    const TemporaryFolder folder;
    model::PointerTrack track = someTrack();
    track.windowFrames = {{0, 1, 2, 3, 4}};
    track.save(folder.path());
    const std::string text = folder.read("pointer.json");
    std::vector<std::string> broken = {
        "null",
        replaced(text, "\"events\" : [", "\"events\" : [{}, "),
        replaced(text, "\"kind\" : \"move\"", "\"kind\" : \"jump\""),
        replaced(text, "\"button\" : \"right\"", "\"button\" : \"middle\""),
        replaced(text, "\"dy\" : -1", "\"dy\" : \"-1\""),
        replaced(text, "\"visible\" : true", "\"visible\" : \"yes\""),
        replaced(text, "\"cursorChanges\" : [", "\"cursorChanges\" : [1, "),
        replaced(text, "\"windowFrames\" : [", "\"windowFrames\" : [[], "),
    };
    for (const char* key : {"events", "cursorChanges", "cursorImages", "version", "px", "nx", "t", "kind", "hotspotX",
                            "file", "scale", "visible", "w"}) {
        broken.push_back(replaced(text, "\"" + std::string(key) + "\"", "\"x_\""));
    }
    expectRefused("pointer", broken, [](const FileBytes& bytes) { model::PointerTrack::parse(bytes); });
}

TEST_F(DocumentSchema, RefusesWhatTheProgramRefusesOfQualityDocuments) {
    const TemporaryFolder folder;
    model::RecordingQuality quality;
    quality.checkedAt = model::CaptureInfo::timestamp(1714555812);
    quality.checks = {{"lost", true, "Keine verlorenen Bilder."}};
    quality.sounds.emplace_back().source = "system";
    quality.save(folder.path());
    const std::string text = folder.read("quality.json");
    expectRefused(
        "quality",
        {"[]", "{}", replaced(text, "\"pictures\" : 0", "\"pictures\" : 0.5"),
         replaced(text, "\"duration\" : 0", "\"duration\" : null"),
         replaced(text, "\"source\" : \"system\"", "\"source\" : 1"), replaced(text, "\"detail\" : ", "\"details\" : "),
         replaced(text, "\"drift\"", "\"drifts\""), replaced(text, "\"ok\" : true", "\"ok\" : 1"),
         replaced(text, "{\n", "{ \"webcam\" : {},"), replaced(text, "{\n", "{ \"truePeak\" : \"loud\",")},
        [](const FileBytes& bytes) { model::RecordingQuality::parse(bytes); });
}

TEST_F(DocumentSchema, RefusesWhatTheProgramRefusesOfProjectDocuments) {
    expectRefused("project",
                  {
                      "[]",
                      R"({"levelLoudness": 1})",
                      R"({"tempo": "gemütlich"})",
                      R"({"exportFormat": "avi"})",
                      R"({"trimStart": "1"})",
                      R"({"webcamEnabled": 1})",
                      R"({"webcamCorner": 1.5})",
                      R"({"webcamShift": "0.1"})",
                      R"({"cuts": [{"start": 1}]})",
                      R"({"cuts": {}})",
                      R"({"zooms": [{"start": 1, "end": 2, "scale": 2}]})",
                      R"({"zooms": [{"start": 1, "end": 2, "scale": 2, "focus": [{"t": 1, "x": 0}]}]})",
                      R"({"masks": [{"x": 1, "y": 2, "width": 3}]})",
                  },
                  [](const FileBytes& bytes) { model::ProjectSettings::parse(bytes); });
}

// The document describes the same.

const std::string& formatsPage() {
    static const std::string text = readText(kSource / "docs/formats.md");
    return text;
}

template <class Record>
void expectFieldsNamed() {
    for (const std::string_view key : model::fieldKeys<Record>()) {
        EXPECT_NE(formatsPage().find("`" + std::string(key) + "`"), std::string::npos) << key;
    }
}

TEST(FormatsPage, NamesEveryField) {
    expectFieldsNamed<model::CaptureInfo>();
    expectFieldsNamed<model::RecordingQuality>();
    expectFieldsNamed<model::QualityCheck>();
    expectFieldsNamed<model::SoundQuality>();
    expectFieldsNamed<model::WebcamQuality>();
    expectFieldsNamed<model::PointerTrack>();
    expectFieldsNamed<model::PointerSample>();
    expectFieldsNamed<model::CursorChange>();
    expectFieldsNamed<model::CursorImage>();
    expectFieldsNamed<model::WindowFrameSample>();
    expectFieldsNamed<model::ProjectSettings>();
    expectFieldsNamed<model::CutRange>();
    expectFieldsNamed<model::ZoomSpec>();
    expectFieldsNamed<model::FocusKey>();
    expectFieldsNamed<model::MaskRect>();
}

TEST_F(DocumentSchema, TakesTheExamplesOfTheFormatsPage) {
    const std::string fence = "```json\n";
    std::vector<std::string> examples;
    for (auto at = formatsPage().find(fence); at != std::string::npos; at = formatsPage().find(fence, at)) {
        at += fence.size();
        examples.push_back(formatsPage().substr(at, formatsPage().find("```", at) - at));
    }
    ASSERT_EQ(examples.size(), 5U);
    // What the program makes of an example is the example.
    const TemporaryFolder folder;
    model::CaptureInfo::parse(FileBytes::copyOf(examples[0])).save(folder.path());
    model::PointerTrack::parse(FileBytes::copyOf(examples[1])).save(folder.path());
    model::ProjectSettings::parse(FileBytes::copyOf(examples[2])).save(folder.path());
    model::Marks::parse(FileBytes::copyOf(examples[3])).save(folder.path());
    model::RecordingQuality::parse(FileBytes::copyOf(examples[4])).save(folder.path());
    const char* const names[] = {"capture", "pointer", "project", "marks", "quality"};
    for (std::size_t i = 0; i < examples.size(); ++i) {
        EXPECT_EQ(folder.read(std::string(names[i]) + ".json") + "\n", examples[i]);
        const std::string file = (folder.path() / (std::string(names[i]) + ".json")).string();
        EXPECT_EQ(verdicts({schemaFile(names[i]), file}), std::vector<std::string>{"valid"});
    }
}

}  // namespace
}  // namespace lumivastor

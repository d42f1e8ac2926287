// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/look.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "base/recorder_error.h"
#include "model/record_fields.h"
#include "support/file_size_limit.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

const std::set<std::string_view> kLook = {
    "zoomScale", "tempo",        "smoothing",    "cursorScale", "backgroundRed", "backgroundGreen", "backgroundBlue",
    "padding",   "cornerRadius", "systemVolume", "micVolume",   "levelLoudness", "exportHeight",    "exportFormat"};
const std::set<std::string_view> kBubble = {"webcamEnabled", "webcamSize", "webcamCorner", "webcamZoom"};
const std::set<std::string_view> kRecording = {"version",    "trimStart", "trimEnd",   "cuts",  "zooms",      "cropTop",
                                               "cropBottom", "cropLeft",  "cropRight", "masks", "webcamShift"};

// Settings in which every field differs from its default.
ProjectSettings unusual() {
    ProjectSettings settings;
    settings.version = 9;
    settings.trimStart = 1;
    settings.trimEnd = 8;
    settings.cuts = {{2, 3}};
    settings.zooms = {{{4, 5, 2, {{4, 0.5, 0.5}}}}};
    settings.zoomScale = 2.5;
    settings.tempo = Tempo::ruhig;
    settings.smoothing = 0.1;
    settings.cursorScale = 3;
    settings.backgroundRed = 0.9;
    settings.backgroundGreen = 0.8;
    settings.backgroundBlue = 0.7;
    settings.padding = 0.1;
    settings.cornerRadius = 3;
    settings.systemVolume = 0.4;
    settings.micVolume = 1.5;
    settings.levelLoudness = true;
    settings.exportHeight = 720;
    settings.exportFormat = ExportFormat::mov;
    settings.webcamEnabled = false;
    settings.webcamSize = 0.4;
    settings.webcamCorner = 3;
    settings.webcamZoom = 2;
    settings.webcamShift = 0.1;
    settings.cropTop = settings.cropBottom = settings.cropLeft = settings.cropRight = 0.1;
    settings.masks = {{0.1, 0.1, 0.2, 0.2}};
    return settings;
}

std::set<std::string_view> fieldsThatDiffer(const ProjectSettings& a, const ProjectSettings& b) {
    std::set<std::string_view> keys;
    const auto compare = [&](const auto& field) {
        if (a.*field.member != b.*field.member) keys.insert(field.key);
    };
    std::apply([&](const auto&... fields) { (compare(fields), ...); }, RecordFields<ProjectSettings>::list);
    return keys;
}

template <class Action>
std::string messageOf(const Action& action) {
    try {
        action();
    } catch (const RecorderError& error) {
        return error.message();
    }
    return {};
}

TEST(Look, EveryFieldBelongsToItOrToTheRecording) {
    std::set<std::string_view> decided = kLook;
    decided.insert(kBubble.begin(), kBubble.end());
    for (const std::string_view key : decided) EXPECT_TRUE(belongsToLook(key)) << key;
    for (const std::string_view key : kRecording) EXPECT_FALSE(belongsToLook(key)) << key;
    EXPECT_FALSE(belongsToLook("unknown"));
    decided.insert(kRecording.begin(), kRecording.end());
    EXPECT_EQ(decided.size(), kLook.size() + kBubble.size() + kRecording.size()) << "decided twice";
    EXPECT_EQ(fieldsThatDiffer(unusual(), {}), decided) << "decide about a new field, and set it in unusual()";
}

TEST(Look, ChangesItsFieldsAndNoOthers) {
    std::set<std::string_view> all = kLook;
    all.insert(kBubble.begin(), kBubble.end());
    const ProjectSettings usual;
    EXPECT_EQ(fieldsThatDiffer(withLook(usual, unusual(), true), usual), all);
    EXPECT_EQ(fieldsThatDiffer(withLook(unusual(), usual, true), unusual()), all);
    EXPECT_EQ(fieldsThatDiffer(withLook(unusual(), usual, true), usual), kRecording);
    EXPECT_EQ(withLook(unusual(), unusual(), true), unusual());
    EXPECT_EQ(fieldsThatDiffer(lookOf(unusual()), usual), all);
    EXPECT_EQ(withLook(usual, lookOf(unusual()), true), withLook(usual, unusual(), true));
}

TEST(Look, LeavesTheBubbleOfARecordingWithoutAWebcam) {
    const ProjectSettings usual;
    EXPECT_EQ(fieldsThatDiffer(withLook(usual, unusual(), false), usual), kLook);
    EXPECT_EQ(fieldsThatDiffer(withLook(unusual(), usual, false), unusual()), kLook);
}

TEST(LookName, LosesTheBlanksAroundIt) {
    EXPECT_EQ(checkedLookName("  Dunkel und leise \t\n"), "Dunkel und leise");
    EXPECT_EQ(checkedLookName("Größer – 日本語 😀"), "Größer – 日本語 😀");
    EXPECT_EQ(checkedLookName("a.json"), "a.json");
    EXPECT_EQ(checkedLookName("CON"), "CON");
    EXPECT_EQ(checkedLookName(std::string(180, 'a')).size(), 180u);
}

TEST(LookName, OneThatCannotBeAFileIsRefused) {
    using namespace std::string_literals;
    for (const std::string& name :
         {""s, "   "s, "\n"s, "."s, ".."s, ".versteckt"s, " ../x"s, "a/b"s, "/etc/passwd"s, "a\\b"s, "a\0b"s, "a\nb"s,
          "a\x7F"s, "\xFF"s, "\xC3"s, "\xED\xA0\x80"s, std::string(181, 'a'), std::string(1 << 20, 'a')}) {
        const std::string message = messageOf([&] { checkedLookName(name); });
        EXPECT_TRUE(message.ends_with(".")) << name.substr(0, 20);
    }
}

class LookFolders : public testing::Test {
  protected:
    const TemporaryFolder outer_;
    const std::filesystem::path path_ = outer_ / "config/looks";
    const LookFolder looks_{path_};
};

TEST_F(LookFolders, KeepWhatIsSaved) {
    EXPECT_TRUE(looks_.names().empty());
    EXPECT_FALSE(looks_.contains("Dunkel"));
    looks_.save(" Dunkel ", unusual());
    EXPECT_TRUE(looks_.contains("Dunkel"));
    EXPECT_EQ(looks_.load("Dunkel"), lookOf(unusual()));
    EXPECT_EQ(ProjectSettings::parse(FileBytes::copyOf(outer_.read("config/looks/Dunkel.json"))), lookOf(unusual()));
    looks_.save("Dunkel", {});
    EXPECT_EQ(looks_.load("Dunkel"), ProjectSettings());
    EXPECT_EQ(namesIn(path_), std::vector<std::string>{"Dunkel.json"});
    looks_.remove("Dunkel");
    EXPECT_TRUE(namesIn(path_).empty());
    EXPECT_NE(messageOf([&] { looks_.remove("Dunkel"); }), "");
    EXPECT_NE(messageOf([&] { looks_.load("Dunkel"); }), "");
}

TEST_F(LookFolders, ListLooksSortedAndNothingElse) {
    for (const char* const name : {"b", "Zug", "a", "Ähre", "A", "Standard"}) looks_.save(name, {});
    for (const char* const name : {".json", "..json", ".x.json", "notes.txt", "a.json.alt", " b.json", "\xFF.json"}) {
        outer_.write(path_ / name, "{}");
    }
    std::filesystem::create_directory(path_ / "folder.json");
    std::filesystem::create_symlink("nowhere", path_ / "link.json");
    EXPECT_EQ(looks_.names(), (std::vector<std::string>{"A", "a", "b", "Standard", "Zug", "Ähre"}));
}

TEST_F(LookFolders, StandardHasTheProgramsDefaultsUntilItIsSaved) {
    EXPECT_EQ(looks_.load(LookFolder::kStandard), ProjectSettings());
    looks_.save(LookFolder::kStandard, unusual());
    EXPECT_EQ(looks_.load(LookFolder::kStandard), lookOf(unusual()));
    looks_.remove(LookFolder::kStandard);
    EXPECT_EQ(looks_.load(LookFolder::kStandard), ProjectSettings());
}

TEST_F(LookFolders, TakeNoTimesFromAFileThatHasThem) {
    outer_.write(path_ / "x.json", R"({"trimStart": 4, "cuts": [{"start": 1, "end": 2}], "padding": 0.2, "new": []})");
    ProjectSettings expected;
    expected.padding = 0.2;
    EXPECT_EQ(looks_.load("x"), expected);
}

TEST_F(LookFolders, ADamagedLookIsAnErrorAndIsKeptWhenItIsReplaced) {
    for (const std::string& text : {std::string(), std::string("{\"padding\": 0.2"), std::string("[]"),
                                    std::string("{\"tempo\": \"x\"}"), std::string((1 << 20) + 1, ' ')}) {
        outer_.write(path_ / "x.json", text);
        const std::string message = messageOf([&] { looks_.load("x"); });
        EXPECT_TRUE(message.starts_with("„x.json“ konnte nicht gelesen werden: ")) << message;
        EXPECT_EQ(outer_.read(path_ / "x.json"), text);
        looks_.save("x", unusual());
        EXPECT_EQ(looks_.load("x"), lookOf(unusual()));
        EXPECT_EQ(outer_.read(path_ / "x.json.alt"), text);
    }
    outer_.write(path_ / "Standard.json", "broken");
    EXPECT_NE(messageOf([&] { looks_.load(LookFolder::kStandard); }), "");
}

TEST_F(LookFolders, AFolderInALooksPlaceIsNeitherReadNorDeleted) {
    std::filesystem::create_directories(path_ / "x.json");
    EXPECT_NE(messageOf([&] { looks_.load("x"); }), "");
    EXPECT_NE(messageOf([&] { looks_.save("x", {}); }), "");
    EXPECT_NE(messageOf([&] { looks_.remove("x"); }), "");
    EXPECT_TRUE(std::filesystem::is_directory(path_ / "x.json"));
}

TEST_F(LookFolders, HostileNamesReachNoFile) {
    outer_.write("config/other.json", "{}");
    for (const char* const name : {"../other", "..", "", "/tmp/x"}) {
        EXPECT_NE(messageOf([&] { looks_.load(name); }), "") << name;
        EXPECT_NE(messageOf([&] { looks_.save(name, {}); }), "") << name;
        EXPECT_NE(messageOf([&] { looks_.remove(name); }), "") << name;
    }
    EXPECT_EQ(namesIn(outer_ / "config"), std::vector<std::string>{"other.json"});
}

TEST_F(LookFolders, AFullDiskLeavesTheOldLook) {
    looks_.save("x", unusual());
    {
        const FileSizeLimit full(10);
        EXPECT_TRUE(messageOf([&] { looks_.save("x", {}); }).starts_with("Der Look „x“ kann nicht gesichert werden: "));
    }
    EXPECT_EQ(looks_.load("x"), lookOf(unusual()));
    EXPECT_EQ(namesIn(path_), std::vector<std::string>{"x.json"});
}

TEST_F(LookFolders, WithoutAPathHaveNothing) {
    const LookFolder none{{}};
    EXPECT_TRUE(none.names().empty());
    EXPECT_EQ(none.load(LookFolder::kStandard), ProjectSettings());
    EXPECT_FALSE(none.contains("x"));
    EXPECT_NE(messageOf([&] { none.load("x"); }), "");
    EXPECT_NE(messageOf([&] { none.save("x", {}); }), "");
    EXPECT_NE(messageOf([&] { none.remove("x"); }), "");
}

TEST(Look, IsTakenFromAnotherRecording) {
    const TemporaryFolder folder;
    EXPECT_TRUE(
        messageOf([&] { lookOfRecording(folder.path()); }).starts_with("„project.json“ konnte nicht gelesen werden: "));
    unusual().save(folder.path());
    EXPECT_EQ(lookOfRecording(folder.path()), lookOf(unusual()));
    folder.write("project.json", "{");
    EXPECT_NE(messageOf([&] { lookOfRecording(folder.path()); }), "");
}

}  // namespace
}  // namespace lumivastor::model

// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/recording_quality.h"

#include <gtest/gtest.h>

#include <string>

#include "base/recorder_error.h"
#include "model/record_fields.h"
#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

RecordingQuality someQuality() {
    RecordingQuality quality;
    quality.checkedAt = "2025-03-14T08:05:51Z";
    quality.ok = false;
    quality.summary = "Die Prüfung fand Fehler: Das Mikrofon war durchgehend stumm.";
    quality.checks = {{"pictures", true, "Im Film: 546 Bilder, so viele wie aufgenommen."},
                      {"microphone", false, "Das Mikrofon war durchgehend stumm."}};
    quality.duration = 15.95;
    quality.pictures = 546;
    quality.picturesCounted = 546;
    quality.picturesLost = 0;
    quality.pictureEnd = 15.95;
    quality.longestGap = 1.02;
    quality.longestGapStart = 3.5;
    quality.picturesDecoded = 8;
    quality.sounds = {{"system", 0.021, 15.94, 0, 0, 0.5, 0, -18.25}, {"microphone", 0, 15.95, 0, 0, 15.95, 2, {}}};
    quality.webcam = WebcamQuality{470, 0.21, 16.1, 0.04};
    quality.integratedLoudness = -18.25;
    quality.loudnessRange = 6.5;
    quality.truePeak = -1.5;
    return quality;
}

std::string messageOf(const std::string& text) {
    try {
        RecordingQuality::parse(FileBytes::copyOf(text));
    } catch (const RecorderError& error) {
        return error.message();
    }
    return {};
}

TEST(RecordingQuality, IsReadAsItWasSaved) {
    const TemporaryFolder folder;
    someQuality().save(folder.path());
    EXPECT_EQ(RecordingQuality::find(folder.path()), someQuality());
    const RecordingQuality plain;
    plain.save(folder.path());
    EXPECT_EQ(RecordingQuality::find(folder.path()), plain);
    EXPECT_EQ(modeOf(folder / "quality.json"), 0600U);
}

TEST(RecordingQuality, MayBeMissing) {
    const TemporaryFolder folder;
    EXPECT_EQ(RecordingQuality::find(folder.path()), std::nullopt);
    EXPECT_EQ(RecordingQuality::find(folder / "nowhere"), std::nullopt);
}

TEST(RecordingQuality, LeavesOutWhatHasNoValue) {
    const TemporaryFolder folder;
    RecordingQuality quality;
    quality.sounds.emplace_back();
    quality.save(folder.path());
    const std::string text = folder.read("quality.json");
    for (const char* key : {"integratedLoudness", "loudnessRange", "truePeak", "picturesCounted", "webcam", "null"}) {
        EXPECT_EQ(text.find(key), std::string::npos) << key;
    }
}

TEST(RecordingQuality, RefusesWhatIsNoQuality) {
    const TemporaryFolder folder;
    someQuality().save(folder.path());
    const std::string text = folder.read("quality.json");
    EXPECT_EQ(messageOf(text), "");
    for (const std::string_view key : fieldKeys<RecordingQuality>()) {
        std::string broken = text;
        const std::string quoted = "\"" + std::string(key) + "\" :";
        // The last one: names of fields recur in the objects inside, whose indentation is deeper.
        const auto at = broken.find("\n  " + quoted);
        ASSERT_NE(at, std::string::npos) << key;
        broken.replace(at, 3 + quoted.size(), "\n  \"x\" :");
        const bool isOptional = key == "picturesCounted" || key == "picturesLost" || key == "webcam" ||
                                key == "integratedLoudness" || key == "loudnessRange" || key == "truePeak";
        EXPECT_EQ(messageOf(broken).empty(), isOptional) << key;
    }
    for (const char* broken : {"", "[]", "{}", "{\"version\": 1", "\xFF\xFE{}"})
        EXPECT_NE(messageOf(broken), "") << broken;
    folder.write("quality.json", "{\"checks\": [" + std::string(100'000, '['));
    EXPECT_THROW(static_cast<void>(RecordingQuality::find(folder.path())), RecorderError);
    folder.write("quality.json", std::string((1 << 20) + 1, ' '));
    EXPECT_THROW(static_cast<void>(RecordingQuality::find(folder.path())), RecorderError);
}

}  // namespace
}  // namespace lumivastor::model

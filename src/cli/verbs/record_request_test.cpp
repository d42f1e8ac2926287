// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/record_request.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::cli {
namespace {

RecordRequest parsed(const std::vector<std::string>& words) {
    return parseRecordRequest(Arguments(words, kRecordOptions));
}

platform::ShareableContent twoDisplays() {
    platform::ShareableContent content;
    content.displays = {{7, "links", {0, 0, 1280, 720}, 1}, {9, "rechts", {1280, 0, 1280, 720}, 1}};
    content.windows = {{42, "Bericht", std::nullopt, 0, {10, 10, 300, 200}, 7}};
    return content;
}

TEST(RecordRequests, HaveDefaults) {
    const RecordRequest request = parsed({});
    EXPECT_EQ(request.displayIndex, 0u);
    EXPECT_FALSE(request.windowID || request.region || request.deviceID || request.out || request.seconds);
    EXPECT_EQ(request.fps, 60);
    EXPECT_FALSE(request.systemAudio || request.microphone || request.webcam);
}

TEST(RecordRequests, TakeEveryOption) {
    const RecordRequest request =
        parsed({"--display", "1", "--region=-10,20.5,300,200", "--out", "hier", "--seconds", "2.5", "--fps", "30",
                "--system-audio", "--microphone", "--webcam", "--json"});
    EXPECT_EQ(request.displayIndex, 1u);
    EXPECT_EQ(request.region, (Rect{-10, 20.5, 300, 200}));
    EXPECT_EQ(request.out, std::filesystem::path("hier"));
    EXPECT_EQ(request.seconds, 2.5);
    EXPECT_EQ(request.fps, 30);
    EXPECT_TRUE(request.systemAudio && request.microphone && request.webcam);
    EXPECT_EQ(parsed({"--window", "4294967295"}).windowID, 4294967295u);
    EXPECT_EQ(parsed({"--device", "v4l2:/dev/video0"}).deviceID, "v4l2:/dev/video0");
}

TEST(RecordRequests, ANamedDeviceIsRecorded) {
    const RecordRequest request = parsed({"--microphone-name", "Headset", "--webcam-name=Kamera"});
    EXPECT_TRUE(request.microphone && request.webcam);
    EXPECT_EQ(request.microphoneName, "Headset");
    EXPECT_EQ(request.webcamName, "Kamera");
    const std::vector<platform::CaptureDevice> devices = {{"a", "Eingebaut"}, {"b", "Headset"}};
    EXPECT_EQ(namedDevice("Headset", "das Mikrofon", devices), "b");
    EXPECT_EQ(namedDevice("a", "das Mikrofon", devices), "a");
    try {
        namedDevice("Funk", "das Mikrofon", devices);
        ADD_FAILURE() << "no error";
    } catch (const RecorderError& error) {
        EXPECT_EQ(error.message(), "Es gibt das Mikrofon „Funk“ nicht. Angeschlossen: „Eingebaut“, „Headset“.");
    }
}

TEST(RecordRequests, TheSoundOfADeviceIsChosen) {
    EXPECT_TRUE(parsed({"--device", "a"}).deviceSound);
    EXPECT_EQ(parsed({"--device", "a", "--device-sound-name", "HDMI"}).deviceSoundName, "HDMI");
    EXPECT_FALSE(parsed({"--device", "a", "--no-device-sound"}).deviceSound);
}

TEST(RecordRequests, WrongOnesAreRefused) {
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"ordner"},
                                               {"--no-device-sound"},
                                               {"--device-sound-name", "HDMI"},
                                               {"--device", "a", "--device-sound-name", "HDMI", "--no-device-sound"},
                                               {"--fps", "25"},
                                               {"--seconds", "0"},
                                               {"--seconds", "viele"},
                                               {"--display", "-1"},
                                               {"--display", "eins"},
                                               {"--window", "1.5"},
                                               {"--window", "4294967296"},
                                               {"--region", "1,2,3"},
                                               {"--region", "1,2,0,4"},
                                               {"--region", "1,2,3,-4"},
                                               {"--region", "a,b,c,d"},
                                               {"--window", "1", "--display", "0"},
                                               {"--window", "1", "--device", "x"},
                                               {"--device", "x", "--region", "1,2,3,4"},
                                               {"--unbekannt"}}) {
        EXPECT_THROW(parsed(words), UsageError) << words.front();
    }
}

TEST(RecordSources, AreFoundInWhatIsThere) {
    const platform::ShareableContent content = twoDisplays();
    EXPECT_EQ(std::get<capture::DisplaySource>(sourceFor(parsed({"--display", "1"}), content)).display.id, 9u);
    const auto region = std::get<capture::RegionSource>(sourceFor(parsed({"--region", "1,2,3,4"}), content));
    EXPECT_EQ(region.display.id, 7u);
    EXPECT_EQ(region.region, (Rect{1, 2, 3, 4}));
    EXPECT_EQ(std::get<capture::WindowSource>(sourceFor(parsed({"--window", "42"}), content)).window.title, "Bericht");
    EXPECT_THROW(sourceFor(parsed({"--display", "2"}), content), RecorderError);
    EXPECT_THROW(sourceFor(parsed({"--window", "43"}), content), RecorderError);
    EXPECT_THROW(sourceFor(parsed({}), {}), RecorderError);
}

TEST(RecordSources, DisplaysThatCannotBeRecordedAreRefusedWithTheReason) {
    platform::ShareableContent content = twoDisplays();
    content.displayRefusal = "Nur Fenster.";
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {}, {"--display", "1"}, {"--display", "9"}, {"--region", "1,2,300,400"}}) {
        try {
            sourceFor(parsed(words), content);
            ADD_FAILURE() << "no error";
        } catch (const RecorderError& error) {
            EXPECT_EQ(error.message(), "Nur Fenster.");
        }
    }
    EXPECT_TRUE(std::holds_alternative<capture::WindowSource>(sourceFor(parsed({"--window", "42"}), content)));
}

TEST(RecordSources, DevicesAreFoundByTheirId) {
    const std::vector<platform::CaptureDevice> devices = {{"a", "Karte", true, 0}, {"b", "Telefon", true, 0}};
    EXPECT_EQ(deviceFor("b", devices).name, "Telefon");
    EXPECT_THROW(deviceFor("c", devices), RecorderError);
}

TEST(RecordFolders, ThatHoldARecordingAreNotRecordedInto) {
    const TemporaryFolder folder;
    folder.write("notizen.txt", "x");
    requireNoRecording(folder.path());
    requireNoRecording(folder / "neu");
    for (const char* name : {"source.mov", "capture.json", "journal"}) {
        folder.write(name, "x");
        EXPECT_THROW(requireNoRecording(folder.path()), RecorderError) << name;
        std::filesystem::remove(folder / name);
    }
}

TEST(RecordRequest, WhereADialogChoosesOnlyTheFirstNumbersExist) {
    const platform::ContentPicker::Offer both{true, true, platform::PointerKnowledge::positions, true};
    RecordRequest request;
    request.fps = 30;
    request.asksAgain = true;
    const auto display = pickFor(request, both);
    EXPECT_EQ(display.kind, platform::ContentPicker::Kind::display);
    EXPECT_EQ(display.maximumRate, 30);
    EXPECT_TRUE(display.asksAgain);
    request.windowID = 0;
    EXPECT_EQ(pickFor(request, both).kind, platform::ContentPicker::Kind::window);

    const auto refusal = [](const RecordRequest& asked, const platform::ContentPicker::Offer& offer) {
        try {
            pickFor(asked, offer);
        } catch (const RecorderError& error) {
            return error.message();
        }
        return std::string();
    };
    const platform::ContentPicker::Offer displaysOnly{true, false, platform::PointerKnowledge::embedded, true};
    EXPECT_EQ(refusal(request, displaysOnly),
              "Dieser Desktop gibt nur ganze Bildschirme frei, keine einzelnen Fenster.");
    request.windowID = 7;
    EXPECT_NE(refusal(request, both).find("wählt auf diesem Desktop sein eigener Dialog"), std::string::npos);
    request.windowID = std::nullopt;
    EXPECT_EQ(refusal(request, {false, true, platform::PointerKnowledge::none, false}),
              "Dieser Desktop gibt nur einzelne Fenster frei, keine ganzen Bildschirme.");
    request.displayIndex = 1;
    EXPECT_NE(refusal(request, both).find("wählt auf diesem Desktop sein eigener Dialog"), std::string::npos);
}

TEST(RecordRequest, TakesWhatTheDialogGranted) {
    platform::ShareableContent content;
    content.displays = {{7, "DP-1", {0, 0, 1920, 1080}, 1}};
    platform::Window window;
    window.id = 7;
    content.windows = {window};
    RecordRequest request;
    request.windowID = 0;
    EXPECT_EQ(std::get<capture::WindowSource>(sourceFor(request, content, true)).window.id, 7u);
    request.windowID = std::nullopt;
    EXPECT_EQ(std::get<capture::DisplaySource>(sourceFor(request, content, true)).display.id, 7u);
}

}  // namespace
}  // namespace lumivastor::cli

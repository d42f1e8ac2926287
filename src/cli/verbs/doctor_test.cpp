// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/doctor.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/recorder_error.h"
#include "support/recorder_rig.h"

namespace lumivastor::cli {
namespace {

class Doctor : public RecorderRig {
  protected:
    Doctor() {
        machine_ = {[this]() -> platform::Desktop& { return desktop_; },
                    [this]() -> platform::SoundSystem& { return sound_; },
                    [this]() -> platform::CaptureDevices& { return devices_; },
                    [](const media::EncodingJob&) {
                        return media::EncoderChoice{{media::VideoCodec::h264, "libx264", "ultrafast"}, "reicht."};
                    },
                    [this](const std::filesystem::path&) { return freeSpace_; },
                    temporary_ / "Movies"};
        devices_.setDefaultCamera(
            std::make_shared<synthetic::SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0}));
    }

    Check find(const std::string& name) {
        for (const Check& each : examine(machine_)) {
            if (each.name == name) return each;
        }
        ADD_FAILURE() << name;
        return {};
    }
    bool canRecord() { return canRecordScreens(examine(machine_)); }

    Examined machine_;
};

TEST_F(Doctor, AHealthyMachineHasEverything) {
    std::vector<std::string> names;
    for (const Check& each : examine(machine_)) {
        names.push_back(each.name);
        EXPECT_TRUE(each.ok) << each.name << ": " << each.detail;
    }
    EXPECT_EQ(names, (std::vector<std::string>{"display", "screens", "sound", "microphone", "camera", "encoder",
                                               "folder", "space"}));
    EXPECT_EQ(find("screens").detail, "2 Bildschirme: links mit 320×240 px, rechts mit 1280×720 px.");
    EXPECT_EQ(find("encoder").detail, "320×240 mit libx264: reicht.");
    EXPECT_TRUE(canRecord());
    EXPECT_TRUE(std::filesystem::is_empty(temporary_ / "Movies")) << "nothing is left behind";
}

TEST_F(Doctor, WithoutADisplayServerNoScreenIsRecorded) {
    machine_.desktop = []() -> platform::Desktop& { throw RecorderError("Kein Server."); };
    EXPECT_FALSE(find("display").ok);
    EXPECT_TRUE(find("display").detail.starts_with("Kein Server. "));
    EXPECT_FALSE(find("screens").ok);
    EXPECT_FALSE(canRecord());
}

TEST_F(Doctor, WhereOnlyWindowsCanBeRecordedTheDisplayIsMissing) {
    platform::ShareableContent some = content();
    some.displayRefusal = "Nur Fenster. Tu etwas.";
    desktop_.setContent(some);
    EXPECT_FALSE(find("display").ok);
    EXPECT_EQ(find("display").detail, "Nur Fenster. Tu etwas.");
    EXPECT_FALSE(canRecord());
}

TEST_F(Doctor, WhereTheDesktopsDialogChoosesItSaysWhatIsKnownOfThePointer) {
    platform::ContentPicker::Offer offer{true, true, platform::PointerKnowledge::complete, true};
    desktop_.setPicker(offer);
    EXPECT_TRUE(find("pointer").ok);
    EXPECT_TRUE(find("clicks").ok);
    EXPECT_EQ(find("clicks").detail, "Klicks und Mausrad lassen sich sehen.");

    offer.pointer = platform::PointerKnowledge::positions;
    offer.clickRefusal = "Klicks lassen sich nicht sehen, weil es so ist.";
    desktop_.setPicker(offer);
    EXPECT_TRUE(find("pointer").ok);
    EXPECT_FALSE(find("clicks").ok);
    EXPECT_EQ(find("clicks").detail, offer.clickRefusal);

    for (const auto pointer : {platform::PointerKnowledge::embedded, platform::PointerKnowledge::none}) {
        offer.pointer = pointer;
        desktop_.setPicker(offer);
        EXPECT_FALSE(find("pointer").ok);
        EXPECT_FALSE(find("clicks").ok);
        EXPECT_EQ(find("clicks").detail,
                  "Ohne zu wissen, wo der Mauszeiger ist, lassen sich auch Klicks nicht aufzeichnen.");
    }
    EXPECT_TRUE(canRecord());
}

TEST_F(Doctor, WithoutSoundOrCameraScreensAreRecordedAllTheSame) {
    sound_.setDefaultMicrophone(std::nullopt);
    sound_.failStarts(synthetic::SyntheticSoundSystem::Kind::systemAudio, "Kein Tondienst.");
    devices_.setDefaultCamera(nullptr);
    EXPECT_FALSE(find("sound").ok);
    EXPECT_TRUE(find("sound").detail.starts_with("Kein Tondienst. "));
    EXPECT_FALSE(find("microphone").ok);
    EXPECT_FALSE(find("camera").ok);
    EXPECT_TRUE(canRecord());
}

TEST_F(Doctor, AFullOrForbiddenDiskIsFound) {
    freeSpace_ = capture::FreeSpace{1'000'000, 1'000'000'000};
    EXPECT_FALSE(find("space").ok);
    EXPECT_FALSE(canRecord());
    freeSpace_ = capture::FreeSpace{100'000'000'000, 1'000'000'000'000};
    EXPECT_TRUE(find("space").ok);
    temporary_.write("datei", "x");
    machine_.recordingsRoot = temporary_ / "datei" / "Movies";
    EXPECT_FALSE(find("folder").ok);
    EXPECT_FALSE(canRecord());
}

TEST_F(Doctor, AnEncoderThatFailsIsFound) {
    machine_.chooseEncoder = [](const media::EncodingJob&) -> media::EncoderChoice { throw RecorderError("Keiner."); };
    EXPECT_FALSE(find("encoder").ok);
    EXPECT_FALSE(canRecord());
}

TEST(DoctorReport, IsADocumentOrMarks) {
    const std::vector<Check> checks = {
        {"display", true, "Gut.", true}, {"camera", false, "Keine.", false}, {"space", false, "Voll.", true}};
    std::ostringstream json;
    writeChecks(checks, json);
    EXPECT_EQ(json.str(), R"({
  "checks" : [
    {
      "name" : "display",
      "ok" : true,
      "detail" : "Gut."
    },
    {
      "name" : "camera",
      "ok" : false,
      "detail" : "Keine."
    },
    {
      "name" : "space",
      "ok" : false,
      "detail" : "Voll."
    }
  ]
}
)");
    std::ostringstream text;
    printChecks(checks, text);
    EXPECT_EQ(text.str(), "  ✓ Gut.\n  – Keine.\n  ✗ Voll.\n");
}

}  // namespace
}  // namespace lumivastor::cli

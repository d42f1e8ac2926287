// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/selected_camera.h"
#include "platform/sound/selected_sound.h"
#include "support/app_rig.h"

namespace lumivastor::app {
namespace {

using Kind = synthetic::SyntheticSoundSystem::Kind;

/// The application on a rig whose sound follows the choice, as at a real start.
class InputDevicesTest : public AppRig {
  protected:
    InputDevicesTest() {
        beforeLaunch_ = [this](AppServices& services) {
            services.selection = selection_;
            services.soundBoard = board_;
            services.watchDevices = [this](std::function<void()> changed) {
                changed_ = std::move(changed);
                return std::shared_ptr<void>(this, [this](void*) { changed_ = nullptr; });
            };
        };
        sound_.setOtherMicrophones({{"usb", "Funkmikrofon", false, 1}});
    }

    // What the application calls back ends before.
    void TearDown() override { app_.reset(); }

    void launchListed() {
        launch();
        ASSERT_TRUE(loop_.runUntil([this] { return view_.state.microphones.items.size() > 2; }));
    }
    // As if a device came or went; waits until the list shows it.
    void plug(std::vector<platform::CaptureDevice> others, const std::string& last) {
        sound_.setOtherMicrophones(std::move(others));
        changed_();
        ASSERT_TRUE(loop_.runUntil([&] { return view_.state.microphones.items.back() == last; }));
    }

    const std::shared_ptr<platform::DeviceSelection> selection_ = std::make_shared<platform::DeviceSelection>();
    const std::shared_ptr<platform::SoundBoard> board_ = std::make_shared<platform::SoundBoard>();
    std::function<void()> changed_;  // while the devices are watched
};

TEST_F(InputDevicesTest, TheChoiceIsRememberedByTheDevicesId) {
    launchListed();
    EXPECT_EQ(view_.state.microphones.items, (std::vector<std::string>{"Standard", "Testmikrofon", "Funkmikrofon"}));
    EXPECT_EQ(view_.state.microphones.index, 0);
    app_->microphoneSelected(2);
    EXPECT_EQ(view_.state.microphones.index, 2);
    EXPECT_EQ(preferences_.chosenMicrophone, (ChosenDevice{"usb", "Funkmikrofon"}));
    EXPECT_EQ(selection_->microphone(), "usb");
    app_.reset();
    selection_->setMicrophone("");
    launchListed();
    EXPECT_EQ(view_.state.microphones.index, 2) << "the next start knows it";
    EXPECT_EQ(selection_->microphone(), "usb");
    app_->microphoneSelected(0);
    EXPECT_EQ(preferences_.chosenMicrophone, ChosenDevice());
    EXPECT_EQ(selection_->microphone(), "");
}

TEST_F(InputDevicesTest, AMissingDeviceIsToldAndTakenAgainWhenItComes) {
    preferences_.chosenMicrophone = {"usb", "Funkmikrofon"};
    launchListed();
    app_->microphoneToggled(true);
    plug({}, "Funkmikrofon (nicht angeschlossen)");
    EXPECT_EQ(view_.state.status, "„Funkmikrofon“ ist nicht angeschlossen; aufgenommen wird das Standardgerät.");
    plug({{"usb", "Funkmikrofon", false, 1}}, "Funkmikrofon");
    EXPECT_EQ(view_.state.microphones.index, 2);
    EXPECT_TRUE(view_.state.status.starts_with("Bereit.")) << view_.state.status;
}

TEST_F(InputDevicesTest, TheSoundOfACardIsChosenAndRememberedForThatCard) {
    for (const char* name : {"A", "B"}) {
        devices_.addExternalDevice(std::make_shared<synthetic::SyntheticDevice>(
            platform::CaptureDevice{std::string("card ") + name, std::string("Karte ") + name, true}));
    }
    launchListed();
    EXPECT_TRUE(view_.state.cardSounds.items.empty());
    app_->sourceTypeChanged(SourceType::device);
    EXPECT_EQ(view_.state.cardSounds.items,
              (std::vector<std::string>{"Standard", "Ohne Ton", "Testmikrofon", "Funkmikrofon"}));
    EXPECT_EQ(view_.state.cardSounds.index, 0);
    app_->cardSoundSelected(3);
    EXPECT_EQ(view_.state.cardSounds.index, 3);
    EXPECT_EQ(selection_->cardSound("card A"), (platform::CardSound{"usb", false}));
    app_->sourceSelected(1);
    EXPECT_EQ(view_.state.cardSounds.index, 0) << "another card";
    app_->cardSoundSelected(1);
    EXPECT_EQ(view_.state.cardSounds.index, 1);
    EXPECT_EQ(selection_->cardSound("card B"), (platform::CardSound{"", true}));
    app_->sourceTypeChanged(SourceType::display);
    EXPECT_TRUE(view_.state.cardSounds.items.empty());
    app_.reset();
    selection_->setCardSound("card A", {});
    launchListed();
    app_->sourceTypeChanged(SourceType::device);
    EXPECT_EQ(view_.state.cardSounds.index, 3) << "the next start knows it";
    EXPECT_EQ(selection_->cardSound("card A").input, "usb");
    app_->sourceSelected(1);
    EXPECT_EQ(view_.state.cardSounds.index, 1);

    app_->sourceSelected(0);
    const std::string ready = view_.state.status;
    sound_.setOtherMicrophones({});
    changed_();
    ASSERT_TRUE(
        loop_.runUntil([this] { return view_.state.cardSounds.items.back() == "Funkmikrofon (nicht angeschlossen)"; }));
    EXPECT_EQ(view_.state.status,
              "„Funkmikrofon“ ist nicht angeschlossen; der Ton kommt vom Gerät selbst, wenn es welchen liefert.");
    app_->cardSoundSelected(0);
    EXPECT_EQ(view_.state.status, ready);
}

TEST(CardSoundPopup, NamesTheInputOfTheCardItself) {
    platform::CaptureDevice card{"card", "Karte", true};
    card.place = "/sys/devices/pci0000:00/0000:05:00.0/video4linux/video0";
    std::vector<platform::CaptureDevice> inputs = {{"mic", "Mikrofon"}, {"hdmi", "HDMI-Eingang"}};
    inputs[0].isDefault = true;
    inputs[1].place = "/sys/devices/pci0000:00/0000:05:00.1/sound/card2";
    EXPECT_EQ(cardSoundPopup(card, inputs, {}).items.front(), "Standard: HDMI-Eingang");
    const DevicePopup missing = cardSoundPopup(card, inputs, {"usb", "Adapter"});
    EXPECT_EQ(missing.items.at(static_cast<std::size_t>(missing.index)), "Adapter (nicht angeschlossen)");
    EXPECT_EQ(missingCardSoundText(card, {"usb", "Adapter"}, inputs),
              "„Adapter“ ist nicht angeschlossen; der Ton kommt von „HDMI-Eingang“.");
    for (int i = 0; i < 4; ++i) {
        const auto choice = cardSoundAt(i, inputs);
        ASSERT_TRUE(choice);
        EXPECT_EQ(cardSoundPopup(card, inputs, *choice).index, i);
    }
    EXPECT_FALSE(cardSoundAt(4, inputs)) << "the missing one cannot be chosen";
}

TEST_F(InputDevicesTest, MetersRunOnlyWhileTheyAreSeenAndWanted) {
    launchListed();
    const auto runs = [this](Kind kind, int count) {
        return loop_.runUntil([&] { return sound_.running(kind) == count; });
    };
    app_->microphoneToggled(true);
    app_->mainWindowShown(true);
    EXPECT_TRUE(runs(Kind::microphone, 1));
    EXPECT_EQ(sound_.running(Kind::systemAudio), 0);
    app_->systemAudioToggled(true);
    EXPECT_TRUE(runs(Kind::systemAudio, 1));
    app_->microphoneToggled(false);
    EXPECT_TRUE(runs(Kind::microphone, 0));
    app_->mainWindowShown(false);
    EXPECT_TRUE(runs(Kind::systemAudio, 0)) << "released with the window";
    app_->mainWindowShown(true);
    EXPECT_TRUE(runs(Kind::systemAudio, 1));
    app_.reset();
    EXPECT_EQ(sound_.running(Kind::systemAudio), 0);
}

TEST_F(InputDevicesTest, ASilentMicrophoneIsSaidOnceWhileRecordingAndAtTheEnd) {
    launchListed();
    app_->microphoneToggled(true);
    startRecording();
    board_->begin(platform::SoundBoard::Kind::microphone, "", loop_.now());
    board_->tell({"mic", "Headset", true, false});
    loop_.advance(3);
    EXPECT_EQ(view_.count("hint Das Mikrofon „Headset“ ist stumm geschaltet."), 1);
    board_->tell({"mic", "Headset", false, false});
    board_->add(platform::SoundBoard::Kind::microphone, {loop_.now(), 48000, 1, std::vector<float>(4800, 0.1F)},
                loop_.now());
    loop_.advance(1);
    EXPECT_EQ(view_.count("hint "), 1) << "the line goes with the trouble";
    board_->tell({"mic", "Headset", true, false});
    loop_.advance(1);
    stopRecording();
    const std::string said = view_.state.notices[NoticeKind::microphone].text;
    EXPECT_TRUE(said.starts_with("Das Mikrofon „Headset“ war stumm geschaltet (ab 0:0")) << said;
    view_.calls.clear();
    startRecording();
    EXPECT_FALSE(view_.state.notices.contains(NoticeKind::microphone)) << "the next recording begins without it";
    stopRecording();
}

/// What the recorders open: the sound system and the cameras that follow a choice.
class SelectedDevicesTest : public testing::Test {
  protected:
    const std::shared_ptr<synthetic::SyntheticSoundSystem> system_ =
        std::make_shared<synthetic::SyntheticSoundSystem>();
    const std::shared_ptr<platform::DeviceSelection> selection_ = std::make_shared<platform::DeviceSelection>();
    const std::shared_ptr<platform::SoundBoard> board_ = std::make_shared<platform::SoundBoard>();
    platform::SelectedSound sound_{system_, selection_, board_};
};

TEST_F(SelectedDevicesTest, TheDefaultMicrophoneIsTheChosenOneWhileItIsThere) {
    EXPECT_EQ(sound_.defaultMicrophone()->id, "synthetic-microphone");
    selection_->setMicrophone("usb");
    EXPECT_EQ(sound_.defaultMicrophone()->id, "synthetic-microphone");
    system_->setOtherMicrophones({{"usb", "Funkmikrofon", false, 1}});
    EXPECT_EQ(sound_.defaultMicrophone()->id, "usb");
    const auto source = sound_.microphone(48000);
    EXPECT_EQ(system_->lastChoice().id, "usb");
    EXPECT_FALSE(system_->lastChoice().only) << "the default takes over";
}

TEST_F(SelectedDevicesTest, RunningSourcesReportTheirLevels) {
    const auto kind = platform::SoundBoard::Kind::microphone;
    EXPECT_FALSE(board_->level(kind, 0));
    const auto source = sound_.microphone(48000);
    int heard = 0;
    source->start([&](const platform::SoundBuffer&) { ++heard; }, [](const std::string&) {});
    system_->emit(Kind::microphone, 10, 480, 0.5F);
    EXPECT_EQ(heard, 1);
    const auto level = board_->level(kind, 0);
    ASSERT_TRUE(level);
    EXPECT_NEAR(level->peak, -6.02, 0.01);
    EXPECT_FALSE(board_->level(platform::SoundBoard::Kind::systemAudio, 0));
    system_->tell({"synthetic-microphone", "Testmikrofon", true, false});
    EXPECT_EQ(board_->microphone(10).trouble, platform::MicrophoneTrouble::muted);
    system_->end(Kind::microphone, "weg");
    EXPECT_EQ(board_->microphone(10).trouble, platform::MicrophoneTrouble::none) << "that is reported elsewhere";
    system_->comeBack(Kind::microphone);
    EXPECT_EQ(board_->microphone(10).trouble, platform::MicrophoneTrouble::muted);
    source->stop();
    EXPECT_FALSE(board_->level(kind, 0));
    EXPECT_EQ(board_->microphone(10).trouble, platform::MicrophoneTrouble::none);
    board_->begin(kind, "", 20);
    EXPECT_EQ(board_->microphone(21).trouble, platform::MicrophoneTrouble::none) << "another device, perhaps";
    board_->end(kind);
}

TEST_F(SelectedDevicesTest, ASourceThatDoesNotStartReportsNothing) {
    system_->failStarts(Kind::microphone, "Kein Zugriff.");
    const auto source = sound_.microphone(48000);
    EXPECT_THROW(source->start([](const platform::SoundBuffer&) {}, nullptr), RecorderError);
    EXPECT_FALSE(board_->level(platform::SoundBoard::Kind::microphone, 0));
}

}  // namespace
}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later

// The program itself, recording capture cards and cameras that filter graphs stand in for.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "base/formatted.h"
#include "base/log.h"
#include "desktop/desktop_recording.h"
#include "media/reading/asset.h"
#include "model/pointer_track.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

TEST_F(RecordingOnDesktop, ADeviceAndACameraAreRecorded) {
    auto variables = environment();
    // Which library asked for memory that leaks stands further up than frame pointers lead.
    const char* given = std::getenv("ASAN_OPTIONS");  // NOLINT(concurrency-mt-unsafe): no thread changes it
    variables["ASAN_OPTIONS"] = (given == nullptr ? "" : std::string(given) + ":") + "fast_unwind_on_malloc=0";
    variables["LUMIVASTOR_TEST_DEVICE"] = "testsrc2=size=321x241:rate=30[out0];sine=frequency=440[out1]";
    variables["LUMIVASTOR_TEST_CAMERA"] = "testsrc2=size={size}:rate=30";
    ProgramRun sources({LUMI_PROGRAM, "sources", "--json"}, variables);
    ASSERT_EQ(sources.wait(), 0) << sources.err();
    const std::string listed = sources.out();
    const std::size_t devices = listed.find("\"devices\"");
    const std::size_t id = listed.find("\"id\" : \"", devices);
    ASSERT_NE(id, std::string::npos) << listed;
    const std::string device = listed.substr(id + 8, listed.find('"', id + 8) - id - 8);
    ProgramRun run(recordWords({"--device", device, "--webcam", "--microphone", "--seconds", "6"}), variables);
    ASSERT_EQ(run.wait(), 0) << run.err();
    expectCompleteFolder();
    EXPECT_EQ(info().sourceKind, "device");
    EXPECT_EQ(info().pixelWidth, 320);
    EXPECT_EQ(info().pixelHeight, 240);
    EXPECT_TRUE(info().systemAudio);
    EXPECT_EQ(info().webcamFile, "webcam.mov");
    // A machine that is short of time opens a camera late; another clock's seconds are off by far more.
    EXPECT_LT(std::abs(info().webcamOffset.value_or(99)), 30);
    const media::AssetTrack webcam = media::Asset(folder_ / "webcam.mov").tracks(media::TrackKind::video).at(0);
    EXPECT_EQ(webcam.width, 1920);
    const std::string counted =
        formatted("[Webcam] fertig: %lld Bilder, Status 2", static_cast<long long>(webcam.sampleCount));
    EXPECT_NE(readText(Log::url()).find(counted), std::string::npos) << counted;
    EXPECT_EQ(run.err().find("keinen eigenen Ton"), std::string::npos) << run.err();
    EXPECT_EQ(model::PointerTrack::load(folder_).events.size(), 0u);
}

TEST_F(RecordingOnDesktop, ADeviceWithoutSoundIsSaid) {
    auto variables = environment();
    variables["LUMIVASTOR_TEST_DEVICE"] = "testsrc2=size=160x120:rate=30";
    ProgramRun run(recordWords({"--device", "test-device", "--seconds", "2"}), variables);
    ASSERT_EQ(run.wait(), 0) << run.err();
    EXPECT_TRUE(run.err().ends_with("„Testgerät“ liefert keinen eigenen Ton. Aufgenommen wird nur das Bild.\n"))
        << run.err();
    expectCompleteFolder();
    EXPECT_FALSE(info().systemAudio);
}

TEST_F(RecordingOnDesktop, ADeviceIsRecordedWithTheSoundOfTheChosenInput) {
    auto variables = environment();
    // Without sound of its own.
    variables["LUMIVASTOR_TEST_DEVICE"] = "testsrc2=size=160x120:rate=30";
    const std::vector<std::string> device = {"--device", "test-device", "--seconds", "2"};
    const auto withOption = [&](std::vector<std::string> more) {
        more.insert(more.begin(), device.begin(), device.end());
        return recordWords(more);
    };
    ProgramRun wrong(withOption({"--device-sound-name", "Funk"}), variables);
    EXPECT_EQ(wrong.wait(), 1);
    EXPECT_NE(wrong.err().find("Es gibt den Toneingang „Funk“ nicht. Angeschlossen: "), std::string::npos)
        << wrong.err();
    ProgramRun run(withOption({"--device-sound-name", "testmic"}), variables);
    ASSERT_EQ(run.wait(), 0) << run.err();
    expectCompleteFolder();
    EXPECT_TRUE(info().systemAudio);
    EXPECT_EQ(media::Asset(folder_ / "source.mov").tracks(media::TrackKind::audio).size(), 1U);
    EXPECT_EQ(run.err().find("keinen eigenen Ton"), std::string::npos) << run.err();
}

}  // namespace
}  // namespace lumivastor

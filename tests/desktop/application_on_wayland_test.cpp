// SPDX-License-Identifier: GPL-3.0-or-later

// The application itself on a Wayland desktop of the tests' own, worked with a pointer.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "model/capture_info.h"
#include "support/await.h"
#include "support/driven_wayland_application.h"
#include "support/wayland_rig/coded_window.h"

namespace lumivastor {
namespace {

constexpr std::uint32_t kGround = 0x406080;  // of a coded window

class ApplicationOnWayland : public testing::Test {
  protected:
    ~ApplicationOnWayland() override {
        if (HasFailure()) std::cerr << "The program's log:\n" << app_.home().log() << app_.program().err();
    }

    // Behind the program's windows, which a full screen would cover.
    void showBehind() {
        window_.show(1);
        app_.desktop().command("[title=Zahlen] fullscreen disable");
    }
    // From the click on the button to the first pictures.
    void startRecording() {
        ASSERT_TRUE(app_.click("recordButton"));
        ASSERT_TRUE(await([this] { return app_.home().isRecording(); }));
    }
    void stopRecording() {
        EXPECT_EQ(app_.runVerb("stop"), 0);
        ASSERT_TRUE(await([this] { return app_.home().isFinished(); }));
        EXPECT_TRUE(await([this] { return app_.isShown(kMainTitle); }));
    }
    void show(std::uint16_t first, std::uint16_t last) {
        for (std::uint16_t number = first; number <= last; ++number) {
            window_.show(number);
            sleepFor(0.05);
        }
    }

    struct Seen {
        std::vector<int> numbers;  // of the pictures, each once
        int pictures = 0;
        int groundAtCentre = 0;  // pictures that show the window there
    };
    // The pictures of the newest recording.
    Seen seen() const {
        const auto asset = std::make_shared<const media::Asset>(app_.home().recordings().back() / "source.mov");
        media::AssetReader reader(asset);
        auto& output = reader.addVideoOutput(asset->tracks(media::TrackKind::video).at(0).id,
                                             media::PictureFormat::bgraPremultiplied);
        EXPECT_TRUE(reader.startReading());
        Seen found;
        while (const auto sample = output.copyNextSample()) {
            const auto& picture = sample->bgra();
            ++found.pictures;
            if (isGround(picture.pixel(picture.width() / 2, picture.height() / 2))) ++found.groundAtCentre;
            const auto number = codeAt(picture);
            if (number && (found.numbers.empty() || found.numbers.back() != *number)) found.numbers.push_back(*number);
        }
        return found;
    }

    WindowMap map_;
    DrivenWaylandApplication app_{map_};
    CodedWindow window_{app_.desktop().display()};

  private:
    // Encoding blurs colours a little.
    static bool isGround(const std::uint8_t* pixel) {
        for (const int channel : {0, 1, 2}) {
            const int wanted = static_cast<int>(kGround >> (8 * channel) & 255);
            if (std::abs(pixel[channel] - wanted) > 8) return false;
        }
        return true;
    }
};

TEST_F(ApplicationOnWayland, RecordsTheScreenWithoutItsOwnWindows) {
    showBehind();
    ASSERT_TRUE(app_.start());
    startRecording();
    EXPECT_FALSE(app_.isShown(kMainTitle));
    show(2, 20);
    stopRecording();
    const Seen first = seen();
    EXPECT_EQ(first.numbers.back(), 20);
    EXPECT_EQ(first.groundAtCentre, first.pictures);
    EXPECT_EQ(model::CaptureInfo::load(app_.home().recordings().back()).sourceKind, "display");

    // The same with an editor on the screen.
    const std::string editor = "LumiVastor – " + app_.home().recordings().back().filename().string();
    ASSERT_TRUE(await([&] { return app_.isShown(editor); }));
    startRecording();
    EXPECT_FALSE(app_.isShown(editor));
    show(21, 30);
    stopRecording();
    EXPECT_EQ(app_.home().recordings().size(), 2U);
    EXPECT_TRUE(await([&] { return app_.isShown(editor); })) << "what was open comes back";
    const Seen second = seen();
    EXPECT_EQ(second.numbers.back(), 30);
    EXPECT_EQ(second.groundAtCentre, second.pictures);
}

TEST_F(ApplicationOnWayland, ARegionIsDrawnOnAPictureOfTheScreen) {
    showBehind();
    ASSERT_TRUE(app_.start());
    ASSERT_TRUE(app_.choose(app::SourceType::region));
    ASSERT_TRUE(app_.click("recordButton"));
    ASSERT_TRUE(await([this] { return app_.isShown(kPickerTitle); }));
    EXPECT_EQ(app_.desktop().windowRect(kPickerTitle), (Rect{0, 0, 1280, 800}));
    EXPECT_FALSE(app_.isShown(kMainTitle));
    sleepFor(0.5);
    ASSERT_TRUE(app_.drag(kPickerTitle, {0, 0}, {1000, 600}));
    ASSERT_TRUE(await([this] { return app_.home().isRecording(); }));
    show(2, 10);
    stopRecording();
    const Seen all = seen();
    EXPECT_EQ(all.numbers.back(), 10);
    EXPECT_EQ(all.groundAtCentre, all.pictures);
    const model::CaptureInfo info = model::CaptureInfo::load(app_.home().recordings().back());
    EXPECT_EQ(info.sourceKind, "region");
    EXPECT_EQ(info.pixelWidth, 1000);
    EXPECT_EQ(info.pixelHeight, 600);
}

TEST_F(ApplicationOnWayland, StartingItAgainBringsTheStopButton) {
    showBehind();
    ASSERT_TRUE(app_.start());
    startRecording();
    ProgramRun second({LUMI_PROGRAM}, app_.environment());
    EXPECT_EQ(second.wait(), 0) << second.err();
    ASSERT_TRUE(await([this] { return app_.isShown(kMainTitle); }));
    ASSERT_TRUE(app_.click("recordButton"));
    EXPECT_TRUE(await([this] { return app_.home().isFinished(); }));
}

TEST_F(ApplicationOnWayland, ALostCompositorLeavesAFinishedRecording) {
    showBehind();
    ASSERT_TRUE(app_.start());
    startRecording();
    show(2, 10);
    // Writing to the lost compositor, as its window does at its end, must not end this process.
    std::signal(SIGPIPE, SIG_IGN);
    app_.desktop().killCompositor();
    EXPECT_EQ(app_.program().wait(), 1);
    EXPECT_TRUE(app_.home().isFinished());
    EXPECT_EQ(seen().numbers.back(), 10);
}

}  // namespace
}  // namespace lumivastor

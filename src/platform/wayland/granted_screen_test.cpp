// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/granted_screen.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "support/await.h"
#include "support/portal_standin.h"
#include "support/sound_rig.h"

namespace lumivastor::wayland {
namespace {

constexpr PixelSize kScreen{320, 200};
constexpr PixelRect kWindow{40, 30, 120, 80};

// A portal whose screens send one picture of a window at once, as those of GNOME do.
class GrantedScreenTest : public testing::Test {
  protected:
    // The size of the content that is there as soon as the source is granted. Once.
    PixelSize shownAtOnce(SharedSource source) {
        std::thread sender([this] {
            std::shared_ptr<ScreenSource> screen;
            EXPECT_TRUE(await([&] { return (screen = portal_.screen()) && screen->isStreaming(); }));
            ScreenSource::Picture picture;
            picture.crop = kWindow;
            EXPECT_TRUE(await([&] { return screen->send(picture); }));
        });
        GrantedScreen::Options options;
        options.session.source = source;
        const auto granted = GrantedScreen::open(std::make_shared<PortalConnection>(bus_.address()), options);
        sender.join();
        EXPECT_EQ(granted->size(), kScreen) << "that of the buffers";
        return granted->canvas().state().size;
    }

    PipeWireRig rig_;
    BusRig bus_;
    PortalStandin portal_{bus_.address(), rig_.remote(), {}};
};

TEST_F(GrantedScreenTest, AWindowIsNotGrantedWithoutThePictureThatTellsItsSize) {
    EXPECT_EQ(shownAtOnce(SharedSource::window), (PixelSize{kWindow.width, kWindow.height}));
}

}  // namespace
}  // namespace lumivastor::wayland

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/v4l2_devices.h"

#include <gtest/gtest.h>

namespace lumivastor::devices {
namespace {

TEST(V4l2Devices, CaptureCardsAreToldFromCameras) {
    EXPECT_FALSE(isCaptureCard("Integrated Camera: Integrated C", "uvcvideo", "usb-0000:00:14.0-8"));
    EXPECT_FALSE(isCaptureCard("HD Pro Webcam C920", "uvcvideo", "usb-0000:00:14.0-2"));
    EXPECT_FALSE(isCaptureCard("FaceTime HD Camera", "uvcvideo", "usb-0000:00:14.0-1"));
    EXPECT_FALSE(isCaptureCard("ipu3-imgu", "ipu3-imgu", "PCI:0000:00:05.0")) << "a tablet's camera";
    EXPECT_FALSE(isCaptureCard("OBS HDMI", "v4l2 loopback", "platform:v4l2loopback-000"));
    EXPECT_TRUE(isCaptureCard("Cam Link 4K: Cam Link 4K", "uvcvideo", "usb-0000:00:14.0-3"));
    EXPECT_TRUE(isCaptureCard("USB Video: HDMI to USB", "uvcvideo", "usb-0000:00:14.0-3"));
    EXPECT_TRUE(isCaptureCard("Live Gamer Portable 2 Plus", "uvcvideo", "usb-0000:00:14.0-3"));
    EXPECT_TRUE(isCaptureCard("Magewell Pro Capture HDMI", "ProCapture", "PCI:0000:03:00.0"));
    EXPECT_TRUE(isCaptureCard("DeckLink Mini Recorder", "blackmagic", "PCI:0000:04:00.0"));
}

TEST(V4l2Devices, TheFastestFormatOfASizeIsChosen) {
    const std::vector<V4l2Format> webcam{{"yuyv422", {1920, 1080}, 5}, {"mjpeg", {1920, 1080}, 30},
                                         {"mjpeg", {1280, 720}, 60},   {"yuyv422", {1280, 720}, 10},
                                         {"mjpeg", {640, 480}, 30},    {"yuyv422", {640, 480}, 30},
                                         {"yuyv422", {2304, 1536}, 2}};
    EXPECT_EQ(chooseFormat(webcam, {1920, 1080})->name, "mjpeg");
    EXPECT_EQ(chooseFormat(webcam, {1280, 720})->name, "mjpeg");
    EXPECT_EQ(chooseFormat(webcam, {640, 480})->name, "yuyv422") << "as fast, and not compressed";
    EXPECT_FALSE(chooseFormat(webcam, {2304, 1536})) << "too slow to be of use";
    EXPECT_FALSE(chooseFormat(webcam, {800, 600}));
    EXPECT_EQ(chooseFormat({{"nv12", {1920, 1080}, 0}}, {1920, 1080})->name, "nv12") << "the driver does not say";
}

TEST(V4l2Devices, ListingWorksWithAndWithoutDevices) {
    for (const V4l2Device& device : listV4l2Devices()) EXPECT_FALSE(device.path.empty());
}

}  // namespace
}  // namespace lumivastor::devices

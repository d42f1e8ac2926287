// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/v4l2_devices.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/unique_descriptor.h"

namespace lumivastor::devices {
namespace {

constexpr double kEnough = 30;
constexpr double kTooSlow = 15;
// Steppedwise sizes are looked at where the recorders ask.
constexpr std::array<PixelSize, 3> kDefaultSizes{{{1920, 1080}, {1280, 720}, {640, 480}}};

std::string lowercase(std::string text) {
    for (char& one : text) {
        if (one >= 'A' && one <= 'Z') one = static_cast<char>(one - 'A' + 'a');
    }
    return text;
}

bool control(int descriptor, unsigned long request, void* argument) {
    int result = 0;
    do {
        result = ioctl(descriptor, request, argument);
    } while (result < 0 && errno == EINTR);
    return result >= 0;
}

// libavdevice's name for a format; empty for unsupported and useless formats.
std::string formatName(std::uint32_t format) {
    switch (format) {
        case V4L2_PIX_FMT_YUYV:
            return "yuyv422";
        case V4L2_PIX_FMT_UYVY:
            return "uyvy422";
        case V4L2_PIX_FMT_NV12:
            return "nv12";
        case V4L2_PIX_FMT_YUV420:
            return "yuv420p";
        case V4L2_PIX_FMT_MJPEG:
        case V4L2_PIX_FMT_JPEG:
            return "mjpeg";
        case V4L2_PIX_FMT_BGR24:
            return "bgr24";
        case V4L2_PIX_FMT_RGB24:
            return "rgb24";
        case V4L2_PIX_FMT_BGR32:
        case V4L2_PIX_FMT_XBGR32:
        case V4L2_PIX_FMT_ABGR32:
            return "bgr0";
        default:
            return {};
    }
}

double fastest(int descriptor, std::uint32_t format, PixelSize size) {
    double best = 0;
    v4l2_frmivalenum interval{};
    interval.pixel_format = format;
    interval.width = static_cast<std::uint32_t>(size.width);
    interval.height = static_cast<std::uint32_t>(size.height);
    for (; control(descriptor, VIDIOC_ENUM_FRAMEINTERVALS, &interval); ++interval.index) {
        const bool isDiscrete = interval.type == V4L2_FRMIVAL_TYPE_DISCRETE;
        const v4l2_fract& shortest = isDiscrete ? interval.discrete : interval.stepwise.min;
        if (shortest.numerator > 0) best = std::max(best, double{1} * shortest.denominator / shortest.numerator);
        if (!isDiscrete) break;
    }
    return best;
}

std::vector<PixelSize> sizesOf(int descriptor, std::uint32_t format) {
    std::vector<PixelSize> sizes;
    v4l2_frmsizeenum one{};
    one.pixel_format = format;
    for (; control(descriptor, VIDIOC_ENUM_FRAMESIZES, &one); ++one.index) {
        if (one.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
            sizes.push_back({static_cast<int>(one.discrete.width), static_cast<int>(one.discrete.height)});
            continue;
        }
        const v4l2_frmsize_stepwise& steps = one.stepwise;
        for (const PixelSize size : kDefaultSizes) {
            const auto fits = [](std::uint32_t value, std::uint32_t minimum, std::uint32_t maximum,
                                 std::uint32_t step) {
                return value >= minimum && value <= maximum && (step == 0 || (value - minimum) % step == 0);
            };
            if (fits(static_cast<std::uint32_t>(size.width), steps.min_width, steps.max_width, steps.step_width) &&
                fits(static_cast<std::uint32_t>(size.height), steps.min_height, steps.max_height, steps.step_height)) {
                sizes.push_back(size);
            }
        }
        break;
    }
    return sizes;
}

template <std::size_t Size>
std::string text(const __u8 (&bytes)[Size]) {
    const auto* const start = reinterpret_cast<const char*>(bytes);
    return {start, strnlen(start, Size)};
}

std::optional<V4l2Device> describe(const std::string& path) {
    const UniqueDescriptor device(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!device.isOpen()) return std::nullopt;
    v4l2_capability capability{};
    if (!control(device.get(), VIDIOC_QUERYCAP, &capability)) return std::nullopt;
    // A camera has further nodes for its metadata; their own capabilities differ.
    const std::uint32_t abilities =
        (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps : capability.capabilities;
    if ((abilities & V4L2_CAP_VIDEO_CAPTURE) == 0 || (abilities & V4L2_CAP_STREAMING) == 0) return std::nullopt;
    V4l2Device found;
    found.path = path;
    found.card = text(capability.card);
    found.driver = text(capability.driver);
    found.bus = text(capability.bus_info);
    std::error_code unknown;
    const auto node = std::filesystem::path("/sys/class/video4linux") / std::filesystem::path(path).filename();
    found.place = std::filesystem::canonical(node, unknown).string();
    v4l2_fmtdesc format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (; control(device.get(), VIDIOC_ENUM_FMT, &format); ++format.index) {
        const std::string name = formatName(format.pixelformat);
        if (name.empty()) continue;
        for (const PixelSize size : sizesOf(device.get(), format.pixelformat)) {
            found.formats.push_back({name, size, fastest(device.get(), format.pixelformat, size)});
        }
    }
    v4l2_format active{};
    active.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (control(device.get(), VIDIOC_G_FMT, &active)) {
        found.activeFormat = {static_cast<int>(active.fmt.pix.width), static_cast<int>(active.fmt.pix.height)};
    }
    return found;
}

}  // namespace

bool isCaptureCard(const std::string& card, const std::string& driver, const std::string& bus) {
    const std::string name = lowercase(card);
    // A loopback device, which users feed from a screen or a file, acts as a camera.
    if (driver == "v4l2 loopback" || driver == "v4l2loopback") return false;
    const bool isInside = bus.rfind("PCI:", 0) == 0;
    // Cameras of tablets are connected to PCI, too.
    const bool isBuiltInCamera =
        driver.rfind("ipu", 0) == 0 || driver.rfind("intel-ipu", 0) == 0 || driver.rfind("atomisp", 0) == 0;
    if (isInside && !isBuiltInCamera) return true;
    constexpr std::array<const char*, 10> kWords{"hdmi",      "capture",  "cam link",     "game live",    "live gamer",
                                                 "elgato 4k", "magewell", "usb3.0 video", "macrosilicon", "sdi"};
    return std::any_of(kWords.begin(), kWords.end(),
                       [&](const char* word) { return name.find(word) != std::string::npos; });
}

std::optional<V4l2Format> chooseFormat(const std::vector<V4l2Format>& formats, PixelSize size) {
    std::optional<V4l2Format> best;
    // Drivers that do not report rates are assumed to be fast enough.
    const auto rate = [](const V4l2Format& format) {
        return format.framesPerSecond == 0 ? kEnough : std::min(format.framesPerSecond, kEnough);
    };
    for (const V4l2Format& format : formats) {
        if (!(format.size == size) || rate(format) < kTooSlow) continue;
        const bool isBetter = !best || rate(format) > rate(*best) ||
                              (rate(format) == rate(*best) && best->name == "mjpeg" && format.name != "mjpeg");
        if (isBetter) best = format;
    }
    return best;
}

std::vector<V4l2Device> listV4l2Devices() {
    constexpr int kMaximum = 64;
    std::vector<V4l2Device> found;
    for (int number = 0; number < kMaximum; ++number) {
        const std::string path = "/dev/video" + std::to_string(number);
        std::error_code ignored;
        if (!std::filesystem::exists(path, ignored)) continue;
        if (auto device = describe(path)) found.push_back(std::move(*device));
    }
    return found;
}

}  // namespace lumivastor::devices

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/camera_formats.h"

#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/pixfmt.h>
}

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

constexpr double kAnswerSeconds = 2;

const std::vector<std::pair<std::uint32_t, int>>& formats() {
    static const std::vector<std::pair<std::uint32_t, int>> kFormats{
        {SPA_VIDEO_FORMAT_BGRx, AV_PIX_FMT_BGR0},    {SPA_VIDEO_FORMAT_BGRA, AV_PIX_FMT_BGRA},
        {SPA_VIDEO_FORMAT_YUY2, AV_PIX_FMT_YUYV422}, {SPA_VIDEO_FORMAT_UYVY, AV_PIX_FMT_UYVY422},
        {SPA_VIDEO_FORMAT_NV12, AV_PIX_FMT_NV12},    {SPA_VIDEO_FORMAT_I420, AV_PIX_FMT_YUV420P},
        {SPA_VIDEO_FORMAT_RGBx, AV_PIX_FMT_RGB0},    {SPA_VIDEO_FORMAT_RGBA, AV_PIX_FMT_RGBA},
        {SPA_VIDEO_FORMAT_RGB, AV_PIX_FMT_RGB24},    {SPA_VIDEO_FORMAT_BGR, AV_PIX_FMT_BGR24},
    };
    return kFormats;
}

PixelSize sizeOf(const spa_rectangle& rectangle) {
    constexpr std::uint32_t kLargest = 16384;
    return {static_cast<int>(std::min(rectangle.width, kLargest)),
            static_cast<int>(std::min(rectangle.height, kLargest))};
}

bool isReadable(const spa_pod* format) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (spa_format_parse(format, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video) return false;
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg) return true;
    if (subtype != SPA_MEDIA_SUBTYPE_raw) return false;
    const spa_pod_prop* const property = spa_pod_find_prop(format, nullptr, SPA_FORMAT_VIDEO_format);
    if (property == nullptr) return false;
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* const values = spa_pod_get_values(&property->value, &count, &choice);
    if (values->type != SPA_TYPE_Id) return false;
    const auto* const ids = static_cast<const std::uint32_t*>(SPA_POD_BODY_CONST(values));
    return std::any_of(ids, ids + count, [](std::uint32_t id) { return pixelFormat(id).has_value(); });
}

}  // namespace

std::optional<int> pixelFormat(std::uint32_t spaFormat) {
    for (const auto& [spa, av] : formats()) {
        if (spa == spaFormat) return av;
    }
    return std::nullopt;
}

const std::vector<std::uint32_t>& readableFormats() {
    static const std::vector<std::uint32_t> kReadable = [] {
        std::vector<std::uint32_t> all;
        for (const auto& [spa, av] : formats()) all.push_back(spa);
        return all;
    }();
    return kReadable;
}

std::vector<CameraSizes> cameraSizes(const spa_pod* format) {
    if (format == nullptr || !isReadable(format)) return {};
    const spa_pod_prop* const property = spa_pod_find_prop(format, nullptr, SPA_FORMAT_VIDEO_size);
    if (property == nullptr) return {};
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* const values = spa_pod_get_values(&property->value, &count, &choice);
    if (values->type != SPA_TYPE_Rectangle || count == 0) return {};
    const auto* const rectangles = static_cast<const spa_rectangle*>(SPA_POD_BODY_CONST(values));
    const auto single = [&](std::uint32_t i) { return CameraSizes{sizeOf(rectangles[i]), sizeOf(rectangles[i])}; };
    std::vector<CameraSizes> sizes{single(0)};
    if ((choice == SPA_CHOICE_Range || choice == SPA_CHOICE_Step) && count >= 3) {
        sizes.push_back({sizeOf(rectangles[1]), sizeOf(rectangles[2])});
    } else if (choice == SPA_CHOICE_Enum) {
        for (std::uint32_t i = 1; i < count; ++i) sizes.push_back(single(i));
    }
    return sizes;
}

std::vector<CameraSizes> askForCameraSizes(PipeWireConnection& connection, std::uint32_t node) {
    auto* const proxy = static_cast<pw_node*>(
        pw_registry_bind(connection.registry(), node, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
    if (proxy == nullptr) return {};
    std::vector<CameraSizes> sizes;
    static constexpr pw_node_events kEvents = [] {
        pw_node_events events{};
        events.version = PW_VERSION_NODE_EVENTS;
        events.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t, const spa_pod* param) {
            if (id != SPA_PARAM_EnumFormat) return;
            auto& all = *static_cast<std::vector<CameraSizes>*>(data);
            for (const CameraSizes& one : cameraSizes(param)) all.push_back(one);
        };
        return events;
    }();
    spa_hook hook{};
    pw_node_add_listener(proxy, &hook, &kEvents, &sizes);
    constexpr std::uint32_t kAll = UINT32_MAX;
    pw_node_enum_params(proxy, 0, SPA_PARAM_EnumFormat, 0, kAll, nullptr);
    static_cast<void>(connection.sync(kAnswerSeconds));
    spa_hook_remove(&hook);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy));
    return sizes;
}

}  // namespace lumivastor::pipewire

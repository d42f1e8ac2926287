// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_formats.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>

#include "platform/pipewire/cursor_meta.h"

namespace lumivastor::pipewire {
namespace {

// Most desktops have blue first; without alpha the producer need not care for it.
constexpr std::array<std::uint32_t, 4> kFormats{SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
                                                SPA_VIDEO_FORMAT_RGBA};
// One that is filled, one on its way, one being read, one to spare.
constexpr int kBuffers = 4;
constexpr int kFewestBuffers = 2;
constexpr int kMostBuffers = 16;
// A producer with more damage than this sends one rectangle around it.
constexpr int kDamageRects = 16;

// Producers that reserve more for a shape than is read here still agree on metadata.
constexpr int kLargestReservedSide = 1024;

constexpr int cursorBytes(int side) {
    return static_cast<int>(sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap)) + side * side * 4;
}

void addId(spa_pod_builder* builder, std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(builder, key, 0);
    spa_pod_builder_id(builder, value);
}

template <typename Add>
void addChoice(spa_pod_builder* builder, std::uint32_t key, std::uint32_t kind, Add add) {
    spa_pod_frame choice{};
    spa_pod_builder_prop(builder, key, 0);
    spa_pod_builder_push_choice(builder, &choice, kind, 0);
    add();
    spa_pod_builder_pop(builder, &choice);
}

// The first value is the preferred one.
void addRange(spa_pod_builder* builder, std::uint32_t key, int preferred, int minimum, int maximum) {
    addChoice(builder, key, SPA_CHOICE_Range, [&] {
        for (const int one : {preferred, minimum, maximum}) spa_pod_builder_int(builder, one);
    });
}

void addRange(spa_pod_builder* builder, std::uint32_t key, spa_fraction preferred, spa_fraction minimum,
              spa_fraction maximum) {
    addChoice(builder, key, SPA_CHOICE_Range, [&] {
        for (const spa_fraction one : {preferred, minimum, maximum}) {
            spa_pod_builder_fraction(builder, one.num, one.denom);
        }
    });
}

const spa_pod* buffers(spa_pod_builder* builder) {
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    addRange(builder, SPA_PARAM_BUFFERS_buffers, kBuffers, kFewestBuffers, kMostBuffers);
    addChoice(builder, SPA_PARAM_BUFFERS_dataType, SPA_CHOICE_Flags,
              [&] { spa_pod_builder_int(builder, (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd)); });
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

template <typename AddSize>
const spa_pod* meta(spa_pod_builder* builder, std::uint32_t type, AddSize addSize) {
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    addId(builder, SPA_PARAM_META_type, type);
    addSize();
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

const spa_pod* meta(spa_pod_builder* builder, std::uint32_t type, std::size_t bytes) {
    return meta(builder, type, [&] {
        spa_pod_builder_prop(builder, SPA_PARAM_META_size, 0);
        spa_pod_builder_int(builder, static_cast<std::int32_t>(bytes));
    });
}

}  // namespace

const spa_pod* screenFormatOffer(spa_pod_builder* builder, int maximumRate) {
    const spa_fraction rate{static_cast<std::uint32_t>(std::max(maximumRate, 1)), 1};
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    addId(builder, SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
    addId(builder, SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
    addChoice(builder, SPA_FORMAT_VIDEO_format, SPA_CHOICE_Enum, [&] {
        spa_pod_builder_id(builder, kFormats.front());
        for (const std::uint32_t one : kFormats) spa_pod_builder_id(builder, one);
    });
    addChoice(builder, SPA_FORMAT_VIDEO_size, SPA_CHOICE_Range, [&] {
        spa_pod_builder_rectangle(builder, 1920, 1080);
        spa_pod_builder_rectangle(builder, 1, 1);
        spa_pod_builder_rectangle(builder, kMaximumScreenSide, kMaximumScreenSide);
    });
    // 0/1 means that pictures come when something changes. Producers that agree on it ignore a wish for a rate here;
    // they keep to the next property.
    addRange(builder, SPA_FORMAT_VIDEO_framerate, {0, 1}, {0, 1}, {360, 1});
    addRange(builder, SPA_FORMAT_VIDEO_maxFramerate, rate, {1, 1}, rate);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

std::optional<ScreenFormat> agreedScreenFormat(const spa_pod* format) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    spa_video_info_raw raw{};
    if (format == nullptr || spa_format_parse(format, &type, &subtype) < 0) return std::nullopt;
    if (type != SPA_MEDIA_TYPE_video || subtype != SPA_MEDIA_SUBTYPE_raw) return std::nullopt;
    if (spa_format_video_raw_parse(format, &raw) < 0) return std::nullopt;
    if (std::find(kFormats.begin(), kFormats.end(), raw.format) == kFormats.end()) return std::nullopt;
    for (const std::uint32_t side : {raw.size.width, raw.size.height}) {
        if (side < 1 || side > kMaximumScreenSide) return std::nullopt;
    }
    return ScreenFormat{{static_cast<int>(raw.size.width), static_cast<int>(raw.size.height)},
                        raw.format == SPA_VIDEO_FORMAT_RGBx || raw.format == SPA_VIDEO_FORMAT_RGBA};
}

std::vector<const spa_pod*> screenBufferParameters(spa_pod_builder* builder) {
    std::vector<const spa_pod*> all;
    all.push_back(buffers(builder));
    all.push_back(meta(builder, SPA_META_Header, sizeof(spa_meta_header)));
    all.push_back(meta(builder, SPA_META_VideoCrop, sizeof(spa_meta_region)));
    all.push_back(meta(builder, SPA_META_VideoTransform, sizeof(spa_meta_videotransform)));
    all.push_back(meta(builder, SPA_META_VideoDamage, [&] {
        constexpr int kOne = sizeof(spa_meta_region);
        addRange(builder, SPA_PARAM_META_size, kDamageRects * kOne, kOne, kDamageRects * kOne);
    }));
    all.push_back(meta(builder, SPA_META_Cursor, [&] {
        addRange(builder, SPA_PARAM_META_size, cursorBytes(CursorMetaReader::kMaximumSide), cursorBytes(1),
                 cursorBytes(kLargestReservedSide));
    }));
    return all;
}

}  // namespace lumivastor::pipewire

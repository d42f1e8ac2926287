// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/camera_stream.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/recorder_error.h"
#include "ffmpeg/picture_to_bgra.h"
#include "platform/pictures/device_clock.h"
#include "platform/pictures/jpeg_decoder.h"
#include "platform/pipewire/camera_formats.h"

namespace lumivastor::pipewire {
namespace {

constexpr spa_rectangle kLargest{16384, 16384};
constexpr spa_rectangle kDefault{1280, 720};
constexpr spa_fraction kDefaultRate{30, 1};
constexpr spa_fraction kMinimumRate{0, 1};
constexpr spa_fraction kMaximumRate{240, 1};

// Size and rate, as every format description here ends.
void addSizeAndRate(spa_pod_builder* builder, std::optional<PixelSize> size) {
    spa_pod_frame choice{};
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_size, 0);
    if (size) {
        spa_pod_builder_rectangle(builder, static_cast<std::uint32_t>(size->width),
                                  static_cast<std::uint32_t>(size->height));
    } else {
        spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
        for (const spa_rectangle one : {kDefault, spa_rectangle{1, 1}, kLargest}) {
            spa_pod_builder_rectangle(builder, one.width, one.height);
        }
        spa_pod_builder_pop(builder, &choice);
    }
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
    for (const spa_fraction one : {kDefaultRate, kMinimumRate, kMaximumRate}) {
        spa_pod_builder_fraction(builder, one.num, one.denom);
    }
    spa_pod_builder_pop(builder, &choice);
}

const spa_pod* rawFormat(spa_pod_builder* builder, std::optional<PixelSize> size) {
    spa_pod_frame object{};
    spa_pod_frame choice{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_prop(builder, SPA_FORMAT_mediaType, 0);
    spa_pod_builder_id(builder, SPA_MEDIA_TYPE_video);
    spa_pod_builder_prop(builder, SPA_FORMAT_mediaSubtype, 0);
    spa_pod_builder_id(builder, SPA_MEDIA_SUBTYPE_raw);
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_id(builder, readableFormats().front());
    for (const std::uint32_t format : readableFormats()) spa_pod_builder_id(builder, format);
    spa_pod_builder_pop(builder, &choice);
    addSizeAndRate(builder, size);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

const spa_pod* jpegFormat(spa_pod_builder* builder, std::optional<PixelSize> size) {
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_prop(builder, SPA_FORMAT_mediaType, 0);
    spa_pod_builder_id(builder, SPA_MEDIA_TYPE_video);
    spa_pod_builder_prop(builder, SPA_FORMAT_mediaSubtype, 0);
    spa_pod_builder_id(builder, SPA_MEDIA_SUBTYPE_mjpg);
    addSizeAndRate(builder, size);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

// Buffers in ordinary memory, with the header that holds the stamp.
std::array<const spa_pod*, 2> bufferParameters(spa_pod_builder* builder) {
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(builder, SPA_PARAM_BUFFERS_dataType, 0);
    spa_pod_frame choice{};
    spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Flags, 0);
    spa_pod_builder_int(builder, (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd));
    spa_pod_builder_pop(builder, &choice);
    const auto* const buffers = static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_prop(builder, SPA_PARAM_META_type, 0);
    spa_pod_builder_id(builder, SPA_META_Header);
    spa_pod_builder_prop(builder, SPA_PARAM_META_size, 0);
    spa_pod_builder_int(builder, sizeof(spa_meta_header));
    const auto* const meta = static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
    return {buffers, meta};
}

}  // namespace

class CameraStream::Impl {
  public:
    Impl(PipeWireConnection& connection, const PipeWireConnection::Node& node, std::optional<PixelSize> size,
         std::function<void(platform::DeviceSample)> handler)
        : handler_(std::move(handler)), toBgra_(false) {
        pw_properties* const properties = pw_properties_new(
            PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_APP_NAME,
            "LumiVastor", PW_KEY_NODE_NAME, "lumivastor", PW_KEY_NODE_DONT_RECONNECT, "true", nullptr);
        pw_properties_set(properties, PW_KEY_TARGET_OBJECT, std::to_string(node.serial).c_str());
        stream_ = pw_stream_new(connection.core(), "Kamera", properties);
        if (stream_ == nullptr) throw RecorderError("Die Kamera kann nicht verwendet werden.");
        static constexpr pw_stream_events kEvents = [] {
            pw_stream_events events{};
            events.version = PW_VERSION_STREAM_EVENTS;
            events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
                if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
                    static_cast<Impl*>(data)->isBroken_ = true;
                }
            };
            events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
                if (id == SPA_PARAM_Format) static_cast<Impl*>(data)->takeFormat(param);
            };
            events.process = [](void* data) { static_cast<Impl*>(data)->process(); };
            return events;
        }();
        pw_stream_add_listener(stream_, &hook_, &kEvents, this);
        std::array<std::uint8_t, 2048> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        std::array<const spa_pod*, 2> formats{rawFormat(&builder, size), jpegFormat(&builder, size)};
        const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                        PW_STREAM_FLAG_DONT_RECONNECT);
        if (pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, flags, formats.data(),
                              static_cast<std::uint32_t>(formats.size())) < 0) {
            pw_stream_destroy(stream_);
            throw RecorderError("Die Kamera kann nicht verwendet werden.");
        }
    }
    ~Impl() { pw_stream_destroy(stream_); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool isBroken() const { return isBroken_; }

  private:
    void takeFormat(const spa_pod* param) {
        format_.reset();
        isJpeg_ = false;
        std::uint32_t type = 0;
        std::uint32_t subtype = 0;
        if (param == nullptr || spa_format_parse(param, &type, &subtype) < 0) return;
        if (subtype == SPA_MEDIA_SUBTYPE_mjpg) {
            isJpeg_ = true;
        } else {
            spa_video_info_raw raw{};
            if (spa_format_video_raw_parse(param, &raw) < 0) return;
            format_ = pixelFormat(raw.format);
            size_ = {static_cast<int>(std::min(raw.size.width, kLargest.width)),
                     static_cast<int>(std::min(raw.size.height, kLargest.height))};
            isBt709_.reset();
            isFullRange_.reset();
            if (raw.color_matrix == SPA_VIDEO_COLOR_MATRIX_BT709) isBt709_ = true;
            if (raw.color_matrix == SPA_VIDEO_COLOR_MATRIX_BT601) isBt709_ = false;
            if (raw.color_range == SPA_VIDEO_COLOR_RANGE_0_255) isFullRange_ = true;
            if (raw.color_range == SPA_VIDEO_COLOR_RANGE_16_235) isFullRange_ = false;
        }
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
        std::array<const spa_pod*, 2> parameters = bufferParameters(&builder);
        pw_stream_update_params(stream_, parameters.data(), static_cast<std::uint32_t>(parameters.size()));
    }

    void process() {
        while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_)) {
            take(*buffer->buffer);
            pw_stream_queue_buffer(stream_, buffer);
        }
    }

    void take(const spa_buffer& buffer) {
        const platform::ClockReading arrival = platform::ClockReading::now();
        std::optional<double> stamp;
        const auto* const header = static_cast<const spa_meta_header*>(
            spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header)));
        if (header != nullptr) {
            if ((header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) return;
            if (header->pts > 0) stamp = static_cast<double>(header->pts) * 1e-9;
        }
        const auto picture = pictureIn(buffer);
        if (!picture) return;
        auto image = toBgra_.convert(*picture);
        if (image) handler_({clock_.hostSeconds(stamp, arrival), std::move(image)});
    }

    std::optional<ffmpeg::DevicePicture> pictureIn(const spa_buffer& buffer) {
        if (buffer.n_datas == 0) return std::nullopt;
        const spa_data& data = buffer.datas[0];
        if (data.data == nullptr || data.chunk == nullptr || data.chunk->offset > data.maxsize) return std::nullopt;
        const auto* const start = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset;
        const std::size_t size = std::min<std::size_t>(data.chunk->size, data.maxsize - data.chunk->offset);
        if ((static_cast<std::uint32_t>(data.chunk->flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0 || size == 0)
            return std::nullopt;
        if (isJpeg_) return jpeg_.decode(start, size);
        if (!format_) return std::nullopt;
        std::optional<ffmpeg::DevicePicture> picture;
        if (buffer.n_datas == 1) {
            picture = ffmpeg::pictureInBlock(*format_, size_.width, size_.height, start, size, data.chunk->stride);
        } else {
            picture = pictureInPlanes(buffer);
        }
        if (picture) {
            picture->isBt709 = isBt709_;
            picture->isFullRange = isFullRange_;
        }
        return picture;
    }

    // Each plane in a block of its own.
    std::optional<ffmpeg::DevicePicture> pictureInPlanes(const spa_buffer& buffer) const {
        std::vector<ffmpeg::PlaneBlock> blocks;
        for (std::uint32_t plane = 0; plane < buffer.n_datas; ++plane) {
            const spa_data& data = buffer.datas[plane];
            if (data.data == nullptr || data.chunk->offset > data.maxsize) return std::nullopt;
            const auto* const start = static_cast<const std::uint8_t*>(data.data) + data.chunk->offset;
            blocks.push_back({start, std::min<std::size_t>(data.chunk->size, data.maxsize - data.chunk->offset),
                              data.chunk->stride});
        }
        return ffmpeg::pictureInPlanes(*format_, size_.width, size_.height, blocks);
    }

    std::function<void(platform::DeviceSample)> handler_;
    ffmpeg::PictureToBgra toBgra_;
    platform::JpegDecoder jpeg_;
    platform::DeviceClock clock_;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    bool isBroken_ = false;
    bool isJpeg_ = false;
    std::optional<int> format_;
    PixelSize size_;
    std::optional<bool> isBt709_;
    std::optional<bool> isFullRange_;
};

CameraStream::CameraStream(PipeWireConnection& connection, const PipeWireConnection::Node& node,
                           std::optional<PixelSize> size, std::function<void(platform::DeviceSample)> handler)
    : impl_(std::make_unique<Impl>(connection, node, size, std::move(handler))) {}

CameraStream::~CameraStream() = default;

bool CameraStream::isBroken() const {
    return impl_->isBroken();
}

}  // namespace lumivastor::pipewire

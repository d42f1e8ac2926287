// SPDX-License-Identifier: GPL-3.0-or-later

// A camera for tests: a PipeWire video source with pictures of one grey, which grows by one from picture to picture.
//   video_source REMOTE NAME WIDTH HEIGHT [--bare] [--yuv]
// 30 pictures a second, BGRx or (--yuv) YUY2. --bare: without time stamps and with stride 0, as some sources are.

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

struct Source {
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_hook hook{};
    spa_source* timer = nullptr;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool isBare = false;
    bool isYuv = false;
    std::uint64_t count = 0;

    std::uint32_t bytesPerPixel() const { return isYuv ? 2 : 4; }
    std::uint32_t stride() const { return width * bytesPerPixel(); }
};

void runTimer(Source& source, bool isRunning) {
    timespec interval{0, 1000000000 / 30};
    timespec soon{0, 1};
    timespec never{0, 0};
    pw_loop* const loop = pw_main_loop_get_loop(source.loop);
    pw_loop_update_timer(loop, source.timer, isRunning ? &soon : &never, isRunning ? &interval : &never, false);
}

void takeFormat(Source& source, const spa_pod* format) {
    if (format == nullptr) return;
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    spa_pod_frame object{};
    spa_pod_frame choice{};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {4, 2, 8}) spa_pod_builder_int(&builder, count);
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_blocks, 0);
    spa_pod_builder_int(&builder, 1);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_size, 0);
    spa_pod_builder_int(&builder, static_cast<int>(source.stride() * source.height));
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_stride, 0);
    spa_pod_builder_int(&builder, static_cast<int>(source.stride()));
    std::array<const spa_pod*, 2> parameters{};
    parameters[0] = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_prop(&builder, SPA_PARAM_META_type, 0);
    spa_pod_builder_id(&builder, SPA_META_Header);
    spa_pod_builder_prop(&builder, SPA_PARAM_META_size, 0);
    spa_pod_builder_int(&builder, sizeof(spa_meta_header));
    parameters[1] = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object));
    pw_stream_update_params(source.stream, parameters.data(), source.isBare ? 1 : 2);
}

void deliver(Source& source) {
    pw_buffer* const buffer = pw_stream_dequeue_buffer(source.stream);
    if (buffer == nullptr) return;
    spa_data& data = buffer->buffer->datas[0];
    const auto grey = static_cast<std::uint8_t>(source.count);
    const std::uint32_t size = source.stride() * source.height;
    if (data.data != nullptr && data.maxsize >= size) {
        auto* const bytes = static_cast<std::uint8_t*>(data.data);
        std::memset(bytes, grey, size);
        if (source.isYuv) {
            for (std::uint32_t i = 1; i < size; i += 2) bytes[i] = 128;
        }
        data.chunk->offset = 0;
        data.chunk->size = size;
        data.chunk->stride = source.isBare ? 0 : static_cast<std::int32_t>(source.stride());
    }
    auto* const header = static_cast<spa_meta_header*>(
        spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header)));
    if (header != nullptr) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        header->pts = std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
        header->flags = 0;
        header->seq = source.count;
        header->dts_offset = 0;
    }
    ++source.count;
    pw_stream_queue_buffer(source.stream, buffer);
}

const spa_pod* offer(spa_pod_builder& builder, const Source& source) {
    spa_video_info_raw format{};
    format.format = source.isYuv ? SPA_VIDEO_FORMAT_YUY2 : SPA_VIDEO_FORMAT_BGRx;
    format.size = {source.width, source.height};
    format.framerate = {30, 1};
    return spa_format_video_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return 2;
    Source source;
    source.width = static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10));
    source.height = static_cast<std::uint32_t>(std::strtoul(argv[4], nullptr, 10));
    for (int i = 5; i < argc; ++i) {
        source.isBare = source.isBare || std::string(argv[i]) == "--bare";
        source.isYuv = source.isYuv || std::string(argv[i]) == "--yuv";
    }
    pw_init(nullptr, nullptr);
    source.loop = pw_main_loop_new(nullptr);
    pw_loop* const loop = pw_main_loop_get_loop(source.loop);
    pw_context* const context = pw_context_new(loop, nullptr, 0);
    pw_core* const core = pw_context_connect(context, pw_properties_new(PW_KEY_REMOTE_NAME, argv[1], nullptr), 0);
    if (core == nullptr) {
        std::fprintf(stderr, "no PipeWire server at %s\n", argv[1]);
        return 1;
    }
    source.timer = pw_loop_add_timer(
        loop, [](void* data, std::uint64_t) { pw_stream_trigger_process(static_cast<Source*>(data)->stream); },
        &source);
    source.stream =
        pw_stream_new(core, argv[2],
                      pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera",
                                        PW_KEY_NODE_NAME, argv[2], PW_KEY_NODE_DESCRIPTION, argv[2], nullptr));
    static constexpr pw_stream_events kEvents = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
            runTimer(*static_cast<Source*>(data), state == PW_STREAM_STATE_STREAMING);
        };
        events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
            if (id == SPA_PARAM_Format) takeFormat(*static_cast<Source*>(data), param);
        };
        events.process = [](void* data) { deliver(*static_cast<Source*>(data)); };
        return events;
    }();
    pw_stream_add_listener(source.stream, &source.hook, &kEvents, &source);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::array<const spa_pod*, 1> formats{offer(builder, source)};
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS);
    pw_stream_connect(source.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY, flags, formats.data(), 1);
    pw_main_loop_run(source.loop);
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/screen_source.h"

#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/format-utils.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "base/host_clock.h"
#include "support/await.h"

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor {
namespace {

constexpr std::uint32_t kLargestShape = 384;
constexpr std::size_t kCursorBytes =
    sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{kLargestShape} * kLargestShape * 4;
constexpr std::size_t kDamageRects = 4;
constexpr int kPushes = 5;
constexpr long kBetweenPushes = 4000000;  // ns

void addMeta(std::vector<const spa_pod*>& all, spa_pod_builder* builder, std::uint32_t type, std::size_t bytes) {
    spa_pod_frame object{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_prop(builder, SPA_PARAM_META_type, 0);
    spa_pod_builder_id(builder, type);
    spa_pod_builder_prop(builder, SPA_PARAM_META_size, 0);
    spa_pod_builder_int(builder, static_cast<int>(bytes));
    all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object)));
}

spa_region region(const PixelRect& rect) {
    return {{rect.x, rect.y}, {static_cast<std::uint32_t>(rect.width), static_cast<std::uint32_t>(rect.height)}};
}

template <typename T>
T* metaOf(spa_buffer* buffer, std::uint32_t type) {
    return static_cast<T*>(spa_buffer_find_meta_data(buffer, type, sizeof(T)));
}

}  // namespace

class ScreenSource::Impl {
  public:
    Impl(const std::string& remote, const Options& options) : options_(options), screen_(pixels()) {
        pw_init(nullptr, nullptr);
        loop_ = pw_thread_loop_new("screen.source", nullptr);
        context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
        core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, remote.c_str(), nullptr), 0);
        if (core_ == nullptr) {
            pw_context_destroy(context_);
            pw_thread_loop_destroy(loop_);
            throw std::runtime_error("no PipeWire server at " + remote);
        }
        connect();
        pw_loop* const loop = pw_thread_loop_get_loop(loop_);
        timer_ = pw_loop_add_timer(
            loop, [](void* data, std::uint64_t) { static_cast<Impl*>(data)->playOne(); }, this);
        pusher_ = pw_loop_add_timer(
            loop, [](void* data, std::uint64_t) { static_cast<Impl*>(data)->push(); }, this);
        pw_thread_loop_start(loop_);
        if (!await([this] { return node() != SPA_ID_INVALID; })) throw std::runtime_error("no node at " + remote);
    }
    ~Impl() {
        pw_thread_loop_stop(loop_);
        if (stream_ != nullptr) pw_stream_destroy(stream_);
        pw_core_disconnect(core_);
        for (spa_source* timer : {timer_, pusher_}) pw_loop_destroy_source(pw_thread_loop_get_loop(loop_), timer);
        pw_context_destroy(context_);
        pw_thread_loop_destroy(loop_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // Everything below runs with the loop locked, so that its thread waits.
    class Hold {
      public:
        explicit Hold(const Impl& impl) : loop_(impl.loop_) { pw_thread_loop_lock(loop_); }
        ~Hold() { pw_thread_loop_unlock(loop_); }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

      private:
        pw_thread_loop* loop_;
    };

    std::uint32_t node() const {
        const Hold hold(*this);
        return stream_ == nullptr ? SPA_ID_INVALID : pw_stream_get_node_id(stream_);
    }

    bool send(const Picture& picture);
    bool sendPointer();
    void play(std::uint32_t firstColour, int rate);
    void resize(PixelSize size);
    void end() {
        if (stream_ != nullptr) pw_stream_destroy(std::exchange(stream_, nullptr));
        isStreaming_ = false;
    }
    void pause(bool isPaused) {
        if (stream_ != nullptr) pw_stream_set_active(stream_, !isPaused);
    }

    struct Pointer {
        bool isThere = false;
        int x = 0;
        int y = 0;
        struct Shape {
            int width = 0;  // 0: hidden
            int height = 0;
            int hotSpotX = 0;
            int hotSpotY = 0;
            std::uint32_t colour = 0;
        };
        std::optional<Shape> newShape;
    };

    Options options_;
    Pointer pointer_;
    std::vector<std::uint32_t> screen_;
    std::vector<Sent> sent_;
    std::atomic<bool> isStreaming_ = false;
    std::atomic<int> maximumRate_ = 0;

  private:
    std::size_t pixels() const {
        return static_cast<std::size_t>(options_.size.width) * static_cast<std::size_t>(options_.size.height);
    }
    void connect();
    const spa_pod* format(spa_pod_builder* builder) const;
    void takeFormat(const spa_pod* param);
    void paint(const Picture& picture);
    void fill(spa_buffer* buffer, const Picture& picture);
    void tellPointer(spa_buffer* buffer);
    void playOne();
    void addMemory(spa_data& data) const;
    static void removeMemory(spa_data& data);
    bool queue(pw_buffer* buffer);
    void push();

    pw_thread_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    spa_source* timer_ = nullptr;
    spa_source* pusher_ = nullptr;
    int pushes_ = 0;
    std::uint32_t nextColour_ = 0;
    std::uint64_t sequence_ = 0;
};

void ScreenSource::Impl::connect() {
    stream_ = pw_stream_new(core_, "screen source",
                            pw_properties_new(PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_NODE_NAME, "screen", nullptr));
    static constexpr pw_stream_events kEvents = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
            static_cast<Impl*>(data)->isStreaming_ = state == PW_STREAM_STATE_STREAMING;
        };
        events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
            if (id == SPA_PARAM_Format) static_cast<Impl*>(data)->takeFormat(param);
        };
        events.add_buffer = [](void* data, pw_buffer* buffer) {
            const auto* const self = static_cast<Impl*>(data);
            if (self->options_.ownsMemory) self->addMemory(buffer->buffer->datas[0]);
        };
        events.remove_buffer = [](void* data, pw_buffer* buffer) {
            if (static_cast<Impl*>(data)->options_.ownsMemory) removeMemory(buffer->buffer->datas[0]);
        };
        return events;
    }();
    pw_stream_add_listener(stream_, &hook_, &kEvents, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* offer = format(&builder);
    const int allocation = options_.ownsMemory ? PW_STREAM_FLAG_ALLOC_BUFFERS : PW_STREAM_FLAG_MAP_BUFFERS;
    pw_stream_connect(stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                      static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | allocation), &offer, 1);
}

// Without seals, as some compositors do it.
void ScreenSource::Impl::addMemory(spa_data& data) const {
    const std::size_t bytes = pixels() * 4;
    const int file = ::memfd_create("screen", MFD_CLOEXEC);
    void* memory = MAP_FAILED;
    if (file >= 0 && ::ftruncate(file, static_cast<off_t>(bytes)) == 0) {
        memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    data.type = SPA_DATA_MemFd;
    data.flags = SPA_DATA_FLAG_READWRITE;
    data.fd = file;
    data.mapoffset = 0;
    data.maxsize = static_cast<std::uint32_t>(bytes);
    data.data = memory == MAP_FAILED ? nullptr : memory;
}

void ScreenSource::Impl::removeMemory(spa_data& data) {
    if (data.data != nullptr) ::munmap(data.data, data.maxsize);
    if (data.fd >= 0) ::close(static_cast<int>(data.fd));
    data.data = nullptr;
    data.fd = -1;
}

const spa_pod* ScreenSource::Impl::format(spa_pod_builder* builder) const {
    const auto property = [&](std::uint32_t key, std::uint32_t id) {
        spa_pod_builder_prop(builder, key, 0);
        spa_pod_builder_id(builder, id);
    };
    spa_pod_frame object{};
    spa_pod_frame choice{};
    spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    property(SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
    property(SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
    property(SPA_FORMAT_VIDEO_format, options_.isRedFirst ? SPA_VIDEO_FORMAT_RGBA : SPA_VIDEO_FORMAT_BGRx);
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(builder, static_cast<std::uint32_t>(options_.size.width),
                              static_cast<std::uint32_t>(options_.size.height));
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_framerate, 0);
    spa_pod_builder_fraction(builder, 0, 1);
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_maxFramerate, 0);
    spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
    for (const std::uint32_t rate : {60U, 1U, 60U}) spa_pod_builder_fraction(builder, rate, 1);
    spa_pod_builder_pop(builder, &choice);
    return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

void ScreenSource::Impl::takeFormat(const spa_pod* param) {
    spa_video_info_raw raw{};
    if (param == nullptr || spa_format_video_raw_parse(param, &raw) < 0) return;
    maximumRate_ = static_cast<int>(raw.max_framerate.num / std::max(raw.max_framerate.denom, 1U));
    std::array<std::uint8_t, 2048> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::vector<const spa_pod*> all;
    spa_pod_frame object{};
    spa_pod_frame choice{};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {4, 2, 8}) spa_pod_builder_int(&builder, count);
    spa_pod_builder_pop(&builder, &choice);
    const std::pair<std::uint32_t, int> numbers[] = {{SPA_PARAM_BUFFERS_blocks, 1},
                                                     {SPA_PARAM_BUFFERS_size, static_cast<int>(pixels() * 4)},
                                                     {SPA_PARAM_BUFFERS_stride, options_.size.width * 4}};
    for (const auto& [key, value] : numbers) {
        spa_pod_builder_prop(&builder, key, 0);
        spa_pod_builder_int(&builder, value);
    }
    spa_pod_builder_prop(&builder, SPA_PARAM_BUFFERS_dataType, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Flags, 0);
    spa_pod_builder_int(&builder, 1 << SPA_DATA_MemFd);
    spa_pod_builder_pop(&builder, &choice);
    all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &object)));
    addMeta(all, &builder, SPA_META_Header, sizeof(spa_meta_header));
    if (options_.hasDamage) addMeta(all, &builder, SPA_META_VideoDamage, kDamageRects * sizeof(spa_meta_region));
    if (options_.hasCrop) addMeta(all, &builder, SPA_META_VideoCrop, sizeof(spa_meta_region));
    if (options_.hasCursor) addMeta(all, &builder, SPA_META_Cursor, kCursorBytes);
    pw_stream_update_params(stream_, all.data(), static_cast<std::uint32_t>(all.size()));
}

void ScreenSource::Impl::paint(const Picture& picture) {
    const PixelRect all{0, 0, options_.size.width, options_.size.height};
    const auto fill = [&](const PixelRect& rect) {
        const PixelRect part = intersection(rect, all);
        for (int y = part.y; y < part.maxY(); ++y) {
            const auto row = screen_.begin() + static_cast<std::ptrdiff_t>(y) * all.width + part.x;
            std::fill(row, row + part.width, picture.colour);
        }
    };
    if (!picture.damage) fill(all);
    if (picture.damage) std::for_each(picture.damage->begin(), picture.damage->end(), fill);
}

bool ScreenSource::Impl::send(const Picture& picture) {
    pw_buffer* const taken = stream_ == nullptr || !isStreaming_ ? nullptr : pw_stream_dequeue_buffer(stream_);
    if (taken == nullptr) return false;
    spa_buffer* const buffer = taken->buffer;
    if (buffer->datas[0].data == nullptr || buffer->datas[0].maxsize < pixels() * 4) {
        // Of the size before.
        pw_stream_queue_buffer(stream_, taken);
        return false;
    }
    // What was cut off last time comes back empty.
    const auto file = static_cast<int>(buffer->datas[0].fd);
    if (options_.ownsMemory && ::ftruncate(file, static_cast<off_t>(pixels() * 4)) != 0) return false;
    if (!picture.isCorrupt) paint(picture);
    if (picture.pointerTo) {
        pointer_.isThere = true;
        pointer_.x = picture.pointerTo->x;
        pointer_.y = picture.pointerTo->y;
    }
    fill(buffer, picture);
    if (picture.keptBytes && ::ftruncate(file, static_cast<off_t>(*picture.keptBytes)) != 0) return false;
    tellPointer(buffer);
    const double now = hostClockSeconds();
    if (auto* const header = metaOf<spa_meta_header>(buffer, SPA_META_Header)) {
        *header = {};
        header->pts = picture.age ? static_cast<std::int64_t>((now - *picture.age) * 1e9) : 0;
        header->flags = picture.isCorrupt ? SPA_META_HEADER_FLAG_CORRUPTED : 0;
        header->seq = ++sequence_;
    }
    sent_.push_back(
        {picture.isCorrupt ? Sent::Kind::corrupt : Sent::Kind::picture, now, picture.colour, pointer_.x, pointer_.y});
    return queue(taken);
}

// Pixels and what describes them. Corrupt pictures are white.
void ScreenSource::Impl::fill(spa_buffer* buffer, const Picture& picture) {
    spa_data& data = buffer->datas[0];
    auto* target = static_cast<std::uint8_t*>(data.data);
    for (const std::uint32_t colour : screen_) {
        const std::uint32_t shown = picture.isCorrupt ? 0xffffff : colour;
        const auto red = static_cast<std::uint8_t>(shown >> 16U);
        const auto blue = static_cast<std::uint8_t>(shown);
        target[0] = options_.isRedFirst ? red : blue;
        target[1] = static_cast<std::uint8_t>(shown >> 8U);
        target[2] = options_.isRedFirst ? blue : red;
        target[3] = 0;
        target += 4;
    }
    data.chunk->offset = picture.chunkOffset.value_or(0);
    data.chunk->size = picture.chunkSize.value_or(static_cast<std::uint32_t>(pixels() * 4));
    data.chunk->stride = picture.stride.value_or(options_.size.width * 4);
    data.chunk->flags = picture.isCorrupt ? SPA_CHUNK_FLAG_CORRUPTED : 0;
    if (auto* const crop = metaOf<spa_meta_region>(buffer, SPA_META_VideoCrop)) {
        crop->region = region(picture.crop.value_or(PixelRect{}));
    }
    if (spa_meta* const damage = spa_buffer_find_meta(buffer, SPA_META_VideoDamage)) {
        auto* rects = static_cast<spa_meta_region*>(damage->data);
        for (std::size_t i = 0; i < kDamageRects; ++i) {
            const bool isTold = picture.damage && i < picture.damage->size();
            rects[i].region = region(isTold ? (*picture.damage)[i] : PixelRect{});
        }
    }
}

void ScreenSource::Impl::tellPointer(spa_buffer* buffer) {
    auto* const cursor = metaOf<spa_meta_cursor>(buffer, SPA_META_Cursor);
    if (cursor == nullptr) return;
    *cursor = {};
    if (!pointer_.isThere) return;
    cursor->id = 1;
    cursor->position = {pointer_.x, pointer_.y};
    if (!pointer_.newShape) return;
    const Pointer::Shape shape = *std::exchange(pointer_.newShape, std::nullopt);
    cursor->bitmap_offset = sizeof(spa_meta_cursor);
    auto* const bitmap = SPA_PTROFF(cursor, cursor->bitmap_offset, spa_meta_bitmap);
    *bitmap = {};
    if (shape.width == 0) return;
    cursor->hotspot = {shape.hotSpotX, shape.hotSpotY};
    *bitmap = {SPA_VIDEO_FORMAT_RGBA,
               {static_cast<std::uint32_t>(shape.width), static_cast<std::uint32_t>(shape.height)},
               shape.width * 4,
               sizeof(spa_meta_bitmap)};
    auto* pixel = SPA_PTROFF(bitmap, bitmap->offset, std::uint8_t);
    for (int i = 0; i < shape.width * shape.height; ++i, pixel += 4) {
        pixel[0] = static_cast<std::uint8_t>(shape.colour >> 16U);
        pixel[1] = static_cast<std::uint8_t>(shape.colour >> 8U);
        pixel[2] = static_cast<std::uint8_t>(shape.colour);
        pixel[3] = 255;
    }
}

// As Mutter and KWin do it: no pixels, called corrupt, with a stamp that means nothing.
bool ScreenSource::Impl::sendPointer() {
    pw_buffer* const taken = stream_ == nullptr || !isStreaming_ ? nullptr : pw_stream_dequeue_buffer(stream_);
    if (taken == nullptr) return false;
    spa_chunk* const chunk = taken->buffer->datas[0].chunk;
    *chunk = {};
    chunk->flags = SPA_CHUNK_FLAG_CORRUPTED;
    if (auto* const header = metaOf<spa_meta_header>(taken->buffer, SPA_META_Header)) {
        *header = {};
        header->pts = static_cast<std::int64_t>((hostClockSeconds() - 0.5) * 1e9);
    }
    tellPointer(taken->buffer);
    sent_.push_back({Sent::Kind::cursor, hostClockSeconds(), 0, pointer_.x, pointer_.y});
    return queue(taken);
}

// A buffer that is sent while the receiver still works on the one before stays here until the next cycle. Compositors
// draw on; this one may have nothing more to send, and so starts a few more.
bool ScreenSource::Impl::queue(pw_buffer* buffer) {
    const bool isQueued = pw_stream_queue_buffer(stream_, buffer) >= 0;
    pushes_ = kPushes;
    timespec soon{0, 1};
    timespec each{0, kBetweenPushes};
    pw_loop_update_timer(pw_thread_loop_get_loop(loop_), pusher_, &soon, &each, false);
    return isQueued;
}

void ScreenSource::Impl::push() {
    if (stream_ != nullptr && isStreaming_) pw_stream_trigger_process(stream_);
    timespec never{};
    if (--pushes_ <= 0) pw_loop_update_timer(pw_thread_loop_get_loop(loop_), pusher_, &never, &never, false);
}

void ScreenSource::Impl::play(std::uint32_t firstColour, int rate) {
    nextColour_ = firstColour;
    timespec soon{0, rate > 0 ? 1 : 0};
    timespec each{rate == 1 ? 1 : 0, rate > 1 ? 1000000000L / rate : 0};
    pw_loop_update_timer(pw_thread_loop_get_loop(loop_), timer_, &soon, &each, false);
}

void ScreenSource::Impl::playOne() {
    Picture picture;
    picture.colour = nextColour_;
    if (send(picture)) nextColour_ = (nextColour_ & 0xffff00U) | ((nextColour_ + 1) & 0xffU);
}

void ScreenSource::Impl::resize(PixelSize size) {
    options_.size = size;
    screen_.assign(pixels(), 0);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* offer = format(&builder);
    pw_stream_update_params(stream_, &offer, 1);
}

UniqueDescriptor connectedSocket(const std::string& path) {
    UniqueDescriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long for a socket: " + path);
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) connection.reset();
    return connection;
}

ScreenSource::ScreenSource(const std::string& remote, const Options& options)
    : impl_(std::make_unique<Impl>(remote, options)) {}

ScreenSource::~ScreenSource() = default;

std::uint32_t ScreenSource::node() const {
    return impl_->node();
}

bool ScreenSource::isStreaming() const {
    return impl_->isStreaming_;
}

int ScreenSource::maximumRate() const {
    return impl_->maximumRate_;
}

bool ScreenSource::send(const Picture& picture) {
    const Impl::Hold hold(*impl_);
    return impl_->send(picture);
}

void ScreenSource::play(std::uint32_t firstColour, int rate) {
    const Impl::Hold hold(*impl_);
    impl_->play(firstColour, rate);
}

bool ScreenSource::movePointer(int x, int y) {
    const Impl::Hold hold(*impl_);
    impl_->pointer_.isThere = true;
    impl_->pointer_.x = x;
    impl_->pointer_.y = y;
    return impl_->sendPointer();
}

bool ScreenSource::setShape(int width, int height, int hotSpotX, int hotSpotY, std::uint32_t colour) {
    const Impl::Hold hold(*impl_);
    impl_->pointer_.newShape = {width, height, hotSpotX, hotSpotY, colour};
    return impl_->sendPointer();
}

bool ScreenSource::hideShape() {
    const Impl::Hold hold(*impl_);
    impl_->pointer_.newShape = Impl::Pointer::Shape{};
    return impl_->sendPointer();
}

bool ScreenSource::removePointer() {
    const Impl::Hold hold(*impl_);
    impl_->pointer_.isThere = false;
    return impl_->sendPointer();
}

void ScreenSource::resize(PixelSize size) {
    const Impl::Hold hold(*impl_);
    impl_->resize(size);
}

void ScreenSource::pause(bool isPaused) {
    const Impl::Hold hold(*impl_);
    impl_->pause(isPaused);
}

void ScreenSource::end() {
    const Impl::Hold hold(*impl_);
    impl_->end();
}

std::vector<ScreenSource::Sent> ScreenSource::sent() const {
    const Impl::Hold hold(*impl_);
    return impl_->sent_;
}

std::uint32_t ScreenSource::pixel(int x, int y) const {
    const Impl::Hold hold(*impl_);
    return impl_->screen_.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(impl_->options_.size.width) +
                             static_cast<std::size_t>(x));
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_stream.h"

#include <fcntl.h>
#include <pipewire/pipewire.h>
#include <spa/buffer/meta.h>
#include <spa/pod/builder.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "platform/pipewire/screen_formats.h"

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

constexpr const char* kUnusable = "Der freigegebene Bildschirm kann nicht aufgenommen werden.";
constexpr const char* kEnded = "Der Desktop hat die Freigabe des Bildschirms beendet.";
constexpr const char* kServerLost = "Der PipeWire-Server wurde beendet.";

// A stamp that is older than this, or in the future, is no time of a picture that has just come.
constexpr double kOldestStamp = 1;

std::span<const std::byte> metaBytes(const spa_buffer& buffer, std::uint32_t type) {
    const spa_meta* const meta = spa_buffer_find_meta(&buffer, type);
    if (meta == nullptr || meta->data == nullptr) return {};
    return {static_cast<const std::byte*>(meta->data), meta->size};
}

// The metadata is in memory that the producer may write to at any time: each value is copied once, then checked.
template <typename T>
std::optional<T> metaValue(const spa_buffer& buffer, std::uint32_t type) {
    const auto bytes = metaBytes(buffer, type);
    if (bytes.size() < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

// The part of a producer's region that lies in `bounds`; empty when there is none.
PixelRect clipped(const spa_region& region, const PixelRect& bounds) {
    const auto clip = [](std::int64_t start, std::uint32_t length, int low, int high) {
        const std::int64_t end = start + length;
        return std::pair(static_cast<int>(std::clamp<std::int64_t>(start, low, high)),
                         static_cast<int>(std::clamp<std::int64_t>(end, low, high)));
    };
    const auto [left, right] = clip(region.position.x, region.size.width, bounds.x, bounds.maxX());
    const auto [top, bottom] = clip(region.position.y, region.size.height, bounds.y, bounds.maxY());
    const PixelRect rect{left, top, right - left, bottom - top};
    return rect.isEmpty() ? PixelRect{} : rect;
}

// The pixels' part of a buffer that is the picture.
PixelRect cropOf(const spa_buffer& buffer, PixelSize size) {
    const PixelRect all{0, 0, size.width, size.height};
    const auto crop = metaValue<spa_meta_region>(buffer, SPA_META_VideoCrop);
    if (!crop) return all;
    const PixelRect part = clipped(crop->region, all);
    return part.isEmpty() ? all : part;
}

// In pixels of the upright picture. nullopt when the producer does not tell.
std::optional<std::vector<PixelRect>> damageOf(const spa_buffer& buffer, const PixelRect& crop,
                                               platform::PictureTurn turn) {
    const auto bytes = metaBytes(buffer, SPA_META_VideoDamage);
    std::optional<std::vector<PixelRect>> damage;
    for (std::size_t at = 0; bytes.size() - at >= sizeof(spa_meta_region); at += sizeof(spa_meta_region)) {
        spa_meta_region one{};
        std::memcpy(&one, bytes.data() + at, sizeof one);
        if (!spa_meta_region_is_valid(&one)) break;
        if (!damage) damage.emplace();
        const PixelRect rect = clipped(one.region, crop);
        if (rect.isEmpty()) continue;
        damage->push_back(platform::uprightRect(rect.movedBy(-crop.x, -crop.y), {crop.width, crop.height}, turn));
    }
    return damage;
}

// In bytes from the buffer's first pixel.
std::size_t startOfCrop(std::size_t stride, const PixelRect& crop) {
    return static_cast<std::size_t>(crop.y) * stride + static_cast<std::size_t>(crop.x) * 4;
}

// Whether the buffer's memory cannot shrink below what is mapped. Reading mapped memory whose file was made smaller
// ends the program. Memory of the server itself (MemPtr) is always sealed.
bool staysMapped(const spa_data& data) {
    if (data.type != SPA_DATA_MemFd) return true;
    const auto file = static_cast<int>(data.fd);
    const int seals = ::fcntl(file, F_GET_SEALS);
    struct stat state {};
    return seals >= 0 && (seals & F_SEAL_SHRINK) != 0 && ::fstat(file, &state) == 0 &&
           state.st_size >= static_cast<off_t>(data.mapoffset) + static_cast<off_t>(data.maxsize);
}

}  // namespace

class ScreenStream::Impl {
  public:
    Impl(PipeWireConnection& connection, std::uint32_t node, const Options& options, Callbacks callbacks);
    ~Impl() { destroyStream(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    std::optional<PixelSize> bufferSize() const {
        return format_ ? std::optional<PixelSize>(format_->size) : std::nullopt;
    }
    bool isStreaming() const { return isStreaming_; }
    bool hasEnded() const { return hasEnded_; }
    Counts counts() const { return counts_; }

  private:
    // What a buffer holds besides metadata.
    enum class Content { picture, nothing, corrupt, unreadable };
    // Where a picture's pixels are in memory that its producer can shrink.
    struct Loose {
        int file = -1;
        off_t offset = 0;       // of the buffer's first row
        std::size_t bytes = 0;  // of all rows
    };
    struct Read {
        Content content = Content::nothing;
        ScreenPicture picture;  // only of a picture
        std::optional<Loose> loose;
    };

    // Without its events: its end is the owner's wish and no news.
    void destroyStream() {
        spa_hook_remove(&hook_);
        pw_stream_destroy(stream_);
    }
    void takeState(pw_stream_state state, const char* error);
    void takeFormat(const spa_pod* param);
    void process();
    Read read(const spa_buffer& buffer, double arrival) const;
    void addDamage(const ScreenPicture& picture);
    void handOver(Read& read);
    bool copyLoose(const Loose& loose, ScreenPicture& picture);
    void end(const char* reason);

    const PipeWireConnection& connection_;
    Callbacks callbacks_;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    std::optional<ScreenFormat> format_;
    bool isStreaming_ = false;
    bool hasEnded_ = false;
    CursorMetaReader cursors_;
    // Since the last picture that was handed over, in pixels of the picture that the two below describe; nullopt:
    // everything.
    std::optional<std::vector<PixelRect>> damage_;
    PixelRect crop_;
    platform::PictureTurn turn_ = platform::PictureTurn::none;
    std::vector<std::uint8_t> copy_;  // of the last picture in memory that can shrink: the rows that were needed
    Counts counts_;
};

ScreenStream::Impl::Impl(PipeWireConnection& connection, std::uint32_t node, const Options& options,
                         Callbacks callbacks)
    : connection_(connection), callbacks_(std::move(callbacks)) {
    stream_ = pw_stream_new(
        connection.core(), "Bildschirm",
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Screen",
                          PW_KEY_APP_NAME, "LumiVastor", PW_KEY_NODE_NAME, "lumivastor", nullptr));
    if (stream_ == nullptr) throw RecorderError(kUnusable);
    static constexpr pw_stream_events kEvents = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char* error) {
            static_cast<Impl*>(data)->takeState(state, error);
        };
        events.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
            if (id == SPA_PARAM_Format) static_cast<Impl*>(data)->takeFormat(param);
        };
        events.process = [](void* data) { static_cast<Impl*>(data)->process(); };
        return events;
    }();
    pw_stream_add_listener(stream_, &hook_, &kEvents, this);
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    const spa_pod* offer = screenFormatOffer(&builder, options.maximumRate);
    // Without DONT_RECONNECT a stream whose node has gone just pauses, as it does when the screen is switched off.
    const auto flags = static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                                    PW_STREAM_FLAG_DONT_RECONNECT);
    if (pw_stream_connect(stream_, PW_DIRECTION_INPUT, node, flags, &offer, 1) < 0) {
        destroyStream();
        throw RecorderError(kUnusable);
    }
}

void ScreenStream::Impl::takeState(pw_stream_state state, const char* error) {
    if (error != nullptr) Log::write("Capture", std::string("screen stream: ") + error);
    const bool isStreaming = state == PW_STREAM_STATE_STREAMING;
    if (isStreaming != isStreaming_) {
        isStreaming_ = isStreaming;
        // What happened while nothing came is in no damage.
        damage_.reset();
        if (!hasEnded_ && callbacks_.streamingChanged) callbacks_.streamingChanged(isStreaming);
    }
    if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
        end(connection_.isAlive() ? kEnded : kServerLost);
    }
}

void ScreenStream::Impl::end(const char* reason) {
    if (std::exchange(hasEnded_, true)) return;
    if (callbacks_.ended) callbacks_.ended(reason);
}

void ScreenStream::Impl::takeFormat(const spa_pod* param) {
    damage_.reset();
    format_.reset();
    // Null while a new format is being agreed on.
    if (param == nullptr || hasEnded_) return;
    format_ = agreedScreenFormat(param);
    if (!format_) {
        pw_stream_set_error(stream_, -EINVAL, "unreadable format");
        return;
    }
    std::array<std::uint8_t, kScreenBufferBytes> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    std::vector<const spa_pod*> parameters = screenBufferParameters(&builder);
    pw_stream_update_params(stream_, parameters.data(), static_cast<std::uint32_t>(parameters.size()));
    if (callbacks_.formatChanged) callbacks_.formatChanged(format_->size);
}

// Few buffers exist: each goes back as soon as it is read, only the newest picture stays until all are.
void ScreenStream::Impl::process() {
    const double arrival = hostClockSeconds();
    pw_buffer* newest = nullptr;
    Read newestRead;
    while (pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_)) {
        Read found = read(*buffer->buffer, arrival);
        if (found.content == Content::nothing) ++counts_.cursorOnly;
        if (found.content == Content::corrupt) ++counts_.corrupt;
        if (found.content == Content::unreadable) ++counts_.unreadable;
        const bool isPicture = found.content == Content::picture;
        const auto cursor =
            cursors_.read(metaBytes(*buffer->buffer, SPA_META_Cursor), isPicture ? found.picture.hostSeconds : arrival);
        if (cursor) {
            ++counts_.cursors;
            if (callbacks_.cursor && !hasEnded_) callbacks_.cursor(*cursor);
        }
        if (isPicture) {
            addDamage(found.picture);
            if (newest != nullptr) {
                ++counts_.leftOut;
                pw_stream_queue_buffer(stream_, newest);
            }
            newest = buffer;
            newestRead = std::move(found);
        } else {
            // Pixels were drawn that could not be read; what they changed is in no later damage.
            if (found.content != Content::nothing) damage_.reset();
            pw_stream_queue_buffer(stream_, buffer);
        }
    }
    if (newest == nullptr) return;
    handOver(newestRead);
    pw_stream_queue_buffer(stream_, newest);
}

ScreenStream::Impl::Read ScreenStream::Impl::read(const spa_buffer& buffer, double arrival) const {
    const auto header = metaValue<spa_meta_header>(buffer, SPA_META_Header);
    if (buffer.n_datas == 0 || buffer.datas[0].chunk == nullptr) return {};
    const spa_data& data = buffer.datas[0];
    spa_chunk chunk{};
    std::memcpy(&chunk, data.chunk, sizeof chunk);
    // Producers send the pointer's moves in such buffers. Their pixels are old ones or none, and so is their stamp.
    if (chunk.size == 0) return {};
    const bool isCorrupt = (static_cast<std::uint32_t>(chunk.flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0 ||
                           (header && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0);
    if (isCorrupt) return {Content::corrupt, {}, {}};

    const bool isMapped = (data.type == SPA_DATA_MemFd || data.type == SPA_DATA_MemPtr) && data.data != nullptr;
    if (!format_ || !isMapped || chunk.offset > data.maxsize || chunk.stride <= 0) return {Content::unreadable, {}, {}};
    const auto stride = static_cast<std::size_t>(chunk.stride);
    const std::size_t rowBytes = static_cast<std::size_t>(format_->size.width) * 4;
    const std::size_t present = std::min(chunk.size, data.maxsize - chunk.offset);
    const std::size_t needed = stride * static_cast<std::size_t>(format_->size.height - 1) + rowBytes;
    if (stride < rowBytes || present < needed) return {Content::unreadable, {}, {}};

    ScreenPicture picture;
    picture.stride = stride;
    picture.isRedFirst = format_->isRedFirst;
    picture.crop = cropOf(buffer, format_->size);
    picture.pixels = static_cast<const std::uint8_t*>(data.data) + chunk.offset + startOfCrop(stride, picture.crop);
    if (const auto turned = metaValue<spa_meta_videotransform>(buffer, SPA_META_VideoTransform)) {
        picture.turn = platform::pictureTurn(turned->transform);
    }
    picture.damage = damageOf(buffer, picture.crop, picture.turn);
    if (header && (header->flags & SPA_META_HEADER_FLAG_DISCONT) != 0) picture.damage.reset();
    const double stamp = header ? static_cast<double>(header->pts) * 1e-9 : 0;
    picture.hostSeconds = stamp >= arrival - kOldestStamp && stamp <= arrival ? stamp : arrival;
    Read found{Content::picture, std::move(picture), std::nullopt};
    if (!staysMapped(data)) {
        found.loose = Loose{static_cast<int>(data.fd), static_cast<off_t>(data.mapoffset) + chunk.offset, needed};
    }
    return found;
}

void ScreenStream::Impl::addDamage(const ScreenPicture& picture) {
    if (damage_ && picture.damage && picture.crop == crop_ && picture.turn == turn_) {
        damage_->insert(damage_->end(), picture.damage->begin(), picture.damage->end());
    } else {
        damage_.reset();
    }
    crop_ = picture.crop;
    turn_ = picture.turn;
}

void ScreenStream::Impl::handOver(Read& read) {
    ScreenPicture& picture = read.picture;
    picture.damage = std::exchange(damage_, std::vector<PixelRect>());
    if (read.loose && !copyLoose(*read.loose, picture)) {
        ++counts_.unreadable;
        damage_.reset();
        return;
    }
    ++counts_.pictures;
    if (callbacks_.picture && !hasEnded_) callbacks_.picture(picture);
}

// The kernel copies what is still there, where touching mapped memory that is gone would end the program. Only the rows
// that anybody will read: those of the damage.
bool ScreenStream::Impl::copyLoose(const Loose& loose, ScreenPicture& picture) {
    if (copy_.size() != loose.bytes) {
        copy_.assign(loose.bytes, 0);
        picture.damage.reset();
    }
    int top = 0;
    int bottom = picture.crop.height;
    if (picture.damage) {
        std::swap(top, bottom);
        for (const PixelRect& rect : *picture.damage) {
            const PixelRect rows =
                platform::rectInBuffer(rect, {picture.crop.width, picture.crop.height}, picture.turn);
            top = std::min(top, rows.y);
            bottom = std::max(bottom, rows.maxY());
        }
    }
    const std::size_t start = startOfCrop(picture.stride, picture.crop);
    picture.pixels = copy_.data() + start;
    if (top >= bottom) return true;
    const std::size_t first = start + static_cast<std::size_t>(top) * picture.stride;
    std::size_t left =
        static_cast<std::size_t>(bottom - top - 1) * picture.stride + static_cast<std::size_t>(picture.crop.width) * 4;
    for (std::size_t at = first; left > 0;) {
        const ssize_t got = ::pread(loose.file, copy_.data() + at, left, loose.offset + static_cast<off_t>(at));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        at += static_cast<std::size_t>(got);
        left -= static_cast<std::size_t>(got);
    }
    return true;
}

ScreenStream::ScreenStream(PipeWireConnection& connection, std::uint32_t node, const Options& options,
                           Callbacks callbacks)
    : impl_(std::make_unique<Impl>(connection, node, options, std::move(callbacks))) {}

ScreenStream::~ScreenStream() = default;

std::optional<PixelSize> ScreenStream::bufferSize() const {
    return impl_->bufferSize();
}

bool ScreenStream::isStreaming() const {
    return impl_->isStreaming();
}

bool ScreenStream::hasEnded() const {
    return impl_->hasEnded();
}

ScreenStream::Counts ScreenStream::counts() const {
    return impl_->counts();
}

}  // namespace lumivastor::pipewire

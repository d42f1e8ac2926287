// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/screen_copier.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <utility>

#include "base/host_clock.h"
#include "base/unique_descriptor.h"
#include "imaging/picture_limits.h"
#include "platform/pipewire/screen_picture.h"
#include "platform/wayland/wayland_events.h"

namespace lumivastor::wayland {
namespace {

constexpr double kAnswerSeconds = 0.5;

// The first version of wlroots' protocol extension for copies of a screen, as far as it is used here. A manager makes a
// frame for a screen; the frame describes the memory that it wants, takes it, and says whether it has filled it.
constexpr std::uint32_t kManagerCaptureOutput = 0;  // new frame, whether with the pointer, screen
constexpr std::uint32_t kManagerDestroy = 2;
constexpr std::uint32_t kFrameCopy = 0;  // into a buffer
constexpr std::uint32_t kFrameDestroy = 1;
constexpr std::uint32_t kUpsideDown = 1;  // a flag of a frame

extern const wl_interface kFrameInterface;
std::array<const wl_interface*, 8> captureTypes{&kFrameInterface, nullptr, &wl_output_interface};
std::array<const wl_interface*, 8> regionTypes{&kFrameInterface, nullptr, &wl_output_interface};
std::array<const wl_interface*, 1> bufferTypes{&wl_buffer_interface};
std::array<const wl_interface*, 4> plainTypes{};

constexpr std::array kManagerRequests{wl_message{"capture_output", "nio", captureTypes.data()},
                                      wl_message{"capture_output_region", "nioiiii", regionTypes.data()},
                                      wl_message{"destroy", "", plainTypes.data()}};
constexpr std::array kFrameRequests{wl_message{"copy", "o", bufferTypes.data()},
                                    wl_message{"destroy", "", plainTypes.data()}};
constexpr std::array kFrameEvents{
    wl_message{"buffer", "uuuu", plainTypes.data()}, wl_message{"flags", "u", plainTypes.data()},
    wl_message{"ready", "uuu", plainTypes.data()}, wl_message{"failed", "", plainTypes.data()}};
const wl_interface kManagerInterface{"zwlr_screencopy_manager_v1", 1, static_cast<int>(kManagerRequests.size()),
                                     kManagerRequests.data(),      0, nullptr};
const wl_interface kFrameInterface{"zwlr_screencopy_frame_v1",
                                   1,
                                   static_cast<int>(kFrameRequests.size()),
                                   kFrameRequests.data(),
                                   static_cast<int>(kFrameEvents.size()),
                                   kFrameEvents.data()};

// The functions of a frame's events, in the order of the messages above.
struct FrameListener {
    void (*buffer)(void* data, wl_proxy*, std::uint32_t format, std::uint32_t width, std::uint32_t height,
                   std::uint32_t stride);
    void (*flags)(void* data, wl_proxy*, std::uint32_t flags);
    void (*ready)(void* data, wl_proxy*, std::uint32_t, std::uint32_t, std::uint32_t);
    void (*failed)(void* data, wl_proxy*);
};

// What a frame has said so far.
struct FrameState {
    std::uint32_t format = 0;
    int width = 0;
    int height = 0;
    std::size_t stride = 0;
    std::uint32_t flags = 0;
    bool isDescribed = false;
    bool isReady = false;
    double hostSeconds = 0;  // of the content; the compositor's clock is the host clock
    bool hasFailed = false;
};

const FrameListener kFrameListener{
    .buffer =
        [](void* data, wl_proxy*, std::uint32_t format, std::uint32_t width, std::uint32_t height,
           std::uint32_t stride) {
            auto& own = *static_cast<FrameState*>(data);
            own.format = format;
            own.width = static_cast<int>(std::min<std::uint32_t>(width, imaging::kMaxPictureEdge + 1));
            own.height = static_cast<int>(std::min<std::uint32_t>(height, imaging::kMaxPictureEdge + 1));
            own.stride = stride;
            own.isDescribed = true;
        },
    .flags = [](void* data, wl_proxy*, std::uint32_t flags) { static_cast<FrameState*>(data)->flags = flags; },
    .ready =
        [](void* data, wl_proxy*, std::uint32_t secondsHigh, std::uint32_t secondsLow, std::uint32_t nanoseconds) {
            auto& own = *static_cast<FrameState*>(data);
            own.isReady = true;
            own.hostSeconds =
                std::ldexp(static_cast<double>(secondsHigh), 32) + static_cast<double>(secondsLow) + nanoseconds * 1e-9;
        },
    .failed = [](void* data, wl_proxy*) { static_cast<FrameState*>(data)->hasFailed = true; },
};

// Memory that the compositor writes to.
class SharedMemory {
  public:
    explicit SharedMemory(std::size_t size)
        : size_(size), file_(::memfd_create("screen-copy", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
        if (!file_.isOpen() || ::ftruncate(file_.get(), static_cast<off_t>(size)) != 0) return;
        // Reading mapped memory whose file was made smaller would end the program.
        if (::fcntl(file_.get(), F_ADD_SEALS, F_SEAL_SHRINK) != 0) return;
        void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file_.get(), 0);
        if (memory != MAP_FAILED) bytes_ = static_cast<std::uint8_t*>(memory);
    }
    ~SharedMemory() {
        if (bytes_ != nullptr) ::munmap(bytes_, size_);
    }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    const std::uint8_t* bytes() const { return bytes_; }  // null without memory
    int file() const { return file_.get(); }

  private:
    const std::size_t size_;
    const UniqueDescriptor file_;
    std::uint8_t* bytes_ = nullptr;
};

bool isRedFirst(std::uint32_t format) {
    return format == WL_SHM_FORMAT_XBGR8888 || format == WL_SHM_FORMAT_ABGR8888;
}

bool isReadable(const FrameState& state) {
    const bool isKnown =
        isRedFirst(state.format) || state.format == WL_SHM_FORMAT_XRGB8888 || state.format == WL_SHM_FORMAT_ARGB8888;
    return isKnown && imaging::isDecodablePictureSize(state.width, state.height) &&
           state.stride >= static_cast<std::size_t>(state.width) * 4 && state.stride <= std::size_t{1} << 20;
}

imaging::BgraPremultipliedBuffer pictureOf(const FrameState& state, const std::uint8_t* bytes) {
    imaging::BgraPremultipliedBuffer picture(state.width, state.height);
    const bool isUpsideDown = (state.flags & kUpsideDown) != 0;
    for (int y = 0; y < state.height; ++y) {
        const int row = isUpsideDown ? state.height - 1 - y : y;
        pipewire::ScreenPicture line;
        line.pixels = bytes + static_cast<std::size_t>(row) * state.stride - static_cast<std::size_t>(y) * state.stride;
        line.stride = state.stride;
        line.isRedFirst = isRedFirst(state.format);
        line.crop = {0, 0, state.width, state.height};
        pipewire::copyOpaque(line, {0, y, state.width, 1}, picture);
    }
    return picture;
}

}  // namespace

class ScreenCopier::Impl {
  public:
    explicit Impl(const std::string& display) : display_(connectWayland(display)) {}
    ~Impl() {
        for (const Screen& screen : screens_) wl_output_destroy(screen.output);
        if (manager_ != nullptr) {
            wl_proxy_marshal_flags(manager_, kManagerDestroy, nullptr, 1, WL_MARSHAL_FLAG_DESTROY);
        }
        if (memory_ != nullptr) wl_shm_destroy(memory_);
        if (registry_ != nullptr) wl_registry_destroy(registry_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool find(const std::string& output) {
        if (!display_) return false;
        static constexpr wl_registry_listener kEvents{
            .global = [](void* data, wl_registry*, std::uint32_t name, const char* interface,
                         std::uint32_t version) { static_cast<Impl*>(data)->bind(name, interface, version); },
            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
        const double until = hostClockSeconds() + kAnswerSeconds;
        registry_ = wl_display_get_registry(display_.get());
        wl_registry_add_listener(registry_, &kEvents, this);
        if (!roundtrip(display_.get(), until) || manager_ == nullptr || memory_ == nullptr) return false;
        if (!roundtrip(display_.get(), until)) return false;  // the screens' names
        const auto found =
            std::find_if(screens_.begin(), screens_.end(), [&](const Screen& screen) { return screen.name == output; });
        if (found == screens_.end()) return false;
        screen_ = &*found;
        return true;
    }

    platform::PictureTurn turn() const { return screen_->turn; }
    double hostSeconds() const { return hostSeconds_; }

    std::optional<imaging::BgraPremultipliedBuffer> copy(bool withPointer) {
        FrameState state;
        wl_proxy* const frame = wl_proxy_marshal_flags(manager_, kManagerCaptureOutput, &kFrameInterface, 1, 0, nullptr,
                                                       withPointer ? 1 : 0, screen_->output);
        if (frame == nullptr) return std::nullopt;
        // The library takes a listener as a list of functions.
        auto* const functions = reinterpret_cast<void (**)()>(const_cast<FrameListener*>(&kFrameListener));
        wl_proxy_add_listener(frame, functions, &state);
        auto picture = copyFrame(frame, state);
        wl_proxy_marshal_flags(frame, kFrameDestroy, nullptr, 1, WL_MARSHAL_FLAG_DESTROY);
        wl_display_flush(display_.get());
        return picture;
    }

  private:
    struct Screen {
        wl_output* output = nullptr;
        std::string name;
        platform::PictureTurn turn = platform::PictureTurn::none;
    };

    void bind(std::uint32_t name, const char* interface, std::uint32_t version) {
        constexpr std::uint32_t kVersionWithNames = 4;
        const auto is = [&](const wl_interface& other) { return std::strcmp(interface, other.name) == 0; };
        if (is(kManagerInterface)) {
            manager_ = static_cast<wl_proxy*>(wl_registry_bind(registry_, name, &kManagerInterface, 1));
        } else if (is(wl_shm_interface)) {
            memory_ = static_cast<wl_shm*>(wl_registry_bind(registry_, name, &wl_shm_interface, 1));
        } else if (is(wl_output_interface) && version >= kVersionWithNames) {
            Screen& screen = screens_.emplace_back();
            screen.output =
                static_cast<wl_output*>(wl_registry_bind(registry_, name, &wl_output_interface, kVersionWithNames));
            static constexpr wl_output_listener kEvents{
                .geometry =
                    [](void* data, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                       const char*, const char*, std::int32_t transform) {
                        static_cast<Screen*>(data)->turn = platform::pictureTurn(static_cast<std::uint32_t>(transform));
                    },
                .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
                .done = [](void*, wl_output*) {},
                .scale = [](void*, wl_output*, std::int32_t) {},
                .name = [](void* data, wl_output*, const char* text) { static_cast<Screen*>(data)->name = text; },
                .description = [](void*, wl_output*, const char*) {}};
            wl_output_add_listener(screen.output, &kEvents, &screen);
        }
    }

    std::optional<imaging::BgraPremultipliedBuffer> copyFrame(wl_proxy* frame, const FrameState& state) {
        const double asked = hostClockSeconds();
        const double until = asked + kAnswerSeconds;
        const auto isDescribed = [&] { return state.isDescribed || state.hasFailed; };
        if (!handleEventsUntil(display_.get(), isDescribed, until) || !isReadable(state)) return std::nullopt;
        const std::size_t size = state.stride * static_cast<std::size_t>(state.height);
        const SharedMemory shared(size);
        if (shared.bytes() == nullptr) return std::nullopt;
        wl_shm_pool* const pool = wl_shm_create_pool(memory_, shared.file(), static_cast<std::int32_t>(size));
        wl_buffer* const buffer = wl_shm_pool_create_buffer(pool, 0, state.width, state.height,
                                                            static_cast<std::int32_t>(state.stride), state.format);
        wl_shm_pool_destroy(pool);
        wl_proxy_marshal_flags(frame, kFrameCopy, nullptr, 1, 0, buffer);
        const auto isDone = [&] { return state.isReady || state.hasFailed; };
        const bool isCopied = handleEventsUntil(display_.get(), isDone, until) && state.isReady;
        wl_buffer_destroy(buffer);
        if (!isCopied) return std::nullopt;
        // A stamp that cannot be is replaced by a time that is late at most.
        const double answered = hostClockSeconds();
        hostSeconds_ = state.hostSeconds >= asked && state.hostSeconds <= answered ? state.hostSeconds : answered;
        return pictureOf(state, shared.bytes());
    }

    const WaylandConnection display_;
    wl_registry* registry_ = nullptr;
    wl_proxy* manager_ = nullptr;
    wl_shm* memory_ = nullptr;
    std::deque<Screen> screens_;      // listeners hold pointers to them
    const Screen* screen_ = nullptr;  // the one that is copied
    double hostSeconds_ = 0;
};

std::unique_ptr<ScreenCopier> ScreenCopier::open(const std::string& display, const std::string& output) {
    auto impl = std::make_unique<Impl>(display);
    if (output.empty() || !impl->find(output)) return nullptr;
    return std::unique_ptr<ScreenCopier>(new ScreenCopier(std::move(impl)));
}

ScreenCopier::ScreenCopier(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

ScreenCopier::~ScreenCopier() = default;

std::optional<imaging::BgraPremultipliedBuffer> ScreenCopier::copy(bool withPointer) {
    return impl_->copy(withPointer);
}

double ScreenCopier::hostSeconds() const {
    return impl_->hostSeconds();
}

platform::PictureTurn ScreenCopier::turn() const {
    return impl_->turn();
}

}  // namespace lumivastor::wayland

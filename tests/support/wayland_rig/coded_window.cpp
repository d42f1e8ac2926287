// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/wayland_rig/coded_window.h"

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xdg-shell-client-protocol.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "base/host_clock.h"
#include "base/unique_descriptor.h"
#include "support/await.h"

namespace lumivastor {
namespace {

constexpr std::uint32_t kBlack = 0xff000000;
constexpr std::uint32_t kWhite = 0xffffffff;
constexpr std::uint32_t kGround = 0xff406080;
constexpr int kBits = CodedWindow::kCells - 2;

// Shared memory that the compositor reads.
class Canvas {
  public:
    Canvas(wl_shm* memory, int width, int height) : width_(width), height_(height), file_(::memfd_create("w", 0)) {
        const std::size_t bytes = size();
        if (::ftruncate(file_.get(), static_cast<off_t>(bytes)) != 0) throw std::runtime_error("no memory");
        pixels_ =
            static_cast<std::uint32_t*>(::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file_.get(), 0));
        if (pixels_ == MAP_FAILED) throw std::runtime_error("no memory");
        wl_shm_pool* const pool = wl_shm_create_pool(memory, file_.get(), static_cast<std::int32_t>(bytes));
        buffer_ = wl_shm_pool_create_buffer(pool, 0, width, height, width * 4, WL_SHM_FORMAT_XRGB8888);
        wl_shm_pool_destroy(pool);
        static constexpr wl_buffer_listener kEvents{
            .release = [](void* data, wl_buffer*) { static_cast<Canvas*>(data)->isBusy = false; }};
        wl_buffer_add_listener(buffer_, &kEvents, this);
        fill(kGround);
    }
    ~Canvas() {
        wl_buffer_destroy(buffer_);
        ::munmap(pixels_, size());
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void draw(std::uint16_t number) {
        for (int cell = 0; cell < CodedWindow::kCells; ++cell) {
            const bool isEnd = cell == 0 || cell == CodedWindow::kCells - 1;
            const bool isSet = isEnd || ((number >> (kBits - cell)) & 1) != 0;
            const int left = CodedWindow::kX + cell * CodedWindow::kCell;
            for (int y = CodedWindow::kY; y < std::min(CodedWindow::kY + CodedWindow::kCell, height_); ++y) {
                for (int x = left; x < std::min(left + CodedWindow::kCell, width_); ++x) {
                    pixels_[static_cast<std::ptrdiff_t>(y) * width_ + x] = isSet ? kWhite : kBlack;
                }
            }
        }
    }

    void fill(std::uint32_t color) {
        std::fill_n(pixels_, static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_), color);
    }

    wl_buffer* buffer() const { return buffer_; }
    int width() const { return width_; }
    int height() const { return height_; }
    bool isBusy = false;

  private:
    std::size_t size() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4; }

    const int width_;
    const int height_;
    const UniqueDescriptor file_;
    std::uint32_t* pixels_ = nullptr;
    wl_buffer* buffer_ = nullptr;
};

}  // namespace

class CodedWindow::Impl {
  public:
    Impl(const std::string& display, int ownWidth, int ownHeight)
        : width(ownWidth), height(ownHeight), display_(wl_display_connect(display.c_str())) {
        if (display_ == nullptr) throw std::runtime_error("no compositor at " + display);
        static constexpr wl_registry_listener kRegistry{
            .global = [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                         std::uint32_t) { static_cast<Impl*>(data)->bind(registry, name, interface); },
            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
        registry_ = wl_display_get_registry(display_);
        wl_registry_add_listener(registry_, &kRegistry, this);
        wl_display_roundtrip(display_);
        wl_display_roundtrip(display_);  // whether the seat has a pointer
        if (compositor_ == nullptr || memory_ == nullptr || shell_ == nullptr) {
            throw std::runtime_error("the compositor has no windows");
        }
        open();
    }
    ~Impl() {
        endFrame();
        for (auto& canvas : canvases_) canvas.reset();
        pointerCanvas_.reset();
        if (pointerSurface_ != nullptr) wl_surface_destroy(pointerSurface_);
        if (pointer_ != nullptr) wl_pointer_destroy(pointer_);
        if (seat_ != nullptr) wl_seat_destroy(seat_);
        xdg_toplevel_destroy(toplevel_);
        xdg_surface_destroy(shellSurface_);
        wl_surface_destroy(surface_);
        xdg_wm_base_destroy(shell_);
        wl_shm_destroy(memory_);
        wl_compositor_destroy(compositor_);
        wl_registry_destroy(registry_);
        wl_display_disconnect(display_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    double show(std::uint16_t number) {
        Canvas& canvas = freeCanvas();
        canvas.draw(number);
        const double now = hostClockSeconds();
        commit(canvas);
        if (wl_display_roundtrip(display_) < 0) throw std::runtime_error("the compositor is gone");
        return now;
    }

    void setPointer(const std::optional<Pointer>& pointer) {
        pointerShape_ = pointer;
        hasPointerShape_ = true;
        applyPointer();
    }

    bool isShown() {
        if (frame_ == nullptr) return true;
        wl_display_roundtrip(display_);
        return frame_ == nullptr;
    }

    int width = 0;
    int height = 0;

  private:
    void bind(wl_registry* registry, std::uint32_t name, const char* interface) {
        const auto is = [&](const wl_interface& other) { return std::strcmp(interface, other.name) == 0; };
        if (is(wl_compositor_interface)) {
            compositor_ = static_cast<wl_compositor*>(wl_registry_bind(registry, name, &wl_compositor_interface, 4));
        } else if (is(wl_shm_interface)) {
            memory_ = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
        } else if (is(xdg_wm_base_interface)) {
            shell_ = static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
        } else if (is(wl_seat_interface)) {
            seat_ = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
            static constexpr wl_seat_listener kSeat{
                .capabilities = [](void* data, wl_seat*,
                                   std::uint32_t has) { static_cast<Impl*>(data)->findPointer(has); },
                .name = [](void*, wl_seat*, const char*) {}};
            wl_seat_add_listener(seat_, &kSeat, this);
        }
    }

    void findPointer(std::uint32_t capabilities) {
        if ((capabilities & WL_SEAT_CAPABILITY_POINTER) == 0 || pointer_ != nullptr) return;
        pointer_ = wl_seat_get_pointer(seat_);
        static constexpr wl_pointer_listener kPointer{
            .enter =
                [](void* data, wl_pointer*, std::uint32_t serial, wl_surface*, wl_fixed_t, wl_fixed_t) {
                    auto& own = *static_cast<Impl*>(data);
                    own.enterSerial_ = serial;
                    own.applyPointer();
                },
            .leave = [](void* data, wl_pointer*, std::uint32_t,
                        wl_surface*) { static_cast<Impl*>(data)->enterSerial_ = std::nullopt; },
            .motion = [](void*, wl_pointer*, std::uint32_t, wl_fixed_t, wl_fixed_t) {},
            .button = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {},
            .axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {},
            .frame = [](void*, wl_pointer*) {},
            .axis_source = [](void*, wl_pointer*, std::uint32_t) {},
            .axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {},
            .axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {},
            .axis_value120 = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {}};
        wl_pointer_add_listener(pointer_, &kPointer, this);
    }

    // Only while the pointer is over the window.
    void applyPointer() {
        if (!hasPointerShape_ || !enterSerial_) return;
        if (!pointerShape_) {
            wl_pointer_set_cursor(pointer_, *enterSerial_, nullptr, 0, 0);
            return;
        }
        const Pointer& shape = *pointerShape_;
        if (pointerSurface_ == nullptr) pointerSurface_ = wl_compositor_create_surface(compositor_);
        pointerCanvas_ = std::make_unique<Canvas>(memory_, shape.side, shape.side);
        pointerCanvas_->fill(kBlack | shape.color);
        wl_pointer_set_cursor(pointer_, *enterSerial_, pointerSurface_, shape.hotSpotX, shape.hotSpotY);
        wl_surface_attach(pointerSurface_, pointerCanvas_->buffer(), 0, 0);
        wl_surface_damage_buffer(pointerSurface_, 0, 0, shape.side, shape.side);
        wl_surface_commit(pointerSurface_);
    }

    void open() {
        static constexpr xdg_wm_base_listener kShell{
            .ping = [](void*, xdg_wm_base* shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }};
        xdg_wm_base_add_listener(shell_, &kShell, this);
        surface_ = wl_compositor_create_surface(compositor_);
        shellSurface_ = xdg_wm_base_get_xdg_surface(shell_, surface_);
        static constexpr xdg_surface_listener kSurface{
            .configure = [](void* data, xdg_surface* surface, std::uint32_t serial) {
                xdg_surface_ack_configure(surface, serial);
                static_cast<Impl*>(data)->isConfigured_ = true;
            }};
        xdg_surface_add_listener(shellSurface_, &kSurface, this);
        toplevel_ = xdg_surface_get_toplevel(shellSurface_);
        static constexpr xdg_toplevel_listener kToplevel{
            .configure =
                [](void* data, xdg_toplevel*, std::int32_t newWidth, std::int32_t newHeight, wl_array*) {
                    auto& own = *static_cast<Impl*>(data);
                    if (newWidth > 0) own.width = newWidth;
                    if (newHeight > 0) own.height = newHeight;
                },
            .close = [](void*, xdg_toplevel*) {},
            .configure_bounds = [](void*, xdg_toplevel*, std::int32_t, std::int32_t) {},
            .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {}};
        xdg_toplevel_add_listener(toplevel_, &kToplevel, this);
        xdg_toplevel_set_title(toplevel_, kTitle);
        const bool isFullscreen = width == 0;
        if (isFullscreen) xdg_toplevel_set_fullscreen(toplevel_, nullptr);
        wl_surface_commit(surface_);
        awaitEvent([this] { return isConfigured_; });
        if (width != 0) return;
        // The compositor leaves the size to the window, and fills the screen with it once it is shown.
        width = kCells * kCell;
        height = kCell;
        const int own = width;
        commit(freeCanvas());
        awaitEvent([&] { return width != own; });
    }

    void commit(Canvas& canvas) {
        endFrame();
        frame_ = wl_surface_frame(surface_);
        static constexpr wl_callback_listener kFrame{
            .done = [](void* data, wl_callback*, std::uint32_t) { static_cast<Impl*>(data)->endFrame(); }};
        wl_callback_add_listener(frame_, &kFrame, this);
        wl_surface_damage_buffer(surface_, 0, 0, canvas.width(), canvas.height());
        wl_surface_attach(surface_, canvas.buffer(), 0, 0);
        canvas.isBusy = true;
        wl_surface_commit(surface_);
    }

    void endFrame() {
        if (frame_ != nullptr) wl_callback_destroy(frame_);
        frame_ = nullptr;
    }

    // Handles events until `done` holds.
    void awaitEvent(const std::function<bool()>& done) {
        const double until = hostClockSeconds() + kPatience;
        while (!done()) {
            pollfd file{wl_display_get_fd(display_), POLLIN, 0};
            if (wl_display_flush(display_) < 0 || hostClockSeconds() > until) {
                throw std::runtime_error("the compositor does not answer");
            }
            if (::poll(&file, 1, 100) == 1 && wl_display_dispatch(display_) < 0) {
                throw std::runtime_error("the compositor is gone");
            }
        }
    }

    // Of the present size, and not being read.
    Canvas& freeCanvas() {
        for (;;) {
            for (auto& canvas : canvases_) {
                if (canvas && canvas->isBusy) continue;
                if (!canvas || canvas->width() != width || canvas->height() != height) {
                    canvas = std::make_unique<Canvas>(memory_, width, height);
                }
                return *canvas;
            }
            awaitEvent([this] {
                return std::any_of(canvases_.begin(), canvases_.end(), [](const auto& one) { return !one->isBusy; });
            });
        }
    }

    wl_display* display_;
    wl_registry* registry_ = nullptr;
    wl_compositor* compositor_ = nullptr;
    wl_shm* memory_ = nullptr;
    xdg_wm_base* shell_ = nullptr;
    wl_surface* surface_ = nullptr;
    xdg_surface* shellSurface_ = nullptr;
    xdg_toplevel* toplevel_ = nullptr;
    wl_callback* frame_ = nullptr;  // until the compositor has painted what was committed last
    bool isConfigured_ = false;
    wl_seat* seat_ = nullptr;
    wl_pointer* pointer_ = nullptr;
    wl_surface* pointerSurface_ = nullptr;
    std::optional<std::uint32_t> enterSerial_;  // while the pointer is over the window
    std::optional<Pointer> pointerShape_;
    bool hasPointerShape_ = false;
    std::unique_ptr<Canvas> pointerCanvas_;
    std::array<std::unique_ptr<Canvas>, 3> canvases_;
};

CodedWindow::CodedWindow(const std::string& display, int width, int height)
    : impl_(std::make_unique<Impl>(display, width, height)) {}

CodedWindow::~CodedWindow() = default;

double CodedWindow::show(std::uint16_t number) {
    return impl_->show(number);
}

bool CodedWindow::isShown() {
    return impl_->isShown();
}

void CodedWindow::setPointer(const std::optional<Pointer>& pointer) {
    impl_->setPointer(pointer);
}

int CodedWindow::width() const {
    return impl_->width;
}

int CodedWindow::height() const {
    return impl_->height;
}

std::optional<std::uint16_t> codeAt(const imaging::BgraPremultipliedBuffer& picture, int x, int y) {
    if (x < 0 || y < 0 || x + CodedWindow::kCells * CodedWindow::kCell > picture.width() ||
        y + CodedWindow::kCell > picture.height()) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (int cell = 0; cell < CodedWindow::kCells; ++cell) {
        const std::uint8_t* const middle =
            picture.pixel(x + cell * CodedWindow::kCell + CodedWindow::kCell / 2, y + CodedWindow::kCell / 2);
        const int green = middle[1];
        if (green > 80 && green < 175) return std::nullopt;
        const bool isEnd = cell == 0 || cell == CodedWindow::kCells - 1;
        if (isEnd && green < 128) return std::nullopt;
        if (!isEnd) number = number << 1 | (green >= 128 ? 1U : 0U);
    }
    return static_cast<std::uint16_t>(number);
}

}  // namespace lumivastor

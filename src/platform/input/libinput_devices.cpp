// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/libinput_devices.h"

#include <fcntl.h>
#include <libinput.h>
#include <libudev.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/handled_error.h"
#include "base/log.h"
#include "base/thread_name.h"
#include "base/unique_descriptor.h"
#include "platform/input/device_event.h"
#include "platform/input/input_device.h"

namespace lumivastor::platform {
namespace {

constexpr const char* kLogArea = "Pointer";
constexpr const char* kSeat = "seat0";

template <auto Release>
struct Releases {
    template <class T>
    void operator()(T* object) const {
        Release(object);
    }
};
using Udev = std::unique_ptr<udev, Releases<udev_unref>>;
using UdevDevice = std::unique_ptr<udev_device, Releases<udev_device_unref>>;
using UdevList = std::unique_ptr<udev_enumerate, Releases<udev_enumerate_unref>>;
using Context = std::unique_ptr<libinput, Releases<libinput_unref>>;

std::string_view property(udev_device* device, const char* name) {
    const char* const value = udev_device_get_property_value(device, name);
    return value == nullptr ? std::string_view() : value;
}

InputDevice describe(udev_device* device) {
    InputDevice described;
    const char* const node = udev_device_get_devnode(device);
    if (node != nullptr) described.node = node;
    const auto has = [device](const char* name) { return property(device, name) == "1"; };
    described.isMouse = has("ID_INPUT_MOUSE");
    described.isTouchpad = has("ID_INPUT_TOUCHPAD");
    described.isPointingStick = has("ID_INPUT_POINTINGSTICK");
    described.isKeyboard = has("ID_INPUT_KEYBOARD");
    if (const auto seat = property(device, "ID_SEAT"); !seat.empty()) described.seat = seat;
    // The event node's parent has the name.
    udev_device* const parent = udev_device_get_parent(device);
    const char* const name = parent == nullptr ? nullptr : udev_device_get_sysattr_value(parent, "name");
    if (name != nullptr) described.name = name;
    return described;
}

std::vector<InputDevice> listDevices() {
    std::vector<InputDevice> devices;
    const Udev udev(udev_new());
    if (!udev) return devices;
    const UdevList list(udev_enumerate_new(udev.get()));
    if (!list) return devices;
    udev_enumerate_add_match_subsystem(list.get(), "input");
    udev_enumerate_add_match_sysname(list.get(), "event*");
    udev_enumerate_scan_devices(list.get());
    for (auto* entry = udev_enumerate_get_list_entry(list.get()); entry != nullptr;
         entry = udev_list_entry_get_next(entry)) {
        const UdevDevice device(udev_device_new_from_syspath(udev.get(), udev_list_entry_get_name(entry)));
        if (!device) continue;
        InputDevice described = describe(device.get());
        if (described.node.empty()) continue;
        described.isReadable = access(described.node.c_str(), R_OK) == 0;
        devices.push_back(std::move(described));
    }
    return devices;
}

// libinput's events as values; nullopt for those of no interest.
std::optional<DeviceEvent> deviceEvent(libinput_event* event) {
    const auto type = libinput_event_get_type(event);
    const bool isWheel = type == LIBINPUT_EVENT_POINTER_SCROLL_WHEEL;
    const bool isFinger =
        type == LIBINPUT_EVENT_POINTER_SCROLL_FINGER || type == LIBINPUT_EVENT_POINTER_SCROLL_CONTINUOUS;
    if (type != LIBINPUT_EVENT_POINTER_BUTTON && !isWheel && !isFinger) return std::nullopt;
    libinput_event_pointer* const pointer = libinput_event_get_pointer_event(event);
    DeviceEvent result;
    result.microseconds = libinput_event_pointer_get_time_usec(pointer);
    if (type == LIBINPUT_EVENT_POINTER_BUTTON) {
        result.code = libinput_event_pointer_get_button(pointer);
        result.isPressed = libinput_event_pointer_get_button_state(pointer) == LIBINPUT_BUTTON_STATE_PRESSED;
        return result;
    }
    result.kind = isWheel ? DeviceEvent::Kind::wheel : DeviceEvent::Kind::finger;
    const auto distance = [&](libinput_pointer_axis axis) {
        if (libinput_event_pointer_has_axis(pointer, axis) == 0) return 0.0;
        return isWheel ? libinput_event_pointer_get_scroll_value_v120(pointer, axis)
                       : libinput_event_pointer_get_scroll_value(pointer, axis);
    };
    result.horizontal = distance(LIBINPUT_POINTER_AXIS_SCROLL_HORIZONTAL);
    result.vertical = distance(LIBINPUT_POINTER_AXIS_SCROLL_VERTICAL);
    return result;
}

class LibinputActions final : public PointerActions {
  public:
    explicit LibinputActions(PointerActionHandler handler) : handler_(std::move(handler)), udev_(udev_new()) {
        static constexpr libinput_interface kInterface = {
            [](const char* path, int, void* self) { return static_cast<LibinputActions*>(self)->openForReading(path); },
            [](int descriptor, void*) { close(descriptor); }};
        stopped_ = UniqueDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!udev_ || !stopped_.isOpen()) return;
        context_.reset(libinput_udev_create_context(&kInterface, this, udev_.get()));
        if (!context_) return;
        // It would write to standard error, also about the keyboards that stay closed.
        libinput_log_set_handler(context_.get(), [](libinput*, libinput_log_priority, const char*, va_list) {});
        if (libinput_udev_assign_seat(context_.get(), kSeat) != 0) return;
        thread_ = std::thread([this] { run(); });
    }
    ~LibinputActions() override {
        if (!thread_.joinable()) return;
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(stopped_.get(), &one, sizeof one);
        thread_.join();
    }
    LibinputActions(const LibinputActions&) = delete;
    LibinputActions& operator=(const LibinputActions&) = delete;

    bool isRunning() const { return thread_.joinable(); }

  private:
    // The only way to a device, for libinput too, which asks for every input device of the seat: what is no pointer
    // stays closed. Returns a descriptor or a negative error.
    int openForReading(const char* path) const {
        struct stat found {};
        if (stat(path, &found) != 0) return -errno;
        if (!S_ISCHR(found.st_mode)) return -ENODEV;
        const UdevDevice device(udev_device_new_from_devnum(udev_.get(), 'c', found.st_rdev));
        if (!device || !isPointerDevice(describe(device.get()))) return -EACCES;
        const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0) return -errno;
        struct stat opened {};
        // Another device may have taken the path's place.
        if (fstat(descriptor, &opened) == 0 && opened.st_rdev == found.st_rdev) return descriptor;
        close(descriptor);
        return -ENODEV;
    }

    void run() {
        nameThisThread("input.devices");
        std::array<pollfd, 2> waits = {{{libinput_get_fd(context_.get()), POLLIN, 0}, {stopped_.get(), POLLIN, 0}}};
        for (;;) {
            if (libinput_dispatch(context_.get()) != 0) break;
            handOn();
            const int ready = poll(waits.data(), waits.size(), -1);
            if (ready < 0 && errno != EINTR) break;
            if (waits[1].revents != 0) return;
        }
        Log::write(kLogArea, "Die Zeigegeräte sind nicht mehr zu lesen");
    }

    void handOn() {
        while (libinput_event* const event = libinput_get_event(context_.get())) {
            const auto found = deviceEvent(event);
            libinput_event_destroy(event);
            const auto raw = found ? rawEvent(*found) : std::nullopt;
            if (!raw) continue;
            try {
                handler_(*raw);
            } catch (...) {
                Log::write(kLogArea, handledError("Ein Klick ging verloren").message());
            }
        }
    }

    const PointerActionHandler handler_;
    const Udev udev_;
    Context context_;
    UniqueDescriptor stopped_;
    std::thread thread_;
};

class LibinputDevices final : public PointerDevices {
  public:
    std::optional<std::string> why() override { return whyNoClicks(listDevices()); }

    std::unique_ptr<PointerActions> watch(PointerActionHandler handler) override {
        auto actions = std::make_unique<LibinputActions>(std::move(handler));
        if (!actions->isRunning()) return nullptr;
        return actions;
    }
};

}  // namespace

std::unique_ptr<PointerDevices> openPointerDevices() {
    return std::make_unique<LibinputDevices>();
}

}  // namespace lumivastor::platform

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/event_pipe.h"

#include <fcntl.h>
#include <linux/input.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "base/thread_name.h"
#include "base/unique_descriptor.h"

namespace lumivastor::platform {

void KernelEventDecoder::decode(std::span<const std::byte> bytes,
                                const std::function<void(const DeviceEvent&)>& handler) {
    rest_.insert(rest_.end(), bytes.begin(), bytes.end());
    std::size_t at = 0;
    for (; at + sizeof(input_event) <= rest_.size(); at += sizeof(input_event)) {
        input_event record{};
        std::memcpy(&record, rest_.data() + at, sizeof record);
        DeviceEvent event;
        event.microseconds = static_cast<std::uint64_t>(record.input_event_sec) * 1'000'000 +
                             static_cast<std::uint64_t>(record.input_event_usec);
        if (record.type == EV_KEY && (record.value == 0 || record.value == 1)) {
            event.code = record.code;
            event.isPressed = record.value == 1;
            handler(event);
        } else if (record.type == EV_REL) {
            if (record.code == REL_WHEEL) vertical_.notches += record.value;
            if (record.code == REL_WHEEL_HI_RES) vertical_.parts += record.value;
            if (record.code == REL_HWHEEL) horizontal_.notches += record.value;
            if (record.code == REL_HWHEEL_HI_RES) horizontal_.parts += record.value;
        } else if (record.type == EV_SYN && record.code == SYN_REPORT) {
            event.kind = DeviceEvent::Kind::wheel;
            event.vertical = -std::exchange(vertical_, {}).total();
            event.horizontal = std::exchange(horizontal_, {}).total();
            if (event.vertical != 0 || event.horizontal != 0) handler(event);
        }
    }
    rest_.erase(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(at));
}

namespace {

class PipeActions final : public PointerActions {
  public:
    PipeActions(UniqueDescriptor pipe, PointerActionHandler handler)
        : handler_(std::move(handler)),
          pipe_(std::move(pipe)),
          stopped_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          thread_([this] { run(); }) {}
    ~PipeActions() override {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = write(stopped_.get(), &one, sizeof one);
        thread_.join();
    }
    PipeActions(const PipeActions&) = delete;
    PipeActions& operator=(const PipeActions&) = delete;

  private:
    void run() {
        nameThisThread("input.devices");
        KernelEventDecoder decoder;
        std::array<std::byte, 4096> bytes{};
        std::array<pollfd, 2> waits = {{{pipe_.get(), POLLIN, 0}, {stopped_.get(), POLLIN, 0}}};
        while (poll(waits.data(), waits.size(), -1) >= 0 || errno == EINTR) {
            if (waits[1].revents != 0) return;
            const ssize_t count = read(pipe_.get(), bytes.data(), bytes.size());
            if (count <= 0) continue;
            decoder.decode({bytes.data(), static_cast<std::size_t>(count)}, [this](const DeviceEvent& event) {
                if (const auto raw = rawEvent(event)) handler_(*raw);
            });
        }
    }

    const PointerActionHandler handler_;
    const UniqueDescriptor pipe_;
    const UniqueDescriptor stopped_;
    std::thread thread_;
};

class EventPipe final : public PointerDevices {
  public:
    explicit EventPipe(std::filesystem::path pipe) : path_(std::move(pipe)) {}

    std::optional<std::string> why() override {
        if (access(path_.c_str(), R_OK) == 0) return std::nullopt;
        return "Klicks lassen sich nicht sehen, weil „" + path_.string() + "“ nicht zu lesen ist.";
    }

    std::unique_ptr<PointerActions> watch(PointerActionHandler handler) override {
        // Also for writing: without a writer it would be at its end.
        UniqueDescriptor pipe(open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
        if (!pipe.isOpen()) return nullptr;
        return std::make_unique<PipeActions>(std::move(pipe), std::move(handler));
    }

  private:
    const std::filesystem::path path_;
};

}  // namespace

std::unique_ptr<PointerDevices> openEventPipe(std::filesystem::path pipe) {
    return std::make_unique<EventPipe>(std::move(pipe));
}

}  // namespace lumivastor::platform

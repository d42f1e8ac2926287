// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace lumivastor {

/// An object on a message bus, as one interface of one service names it.
struct BusObject {
    std::string service;
    std::string path;
    std::string interface;
};

/// A connection to a message bus that calls methods and waits for their answers. One thread.
class BusClient {
  public:
    struct Unref {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    using Message = std::unique_ptr<sd_bus_message, Unref>;

    /// Throws std::runtime_error when there is no bus.
    explicit BusClient(const std::string& address) {
        sd_bus* bus = nullptr;
        int result = sd_bus_new(&bus);
        bus_.reset(bus);
        if (result >= 0) result = sd_bus_set_address(bus, address.c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
        if (result >= 0) result = sd_bus_start(bus);
        if (result < 0) throw std::runtime_error("no bus at " + address);
        sd_bus_set_method_call_timeout(bus_.get(), kAnswerMicroseconds);
    }

    /// `types` and the arguments as for sd_bus_call_method. Throws std::runtime_error with the service's reason.
    template <typename... Arguments>
    Message call(const BusObject& object, const char* method, const char* types, Arguments... arguments) {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        const int result = sd_bus_call_method(bus_.get(), object.service.c_str(), object.path.c_str(),
                                              object.interface.c_str(), method, &error, &reply, types, arguments...);
        const std::string reason = error.message == nullptr ? std::to_string(result) : error.message;
        sd_bus_error_free(&error);
        if (result < 0) throw std::runtime_error(object.interface + "." + method + ": " + reason);
        return Message(reply);
    }

    /// Whether somebody on the bus has that name.
    bool hasOwner(const std::string& name) {
        const Message reply = call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"},
                                   "NameHasOwner", "s", name.c_str());
        int isOwned = 0;
        sd_bus_message_read(reply.get(), "b", &isOwned);
        return isOwned != 0;
    }

    sd_bus* get() const { return bus_.get(); }

  private:
    static constexpr std::uint64_t kAnswerMicroseconds = 10'000'000;

    std::unique_ptr<sd_bus, Unref> bus_;
};

}  // namespace lumivastor

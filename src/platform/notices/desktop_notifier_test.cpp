// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/notices/desktop_notifier.h"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/await.h"
#include "support/manual_main_loop.h"
#include "support/portal_standin.h"

namespace lumivastor::notices {
namespace {

// A desktop's service for notifications, on a bus of its own.
class NotificationService {
  public:
    struct Shown {
        std::string program, heading, text;
        std::vector<std::string> actions;
        std::uint32_t id = 0;
    };

    NotificationService(const std::string& address, std::vector<std::string> capabilities)
        : capabilities_(std::move(capabilities)) {
        static constexpr sd_bus_vtable kTable[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("GetCapabilities", "", "as", answerCapabilities, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", answerNotify, SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        };
        int result = sd_bus_new(&bus_);
        if (result >= 0) result = sd_bus_set_address(bus_, address.c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus_, 1);
        if (result >= 0) result = sd_bus_start(bus_);
        if (result >= 0) result = sd_bus_add_object_vtable(bus_, nullptr, kPath, kName, kTable, this);
        if (result >= 0) result = sd_bus_request_name(bus_, kName, 0);
        if (result < 0) throw std::runtime_error("no service for notifications");
        thread_ = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                {
                    const std::lock_guard hold(lock_);
                    for (const auto& [id, key] : chosen_) {
                        sd_bus_emit_signal(bus_, kPath, kName, "ActionInvoked", "us", id, key.c_str());
                    }
                    chosen_.clear();
                }
                while (sd_bus_process(bus_, nullptr) > 0) {
                }
                sd_bus_wait(bus_, 10'000);
            }
        });
    }
    ~NotificationService() {
        thread_ = {};
        sd_bus_flush_close_unref(bus_);
    }
    NotificationService(const NotificationService&) = delete;
    NotificationService& operator=(const NotificationService&) = delete;

    std::vector<Shown> shown() const {
        const std::lock_guard hold(lock_);
        return shown_;
    }
    void choose(std::uint32_t id, const std::string& key) {
        const std::lock_guard hold(lock_);
        chosen_[id] = key;
    }

  private:
    static constexpr const char* kName = "org.freedesktop.Notifications";
    static constexpr const char* kPath = "/org/freedesktop/Notifications";

    static int answerCapabilities(sd_bus_message* message, void* data, sd_bus_error*) {
        sd_bus_message* answer = nullptr;
        sd_bus_message_new_method_return(message, &answer);
        sd_bus_message_open_container(answer, 'a', "s");
        for (const std::string& each : static_cast<NotificationService*>(data)->capabilities_) {
            sd_bus_message_append(answer, "s", each.c_str());
        }
        sd_bus_message_close_container(answer);
        const int result = sd_bus_send(nullptr, answer, nullptr);
        sd_bus_message_unref(answer);
        return result;
    }

    static int answerNotify(sd_bus_message* message, void* data, sd_bus_error*) {
        auto* const self = static_cast<NotificationService*>(data);
        const char *program = nullptr, *icon = nullptr, *heading = nullptr, *text = nullptr, *action = nullptr;
        std::uint32_t replaced = 0;
        sd_bus_message_read(message, "susss", &program, &replaced, &icon, &heading, &text);
        Shown shown{program, heading, text, {}, 0};
        sd_bus_message_enter_container(message, 'a', "s");
        while (sd_bus_message_read(message, "s", &action) > 0) shown.actions.emplace_back(action);
        const std::lock_guard hold(self->lock_);
        shown.id = static_cast<std::uint32_t>(self->shown_.size()) + 1;
        self->shown_.push_back(shown);
        return sd_bus_reply_method_return(message, "u", shown.id);
    }

    const std::vector<std::string> capabilities_;
    sd_bus* bus_ = nullptr;
    mutable std::mutex lock_;
    std::vector<Shown> shown_;                     // guarded by lock_
    std::map<std::uint32_t, std::string> chosen_;  // guarded by lock_
    std::jthread thread_;
};

const DesktopNotice kNotice{"Das Video ist fertig", "Übung 1 & 2 – <film>.webm", {{"play", "Abspielen"}}};

TEST(DesktopNotifier, ShowsANoticeAndTellsWhatWasChosen) {
    const BusRig bus;
    NotificationService service(bus.address(), {"actions", "body", "body-markup"});
    ManualMainLoop loop;
    DesktopNotifier notifier(loop, bus.address());
    std::vector<std::string> chosen;
    notifier.show(kNotice, [&](const std::string& key) { chosen.push_back("first " + key); });
    notifier.show(kNotice, [&](const std::string& key) { chosen.push_back("second " + key); });
    ASSERT_TRUE(await([&] { return service.shown().size() == 2; }));
    const auto shown = service.shown().front();
    EXPECT_EQ(shown.program, "LumiVastor");
    EXPECT_EQ(shown.heading, "Das Video ist fertig");
    EXPECT_EQ(shown.text, "Übung 1 &amp; 2 – &lt;film&gt;.webm");
    EXPECT_EQ(shown.actions, (std::vector<std::string>{"play", "Abspielen"}));
    service.choose(2, "play");
    ASSERT_TRUE(loop.runUntil([&] { return !chosen.empty(); }));
    EXPECT_EQ(chosen, std::vector<std::string>{"second play"});
}

TEST(DesktopNotifier, ADesktopWithoutActionsAndMarkupGetsNeither) {
    const BusRig bus;
    NotificationService service(bus.address(), {"body"});
    ManualMainLoop loop;
    DesktopNotifier notifier(loop, bus.address());
    notifier.show(kNotice, {});
    ASSERT_TRUE(await([&] { return service.shown().size() == 1; }));
    EXPECT_EQ(service.shown().front().text, kNotice.text);
    EXPECT_TRUE(service.shown().front().actions.empty());
}

TEST(DesktopNotifier, WithoutABusOrAServiceNothingHappens) {
    ManualMainLoop loop;
    {
        DesktopNotifier notifier(loop, "unix:path=/no/such/bus");
        notifier.show(kNotice, [](const std::string&) { ADD_FAILURE(); });
    }
    const BusRig bus;
    DesktopNotifier notifier(loop, bus.address());
    notifier.show(kNotice, [](const std::string&) { ADD_FAILURE(); });
    NotificationService late(bus.address(), {});
    notifier.show(kNotice, [](const std::string&) { ADD_FAILURE(); });
    EXPECT_TRUE(await([&] { return !late.shown().empty(); })) << "the service may come later";
}

}  // namespace
}  // namespace lumivastor::notices

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/notices/desktop_notifier.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "base/handled_error.h"
#include "base/lifetime.h"
#include "base/log.h"
#include "base/thread_name.h"
#include "base/unique_descriptor.h"

namespace lumivastor::notices {

namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
constexpr std::uint64_t kPatience = 5'000'000;  // microseconds for an answer
// Of these, actions are remembered; a desktop shows far fewer at once.
constexpr std::size_t kRemembered = 32;

struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, Unref>;
using Message = std::unique_ptr<sd_bus_message, Unref>;

std::string withoutMarkup(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += letter;
        }
    }
    return escaped;
}

}  // namespace

class DesktopNotifier::Connection {
  public:
    using Chosen = std::function<void(const std::string& key)>;

    Connection(MainLoop& loop, std::string address)
        : loop_(loop),
          address_(std::move(address)),
          wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          thread_([this](const std::stop_token& stop) { run(stop); }) {}

    ~Connection() {
        lifetime_.end();
        thread_.request_stop();
        wake();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void show(DesktopNotice notice, Chosen chosen) {
        {
            const std::lock_guard hold(lock_);
            waiting_.push_back({std::move(notice), std::make_shared<const Chosen>(std::move(chosen))});
        }
        wake();
    }

  private:
    struct Waiting {
        DesktopNotice notice;
        std::shared_ptr<const Chosen> chosen;
    };

    void wake() const {
        const std::uint64_t one = 1;
        static_cast<void>(::write(wake_.get(), &one, sizeof(one)));
    }

    void run(const std::stop_token& stop) {
        nameThisThread("notice.bus");
        try {
            if (!open()) return;
            while (!stop.stop_requested()) {
                while (const auto next = takeNext()) send(*next);
                int result = 0;
                while ((result = sd_bus_process(bus_.get(), nullptr)) > 0) {
                }
                if (result < 0) return;  // the bus has gone
                wait();
            }
        } catch (...) {
            Log::write("App", handledError("Benachrichtigungen sind ausgefallen").message());
        }
    }

    bool open() {
        sd_bus* bus = nullptr;
        int result = 0;
        if (address_.empty()) {
            result = sd_bus_open_user(&bus);
            bus_.reset(bus);
        } else {
            result = sd_bus_new(&bus);
            bus_.reset(bus);
            if (result >= 0) result = sd_bus_set_address(bus, address_.c_str());
            if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
            if (result >= 0) result = sd_bus_start(bus);
        }
        if (result < 0) return false;
        sd_bus_set_method_call_timeout(bus_.get(), kPatience);
        sd_bus_match_signal(bus_.get(), nullptr, kService, kPath, kService, "ActionInvoked", actionInvoked, this);
        sd_bus_match_signal(bus_.get(), nullptr, kService, kPath, kService, "NotificationClosed", closed, this);
        return true;
    }

    std::optional<Waiting> takeNext() {
        const std::lock_guard hold(lock_);
        if (waiting_.empty()) return std::nullopt;
        Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        return next;
    }

    void wait() const {
        std::uint64_t until = 0;
        int milliseconds = -1;
        if (sd_bus_get_timeout(bus_.get(), &until) >= 0 && until != UINT64_MAX) {
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            const std::uint64_t microseconds =
                static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
            milliseconds = until <= microseconds ? 0 : static_cast<int>((until - microseconds) / 1000 + 1);
        }
        pollfd descriptors[] = {
            {sd_bus_get_fd(bus_.get()), static_cast<short>(sd_bus_get_events(bus_.get())), 0},
            {wake_.get(), POLLIN, 0},
        };
        ::poll(descriptors, std::size(descriptors), milliseconds);
        std::uint64_t count = 0;
        static_cast<void>(::read(wake_.get(), &count, sizeof(count)));
    }

    // Asked for each notification: another service may have taken over.
    std::vector<std::string> capabilities() {
        sd_bus_message* answer = nullptr;
        std::vector<std::string> found;
        const int result =
            sd_bus_call_method(bus_.get(), kService, kPath, kService, "GetCapabilities", nullptr, &answer, nullptr);
        const Message owner(answer);
        if (result < 0 || sd_bus_message_enter_container(answer, 'a', "s") < 0) return found;
        const char* name = nullptr;
        while (sd_bus_message_read_basic(answer, 's', &name) > 0) found.emplace_back(name);
        return found;
    }

    void send(const Waiting& next) {
        const std::vector<std::string> offered = capabilities();
        const auto has = [&](const char* name) {
            return std::find(offered.begin(), offered.end(), name) != offered.end();
        };
        const DesktopNotice& notice = next.notice;
        const std::string text = has("body-markup") ? withoutMarkup(notice.text) : notice.text;
        sd_bus_message* made = nullptr;
        int result = sd_bus_message_new_method_call(bus_.get(), &made, kService, kPath, kService, "Notify");
        const Message call(made);
        if (result < 0) return;
        constexpr int kUsualTime = -1;
        sd_bus_message_append(made, "susss", "LumiVastor", std::uint32_t{0}, "lumivastor", notice.heading.c_str(),
                              text.c_str());
        sd_bus_message_open_container(made, 'a', "s");
        if (has("actions")) {
            for (const DesktopNotice::Action& action : notice.actions) {
                sd_bus_message_append(made, "ss", action.key.c_str(), action.title.c_str());
            }
        }
        sd_bus_message_close_container(made);
        sd_bus_message_append(made, "a{sv}", 1, "desktop-entry", "s", "lumivastor");
        result = sd_bus_message_append(made, "i", kUsualTime);
        if (result < 0) return;
        sd_bus_message* answer = nullptr;
        result = sd_bus_call(bus_.get(), made, 0, nullptr, &answer);
        const Message owner(answer);
        std::uint32_t id = 0;
        if (result < 0 || sd_bus_message_read(answer, "u", &id) < 0) return;
        shown_[id] = next.chosen;
        if (shown_.size() > kRemembered) shown_.erase(shown_.begin());
    }

    static int actionInvoked(sd_bus_message* message, void* self, sd_bus_error*) {
        std::uint32_t id = 0;
        const char* key = nullptr;
        if (sd_bus_message_read(message, "us", &id, &key) < 0) return 0;
        static_cast<Connection*>(self)->choose(id, key);
        return 0;
    }

    static int closed(sd_bus_message* message, void* self, sd_bus_error*) {
        std::uint32_t id = 0;
        std::uint32_t reason = 0;
        if (sd_bus_message_read(message, "uu", &id, &reason) < 0) return 0;
        static_cast<Connection*>(self)->shown_.erase(id);
        return 0;
    }

    void choose(std::uint32_t id, const std::string& key) {
        const auto found = shown_.find(id);
        if (found == shown_.end()) return;
        loop_.async([alive = alive_, chosen = found->second, key] {
            if (!alive.expired() && *chosen) (*chosen)(key);
        });
    }

    MainLoop& loop_;
    const std::string address_;
    const UniqueDescriptor wake_;
    std::mutex lock_;
    std::deque<Waiting> waiting_;  // guarded by lock_
    Lifetime lifetime_;
    const Lifetime::Watch alive_ = lifetime_.watch();
    // The thread's.
    Bus bus_;
    std::map<std::uint32_t, std::shared_ptr<const Chosen>> shown_;
    std::jthread thread_;  // last: it uses everything above
};

DesktopNotifier::DesktopNotifier(MainLoop& loop, std::string address) : loop_(loop), address_(std::move(address)) {}
DesktopNotifier::~DesktopNotifier() = default;

void DesktopNotifier::show(DesktopNotice notice, std::function<void(const std::string& key)> chosen) {
    if (!connection_) connection_ = std::make_unique<Connection>(loop_, address_);
    connection_->show(std::move(notice), std::move(chosen));
}

}  // namespace lumivastor::notices

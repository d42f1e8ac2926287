// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "base/host_clock.h"
#include "base/log.h"
#include "base/unique_descriptor.h"

namespace lumivastor::wayland {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kRequest = "org.freedesktop.portal.Request";
constexpr const char* kSession = "org.freedesktop.portal.Session";

constexpr const char* kNoBus = "Der Nachrichtenbus der Sitzung (D-Bus) ist nicht erreichbar.";
constexpr const char* kSilent = "Die Bildschirmfreigabe des Desktops antwortet nicht.";
constexpr const char* kGone = "Die Bildschirmfreigabe des Desktops wurde unerwartet beendet.";
constexpr const char* kRefused = "Die Aufnahme wurde im Dialog abgelehnt.";
constexpr const char* kFailed = "Der Desktop konnte die Aufnahme nicht freigeben.";

constexpr double kForever = std::numeric_limits<double>::infinity();

// The answer of a request object, besides which there are refusal (1) and failure (2).
constexpr std::uint32_t kGranted = 0;
constexpr std::uint32_t kUserRefused = 1;

struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Message = std::unique_ptr<sd_bus_message, Unref>;

std::uint64_t microseconds(double seconds) {
    return static_cast<std::uint64_t>(seconds * 1e6);
}

bool isAnyOf(std::string_view name, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Nobody has the name and the bus cannot start anybody.
bool isNobody(std::string_view error) {
    return error.starts_with("org.freedesktop.DBus.Error.Spawn.") ||
           isAnyOf(error, {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER});
}

// Somebody has the name, but not what was asked for. GLib's services call an unknown property or interface an invalid
// argument.
bool isUnknown(std::string_view error) {
    return isAnyOf(error, {SD_BUS_ERROR_UNKNOWN_METHOD, SD_BUS_ERROR_UNKNOWN_OBJECT, SD_BUS_ERROR_UNKNOWN_INTERFACE,
                           SD_BUS_ERROR_UNKNOWN_PROPERTY});
}

bool isInvalidArgument(std::string_view error) {
    return isAnyOf(error, {SD_BUS_ERROR_INVALID_ARGS, "org.freedesktop.portal.Error.InvalidArgument"});
}

std::string signalRule(const std::string& interface, const std::string& name) {
    return std::string("type='signal',sender='") + kPortal + "',interface='" + interface + "',member='" + name + "'";
}

// `isAlive`: whether the portal is still there. An answer that does not come in time, and one that can no longer come,
// have the same error.
[[noreturn]] void throwError(const sd_bus_error& error, bool isAlive) {
    const std::string name = error.name == nullptr ? "" : error.name;
    Log::write("Capture", "portal: " + name + ": " + (error.message == nullptr ? "" : error.message));
    if (isNobody(name) || isUnknown(name)) throwMissingPortal();
    if (isInvalidArgument(name)) throw PortalArgumentError(kFailed);
    if (!isAlive) throw RecorderError(kGone);
    throw RecorderError(isAnyOf(name, {SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT}) ? kSilent : kFailed);
}

}  // namespace

class PortalConnection::Impl {
  public:
    explicit Impl(const std::string& address);

    bool isAlive() const { return !isBusLost_ && !isPortalGone_; }
    int descriptor() const { return sd_bus_get_fd(bus_.get()); }
    void run(double seconds);
    bool runUntil(const std::function<bool()>& done, double timeout);
    void cancel();
    bool isCancelled() const { return isCancelled_; }

    std::uint32_t property(const std::string& interface, const std::string& name);
    bool ask(const Question& question);
    void call(const Question& question);
    void closeSession(const std::string& path) { closeObject(path, kSession); }
    void watchSession(const std::string& path, std::function<void()> closed);
    void watchSignal(const std::string& interface, const std::string& name,
                     std::function<void(sd_bus_message*)> handler);
    std::string pathName() const;

  private:
    void open(const std::string& address);
    void watch(const std::string& rule, sd_bus_message_handler_t handler, void* data);
    bool process();
    void wait(double seconds);

    Message newCall(const char* path, const char* interface, const char* method);
    Message questionCall(const Question& question, const std::string& handleToken);
    /// Null when cancelled. The reply may be an error.
    Message reply(const Message& question);
    void closeObject(const std::string& path, const char* interface);
    Message response(const std::string& path, bool mayShowDialog);

    static int takeResponse(sd_bus_message* message, void* data, sd_bus_error* error);
    static int takeClosed(sd_bus_message* message, void* data, sd_bus_error* error);
    static int takeOwner(sd_bus_message* message, void* data, sd_bus_error* error);

    std::unique_ptr<sd_bus, Unref> bus_;
    UniqueDescriptor wake_;  // readable once cancelled
    std::atomic<bool> isCancelled_ = false;
    bool isBusLost_ = false;
    bool isPortalGone_ = false;
    std::map<std::string, std::function<void()>> closedHandlers_;
    std::deque<std::function<void(sd_bus_message*)>> signalHandlers_;  // the bus holds pointers to them
    std::map<std::string, Message> responses_;  // since the running question began, by their paths
};

PortalConnection::Impl::Impl(const std::string& address) : wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_.isOpen()) throw RecorderError(kNoBus);
    open(address);
    if (!runUntil([this] { return sd_bus_is_ready(bus_.get()) > 0; }, kCallTimeout)) throw RecorderError(kNoBus);
    // One rule for the answers to all questions, before any is asked, so that no answer is missed.
    watch(signalRule(kRequest, "Response"), takeResponse, this);
    watch(signalRule(kSession, "Closed"), takeClosed, this);
    watch(std::string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") + kPortal + "'",
          takeOwner, this);
}

void PortalConnection::Impl::open(const std::string& address) {
    sd_bus* bus = nullptr;
    int result = 0;
    if (address.empty()) {
        result = sd_bus_open_user(&bus);
        bus_.reset(bus);
    } else {
        result = sd_bus_new(&bus);
        bus_.reset(bus);
        if (result >= 0) result = sd_bus_set_address(bus, address.c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
        if (result >= 0) result = sd_bus_negotiate_fds(bus, 1);
        if (result >= 0) result = sd_bus_start(bus);
    }
    if (result >= 0) result = sd_bus_set_method_call_timeout(bus, microseconds(kCallTimeout));
    if (result < 0) throw RecorderError(kNoBus);
}

void PortalConnection::Impl::watch(const std::string& rule, sd_bus_message_handler_t handler, void* data) {
    if (sd_bus_add_match_async(bus_.get(), nullptr, rule.c_str(), handler, nullptr, data) < 0) {
        throw RecorderError(kNoBus);
    }
}

// Handles everything that has arrived. Returns whether anything had.
bool PortalConnection::Impl::process() {
    bool any = false;
    while (!isBusLost_) {
        const int result = sd_bus_process(bus_.get(), nullptr);
        if (result == 0) break;
        any = true;
        isBusLost_ = result < 0 || sd_bus_is_open(bus_.get()) <= 0;
    }
    return any;
}

void PortalConnection::Impl::wait(double seconds) {
    std::uint64_t until = 0;  // of the bus itself, on the host clock
    const int events = sd_bus_get_events(bus_.get());
    if (events < 0 || sd_bus_get_timeout(bus_.get(), &until) < 0) {
        isBusLost_ = true;
        return;
    }
    if (until != UINT64_MAX) seconds = std::min(seconds, static_cast<double>(until) * 1e-6 - hostClockSeconds());
    pollfd watched[] = {{sd_bus_get_fd(bus_.get()), static_cast<short>(events), 0}, {wake_.get(), POLLIN, 0}};
    // A minute at most, so that the number fits; callers wait again.
    poll(watched, 2, static_cast<int>(std::ceil(std::clamp(seconds, 0.0, 60.0) * 1000)));
}

void PortalConnection::Impl::run(double seconds) {
    if (process() || isBusLost_) return;
    wait(seconds);
    process();
}

bool PortalConnection::Impl::runUntil(const std::function<bool()>& done, double timeout) {
    const double until = hostClockSeconds() + timeout;
    while (!done()) {
        const double left = until - hostClockSeconds();
        if (left <= 0 || isCancelled_ || !isAlive()) return false;
        run(left);
    }
    return true;
}

void PortalConnection::Impl::cancel() {
    isCancelled_ = true;
    static_cast<void>(eventfd_write(wake_.get(), 1));
}

int PortalConnection::Impl::takeResponse(sd_bus_message* message, void* data, sd_bus_error*) {
    const char* const path = sd_bus_message_get_path(message);
    if (path != nullptr) static_cast<Impl*>(data)->responses_[path] = Message(sd_bus_message_ref(message));
    return 0;
}

int PortalConnection::Impl::takeClosed(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& handlers = static_cast<Impl*>(data)->closedHandlers_;
    const char* const path = sd_bus_message_get_path(message);
    const auto found = path == nullptr ? handlers.end() : handlers.find(path);
    if (found == handlers.end()) return 0;
    const auto closed = found->second;
    closed();
    return 0;
}

int PortalConnection::Impl::takeOwner(sd_bus_message* message, void* data, sd_bus_error*) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0) return 0;
    if (*before != '\0') static_cast<Impl*>(data)->isPortalGone_ = true;
    return 0;
}

Message PortalConnection::Impl::newCall(const char* path, const char* interface, const char* method) {
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(bus_.get(), &message, kPortal, path, interface, method) < 0) {
        throw RecorderError(isBusLost_ ? kNoBus : kFailed);
    }
    return Message(message);
}

Message PortalConnection::Impl::reply(const Message& question) {
    Message answer;
    sd_bus_slot* slot = nullptr;
    const auto take = [](sd_bus_message* message, void* data, sd_bus_error*) {
        static_cast<Message*>(data)->reset(sd_bus_message_ref(message));
        return 0;
    };
    if (sd_bus_call_async(bus_.get(), &slot, question.get(), take, &answer, microseconds(kCallTimeout)) < 0) {
        throw RecorderError(kNoBus);
    }
    const std::unique_ptr<sd_bus_slot, Unref> hold(slot);
    // The bus ends the wait with an error when it takes too long.
    runUntil([&] { return answer != nullptr; }, 2 * kCallTimeout);
    if (answer || isCancelled_) return answer;
    throw RecorderError(isAlive() ? kSilent : kGone);
}

std::uint32_t PortalConnection::Impl::property(const std::string& interface, const std::string& name) {
    const Message question = newCall(kPortalPath, "org.freedesktop.DBus.Properties", "Get");
    sd_bus_message_append(question.get(), "ss", interface.c_str(), name.c_str());
    const Message answer = reply(question);
    if (!answer) return 0;
    if (const sd_bus_error* const error = sd_bus_message_get_error(answer.get())) {
        const std::string_view kind = error->name;
        if (isUnknown(kind) || isInvalidArgument(kind)) return 0;
        throwError(*error, isAlive());
    }
    std::uint32_t value = 0;
    return sd_bus_message_read(answer.get(), "v", "u", &value) < 0 ? 0 : value;
}

Message PortalConnection::Impl::questionCall(const Question& question, const std::string& handleToken) {
    Message message = newCall(kPortalPath, question.interface.c_str(), question.method.c_str());
    if (question.arguments) question.arguments(message.get());
    sd_bus_message_open_container(message.get(), 'a', "{sv}");
    if (!handleToken.empty()) sd_bus_message_append(message.get(), "{sv}", "handle_token", "s", handleToken.c_str());
    if (question.options) question.options(message.get());
    sd_bus_message_close_container(message.get());
    return message;
}

void PortalConnection::Impl::call(const Question& question) {
    const Message answer = reply(questionCall(question, ""));
    if (!answer) return;
    if (const sd_bus_error* const error = sd_bus_message_get_error(answer.get())) throwError(*error, isAlive());
    if (question.answer && !question.answer(answer.get())) throw RecorderError(kFailed);
}

bool PortalConnection::Impl::ask(const Question& question) {
    responses_.clear();
    const std::string token = newToken();
    std::string path = std::string(kPortalPath) + "/request/" + pathName() + "/" + token;
    const Message answer = reply(questionCall(question, token));
    if (!answer) {
        closeObject(path, kRequest);
        return false;
    }
    if (const sd_bus_error* const error = sd_bus_message_get_error(answer.get())) throwError(*error, isAlive());
    const char* told = nullptr;
    // Old portals choose the path themselves.
    if (sd_bus_message_read(answer.get(), "o", &told) >= 0) path = told;

    const Message found = response(path, question.mayShowDialog);
    if (!found) return false;
    std::uint32_t code = 0;
    if (sd_bus_message_read(found.get(), "u", &code) < 0) throw RecorderError(kFailed);
    if (code == kUserRefused) throw PortalRefusal(kRefused);
    if (code != kGranted) throw RecorderError(kFailed);
    if (question.answer && !question.answer(found.get())) throw RecorderError(kFailed);
    return true;
}

// Null when cancelled.
Message PortalConnection::Impl::response(const std::string& path, bool mayShowDialog) {
    const bool came =
        runUntil([&] { return responses_.contains(path); }, mayShowDialog ? kForever : PortalConnection::kCallTimeout);
    if (came) return std::move(responses_[path]);
    // Takes the dialog away. The portal of GNOME 43 crashes by it, as it does when its client just goes.
    closeObject(path, kRequest);
    if (isCancelled_) return nullptr;
    throw RecorderError(isAlive() ? kSilent : kGone);
}

void PortalConnection::Impl::closeObject(const std::string& path, const char* interface) {
    if (!isAlive()) return;
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus_.get(), &made, kPortal, path.c_str(), interface, "Close") < 0) return;
    const Message message(made);
    sd_bus_message_set_expect_reply(made, 0);
    // A portal that is gone has no dialogs and no sessions.
    sd_bus_message_set_auto_start(made, 0);
    sd_bus_send(bus_.get(), made, nullptr);
    sd_bus_flush(bus_.get());
}

void PortalConnection::Impl::watchSession(const std::string& path, std::function<void()> closed) {
    if (closed) {
        closedHandlers_[path] = std::move(closed);
    } else {
        closedHandlers_.erase(path);
    }
}

void PortalConnection::Impl::watchSignal(const std::string& interface, const std::string& name,
                                         std::function<void(sd_bus_message*)> handler) {
    const auto take = [](sd_bus_message* message, void* data, sd_bus_error*) {
        (*static_cast<std::function<void(sd_bus_message*)>*>(data))(message);
        return 0;
    };
    watch(signalRule(interface, name), take, &signalHandlers_.emplace_back(std::move(handler)));
}

std::string PortalConnection::Impl::pathName() const {
    const char* unique = nullptr;
    if (sd_bus_get_unique_name(bus_.get(), &unique) < 0) throw RecorderError(kNoBus);
    std::string name = unique + 1;  // behind its colon
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

PortalConnection::PortalConnection(const std::string& address) : impl_(std::make_unique<Impl>(address)) {}

PortalConnection::~PortalConnection() = default;

bool PortalConnection::isAlive() const {
    return impl_->isAlive();
}

int PortalConnection::descriptor() const {
    return impl_->descriptor();
}

void PortalConnection::run(double seconds) {
    impl_->run(seconds);
}

bool PortalConnection::runUntil(const std::function<bool()>& done, double timeout) {
    return impl_->runUntil(done, timeout);
}

void PortalConnection::cancel() {
    impl_->cancel();
}

bool PortalConnection::isCancelled() const {
    return impl_->isCancelled();
}

std::uint32_t PortalConnection::property(const std::string& interface, const std::string& name) {
    return impl_->property(interface, name);
}

bool PortalConnection::ask(const Question& question) {
    return impl_->ask(question);
}

void PortalConnection::call(const Question& question) {
    impl_->call(question);
}

void PortalConnection::closeSession(const std::string& path) {
    impl_->closeSession(path);
}

void PortalConnection::watchSession(const std::string& path, std::function<void()> closed) {
    impl_->watchSession(path, std::move(closed));
}

void PortalConnection::watchSignal(const std::string& interface, const std::string& name,
                                   std::function<void(sd_bus_message*)> handler) {
    impl_->watchSignal(interface, name, std::move(handler));
}

std::string PortalConnection::pathName() const {
    return impl_->pathName();
}

std::string PortalConnection::newToken() {
    static std::atomic<std::uint64_t> count = 0;
    return "lumivastor" + std::to_string(++count);
}

std::string missingPortalMessage(const std::string& currentDesktop) {
    struct Known {
        const char* desktop;
        const char* portal;
    };
    static constexpr Known kKnown[] = {{"gnome", "gnome"},       {"kde", "kde"},    {"sway", "wlr"},
                                       {"wlroots", "wlr"},       {"river", "wlr"},  {"labwc", "wlr"},
                                       {"hyprland", "hyprland"}, {"wayfire", "wlr"}};
    // Names with colons between them, the most special first.
    std::string portal = "gnome";
    std::string names = currentDesktop + ":";
    std::transform(names.begin(), names.end(), names.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (std::size_t begin = 0; begin < names.size(); begin = names.find(':', begin) + 1) {
        const std::string name = names.substr(begin, names.find(':', begin) - begin);
        const auto* const found =
            std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known& one) { return name == one.desktop; });
        if (found == std::end(kKnown)) continue;
        portal = found->portal;
        break;
    }
    return "Dieser Desktop bietet keine Bildschirmfreigabe an. Es fehlt ein Portal, zum Beispiel das Paket "
           "xdg-desktop-portal-" +
           portal + ".";
}

void throwMissingPortal() {
    const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");  // NOLINT(concurrency-mt-unsafe): never set at run time
    throw RecorderError(missingPortalMessage(desktop == nullptr ? "" : desktop));
}

}  // namespace lumivastor::wayland

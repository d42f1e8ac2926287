// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/portal_standin.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "base/thread_name.h"
#include "base/unique_descriptor.h"
#include "support/await.h"
#include "support/text_file.h"

namespace lumivastor {
namespace {

constexpr const char* kName = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* kInvalid = "org.freedesktop.portal.Error.InvalidArgument";

// The part of an object path that names a client.
std::string pathName(const std::string& uniqueName) {
    std::string name = uniqueName.substr(1);
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

}  // namespace

BusRig::BusRig() {
    requireProgram("dbus-daemon", "dbus-daemon");
    const std::string socketPath = (folder_ / "bus").string();
    // No folders of services: the bus starts nothing by itself.
    folder_.write("bus.conf",
                  "<busconfig><type>session</type><listen>unix:path=" + socketPath +
                      "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow send_destination=\"*\" "
                      "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n");
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"dbus-daemon", "--config-file=" + (folder_ / "bus.conf").string(), "--nofork",
                                 "--nopidfile"},
        std::map<std::string, std::string>{}, folder_ / "bus.log");
    await([&] { return connectedSocket(socketPath).isOpen() || !server_->isRunning(); });
    if (!server_->isRunning()) throw std::runtime_error("no bus: " + readText(folder_ / "bus.log"));
}

std::string BusRig::address() const {
    return "unix:path=" + (folder_ / "bus").string();
}

class PortalStandin::Impl {
  public:
    Impl(const std::string& busAddress, std::string pipeWire, const Options& options);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // Runs on the portal's thread; returns when it has.
    void post(std::function<void()> job);

    void answer(Answer answer);
    void stopSharing();
    void pressShortcut(const std::string& id);
    void bindOtherKeys(const std::string& id, const std::string& keys);
    void vanish();

    const std::string pipeWire_;
    mutable std::mutex lock_;
    std::vector<Call> calls_;               // guarded by lock_
    int closedDialogs_ = 0;                 // guarded by lock_
    int openDialogs_ = 0;                   // guarded by lock_
    int sessionCount_ = 0;                  // guarded by lock_
    std::string lastToken_;                 // guarded by lock_
    std::shared_ptr<ScreenSource> screen_;  // guarded by lock_

  private:
    struct Session {
        std::string client;
        bool hasMetadata = false;
        std::shared_ptr<ScreenSource> screen;
    };
    struct Dialog {
        std::string session;
        std::optional<std::string> shortcut;  // its id, in a dialog about keys
    };

    void run();
    void addInterfaces();
    static void readOptions(sd_bus_message* message, Call& call);
    Call note(sd_bus_message* message, const std::string& method);
    int reject(sd_bus_error* error, const std::string& why);
    std::string requestPath(sd_bus_message* message, const Call& call);
    int respond(sd_bus_message* message, const Call& call, const std::function<void(sd_bus_message*)>& results);
    void sendResponse(const std::string& path, std::uint32_t code, const std::function<void(sd_bus_message*)>& results);
    void end(const std::string& session);
    int openDialog(sd_bus_message* message, const Call& call, const Dialog& dialog);
    void finish(const std::string& request, const Dialog& dialog);
    void finishShortcut(const std::string& request, const std::string& id);

    int create(sd_bus_message* message, sd_bus_error* error);
    int select(sd_bus_message* message, sd_bus_error* error);
    int start(sd_bus_message* message, sd_bus_error* error);
    int open(sd_bus_message* message, sd_bus_error* error);
    int bind(sd_bus_message* message, sd_bus_error* error);
    int closeRequest(sd_bus_message* message, sd_bus_error* error);
    int closeSession(sd_bus_message* message, sd_bus_error* error);
    int clientLeft(sd_bus_message* message, sd_bus_error* error);

    // A function of this class as sd-bus calls it.
    template <int (Impl::*Function)(sd_bus_message*, sd_bus_error*)>
    static int handle(sd_bus_message* message, void* data, sd_bus_error* error) {
        auto* const self = static_cast<Impl*>(data);
        return self->options_.isSilent ? 1 : (self->*Function)(message, error);
    }
    static int getProperty(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply, void* data,
                           sd_bus_error*);
    static int getShortcutsVersion(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data,
                                   sd_bus_error*) {
        return sd_bus_message_append(reply, "u", static_cast<Impl*>(data)->options_.shortcutsVersion);
    }

    Options options_;
    sd_bus* bus_ = nullptr;
    std::map<std::string, Session> sessions_;
    std::map<std::string, Dialog> dialogs_;
    std::vector<std::string> tokens_;
    std::string shortcutSession_;  // the last that bound a shortcut
    UniqueDescriptor wake_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::vector<std::packaged_task<void()>> jobs_;  // guarded by lock_
    bool isStopping_ = false;                       // guarded by lock_
    std::thread thread_;
};

PortalStandin::Impl::Impl(const std::string& busAddress, std::string pipeWire, const Options& options)
    : pipeWire_(std::move(pipeWire)), options_(options) {
    sd_bus_new(&bus_);
    if (sd_bus_set_address(bus_, busAddress.c_str()) < 0 || sd_bus_set_bus_client(bus_, 1) < 0 ||
        sd_bus_negotiate_fds(bus_, 1) < 0 || sd_bus_start(bus_) < 0) {
        throw std::runtime_error("no bus at " + busAddress);
    }
    addInterfaces();
    if (sd_bus_request_name(bus_, kName, 0) < 0) throw std::runtime_error("no name for a portal at " + busAddress);
    thread_ = std::thread([this] { run(); });
}

PortalStandin::Impl::~Impl() {
    post([this] {
        const std::lock_guard hold(lock_);
        isStopping_ = true;
    });
    thread_.join();
    sd_bus_flush_close_unref(bus_);
}

void PortalStandin::Impl::addInterfaces() {
    static const sd_bus_vtable kScreenCast[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CreateSession", "a{sv}", "o", handle<&Impl::create>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("SelectSources", "oa{sv}", "o", handle<&Impl::select>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Start", "osa{sv}", "o", handle<&Impl::start>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("OpenPipeWireRemote", "oa{sv}", "h", handle<&Impl::open>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_PROPERTY("version", "u", getProperty, 0, 0),
        SD_BUS_PROPERTY("AvailableSourceTypes", "u", getProperty, 0, 0),
        SD_BUS_PROPERTY("AvailableCursorModes", "u", getProperty, 0, 0),
        SD_BUS_VTABLE_END};
    static const sd_bus_vtable kKeys[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CreateSession", "a{sv}", "o", handle<&Impl::create>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("BindShortcuts", "oa(sa{sv})sa{sv}", "o", handle<&Impl::bind>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("Activated", "osta{sv}", 0),
        SD_BUS_SIGNAL("ShortcutsChanged", "oa(sa{sv})", 0),
        SD_BUS_PROPERTY("version", "u", getShortcutsVersion, 0, 0),
        SD_BUS_VTABLE_END};
    static const sd_bus_vtable kRequest[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Close", "", "", handle<&Impl::closeRequest>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    static const sd_bus_vtable kSession[] = {
        SD_BUS_VTABLE_START(0), SD_BUS_METHOD("Close", "", "", handle<&Impl::closeSession>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    const auto everywhere = [](sd_bus*, const char*, const char*, void* data, void** found, sd_bus_error*) {
        *found = data;
        return 1;
    };
    const std::string base = kPath;
    // A version of 0 stands for a portal that shares no screens.
    int result = 0;
    if (options_.version > 0) {
        result = sd_bus_add_object_vtable(bus_, nullptr, kPath, "org.freedesktop.portal.ScreenCast", kScreenCast, this);
    }
    if (result >= 0 && options_.shortcutsVersion > 0) {
        result = sd_bus_add_object_vtable(bus_, nullptr, kPath, kShortcuts, kKeys, this);
    }
    for (const auto& [folder, interface, table] :
         {std::tuple{"/request", "org.freedesktop.portal.Request", kRequest},
          std::tuple{"/session", "org.freedesktop.portal.Session", kSession}}) {
        if (result < 0) break;
        result = sd_bus_add_fallback_vtable(bus_, nullptr, (base + folder).c_str(), interface, table, everywhere, this);
    }
    if (result >= 0) {
        result = sd_bus_match_signal(bus_, nullptr, "org.freedesktop.DBus", nullptr, nullptr, "NameOwnerChanged",
                                     handle<&Impl::clientLeft>, this);
    }
    if (result < 0) throw std::runtime_error("no interfaces for a portal");
}

void PortalStandin::Impl::run() {
    nameThisThread("portal.standin");
    while (true) {
        while (sd_bus_process(bus_, nullptr) > 0) {
        }
        sd_bus_flush(bus_);
        std::vector<std::packaged_task<void()>> jobs;
        {
            const std::lock_guard hold(lock_);
            if (isStopping_ && jobs_.empty()) return;
            jobs.swap(jobs_);
        }
        for (auto& job : jobs) job();
        if (!jobs.empty()) continue;
        eventfd_t ignored = 0;
        pollfd watched[] = {{sd_bus_is_open(bus_) > 0 ? sd_bus_get_fd(bus_) : -1, POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        poll(watched, 2, -1);
        static_cast<void>(eventfd_read(wake_.get(), &ignored));
    }
}

void PortalStandin::Impl::post(std::function<void()> job) {
    std::packaged_task<void()> task(std::move(job));
    std::future<void> done = task.get_future();
    {
        const std::lock_guard hold(lock_);
        jobs_.push_back(std::move(task));
    }
    static_cast<void>(eventfd_write(wake_.get(), 1));
    done.get();
}

int PortalStandin::Impl::getProperty(sd_bus*, const char*, const char*, const char* name, sd_bus_message* reply,
                                     void* data, sd_bus_error*) {
    const Options& options = static_cast<Impl*>(data)->options_;
    const std::string_view which = name;
    if (which == "version") return sd_bus_message_append(reply, "u", options.version);
    if (which == "AvailableSourceTypes") return sd_bus_message_append(reply, "u", options.sourceTypes);
    return sd_bus_message_append(reply, "u", options.cursorModes);
}

// Reads an array of options.
void PortalStandin::Impl::readOptions(sd_bus_message* message, Call& call) {
    const char* text = nullptr;
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        std::uint32_t number = 0;
        int flag = 0;
        sd_bus_message_read(message, "s", &key);
        sd_bus_message_peek_type(message, nullptr, &type);
        switch (*type) {
            case 's':
                sd_bus_message_read(message, "v", "s", &text);
                call.options[key] = text;
                break;
            case 'u':
                sd_bus_message_read(message, "v", "u", &number);
                call.options[key] = std::to_string(number);
                break;
            case 'b':
                sd_bus_message_read(message, "v", "b", &flag);
                call.options[key] = flag != 0 ? "true" : "false";
                break;
            default:
                sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

// Reads the options, which come last, and keeps the call.
PortalStandin::Call PortalStandin::Impl::note(sd_bus_message* message, const std::string& method) {
    Call call;
    call.method = method;
    const char* text = nullptr;
    if (method == "BindShortcuts") {
        sd_bus_message_enter_container(message, 'a', "(sa{sv})");
        sd_bus_message_enter_container(message, 'r', "sa{sv}");
        sd_bus_message_read(message, "s", &text);
        call.options["id"] = text;
        readOptions(message, call);
        sd_bus_message_exit_container(message);
        while (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
            Call other;
            sd_bus_message_read(message, "s", &text);
            const std::string id = text;
            readOptions(message, other);
            sd_bus_message_exit_container(message);
            std::string& further = call.options["further"];
            further += (further.empty() ? "" : ", ") + id + " " + other.options["preferred_trigger"] + " " +
                       other.options["description"];
        }
        sd_bus_message_exit_container(message);
    }
    const bool hasWindow = method == "Start" || method == "BindShortcuts";
    if (hasWindow && sd_bus_message_read(message, "s", &text) >= 0) call.parentWindow = text;
    readOptions(message, call);
    const std::lock_guard hold(lock_);
    calls_.push_back(call);
    return call;
}

int PortalStandin::Impl::reject(sd_bus_error* error, const std::string& why) {
    return sd_bus_error_set(error, kInvalid, why.c_str());
}

std::string PortalStandin::Impl::requestPath(sd_bus_message* message, const Call& call) {
    const auto token = call.options.find("handle_token");
    return std::string(kPath) + "/request/" + pathName(sd_bus_message_get_sender(message)) + "/" +
           (token == call.options.end() ? "t" : token->second);
}

void PortalStandin::Impl::sendResponse(const std::string& path, std::uint32_t code,
                                       const std::function<void(sd_bus_message*)>& results) {
    sd_bus_message* signal = nullptr;
    sd_bus_message_new_signal(bus_, &signal, path.c_str(), "org.freedesktop.portal.Request", "Response");
    sd_bus_message_append(signal, "u", code);
    sd_bus_message_open_container(signal, 'a', "{sv}");
    if (results) results(signal);
    sd_bus_message_close_container(signal);
    sd_bus_send(bus_, signal, nullptr);
    sd_bus_message_unref(signal);
}

int PortalStandin::Impl::respond(sd_bus_message* message, const Call& call,
                                 const std::function<void(sd_bus_message*)>& results) {
    const std::string path = requestPath(message, call);
    sd_bus_reply_method_return(message, "o", path.c_str());
    sendResponse(path, 0, results);
    return 1;
}

int PortalStandin::Impl::create(sd_bus_message* message, sd_bus_error* error) {
    const Call call = note(message, "CreateSession");
    const auto token = call.options.find("session_handle_token");
    if (token == call.options.end()) return reject(error, "no session_handle_token");
    const std::string client = sd_bus_message_get_sender(message);
    const std::string path = std::string(kPath) + "/session/" + pathName(client) + "/" + token->second;
    sessions_[path].client = client;
    {
        const std::lock_guard hold(lock_);
        sessionCount_ = static_cast<int>(sessions_.size());
    }
    return respond(message, call, [&](sd_bus_message* results) {
        sd_bus_message_append(results, "{sv}", "session_handle", "s", path.c_str());
    });
}

int PortalStandin::Impl::select(sd_bus_message* message, sd_bus_error* error) {
    const char* session = nullptr;
    sd_bus_message_read(message, "o", &session);
    const Call call = note(message, "SelectSources");
    const auto number = [&](const char* key, std::uint32_t other) {
        const auto found = call.options.find(key);
        return found == call.options.end() ? other : static_cast<std::uint32_t>(std::stoul(found->second));
    };
    if (!sessions_.contains(session)) return reject(error, "no such session");
    if ((number("types", 1) & ~options_.sourceTypes) != 0) return reject(error, "no such source type");
    const std::uint32_t mode = number("cursor_mode", 1);
    if (call.options.contains("cursor_mode") && (mode & options_.cursorModes) == 0) {
        return reject(error, "no such cursor mode");
    }
    if (options_.version < 4 && (call.options.contains("persist_mode") || call.options.contains("restore_token"))) {
        return reject(error, "no such option");
    }
    const auto token = call.options.find("restore_token");
    if (token != call.options.end() && token->second != options_.knownToken &&
        std::find(tokens_.begin(), tokens_.end(), token->second) == tokens_.end()) {
        return reject(error, "no such token");
    }
    sessions_[session].hasMetadata = mode == 4;
    return respond(message, call, {});
}

int PortalStandin::Impl::start(sd_bus_message* message, sd_bus_error* error) {
    const char* session = nullptr;
    sd_bus_message_read(message, "o", &session);
    const std::string path = session;
    const Call call = note(message, "Start");
    if (!sessions_.contains(path)) return reject(error, "no such session");
    return openDialog(message, call, {path, std::nullopt});
}

int PortalStandin::Impl::bind(sd_bus_message* message, sd_bus_error* error) {
    const char* session = nullptr;
    sd_bus_message_read(message, "o", &session);
    const std::string path = session;
    const Call call = note(message, "BindShortcuts");
    if (!sessions_.contains(path)) return reject(error, "no such session");
    shortcutSession_ = path;
    return openDialog(message, call, {path, call.options.at("id")});
}

int PortalStandin::Impl::openDialog(sd_bus_message* message, const Call& call, const Dialog& dialog) {
    const std::string request = requestPath(message, call);
    sd_bus_reply_method_return(message, "o", request.c_str());
    dialogs_[request] = dialog;
    {
        const std::lock_guard hold(lock_);
        ++openDialogs_;
    }
    if (options_.answer != Answer::none) finish(request, dialog);
    return 1;
}

void PortalStandin::Impl::finishShortcut(const std::string& request, const std::string& id) {
    {
        const std::lock_guard hold(lock_);
        --openDialogs_;
    }
    sendResponse(request, static_cast<std::uint32_t>(options_.answer), [&](sd_bus_message* results) {
        if (options_.answer != Answer::grant) return;
        sd_bus_message_open_container(results, 'e', "sv");
        sd_bus_message_append(results, "s", "shortcuts");
        sd_bus_message_open_container(results, 'v', "a(sa{sv})");
        if (options_.boundKeys) {
            sd_bus_message_append(results, "a(sa{sv})", 2, "another", 0, id.c_str(), 2, "description", "s", "as asked",
                                  "trigger_description", "s", options_.boundKeys->c_str());
        } else {
            sd_bus_message_append(results, "a(sa{sv})", 0);
        }
        sd_bus_message_close_container(results);
        sd_bus_message_close_container(results);
    });
}

// The dialog ends with the answer that holds now.
void PortalStandin::Impl::finish(const std::string& request, const Dialog& dialog) {
    const std::string session = dialog.session;
    const auto shortcut = dialog.shortcut;
    dialogs_.erase(request);
    if (shortcut) {
        finishShortcut(request, *shortcut);
        return;
    }
    std::shared_ptr<ScreenSource> screen;
    const std::string token = "00000000-0000-4000-8000-" + std::to_string(100000000000 + tokens_.size());
    const bool isGranted = options_.answer == Answer::grant;
    if (isGranted) {
        ScreenSource::Options options = options_.screen;
        options.hasCursor = options.hasCursor && sessions_[session].hasMetadata;
        screen = std::make_shared<ScreenSource>(pipeWire_, options);
        sessions_[session].screen = screen;
        if (options_.version >= 4) tokens_.push_back(token);
    }
    {
        const std::lock_guard hold(lock_);
        --openDialogs_;
        if (isGranted) {
            screen_ = screen;
            lastToken_ = options_.version >= 4 ? token : "";
        }
    }
    sendResponse(request, static_cast<std::uint32_t>(options_.answer), [&](sd_bus_message* results) {
        if (!isGranted) return;
        if (options_.version >= 4) sd_bus_message_append(results, "{sv}", "restore_token", "s", token.c_str());
        const PixelSize size = options_.screen.size;
        sd_bus_message_append(results, "{sv}", "streams", "a(ua{sv})", 1, screen->node(), 4, "position", "(ii)", 1280,
                              -20, "size", "(ii)", size.width / 2, size.height / 2, "source_type", "u", 1, "mapping_id",
                              "s", "mapped");
    });
}

int PortalStandin::Impl::open(sd_bus_message* message, sd_bus_error* error) {
    const char* session = nullptr;
    sd_bus_message_read(message, "o", &session);
    note(message, "OpenPipeWireRemote");
    if (!sessions_.contains(session)) return reject(error, "no such session");
    const UniqueDescriptor server = connectedSocket(pipeWire_);
    return sd_bus_reply_method_return(message, "h", server.get());
}

int PortalStandin::Impl::closeRequest(sd_bus_message* message, sd_bus_error*) {
    const bool wasOpen = dialogs_.erase(sd_bus_message_get_path(message)) > 0;
    {
        const std::lock_guard hold(lock_);
        if (wasOpen) --openDialogs_;
        if (wasOpen) ++closedDialogs_;
    }
    return sd_bus_reply_method_return(message, "");
}

int PortalStandin::Impl::closeSession(sd_bus_message* message, sd_bus_error*) {
    end(sd_bus_message_get_path(message));
    return sd_bus_reply_method_return(message, "");
}

int PortalStandin::Impl::clientLeft(sd_bus_message* message, sd_bus_error*) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0 || *after != '\0') return 0;
    std::vector<std::string> left;
    for (const auto& [path, session] : sessions_) {
        if (session.client == name) left.push_back(path);
    }
    for (const std::string& path : left) end(path);
    return 0;
}

void PortalStandin::Impl::end(const std::string& session) {
    const auto found = sessions_.find(session);
    if (found == sessions_.end()) return;
    const std::shared_ptr<ScreenSource> screen = found->second.screen;
    sessions_.erase(found);
    if (screen) screen->end();
    const std::lock_guard hold(lock_);
    sessionCount_ = static_cast<int>(sessions_.size());
    if (screen_ == screen) screen_.reset();
}

void PortalStandin::Impl::answer(Answer answer) {
    options_.answer = answer;
    const auto open = dialogs_;
    for (const auto& [request, dialog] : open) finish(request, dialog);
}

void PortalStandin::Impl::stopSharing() {
    while (!sessions_.empty()) {
        const std::string path = sessions_.begin()->first;
        sd_bus_emit_signal(bus_, path.c_str(), "org.freedesktop.portal.Session", "Closed", "");
        end(path);
    }
}

void PortalStandin::Impl::pressShortcut(const std::string& id) {
    sd_bus_emit_signal(bus_, kPath, kShortcuts, "Activated", "osta{sv}", shortcutSession_.c_str(), id.c_str(),
                       std::uint64_t{0}, 0);
}

void PortalStandin::Impl::bindOtherKeys(const std::string& id, const std::string& keys) {
    sd_bus_emit_signal(bus_, kPath, kShortcuts, "ShortcutsChanged", "oa(sa{sv})", shortcutSession_.c_str(), 1,
                       id.c_str(), 1, "trigger_description", "s", keys.c_str());
}

void PortalStandin::Impl::vanish() {
    sd_bus_flush(bus_);
    sd_bus_close(bus_);
}

PortalStandin::PortalStandin(const std::string& busAddress, const std::string& pipeWire, const Options& options)
    : impl_(std::make_unique<Impl>(busAddress, pipeWire, options)) {}

PortalStandin::~PortalStandin() = default;

std::vector<PortalStandin::Call> PortalStandin::calls() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->calls_;
}

PortalStandin::Call PortalStandin::lastCall(const std::string& method) const {
    const auto all = calls();
    const auto found = std::find_if(all.rbegin(), all.rend(), [&](const Call& one) { return one.method == method; });
    if (found == all.rend()) throw std::out_of_range("nobody called " + method);
    return *found;
}

int PortalStandin::openDialogs() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->openDialogs_;
}

int PortalStandin::closedDialogs() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->closedDialogs_;
}

int PortalStandin::sessions() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->sessionCount_;
}

std::string PortalStandin::lastToken() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->lastToken_;
}

std::shared_ptr<ScreenSource> PortalStandin::screen() const {
    const std::lock_guard hold(impl_->lock_);
    return impl_->screen_;
}

void PortalStandin::answer(Answer answer) {
    impl_->post([&] { impl_->answer(answer); });
}

void PortalStandin::stopSharing() {
    impl_->post([&] { impl_->stopSharing(); });
}

void PortalStandin::pressShortcut(const std::string& id) {
    impl_->post([&] { impl_->pressShortcut(id); });
}

void PortalStandin::bindOtherKeys(const std::string& id, const std::string& keys) {
    impl_->post([&] { impl_->bindOtherKeys(id, keys); });
}

void PortalStandin::vanish() {
    impl_->post([&] { impl_->vanish(); });
}

}  // namespace lumivastor

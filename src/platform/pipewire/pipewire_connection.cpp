// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_connection.h"

#include <fcntl.h>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "base/host_clock.h"
#include "base/recorder_error.h"

// PipeWire's calls are macros in GNU's dialect.
#pragma GCC diagnostic ignored "-Wpedantic"

namespace lumivastor::pipewire {
namespace {

constexpr const char* kNobody = "Kein PipeWire-Server gefunden.";

template <auto Destroy>
struct Deleter {
    template <typename T>
    void operator()(T* object) const {
        Destroy(object);
    }
};

std::string text(const spa_dict* properties, const char* key) {
    const char* const value = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
    return value == nullptr ? "" : value;
}

std::uint64_t number(const spa_dict* properties, const char* key) {
    return std::strtoull(text(properties, key).c_str(), nullptr, 10);
}

// Whether something can be recorded from a node: a microphone or a camera.
bool isSource(const PipeWireConnection::Node& node) {
    return node.mediaClass.find("/Source") != std::string::npos || node.mediaClass == "Audio/Duplex";
}

// The name in {"name":"..."}.
std::optional<std::string> nameIn(const char* value) {
    spa_json outer{};
    spa_json object{};
    std::array<char, 256> word{};
    spa_json_init(&outer, value, std::char_traits<char>::length(value));
    if (spa_json_enter_object(&outer, &object) <= 0) return std::nullopt;
    while (spa_json_get_string(&object, word.data(), word.size()) > 0) {
        const bool isName = std::string(word.data()) == "name";
        if (spa_json_get_string(&object, word.data(), word.size()) <= 0) return std::nullopt;
        if (isName) return std::string(word.data());
    }
    return std::nullopt;
}

}  // namespace

class PipeWireConnection::Impl {
  public:
    struct Port {
        std::uint32_t node = 0;
        bool isOutput = false;
    };

    struct Link {
        std::uint32_t from = 0;  // nodes
        std::uint32_t to = 0;
    };

    using Connect = std::function<pw_core*(pw_context*)>;

    explicit Impl(const Connect& connect);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void run(double seconds) {
        pw_loop_iterate(loop.get(), static_cast<int>(std::ceil(std::clamp(seconds, 0.0, 1.0) * 1000)));
    }
    bool runUntil(const std::function<bool()>& done, double timeout);
    /// All earlier requests have been answered.
    bool sync(double timeout);

    std::unique_ptr<pw_loop, Deleter<pw_loop_destroy>> loop;
    std::unique_ptr<pw_context, Deleter<pw_context_destroy>> context;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    pw_metadata* metadata = nullptr;
    std::uint32_t metadataId = 0;
    spa_hook coreHook{};
    spa_hook registryHook{};
    spa_hook metadataHook{};
    bool isAlive = true;
    int reached = 0;
    std::map<std::uint32_t, Node> nodes;
    std::map<std::uint32_t, Port> ports;
    std::map<std::uint32_t, Link> links;
    std::uint64_t changes = 0;
    std::map<std::string, std::string> defaults;

  private:
    void add(std::uint32_t id, const char* type, std::uint32_t version, const spa_dict* properties);
    void remove(std::uint32_t id);
    void bindMetadata(std::uint32_t id, const char* type, std::uint32_t version);
};

PipeWireConnection::Impl::Impl(const Connect& connect) {
    static std::once_flag once;
    std::call_once(once, [] {
        pw_init(nullptr, nullptr);
        // The library writes warnings to standard error where PipeWire is not installed. Users need not see them,
        // because failures are reported in German; developers set the variable.
        const char* wanted = std::getenv("PIPEWIRE_DEBUG");  // NOLINT(concurrency-mt-unsafe): never set at run time
        if (wanted == nullptr) pw_log_set_level(SPA_LOG_LEVEL_NONE);
    });
    loop.reset(pw_loop_new(nullptr));
    if (!loop) throw RecorderError(kNobody);
    pw_loop_enter(loop.get());
    context.reset(pw_context_new(loop.get(), nullptr, 0));
    if (context) core = connect(context.get());
    if (core == nullptr) {
        context.reset();
        pw_loop_leave(loop.get());
        throw RecorderError(kNobody);
    }

    static constexpr pw_core_events kCoreEvents = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.done = [](void* data, std::uint32_t id, int sequence) {
            if (id == PW_ID_CORE) static_cast<Impl*>(data)->reached = sequence;
        };
        events.error = [](void* data, std::uint32_t id, int, int result, const char*) {
            if (id == PW_ID_CORE && result == -EPIPE) static_cast<Impl*>(data)->isAlive = false;
        };
        return events;
    }();
    pw_core_add_listener(core, &coreHook, &kCoreEvents, this);

    static constexpr pw_registry_events kRegistryEvents = [] {
        pw_registry_events events{};
        events.version = PW_VERSION_REGISTRY_EVENTS;
        events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t version,
                           const spa_dict* properties) {
            static_cast<Impl*>(data)->add(id, type, version, properties);
        };
        events.global_remove = [](void* data, std::uint32_t id) { static_cast<Impl*>(data)->remove(id); };
        return events;
    }();
    registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(registry, &registryHook, &kRegistryEvents, this);
}

PipeWireConnection::Impl::~Impl() {
    if (metadata != nullptr) {
        spa_hook_remove(&metadataHook);
        pw_proxy_destroy(reinterpret_cast<pw_proxy*>(metadata));
    }
    spa_hook_remove(&registryHook);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    spa_hook_remove(&coreHook);
    pw_core_disconnect(core);
    context.reset();
    pw_loop_leave(loop.get());
}

void PipeWireConnection::Impl::add(std::uint32_t id, const char* type, std::uint32_t version,
                                   const spa_dict* properties) {
    const std::string kind = type;
    if (kind == PW_TYPE_INTERFACE_Node) {
        Node node;
        node.id = id;
        node.serial = number(properties, PW_KEY_OBJECT_SERIAL);
        node.name = text(properties, PW_KEY_NODE_NAME);
        node.description = text(properties, PW_KEY_NODE_DESCRIPTION);
        if (node.description.empty()) node.description = node.name;
        node.mediaClass = text(properties, PW_KEY_MEDIA_CLASS);
        if (!text(properties, PW_KEY_DEVICE_ID).empty()) {
            node.device = static_cast<std::uint32_t>(number(properties, PW_KEY_DEVICE_ID));
        }
        nodes[id] = node;
        if (isSource(node)) ++changes;
    } else if (kind == PW_TYPE_INTERFACE_Port) {
        ports[id] = {static_cast<std::uint32_t>(number(properties, PW_KEY_NODE_ID)),
                     text(properties, PW_KEY_PORT_DIRECTION) == "out"};
    } else if (kind == PW_TYPE_INTERFACE_Link) {
        links[id] = {static_cast<std::uint32_t>(number(properties, PW_KEY_LINK_OUTPUT_NODE)),
                     static_cast<std::uint32_t>(number(properties, PW_KEY_LINK_INPUT_NODE))};
    } else if (kind == PW_TYPE_INTERFACE_Metadata && text(properties, PW_KEY_METADATA_NAME) == "default") {
        if (metadata == nullptr) bindMetadata(id, type, version);
    }
}

void PipeWireConnection::Impl::bindMetadata(std::uint32_t id, const char* type, std::uint32_t version) {
    metadata = static_cast<pw_metadata*>(
        pw_registry_bind(registry, id, type, std::min<std::uint32_t>(version, PW_VERSION_METADATA), 0));
    if (metadata == nullptr) return;
    metadataId = id;
    static constexpr pw_metadata_events kEvents = [] {
        pw_metadata_events events{};
        events.version = PW_VERSION_METADATA_EVENTS;
        events.property = [](void* data, std::uint32_t, const char* key, const char*, const char* value) {
            auto& all = static_cast<Impl*>(data)->defaults;
            ++static_cast<Impl*>(data)->changes;
            if (key == nullptr) {
                all.clear();
            } else if (const auto name = value == nullptr ? std::nullopt : nameIn(value)) {
                all[key] = *name;
            } else {
                all.erase(key);
            }
            return 0;
        };
        return events;
    }();
    pw_metadata_add_listener(metadata, &metadataHook, &kEvents, this);
}

void PipeWireConnection::Impl::remove(std::uint32_t id) {
    const auto node = nodes.find(id);
    if (node != nodes.end()) {
        if (isSource(node->second)) ++changes;
        nodes.erase(node);
    }
    ports.erase(id);
    links.erase(id);
    if (metadata == nullptr || id != metadataId) return;
    spa_hook_remove(&metadataHook);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(metadata));
    metadata = nullptr;
    defaults.clear();
    ++changes;
}

bool PipeWireConnection::Impl::runUntil(const std::function<bool()>& done, double timeout) {
    const double until = hostClockSeconds() + timeout;
    while (!done()) {
        const double left = until - hostClockSeconds();
        if (left <= 0 || !isAlive) return false;
        run(left);
    }
    return true;
}

bool PipeWireConnection::Impl::sync(double timeout) {
    const int sequence = pw_core_sync(core, PW_ID_CORE, 0);
    return runUntil([&] { return reached == sequence; }, timeout);
}

PipeWireConnection::PipeWireConnection(const std::string& remote, double timeout)
    : impl_(std::make_unique<Impl>([&](pw_context* context) {
          pw_properties* const properties = pw_properties_new(nullptr, nullptr);
          if (!remote.empty()) pw_properties_set(properties, PW_KEY_REMOTE_NAME, remote.c_str());
          return pw_context_connect(context, properties, 0);
      })) {
    // The first round trip brings the objects, the second their properties.
    if (!impl_->sync(timeout) || !impl_->sync(timeout)) {
        throw RecorderError(isAlive() ? "Der PipeWire-Server antwortet nicht." : kNobody);
    }
}

PipeWireConnection::PipeWireConnection(UniqueDescriptor server)
    : impl_(std::make_unique<Impl>([&](pw_context* context) {
          // The library closes the copy that it is given.
          const int copy = fcntl(server.get(), F_DUPFD_CLOEXEC, 0);
          return copy < 0 ? nullptr : pw_context_connect_fd(context, copy, nullptr, 0);
      })) {}

PipeWireConnection::~PipeWireConnection() = default;

pw_core* PipeWireConnection::core() const {
    return impl_->core;
}

pw_registry* PipeWireConnection::registry() const {
    return impl_->registry;
}

bool PipeWireConnection::isAlive() const {
    return impl_->isAlive;
}

void PipeWireConnection::run(double seconds) {
    impl_->run(seconds);
}

bool PipeWireConnection::runUntil(const std::function<bool()>& done, double timeout) {
    return impl_->runUntil(done, timeout);
}

bool PipeWireConnection::sync(double timeout) {
    return impl_->sync(timeout);
}

std::vector<PipeWireConnection::Node> PipeWireConnection::nodes() const {
    std::vector<Node> all;
    for (const auto& [id, node] : impl_->nodes) {
        all.push_back(node);
        for (const auto& [portId, port] : impl_->ports) {
            if (port.node != id) continue;
            if (port.isOutput) {
                ++all.back().outputPorts;
            } else if (!all.back().firstInputPort) {
                all.back().firstInputPort = portId;
            }
        }
    }
    return all;
}

std::optional<PipeWireConnection::Node> PipeWireConnection::node(const std::string& name) const {
    for (Node& node : nodes()) {
        if (node.name == name) return std::move(node);
    }
    return std::nullopt;
}

bool PipeWireConnection::hasNode(std::uint32_t id) const {
    return impl_->nodes.count(id) > 0;
}

std::optional<PipeWireConnection::Node> PipeWireConnection::sourceOf(std::uint32_t id) const {
    for (const auto& [linkId, link] : impl_->links) {
        const auto found = impl_->nodes.find(link.from);
        if (link.to == id && found != impl_->nodes.end()) return found->second;
    }
    return std::nullopt;
}

std::uint64_t PipeWireConnection::changes() const {
    return impl_->changes;
}

std::optional<std::string> PipeWireConnection::defaultName(const std::string& kind) const {
    const auto found = impl_->defaults.find("default." + kind);
    if (found == impl_->defaults.end()) return std::nullopt;
    return found->second;
}

}  // namespace lumivastor::pipewire

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_list.h"

#include <xcb/res.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <fstream>

#include "platform/x11/window_layer.h"
#include "platform/x11/window_shadow.h"
#include "platform/x11/x_properties.h"

namespace lumivastor::x11 {
namespace {

// More windows than any desktop has; further ones that a faulty manager lists are ignored.
constexpr std::uint32_t kListBytes = 4 * 4096;
constexpr std::uint32_t kStateIconic = 3;
constexpr std::uint32_t kStateWithdrawn = 0;

// Whether the manager that the root window names still runs. Its window can outlive it, but then no longer refers to
// itself.
bool hasManager(const XConnection& connection) {
    const auto check = connection.atom(XAtom::netSupportingWmCheck);
    const auto named = readProperty(connection, connection.root(), check).numbers();
    if (named.size() != 1) return false;
    return readProperty(connection, named.front(), check).numbers() == named;
}

std::vector<std::uint32_t> children(const XConnection& connection, std::uint32_t window) {
    const auto reply = xReply(connection, xcb_query_tree_reply, xcb_query_tree(connection, window));
    if (!reply) return {};
    const auto* first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

std::vector<XAtom> knownWords(const XConnection& connection, const XProperty& property) {
    std::vector<XAtom> words;
    for (const std::uint32_t atom : property.numbers()) {
        for (std::size_t i = 0; i < kAtomNames.size(); ++i) {
            if (connection.atom(static_cast<XAtom>(i)) == atom) words.push_back(static_cast<XAtom>(i));
        }
    }
    return words;
}

std::optional<std::string> processName(int process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    if (!std::getline(file, name) || name.empty()) return std::nullopt;
    return name;
}

// Everything about one window, asked for at once.
struct WindowQuestion {
    WindowQuestion(const XConnection& connection, std::uint32_t window)
        : id(window),
          attributes(xcb_get_window_attributes(connection, window)),
          geometry(xcb_get_geometry(connection, window)),
          place(xcb_translate_coordinates(connection, window, connection.root(), 0, 0)),
          shadow(connection, window, connection.atom(XAtom::gtkFrameExtents)),
          managerState(connection, window, connection.atom(XAtom::wmState)),
          states(connection, window, connection.atom(XAtom::netWmState)),
          types(connection, window, connection.atom(XAtom::netWmWindowType)),
          name(connection, window, connection.atom(XAtom::netWmName)),
          oldName(connection, window, XCB_ATOM_WM_NAME),
          wmClass(connection, window, XCB_ATOM_WM_CLASS),
          process(connection, window, connection.atom(XAtom::netWmPid)) {}

    std::uint32_t id;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t place;
    XPropertyRequest shadow, managerState, states, types, name, oldName, wmClass, process;
};

std::optional<platform::RunningApplication> applicationFrom(const XProperty& wmClass, const XProperty& process,
                                                            int processOfClient) {
    platform::RunningApplication application;
    application.bundleIdentifier = className(wmClass.text());
    application.processId = processOfClient;
    // The window's own claim: it may be wrong, or mean a process of another machine.
    if (const auto claimed = process.numbers(); application.processId == 0 && claimed.size() == 1) {
        application.processId = static_cast<int>(claimed.front());
    }
    application.name = application.bundleIdentifier;
    if (!application.name && application.processId > 0) application.name = processName(application.processId);
    if (application.processId == 0 && !application.bundleIdentifier) return std::nullopt;
    return application;
}

// Fetches all replies, even useless ones: the library would keep an unfetched reply for ever.
std::optional<platform::Window> takeAnswer(const XConnection& connection, const WindowQuestion& question,
                                           const MonitorList& monitors, const ClientProcesses& processes) {
    const auto attributes = xReply(connection, xcb_get_window_attributes_reply, question.attributes);
    const auto geometry = xReply(connection, xcb_get_geometry_reply, question.geometry);
    const auto place = xReply(connection, xcb_translate_coordinates_reply, question.place);
    const auto shadow = question.shadow.fetch().numbers();
    const auto managerState = question.managerState.fetch().numbers();
    const auto states = knownWords(connection, question.states.fetch());
    const auto types = knownWords(connection, question.types.fetch());
    const auto name = question.name.fetch();
    const auto oldName = question.oldName.fetch();
    const auto wmClass = question.wmClass.fetch();
    const auto process = question.process.fetch();

    if (!attributes || !geometry || !place) return std::nullopt;
    if (attributes->map_state != XCB_MAP_STATE_VIEWABLE || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
        return std::nullopt;
    }
    if (!managerState.empty() && (managerState[0] == kStateIconic || managerState[0] == kStateWithdrawn)) {
        return std::nullopt;
    }
    if (std::find(states.begin(), states.end(), XAtom::netWmStateHidden) != states.end()) return std::nullopt;

    const PixelRect pixels = withoutShadow({place->dst_x, place->dst_y, geometry->width, geometry->height}, shadow);
    const platform::Display* display = displayOf(monitors, pixels);
    if (display == nullptr) return std::nullopt;
    platform::Window window;
    window.id = question.id;
    const std::string title = utf8Text(name.bytes.empty() ? oldName.text() : name.text());
    if (!title.empty()) window.title = title;
    window.application = applicationFrom(wmClass, process, processes.processOf(question.id));
    window.layer = windowLayer(types, states);
    window.frame =
        display->pointSpace().rectFromPixels({static_cast<double>(pixels.x), static_cast<double>(pixels.y),
                                              static_cast<double>(pixels.width), static_cast<double>(pixels.height)});
    window.displayID = display->id;
    return window;
}

}  // namespace

std::vector<std::uint32_t> readClientWindows(const XConnection& connection) {
    std::vector<std::uint32_t> windows;
    if (hasManager(connection)) {
        windows = readProperty(connection, connection.root(), connection.atom(XAtom::netClientListStacking), kListBytes)
                      .numbers();
    } else {
        windows = children(connection, connection.root());
    }
    std::reverse(windows.begin(), windows.end());
    return windows;
}

std::vector<platform::Window> readWindows(const XConnection& connection, const MonitorList& monitors) {
    const ClientProcesses processes(connection);
    std::vector<WindowQuestion> questions;
    for (const std::uint32_t id : readClientWindows(connection)) questions.emplace_back(connection, id);
    std::vector<platform::Window> windows;
    for (const WindowQuestion& question : questions) {
        if (auto window = takeAnswer(connection, question, monitors, processes)) windows.push_back(std::move(*window));
    }
    return windows;
}

std::vector<platform::RunningApplication> applicationsOf(const std::vector<platform::Window>& windows) {
    std::vector<platform::RunningApplication> applications;
    for (const platform::Window& window : windows) {
        if (!window.application) continue;
        const bool isKnown = std::any_of(applications.begin(), applications.end(), [&](const auto& one) {
            return one.processId == window.application->processId &&
                   one.bundleIdentifier == window.application->bundleIdentifier;
        });
        if (!isKnown) applications.push_back(*window.application);
    }
    return applications;
}

ClientProcesses::ClientProcesses(const XConnection& connection) {
    if (!connection.hasClientIds() || connection.isBroken()) return;
    clientBits_ = ~xcb_get_setup(connection)->resource_id_mask;
    const xcb_res_client_id_spec_t all{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto reply =
        xReply(connection, xcb_res_query_client_ids_reply, xcb_res_query_client_ids(connection, 1, &all));
    if (!reply) return;
    for (auto it = xcb_res_query_client_ids_ids_iterator(reply.get()); it.rem > 0; xcb_res_client_id_value_next(&it)) {
        if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) == 0 ||
            xcb_res_client_id_value_value_length(it.data) < 1) {
            continue;
        }
        processes_[it.data->spec.client & clientBits_] = static_cast<int>(*xcb_res_client_id_value_value(it.data));
    }
}

int ClientProcesses::processOf(std::uint32_t resource) const {
    const auto found = processes_.find(resource & clientBits_);
    return found == processes_.end() ? 0 : found->second;
}

std::optional<std::string> className(std::string_view property) {
    const auto end = property.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    std::string name = utf8Text(property.substr(end + 1));
    if (name.empty()) return std::nullopt;
    return name;
}

}  // namespace lumivastor::x11

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/xwayland.h"

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace lumivastor::x11 {
namespace {

// Xwayland has an extension of this name since version 23.1; its outputs are called XWAYLAND0 and so on unless the
// desktop gives them other names.
constexpr std::string_view kName = "XWAYLAND";

std::vector<std::string> outputNames(const XConnection& connection) {
    std::vector<std::string> names;
    if (!connection.hasMonitors()) return names;
    const auto resources = xReply(connection, xcb_randr_get_screen_resources_current_reply,
                                  xcb_randr_get_screen_resources_current(connection, connection.root()));
    if (!resources) return names;
    const xcb_randr_output_t* const outputs = xcb_randr_get_screen_resources_current_outputs(resources.get());
    for (int i = 0; i < xcb_randr_get_screen_resources_current_outputs_length(resources.get()); ++i) {
        const auto output = xReply(connection, xcb_randr_get_output_info_reply,
                                   xcb_randr_get_output_info(connection, outputs[i], resources->config_timestamp));
        if (!output) continue;
        const auto* const name = reinterpret_cast<const char*>(xcb_randr_get_output_info_name(output.get()));
        names.emplace_back(name, static_cast<std::size_t>(xcb_randr_get_output_info_name_length(output.get())));
    }
    return names;
}

std::vector<std::string> extensionNames(const XConnection& connection) {
    std::vector<std::string> names;
    const auto reply = xReply(connection, xcb_list_extensions_reply, xcb_list_extensions(connection));
    if (!reply) return names;
    for (auto it = xcb_list_extensions_names_iterator(reply.get()); it.rem > 0; xcb_str_next(&it)) {
        names.emplace_back(xcb_str_name(it.data), static_cast<std::size_t>(xcb_str_name_length(it.data)));
    }
    return names;
}

}  // namespace

bool isXwayland(std::span<const std::string> outputs, std::span<const std::string> extensions) {
    return std::any_of(extensions.begin(), extensions.end(), [](const std::string& name) { return name == kName; }) ||
           std::any_of(outputs.begin(), outputs.end(), [](const std::string& name) { return name.starts_with(kName); });
}

bool isXwayland(const XConnection& connection) {
    const BrokenPipeGuard guard;
    return isXwayland(outputNames(connection), extensionNames(connection));
}

}  // namespace lumivastor::x11

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/portal_values.h"

#include <systemd/sd-bus.h>

namespace lumivastor::wayland {

bool readEntries(sd_bus_message* message,
                 const std::function<bool(std::string_view key, std::string_view type)>& read) {
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return false;
    int entry = 0;
    while ((entry = sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* key = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message, "s", &key) < 0) return false;
        if (sd_bus_message_peek_type(message, nullptr, &type) < 0) return false;
        if (!read(key, type) && sd_bus_message_skip(message, "v") < 0) return false;
        if (sd_bus_message_exit_container(message) < 0) return false;
    }
    return entry == 0 && sd_bus_message_exit_container(message) >= 0;
}

bool readText(sd_bus_message* message, std::string_view type, std::string& text) {
    const char* value = nullptr;
    if (type == "s" ? sd_bus_message_read(message, "v", "s", &value) < 0
                    : type != "o" || sd_bus_message_read(message, "v", "o", &value) < 0) {
        return false;
    }
    text = value;
    return true;
}

std::string createPortalSession(PortalConnection& connection, const std::string& interface) {
    std::string path;
    PortalConnection::Question question;
    question.interface = interface;
    question.method = "CreateSession";
    const std::string token = PortalConnection::newToken();
    question.options = [&](sd_bus_message* message) {
        sd_bus_message_append(message, "{sv}", "session_handle_token", "s", token.c_str());
    };
    question.answer = [&](sd_bus_message* message) {
        const auto read = [&](std::string_view key, std::string_view type) {
            return key == "session_handle" && readText(message, type, path);
        };
        return readEntries(message, read) && sd_bus_object_path_is_valid(path.c_str()) > 0;
    };
    return connection.ask(question) ? path : "";
}

}  // namespace lumivastor::wayland

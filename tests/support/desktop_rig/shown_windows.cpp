// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/shown_windows.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace lumivastor {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
std::unique_ptr<T, Free> owned(T* reply) {
    return std::unique_ptr<T, Free>(reply);
}

class Search {
  public:
    Search(xcb_connection_t* connection, std::string title)
        : connection_(connection), title_(std::move(title)), name_(atom("_NET_WM_NAME")), text_(atom("UTF8_STRING")) {}

    std::optional<ShownWindow> below(xcb_window_t parent, int depth) const {
        const auto tree = owned(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, parent), nullptr));
        if (!tree || depth == 0) return std::nullopt;
        const xcb_window_t* const children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            if (titleOf(children[i]) == title_ && isViewable(children[i])) return place(children[i]);
            if (const auto found = below(children[i], depth - 1)) return found;
        }
        return std::nullopt;
    }

  private:
    xcb_atom_t atom(const std::string& name) const {
        const auto reply = owned(xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
            nullptr));
        return reply ? reply->atom : xcb_atom_t{0};
    }
    std::string titleOf(xcb_window_t window) const {
        const auto reply = owned(xcb_get_property_reply(
            connection_, xcb_get_property(connection_, 0, window, name_, text_, 0, 256), nullptr));
        if (!reply) return {};
        return {static_cast<const char*>(xcb_get_property_value(reply.get())),
                static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
    }
    bool isViewable(xcb_window_t window) const {
        const auto reply = owned(
            xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }
    std::optional<ShownWindow> place(xcb_window_t window) const {
        const auto size = owned(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
        if (!size) return std::nullopt;
        const auto corner = owned(xcb_translate_coordinates_reply(
            connection_, xcb_translate_coordinates(connection_, window, size->root, 0, 0), nullptr));
        if (!corner) return std::nullopt;
        return ShownWindow{corner->dst_x, corner->dst_y, size->width, size->height};
    }

    xcb_connection_t* connection_;
    const std::string title_;
    const xcb_atom_t name_;
    const xcb_atom_t text_;
};

}  // namespace

std::optional<ShownWindow> shownWindow(const std::string& displayName, const std::string& title) {
    xcb_connection_t* const connection = xcb_connect(displayName.c_str(), nullptr);
    std::optional<ShownWindow> found;
    if (xcb_connection_has_error(connection) == 0) {
        found = Search(connection, title).below(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root, 4);
    }
    xcb_disconnect(connection);
    return found;
}

}  // namespace lumivastor

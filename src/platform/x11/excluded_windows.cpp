// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/excluded_windows.h"

#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "base/recorder_error.h"
#include "platform/x11/window_list.h"
#include "platform/x11/x_properties.h"

namespace lumivastor::x11 {
namespace {

std::vector<std::uint32_t> rootChildren(const XConnection& connection) {
    const auto reply = xReply(connection, xcb_query_tree_reply, xcb_query_tree(connection, connection.root()));
    if (!reply) return {};
    const auto* first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

// The top-level window that contains this one: the frame that a window manager puts around it.
std::uint32_t topLevelOf(const XConnection& connection, std::uint32_t window) {
    for (int depth = 0; depth < 16; ++depth) {
        const auto reply = xReply(connection, xcb_query_tree_reply, xcb_query_tree(connection, window));
        if (!reply || reply->parent == XCB_NONE) return 0;
        if (reply->parent == connection.root()) return window;
        window = reply->parent;
    }
    return 0;
}

// The client part of a resource id is 0 for the server's own windows, such as the overlay window of compositing
// managers. They belong to no program.
bool isServers(const XConnection& connection, std::uint32_t window) {
    return (window & ~xcb_get_setup(connection)->resource_id_mask) == 0;
}

// The top-level windows that contain a window of these processes one or two levels below: the manager's frames around
// their windows. Window managers list a window only some time after they framed it, and until then this is the only way
// to know.
std::set<std::uint32_t> framesAround(const XConnection& connection, const std::vector<std::uint32_t>& windows,
                                     const std::function<bool(std::uint32_t window)>& isWanted) {
    // More children than this no frame has.
    constexpr int kMaximumChildren = 32;
    std::set<std::uint32_t> frames;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> level;  // a window and its top-level window
    for (const std::uint32_t window : windows) level.emplace_back(window, window);
    for (int depth = 0; depth < 2; ++depth) {
        std::vector<xcb_query_tree_cookie_t> cookies;
        for (const auto& [window, top] : level) cookies.push_back(xcb_query_tree(connection, window));
        std::vector<std::pair<std::uint32_t, std::uint32_t>> next;
        for (std::size_t i = 0; i < cookies.size(); ++i) {
            const auto reply = xReply(connection, xcb_query_tree_reply, cookies[i]);
            const int count = reply ? xcb_query_tree_children_length(reply.get()) : 0;
            if (count > kMaximumChildren) continue;
            for (int k = 0; k < count; ++k) {
                const std::uint32_t child = xcb_query_tree_children(reply.get())[k];
                if (isWanted(child)) frames.insert(level[i].second);
                next.emplace_back(child, level[i].second);
            }
        }
        level = std::move(next);
    }
    return frames;
}

}  // namespace

ExcludedWindows::ExcludedWindows(const XConnection& connection, std::vector<platform::RunningApplication> applications)
    : connection_(connection), applications_(std::move(applications)) {
    if (isAsked() && (!connection.hasComposite() || !connection.hasRender() || !connection.hasFixes())) {
        throw RecorderError(
            "Dem Bildschirmserver fehlen die Erweiterungen Composite und RENDER, mit denen sich einzelne Programme aus "
            "der Aufnahme heraushalten lassen.");
    }
}

ExcludedWindows::~ExcludedWindows() {
    for (const auto& [id, touching] : touching_) {
        xcb_composite_unredirect_window(connection_, id, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    }
}

void ExcludedWindows::handleEvent(const XEvent& event) {
    switch (event.type()) {
        case XCB_CREATE_NOTIFY:
        case XCB_DESTROY_NOTIFY:
        case XCB_MAP_NOTIFY:
        case XCB_UNMAP_NOTIFY:
        case XCB_REPARENT_NOTIFY:
            ownersChanged_ = true;
            stackChanged_ = true;
            break;
        case XCB_PROPERTY_NOTIFY:
            // The manager lists its windows only some time after it framed them.
            if (event.as<xcb_property_notify_event_t>().atom == connection_.atom(XAtom::netClientListStacking)) {
                ownersChanged_ = true;
                stackChanged_ = true;
            }
            break;
        case XCB_CONFIGURE_NOTIFY:
        case XCB_CIRCULATE_NOTIFY:
            stackChanged_ = true;
            break;
        default:
            break;
    }
}

void ExcludedWindows::notifyDamage(std::uint32_t damage) {
    for (auto& [id, touching] : touching_) {
        if (touching.damage->id() == damage) touching.damage->notify();
    }
}

bool ExcludedWindows::isExcluded(int process, const std::optional<std::string>& name) const {
    return std::any_of(applications_.begin(), applications_.end(), [&](const platform::RunningApplication& one) {
        return (process != 0 && process == one.processId) || (name && name == one.bundleIdentifier);
    });
}

// A manager takes a window that goes out of its frame before it unmaps the frame, which shows what it showed until
// then. So a frame stays excluded as long as it is there, unless it holds somebody else's window by now.
std::set<std::uint32_t> ExcludedWindows::emptiedFrames(const std::vector<std::uint32_t>& onRoot,
                                                       const ClientProcesses& processes) const {
    std::vector<std::uint32_t> frames;
    std::set<int> managers;
    for (const std::uint32_t window : onRoot) {
        const int process = processes.processOf(window);
        if (!excluded_.contains(window) || isExcluded(process, {})) continue;
        frames.push_back(window);
        managers.insert(process);
    }
    const std::set<std::uint32_t> taken = framesAround(connection_, frames, [&](std::uint32_t window) {
        const int process = processes.processOf(window);
        return !isExcluded(process, {}) && !managers.contains(process);
    });
    std::set<std::uint32_t> emptied(frames.begin(), frames.end());
    for (const std::uint32_t window : taken) emptied.erase(window);
    return emptied;
}

void ExcludedWindows::findOwners() {
    ownersChanged_ = false;
    std::vector<std::uint32_t> windows = rootChildren(connection_);
    const std::size_t onTop = windows.size();
    for (const std::uint32_t client : readClientWindows(connection_)) {
        if (std::find(windows.begin(), windows.end(), client) == windows.end()) windows.push_back(client);
    }
    std::vector<XPropertyRequest> classes;
    std::vector<XPropertyRequest> processIds;
    for (const std::uint32_t window : windows) {
        classes.emplace_back(connection_, window, XCB_ATOM_WM_CLASS);
        processIds.emplace_back(connection_, window, connection_.atom(XAtom::netWmPid));
    }
    const ClientProcesses processes(connection_);
    const std::vector<std::uint32_t> onRoot(windows.begin(), windows.begin() + static_cast<std::ptrdiff_t>(onTop));
    const std::set<std::uint32_t> emptied = emptiedFrames(onRoot, processes);
    excluded_ = framesAround(connection_, onRoot,
                             [&](std::uint32_t window) { return isExcluded(processes.processOf(window), {}); });
    excluded_.insert(emptied.begin(), emptied.end());
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto name = className(classes[i].fetch().text());
        const auto claimed = processIds[i].fetch().numbers();
        int process = processes.processOf(windows[i]);
        if (process == 0 && claimed.size() == 1) process = static_cast<int>(claimed.front());
        if (windows[i] == (compositor_ ? compositor_->backdrop() : 0) || !isExcluded(process, name)) continue;
        const std::uint32_t top = i < onTop ? windows[i] : topLevelOf(connection_, windows[i]);
        if (top != 0) excluded_.insert(top);
    }
}

void ExcludedWindows::readStack() {
    stackChanged_ = false;
    stack_.clear();
    if (excluded_.empty()) return;
    const auto windows = rootChildren(connection_);
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    std::vector<xcb_get_geometry_cookie_t> geometries;
    for (const std::uint32_t window : windows) {
        attributes.push_back(xcb_get_window_attributes(connection_, window));
        geometries.push_back(xcb_get_geometry(connection_, window));
    }
    bool isAnySeen = false;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto attribute = xReply(connection_, xcb_get_window_attributes_reply, attributes[i]);
        const auto geometry = xReply(connection_, xcb_get_geometry_reply, geometries[i]);
        if (!attribute || !geometry || attribute->map_state != XCB_MAP_STATE_VIEWABLE ||
            attribute->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || isServers(connection_, windows[i]) ||
            (compositor_ && windows[i] == compositor_->backdrop())) {
            continue;
        }
        const int border = geometry->border_width;
        stack_.push_back({windows[i],
                          {geometry->x, geometry->y, geometry->width + 2 * border, geometry->height + 2 * border},
                          border,
                          attribute->visual,
                          excluded_.contains(windows[i])});
        isAnySeen = isAnySeen || stack_.back().isExcluded;
    }
    if (!isAnySeen) stack_.clear();
}

// Windows that are covered have no pixels of their own unless they are redirected.
void ExcludedWindows::redirectTouching(const PixelRect& area) {
    const auto wanted = windowsAtExcluded(stack_, area);
    std::erase_if(touching_, [&](const auto& entry) {
        const bool stays =
            std::any_of(wanted.begin(), wanted.end(), [&](const auto& one) { return one.id == entry.first; });
        if (!stays) {
            xcb_composite_unredirect_window(connection_, entry.first, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        }
        return !stays;
    });
    for (const StackedWindow& window : wanted) {
        const auto [place, isNew] = touching_.try_emplace(window.id);
        place->second.outside = window.outside;
        place->second.border = window.border;
        if (!isNew) continue;
        xcb_composite_redirect_window(connection_, window.id, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        place->second.damage = std::make_unique<XDamage>(connection_, window.id);
    }
}

void ExcludedWindows::update(const PixelRect& area, imaging::DamageArea& painted) {
    if (!isAsked()) return;
    if (ownersChanged_ || stackChanged_) {
        if (ownersChanged_) findOwners();
        readStack();
        redirectTouching(area);
        // A window that turns out to be excluded may have been in the picture for a moment.
        painted.add(excludedParts(stack_, area));
    }
    for (auto& [id, touching] : touching_) {
        if (!touching.damage->isNotified()) continue;
        const PixelRect inside = touching.outside.movedBy(touching.border, touching.border);
        for (const PixelRect& rect : touching.damage->collect()) {
            painted.add(intersection(rect.movedBy(inside.x, inside.y), area));
        }
    }
}

bool ExcludedWindows::isAnyIn(const PixelRect& area) const {
    return !excludedParts(stack_, area).isEmpty();
}

void ExcludedWindows::refresh(const PixelRect& area) {
    // The next update must still report what is found now as a change of the picture.
    const bool isNews = hasChanged();
    if (ownersChanged_) findOwners();
    readStack();
    if (isNews) redirectTouching(area);
    stackChanged_ = isNews;
}

bool ExcludedWindows::readWithout(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
                                  imaging::BgraPremultipliedBuffer& picture) {
    if (!compositor_) compositor_ = std::make_unique<ExcludedWindowCompositor>(connection_);
    return reader.read(connection_.root(), pieces, picture) && cover(reader, pieces, picture);
}

bool ExcludedWindows::cover(XImageReader& reader, std::span<const XImageReader::Piece> pieces,
                            imaging::BgraPremultipliedBuffer& picture) {
    for (const XImageReader::Piece& piece : pieces) {
        const imaging::DamageArea covered = excludedParts(stack_, piece.from);
        for (const PixelRect& part : covered.rects()) {
            const std::uint32_t pixmap = compositor_->paint(part, stack_);
            const XImageReader::Piece whole{
                {0, 0, part.width, part.height}, piece.toX + part.x - piece.from.x, piece.toY + part.y - piece.from.y};
            const bool isRead = reader.read(pixmap, {&whole, 1}, picture);
            xcb_free_pixmap(connection_, pixmap);
            if (!isRead) return false;
        }
    }
    return true;
}

}  // namespace lumivastor::x11

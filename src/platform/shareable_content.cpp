// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/shareable_content.h"

#include <algorithm>

namespace lumivastor::platform {
namespace {

template <typename T>
const T* withId(const std::vector<T>& all, std::uint32_t id) {
    const auto found = std::find_if(all.begin(), all.end(), [id](const T& one) { return one.id == id; });
    return found == all.end() ? nullptr : &*found;
}

}  // namespace

const Display* ShareableContent::display(std::uint32_t id) const {
    return withId(displays, id);
}

const Window* ShareableContent::window(std::uint32_t id) const {
    return withId(windows, id);
}

}  // namespace lumivastor::platform

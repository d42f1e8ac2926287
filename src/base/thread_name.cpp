// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/thread_name.h"

#include <pthread.h>

namespace lumivastor {

std::string shortThreadName(const std::string& name) {
    constexpr std::string::size_type kKept = 15;
    if (name.size() <= kKept) return name;
    const auto earliest = name.size() - kKept;
    const auto dot = name.find('.', earliest - 1);
    return name.substr(dot == std::string::npos || dot + 1 == name.size() ? earliest : dot + 1);
}

void nameThisThread(const std::string& name) {
    pthread_setname_np(pthread_self(), shortThreadName(name).c_str());
}

}  // namespace lumivastor

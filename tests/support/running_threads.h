// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace lumivastor {

/// The number of threads of this process with this name, which has at most 15 bytes (base/thread_name.h).
inline int runningThreads(const std::string& name) {
    int count = 0;
    std::error_code ignored;  // a thread may end meanwhile
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
        std::ifstream comm(thread.path() / "comm");
        std::string found;
        if (std::getline(comm, found) && found == name) ++count;
    }
    return count;
}

}  // namespace lumivastor

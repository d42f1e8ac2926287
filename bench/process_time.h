// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

namespace lumivastor {

/// The processor time that a process which still runs has used so far, in seconds.
inline double secondsOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    // Behind the name, which may hold anything; the times are the 14th and the 15th field.
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string field;
    double ticks = 0;
    for (int i = 3; fields >> field; ++i) {
        if (i == 14 || i == 15) ticks += std::stod(field);
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor {

/// The outcome of a command line.
struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

}  // namespace lumivastor

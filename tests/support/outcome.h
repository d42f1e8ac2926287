// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor {

/// What a command line comes to.
struct Outcome {
    int status = 0;
    std::string out;
    std::string err;
};

}  // namespace lumivastor

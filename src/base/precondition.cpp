// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/precondition.h"

#include <cstdio>
#include <cstdlib>

namespace lumivastor {

void preconditionFailed(const char* what, const char* file, int line) {
    std::fprintf(stderr, "precondition failed: %s (%s:%d)\n", what, file, line);
    std::abort();
}

}  // namespace lumivastor

#pragma once

#include <string>

namespace lumivastor {

/// Names the calling thread in debuggers and process lists, which keep 15 bytes of it.
void nameThisThread(const std::string& name);

}  // namespace lumivastor

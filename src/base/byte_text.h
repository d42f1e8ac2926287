// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace lumivastor {

/// "812 kB", "3,4 MB", "125 GB": a size on the disk for users; decimal, as file managers say it. Any thread.
std::string byteText(std::uint64_t bytes);

}  // namespace lumivastor

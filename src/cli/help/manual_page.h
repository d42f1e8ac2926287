// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace lumivastor::cli {

/// The installed manual page in the source format of man, made from the tables of help.h.
std::string manualPage(std::string_view version);

}  // namespace lumivastor::cli

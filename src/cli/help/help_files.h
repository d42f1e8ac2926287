// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

// The help in the forms that a system installs. All of it follows from the tables in help.h.

namespace lumivastor::cli {

/// The manual page, as source for man.
std::string manualPage(std::string_view version);

/// What the shells complete behind "lumivastor": verbs, their options, and values where there is a choice of them.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace lumivastor::cli

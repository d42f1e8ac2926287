// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

// The help as installed files, made from the tables in help.h.

namespace lumivastor::cli {

/// The manual page in the source format of man.
std::string manualPage(std::string_view version);

/// Shell completions for "lumivastor": verbs, their options, and values of a choice.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace lumivastor::cli

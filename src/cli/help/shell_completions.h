// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor::cli {

/// The installed shell completions for "lumivastor", made from the tables of help.h: verbs, their options, and values
/// of a choice.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

}  // namespace lumivastor::cli

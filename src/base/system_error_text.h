// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <system_error>

namespace lumivastor {

/// The operating system's error in German, without a full stop ("Der Datenträger ist voll"), for the messages that
/// users read. Rare errors are given as their number.
std::string systemErrorText(std::error_code error);

}  // namespace lumivastor

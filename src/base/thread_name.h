// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor {

/// What debuggers and process lists, which keep 15 bytes, are told of a thread's name: of one that is too long its end,
/// as the end tells threads apart, from the first dot on behind which the rest fits ("aufnahme.capture.video" becomes
/// "capture.video"), or else the last 15 bytes.
std::string shortThreadName(const std::string& name);

/// Names the calling thread in debuggers and process lists, by `shortThreadName`.
void nameThisThread(const std::string& name);

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor {

/// The name of a thread as debuggers and process lists show it, at most 15 bytes. A longer name loses its beginning,
/// because names differ at the end: it is cut behind the first dot after which the rest fits ("aufnahme.capture.video"
/// becomes "capture.video"), or else to its last 15 bytes.
std::string shortThreadName(const std::string& name);

/// Names the calling thread for debuggers and process lists, shortened by `shortThreadName`.
void nameThisThread(const std::string& name);

}  // namespace lumivastor

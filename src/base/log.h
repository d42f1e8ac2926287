// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

/// The one diagnostic channel of the program: one line for each noteworthy event, appended to a single text file in the
/// user's log folder. No levels, no rotation, no console output. Failures to log are ignored; no function here throws
/// them at its caller.
namespace lumivastor::Log {

/// "Library/Logs/LumiVastor.log" below the user's home folder. The first call looks up the home folder and creates
/// missing folders; failures to create them are ignored. Any thread.
const std::filesystem::path& url();

/// Hands one line to the log's queue and returns at once; lines appear whole and in the order of the calls. The line
/// is `HH:mm:ss.SSS [category] message`, in local time, stamped when it is written. Any thread.
/// `category` is one of the program's words: "Capture", "Pointer", "Webcam", "Device", "Render", "Studio", "Editor",
/// "Region", "Permissions".
void write(std::string category, std::string message);

/// Returns when every line logged before the call has been written. For the end of the program and for tests.
void drain() noexcept;

}  // namespace lumivastor::Log

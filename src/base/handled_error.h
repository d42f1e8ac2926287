// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/recorder_error.h"

namespace lumivastor {

/// "Der Arbeitsspeicher reicht nicht." Made when the program starts; copying it takes no memory.
const RecorderError& outOfMemory() noexcept;

/// Whether an error is a shortage of memory or threads, by its words: libraries' and the system's errors are told by
/// nothing else once they are sentences. For jobs that go on behind damage, but must not take a shortage for damage.
bool isOutOfMemory(const RecorderError& error) noexcept;

/// The exception that is being handled, as the error that the user reads: a `RecorderError` as it is; a shortage of
/// memory or threads in a sentence of its own; anything else as `failed` ("Das Video konnte nicht geschrieben werden")
/// with the exception's words behind it. Only within a `catch`. Works without memory, so that a thread on which nothing
/// may throw can end with it.
RecorderError handledError(const char* failed) noexcept;

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/recorder_error.h"

namespace lumivastor {

/// "Der Arbeitsspeicher reicht nicht." Made when the program starts; copying it takes no memory.
const RecorderError& outOfMemory() noexcept;

/// Whether an error is a shortage of memory or threads. Compares the message, because a `RecorderError` carries nothing
/// else. For jobs that continue after damage but must not take a shortage for damage.
bool isOutOfMemory(const RecorderError& error) noexcept;

/// The exception that is being handled, as the error that the user reads: a `RecorderError` as it is; a shortage of
/// memory or threads in a sentence of its own; anything else as `failed` ("Das Video konnte nicht geschrieben werden")
/// followed by the exception's text. Call it only within a `catch`. It needs no memory, so threads that must not throw
/// can use it.
RecorderError handledError(const char* failed) noexcept;

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

struct pa_context;
struct pa_mainloop_api;
struct pa_operation;
struct pa_stream;

// PulseAudio's objects with owners, and how this program connects to a server: recording has a loop that its own thread
// runs, playing has one with a thread of the library's, and both use these. Each handle is used and destroyed with its
// loop locked, or on the loop's thread.
namespace lumivastor::pulse {

/// Removes all callbacks and disconnects.
struct ContextDelete {
    void operator()(pa_context* context) const;
};
using ContextHandle = std::unique_ptr<pa_context, ContextDelete>;

/// Removes all callbacks and disconnects.
struct StreamDelete {
    void operator()(pa_stream* stream) const;
};
using StreamHandle = std::unique_ptr<pa_stream, StreamDelete>;

/// Cancels: the operation's callback does not run afterwards.
struct OperationDelete {
    void operator()(pa_operation* operation) const;
};
using OperationHandle = std::unique_ptr<pa_operation, OperationDelete>;

/// A context with this program's name, not connected.
ContextHandle makeContext(pa_mainloop_api* loop);

/// Begins to connect to `server` (PulseAudio's spelling), the user's when empty; the context's state tells the outcome.
/// Never starts a server. Returns false when that failed at once.
bool connectContext(pa_context* context, const std::string& server);

/// A stream of interleaved 32-bit floats, not connected. `name` is what the desktop's sound settings show. Null when
/// the context is not ready.
StreamHandle makeStream(pa_context* context, const char* name, int sampleRate, int channels);

/// Removes all callbacks of a stream.
void removeCallbacks(pa_stream* stream);

/// Lets an operation continue on its own. Null is allowed.
void release(pa_operation* operation);

}  // namespace lumivastor::pulse

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pulse/pulse_handles.h"

#include <pulse/pulseaudio.h>

#include <cstdint>

namespace lumivastor::pulse {

void ContextDelete::operator()(pa_context* context) const {
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_set_subscribe_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(context);
}

void StreamDelete::operator()(pa_stream* stream) const {
    removeCallbacks(stream);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

void OperationDelete::operator()(pa_operation* operation) const {
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
}

ContextHandle makeContext(pa_mainloop_api* loop) {
    return ContextHandle(pa_context_new(loop, "LumiVastor"));
}

bool connectContext(pa_context* context, const std::string& server) {
    // A server that starts behind the user's back would take over devices and leave processes of its own.
    return pa_context_connect(context, server.empty() ? nullptr : server.c_str(), PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
}

StreamHandle makeStream(pa_context* context, const char* name, int sampleRate, int channels) {
    pa_sample_spec format{};
    format.format = PA_SAMPLE_FLOAT32NE;
    format.rate = static_cast<std::uint32_t>(sampleRate);
    format.channels = static_cast<std::uint8_t>(channels);
    return StreamHandle(pa_stream_new(context, name, &format, nullptr));
}

void removeCallbacks(pa_stream* stream) {
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    pa_stream_set_started_callback(stream, nullptr, nullptr);
    pa_stream_set_latency_update_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(stream, nullptr, nullptr);
}

void release(pa_operation* operation) {
    if (operation != nullptr) pa_operation_unref(operation);
}

}  // namespace lumivastor::pulse

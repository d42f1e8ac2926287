// "capture.json" from anywhere: read or refused, and what was read survives being written and read again.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/recorder_error.h"
#include "model/capture_info.h"
#include "model/record_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace lumivastor;
    CaptureInfo info;
    try {
        info = CaptureInfo::parse(FileBytes::copyOf({reinterpret_cast<const char*>(data), size}));
    } catch (const RecorderError&) {
        return 0;
    }
    std::string text;
    JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writeRecord(writer, info);
    writer.finish();
    if (CaptureInfo::parse(FileBytes::copyOf(text)) != info) std::abort();
    return 0;
}

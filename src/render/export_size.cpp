#include "render/export_size.h"

#include "base/formatted.h"
#include "base/recorder_error.h"

namespace lumivastor {

namespace {

// From the smallest picture that an encoder takes to twice the largest size on offer.
constexpr std::int64_t kLowest = 16;
constexpr std::int64_t kHighest = 4320;

}  // namespace

CanvasSize exportCanvas(std::int64_t exportHeight) {
    if (exportHeight < kLowest || exportHeight > kHighest) {
        throw RecorderError(formatted("Die Ausgabehöhe %lld ist unzulässig.", static_cast<long long>(exportHeight)));
    }
    const int height = static_cast<int>(exportHeight);
    return {height * 16 / 9, height};
}

}  // namespace lumivastor

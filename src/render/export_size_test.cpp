#include "render/export_size.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"

namespace lumivastor {
namespace {

TEST(ExportCanvas, IsSixteenByNineRoundedDown) {
    EXPECT_EQ(exportCanvas(720), (CanvasSize{1280, 720}));
    EXPECT_EQ(exportCanvas(1080), (CanvasSize{1920, 1080}));
    EXPECT_EQ(exportCanvas(1440), (CanvasSize{2560, 1440}));
    EXPECT_EQ(exportCanvas(2160), (CanvasSize{3840, 2160}));
    EXPECT_EQ(exportCanvas(1000), (CanvasSize{1777, 1000}));
}

TEST(ExportCanvas, RefusesHeightsThatNoMovieHas) {
    for (const std::int64_t height : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{1}, std::int64_t{1} << 40}) {
        EXPECT_THROW(exportCanvas(height), RecorderError);
    }
}

}  // namespace
}  // namespace lumivastor

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "edit/edit_state.h"

// What is asked for every frame takes no memory. A program of its own, because it counts every allocation.

namespace {

std::atomic<long> allocations = 0;

void* quietlyCounted(std::size_t size) noexcept {
    ++allocations;
    return std::malloc(size > 0 ? size : 1);
}

void* counted(std::size_t size) {
    if (void* memory = quietlyCounted(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return counted(size);
}
void* operator new[](std::size_t size) {
    return counted(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace lumivastor {
namespace {

TEST(Allocations, QueriesOfAnEditStateTakeNone) {
    CaptureInfo info;
    info.pixelWidth = 1920;
    info.pixelHeight = 1080;
    info.duration = 60;
    PointerTrack track;
    for (int i = 0; i < 6000; ++i) {
        track.events.push_back({i / 100.0,
                                i % 1900 * 1.0,
                                i % 1000 * 1.0,
                                0,
                                0,
                                i % 500 == 0 ? PointerKind::down : PointerKind::move,
                                {},
                                {},
                                {}});
    }
    track.cursorChanges = {{0, "c0"}, {10, "a shape with a name too long for a short string"}};
    const Recording recording("", info, track);
    ProjectSettings settings;
    settings.cuts = {{5, 6}, {20, 30}};
    const auto state = deriveEditState(recording, settings, {1920, 1080});

    const long before = allocations;
    ASSERT_GT(before, 0) << "the counting works";
    double sum = 0;
    for (int i = 0; i < 10'000; ++i) {
        const double t = sourceTime(state->keptSegments, i / 200.0);
        const auto camera = state->zoomEngine->camera(t);
        sum += zoomTransform(state->layout, camera).apply({1, 2}).x;
        sum += state->cursorEngine->position(t)->x;
        sum += static_cast<double>(cursorShapeAt(recording.track.cursorChanges, t)->size());
    }
    EXPECT_EQ(allocations - before, 0);
    EXPECT_GT(sum, 0);
}

}  // namespace
}  // namespace lumivastor

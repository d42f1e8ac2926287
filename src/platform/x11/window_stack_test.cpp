// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/window_stack.h"

#include <gtest/gtest.h>

namespace lumivastor::x11 {
namespace {

constexpr PixelRect kArea{0, 0, 1000, 800};

std::vector<std::uint32_t> idsAtExcluded(const std::vector<StackedWindow>& stack) {
    std::vector<std::uint32_t> ids;
    for (const auto& window : windowsAtExcluded(stack, kArea)) ids.push_back(window.id);
    return ids;
}

TEST(WindowStack, FindsWhatExcludedWindowsCover) {
    const std::vector<StackedWindow> stack{
        {1, {0, 0, 500, 500}}, {2, {900, 700, 300, 300}, 0, 0, true}, {3, {-10, -10, 5, 5}, 0, 0, true}};
    const imaging::DamageArea parts = excludedParts(stack, kArea);
    ASSERT_EQ(parts.rects().size(), 1U);
    EXPECT_EQ(parts.rects()[0], (PixelRect{900, 700, 100, 100}));
}

TEST(WindowStack, OnlyWindowsThatTouchAnExcludedOneAreNeeded) {
    EXPECT_EQ(idsAtExcluded({{1, {0, 0, 500, 500}},
                             {2, {600, 0, 100, 100}},
                             {3, {100, 100, 200, 200}, 0, 0, true},
                             {4, {100, 100, 200, 200}}}),
              (std::vector<std::uint32_t>{1, 4}));
}

TEST(WindowStack, ExcludedWindowsAreNotNeededForEachOther) {
    EXPECT_EQ(idsAtExcluded({{1, {0, 0, 50, 50}, 0, 0, true}, {2, {0, 0, 50, 50}, 0, 0, true}}),
              std::vector<std::uint32_t>{});
}

TEST(WindowStack, LooksAtTheCapturedAreaOnly) {
    EXPECT_EQ(idsAtExcluded({{1, {900, 0, 500, 500}}, {2, {1100, 100, 100, 100}, 0, 0, true}}),
              std::vector<std::uint32_t>{});
}

}  // namespace
}  // namespace lumivastor::x11

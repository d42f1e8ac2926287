// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/recipe_identity.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "imaging/studio_background.h"

namespace lumivastor::imaging {
namespace {

std::shared_ptr<const BgraPremultipliedBuffer> square(int side, std::uint8_t value) {
    BgraPremultipliedBuffer buffer(side, side);
    for (int y = 0; y < side; ++y) std::fill_n(buffer.row(y), side * 4, value);
    return std::make_shared<const BgraPremultipliedBuffer>(std::move(buffer));
}

// A decoded picture, whose samples are never looked at.
Picture decoded(std::uint64_t source) {
    YuvPicture picture;
    picture.width = picture.height = 64;
    picture.owner = std::make_shared<const int>(0);
    picture.source = source;
    return Picture(picture);
}

std::optional<std::string> identity(const Picture& recipe) {
    RecipeIdentity recipes;
    ContentHasher hasher;
    if (!recipes.add(recipe, hasher)) return std::nullopt;
    return hasher.value().text();
}

// Every step once.
Picture frame(std::uint64_t source, double x, double alpha, std::uint8_t shape, double tone, int side) {
    const auto background = std::make_shared<const StudioBackground>(100, 80, RgbColour{tone, 0.2, 0.3});
    const Picture screen = decoded(source)
                               .pixellated({{8, 8, 16, 16}}, side)
                               .cropped({0, 0, 60, 60})
                               .transformed(AffineTransform::translation(x, 3))
                               .clampedToExtent()
                               .blendedWithMatte(Picture(square(40, 255)));
    return Picture(square(8, shape)).faded(alpha).over(screen.over(Picture(background)));
}

TEST(RecipeIdentity, IsThatOfWhatIsShown) {
    const auto usual = identity(frame(7, 2, 0.5, 40, 0.1, 4));
    ASSERT_TRUE(usual);
    // Other buffers with the same content, in another run.
    EXPECT_EQ(identity(frame(7, 2, 0.5, 40, 0.1, 4)), usual);
    const std::set<std::string> others = {*usual,
                                          identity(frame(8, 2, 0.5, 40, 0.1, 4)).value(),
                                          identity(frame(7, 2.0625, 0.5, 40, 0.1, 4)).value(),
                                          identity(frame(7, 2, 0.25, 40, 0.1, 4)).value(),
                                          identity(frame(7, 2, 0.5, 41, 0.1, 4)).value(),
                                          identity(frame(7, 2, 0.5, 40, 0.2, 4)).value(),
                                          identity(frame(7, 2, 0.5, 40, 0.1, 8)).value(),
                                          identity(frame(7, 2, 0.5, 40, 0.1, 4).cropped({0, 0, 9, 9})).value(),
                                          identity(Picture()).value()};
    EXPECT_EQ(others.size(), 9u);
}

TEST(RecipeIdentity, StackedOtherwiseItIsAnother) {
    const Picture a(square(8, 1));
    const Picture b(square(8, 2));
    EXPECT_NE(identity(a.over(b)), identity(b.over(a)));
    EXPECT_NE(identity(a.over(b).over(a)), identity(a.over(b)));
}

TEST(RecipeIdentity, APictureOfUnknownSourceHasNone) {
    EXPECT_FALSE(identity(Picture(square(4, 1)).over(decoded(0))));
    EXPECT_TRUE(identity(Picture(square(4, 1)).over(decoded(1))));
}

TEST(RecipeIdentity, RecipesThatAreTooDeepHaveNone) {
    Picture deep(square(4, 1));
    for (int i = 0; i < 10000; ++i) deep = deep.over(Picture(square(4, 2)));
    EXPECT_FALSE(identity(deep));
}

TEST(ContentHash, IsWrittenAndRead) {
    ContentHasher hasher;
    hasher.addText("Fenster");
    const ContentHash hash = hasher.value();
    EXPECT_EQ(hash.text().size(), 32u);
    EXPECT_EQ(ContentHash::parse(hash.text()), hash);
    for (const char* wrong : {"", "1", "0123456789abcdef0123456789abcde", "0123456789abcdef0123456789abcdeg",
                              "0123456789abcdef0123456789abcdef0", " 123456789abcdef0123456789abcdef"}) {
        EXPECT_FALSE(ContentHash::parse(wrong)) << wrong;
    }
}

TEST(ContentHash, OfTwoTextsIsNotThatOfOne) {
    ContentHasher one;
    one.addText("ab");
    one.addText("c");
    ContentHasher other;
    other.addText("a");
    other.addText("bc");
    EXPECT_NE(one.value(), other.value());
    one.restart();
    one.addText("a");
    one.addText("bc");
    EXPECT_EQ(one.value(), other.value());
}

}  // namespace
}  // namespace lumivastor::imaging

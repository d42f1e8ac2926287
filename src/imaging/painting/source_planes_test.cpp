// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/painting/source_planes.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace lumivastor::imaging {
namespace {

TEST(SourcePlanesCache, WhenOneLayerIsReplacedTheOthersAreNotSplitAgain) {
    using Layer = std::shared_ptr<const BgraPremultipliedBuffer>;
    const auto drawn = [] { return std::make_shared<const BgraPremultipliedBuffer>(40, 30); };
    std::vector<Layer> layers{drawn(), drawn(), drawn(), drawn()};
    SourcePlanesCache cache;
    std::vector<std::weak_ptr<const SourcePlanes>> split;
    for (const Layer& layer : layers) split.push_back(cache.planesOf(layer));
    for (std::size_t moved = 0; moved < layers.size(); ++moved) {
        layers[moved] = drawn();
        cache.tidy();
        EXPECT_TRUE(split[moved].expired()) << "what nobody can show any more takes no memory";
        for (std::size_t i = 0; i < layers.size(); ++i) {
            const auto planes = cache.planesOf(layers[i]);
            EXPECT_EQ(planes == split[i].lock(), i != moved) << i;
            split[i] = planes;
        }
    }
}

}  // namespace
}  // namespace lumivastor::imaging

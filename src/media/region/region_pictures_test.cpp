// SPDX-License-Identifier: GPL-3.0-or-later

// Whole streams: what two decoders show must be what the coder's reconstruction says, bit for bit.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "media/region/region_coder.h"
#include "media/region/region_planner.h"
#include "support/region_stream.h"

namespace lumivastor::media {
namespace {

class Random {
  public:
    explicit Random(unsigned seed) : engine_(seed) {}
    /// 0 to limit - 1.
    int below(int limit) { return static_cast<int>(engine_() % static_cast<unsigned>(limit)); }
    bool oneIn(int count) { return below(count) == 0; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(engine_()); }

  private:
    std::mt19937 engine_;
};

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

Rect randomRect(Random& random, int width, int height) {
    const int most = random.oneIn(2) ? 16 : 120;
    Rect rect{2 * random.below((width + 1) / 2), 2 * random.below((height + 1) / 2), 2 + random.below(most),
              2 + random.below(most)};
    rect.width = std::min(rect.width, width - rect.x);
    rect.height = std::min(rect.height, height - rect.y);
    return rect;
}

// Noise, hard checks, flat areas, ramps, small changes, old content, patterns.
void damage(Random& random, PlainPicture& picture, const Rect& rect, const PlainPicture& older) {
    const int kind = random.below(7);
    const int flat = random.below(256);
    const int slopeX = random.below(9) - 4;
    const int slopeY = random.below(9) - 4;
    for (int plane = 0; plane < 3; ++plane) {
        const int unit = plane == 0 ? 1 : 2;
        const int right = std::min((rect.x + rect.width + unit - 1) / unit, picture.planeWidth(plane));
        const int bottom = std::min((rect.y + rect.height + unit - 1) / unit, picture.planeHeight(plane));
        for (int y = rect.y / unit; y < bottom; ++y) {
            for (int x = rect.x / unit; x < right; ++x) {
                std::uint8_t& sample = picture.row(plane, y)[x];
                switch (kind) {
                    case 0:
                        sample = random.byte();
                        break;
                    case 1:
                        sample = random.oneIn(2) ? 255 : 0;
                        break;
                    case 2:
                        sample = static_cast<std::uint8_t>(flat);
                        break;
                    case 3:
                        sample = static_cast<std::uint8_t>(flat + slopeX * x + slopeY * y);
                        break;
                    case 4:
                        sample = static_cast<std::uint8_t>(std::clamp(sample + random.below(7) - 3, 0, 255));
                        break;
                    case 5:
                        sample = older.row(plane, y)[x];
                        break;
                    default:
                        sample = static_cast<std::uint8_t>(((x / 3 + y / 5) & 1) != 0 ? 235 : flat);
                        break;
                }
            }
        }
    }
}

// Kinds of all sorts, whatever changed: what is shown need not look like the source.
RegionPlan randomPlan(Random& random, const RegionStream& stream, const RegionCoder& coder, int width, int height,
                      bool moves) {
    RegionPlan plan;
    const int columns = coder.widthInMbs();
    const int share = 1 + random.below(12);
    const Displacement common{random.below(9) - 4, random.below(41) - 20};
    for (int mb = 0; mb < columns * coder.heightInMbs(); ++mb) {
        MacroblockKind kind = MacroblockKind::skipped;
        Displacement from;
        if (random.oneIn(share)) {
            kind = MacroblockKind::coded;
        } else if (stream.mayUseBase() && random.oneIn(6)) {
            kind = MacroblockKind::base;
        } else if (moves && random.oneIn(2)) {
            from = random.oneIn(3) ? Displacement{random.below(61) - 30, random.below(61) - 30} : common;
            const int x = mb % columns * 16;
            const int y = mb / columns * 16;
            const bool inside = x + 16 <= width && y + 16 <= height && x + from.x >= 0 && y + from.y >= 0 &&
                                x + from.x + 16 <= width && y + from.y + 16 <= height;
            kind = inside ? MacroblockKind::moved : MacroblockKind::skipped;
        }
        plan.kinds.push_back(kind);
        plan.displacements.push_back(from);
        plan.qps.push_back(static_cast<std::uint8_t>(RegionCoder::kFinestQp + random.below(28)));
    }
    if (random.oneIn(2)) plan.qps.clear();
    return plan;
}

struct Totals {
    CodedRegion::Counts counts;
    int regionPictures = 0;
    int givenUp = 0;
    int checkedTwice = 0;
};

// One stream in which everything is random.
void randomStream(unsigned seed, int width, int height, int pictures, Totals& totals) {
    Random random(seed);
    TestEncoderOptions options;
    options.width = width + width % 2;
    options.height = height + height % 2;
    const std::vector<std::string> presets{"ultrafast", "superfast", "veryfast", "fast"};
    options.preset = presets[static_cast<std::size_t>(random.below(4))];
    options.usesCabac = !random.oneIn(3);
    options.slices = random.oneIn(3) ? 1 + random.below(4) : 0;
    options.threads = 1 + random.below(2);
    options.rateFactor = 5 + random.below(40);
    RegionStream stream(options, random.below(25) - 12);
    stream.useSourceSize(width, height);
    RegionCoderSettings settings;
    settings.qp = RegionCoder::kFinestQp + random.below(28);
    settings.effort = static_cast<IntraEffort>(random.below(3));
    settings.mayPredictFromPicture = !random.oneIn(3);
    if (random.oneIn(2)) settings.interRounding = Rounding::upFromFourFifths;

    PlainPicture source(width, height);
    for (std::uint8_t& each : source.samples) each = static_cast<std::uint8_t>(100 + random.below(50));
    std::vector<PlainPicture> history{source};
    const int encoderShare = 2 + random.below(12);
    const bool moves = random.oneIn(2);
    for (int i = 0; i < pictures; ++i) {
        for (int changes = random.below(4); changes > 0; --changes) {
            const PlainPicture& older =
                history[static_cast<std::size_t>(random.below(static_cast<int>(history.size())))];
            damage(random, source, randomRect(random, width, height), older);
        }
        history.push_back(source);
        if (history.size() > 8) history.erase(history.begin());
        if (i == 0 || random.oneIn(encoderShare)) {
            stream.addEncoderPicture(source, random.oneIn(4));
            continue;
        }
        const RegionPlan plan = randomPlan(random, stream, stream.coder(), width, height, moves);
        settings.maxBits.reset();
        if (random.oneIn(20)) settings.maxBits = static_cast<std::size_t>(random.below(3000));
        if (!stream.addRegionPicture(source, plan, settings)) {
            ++totals.givenUp;
            stream.addEncoderPicture(source, false);
            continue;
        }
        ++totals.regionPictures;
        const CodedRegion::Counts& counts = stream.lastRegion().counts;
        totals.counts.intra4x4 += counts.intra4x4;
        totals.counts.intra16x16 += counts.intra16x16;
        totals.counts.inter += counts.inter;
        totals.counts.base += counts.base;
        totals.counts.moved += counts.moved;
        totals.counts.coarser += counts.coarser;
    }
    for (const std::size_t key : stream.keys()) {
        if (key == 0 || random.oneIn(3)) totals.checkedTwice += stream.check(key, 1 + random.below(3)) ? 1 : 0;
    }
}

TEST(RegionPictures, DecodersShowWhatTheCoderSays) {
    // With --gtest_repeat each repetition goes on to other streams; tools/region-trials begins anywhere.
    const char* const given = std::getenv("LUMI_SEED");  // NOLINT(concurrency-mt-unsafe): no thread changes it
    static unsigned first = given == nullptr ? 0 : static_cast<unsigned>(std::atoi(given));
    Totals totals;
    for (unsigned seed = first; seed < first + 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random sizes(seed * 7919 + 1);
        const bool isLarge = seed % 10 == 9;
        const int width = 16 + sizes.below(isLarge ? 600 : 170);
        const int height = 16 + sizes.below(isLarge ? 300 : 130);
        ASSERT_NO_FATAL_FAILURE(randomStream(seed, width, height, 30, totals));
        if (testing::Test::HasFailure()) return;
    }
    first += 60;
    // Everything came up.
    EXPECT_GT(totals.counts.intra4x4, 1000);
    EXPECT_GT(totals.counts.intra16x16, 1000);
    EXPECT_GT(totals.counts.inter, 500);
    EXPECT_GT(totals.counts.base, 500);
    EXPECT_GT(totals.counts.moved, 500);
    EXPECT_GT(totals.counts.coarser, 10);
    EXPECT_GT(totals.regionPictures, 500);
    EXPECT_GT(totals.givenUp, 5);
    EXPECT_GT(totals.checkedTwice, 50);
}

TEST(RegionPictures, EverySizeFromOneMacroblockToALargeScreen) {
    struct Size {
        int width;
        int height;
    };
    Totals totals;
    unsigned seed = 500;
    for (const Size& size :
         {Size{16, 16}, {17, 16}, {16, 31}, {18, 34}, {32, 33}, {1366, 768}, {1920, 1080}, {2560, 1440}}) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        randomStream(seed++, size.width, size.height, size.width > 1000 ? 3 : 40, totals);
    }
    EXPECT_GT(totals.regionPictures, 150);
}

// A pointer's small change again and again: nothing drifts, nothing is dropped too early.
TEST(RegionPictures, LongRunsBetweenTwoOfTheEncoders) {
    TestEncoderOptions options;
    RegionStream stream(options, -2);
    Random random(31);
    PlainPicture source(options.width, options.height);
    for (std::uint8_t& each : source.samples) each = static_cast<std::uint8_t>(90 + random.below(80));
    for (const int run : {0, 1, 2, 3, 700, 1, 0, 40}) {
        stream.addEncoderPicture(source, run == 40);
        for (int i = 0; i < run; ++i) {
            damage(random, source, randomRect(random, 40, 30), source);
            RegionPlan plan;
            for (int mb = 0; mb < 12; ++mb) {
                const bool isBase = stream.mayUseBase() && random.oneIn(10);
                plan.kinds.push_back(isBase            ? MacroblockKind::base
                                     : random.oneIn(3) ? MacroblockKind::coded
                                                       : MacroblockKind::skipped);
            }
            ASSERT_TRUE(stream.addRegionPicture(source, plan, {}));
        }
    }
    for (const std::size_t key : stream.keys()) EXPECT_TRUE(stream.check(key, 2));
}

// More region pictures than frame numbers go, with key pictures between. Most are a dozen bytes.
TEST(RegionPictures, FrameNumbersWrap) {
    TestEncoderOptions options;
    options.width = options.height = 16;
    RegionStream stream(options, 0);
    const PlainPicture source(16, 16);
    RegionPlan rests;
    rests.kinds = {MacroblockKind::skipped};
    RegionPlan changes;
    changes.kinds = {MacroblockKind::coded};
    stream.addEncoderPicture(source, true);
    for (int i = 0; i < 65000; ++i) ASSERT_TRUE(stream.addRegionPicture(source, rests, {}));
    for (int i = 0; i < 4; ++i) {
        stream.addEncoderPicture(source, false);
        for (int k = 0; k < 400; ++k) ASSERT_TRUE(stream.addRegionPicture(source, k % 3 == 0 ? changes : rests, {}));
    }
    EXPECT_LE(stream.accessUnits()[1].size(), 20u);
    EXPECT_TRUE(stream.check());
}

// A page that scrolls by whole lines, odd ones too, with what comes in below coded.
TEST(RegionPictures, ScrollingIsMovedWhereItIsExact) {
    TestEncoderOptions options;
    options.width = 160;
    options.height = 128;
    for (const int lines : {1, 2, 5, 16, -3, -16}) {
        SCOPED_TRACE(lines);
        RegionStream stream(options, 0);
        Random random(41);
        // Grey: colour is the same everywhere, so that odd displacements are exact, too.
        PlainPicture page(160, 900);
        for (int y = 0; y < 900; ++y) {
            for (int x = 0; x < 160; ++x) page.row(0, y)[x] = random.oneIn(4) ? 30 : 235;
        }
        const auto shownAt = [&page](int top) {
            PlainPicture picture(160, 128);
            std::fill(picture.samples.begin(), picture.samples.end(), std::uint8_t{128});
            for (int y = 0; y < 128; ++y) std::copy_n(page.row(0, top + y), 160, picture.row(0, y));
            return picture;
        };
        PlainPicture before = shownAt(400);
        stream.addEncoderPicture(before, true);
        RegionPlanner planner(160, 128, {});
        int moved = 0;
        for (int i = 1; i < 20; ++i) {
            const PlainPicture picture = shownAt(400 + i * lines);
            const auto changes = planner.look(picture.view(), before.view(), std::nullopt);
            EXPECT_LE(changes.toCode, 10 * ((std::abs(lines) + 15) / 16));
            ASSERT_TRUE(stream.addRegionPicture(picture, planner.plan(picture.view(), nullptr, 15), {}));
            moved += stream.lastRegion().counts.moved;
            before = picture;
        }
        EXPECT_GT(moved, 19 * 60);
        EXPECT_TRUE(stream.check());
    }
}

}  // namespace
}  // namespace lumivastor::media

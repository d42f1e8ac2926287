// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/screen_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "support/await.h"
#include "support/screen_source.h"
#include "support/sound_rig.h"

namespace lumivastor::pipewire {
namespace {

// How long a stream may take to notice that its node or server is gone.
constexpr double kSoon = 2;

std::uint32_t colourOf(const std::uint8_t* bgra) {
    return static_cast<std::uint32_t>(bgra[2]) << 16U | static_cast<std::uint32_t>(bgra[1]) << 8U | bgra[0];
}

bool isCovered(const std::vector<PixelRect>& rects, int x, int y) {
    return std::any_of(rects.begin(), rects.end(), [&](const PixelRect& rect) {
        return x >= rect.x && y >= rect.y && x < rect.maxX() && y < rect.maxY();
    });
}

// A stream of a source's screen, with everything that it handed over.
class Watched {
  public:
    struct Picture {
        PixelSize size;
        PixelRect crop;
        std::optional<std::vector<PixelRect>> damage;
        double hostSeconds = 0;
        double arrived = 0;
        std::uint32_t firstColour = 0;  // of the top-left pixel
        std::uint32_t lastColour = 0;   // of the bottom-right one
    };

    explicit Watched(const std::string& remote, std::uint32_t node, const ScreenStream::Options& options = {})
        : connection_(connectedSocket(remote)),
          stream_(std::make_unique<ScreenStream>(connection_, node, options, callbacks())) {}

    ScreenStream& stream() { return *stream_; }
    void close() { stream_.reset(); }
    PipeWireConnection& connection() { return connection_; }

    template <typename Done>
    bool runUntil(Done done, double timeout = kPatience) {
        return connection_.runUntil(done, timeout);
    }
    bool awaitPictures(std::size_t count) {
        return runUntil([&] { return pictures.size() >= count; });
    }
    bool awaitCursors(std::size_t count) {
        return runUntil([&] { return cursors.size() >= count; });
    }
    // The screen as somebody who copies only the damage has it.
    std::uint32_t copied(int x, int y) const { return colourOf(screen_.pixel(x, y)); }

    std::vector<PixelSize> formats;
    std::vector<Picture> pictures;
    std::vector<CursorReport> cursors;
    std::vector<bool> streaming;
    std::vector<std::string> ended;

  private:
    ScreenStream::Callbacks callbacks() {
        ScreenStream::Callbacks all;
        all.formatChanged = [this](PixelSize size) { formats.push_back(size); };
        all.picture = [this](const ScreenPicture& picture) { take(picture); };
        all.cursor = [this](const CursorReport& report) { cursors.push_back(report); };
        all.streamingChanged = [this](bool isStreaming) { streaming.push_back(isStreaming); };
        all.ended = [this](const std::string& reason) { ended.push_back(reason); };
        return all;
    }

    void take(const ScreenPicture& picture) {
        const auto [width, height] = picture.size();
        if (screen_.width() != width || screen_.height() != height) {
            EXPECT_FALSE(picture.damage) << "another size, but only a part changed";
            screen_ = imaging::BgraPremultipliedBuffer(width, height);
        }
        const std::vector<PixelRect> all{{0, 0, width, height}};
        for (const PixelRect& rect : picture.damage.value_or(all)) {
            EXPECT_TRUE(all.front().contains(rect));
            copyOpaque(picture, rect, screen_);
        }
        Picture seen{picture.size(), picture.crop, picture.damage, picture.hostSeconds, hostClockSeconds(), 0, 0};
        imaging::BgraPremultipliedBuffer whole(width, height);
        copyOpaque(picture, all.front(), whole);
        seen.firstColour = colourOf(whole.pixel(0, 0));
        seen.lastColour = colourOf(whole.pixel(width - 1, height - 1));
        pictures.push_back(seen);
    }

    imaging::BgraPremultipliedBuffer screen_;
    PipeWireConnection connection_;
    std::unique_ptr<ScreenStream> stream_;
};

class ScreenStreamTest : public testing::Test {
  protected:
    void open(const ScreenSource::Options& screen = {}, const ScreenStream::Options& options = {}) {
        source_ = std::make_unique<ScreenSource>(rig_.remote(), screen);
        watched_ = std::make_unique<Watched>(rig_.remote(), source_->node(), options);
        ASSERT_TRUE(watched_->runUntil([&] { return watched_->stream().isStreaming() && source_->isStreaming(); }));
    }

    // Sends, and waits until the stream has taken it.
    void deliver(const ScreenSource::Picture& picture) {
        const auto taken = [&] {
            const ScreenStream::Counts counts = watched_->stream().counts();
            return counts.pictures + counts.leftOut + counts.corrupt + counts.unreadable;
        };
        const std::uint64_t before = taken();
        ASSERT_TRUE(send([&] { return source_->send(picture); }));
        ASSERT_TRUE(watched_->runUntil([&] { return taken() > before; }));
    }

    // As long as both sides agree on something, a picture may be lost: sends it until it, or a later one, has come.
    // Returns the first that came.
    Watched::Picture deliverAtLast(const ScreenSource::Picture& picture) {
        const std::size_t before = watched_->pictures.size();
        double next = 0;
        const bool came = watched_->runUntil([&] {
            if (hostClockSeconds() >= next && source_->send(picture)) next = hostClockSeconds() + 0.3;
            watched_->connection().run(0.01);
            return watched_->pictures.size() > before;
        });
        EXPECT_TRUE(came);
        return came ? watched_->pictures[before] : Watched::Picture{};
    }

    // Until a buffer is free and the format is the newest.
    template <typename Send>
    bool send(Send sendIt) {
        return watched_->runUntil([&] { return sendIt(); });
    }

    PipeWireRig rig_;
    std::unique_ptr<ScreenSource> source_;
    std::unique_ptr<Watched> watched_;
};

ScreenSource::Picture picture(std::uint32_t colour, std::optional<std::vector<PixelRect>> damage = {}) {
    ScreenSource::Picture made;
    made.colour = colour;
    made.damage = std::move(damage);
    return made;
}

TEST_F(ScreenStreamTest, PicturesArriveWithTheirPixelsDamageAndTime) {
    for (const bool isRedFirst : {false, true}) {
        ScreenSource::Options screen;
        screen.isRedFirst = isRedFirst;
        open(screen);
        EXPECT_EQ(watched_->formats.back(), (PixelSize{320, 200}));
        EXPECT_EQ(watched_->stream().bufferSize(), (PixelSize{320, 200}));
        deliver(picture(0x102030));
        deliver(picture(0xff8000, std::vector<PixelRect>{{10, 20, 30, 40}, {300, 190, 20, 10}}));
        deliver(picture(0x0000ff, std::vector<PixelRect>{{-5, -5, 10, 10}, {315, 0, 100, 2}}));
        ASSERT_EQ(watched_->pictures.size(), 3U);
        EXPECT_EQ(watched_->pictures[0].firstColour, 0x102030U);
        EXPECT_EQ(watched_->pictures[0].lastColour, 0x102030U);
        EXPECT_FALSE(watched_->pictures[0].damage);
        EXPECT_EQ(watched_->pictures[1].damage, (std::vector<PixelRect>{{10, 20, 30, 40}, {300, 190, 20, 10}}));
        EXPECT_EQ(watched_->pictures[1].lastColour, 0xff8000U);
        EXPECT_EQ(watched_->pictures[2].damage, (std::vector<PixelRect>{{0, 0, 5, 5}, {315, 0, 5, 2}}));
        const auto sent = source_->sent();
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(watched_->pictures[i].hostSeconds, sent[i].hostSeconds, 0.001);
            EXPECT_EQ(watched_->pictures[i].crop, (PixelRect{0, 0, 320, 200}));
        }
        for (int y = 0; y < 200; ++y) {
            for (int x = 0; x < 320; ++x) ASSERT_EQ(watched_->copied(x, y), source_->pixel(x, y)) << x << ", " << y;
        }
        EXPECT_TRUE(watched_->ended.empty());
    }
}

// The stream is not looked after while three pictures and a move come.
TEST_F(ScreenStreamTest, OfManyPicturesTheNewestComesWithTheDamageOfAll) {
    open();
    deliver(picture(0x111111));
    const std::vector<PixelRect> parts{{0, 0, 10, 10}, {100, 100, 5, 5}, {50, 60, 70, 80}};
    std::uint32_t colour = 0x222222;
    for (const PixelRect& part : parts) {
        ASSERT_TRUE(await([&] { return source_->send(picture(colour, std::vector<PixelRect>{part})); }));
        colour += 0x111111;
        // The next one would take the place of one that is still on its way to this process.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ASSERT_TRUE(watched_->runUntil([&] {
        const ScreenStream::Counts counts = watched_->stream().counts();
        return counts.pictures + counts.leftOut == 4;
    }));
    EXPECT_GE(watched_->stream().counts().leftOut, 1U);
    ASSERT_GE(watched_->pictures.size(), 2U);
    std::vector<PixelRect> told;
    for (std::size_t i = 1; i < watched_->pictures.size(); ++i) {
        ASSERT_TRUE(watched_->pictures[i].damage);
        told.insert(told.end(), watched_->pictures[i].damage->begin(), watched_->pictures[i].damage->end());
    }
    for (const PixelRect& part : parts) {
        EXPECT_TRUE(isCovered(told, part.x, part.y));
        EXPECT_TRUE(isCovered(told, part.maxX() - 1, part.maxY() - 1));
        EXPECT_EQ(watched_->copied(part.x, part.y), source_->pixel(part.x, part.y));
    }
}

TEST_F(ScreenStreamTest, ThePictureIsTheCropAndAnotherCropIsAllNew) {
    open();
    ScreenSource::Picture window = picture(0x445566);
    window.crop = PixelRect{20, 30, 100, 50};
    deliver(window);
    // Within, half within and beside the crop.
    window = picture(0x00ff00, std::vector<PixelRect>{{25, 35, 10, 10}, {110, 70, 50, 50}, {200, 100, 10, 10}});
    window.crop = PixelRect{20, 30, 100, 50};
    deliver(window);
    window.damage = std::vector<PixelRect>{{25, 35, 1, 1}};
    window.crop = PixelRect{20, 30, 101, 50};
    deliver(window);
    // Reaches over the buffer's edge, then lies outside of it.
    window.crop = PixelRect{-10, 190, 1000, 1000};
    deliver(window);
    window.crop = PixelRect{320, 0, 10, 10};
    deliver(window);
    ASSERT_EQ(watched_->pictures.size(), 5U);
    EXPECT_EQ(watched_->pictures[0].size, (PixelSize{100, 50}));
    EXPECT_EQ(watched_->pictures[1].damage, (std::vector<PixelRect>{{5, 5, 10, 10}, {90, 40, 10, 10}}));
    EXPECT_EQ(watched_->pictures[1].lastColour, 0x00ff00U);
    EXPECT_EQ(watched_->pictures[1].firstColour, 0x445566U);
    EXPECT_EQ(watched_->pictures[2].size, (PixelSize{101, 50}));
    EXPECT_FALSE(watched_->pictures[2].damage);
    EXPECT_EQ(watched_->pictures[3].crop, (PixelRect{0, 190, 320, 10}));
    EXPECT_EQ(watched_->pictures[4].crop, (PixelRect{0, 0, 320, 200}));
}

TEST_F(ScreenStreamTest, CorruptPicturesAreNeverShownAndMakeTheNextAllNew) {
    open();
    deliver(picture(0x111111));
    ScreenSource::Picture corrupt = picture(0xffffff);
    corrupt.isCorrupt = true;
    deliver(corrupt);
    deliver(picture(0x222222, std::vector<PixelRect>{{0, 0, 1, 1}}));
    deliver(picture(0x333333, std::vector<PixelRect>{{0, 0, 1, 1}}));
    ASSERT_EQ(watched_->pictures.size(), 3U);
    EXPECT_EQ(watched_->stream().counts().corrupt, 1U);
    EXPECT_FALSE(watched_->pictures[1].damage);
    EXPECT_TRUE(watched_->pictures[2].damage);
    for (const auto& each : watched_->pictures) EXPECT_NE(each.lastColour, 0xffffffU);
}

TEST_F(ScreenStreamTest, DescriptionsThatDoNotFitTheBufferGiveNoPicture) {
    open();
    deliver(picture(0x111111));
    struct Bad {
        std::optional<std::uint32_t> offset;
        std::optional<std::uint32_t> size;
        std::optional<std::int32_t> stride;
    };
    const std::uint32_t all = 320 * 200 * 4;
    const std::vector<Bad> bad{{1, {}, {}},
                               {0xffffffff, {}, {}},
                               {all, {}, {}},
                               {{}, all - 1, {}},
                               {{}, 1, {}},
                               {{}, {}, 1279},
                               {{}, {}, 0},
                               {{}, {}, -1280},
                               {{}, {}, 1281},
                               {{}, {}, 0x7fffffff},
                               {0x100, 0xffffffff, {}}};
    for (const Bad& one : bad) {
        ScreenSource::Picture wrong = picture(0x222222);
        wrong.chunkOffset = one.offset;
        wrong.chunkSize = one.size;
        wrong.stride = one.stride;
        deliver(wrong);
    }
    EXPECT_EQ(watched_->stream().counts().unreadable, bad.size());
    EXPECT_EQ(watched_->pictures.size(), 1U);
    // More bytes than there are is no harm: only the picture's are read.
    ScreenSource::Picture generous = picture(0x333333, std::vector<PixelRect>{{0, 0, 1, 1}});
    generous.chunkSize = 0xffffffff;
    deliver(generous);
    ASSERT_EQ(watched_->pictures.size(), 2U);
    EXPECT_FALSE(watched_->pictures[1].damage);
    EXPECT_EQ(watched_->pictures[1].firstColour, 0x333333U);
}

TEST_F(ScreenStreamTest, OnlyStampsOfTheLastSecondCount) {
    open();
    for (const std::optional<double> age : {std::optional(0.2), std::optional(0.9), std::optional(1.5),
                                            std::optional(-0.5), std::optional(1e9), std::optional<double>()}) {
        ScreenSource::Picture stamped = picture(0x111111);
        stamped.age = age;
        deliver(stamped);
        const auto& seen = watched_->pictures.back();
        const double sent = source_->sent().back().hostSeconds;
        if (age && *age > 0 && *age < 1) {
            EXPECT_NEAR(seen.hostSeconds, sent - *age, 0.001);
        } else {
            EXPECT_GE(seen.hostSeconds, sent);
            EXPECT_LE(seen.hostSeconds, seen.arrived);
        }
    }
}

TEST_F(ScreenStreamTest, ThePointerComesFromEveryBufferAndPixelsOnlyFromPictures) {
    open();
    deliver(picture(0x111111));
    ASSERT_TRUE(send([&] { return source_->setShape(24, 16, 4, 5, 0x80ff40); }));
    ASSERT_TRUE(watched_->awaitCursors(2));
    // The pointer was not there yet, so that the shape is not told.
    EXPECT_EQ(watched_->cursors[0].state, CursorReport::State::gone);
    EXPECT_EQ(watched_->cursors[1].state, CursorReport::State::gone);
    std::size_t count = watched_->cursors.size();
    const auto next = [&](auto sendIt) {
        EXPECT_TRUE(send(sendIt));
        EXPECT_TRUE(watched_->awaitCursors(++count));
        return watched_->cursors.back();
    };
    CursorReport report = next([&] { return source_->movePointer(100, 50); });
    EXPECT_EQ(report.state, CursorReport::State::visible);
    EXPECT_EQ(report.x, 100);
    EXPECT_EQ(report.y, 50);
    ASSERT_TRUE(report.newShape);
    EXPECT_EQ(report.newShape->width(), 24);
    EXPECT_EQ(report.newShape->height(), 16);
    EXPECT_EQ(colourOf(report.newShape->pixel(23, 15)), 0x80ff40U);
    report = next([&] { return source_->movePointer(101, 51); });
    EXPECT_FALSE(report.newShape);
    EXPECT_EQ(report.hotSpotX, 4);
    EXPECT_EQ(report.hotSpotY, 5);
    // Their stamp is half a second old and means nothing.
    EXPECT_GE(report.hostSeconds, source_->sent().back().hostSeconds);
    report = next([&] { return source_->hideShape(); });
    EXPECT_EQ(report.state, CursorReport::State::hidden);
    report = next([&] { return source_->movePointer(102, 52); });
    EXPECT_EQ(report.state, CursorReport::State::hidden);
    EXPECT_EQ(report.x, 102);
    report = next([&] { return source_->setShape(8, 8, 7, 7, 0); });
    EXPECT_EQ(report.state, CursorReport::State::visible);
    EXPECT_EQ(report.hotSpotX, 7);
    report = next([&] { return source_->removePointer(); });
    EXPECT_EQ(report.state, CursorReport::State::gone);

    EXPECT_EQ(watched_->pictures.size(), 1U);
    EXPECT_EQ(watched_->stream().counts().cursorOnly, count - 1);
    // With a picture the pointer has the picture's time, and the moves between made nothing else new.
    ScreenSource::Picture with = picture(0x222222, std::vector<PixelRect>{{1, 2, 3, 4}});
    with.pointerTo = PixelRect{10, 20, 0, 0};
    with.age = 0.1;
    deliver(with);
    EXPECT_EQ(watched_->cursors.back().x, 10);
    EXPECT_EQ(watched_->cursors.back().y, 20);
    EXPECT_EQ(watched_->cursors.back().hostSeconds, watched_->pictures.back().hostSeconds);
    EXPECT_EQ(watched_->pictures.back().damage, (std::vector<PixelRect>{{1, 2, 3, 4}}));
}

TEST_F(ScreenStreamTest, TheScreenMayChangeItsSizeAtAnyTime) {
    open();
    deliver(picture(0x111111));
    for (const PixelSize size : {PixelSize{160, 120}, PixelSize{640, 360}, PixelSize{320, 200}}) {
        const std::size_t formats = watched_->formats.size();
        source_->resize(size);
        ASSERT_TRUE(watched_->runUntil([&] { return watched_->stream().bufferSize() == size; }));
        EXPECT_GT(watched_->formats.size(), formats);
        EXPECT_EQ(watched_->formats.back(), size);
        const auto first = deliverAtLast(picture(0x222222, std::vector<PixelRect>{{0, 0, 1, 1}}));
        EXPECT_EQ(first.size, size);
        EXPECT_FALSE(first.damage);
        EXPECT_EQ(first.firstColour, 0x222222U);
        EXPECT_EQ(first.lastColour, 0U);
    }
    EXPECT_TRUE(watched_->ended.empty());
}

TEST_F(ScreenStreamTest, AScreenThatIsSwitchedOffRestsAndComesBack) {
    open();
    deliver(picture(0x111111));
    source_->pause(true);
    ASSERT_TRUE(watched_->runUntil([&] { return !watched_->stream().isStreaming(); }));
    EXPECT_FALSE(watched_->streaming.back());
    source_->pause(false);
    ASSERT_TRUE(watched_->runUntil([&] { return watched_->stream().isStreaming(); }));
    EXPECT_FALSE(deliverAtLast(picture(0x222222, std::vector<PixelRect>{{0, 0, 1, 1}})).damage);
    EXPECT_TRUE(watched_->ended.empty());
}

TEST_F(ScreenStreamTest, ANodeThatVanishesEndsTheStreamSoonAndOnce) {
    open();
    deliver(picture(0x111111));
    source_->end();
    ASSERT_TRUE(watched_->runUntil([&] { return !watched_->ended.empty(); }, kSoon));
    EXPECT_EQ(watched_->ended, std::vector<std::string>{"Der Desktop hat die Freigabe des Bildschirms beendet."});
    EXPECT_TRUE(watched_->stream().hasEnded());
    EXPECT_TRUE(watched_->connection().isAlive());
    watched_->runUntil([] { return false; }, 0.2);
    EXPECT_EQ(watched_->ended.size(), 1U);
}

TEST_F(ScreenStreamTest, AServerThatDiesEndsTheStreamSoonAndOnce) {
    open();
    deliver(picture(0x111111));
    rig_.kill();
    watched_->runUntil([&] { return !watched_->ended.empty(); }, kSoon);
    ASSERT_EQ(watched_->ended, std::vector<std::string>{"Der PipeWire-Server wurde beendet."});
    EXPECT_FALSE(watched_->connection().isAlive());
}

TEST_F(ScreenStreamTest, AStreamThatItsOwnerEndsSaysNothing) {
    open();
    deliver(picture(0x111111));
    const auto streaming = watched_->streaming;
    watched_->close();
    watched_->runUntil([] { return false; }, 0.1);
    EXPECT_TRUE(watched_->ended.empty());
    EXPECT_EQ(watched_->streaming, streaming);
}

TEST_F(ScreenStreamTest, WithoutItsNodeAStreamEnds) {
    Watched lost(rig_.remote(), 4711);
    ASSERT_TRUE(lost.runUntil([&] { return !lost.ended.empty(); }));
    EXPECT_TRUE(lost.pictures.empty());
}

TEST_F(ScreenStreamTest, AsksForNoMorePicturesThanItsRate) {
    ScreenStream::Options options;
    options.maximumRate = 24;
    open({}, options);
    EXPECT_EQ(source_->maximumRate(), 24);
}

TEST_F(ScreenStreamTest, MemoryThatItsProducerShrinksIsNoPicture) {
    ScreenSource::Options screen;
    screen.ownsMemory = true;
    open(screen);
    deliver(picture(0x111111));
    ASSERT_EQ(watched_->pictures.size(), 1U);
    EXPECT_EQ(watched_->pictures[0].lastColour, 0x111111U);
    ScreenSource::Picture shrunk = picture(0x222222);
    shrunk.keptBytes = 320 * 4 * 100;
    deliver(shrunk);
    EXPECT_EQ(watched_->stream().counts().unreadable, 1U);
    EXPECT_EQ(watched_->pictures.size(), 1U);
    // What the lost picture changed is in the next one, although that tells little.
    deliver(picture(0x333333, std::vector<PixelRect>{{0, 150, 10, 10}}));
    ASSERT_EQ(watched_->pictures.size(), 2U);
    EXPECT_FALSE(watched_->pictures[1].damage);
    EXPECT_EQ(watched_->copied(0, 0), 0x222222U);
    EXPECT_EQ(watched_->copied(5, 155), 0x333333U);
    // Half of the memory is there, and so is all that changed.
    shrunk = picture(0x444444, std::vector<PixelRect>{{0, 0, 320, 50}, {10, 60, 5, 5}});
    shrunk.keptBytes = 320 * 4 * 100;
    deliver(shrunk);
    EXPECT_EQ(watched_->stream().counts().unreadable, 1U);
    EXPECT_EQ(watched_->copied(319, 49), 0x444444U);
    EXPECT_EQ(watched_->copied(0, 50), 0x222222U);
}

TEST_F(ScreenStreamTest, MemoryThatCanShrinkIsReadLikeAnyOther) {
    ScreenSource::Options screen;
    screen.ownsMemory = true;
    open(screen);
    deliver(picture(0x102030));
    for (int i = 0; i < 20; ++i) {
        deliver(picture(static_cast<std::uint32_t>(0x405060 + i), std::vector<PixelRect>{{i * 10, i * 7, 40, 13}}));
    }
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 320; ++x) ASSERT_EQ(watched_->copied(x, y), source_->pixel(x, y)) << x << ", " << y;
    }
    ScreenSource::Picture window = picture(0x0000ff);
    window.crop = PixelRect{100, 50, 60, 40};
    deliver(window);
    EXPECT_EQ(watched_->pictures.back().lastColour, 0x0000ffU);
    EXPECT_EQ(watched_->pictures.back().size, (PixelSize{60, 40}));
}

TEST(PipeWireConnectionFromDescriptor, OfNothingIsAnErrorOrLost) {
    bool failed = false;
    try {
        PipeWireConnection connection{UniqueDescriptor()};
        failed = !connection.sync(1);
    } catch (const RecorderError&) {
        failed = true;
    }
    EXPECT_TRUE(failed);
}

}  // namespace
}  // namespace lumivastor::pipewire

// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/pointer_track.h"

#include <gtest/gtest.h>

#include <string>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "support/temporary_folder.h"

namespace lumivastor::model {
namespace {

PointerTrack parsed(const std::string& text) {
    return PointerTrack::parse(FileBytes::copyOf(text));
}

std::string errorOf(const std::string& text) {
    try {
        parsed(text);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "no error";
}

std::string trackWith(const std::string& events, const std::string& rest = "") {
    return R"({"version": 1, "events": [)" + events + R"(], "cursorChanges": [], "cursorImages": [])" + rest + "}";
}

constexpr const char* kMove = R"({"t": 0.5, "px": 1, "py": 2, "nx": 0.1, "ny": 0.2, "kind": "move"})";

PointerTrack smallTrack() {
    PointerTrack track;
    track.events = {
        {-0.25, 10, -20.5, 0.01, -0.02, PointerKind::move, {}, {}, {}},
        {1, 100, 200, 0.1, 0.2, PointerKind::down, PointerButton::left, {}, {}},
        {1, 100, 200, 0.1, 0.2, PointerKind::drag, PointerButton::right, {}, {}},
        {1.5, 100, 200, 0.1, 0.2, PointerKind::up, PointerButton::other, {}, {}},
        {2, 100, 200, 0.1, 0.2, PointerKind::scroll, {}, 0, -3.5},
    };
    track.cursorChanges = {{-0.25, "c0"}, {1, "hidden"}};
    track.cursorImages = {{"c0", "cursors/c0.png", 12, 16.5, 4, 4, 2, true}, {"hidden", "", 0, 0, 0, 0, 1, false}};
    track.windowFrames = {{0, 1, 2, 3, 4}};
    return track;
}

TEST(PointerTrack, IsWrittenSortedIndentedAndWithoutAbsentFields) {
    const TemporaryFolder folder;
    PointerTrack track = smallTrack();
    track.events = {track.events[0], track.events[1], track.events[4]};
    track.save(folder.path());
    EXPECT_EQ(folder.read("pointer.json"), R"({
  "cursorChanges" : [
    {
      "id" : "c0",
      "t" : -0.25
    },
    {
      "id" : "hidden",
      "t" : 1
    }
  ],
  "cursorImages" : [
    {
      "file" : "cursors/c0.png",
      "height" : 16.5,
      "hotspotX" : 4,
      "hotspotY" : 4,
      "id" : "c0",
      "scale" : 2,
      "visible" : true,
      "width" : 12
    },
    {
      "file" : "",
      "height" : 0,
      "hotspotX" : 0,
      "hotspotY" : 0,
      "id" : "hidden",
      "scale" : 1,
      "visible" : false,
      "width" : 0
    }
  ],
  "events" : [
    {
      "kind" : "move",
      "nx" : 0.01,
      "ny" : -0.02,
      "px" : 10,
      "py" : -20.5,
      "t" : -0.25
    },
    {
      "button" : "left",
      "kind" : "down",
      "nx" : 0.1,
      "ny" : 0.2,
      "px" : 100,
      "py" : 200,
      "t" : 1
    },
    {
      "dx" : 0,
      "dy" : -3.5,
      "kind" : "scroll",
      "nx" : 0.1,
      "ny" : 0.2,
      "px" : 100,
      "py" : 200,
      "t" : 2
    }
  ],
  "version" : 1,
  "windowFrames" : [
    {
      "h" : 4,
      "t" : 0,
      "w" : 3,
      "x" : 1,
      "y" : 2
    }
  ]
})");
}

TEST(PointerTrack, ReadsBackWhatWasWritten) {
    const TemporaryFolder folder;
    const PointerTrack track = smallTrack();
    track.save(folder.path());
    EXPECT_EQ(PointerTrack::load(folder.path()), track);
}

TEST(PointerTrack, ADisplayCaptureHasNoWindowFramesKey) {
    const TemporaryFolder folder;
    PointerTrack track = smallTrack();
    track.windowFrames.reset();
    track.save(folder.path());
    EXPECT_EQ(folder.read("pointer.json").find("windowFrames"), std::string::npos);
    EXPECT_EQ(PointerTrack::load(folder.path()).windowFrames, std::nullopt);
}

TEST(PointerTrack, AnEmptyWindowTrackIsNotAnAbsentOne) {
    const PointerTrack track = parsed(trackWith("", R"(, "windowFrames": [])"));
    ASSERT_TRUE(track.windowFrames.has_value());
    EXPECT_TRUE(track.windowFrames->empty());
    EXPECT_FALSE(parsed(trackWith("", R"(, "windowFrames": null)")).windowFrames.has_value());
}

TEST(PointerTrack, OptionalEventFieldsMayBeNullOrMissing) {
    const auto track = parsed(trackWith(
        R"({"t": 0, "px": 1, "py": 2, "nx": 0, "ny": 0, "kind": "down", "button": null, "dx": null, "extra": {}})"));
    ASSERT_EQ(track.events.size(), 1u);
    EXPECT_EQ(track.events[0].button, std::nullopt);
    EXPECT_EQ(track.events[0].dx, std::nullopt);
}

TEST(PointerTrack, EveryOtherEventFieldIsRequired) {
    for (const char* key : {"t", "px", "py", "nx", "ny", "kind"}) {
        std::string event = kMove;
        event.replace(event.find("\"" + std::string(key) + "\""), std::string(key).size() + 2, "\"x\"");
        EXPECT_EQ(errorOf(trackWith(event)), "Feld „" + std::string(key) + "“ fehlt");
    }
}

TEST(PointerTrack, UnknownKindsAndButtonsAreAnError) {
    std::string event = kMove;
    event.replace(event.find("move"), 4, "hover");
    EXPECT_EQ(errorOf(trackWith(event)), "Feld „kind“ hat einen unbekannten Wert");
    event = kMove;
    event.replace(event.find("\"kind\""), 6, R"("button": "middle", "kind")");
    EXPECT_EQ(errorOf(trackWith(event)), "Feld „button“ hat einen unbekannten Wert");
}

TEST(PointerTrack, EventsOutOfOrderArePutInOrderAndEqualTimesStay) {
    const auto event = [](double t, int px) {
        return formatted(R"({"t": %g, "px": %d, "py": 0, "nx": 0, "ny": 0, "kind": "move"})", t, px);
    };
    const auto track = parsed(trackWith(event(2, 0) + "," + event(1, 1) + "," + event(2, 2) + "," + event(1, 3)));
    ASSERT_EQ(track.events.size(), 4u);
    EXPECT_EQ(track.events[0].px, 1);
    EXPECT_EQ(track.events[1].px, 3);
    EXPECT_EQ(track.events[2].px, 0);
    EXPECT_EQ(track.events[3].px, 2);
}

TEST(PointerTrack, ManyEventsAreReadWhole) {
    std::string events;
    for (int i = 0; i < 200'000; ++i) {
        events += formatted(R"(%s{"t":%d,"px":%d,"py":0.5,"nx":0,"ny":0,"kind":"%s"})", i > 0 ? "," : "", i, i,
                            i % 2 == 0 ? "move" : "drag");
    }
    const auto track = parsed(trackWith(events));
    ASSERT_EQ(track.events.size(), 200'000u);
    for (std::size_t i = 0; i < track.events.size(); ++i) {
        ASSERT_EQ(track.events[i].t, static_cast<double>(i));
        ASSERT_EQ(track.events[i].kind, i % 2 == 0 ? PointerKind::move : PointerKind::drag);
    }
}

TEST(PointerTrack, EveryTruncationIsAnError) {
    const TemporaryFolder folder;
    smallTrack().save(folder.path());
    const std::string whole = folder.read("pointer.json");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_NE(errorOf(whole.substr(0, length)), "no error") << length;
    }
}

TEST(PointerTrack, ListsOfWrongThingsAreAnError) {
    for (const char* events : {"1", "null", "[]", "\"x\"", "{}"}) {
        EXPECT_NE(errorOf(trackWith(events)), "no error") << events;
    }
    EXPECT_EQ(errorOf(R"({"version": 1, "events": {}, "cursorChanges": [], "cursorImages": []})"),
              "Feld „events“ ist keine Liste");
}

}  // namespace
}  // namespace lumivastor::model

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/wayland/restore_tokens.h"

#include <gtest/gtest.h>

#include <string>

#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor::wayland {
namespace {

TEST(RestoreTokens, EachKindHasItsOwnAndTheNewestHolds) {
    const TemporaryFolder folder;
    const RestoreTokens tokens(folder / "not/yet");
    EXPECT_EQ(tokens.token(SharedSource::display), "");
    tokens.store(SharedSource::display, "11111111-2222");
    tokens.store(SharedSource::window, "of a window");
    tokens.store(SharedSource::display, "33333333-4444");
    EXPECT_EQ(tokens.token(SharedSource::display), "33333333-4444");
    EXPECT_EQ(tokens.token(SharedSource::window), "of a window");
    EXPECT_EQ(RestoreTokens(folder / "not/yet").token(SharedSource::display), "33333333-4444");
    EXPECT_EQ(folder.read("not/yet/portal.json"),
              "{\n  \"display\": \"33333333-4444\",\n  \"window\": \"of a window\"\n}\n");
    EXPECT_EQ(modeOf(folder / "not/yet/portal.json"), 0600U);
    EXPECT_EQ(namesIn(folder / "not/yet"), std::vector<std::string>{"portal.json"});

    tokens.store(SharedSource::display, "");
    EXPECT_EQ(tokens.token(SharedSource::display), "");
    EXPECT_EQ(tokens.token(SharedSource::window), "of a window");
}

TEST(RestoreTokens, AFileThatMakesNoSenseHoldsNoneAndIsReplaced) {
    for (const std::string& garbage :
         {std::string(""), std::string("{"), std::string("[]"), std::string("{\"display\": \"a\""),
          std::string("{\"display\": \"a\"} x"), std::string("{\"display\": 1}"), std::string("{\"display\": \"a\",}"),
          std::string("{\"display\" \"a\"}"), std::string("{\"display\": \"a\\\"}"), std::string("\0\xff\xfe", 3),
          std::string("{\"display\": \"a\nb\"}"), std::string(100000, '{'),
          "{\"display\": \"" + std::string(100000, 'a') + "\"}"}) {
        SCOPED_TRACE(garbage.substr(0, 40));
        const TemporaryFolder folder;
        folder.write("portal.json", garbage);
        const RestoreTokens tokens(folder.path());
        EXPECT_EQ(tokens.token(SharedSource::display), "");
        tokens.store(SharedSource::display, "new");
        EXPECT_EQ(tokens.token(SharedSource::display), "new");
    }
}

TEST(RestoreTokens, ReadsWhatSomebodyWroteByHand) {
    const TemporaryFolder folder;
    const RestoreTokens tokens(folder.path());
    folder.write("portal.json", "  {}\n");
    EXPECT_EQ(tokens.token(SharedSource::window), "");
    folder.write("portal.json", "{\"window\":\"w\",\r\n\t\"later kind\" : \"x\" ,\"display\":\"\"}");
    EXPECT_EQ(tokens.token(SharedSource::window), "w");
    EXPECT_EQ(tokens.token(SharedSource::display), "");
}

// The file would no longer be JSON. A portal that gives such a token asks each time.
TEST(RestoreTokens, ATokenThatNeedsEscapesIsNotKept) {
    const TemporaryFolder folder;
    const RestoreTokens tokens(folder.path());
    tokens.store(SharedSource::window, "w");
    for (const std::string& token : {std::string("a\"b"), std::string("a\\b"), std::string("a\nb"),
                                     std::string("\xc3\xa4"), std::string("a\0b", 3)}) {
        tokens.store(SharedSource::display, "old");
        tokens.store(SharedSource::display, token);
        EXPECT_EQ(tokens.token(SharedSource::display), "");
        EXPECT_EQ(tokens.token(SharedSource::window), "w");
    }
}

TEST(RestoreTokens, WithoutAFolderToWriteToNothingFails) {
    const TemporaryFolder folder;
    folder.write("file", "");
    const RestoreTokens tokens(folder / "file");
    tokens.store(SharedSource::display, "a");
    EXPECT_EQ(tokens.token(SharedSource::display), "");
}

}  // namespace
}  // namespace lumivastor::wayland

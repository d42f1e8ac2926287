// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/handled_error.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/system_error_text.h"

namespace lumivastor {
namespace {

template <typename Thrown>
std::string messageOf(const Thrown& thrown) {
    try {
        throw thrown;
    } catch (...) {
        return handledError("Es ging nicht").message();
    }
}

TEST(HandledError, IsWhatTheUserReads) {
    EXPECT_EQ(messageOf(RecorderError("Ein Satz.")), "Ein Satz.");
    EXPECT_EQ(messageOf(std::bad_alloc()), "Der Arbeitsspeicher reicht nicht.");
    EXPECT_EQ(messageOf(std::system_error(std::make_error_code(std::errc::not_enough_memory))),
              "Der Arbeitsspeicher reicht nicht.");
    EXPECT_EQ(messageOf(std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again))),
              "Es ließ sich kein weiterer Thread starten; meist fehlt Arbeitsspeicher.");
    EXPECT_EQ(messageOf(std::out_of_range("at")), "Es ging nicht: at");
    EXPECT_EQ(messageOf(7), "Es ging nicht: ?");
    EXPECT_EQ(outOfMemory().message(), "Der Arbeitsspeicher reicht nicht.");
}

TEST(HandledError, AShortageOfMemoryIsKnownByItsWords) {
    EXPECT_TRUE(isOutOfMemory(outOfMemory()));
    for (const std::errc shortage : {std::errc::not_enough_memory, std::errc::resource_unavailable_try_again}) {
        const std::string reason = systemErrorText(std::make_error_code(shortage));
        EXPECT_TRUE(isOutOfMemory(RecorderError("source.mov konnte nicht gelesen werden: " + reason + "."))) << reason;
    }
    EXPECT_FALSE(isOutOfMemory(RecorderError("source.mov konnte nicht gelesen werden: Die Daten sind beschädigt.")));
}

}  // namespace
}  // namespace lumivastor

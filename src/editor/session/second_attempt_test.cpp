// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/second_attempt.h"

#include <gtest/gtest.h>

namespace lumivastor::editor {
namespace {

TEST(SecondAttempt, CountsWhileTheSentenceStands) {
    SecondAttempt attempts;
    EXPECT_FALSE(attempts.stands(100));
    EXPECT_FALSE(attempts.attempt(100));
    EXPECT_TRUE(attempts.stands(109.9));
    EXPECT_TRUE(attempts.attempt(109.9));
    EXPECT_FALSE(attempts.stands(110));
}

TEST(SecondAttempt, OneThatComesLaterIsAFirstOneAgain) {
    SecondAttempt attempts;
    EXPECT_FALSE(attempts.attempt(100));
    EXPECT_FALSE(attempts.attempt(110.5));
    EXPECT_TRUE(attempts.attempt(111));
    attempts.forget();
    EXPECT_FALSE(attempts.attempt(112));
}

}  // namespace
}  // namespace lumivastor::editor

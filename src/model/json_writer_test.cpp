// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/json_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "base/recorder_error.h"

namespace lumivastor::model {
namespace {

template <class Write>
std::string written(Write write) {
    std::string text;
    JsonWriter writer([&text](std::string_view piece) { text += piece; });
    write(writer);
    writer.finish();
    return text;
}

std::string writtenNumber(double value) {
    return written([value](JsonWriter& writer) { writer.number(value); });
}

std::string writtenText(std::string_view value) {
    return written([value](JsonWriter& writer) { writer.text(value); });
}

TEST(JsonWriter, IndentsByTwoAndSetsSpacesAroundTheColon) {
    const std::string text = written([](JsonWriter& writer) {
        writer.beginObject();
        writer.key("empty");
        writer.beginArray();
        writer.endArray();
        writer.key("items");
        writer.beginArray();
        writer.integer(1);
        writer.beginObject();
        writer.key("on");
        writer.boolean(true);
        writer.endObject();
        writer.beginObject();
        writer.endObject();
        writer.endArray();
        writer.endObject();
    });
    EXPECT_EQ(text, R"({
  "empty" : [],
  "items" : [
    1,
    {
      "on" : true
    },
    {}
  ]
})");
}

TEST(JsonWriter, WholeNumbersHaveNoFraction) {
    EXPECT_EQ(writtenNumber(5), "5");
    EXPECT_EQ(writtenNumber(-1920), "-1920");
    EXPECT_EQ(writtenNumber(0), "0");
    EXPECT_EQ(writtenNumber(0.055), "0.055");
    EXPECT_EQ(writtenNumber(1.6), "1.6");
}

TEST(JsonWriter, EveryDoubleReadsBackIdentically) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 100'000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        static_assert(sizeof value == sizeof bits);
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value)) continue;
        EXPECT_EQ(std::strtod(writtenNumber(value).c_str(), nullptr), value);
    }
}

TEST(JsonWriter, InfinitiesAndNaNAreAnError) {
    for (const double value : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(writtenNumber(value), RecorderError);
    }
}

TEST(JsonWriter, EscapesWhatJsonDemands) {
    EXPECT_EQ(writtenText("a\"b\\c/d\n\t\r\x01\x7f ä 😀"), "\"a\\\"b\\\\c/d\\n\\t\\r\\u0001\x7f ä 😀\"");
}

TEST(JsonWriter, WhatIsNoUtf8BecomesReplacementCharacters) {
    EXPECT_EQ(writtenText("a\xFFz"), "\"a\uFFFDz\"");
    EXPECT_EQ(writtenText("\xC3"), "\"\uFFFD\"");
    EXPECT_EQ(writtenText("\xC0\xAF"), "\"\uFFFD\uFFFD\"");
    EXPECT_EQ(writtenText("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");
    EXPECT_EQ(writtenText("\xF4\x90\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\uFFFD\"");
    EXPECT_EQ(writtenText("\xE2\x82\xAC"), "\"€\"");
}

TEST(JsonWriter, LongDocumentsArriveInPieces) {
    std::size_t pieces = 0;
    std::size_t largest = 0;
    std::string text;
    JsonWriter writer([&](std::string_view piece) {
        ++pieces;
        largest = std::max(largest, piece.size());
        text += piece;
    });
    writer.beginArray();
    for (int i = 0; i < 100'000; ++i) writer.number(i);
    writer.endArray();
    writer.finish();
    EXPECT_GT(pieces, 5u);
    EXPECT_LT(largest, 100'000u);
    EXPECT_TRUE(text.starts_with("[\n  0,\n  1,"));
    EXPECT_TRUE(text.ends_with("99999\n]"));
}

}  // namespace
}  // namespace lumivastor::model

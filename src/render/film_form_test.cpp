// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_form.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/recorder_error.h"

namespace lumivastor::render {
namespace {

TEST(FilmForm, IsNamedByTheExtensionInAnyCase) {
    for (const FilmForm form : kAllFilmForms) {
        EXPECT_EQ(formOf("a/film." + std::string(fileExtension(form))), form);
        EXPECT_EQ(formOf(usualName(form)), form);
    }
    EXPECT_EQ(formOf("FILM.WebM"), FilmForm::webm);
    EXPECT_EQ(formOf("gif"), std::nullopt);
    EXPECT_EQ(formOf("film.avi"), std::nullopt);
    EXPECT_EQ(formOf(""), std::nullopt);
}

TEST(FilmForm, TheAnimatedPartLiesInTheFilmAndIsNotTooLong) {
    AnimationOptions options;
    EXPECT_EQ(animatedPart(options, 12), (Interval{0, 12}));
    EXPECT_EQ(animatedPart(options, 120), (Interval{0, 30}));
    options.from = 100;
    EXPECT_EQ(animatedPart(options, 120), (Interval{100, 120}));
    options.to = 110;
    EXPECT_EQ(animatedPart(options, 120), (Interval{100, 110}));
    options.to = 1000;
    EXPECT_EQ(animatedPart(options, 300), (Interval{100, 130}));
    options.from = -5;
    options.to = 3;
    EXPECT_EQ(animatedPart(options, 300), (Interval{0, 3}));
}

TEST(FilmForm, WhatLeavesNothingOrIsNoNumberIsRefused) {
    AnimationOptions options;
    options.from = 12;
    EXPECT_THROW(animatedPart(options, 12), RecorderError);
    options.from = 3;
    options.to = 2;
    EXPECT_THROW(animatedPart(options, 12), RecorderError);
    options.to = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(animatedPart(options, 12), RecorderError);
    options = {};
    options.from = std::numeric_limits<double>::infinity();
    EXPECT_THROW(animatedPart(options, 12), RecorderError);
    EXPECT_THROW(animatedPart({}, 0), RecorderError);
}

TEST(FilmForm, AnAnimatedPictureHasTheFilmsProportions) {
    AnimationOptions options;
    for (const int width : {64, 480, 640, 800, 1080, 1920}) {
        options.width = width;
        const PixelSize size = animationSize(options, {1920, 1080});
        EXPECT_EQ(size.width, width);
        EXPECT_NEAR(size.height, width * 9 / 16.0, 0.5);
    }
    for (const int width : {-1, 0, 63, 1921, std::numeric_limits<int>::max()}) {
        options.width = width;
        EXPECT_THROW(animationSize(options, {1920, 1080}), RecorderError) << width;
    }
    options = {};
    for (const int rate : {-1, 0, 51}) {
        options.rate = rate;
        EXPECT_THROW(animationSize(options, {1920, 1080}), RecorderError) << rate;
    }
}

}  // namespace
}  // namespace lumivastor::render

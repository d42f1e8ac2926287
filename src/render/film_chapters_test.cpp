// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_chapters.h"

#include <gtest/gtest.h>

namespace lumivastor::render {
namespace {

edit::EditState stateOf(std::vector<double> marks) {
    edit::EditState state;
    state.keptSegments = {{10, 20}, {30, 40}};
    state.outputDuration = 20;
    state.marks = std::move(marks);
    return state;
}

TEST(FilmChapters, BeginAtTheMarksOfTheVideo) {
    EXPECT_EQ(filmChapters(stateOf({12, 25, 31.5})),
              (std::vector<media::MovieChapter>{{0, "Kapitel 1"}, {2, "Kapitel 2"}, {11.5, "Kapitel 3"}}));
    EXPECT_TRUE(filmChapters(stateOf({})).empty());
    EXPECT_TRUE(filmChapters(stateOf({5, 25, 50})).empty());
}

TEST(FilmChapters, AreNotTooShort) {
    EXPECT_EQ(filmChapters(stateOf({10.25, 12, 12.25, 39.75})),
              (std::vector<media::MovieChapter>{{0, "Kapitel 1"}, {2, "Kapitel 2"}}));
}

}  // namespace
}  // namespace lumivastor::render

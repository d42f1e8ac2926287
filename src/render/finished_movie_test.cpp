// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/finished_movie.h"

#include <gtest/gtest.h>

#include "base/recorder_error.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor::render {
namespace {

TEST(FinishedMovieCheck, WhatDiffersIsAnError) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.sounds = {{}};
    makeTestMovie(folder / "a.mov", options);  // 60 pictures in 2 s
    const FinishedMovie right{{128, 96}, 60, 2, 1.0 / 30, 2};
    EXPECT_NO_THROW(checkFinishedMovie(folder / "a.mov", FilmForm::mov, right));
    const auto isRefused = [&](auto change) {
        FinishedMovie expected = right;
        change(expected);
        try {
            checkFinishedMovie(folder / "a.mov", FilmForm::mov, expected);
        } catch (const RecorderError& error) {
            return error.message() == "Das Studio-Video konnte nicht geschrieben werden.";
        }
        return false;
    };
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.canvas.width = 126; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.pictures = 61; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.pictures = 59; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.seconds = 2.1; }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.soundSeconds.reset(); }));
    EXPECT_TRUE(isRefused([](FinishedMovie& movie) { movie.soundSeconds = 1.9; }));
    EXPECT_THROW(checkFinishedMovie(folder / "missing.mov", FilmForm::mov, right), RecorderError);
    folder.write("broken.mov", folder.read("a.mov").substr(0, 5000));
    EXPECT_THROW(checkFinishedMovie(folder / "broken.mov", FilmForm::mov, right), RecorderError);
}

// Its pictures are counted to the end of the file, which the index of the others says at once.
TEST(FinishedMovieCheck, AWebMFileIsHeldAgainstTheSame) {
    const TemporaryFolder folder;
    TestMovieOptions options;
    options.videoEncoder = "libvpx-vp9";
    options.container = "webm";
    options.keyFrameInterval = 10;
    makeTestMovie(folder / "a.webm", options);  // 60 pictures in 2 s
    const FinishedMovie right{{128, 96}, 60, 2, 1.0 / 30, std::nullopt};
    EXPECT_NO_THROW(checkFinishedMovie(folder / "a.webm", FilmForm::webm, right));
    for (const FinishedMovie& other :
         {FinishedMovie{{126, 96}, 60, 2, 1.0 / 30, {}}, FinishedMovie{{128, 96}, 61, 2, 1.0 / 30, {}},
          FinishedMovie{{128, 96}, 60, 2.1, 1.0 / 30, {}}, FinishedMovie{{128, 96}, 60, 2, 1.0 / 30, 2}}) {
        EXPECT_THROW(checkFinishedMovie(folder / "a.webm", FilmForm::webm, other), RecorderError);
    }
    const std::string whole = folder.read("a.webm");
    folder.write("short.webm", whole.substr(0, whole.size() * 3 / 4));
    EXPECT_THROW(checkFinishedMovie(folder / "short.webm", FilmForm::webm, right), RecorderError);
}

}  // namespace
}  // namespace lumivastor::render

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/main_loop.h"
#include "playback/player.h"
#include "support/manual_sound_output.h"
#include "support/temporary_folder.h"
#include "support/test_movie.h"

namespace lumivastor {

/// A player of a small movie with numbered pictures. The test drives its main loop and its sound device by hand.
class PlayerFixture : public testing::Test {
  protected:
    /// A frame that the player delivered.
    struct Shown {
        int number = -1;  // of the screen picture in it
        double seconds = 0;
        double clock = 0;  // the player's time
        playback::Player::Frame frame;
    };

    ~PlayerFixture() override;

    /// "a.mov" as options_ say.
    void makeMovie();
    /// The movie, whole, with the screen picture filling the canvas.
    playback::PlayerItem item() const;
    /// Shows an item in a new player and waits for its first frame.
    void open(playback::PlayerItem item);
    void openSilently(playback::PlayerItem item);

    /// Runs the main loop until the condition is true; returns false after a minute.
    bool await(const std::function<bool()>& isSo);
    /// Runs the main loop until no more work arrives.
    void settle();
    /// Seeks and waits. Returns whether the seek finished.
    bool seek(double seconds);
    /// How far `playUntil` moves the sound device's time at once, in seconds.
    static constexpr double kStep = 1.0 / 120;
    /// Moves the sound device's time until playing reaches a moment, and waits at each step for the frame that is due.
    /// `check` is called in between.
    void playUntil(double seconds, const std::function<void()>& check = {});

    /// The number of the movie's picture that is shown at a moment.
    int expectedNumber(double seconds) const;
    int lastNumber() const { return shown_.empty() ? -1 : shown_.back().number; }

    TemporaryFolder folder_;
    TestMovieOptions options_;
    BlockingMainLoop loop_;
    ManualSoundOutput* sound_ = nullptr;  // the player's
    std::unique_ptr<playback::Player> player_;
    std::vector<Shown> shown_;     // exact frames
    std::vector<Shown> standIns_;  // the others
    std::vector<double> times_;
    std::vector<std::string> errors_;
    int ends_ = 0;

  private:
    void listen();

    double lastSeconds_ = -1;  // of the frame shown last
};

/// The number in a recipe of a numbered picture; -1 when it shows none.
int pictureNumber(const imaging::Picture& picture);

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/transport.h"

#include <algorithm>
#include <utility>

#include "editor/session/frame_time.h"

namespace lumivastor::editor {

namespace {

// This close to the end there is nothing worth playing, in seconds.
constexpr double kAtEnd = 0.05;

}  // namespace

Transport::Transport(PlayerControls player, Options options)
    : player_(std::move(player)), options_(std::move(options)), seeks_(player_.seek), lastPlayed_(options_.duration) {}

void Transport::setPlayed(const edit::TrimRange& trim, double lastKept) {
    if (trim.start != firstPlayed_ || lastKept != lastPlayed_) atEnd_ = false;
    firstPlayed_ = trim.start;
    lastPlayed_ = lastKept;
}

void Transport::toggle() {
    if (playing_) {
        pause();
        return;
    }
    // A frame can be longer than the margin, so the last one may lie before it.
    if (atEnd_ || playhead_ >= std::min(lastPlayed_, options_.duration) - kAtEnd) moveTo(firstPlayed_);
    // Played from an older place, it could come to the end before it gets to where it is to begin.
    seeks_.hurry();
    playing_ = true;
    player_.play();
    options_.changed();
}

void Transport::pause() {
    if (!playing_) return;
    playing_ = false;
    standAt(player_.pause());
    options_.changed();
}

void Transport::step(double seconds) {
    pause();
    moveTo(snappedToFrame(std::clamp(playhead_ + seconds, 0.0, options_.duration), options_.fps));
    options_.changed();
}

void Transport::scrub(double seconds) {
    pause();
    moveTo(std::clamp(seconds, 0.0, options_.duration));
    options_.changed();
}

void Transport::jump(double seconds) {
    moveTo(std::clamp(seconds, 0.0, options_.duration));
    options_.changed();
}

void Transport::timePassed(double seconds) {
    // A seek that has been asked for but is not through must not be taken back by where the player still is.
    if (!playing_ || seeks_.isBusy()) return;
    playhead_ = seconds;
    options_.changed();
}

void Transport::ended(double seconds) {
    if (seeks_.isWaiting()) {
        // The end of what was played before a jump whose turn has not come yet.
        seeks_.hurry();
        player_.play();
        return;
    }
    playing_ = false;
    atEnd_ = true;
    standAt(seconds);
    options_.changed();
}

// What was shown while playing is never quite where the player says it was last. Unless a seek is about to go
// elsewhere.
void Transport::standAt(double seconds) {
    if (!seeks_.isWaiting()) playhead_ = seconds;
}

void Transport::moveTo(double seconds) {
    atEnd_ = false;
    playhead_ = seconds;
    seeks_.request(seconds);
}

}  // namespace lumivastor::editor

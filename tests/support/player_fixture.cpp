// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/player_fixture.h"

#include <utility>

#include "imaging/painting/painter.h"
#include "playback/played_ranges.h"
#include "support/await.h"

namespace lumivastor {

int pictureNumber(const imaging::Picture& picture) {
    imaging::BgraPremultipliedBuffer pixels(static_cast<int>(picture.extent().width),
                                            static_cast<int>(picture.extent().height));
    imaging::Painter(1).paint(picture, pixels);
    return testPictureNumber(pixels);
}

PlayerFixture::~PlayerFixture() {
    player_.reset();
}

void PlayerFixture::makeMovie() {
    makeTestMovie(folder_ / "a.mov", options_);
}

playback::PlayerItem PlayerFixture::item() const {
    const auto asset = std::make_shared<const media::Asset>(folder_ / "a.mov");
    playback::PlayerItem item;
    item.movie = media::SegmentedMovie::showing(asset);
    for (const auto& track : item.movie.tracks(media::TrackKind::video)) item.screenTrackId = track.id;
    for (const auto& track : item.movie.tracks(media::TrackKind::audio)) item.audioMix.push_back({track.id, 1.0F});
    item.compositor = [](const imaging::Picture& screen, const std::optional<imaging::Picture>&,
                         const playback::FrameRequest&) { return screen; };
    item.canvasWidth = options_.width;
    item.canvasHeight = options_.height;
    item.framesPerSecond = options_.frameRate;
    item.duration = asset->duration().seconds();
    item.playedRanges = {{0, item.duration}};
    return item;
}

void PlayerFixture::open(playback::PlayerItem item) {
    auto sound = std::make_unique<ManualSoundOutput>();
    sound_ = sound.get();
    player_ = std::make_unique<playback::Player>(loop_, std::move(sound));
    listen();
    player_->setItem(std::move(item));
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
}

void PlayerFixture::openSilently(playback::PlayerItem item) {
    player_ = std::make_unique<playback::Player>(loop_, nullptr);
    listen();
    player_->setItem(std::move(item));
    ASSERT_TRUE(await([this] { return !shown_.empty(); }));
}

void PlayerFixture::listen() {
    using Kind = playback::Player::FrameKind;
    player_->onFrame([this](const playback::Player::Frame& frame, double seconds, Kind kind) {
        if (kind == Kind::exact) lastSeconds_ = seconds;
        (kind == Kind::exact ? shown_ : standIns_)
            .push_back({testPictureNumber(*frame), seconds, player_->currentTime(), frame});
    });
    player_->onTimeChanged([this](double seconds) { times_.push_back(seconds); });
    player_->onPlayedToEnd([this] { ++ends_; });
    player_->onError([this](const RecorderError& error) { errors_.push_back(error.message()); });
}

bool PlayerFixture::await(const std::function<bool()>& isSo) {
    const auto timer = loop_.every(0.001, [this] { loop_.stop(); });
    return lumivastor::await(kPatience, isSo, [this] { loop_.run(); });
}

void PlayerFixture::settle() {
    bool isDone = false;
    loop_.async([&] { isDone = true; });
    EXPECT_TRUE(await([&] { return isDone; }));
}

bool PlayerFixture::seek(double seconds) {
    std::optional<bool> finished;
    player_->seek(seconds, [&](bool isFinished) { finished = isFinished; });
    EXPECT_TRUE(await([&] { return finished.has_value(); }));
    return finished.value_or(false);
}

void PlayerFixture::playUntil(double seconds, const std::function<void()>& check) {
    const double frameLength = 1.0 / options_.frameRate;
    double excusedUntil = 0;
    std::int64_t dropped = player_->statistics().framesDropped;
    while (player_->rate() > 0 && player_->currentTime() < seconds - kStep / 2) {
        sound_->advance(kStep);
        settle();
        const double now = player_->currentTime();
        // Sound that is not decoded yet is waited for, and so is the frame that is due; unless the player has found, on
        // a machine that takes longer for a picture than the moved clock, that it comes too late. Then there is nothing
        // to wait for until the next one is due.
        ASSERT_TRUE(await([&] {
            const std::int64_t before = std::exchange(dropped, player_->statistics().framesDropped);
            if (dropped > before) excusedUntil = now + frameLength;
            return player_->rate() == 0 || now < excusedUntil || lastSeconds_ > now - frameLength - 0.001;
        })) << now;
        if (check) check();
    }
}

int PlayerFixture::expectedNumber(double seconds) const {
    const int count =
        options_.pictureTicks.empty() ? options_.pictures : static_cast<int>(options_.pictureTicks.size());
    int shown = 0;
    for (int i = 0; i < count; ++i) {
        if (testPictureSeconds(options_, i) <= seconds + 0.0001) shown = i;
    }
    return shown;
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/player.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

#include "base/log.h"
#include "base/pixel_size.h"
#include "platform/sound/silent_output.h"
#include "playback/player_pictures.h"
#include "playback/player_sound.h"

namespace lumivastor::playback {

namespace {

constexpr double kTimeInterval = 1.0 / 30;
// Larger than any screen, until the size at which frames are shown is set.
constexpr PixelSize kAnySize{1 << 20, 1 << 20};

}  // namespace

/// Lives on the main thread. Work that other threads post to the main loop holds it weakly, so that none runs after the
/// player's destruction.
class Player::Core : public std::enable_shared_from_this<Core> {
  public:
    Core(MainLoop& mainLoop, std::unique_ptr<platform::SoundOutput> output)
        : mainLoop_(mainLoop), output_(std::move(output)), silent_(platform::makeSilentOutput()) {}
    ~Core() { close(); }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    void setItem(PlayerItem item);
    void setCompositor(VideoCompositor compositor);
    void setWebcamShift(double seconds);
    void setMix(const std::vector<media::AudioMixInput>& mix);
    void setRanges(std::vector<Interval> ranges);
    void setSmallStandIns(SmallStandIns find);
    void setOutputSize(int width, int height);

    void play();
    void pause();
    bool isPlaying() const { return isPlaying_; }
    double currentTime() const { return isPlaying_ ? sound_->position() : time_; }
    void seek(double seconds, std::function<void(bool)> completion);

    Player::Statistics statistics() const { return pictures_ ? pictures_->statistics() : Player::Statistics{}; }

    std::function<void(const Frame&, double, FrameKind)> onFrame;
    std::function<void(double)> onTimeChanged;
    std::function<void()> onPlayedToEnd;
    std::function<void(const RecorderError&)> onError;

  private:
    // A frame on its way to the main thread; a newer one takes its place.
    struct Delivery {
        std::int64_t order = 0;
        Frame frame;
        double seconds = 0;
        FrameKind kind = FrameKind::exact;
    };
    struct Seek {
        std::int64_t order = 0;
        std::function<void(bool)> completion;
    };

    template <typename Work>
    void post(Work work);
    void close();
    PlayedRanges rangesOf(std::vector<Interval> ranges) const;
    void startSound(platform::SoundOutput& output);
    void stopPlaying();
    void stand();
    void endSeek(bool isFinished);

    // Called by the threads of pictures and sound.
    void deliver(Delivery delivery);
    // Posted by them.
    void takeDelivery();
    void playedToEnd(std::int64_t order);
    void soundLost(std::int64_t order, const RecorderError& reason);

    MainLoop& mainLoop_;
    const std::unique_ptr<platform::SoundOutput> output_;  // null: none
    const std::unique_ptr<platform::SoundOutput> silent_;

    double duration_ = 0;
    double framesPerSecond_ = 1;
    PixelSize available_ = kAnySize;
    PlayedRanges ranges_;
    std::unique_ptr<PlayerSound> sound_;  // both: null until there is an item
    std::unique_ptr<PlayerPictures> pictures_;

    bool isPlaying_ = false;
    double time_ = 0;         // of the frame that is shown or sought; while playing, where playing began
    std::int64_t order_ = 0;  // the latest, for pictures and sound
    std::optional<Seek> seek_;
    std::unique_ptr<MainLoop::Timer> timer_;  // while playing

    std::mutex lock_;
    std::optional<Delivery> delivery_;  // guarded by lock_
};

template <typename Work>
void Player::Core::post(Work work) {
    mainLoop_.async([weak = weak_from_this(), work = std::move(work)] {
        if (const auto core = weak.lock()) work(*core);
    });
}

// Pictures first: their clock is the sound.
void Player::Core::close() {
    timer_.reset();
    pictures_.reset();
    if (sound_) sound_->stop();
    sound_.reset();
}

PlayedRanges Player::Core::rangesOf(std::vector<Interval> ranges) const {
    return {std::move(ranges), duration_, framesPerSecond_};
}

void Player::Core::setItem(PlayerItem item) {
    endSeek(false);
    close();
    isPlaying_ = false;
    duration_ = std::max(item.duration, 0.0);
    framesPerSecond_ = item.framesPerSecond;
    ranges_ = rangesOf(std::move(item.playedRanges));
    sound_ = std::make_unique<PlayerSound>(item.movie, item.audioMix, ranges_);
    PlayerPictures::Clock clock{[sound = sound_.get()] { return sound->position(); },
                                [sound = sound_.get()] { return sound->elapsed(); },
                                [sound = sound_.get()] { return sound->isFinished(); }};
    PlayerPictures::Callbacks callbacks;
    callbacks.show = [this](std::int64_t order, const Frame& frame, double seconds, FrameKind kind) {
        deliver({order, frame, seconds, kind});
    };
    callbacks.ended = [this](std::int64_t order) { post([order](Core& core) { core.playedToEnd(order); }); };
    callbacks.failed = [this](const RecorderError& error) {
        post([error](Core& core) {
            if (core.onError) core.onError(error);
        });
    };
    if (!item.screenTrackId) sound_->prepare();
    pictures_ = std::make_unique<PlayerPictures>(item, ranges_, available_, std::move(clock), std::move(callbacks));
    time_ = 0;
    stand();
}

void Player::Core::setCompositor(VideoCompositor compositor) {
    if (pictures_) pictures_->setCompositor(std::move(compositor));
}

void Player::Core::setWebcamShift(double seconds) {
    if (pictures_) pictures_->setWebcamShift(seconds);
}

void Player::Core::setMix(const std::vector<media::AudioMixInput>& mix) {
    if (sound_) sound_->setMix(mix);
}

void Player::Core::setRanges(std::vector<Interval> ranges) {
    if (!sound_) return;
    PlayedRanges changed = rangesOf(std::move(ranges));
    // Every edit sets them again; unchanged ranges must not discard decoded sound, which would be late after decoding
    // it again.
    if (changed == ranges_) return;
    ranges_ = std::move(changed);
    sound_->setRanges(ranges_);
    pictures_->setRanges(ranges_);
}

void Player::Core::setSmallStandIns(SmallStandIns find) {
    if (pictures_) pictures_->setSmallStandIns(std::move(find));
}

void Player::Core::setOutputSize(int width, int height) {
    available_ = {std::max(width, 1), std::max(height, 1)};
    if (pictures_) pictures_->setAvailable(available_);
}

void Player::Core::stand() {
    pictures_->stand(++order_, time_);
}

void Player::Core::play() {
    if (isPlaying_ || !sound_) return;
    isPlaying_ = true;
    sound_->cue(time_);
    pictures_->play(++order_);
    // A seek in progress ends with the first frame that is shown.
    startSound(output_ && sound_->hasTracks() ? *output_ : *silent_);
    timer_ = mainLoop_.every(kTimeInterval, [this] {
        if (onTimeChanged) onTimeChanged(currentTime());
    });
}

void Player::Core::startSound(platform::SoundOutput& output) {
    sound_->start(output, [this, order = order_](const RecorderError& reason) {
        post([order, reason](Core& core) { core.soundLost(order, reason); });
    });
}

void Player::Core::soundLost(std::int64_t order, const RecorderError& reason) {
    if (!isPlaying_ || order != order_) return;
    Log::write("Studio", "Vorschau ohne Ton - Grund: " + reason.message());
    sound_->stop();
    startSound(*silent_);
    if (onError) onError(reason);
}

void Player::Core::stopPlaying() {
    timer_.reset();
    sound_->stop();
    isPlaying_ = false;
}

void Player::Core::pause() {
    if (!isPlaying_) return;
    stopPlaying();
    time_ = ranges_.standingFrame(sound_->position());
    stand();
}

void Player::Core::playedToEnd(std::int64_t order) {
    if (!isPlaying_ || order != order_) return;
    stopPlaying();
    const double end = sound_->position();
    // The last frame may not have been shown in time. If nothing was played, the frame stays.
    if (end > time_ + kPictureTolerance) time_ = ranges_.standingFrame(end);
    stand();
    if (onPlayedToEnd) onPlayedToEnd();
}

void Player::Core::seek(double seconds, std::function<void(bool)> completion) {
    endSeek(false);
    time_ = std::clamp(seconds, 0.0, duration_);
    if (!pictures_) {
        if (completion) post([completion = std::move(completion)](Core&) { completion(false); });
        return;
    }
    if (isPlaying_) {
        sound_->stop();
        sound_->cue(time_);
        pictures_->play(++order_);
        startSound(output_ && sound_->hasTracks() ? *output_ : *silent_);
    } else {
        stand();
    }
    seek_ = Seek{order_, std::move(completion)};
}

void Player::Core::endSeek(bool isFinished) {
    if (!seek_) return;
    std::function<void(bool)> completion = std::exchange(seek_, std::nullopt)->completion;
    if (completion) post([completion = std::move(completion), isFinished](Core&) { completion(isFinished); });
}

void Player::Core::deliver(Delivery delivery) {
    {
        const std::lock_guard hold(lock_);
        if (std::exchange(delivery_, std::move(delivery))) return;  // one is on its way already
    }
    post([](Core& core) { core.takeDelivery(); });
}

void Player::Core::takeDelivery() {
    std::optional<Delivery> delivery;
    {
        const std::lock_guard hold(lock_);
        delivery = std::exchange(delivery_, std::nullopt);
    }
    if (!delivery || delivery->order != order_) return;
    if (delivery->kind == FrameKind::exact) sound_->prepare();
    const bool endsSeek = seek_ && seek_->order <= delivery->order && delivery->kind == FrameKind::exact;
    const std::int64_t sought = endsSeek ? seek_->order : 0;
    if (delivery->frame && onFrame) onFrame(delivery->frame, delivery->seconds, delivery->kind);
    // Unless the callback has begun another seek.
    if (endsSeek && seek_ && seek_->order == sought) endSeek(true);
}

// The interface

Player::Player(MainLoop& mainLoop, std::unique_ptr<platform::SoundOutput> output)
    : core_(std::make_shared<Core>(mainLoop, std::move(output))) {}

Player::~Player() = default;

void Player::setItem(PlayerItem item) {
    core_->setItem(std::move(item));
}

void Player::setVideoCompositor(VideoCompositor compositor) {
    core_->setCompositor(std::move(compositor));
}

void Player::setWebcamShift(double seconds) {
    core_->setWebcamShift(seconds);
}

void Player::setAudioMix(const std::vector<media::AudioMixInput>& audioMix) {
    core_->setMix(audioMix);
}

void Player::setPlayedRanges(std::vector<Interval> ranges) {
    core_->setRanges(std::move(ranges));
}

void Player::setSmallStandIns(SmallStandIns find) {
    core_->setSmallStandIns(std::move(find));
}

void Player::setOutputSize(int width, int height) {
    core_->setOutputSize(width, height);
}

void Player::play() {
    core_->play();
}

void Player::pause() {
    core_->pause();
}

double Player::rate() const {
    return core_->isPlaying() ? 1 : 0;
}

double Player::currentTime() const {
    return core_->currentTime();
}

void Player::seek(double seconds, std::function<void(bool finished)> completion) {
    core_->seek(seconds, std::move(completion));
}

void Player::onFrame(std::function<void(const Frame& frame, double seconds, FrameKind kind)> handler) {
    core_->onFrame = std::move(handler);
}

void Player::onTimeChanged(std::function<void(double seconds)> handler) {
    core_->onTimeChanged = std::move(handler);
}

void Player::onPlayedToEnd(std::function<void()> handler) {
    core_->onPlayedToEnd = std::move(handler);
}

void Player::onError(std::function<void(const RecorderError& error)> handler) {
    core_->onError = std::move(handler);
}

Player::Statistics Player::statistics() const {
    return core_->statistics();
}

}  // namespace lumivastor::playback

// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/player_pictures.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <exception>
#include <new>
#include <utility>
#include <vector>

#include "base/host_clock.h"
#include "base/interval.h"
#include "base/log.h"
#include "base/precondition.h"
#include "base/shifted_moment.h"
#include "base/thread_name.h"

namespace lumivastor::playback {

namespace {

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
// For decoded pictures: 70 of 2560x1440, 31 of 3840x2160. The pictures ahead while playing, and those from a still back
// to the key picture before it, mostly fit.
constexpr std::size_t kScreenBudget = 384 * kMegabyte;
constexpr std::size_t kWebcamBudget = 96 * kMegabyte;

// How far pictures are decoded ahead while playing, in seconds: longer than finding the first picture after a cut
// takes.
constexpr double kAhead = 0.5;
// Around a still, once it has been shown for a moment: some frames ahead, and frames back in growing distances, so that
// the nearest are decoded first.
constexpr double kStillAhead = 0.2;
constexpr double kStillBack[] = {0.1, 0.4, 1.0};
constexpr double kPrefetchDelay = 0.1;
// The longest time between two reads of the clock, because sound devices may correct it.
constexpr double kLongestSleep = 0.01;
// A finer resolution is not noticeable.
constexpr double kShortestSleep = 0.0005;
constexpr double kStandInRetry = 1.0 / 60;
// How far ahead frames are made on a slow machine, at most.
constexpr double kLongestLead = 0.25;

TimeRange between(double start, double end) {
    return TimeRange::between(momentOf(start), momentOf(end));
}

// The range of a single moment.
TimeRange at(const MediaTime& moment) {
    return {moment, {1, 1'000'000}};
}

// A stretch of the timeline without the picture that begins where it ends.
TimeRange insideOf(const Interval& stretch) {
    return between(stretch.start, stretch.end - 2 * kPictureTolerance);
}

// From a moment to when a picture is shown, in seconds.
double distanceTo(const ShownPicture& picture, double seconds) {
    return std::max({picture.shown.start.seconds() - seconds, seconds - picture.shown.end().seconds(), 0.0});
}

std::unique_ptr<FramePrefetcher> prefetcherOf(const PlayerItem& item, const std::optional<int>& trackId,
                                              const FramePrefetcher::Options& options, std::function<void()> changed) {
    const media::SegmentedTrack* const track = trackId ? item.movie.track(*trackId) : nullptr;
    if (track == nullptr) return nullptr;
    return std::make_unique<FramePrefetcher>(*track, options, std::move(changed));
}

// Where a track has pictures; between the first and the last it has them everywhere.
Interval picturesOf(const media::SegmentedTrack& track) {
    std::optional<Interval> pictures;
    for (const media::MovieSegment& segment : track.segments) {
        if (segment.isEmpty()) continue;
        if (!pictures) pictures = Interval{segment.target.start.seconds(), 0};
        pictures->end = segment.target.end().seconds();
    }
    return pictures.value_or(Interval{});
}

}  // namespace

PlayerPictures::PlayerPictures(const PlayerItem& item, PlayedRanges ranges, PixelSize available, Clock clock,
                               Callbacks callbacks)
    : canvas_{item.canvasWidth, item.canvasHeight},
      clock_(std::move(clock)),
      callbacks_(std::move(callbacks)),
      painter_(imaging::paintingThreads()) {
    precondition(canvas_.width >= 1 && canvas_.height >= 1, "a canvas has a size");
    precondition(item.compositor != nullptr, "an item has a compositor");
    wish_.compositor = std::make_shared<const VideoCompositor>(item.compositor);
    wish_.ranges = std::make_shared<const PlayedRanges>(std::move(ranges));
    wish_.available = available;
    screen_ = prefetcherOf(item, item.screenTrackId,
                           {"player.screen", FrameSeeker::Before::firstPicture, kScreenBudget}, [this] { wake(); });
    webcam_ = prefetcherOf(item, item.webcamTrackId, {"player.webcam", FrameSeeker::Before::nothing, kWebcamBudget},
                           [this] { wake(); });
    if (webcam_) webcamPictures_ = picturesOf(*item.movie.track(*item.webcamTrackId));
    wish_.webcamShift = item.webcamShift;
    thread_ = std::thread([this] {
        nameThisThread("player.pictures");
        run();
    });
}

PlayerPictures::~PlayerPictures() {
    {
        const std::lock_guard hold(lock_);
        isEnding_ = true;
    }
    wake_.notify_one();
    thread_.join();
    // Their threads wake this object's.
    screen_.reset();
    webcam_.reset();
}

// Orders

template <typename Change>
void PlayerPictures::tell(Change change) {
    {
        const std::lock_guard hold(lock_);
        change(wish_);
        isNews_ = true;
    }
    wake_.notify_one();
}

void PlayerPictures::stand(std::int64_t order, double seconds) {
    tell([=](Wish& wish) {
        wish.order = order;
        wish.isPlaying = false;
        wish.still = seconds;
        wish.asked = hostClockSeconds();
    });
}

void PlayerPictures::play(std::int64_t order) {
    tell([=](Wish& wish) {
        wish.order = order;
        wish.isPlaying = true;
        wish.asked = hostClockSeconds();
    });
}

void PlayerPictures::setCompositor(VideoCompositor compositor) {
    precondition(compositor != nullptr, "a compositor");
    tell([made = std::make_shared<const VideoCompositor>(std::move(compositor))](Wish& wish) {
        wish.compositor = made;
        ++wish.change;
    });
}

void PlayerPictures::setWebcamShift(double seconds) {
    tell([=](Wish& wish) {
        if (wish.webcamShift == seconds) return;
        wish.webcamShift = seconds;
        ++wish.change;
    });
}

void PlayerPictures::setRanges(PlayedRanges ranges) {
    tell([made = std::make_shared<const PlayedRanges>(std::move(ranges))](Wish& wish) { wish.ranges = made; });
}

void PlayerPictures::setAvailable(PixelSize available) {
    tell([=](Wish& wish) {
        if (wish.available == available) return;
        wish.available = available;
        ++wish.change;
    });
}

void PlayerPictures::setSmallStandIns(SmallStandIns find) {
    tell([made = find ? std::make_shared<const SmallStandIns>(std::move(find)) : nullptr](Wish& wish) {
        wish.smallStandIns = made;
    });
}

Player::Statistics PlayerPictures::statistics() const {
    Player::Statistics all{framesShown_, framesDropped_, 0, seeksFromCache_, standInsShown_};
    if (screen_) all.picturesDecoded += screen_->decodedCount();
    if (webcam_) all.picturesDecoded += webcam_->decodedCount();
    return all;
}

// The thread

void PlayerPictures::wake() {
    {
        const std::lock_guard hold(lock_);
        isNews_ = true;
    }
    wake_.notify_one();
}

void PlayerPictures::run() {
    const auto isAwake = [this] { return isEnding_ || isNews_; };
    std::unique_lock hold(lock_);
    while (!isEnding_) {
        const Wish wish = wish_;
        isNews_ = false;
        hold.unlock();
        if (begun_ != wish.order) {
            begun_ = wish.order;
            shown_.reset();
            made_ = {};
            isEndTold_ = false;
            isPrefetching_ = false;
            wish.isPlaying ? motion_.reset() : motion_.moved(wish.still, wish.asked);
            if (!wish.isPlaying && sourcesAt(wish, momentOf(wish.still))) ++seeksFromCache_;
        }
        const Seconds rest = wish.isPlaying ? playOn(wish) : stand(wish);
        reportSupplies();
        hold.lock();
        if (!rest) {
            wake_.wait(hold, isAwake);
        } else if (*rest > 0) {
            wake_.wait_for(hold, std::chrono::duration<double>(*rest), isAwake);
        }
    }
}

// Shows the still, or something like it until its pictures are decoded, then requests decoding of the frames around it.
// Returns how long to wait; infinite when there is nothing to do.
PlayerPictures::Seconds PlayerPictures::stand(const Wish& wish) {
    const MediaTime moment = momentOf(wish.still);
    if (made_.order == wish.order && made_.change == wish.change) {
        if (isPrefetching_) return std::nullopt;
        const double left = stoodAt_ + kPrefetchDelay - hostClockSeconds();
        if (left > 0) return left;
        isPrefetching_ = true;
        lookAround(wish);
        return std::nullopt;
    }
    if (!isPrefetching_) {
        std::vector<TimeRange> goals{at(moment)};
        if (const auto ahead = motion_.ahead()) goals.push_back(between(std::max(ahead->start, 0.0), ahead->end));
        setGoals(wish, goals, moment);
    }
    const std::optional<Sources> sources = sourcesAt(wish, moment);
    if (!sources) return standIn(wish, wish.still);
    made_ = make(wish, *sources, wish.still);
    callbacks_.show(wish.order, made_.frame, wish.still, Player::FrameKind::exact);
    stoodAt_ = hostClockSeconds();
    return 0;
}

void PlayerPictures::lookAround(const Wish& wish) {
    const MediaTime moment = momentOf(wish.still);
    std::vector<TimeRange> goals{at(moment), between(wish.still, wish.still + kStillAhead)};
    double from = wish.still;
    for (const double back : kStillBack) {
        const double start = std::max(wish.still - back, 0.0);
        goals.push_back(between(start, from));
        from = start;
    }
    setGoals(wish, goals, moment);
}

// Shows something right when the exact frame keeps the user waiting; once for each order and each change of the
// settings. Returns how long to wait for that.
PlayerPictures::Seconds PlayerPictures::standIn(const Wish& wish, double seconds) {
    if (standIn_.order == wish.order && standIn_.change == wish.change) return std::nullopt;
    const std::optional<ShownPicture> nearest = nearestDecoded(wish, seconds);
    const Seconds distance = nearest ? Seconds(distanceTo(*nearest, seconds)) : std::nullopt;
    const double left = standInDue(wish.asked, standInShown_, distance) - hostClockSeconds();
    if (left > 0) return left;
    const std::optional<Sources> sources = standInSources(wish, seconds);
    // There may be one among the pictures that are decoded on the way.
    if (!sources) return kStandInRetry;
    standIn_ = make(wish, *sources, seconds);
    if (!standIn_.frame) return std::nullopt;
    callbacks_.show(wish.order, standIn_.frame, seconds, Player::FrameKind::standIn);
    standInShown_ = hostClockSeconds();
    ++standInsShown_;
    return 0;
}

// Makes the next frame and shows it when it is due.
PlayerPictures::Seconds PlayerPictures::playOn(const Wish& wish) {
    const double heard = clock_.position();
    if (clock_.isFinished()) {
        if (!std::exchange(isEndTold_, true)) callbacks_.ended(wish.order);
        return std::nullopt;
    }
    const Seconds frame = screen_ ? frameToMake(wish, heard) : std::nullopt;
    if (!frame) return kLongestSleep;
    if (!prepare(wish, *frame, heard)) {
        // After a jump. While playing goes on, the last frame stays.
        const Seconds rest = shown_ ? std::nullopt : standIn(wish, *frame);
        return std::min(rest.value_or(kLongestSleep), kLongestSleep);
    }
    const double left = *frame - kPictureTolerance - clock_.position();
    if (left > 0) return std::clamp(left, kShortestSleep, kLongestSleep);
    callbacks_.show(wish.order, made_.frame, *frame, Player::FrameKind::exact);
    shown_ = frame;
    shownScreen_ = made_.screenStart;
    ++framesShown_;
    return 0;
}

// The frame after the one shown last, or the one that is due already.
PlayerPictures::Seconds PlayerPictures::frameToMake(const Wish& wish, double heard) {
    const PlayedRanges& ranges = *wish.ranges;
    // A single slow frame, as after a change of settings, does not predict the next.
    const double reached = heard + (shown_ ? std::min(making_, makingBefore_) : 0);
    const Seconds from = ranges.playableFrom(reached);
    const bool isGap = !from || *from > reached;
    if (!shown_) return isGap ? from : ranges.frameAt(reached);
    Seconds next = ranges.frameAfter(*shown_);
    const double current = isGap ? *shown_ : ranges.frameAt(reached);
    while (next && *next + kPictureTolerance < current) {
        // Made but not shown in time, or not begun.
        ++framesDropped_;
        shown_ = next;
        next = ranges.frameAfter(*next);
    }
    return next;
}

// Makes the frame if its pictures are decoded. If they are late, uses the latest decoded ones that are newer than those
// shown.
bool PlayerPictures::prepare(const Wish& wish, double frame, double heard) {
    if (made_.order == wish.order && made_.change == wish.change && made_.seconds == frame) return true;
    aimAt(wish, frame, heard);
    const MediaTime moment = momentOf(frame);
    std::optional<Sources> sources = sourcesAt(wish, moment);
    const bool isLate = shown_ && heard > frame + kPictureTolerance;
    if (!sources && isLate) {
        sources = staleSources(wish, frame);
        if (sources && sources->screen.shown.start <= shownScreen_) sources.reset();
    }
    if (!sources) return false;
    const double began = clock_.elapsed();
    made_ = make(wish, *sources, frame);
    makingBefore_ = std::exchange(making_, std::clamp(clock_.elapsed() - began, 0.0, kLongestLead));
    return true;
}

void PlayerPictures::aimAt(const Wish& wish, double frame, double heard) {
    std::vector<TimeRange> goals;
    const double from = std::max(std::min(frame, heard), shown_.value_or(0));
    for (const Interval& stretch : wish.ranges->ahead(from, kAhead)) {
        goals.push_back(between(stretch.start, stretch.end));
    }
    setGoals(wish, goals, momentOf(from));
}

void PlayerPictures::setGoals(const Wish& wish, const std::vector<TimeRange>& goals, const MediaTime& playhead) {
    if (screen_) screen_->setGoals(goals, playhead);
    if (!webcam_) return;
    std::vector<TimeRange> shifted;
    for (const TimeRange& goal : goals) shifted.push_back({inWebcam(wish, goal.start), goal.duration});
    webcam_->setGoals(shifted, inWebcam(wish, playhead));
}

// The moment whose picture the webcam shows at this one.
MediaTime PlayerPictures::inWebcam(const Wish& wish, const MediaTime& moment) const {
    if (wish.webcamShift == 0) return moment;
    return momentOf(shiftedMoment(moment.seconds(), wish.webcamShift, webcamPictures_));
}

std::optional<PlayerPictures::Sources> PlayerPictures::sourcesAt(const Wish& wish, const MediaTime& moment) const {
    Sources sources;
    if (screen_) {
        std::optional<ShownPicture> screen = screen_->find(moment);
        if (!screen) return std::nullopt;
        sources.screen = *std::move(screen);
    }
    if (webcam_) {
        const std::optional<ShownPicture> webcam = webcam_->find(inWebcam(wish, moment));
        if (!webcam) return std::nullopt;
        sources.webcam = webcam->picture;
    }
    return sources;
}

// Never from before the played stretch: pictures that are cut away are not shown, however late the others are.
std::optional<PlayerPictures::Sources> PlayerPictures::staleSources(const Wish& wish, double frame) const {
    const MediaTime moment = momentOf(frame);
    const MediaTime since = momentOf(wish.ranges->runsSince(frame));
    const auto latest = [](const FramePrefetcher& prefetcher, const MediaTime& until, const MediaTime& from) {
        std::optional<ShownPicture> found = prefetcher.findBefore(until);
        return found && found->shown.end() > from ? found : std::nullopt;
    };
    std::optional<ShownPicture> screen = latest(*screen_, moment, since);
    if (!screen || !screen->picture) return std::nullopt;
    Sources sources{*std::move(screen), std::nullopt};
    if (webcam_) {
        const std::optional<ShownPicture> webcam = latest(*webcam_, inWebcam(wish, moment), inWebcam(wish, since));
        // A webcam bubble that vanishes for a frame is worse than one that freezes.
        if (!webcam) return std::nullopt;
        sources.webcam = webcam->picture;
    }
    return sources;
}

// Never from beyond the stretch, range or gap, that the moment lies in: what was cut away is not shown in place of what
// was kept.
std::optional<ShownPicture> PlayerPictures::nearestDecoded(const Wish& wish, double seconds) const {
    if (!screen_) return std::nullopt;
    return screen_->findNearest(momentOf(seconds), std::array{insideOf(wish.ranges->stretchAt(seconds))});
}

std::optional<PlayerPictures::Sources> PlayerPictures::standInSources(const Wish& wish, double seconds) const {
    if (!screen_) return std::nullopt;
    const MediaTime moment = momentOf(seconds);
    const Interval stretch = wish.ranges->stretchAt(seconds);
    std::optional<ShownPicture> screen = nearestDecoded(wish, seconds);
    const std::optional<SmallStandIn> small =
        wish.smallStandIns ? (*wish.smallStandIns)(seconds, stretch) : std::nullopt;
    const Seconds smallDistance = small ? Seconds(std::abs(small->seconds - seconds)) : std::nullopt;
    if (!screen || !isDecodedBetter(distanceTo(*screen, seconds), smallDistance)) {
        if (!small) return std::nullopt;
        screen = ShownPicture{small->picture, at(moment), 0};
    }
    Sources sources{*std::move(screen), std::nullopt};
    if (webcam_) sources.webcam = standInWebcam(wish, moment, insideOf(stretch));
    return sources;
}

// A bubble that vanishes for a moment is worse than a face from elsewhere in the film.
std::optional<imaging::Picture> PlayerPictures::standInWebcam(const Wish& wish, const MediaTime& moment,
                                                              const TimeRange& stretch) const {
    const MediaTime own = inWebcam(wish, moment);
    if (const auto exact = webcam_->find(own)) return exact->picture;
    if (moment.seconds() < webcamPictures_.start) return std::nullopt;
    const auto shifted = [&](const TimeRange& range) {
        return TimeRange{range.start + (own - moment), range.duration};
    };
    std::optional<ShownPicture> found = webcam_->findNearest(own, std::array{shifted(stretch)});
    if (!found) {
        std::vector<TimeRange> played;
        for (const Interval& range : wish.ranges->ranges()) {
            played.push_back(shifted(insideOf(range)));
        }
        found = webcam_->findNearest(own, played);
    }
    return found ? found->picture : std::nullopt;
}

PlayerPictures::Made PlayerPictures::make(const Wish& wish, const Sources& sources, double seconds) {
    Made made{wish.order, wish.change, seconds, sources.screen.shown.start, nullptr};
    if (!sources.screen.picture) return made;
    try {
        made.frame = paint(wish, *sources.screen.picture, sources.webcam, seconds);
    } catch (const RecorderError& error) {
        fail(error);
    } catch (const std::bad_alloc&) {
        fail(RecorderError("Der Arbeitsspeicher reicht nicht."));
    } catch (const std::exception& error) {
        fail(RecorderError(std::string("Vorschaubild konnte nicht gebaut werden: ") + error.what()));
    }
    return made;
}

Player::Frame PlayerPictures::paint(const Wish& wish, const imaging::Picture& screen,
                                    const std::optional<imaging::Picture>& webcam, double seconds) {
    const PixelSize size = fittedFrame(canvas_, wish.available);
    imaging::Picture recipe = (*wish.compositor)(screen, webcam, {seconds, size, !wish.isPlaying});
    if (!pool_ || pool_->width() != size.width || pool_->height() != size.height) {
        pool_ = std::make_unique<imaging::PicturePool>(size.width, size.height, imaging::YuvEncoding{});
        paintedRecipe_.reset();
    }
    if (paintedRecipe_ && *paintedRecipe_ == recipe) return painted_;
    const std::shared_ptr<imaging::BgraPremultipliedBuffer> buffer = pool_->makeBgra();
    if (!buffer) throw std::bad_alloc();
    const imaging::AffineTransform scaling = scalingTo(canvas_, size);
    painter_.paint(scaling.isIdentity() ? recipe : recipe.transformed(scaling), *buffer);
    paintedRecipe_ = std::move(recipe);
    painted_ = buffer;
    lastFailure_.clear();
    return painted_;
}

void PlayerPictures::fail(const RecorderError& error) {
    if (std::exchange(lastFailure_, error.message()) != error.message()) callbacks_.failed(error);
}

void PlayerPictures::reportSupplies() {
    if (screen_ && !isScreenReported_) {
        if (const auto error = screen_->error()) {
            isScreenReported_ = true;
            callbacks_.failed(*error);
        }
    }
    if (webcam_ && !isWebcamReported_) {
        if (const auto error = webcam_->error()) {
            isWebcamReported_ = true;
            Log::write("Studio", "Vorschau: Webcam-Film wird weggelassen: " + error->message());
        }
    }
}

}  // namespace lumivastor::playback

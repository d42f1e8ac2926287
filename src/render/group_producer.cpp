// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/group_producer.h"

#include <cstddef>
#include <thread>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"
#include "render/export_plan.h"

namespace lumivastor::render {

namespace {

// Films of one version may be continued by it alone. The number grows when recipes are painted or coded otherwise
// within a version.
constexpr int kGeneration = 2;

}  // namespace

GroupProducer::GroupProducer(const edit::Composition& composition, const FrameMaker& makeFrame, Options options)
    : composition_(composition),
      makeFrame_(makeFrame),
      options_(std::move(options)),
      canvas_{composition.canvasWidth(), composition.canvasHeight()},
      encoder_(options_.video, options_.regions),
      pool_(canvas_.width, canvas_.height, {}),
      painter_(canvas_) {}

void GroupProducer::open(ComposedFrames& frames) {
    frames_ = &frames;
    groups_ = pictureGroups(frames.cut().shownSegments, options_.fps, options_.total);
    coding_ = std::make_unique<SerialQueue>("compose.code");
    imaging::ContentHasher hasher;
    addSettings(hasher);
    settings_ = hasher.value();
    if (options_.store == nullptr || options_.isFresh || options_.store->isEmpty()) return;
    recipes_.emplace(composition_, makeFrame_, ComposedFrames::Content::recipes);
    recipes_->open();
}

void GroupProducer::addSettings(imaging::ContentHasher& hasher) const {
    hasher.addText(LUMI_VERSION);
    hasher.addNumber(kGeneration);
    hasher.addNumber(media::encoderLibraryVersion());
    // Slices, and with them the stream, depend on it.
    hasher.addNumber(std::thread::hardware_concurrency());
    hasher.addNumber(canvas_.width);
    hasher.addNumber(canvas_.height);
    hasher.addNumber(options_.fps);
    hasher.addNumber(options_.video.averageBitRate);
    hasher.addText(options_.video.preset);
    const PixelRect camera = options_.regions.planner.camera.value_or(PixelRect{});
    for (const int each : {camera.x, camera.y, camera.width, camera.height}) hasher.addNumber(each);
    const auto& sets = encoder_.parameterSets();
    hasher.addNumber(sets.size());
    hasher.add(sets.data(), sets.size());
}

void GroupProducer::throwIfStopped() const {
    if (options_.stop.stop_requested()) throw RecorderError("Abgebrochen.");
}

std::optional<media::CodedGroup> GroupProducer::next() {
    precondition(frames_ != nullptr, "opened before");
    if (group_ == groups_.size()) return std::nullopt;
    throwIfStopped();
    const PictureGroup& group = groups_[group_++];
    std::optional<imaging::ContentHash> content = contentOf(group);
    media::CodedGroup coded;
    if (auto earlier = found(group, content)) {
        coded = std::move(*earlier);
        reused_ += group.count;
        done_ += group.count;
        if (options_.progress) options_.progress(done_);
    } else {
        coded = made(group, content);
        if (content && options_.store != nullptr) options_.store->keep({*content, carry_}, coded);
    }
    // Of a group whose content is not known the film's record knows the length only.
    records_.push_back(recordOf({content.value_or(imaging::ContentHash{}), carry_}, coded));
    carry_ = coded.carry;
    return coded;
}

std::optional<imaging::ContentHash> GroupProducer::contentOf(const PictureGroup& group) {
    if (!recipes_) return std::nullopt;
    imaging::ContentHasher hasher;
    hasher.addHash(settings_);
    bool isKnown = true;
    for (int i = 0; i < group.count; ++i) {
        const imaging::Picture recipe = recipes_->at(frameSeconds(group.first + i, options_.fps));
        isKnown = isKnown && recipeIdentity_.add(recipe, hasher);
    }
    return isKnown ? std::optional(hasher.value()) : std::nullopt;
}

std::optional<media::CodedGroup> GroupProducer::found(const PictureGroup& group,
                                                      const std::optional<imaging::ContentHash>& content) const {
    if (!content || !options_.store->hasContent(*content)) return std::nullopt;
    std::optional<media::CodedGroup> coded = options_.store->find({*content, carry_});
    const bool isRight = coded && coded->sizes.size() == static_cast<std::size_t>(group.count);
    return isRight ? std::move(coded) : std::nullopt;
}

// Decoding goes on from where it is if that is there; films are begun there anyway.
ComposedFrames& GroupProducer::framesAt(std::int64_t picture) {
    if (picture != nextPicture_) {
        reopened_.emplace(composition_, makeFrame_);
        reopened_->open(frameSeconds(picture, options_.fps));
        frames_ = &*reopened_;
        nextPicture_ = picture;
    }
    return *frames_;
}

// `content` becomes that of the pictures that are shown, which damage may have made other ones than expected.
media::CodedGroup GroupProducer::made(const PictureGroup& group, std::optional<imaging::ContentHash>& content) {
    ComposedFrames& frames = framesAt(group.first);
    imaging::ContentHasher hasher;
    hasher.addHash(settings_);
    bool isKnown = true;
    // What is on its way to the encoder refers to this.
    struct Drained {
        SerialQueue& queue;
        ~Drained() { queue.drain(); }
    };
    encoder_.begin(carry_);
    {
        const Drained drained{*coding_};
        for (int i = 0; i < group.count && !hasFailed_; ++i) {
            throwIfStopped();
            imaging::Picture frame = frames.at(frameSeconds(nextPicture_, options_.fps));
            ++nextPicture_;
            isKnown = isKnown && recipeIdentity_.add(frame, hasher);
            paint(std::move(frame), i == 0);
            if (options_.progress) options_.progress(++done_);
        }
    }
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    content = isKnown ? std::optional(hasher.value()) : std::nullopt;
    return encoder_.end();
}

void GroupProducer::paint(imaging::Picture frame, bool isFirst) {
    const imaging::KnownDamage damage = painter_.differenceFromLast(frame);
    if (!isFirst && damage && damage->isEmpty()) {
        painter_.repeat(std::move(frame));
        give([this] { encoder_.repeat(); });
        return;
    }
    for (int attempt = 1;; ++attempt) {
        if (std::shared_ptr<imaging::PlanarBuffer> buffer = painter_.paint(frame, damage, pool_)) {
            give([this, damage = isFirst ? std::nullopt : damage, buffer = std::move(buffer)] {
                encoder_.encode(buffer, damage);
            });
            return;
        }
        if (attempt == kMemoryAttempts) throw RecorderError("Kein Speicher für die Ausgabebilder.");
        std::this_thread::sleep_for(kMemoryPause);
    }
}

// Runs it on the encoder's thread. Waits while enough pictures are on their way, so that memory does not grow.
void GroupProducer::give(std::function<void()> work) {
    room_.acquire();
    if (hasFailed_) {
        room_.release();
        return;  // thrown when the queue has run dry
    }
    const auto run = [this, work = std::move(work)] {
        try {
            if (!hasFailed_) work();
        } catch (...) {
            failure_ = std::current_exception();
            hasFailed_ = true;
        }
        room_.release();
    };
    try {
        coding_->async(run);
    } catch (...) {
        room_.release();
        throw;
    }
}

}  // namespace lumivastor::render

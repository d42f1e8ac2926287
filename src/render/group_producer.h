// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <semaphore>
#include <stop_token>
#include <vector>

#include "base/pixel_size.h"
#include "base/serial_queue.h"
#include "edit/composition.h"
#include "imaging/content_hash.h"
#include "imaging/picture_pool.h"
#include "imaging/recipe_identity.h"
#include "media/region/group_encoder.h"
#include "render/composed_frames.h"
#include "render/frame_painter.h"
#include "render/picture_groups.h"
#include "render/reuse/group_store.h"

namespace lumivastor::render {

/// Makes the groups of a film one after the other, or takes them from where there are such already. A group is the same
/// either way, byte for byte. One thread at a time; painting has its own threads, and so has the encoder.
///
///     recipes of a group ──> identity ──in the store?──> taken
///                                     `─no─> decode, compose, paint ──> GroupEncoder ──> kept
class GroupProducer {
  public:
    struct Options {
        std::int64_t fps = 0;
        std::int64_t total = 0;  // pictures
        media::VideoSettings video;
        media::RegionVideoSettings regions;
        /// Null: everything is made. Outlives the producer.
        GroupStore* store = nullptr;
        /// Whether nothing is taken.
        bool isFresh = false;
        /// Called with the number of pictures made or taken so far, for each that is made; on the thread of `next`.
        std::function<void(std::int64_t)> progress;
        std::stop_token stop;
    };

    /// Composition and maker outlive the producer. Throws `RecorderError` when the encoder cannot be opened.
    GroupProducer(const edit::Composition& composition, const FrameMaker& makeFrame, Options options);

    /// Whether films can be made of groups with these settings (`GroupEncoder::obstacle`).
    bool isPossible() const { return encoder_.obstacle().empty(); }
    const media::StoredFormat& format() const { return encoder_.format(); }

    /// Opens the movies. `frames`, opened at the film's beginning, serve the first groups that are made. Throws
    /// `RecorderError`.
    void open(ComposedFrames& frames);

    /// The next group; nullopt at the film's end. Throws `RecorderError`, with "Abgebrochen." after a stop request.
    std::optional<media::CodedGroup> next();

    /// Of the groups so far.
    const std::vector<GroupRecord>& records() const { return records_; }
    std::int64_t reusedPictures() const { return reused_; }

  private:
    void addSettings(imaging::ContentHasher& hasher) const;
    std::optional<imaging::ContentHash> contentOf(const PictureGroup& group);
    std::optional<media::CodedGroup> found(const PictureGroup& group,
                                           const std::optional<imaging::ContentHash>& content) const;
    media::CodedGroup made(const PictureGroup& group, std::optional<imaging::ContentHash>& content);
    void paint(imaging::Picture frame, bool isFirst);
    void give(std::function<void()> work);
    ComposedFrames& framesAt(std::int64_t picture);
    void throwIfStopped() const;

    const edit::Composition& composition_;
    const FrameMaker& makeFrame_;
    const Options options_;
    const PixelSize canvas_;
    media::GroupEncoder encoder_;
    imaging::PicturePool pool_;
    std::vector<PictureGroup> groups_;
    std::size_t group_ = 0;  // the next
    media::RateCarry carry_;
    std::vector<GroupRecord> records_;
    std::int64_t reused_ = 0;
    std::int64_t done_ = 0;

    // What would be shown, without decoding: only where there is something to find.
    std::optional<ComposedFrames> recipes_;
    imaging::RecipeIdentity recipeIdentity_;
    imaging::ContentHash settings_;

    // What is shown.
    ComposedFrames* frames_ = nullptr;
    std::optional<ComposedFrames> reopened_;
    std::int64_t nextPicture_ = 0;  // of frames_
    FramePainter painter_;

    // Encoding, beside painting.
    static constexpr int kPicturesAhead = 3;
    std::counting_semaphore<kPicturesAhead> room_{kPicturesAhead};
    std::atomic<bool> hasFailed_ = false;
    std::exception_ptr failure_;  // of the encoder; behind hasFailed_ or a drained queue
    std::unique_ptr<SerialQueue> coding_;
};

}  // namespace lumivastor::render

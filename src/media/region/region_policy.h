// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>

namespace lumivastor::media {

struct RegionPolicySettings {
    /// Macroblocks to code, as a share of all, above which the encoder takes the picture. One costs 3 to 5 us, so at
    /// 2560 x 1440 a tenth is 7 ms; the encoder has a floor of 18.
    double largestShare = 0.10;
    /// How many pictures behind a large change are the encoder's, too, so that it sharpens what it began coarsely:
    /// pictures in motion have a lower quality (`RateControl`). Behind a key picture as well, if it was coarse.
    int settlingPictures = 1;
    /// As many pictures without a large change come first. A window that is painted in parts changes at large only now
    /// and then, and would settle each time.
    int calmPictures = 2;
    /// Pictures from one that was coarser than it should be to the next attempt, while the limit fills up again.
    int patience = 15;
    /// How many pictures the encoder takes when one of ours became too large. What is too large once, like text in
    /// colour that scrolls, mostly stays so.
    int restAfterGivingUp = 10;
    /// How many pictures of a scroll the encoder keeps behind a large change, even if they could be ours. Its first
    /// picture behind ours does not find again what has scrolled since its last, and costs as much as a key picture; a
    /// scroll of which now and then a step cannot be ours must not go back and forth. 0: none.
    int motionPictures = 0;
    /// Bytes that region pictures may have on the average at the full rate of pictures, and how many pictures' share
    /// they may save up; where pictures are further apart, each has more. nullopt: any number. Text as intra
    /// macroblocks has 100 bytes each, a tenth of 2560 x 1440 at 60 a second 46 Mbit/s.
    std::optional<double> averageBytes;
    int savedPictures = 30;
};

/// Whose picture it is.
enum class Turn {
    region,             // ours
    encoderRefines,     // the encoder's, which has most of it already; it stays for a while
    encoderStartsOver,  // the encoder's: a key picture
    encoderMoves,       // the encoder's: it changed at large, and so may the next
};

/// Decides whose picture the next one is. Nothing but numbers; one thread at a time.
class RegionPolicy {
  public:
    explicit RegionPolicy(const RegionPolicySettings& settings);

    struct Picture {
        bool isKeyDue = false;
        bool mayBeOurs = true;  // the stream takes a region picture here
        bool isCoarse = false;  // what is shown is coarser than what the encoder could write now
        int macroblocks = 0;    // of the picture
        int macroblocksChanged = 0;
        int macroblocksToCode = 0;  // of those that changed, without those that only moved
        double elapsed = 1;         // since the picture before, in pictures at the full rate
    };
    /// Whether the encoder keeps a motion that it has, so that nobody needs to know how far a scroll went: all that
    /// changed in the next picture may count as to be coded.
    bool keepsMotion() const { return moving_ > 1; }

    /// Called once for each picture, in order. One of ours may still have more than `maxBits`.
    Turn next(const Picture& picture);

    /// For the picture that was ours.
    std::optional<std::size_t> maxBits() const;
    void wrote(std::size_t bytes);
    /// It was too large after all: the encoder takes it.
    void gaveUp();

  private:
    Turn choose(const Picture& picture);

    RegionPolicySettings settings_;
    int settling_ = 0;  // pictures for the encoder, as soon as there is no large change
    bool settlesCoarseOnly_ = false;
    int resting_ = 0;  // pictures for the encoder in any case
    int since_ = 0;    // pictures since the encoder's last
    int calm_ = 0;     // pictures since the last large change, moves included
    int moving_ = 0;   // pictures for the encoder, while much moves
    double savedBytes_ = 0;
};

}  // namespace lumivastor::media

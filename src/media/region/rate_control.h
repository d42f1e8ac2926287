// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>

namespace lumivastor::media {

struct RateControlSettings {
    /// libx264's rate factors, which are QPs here: of pictures that will stay for a while, and of those that the next
    /// one replaces. Six more halve the size. docs/decisions/0016-quality-of-films.md says where these come from.
    double restFactor = 13;
    double motionFactor = 22;
    /// The limit of the average of any `windowSeconds`, which a burst may use at once.
    double bytesPerSecond = 0;
    double windowSeconds = 2;
};

/// What a group of pictures takes over from the one before it, in steps so coarse that after an edit elsewhere most
/// groups begin as they did before. The default is a beginning without a past, and what every group ends with whose
/// pictures are far from the limit.
struct RateCarry {
    static constexpr int kSteps = 8;

    int saved = kSteps;       // parts of `kSteps` of what can be saved up; negative: spent ahead
    bool isInMotion = false;  // the last picture of the encoder's was in motion
    int motionTenths = 0;     // of a second, how long that has lasted
    int motionFactor = 0;     // of that picture
    int motionSize = 0;       // of that picture, in quarters of a doubling from 1 byte; 0: not known
    int largestSize = 0;      // of a picture of any kind at factor 0, likewise, where the limit depends on it

    bool operator==(const RateCarry&) const = default;
};

/// Whether a group can end with it: what was read from a file may be anything.
bool isPossible(const RateCarry& carry);

/// Chooses how finely the encoder writes each of its pictures, so that all pictures together, the region pictures
/// included, keep to a limit. libx264's own limit cannot serve: it knows neither the region pictures nor, without
/// lookahead, how long a picture is shown, and with lookahead it starved a key picture behind a zoom (11 KB and 18 dB
/// at 2560 x 1440, which then stayed for two seconds). Numbers only; one thread at a time.
class RateControl {
  public:
    enum class Kind { rest, motion };

    explicit RateControl(const RateControlSettings& settings, const RateCarry& carry = {});

    /// For the next group. `isInMotion`: of what kind the encoder's last picture was.
    RateCarry carry(bool isInMotion) const;

    /// The next picture comes this long after the one before.
    void advance(double seconds);
    /// A picture has been written, by either coder.
    void wrote(std::size_t bytes);

    /// The rate factor for the encoder's next picture, and for how many of the kind follow each other in a second.
    double factorFor(Kind kind, double picturesPerSecond) const;
    /// What a picture in motion took at that factor, not a key picture: the next one is likely to take as much.
    void learnMotion(double factor, std::size_t bytes);
    /// What a picture that stays took, not a key picture: the next one may take as much.
    void learnRest(double factor, std::size_t bytes);
    /// What a key picture took: the first picture of a motion may take as much.
    void learnKey(double factor, std::size_t bytes);
    /// Motion has ended: the next one is another.
    void endMotion();

    /// So much of what can be saved is gone that what only seeks need can wait.
    bool isShort() const;
    /// Bytes that may be written at once.
    double saved() const { return saved_; }

  private:
    double restFactor() const;
    double capacity() const { return settings_.bytesPerSecond * settings_.windowSeconds; }

    struct Learned {
        double factor;
        double bytes;
    };

    RateControlSettings settings_;
    double saved_;
    std::optional<Learned> motion_;
    double motionSeconds_ = 0;  // how long it has lasted
    std::optional<Learned> rest_;
    std::optional<Learned> key_;
};

}  // namespace lumivastor::media

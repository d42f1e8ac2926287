// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "capture/recording_health.h"

namespace lumivastor::capture {

/// Notices while a recording runs that it loses pictures, so that the user can help instead of finding out afterwards.
/// Plain value; one thread.
class LossWatch {
  public:
    /// Losses are measured over so many seconds.
    static constexpr double kWindow = 5;
    /// The share of pictures from which losses are said; and the number, because of a screen on which little happens
    /// one of few may be lost by chance.
    static constexpr double kShare = 0.01;
    static constexpr std::int64_t kLeast = 2;
    /// Seconds without a picture, and with equal pictures, after which a camera counts as standing still. Noise makes
    /// any two pictures of a real camera differ.
    static constexpr double kNoPicture = 3;
    static constexpr double kEqualPictures = 5;
    /// Seconds that a camera has for its first picture.
    static constexpr double kFirstPicture = 10;

    /// Call it about twice a second.
    void update(const RecordingHealth& health);

    /// What is lost at the moment, why, and what helps, as German sentences; empty while all is well. They change
    /// rarely, so that they can be read.
    std::string screenSentence() const;
    std::string webcamSentence() const;

    /// What was lost in all, in German; empty if nothing was.
    std::string summary() const;

  private:
    enum class Reason { encoder, disk, desktop };
    enum class Camera { well, silent, gone, still };
    /// What the last seconds have lost.
    struct Loss {
        Reason reason = Reason::encoder;
        double share = 0;
    };
    /// All that was lost, in seconds of the recording.
    struct Total {
        std::optional<double> first;
        double until = 0;  // what is counted in
        double seconds = 0;
        double worst = 0;
        Reason reason = Reason::encoder;  // when it was worst

        void add(double from, double to);
        void add(const Loss& loss);
    };
    using LostSoFar = std::int64_t (*)(const RecordingHealth&);

    static std::optional<Loss> lossOf(const RecordingHealth::Movie& before, const RecordingHealth::Movie& now,
                                      std::int64_t missed);
    static std::string reasonText(Reason reason);
    std::string adviceFor(Reason reason) const;
    void follow(const RecordingHealth& health);
    void count(Total& total, const Loss& loss, LostSoFar lost) const;
    Camera camera() const;

    std::deque<RecordingHealth> window_;  // the newest last; the first is just older than the window
    std::optional<Loss> screen_;
    std::optional<Loss> webcam_;
    Total screenTotal_;
    Total webcamTotal_;
    Total stillTotal_;
    // Seconds of the recording in which the camera last sent a picture, and a different one.
    double lastDelivered_ = 0;
    double lastChanged_ = 0;
};

}  // namespace lumivastor::capture

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "imaging/pixel_buffer.h"
#include "model/capture_info.h"
#include "model/pointer_track.h"
#include "support/program_run.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// A number that a `CodedWindow` drew.
struct DrawnNumber {
    std::uint16_t number = 0;
    double hostSeconds = 0;
};

/// One recording of the program on a Wayland desktop, and what it left behind.
class WaylandRecording {
  public:
    /// Starts the program; it waits for the desktop's dialog, if there is one.
    WaylandRecording(const std::map<std::string, std::string>& environment, const std::vector<std::string>& options);

    /// Waits until the recording has begun. False when it takes long, or the program has ended before.
    bool awaitBegin();
    bool isRunning() { return program_->isRunning(); }
    /// Stops it as a user does, and waits for its end. Returns as `wait`.
    std::optional<int> stop();
    /// Waits for its end. Returns its exit status; nullopt, a failure of the test and its end when that takes long.
    std::optional<int> wait();
    pid_t process() const { return program_->process(); }
    std::string out() const { return program_->out(); }
    std::string err() const { return program_->err(); }

    const std::filesystem::path& folder() const { return folder_; }
    model::CaptureInfo info() const { return model::CaptureInfo::load(folder_); }
    model::PointerTrack pointer() const { return model::PointerTrack::load(folder_); }
    /// Whether movie and documents are those of a finished recording. Expects all of it.
    void expectFinished() const;

    /// Calls `look` with every picture of the movie and its host time, in order.
    void forEachPicture(
        const std::function<void(double hostSeconds, const imaging::BgraPremultipliedBuffer&)>& look) const;
    /// The numbers that the movie shows at that place, each where it is first shown, in order; host times.
    std::vector<DrawnNumber> numbers(int x, int y) const;
    std::vector<DrawnNumber> numbers() const;
    /// The beginnings of the beeps in the first sound track, host times.
    std::vector<double> beeps() const;

  private:
    TemporaryFolder temporary_;
    const std::filesystem::path folder_ = temporary_ / "recording";
    std::unique_ptr<ProgramRun> program_;
};

/// Expects that the movie shows drawn numbers in their order, up to the last. Returns how many are missing between.
int expectInOrder(const std::vector<DrawnNumber>& shown, const std::vector<DrawnNumber>& drawn);

/// How much later than drawn each number is shown, in seconds.
std::vector<double> lateness(const std::vector<DrawnNumber>& shown, const std::vector<DrawnNumber>& drawn);

/// The value in the middle; throws std::out_of_range without any.
double median(std::vector<double> values);
/// The distance from the median within which 95 of 100 values are.
double spread(const std::vector<double>& values);

}  // namespace lumivastor

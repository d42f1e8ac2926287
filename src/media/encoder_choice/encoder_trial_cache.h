// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "media/encoder_choice/encoder_trial.h"

namespace lumivastor::media {

/// How fast encoders were when they were tried, in a small text file: a line for each encoder, preset and size. Lines
/// of another machine and malformed lines are ignored. One thread at a time; two programs that write it at once may
/// lose a line, which is then measured again.
class EncoderTrialCache {
  public:
    /// Reads the file. `machine` is one word that identifies everything a measurement depends on.
    EncoderTrialCache(std::filesystem::path path, std::string machine);

    /// The result for this size, or else one derived from the nearest size, at the same number of pixels a second, if
    /// that is at most four times as large or as small. A failure counts only for the exact size tried.
    std::optional<EncoderTrial> find(const EncoderCandidate& candidate, const EncodingJob& job) const;

    /// Remembers it, also in the file if that can be written.
    void add(const EncoderCandidate& candidate, const EncodingJob& job, const EncoderTrial& trial);

  private:
    struct Line {
        std::string key;
        EncoderTrial trial;
    };

    /// The key of encoder, preset and size on this machine.
    std::string keyOf(const EncoderCandidate& candidate, int width, int height) const;

    std::filesystem::path path_;
    std::string machine_;
    std::vector<Line> lines_;
};

}  // namespace lumivastor::media

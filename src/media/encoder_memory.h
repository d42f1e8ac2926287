#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "media/encoder_choice.h"

namespace lumivastor {

/// How fast encoders were when they were tried, in a small text file: a line for each encoder, preset and size. A line
/// of another machine, or one that makes no sense, counts as none. One thread at a time; two programs that write it at
/// once may lose a line, which is then measured again.
class EncoderMemory {
  public:
    /// Reads the file. `machine` is one word for everything that a measurement depends on.
    EncoderMemory(std::filesystem::path path, std::string machine);

    std::optional<EncoderTrial> find(const EncoderCandidate& candidate, const EncodingJob& job) const;

    /// Remembers it, in the file too as far as that can be written.
    void add(const EncoderCandidate& candidate, const EncodingJob& job, const EncoderTrial& trial);

  private:
    struct Line {
        std::string key;
        EncoderTrial trial;
    };

    std::string keyOf(const EncoderCandidate& candidate, const EncodingJob& job) const;

    std::filesystem::path path_;
    std::string machine_;
    std::vector<Line> lines_;
};

}  // namespace lumivastor

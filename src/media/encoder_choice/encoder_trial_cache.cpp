// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/encoder_choice/encoder_trial_cache.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/file_bytes.h"
#include "base/file_replacement.h"
#include "base/formatted.h"

namespace lumivastor::media {

namespace {

// The number of picture sizes that one machine records; older ones are dropped.
constexpr std::size_t kMaxLines = 64;
constexpr std::uint64_t kMaxBytes = 1 << 16;

// How much larger or smaller a picture may be to take the same time for a pixel.
constexpr double kComparable = 4;

struct TriedSize {
    int width = 0;
    int height = 0;
};

// The third word of a line's key: "1920x1080". Nothing for what is none.
std::optional<TriedSize> sizeIn(const std::string& key) {
    TriedSize size;
    if (std::sscanf(key.c_str(), "%*s %*s %5dx%5d", &size.width, &size.height) != 2) return std::nullopt;
    if (size.width <= 0 || size.height <= 0) return std::nullopt;
    return size;
}

// The text before the first tab. A rate of 0 means that the encoder does not work.
std::optional<EncoderTrial> parseTrial(std::string_view text) {
    double rate = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(rate) || rate < 0) {
        return std::nullopt;
    }
    return EncoderTrial{rate > 0, rate};
}

}  // namespace

EncoderTrialCache::EncoderTrialCache(std::filesystem::path path, std::string machine)
    : path_(std::move(path)), machine_(std::move(machine)) {
    if (path_.empty()) return;
    std::error_code error;
    const FileBytes bytes = readFile(path_, kMaxBytes, error);
    std::string_view rest = bytes.text();
    while (!rest.empty() && lines_.size() < kMaxLines) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos) continue;
        if (const auto trial = parseTrial(line.substr(0, tab))) {
            lines_.push_back({std::string(line.substr(tab + 1)), *trial});
        }
    }
}

std::string EncoderTrialCache::keyOf(const EncoderCandidate& candidate, int width, int height) const {
    return formatted("%s %s %dx%d %s", candidate.encoder.c_str(), candidate.preset.c_str(), width, height,
                     machine_.c_str());
}

std::optional<EncoderTrial> EncoderTrialCache::find(const EncoderCandidate& candidate, const EncodingJob& job) const {
    const auto pixels = [](const TriedSize& size) { return static_cast<double>(size.width) * size.height; };
    const double wanted = pixels({job.width, job.height});
    const Line* nearest = nullptr;
    double ratio = 1;  // ratio of the nearest one's pixels to the requested ones
    for (const Line& line : lines_) {
        const auto size = sizeIn(line.key);
        if (!size || line.key != keyOf(candidate, size->width, size->height)) continue;
        if (size->width == job.width && size->height == job.height) return line.trial;
        const double its = pixels(*size) / wanted;
        if (!line.trial.works || std::max(its, 1 / its) > kComparable) continue;
        if (nearest == nullptr || std::max(its, 1 / its) < std::max(ratio, 1 / ratio)) {
            nearest = &line;
            ratio = its;
        }
    }
    if (nearest == nullptr) return std::nullopt;
    return EncoderTrial{true, nearest->trial.picturesPerSecond * ratio};
}

void EncoderTrialCache::add(const EncoderCandidate& candidate, const EncodingJob& job, const EncoderTrial& trial) {
    const std::string key = keyOf(candidate, job.width, job.height);
    std::erase_if(lines_, [&key](const Line& line) { return line.key == key; });
    if (lines_.size() >= kMaxLines) lines_.erase(lines_.begin());
    lines_.push_back({key, {trial.works, trial.works ? trial.picturesPerSecond : 0}});
    if (path_.empty()) return;
    FileReplacement writer(path_, Durability::later);
    for (const Line& line : lines_) {
        writer.write(formatted("%.2f\t%s\n", line.trial.picturesPerSecond, line.key.c_str()));
    }
    static_cast<void>(writer.commit());  // or measured again next time
}

}  // namespace lumivastor::media

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ostream>

#include "base/formatted.h"
#include "base/saturated.h"

namespace lumivastor::cli {

namespace {

constexpr int kCells = 30;

std::string remainingText(double seconds) {
    const auto whole = saturatedRound<long>(seconds);
    if (whole >= 3600) return formatted("noch %ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    return formatted("noch %ld:%02ld", whole / 60, whole % 60);
}

}  // namespace

std::string progressLine(double fraction, double elapsed, std::int64_t totalFrames) {
    const double done = std::clamp(fraction, 0.0, 1.0);
    std::string line = "[";
    for (int cell = 0; cell < kCells; ++cell) line += cell < std::lround(done * kCells) ? "█" : "·";
    line += formatted("] %3d %%", static_cast<int>(done * 100));
    // The first moments do not predict the rest.
    if (done > 0 && elapsed >= 0.5) {
        line += formatted("  %.0f Bilder/s  ", done * static_cast<double>(totalFrames) / elapsed) +
                remainingText(elapsed / done * (1 - done));
    }
    return line;
}

ProgressBar::ProgressBar(std::ostream& err, std::int64_t totalFrames)
    : err_(err), totalFrames_(totalFrames), isTerminal_(isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
    if (isTerminal_) err_ << "\r\x1b[K" << std::flush;
}

void ProgressBar::update(double fraction) {
    if (!isTerminal_) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    err_ << "\r" << progressLine(fraction, elapsed.count(), totalFrames_) << "\x1b[K" << std::flush;
}

}  // namespace lumivastor::cli

// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/film_chapters.h"

#include <string>

namespace lumivastor::render {

namespace {

// Players show nothing of shorter ones; marks set twice, or at the beginning, are one.
constexpr double kShortest = 0.5;

}  // namespace

std::vector<media::MovieChapter> filmChapters(const edit::EditState& state) {
    std::vector<media::MovieChapter> chapters;
    for (const double mark : state.marks) {
        const auto t = edit::outputTime(state.keptSegments, mark);
        if (!t || *t > state.outputDuration - kShortest) continue;
        if (chapters.empty()) chapters.push_back({0, ""});
        if (*t - chapters.back().start >= kShortest) chapters.push_back({*t, ""});
    }
    for (std::size_t i = 0; i < chapters.size(); ++i) chapters[i].title = "Kapitel " + std::to_string(i + 1);
    return chapters;
}

}  // namespace lumivastor::render

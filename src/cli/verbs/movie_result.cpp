// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/movie_result.h"

#include <ostream>
#include <string_view>

#include "model/json_writer.h"

namespace lumivastor::cli {

void writeMovieResult(std::ostream& out, const std::filesystem::path& url, std::int64_t frames, double seconds,
                      const std::optional<StudioFacts>& studio) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("url");
    writer.text(std::filesystem::absolute(url).string());
    writer.key("frames");
    writer.integer(frames);
    writer.key("seconds");
    writer.number(seconds);
    if (studio) {
        writer.key("zoomCount");
        writer.integer(studio->zoomCount);
        writer.key("reusedFrames");
        writer.integer(studio->reusedFrames);
    }
    writer.endObject();
    writer.finish();
    out << "\n";
}

}  // namespace lumivastor::cli

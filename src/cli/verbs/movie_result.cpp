// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/movie_result.h"

#include <ostream>
#include <string_view>

#include "model/json_writer.h"

namespace lumivastor::cli {

void writeMovieResult(std::ostream& out, const std::filesystem::path& url, std::int64_t frames, double seconds,
                      std::optional<std::int64_t> zoomCount) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("url");
    writer.text(std::filesystem::absolute(url).string());
    writer.key("frames");
    writer.integer(frames);
    writer.key("seconds");
    writer.number(seconds);
    if (zoomCount) {
        writer.key("zoomCount");
        writer.integer(*zoomCount);
    }
    writer.endObject();
    writer.finish();
    out << "\n";
}

}  // namespace lumivastor::cli

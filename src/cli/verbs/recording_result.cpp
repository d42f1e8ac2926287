// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/recording_result.h"

#include <ostream>

#include "base/formatted.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

using Wide = long long;

void writeRemarks(model::JsonWriter& writer, const RecordingRemarks& remarks) {
    if (remarks.recovered) {
        writer.key("recovered");
        writer.boolean(*remarks.recovered);
    }
    if (remarks.endedEarly) {
        writer.key("endedEarly");
        writer.text(*remarks.endedEarly);
    }
    if (remarks.losses) {
        writer.key("losses");
        writer.text(*remarks.losses);
    }
}

}  // namespace

void writeRecordingResult(std::ostream& out, const capture::RecordingJob::Stats& stats,
                          const std::filesystem::path& folder, const RecordingRemarks& remarks) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    const auto integer = [&writer](const char* key, std::optional<std::int64_t> number) {
        if (!number) return;
        writer.key(key);
        writer.integer(*number);
    };
    writer.beginObject();
    writer.key("duration");
    writer.number(stats.duration);
    integer("framesWritten", stats.framesWritten);
    integer("framesSkippedIdle", stats.framesSkippedIdle);
    integer("framesDropped", stats.framesDropped);
    integer("pointerEvents", stats.pointerEvents);
    writer.key("folder");
    writer.text(std::filesystem::absolute(folder).lexically_normal().string());
    writeRemarks(writer, remarks);
    writer.endObject();
    writer.finish();
    out << "\n";
}

std::string describeRecording(const capture::RecordingJob::Stats& stats, const std::filesystem::path& folder) {
    std::string text = formatted("Fertig: %.1f s, %lld Bilder", stats.duration, static_cast<Wide>(stats.framesWritten));
    if (stats.framesDropped) {
        text += *stats.framesDropped > 0 ? " (" + std::to_string(*stats.framesDropped) + " verworfene Bilder)"
                                         : " (keine verworfenen Bilder)";
    }
    if (stats.pointerEvents) text += formatted(", %lld Zeigerereignisse", static_cast<Wide>(*stats.pointerEvents));
    return text + "\nOrdner: " + folder.string() + "\n";
}

std::string runningLine(const capture::RecordingJob::Stats& stats) {
    std::string text = formatted("Läuft: %.1f s · %lld Bilder", stats.duration, static_cast<Wide>(stats.framesWritten));
    if (stats.framesDropped) text += formatted(" · %lld verworfen", static_cast<Wide>(*stats.framesDropped));
    if (stats.pointerEvents) text += formatted(" · %lld Zeigerereignisse", static_cast<Wide>(*stats.pointerEvents));
    return text;
}

}  // namespace lumivastor::cli

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/recording_result.h"

#include <ostream>

#include "base/formatted.h"
#include "model/json_writer.h"

namespace lumivastor::cli {

namespace {

using Wide = long long;

void writeFolder(model::JsonWriter& writer, const std::filesystem::path& folder) {
    writer.key("folder");
    writer.text(std::filesystem::absolute(folder).lexically_normal().string());
}

void writeRemarks(model::JsonWriter& writer, const RecordingRemarks& remarks) {
    if (remarks.recovered) {
        writer.key("recovered");
        writer.boolean(*remarks.recovered);
    }
    if (remarks.endedEarly) {
        writer.key("endedEarly");
        writer.text(*remarks.endedEarly);
    }
}

}  // namespace

void writeRecordingResult(std::ostream& out, const capture::Recorder::Stats& stats, const std::filesystem::path& folder,
                          const RecordingRemarks& remarks) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    const auto integer = [&writer](const char* key, std::int64_t number) {
        writer.key(key);
        writer.integer(number);
    };
    writer.beginObject();
    writer.key("duration");
    writer.number(stats.duration);
    integer("framesWritten", stats.framesWritten);
    integer("framesSkippedIdle", stats.framesSkippedIdle);
    integer("framesDropped", stats.framesDropped);
    integer("pointerEvents", stats.pointerEvents);
    writeFolder(writer, folder);
    writeRemarks(writer, remarks);
    writer.endObject();
    writer.finish();
    out << "\n";
}

void writeRecordingResult(std::ostream& out, const capture::DeviceRecorder::Stats& stats,
                          const std::filesystem::path& folder, const RecordingRemarks& remarks) {
    model::JsonWriter writer([&out](std::string_view piece) { out << piece; });
    writer.beginObject();
    writer.key("duration");
    writer.number(stats.duration);
    writer.key("framesWritten");
    writer.integer(stats.framesWritten);
    writeFolder(writer, folder);
    writeRemarks(writer, remarks);
    writer.endObject();
    writer.finish();
    out << "\n";
}

std::string describeRecording(const capture::Recorder::Stats& stats, const std::filesystem::path& folder) {
    const std::string dropped = stats.framesDropped > 0 ? std::to_string(stats.framesDropped) + " verworfene Bilder"
                                                        : "keine verworfenen Bilder";
    return formatted("Fertig: %.1f s, %lld Bilder (%s), %lld Zeigerereignisse\nOrdner: %s\n", stats.duration,
                     static_cast<Wide>(stats.framesWritten), dropped.c_str(), static_cast<Wide>(stats.pointerEvents),
                     folder.c_str());
}

std::string describeRecording(const capture::DeviceRecorder::Stats& stats, const std::filesystem::path& folder) {
    return formatted("Fertig: %.1f s, %lld Bilder\nOrdner: %s\n", stats.duration,
                     static_cast<Wide>(stats.framesWritten), folder.c_str());
}

std::string runningLine(const capture::Recorder::Stats& stats) {
    return formatted("Läuft: %.1f s · %lld Bilder · %lld verworfen · %lld Zeigerereignisse", stats.duration,
                     static_cast<Wide>(stats.framesWritten), static_cast<Wide>(stats.framesDropped),
                     static_cast<Wide>(stats.pointerEvents));
}

std::string runningLine(const capture::DeviceRecorder::Stats& stats) {
    return formatted("Läuft: %.1f s · %lld Bilder", stats.duration, static_cast<Wide>(stats.framesWritten));
}

}  // namespace lumivastor::cli

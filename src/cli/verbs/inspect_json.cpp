// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/inspect_json.h"

#include <ostream>
#include <string_view>

#include "model/json_writer.h"
#include "model/record_writer.h"

namespace lumivastor::cli {

namespace {

void numberField(model::JsonWriter& writer, std::string_view key, double value) {
    writer.key(key);
    writer.number(value);
}

template <class Items, class WriteItem>
void listField(model::JsonWriter& writer, std::string_view key, const Items& items, WriteItem writeItem) {
    writer.key(key);
    writer.beginArray();
    for (const auto& item : items) writeItem(item);
    writer.endArray();
}

// Start and end of a kept segment or zoom event.
template <class Range>
void writeRange(model::JsonWriter& writer, const Range& range) {
    writer.beginObject();
    numberField(writer, "start", range.start);
    numberField(writer, "end", range.end);
    writer.endObject();
}

void writeKey(model::JsonWriter& writer, const edit::ZoomEngine::Key& key) {
    writer.beginObject();
    numberField(writer, "t", key.t);
    numberField(writer, "x", key.x);
    numberField(writer, "y", key.y);
    writer.endObject();
}

void writeRect(model::JsonWriter& writer, const Rect& rect) {
    writer.beginObject();
    numberField(writer, "x", rect.x);
    numberField(writer, "y", rect.y);
    numberField(writer, "width", rect.width);
    numberField(writer, "height", rect.height);
    writer.endObject();
}

void writeLayout(model::JsonWriter& writer, const edit::StudioLayout& layout) {
    writer.key("layout");
    writer.beginObject();
    writer.key("canvasWidth");
    writer.integer(layout.canvas.width);
    writer.key("canvasHeight");
    writer.integer(layout.canvas.height);
    numberField(writer, "contentScale", layout.contentScale);
    numberField(writer, "pixelBlock", layout.pixelBlock);
    writer.key("cropRect");
    writeRect(writer, layout.cropRect);
    writer.key("screenRect");
    writeRect(writer, layout.screenRect);
    listField(writer, "maskRects", layout.maskRects, [&](const Rect& rect) { writeRect(writer, rect); });
    writer.key("bubbleRect");
    writeRect(writer, layout.bubbleRect);
    writer.endObject();
}

void writeSample(model::JsonWriter& writer, const edit::EditState& state, const model::PointerTrack& track, double t) {
    const edit::ZoomEngine::Camera camera = state.zoomEngine->camera(t);
    writer.beginObject();
    numberField(writer, "t", t);
    writer.key("camera");
    writer.beginObject();
    numberField(writer, "scale", camera.scale);
    numberField(writer, "focusX", camera.focusX);
    numberField(writer, "focusY", camera.focusY);
    writer.endObject();
    if (const auto cursor = state.cursorEngine->position(t)) {
        writer.key("cursor");
        writer.beginObject();
        numberField(writer, "x", cursor->x);
        numberField(writer, "y", cursor->y);
        writer.endObject();
    }
    if (const std::string* shape = edit::cursorShapeAt(track.cursorChanges, t)) {
        writer.key("cursorID");
        writer.text(*shape);
    }
    writer.endObject();
}

}  // namespace

void writeInspection(const edit::Composition& composition, const InspectOptions& options, std::ostream& out) {
    const auto state = composition.state();
    const edit::ZoomEngine& zooms = *state->zoomEngine;
    model::JsonWriter writer(
        [&out](std::string_view piece) { out.write(piece.data(), static_cast<std::streamsize>(piece.size())); });
    writer.beginObject();
    writer.key("capture");
    writeRecord(writer, composition.info());
    writer.key("settings");
    writeRecord(writer, state->settings);
    if (options.quality) {
        writer.key("quality");
        writeRecord(writer, *options.quality);
    }
    numberField(writer, "effectiveStart", state->trim.start);
    numberField(writer, "effectiveEnd", state->trim.end);
    listField(writer, "keptSegments", state->keptSegments, [&](const auto& each) { writeRange(writer, each); });
    numberField(writer, "outputDuration", state->outputDuration);
    listField(writer, "zoomSpecs", state->zoomSpecs, [&](const auto& each) { model::writeRecord(writer, each); });
    listField(writer, "zoomEvents", zooms.events(), [&](const auto& each) { writeRange(writer, each); });
    listField(writer, "scaleKeys", zooms.scaleKeys(), [&](const auto& each) { writeKey(writer, each); });
    listField(writer, "focusKeys", zooms.focusKeys(), [&](const auto& each) { writeKey(writer, each); });
    writeLayout(writer, state->layout);
    listField(writer, "clicks", state->clicks, [&](const model::PointerSample& click) {
        writer.beginObject();
        numberField(writer, "t", click.t);
        numberField(writer, "px", click.px);
        numberField(writer, "py", click.py);
        writer.endObject();
    });
    if (const std::vector<double>& marks = composition.recording().marks; !marks.empty()) {
        listField(writer, "marks", marks, [&](double t) {
            writer.beginObject();
            numberField(writer, "t", t);
            if (const auto output = edit::outputTime(state->keptSegments, t)) numberField(writer, "output", *output);
            writer.endObject();
        });
    }
    listField(writer, "samples", options.sampleTimes,
              [&](double t) { writeSample(writer, *state, composition.track(), t); });
    listField(writer, "outputTimes", options.outputTimes, [&](double t) {
        writer.beginObject();
        numberField(writer, "output", t);
        numberField(writer, "source", edit::sourceTime(state->keptSegments, t));
        writer.endObject();
    });
    writer.endObject();
    writer.finish();
    out << "\n";
}

}  // namespace lumivastor::cli

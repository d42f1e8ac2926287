// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "model/capture_info.h"
#include "model/marks.h"
#include "model/pointer_track.h"
#include "model/project_settings.h"
#include "model/recording_quality.h"

// One table for each record of a document: its fields in declaration order. Reading and writing use the same table, so
// that a field cannot be read under one name and written under another.

namespace lumivastor::model {

template <class Record, class Value>
struct RecordField {
    std::string_view key;
    Value Record::*member;
};

template <class Record, class Value>
constexpr RecordField<Record, Value> field(std::string_view key, Value Record::*member) {
    return {key, member};
}

/// Specialised for each record: `list`, the tuple of its fields, and `keepsDefaults`: whether a missing key leaves the
/// field as it is (true) or is an error unless the field is optional (false).
template <class Record>
struct RecordFields;

/// Specialised for each enumeration of a document: `list`, its values with their names.
template <class Enumeration>
struct EnumerationNames;

#define LUMI_FIELD(record, name) field(#name, &record::name)

template <>
struct RecordFields<CaptureInfo> {
    using R = CaptureInfo;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{
        LUMI_FIELD(R, version),
        LUMI_FIELD(R, createdAt),
        LUMI_FIELD(R, displayID),
        LUMI_FIELD(R, displayX),
        LUMI_FIELD(R, displayY),
        LUMI_FIELD(R, displayWidth),
        LUMI_FIELD(R, displayHeight),
        LUMI_FIELD(R, contentX),
        LUMI_FIELD(R, contentY),
        LUMI_FIELD(R, contentWidth),
        LUMI_FIELD(R, contentHeight),
        LUMI_FIELD(R, pointPixelScale),
        LUMI_FIELD(R, pixelWidth),
        LUMI_FIELD(R, pixelHeight),
        LUMI_FIELD(R, fps),
        LUMI_FIELD(R, systemAudio),
        LUMI_FIELD(R, microphone),
        LUMI_FIELD(R, t0HostClock),
        LUMI_FIELD(R, t0MediaTime),
        LUMI_FIELD(R, duration),
        LUMI_FIELD(R, framesWritten),
        LUMI_FIELD(R, framesSkippedIdle),
        LUMI_FIELD(R, framesDroppedBackpressure),
        LUMI_FIELD(R, pointerEvents),
        LUMI_FIELD(R, cursorPollsWithoutCursor),
        LUMI_FIELD(R, webcamFile),
        LUMI_FIELD(R, webcamOffset),
        LUMI_FIELD(R, sourceKind),
        LUMI_FIELD(R, windowTitle),
        LUMI_FIELD(R, pointerKnown),
    };
};

template <>
struct EnumerationNames<KnownPointer> {
    static constexpr std::array<std::pair<KnownPointer, std::string_view>, 3> list = {{
        {KnownPointer::positions, "positions"},
        {KnownPointer::embedded, "embedded"},
        {KnownPointer::none, "none"},
    }};
};

template <>
struct EnumerationNames<PointerKind> {
    static constexpr std::array<std::pair<PointerKind, std::string_view>, 5> list = {{
        {PointerKind::move, "move"},
        {PointerKind::down, "down"},
        {PointerKind::up, "up"},
        {PointerKind::drag, "drag"},
        {PointerKind::scroll, "scroll"},
    }};
};

template <>
struct EnumerationNames<PointerButton> {
    static constexpr std::array<std::pair<PointerButton, std::string_view>, 3> list = {{
        {PointerButton::left, "left"},
        {PointerButton::right, "right"},
        {PointerButton::other, "other"},
    }};
};

template <>
struct RecordFields<PointerSample> {
    using R = PointerSample;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list =
        std::tuple{LUMI_FIELD(R, t),    LUMI_FIELD(R, px),     LUMI_FIELD(R, py), LUMI_FIELD(R, nx), LUMI_FIELD(R, ny),
                   LUMI_FIELD(R, kind), LUMI_FIELD(R, button), LUMI_FIELD(R, dx), LUMI_FIELD(R, dy)};
};

template <>
struct RecordFields<CursorChange> {
    using R = CursorChange;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(R, t), LUMI_FIELD(R, id)};
};

template <>
struct RecordFields<CursorImage> {
    using R = CursorImage;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list =
        std::tuple{LUMI_FIELD(R, id),       LUMI_FIELD(R, file),     LUMI_FIELD(R, width), LUMI_FIELD(R, height),
                   LUMI_FIELD(R, hotspotX), LUMI_FIELD(R, hotspotY), LUMI_FIELD(R, scale), LUMI_FIELD(R, visible)};
};

template <>
struct RecordFields<WindowFrameSample> {
    using R = WindowFrameSample;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list =
        std::tuple{LUMI_FIELD(R, t), LUMI_FIELD(R, x), LUMI_FIELD(R, y), LUMI_FIELD(R, w), LUMI_FIELD(R, h)};
};

template <>
struct RecordFields<PointerTrack> {
    using R = PointerTrack;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(R, version), LUMI_FIELD(R, events), LUMI_FIELD(R, cursorChanges),
                                            LUMI_FIELD(R, cursorImages), LUMI_FIELD(R, windowFrames)};
};

template <>
struct EnumerationNames<Tempo> {
    static constexpr std::array<std::pair<Tempo, std::string_view>, 3> list = {{
        {Tempo::schnell, "schnell"},
        {Tempo::normal, "normal"},
        {Tempo::ruhig, "ruhig"},
    }};
};

template <>
struct EnumerationNames<ExportFormat> {
    static constexpr std::array<std::pair<ExportFormat, std::string_view>, 2> list = {{
        {ExportFormat::mp4, "mp4"},
        {ExportFormat::mov, "mov"},
    }};
};

template <>
struct RecordFields<CutRange> {
    using R = CutRange;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(R, start), LUMI_FIELD(R, end)};
};

template <>
struct RecordFields<FocusKey> {
    using R = FocusKey;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(R, t), LUMI_FIELD(R, x), LUMI_FIELD(R, y)};
};

template <>
struct RecordFields<ZoomSpec> {
    using R = ZoomSpec;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list =
        std::tuple{LUMI_FIELD(R, start), LUMI_FIELD(R, end), LUMI_FIELD(R, scale), LUMI_FIELD(R, focus)};
};

template <>
struct RecordFields<MaskRect> {
    using R = MaskRect;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list =
        std::tuple{LUMI_FIELD(R, x), LUMI_FIELD(R, y), LUMI_FIELD(R, width), LUMI_FIELD(R, height)};
};

template <>
struct RecordFields<ProjectSettings> {
    using R = ProjectSettings;
    static constexpr bool keepsDefaults = true;
    static constexpr auto list = std::tuple{
        LUMI_FIELD(R, version),       LUMI_FIELD(R, trimStart),       LUMI_FIELD(R, trimEnd),
        LUMI_FIELD(R, cuts),          LUMI_FIELD(R, zooms),           LUMI_FIELD(R, zoomScale),
        LUMI_FIELD(R, tempo),         LUMI_FIELD(R, smoothing),       LUMI_FIELD(R, cursorScale),
        LUMI_FIELD(R, backgroundRed), LUMI_FIELD(R, backgroundGreen), LUMI_FIELD(R, backgroundBlue),
        LUMI_FIELD(R, padding),       LUMI_FIELD(R, cornerRadius),    LUMI_FIELD(R, systemVolume),
        LUMI_FIELD(R, micVolume),     LUMI_FIELD(R, levelLoudness),   LUMI_FIELD(R, exportHeight),
        LUMI_FIELD(R, exportFormat),  LUMI_FIELD(R, webcamEnabled),   LUMI_FIELD(R, webcamSize),
        LUMI_FIELD(R, webcamCorner),  LUMI_FIELD(R, webcamZoom),      LUMI_FIELD(R, webcamShift),
        LUMI_FIELD(R, cropTop),       LUMI_FIELD(R, cropBottom),      LUMI_FIELD(R, cropLeft),
        LUMI_FIELD(R, cropRight),     LUMI_FIELD(R, masks),
    };
};

template <>
struct RecordFields<Mark> {
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(Mark, t)};
};

template <>
struct RecordFields<Marks> {
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(Marks, version), field("marks", &Marks::list)};
};

template <>
struct RecordFields<QualityCheck> {
    using R = QualityCheck;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{LUMI_FIELD(R, name), LUMI_FIELD(R, ok), LUMI_FIELD(R, detail)};
};

template <>
struct RecordFields<SoundQuality> {
    using R = SoundQuality;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{
        LUMI_FIELD(R, source),
        LUMI_FIELD(R, start),
        LUMI_FIELD(R, end),
        LUMI_FIELD(R, drift),
        LUMI_FIELD(R, longestGap),
        LUMI_FIELD(R, longestSilence),
        LUMI_FIELD(R, damagedPackets),
        LUMI_FIELD(R, integratedLoudness),
    };
};

template <>
struct RecordFields<WebcamQuality> {
    using R = WebcamQuality;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{
        LUMI_FIELD(R, pictures), LUMI_FIELD(R, start),  LUMI_FIELD(R, end),           LUMI_FIELD(R, longestGap),
        LUMI_FIELD(R, interval), LUMI_FIELD(R, jitter), LUMI_FIELD(R, soundTolerance)};
};

template <>
struct RecordFields<RecordingQuality> {
    using R = RecordingQuality;
    static constexpr bool keepsDefaults = false;
    static constexpr auto list = std::tuple{
        LUMI_FIELD(R, version),
        LUMI_FIELD(R, checkedAt),
        LUMI_FIELD(R, ok),
        LUMI_FIELD(R, summary),
        LUMI_FIELD(R, checks),
        LUMI_FIELD(R, duration),
        LUMI_FIELD(R, pictures),
        LUMI_FIELD(R, picturesCounted),
        LUMI_FIELD(R, picturesLost),
        LUMI_FIELD(R, pictureStart),
        LUMI_FIELD(R, pictureEnd),
        LUMI_FIELD(R, longestGap),
        LUMI_FIELD(R, longestGapStart),
        LUMI_FIELD(R, picturesDecoded),
        LUMI_FIELD(R, sounds),
        LUMI_FIELD(R, webcam),
        LUMI_FIELD(R, integratedLoudness),
        LUMI_FIELD(R, loudnessRange),
        LUMI_FIELD(R, truePeak),
    };
};

#undef LUMI_FIELD

template <class Record>
inline constexpr std::size_t kFieldCount = std::tuple_size_v<std::remove_const_t<decltype(RecordFields<Record>::list)>>;

template <class Record>
constexpr std::array<std::string_view, kFieldCount<Record>> fieldKeys() {
    return std::apply([](const auto&... fields) { return std::array{fields.key...}; }, RecordFields<Record>::list);
}

/// Positions of a record's fields in the order of their keys, for writing them sorted.
template <class Record>
constexpr std::array<std::size_t, kFieldCount<Record>> fieldsByKey() {
    std::array<std::size_t, kFieldCount<Record>> order{};
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    const auto keys = fieldKeys<Record>();
    std::sort(order.begin(), order.end(), [&keys](std::size_t a, std::size_t b) { return keys[a] < keys[b]; });
    return order;
}

template <class T>
concept EnumerationInDocument = requires {
    EnumerationNames<T>::list;
};

template <class T>
concept RecordInDocument = requires {
    RecordFields<T>::list;
};

template <class T>
inline constexpr bool kIsOptional = false;
template <class T>
inline constexpr bool kIsOptional<std::optional<T>> = true;

template <class T>
inline constexpr bool kIsList = false;
template <class T>
inline constexpr bool kIsList<std::vector<T>> = true;

}  // namespace lumivastor::model

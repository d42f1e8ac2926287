// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <type_traits>

#include "base/file_replacement.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "model/json_writer.h"
#include "model/record_fields.h"

namespace lumivastor::model {

/// Writes a record with its keys sorted; optional fields without a value are left out.
template <RecordInDocument Record>
void writeRecord(JsonWriter& writer, const Record& record);

template <class Value>
void writeValue(JsonWriter& writer, const Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        writer.boolean(value);
    } else if constexpr (std::is_integral_v<Value>) {
        writer.integer(static_cast<std::int64_t>(value));
    } else if constexpr (std::is_floating_point_v<Value>) {
        writer.number(value);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        writer.text(value);
    } else if constexpr (EnumerationInDocument<Value>) {
        for (const auto& [each, name] : EnumerationNames<Value>::list) {
            if (each == value) writer.text(name);
        }
    } else if constexpr (kIsList<Value>) {
        writer.beginArray();
        for (const auto& item : value) writeValue(writer, item);
        writer.endArray();
    } else {
        writeRecord(writer, value);
    }
}

template <RecordInDocument Record>
void writeRecord(JsonWriter& writer, const Record& record) {
    const auto writeField = [&]<class Value>(const RecordField<Record, Value>& each) {
        const auto& value = record.*each.member;
        if constexpr (kIsOptional<Value>) {
            if (!value) return;
            writer.key(each.key);
            writeValue(writer, *value);
        } else {
            writer.key(each.key);
            writeValue(writer, value);
        }
    };
    writer.beginObject();
    static constexpr auto order = fieldsByKey<Record>();
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        (writeField(std::get<order[i]>(RecordFields<Record>::list)), ...);
    }
    (std::make_index_sequence<order.size()>());
    writer.endObject();
}

/// A record as the text of its document. Throws `RecorderError` for infinities and NaN.
template <RecordInDocument Record>
std::string encodedDocument(const Record& record) {
    std::string text;
    JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writeRecord(writer, record);
    writer.finish();
    return text;
}

inline RecorderError unwrittenDocument(const std::filesystem::path& path, const std::error_code& error) {
    return RecorderError("„" + path.filename().string() +
                         "“ konnte nicht geschrieben werden: " + systemErrorText(error) + ".");
}

/// Replaces a document's file and waits until it is on the disk. Needs little memory for documents of any length.
/// Throws `RecorderError`, and leaves the old document, for infinities and NaN and when the file cannot be written.
template <RecordInDocument Record>
void saveDocument(const Record& record, const std::filesystem::path& path) {
    FileReplacement file(path);
    JsonWriter writer([&file](std::string_view piece) { file.write(piece); });
    writeRecord(writer, record);
    writer.finish();
    if (const std::error_code error = file.commit()) throw unwrittenDocument(path, error);
}

}  // namespace lumivastor::model

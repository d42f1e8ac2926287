// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <simdjson.h>

#include <bitset>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "base/file_bytes.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "model/record_fields.h"

// Reads records from untrusted JSON in one pass, straight into their fields. Included by the sources of the documents
// only: it brings the whole parser with it.

namespace lumivastor::model {

namespace json = simdjson::ondemand;

/// Throws the reason why a value cannot be read.
[[noreturn]] inline void failReading(const std::string& what) {
    throw RecorderError(what);
}

[[noreturn]] inline void failField(std::string_view key, const std::string& what) {
    failReading("Feld „" + std::string(key) + "“ " + what);
}

/// Throws `RecorderError` when the first bytes show another encoding, which the parser would only report as malformed.
void requirePlainUtf8Start(std::string_view text);

/// The deepest allowed nesting of unknown values; the documents themselves need four levels.
inline constexpr int kMaxDepth = 64;

/// Parses the value of an unknown key, so that malformed JSON is found there, too. Throws `RecorderError` when it is
/// nested deeper than `depthLeft`; the parser itself has no limit.
void validateIgnored(json::value value, int depthLeft = kMaxDepth);

template <class Value>
void readValue(json::value value, Value& out, std::string_view key);

template <RecordInDocument Record>
void readRecord(json::object object, Record& record) {
    static constexpr auto keys = fieldKeys<Record>();
    std::bitset<keys.size()> seen;
    for (auto item : object) {
        const std::string_view key = item.unescaped_key();
        const bool known = [&]<std::size_t... i>(std::index_sequence<i...>) {
            const auto tryField = [&](std::size_t index, const auto& each) {
                if (key != each.key) return false;
                if (seen[index]) failField(each.key, "kommt zweimal vor");
                seen[index] = true;
                json::value value = item.value();
                if (RecordFields<Record>::keepsDefaults && value.is_null()) return true;
                readValue(value, record.*each.member, each.key);
                return true;
            };
            return (tryField(i, std::get<i>(RecordFields<Record>::list)) || ...);
        }
        (std::make_index_sequence<keys.size()>());
        if (!known) validateIgnored(item.value());
    }
    if constexpr (!RecordFields<Record>::keepsDefaults) {
        [&]<std::size_t... i>(std::index_sequence<i...>) {
            const auto require = [&]<class Value>(std::size_t index, const RecordField<Record, Value>& each) {
                if (!kIsOptional<Value> && !seen[index]) failField(each.key, "fehlt");
            };
            (require(i, std::get<i>(RecordFields<Record>::list)), ...);
        }
        (std::make_index_sequence<keys.size()>());
    }
}

/// Whole numbers may be written with a fraction of zero or an exponent. Throws `RecorderError` outside the range.
std::int64_t readInteger(json::value value, std::string_view key, std::int64_t smallest, std::int64_t largest);

template <class Value>
void readValue(json::value value, Value& out, std::string_view key) {
    if constexpr (kIsOptional<Value>) {
        if (value.is_null()) {
            out.reset();
        } else {
            readValue(value, out.emplace(), key);
        }
    } else if constexpr (std::is_same_v<Value, bool>) {
        if (value.get_bool().get(out) != simdjson::SUCCESS) failField(key, "ist kein Wahrheitswert");
    } else if constexpr (std::is_integral_v<Value>) {
        static_assert(std::is_same_v<Value, std::int64_t> || sizeof(Value) < sizeof(std::int64_t));
        out = static_cast<Value>(
            readInteger(value, key, std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max()));
    } else if constexpr (std::is_floating_point_v<Value>) {
        if (value.get_double().get(out) != simdjson::SUCCESS) failField(key, "ist keine Zahl");
    } else if constexpr (std::is_same_v<Value, std::string>) {
        std::string_view text;
        if (value.get_string().get(text) != simdjson::SUCCESS) failField(key, "ist kein Text");
        out = text;
    } else if constexpr (EnumerationInDocument<Value>) {
        std::string_view text;
        if (value.get_string().get(text) != simdjson::SUCCESS) failField(key, "ist kein Text");
        for (const auto& [each, name] : EnumerationNames<Value>::list) {
            if (name == text) {
                out = each;
                return;
            }
        }
        failField(key, "hat einen unbekannten Wert");
    } else if constexpr (kIsList<Value>) {
        json::array items;
        if (value.get_array().get(items) != simdjson::SUCCESS) failField(key, "ist keine Liste");
        out.clear();
        for (json::value item : items) readValue(item, out.emplace_back(), key);
    } else {
        json::object object;
        if (value.get_object().get(object) != simdjson::SUCCESS) failField(key, "ist kein Objekt");
        readRecord(object, out);
    }
}

/// Reads one document. Throws `RecorderError` with only the reason.
template <RecordInDocument Record>
Record readDocument(const FileBytes& bytes) {
    static_assert(FileBytes::kPadding >= simdjson::SIMDJSON_PADDING);
    requirePlainUtf8Start(bytes.text());
    try {
        json::parser parser;
        if (const auto error = parser.allocate(bytes.size())) throw simdjson::simdjson_error(error);
        json::document document = parser.iterate(bytes.text().data(), bytes.size(), bytes.size() + FileBytes::kPadding);
        Record record;
        readRecord(document.get_object(), record);
        if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
            failReading("Hinter dem Ende des Dokuments folgt noch etwas");
        }
        return record;
    } catch (const simdjson::simdjson_error& error) {
        switch (error.error()) {
            case simdjson::MEMALLOC:
            case simdjson::CAPACITY:
                failReading("Das Dokument ist zu groß");
            case simdjson::UTF8_ERROR:
                failReading("Der Text ist nicht in UTF-8 geschrieben");
            case simdjson::INCORRECT_TYPE:
                failReading("Das Dokument hat nicht die erwartete Form");
            case simdjson::NUMBER_ERROR:
                failReading("Eine Zahl ist fehlerhaft oder zu groß");
            default:
                failReading("Das ist kein gültiges JSON");
        }
    } catch (const std::bad_alloc&) {
        failReading("Das Dokument ist zu groß");
    }
}

/// Reads a document's file of at most `maxBytes`. Throws `RecorderError` that names the file and the reason.
template <RecordInDocument Record>
Record loadDocument(const std::filesystem::path& path, std::uint64_t maxBytes) {
    const auto failed = [&path](const std::string& reason) -> RecorderError {
        return RecorderError("„" + path.filename().string() + "“ konnte nicht gelesen werden: " + reason + ".");
    };
    std::error_code error;
    const FileBytes bytes = readFile(path, maxBytes, error);
    if (error) throw failed(systemErrorText(error));
    try {
        return Record::parse(bytes);
    } catch (const RecorderError& reason) {
        throw failed(reason.message());
    }
}

}  // namespace lumivastor::model

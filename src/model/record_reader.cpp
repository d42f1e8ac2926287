// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/record_reader.h"

namespace lumivastor::model {

void requirePlainUtf8Start(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) failReading("Am Anfang steht eine Byte-Order-Markierung");
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ||
        (text.size() >= 2 && (text[0] == '\0' || text[1] == '\0'))) {
        failReading("Der Text ist in UTF-16 oder UTF-32 statt in UTF-8 geschrieben");
    }
    if (text.empty()) failReading("Die Datei ist leer");
}

void validateIgnored(json::value value, int depthLeft) {
    if (depthLeft == 0) failReading("Das Dokument ist zu tief verschachtelt");
    switch (value.type()) {
        case json::json_type::object:
            for (auto item : value.get_object()) {
                [[maybe_unused]] const std::string_view key = item.unescaped_key();
                validateIgnored(item.value(), depthLeft - 1);
            }
            break;
        case json::json_type::array:
            for (json::value item : value.get_array()) validateIgnored(item, depthLeft - 1);
            break;
        case json::json_type::string: {
            [[maybe_unused]] const std::string_view text = value.get_string();
            break;
        }
        case json::json_type::number: {
            // As a double, because an unused whole number may have any length.
            [[maybe_unused]] const double number = value.get_double();
            break;
        }
        case json::json_type::boolean: {
            [[maybe_unused]] const bool flag = value.get_bool();
            break;
        }
        case json::json_type::null:
            if (!value.is_null()) throw simdjson::simdjson_error(simdjson::N_ATOM_ERROR);
            break;
    }
}

std::int64_t readInteger(json::value value, std::string_view key, std::int64_t smallest, std::int64_t largest) {
    std::int64_t whole = 0;
    if (value.get_int64().get(whole) != simdjson::SUCCESS) {
        double number = 0;
        if (value.get_double().get(number) != simdjson::SUCCESS) failField(key, "ist keine ganze Zahl");
        // 2^53: up to there every whole number has its own double.
        constexpr double kExact = 9007199254740992.0;
        if (number != std::trunc(number)) failField(key, "ist keine ganze Zahl");
        if (std::abs(number) > kExact) failField(key, "ist zu groß");
        whole = static_cast<std::int64_t>(number);
    }
    if (whole < smallest || whole > largest) failField(key, "ist zu groß oder zu klein");
    return whole;
}

}  // namespace lumivastor::model

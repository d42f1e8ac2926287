// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/json_writer.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>

#include "base/precondition.h"
#include "base/recorder_error.h"

namespace lumivastor::model {

namespace {

constexpr std::size_t kPieceBytes = 64 * 1024;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Length of the valid UTF-8 sequence at the start of `text`, 0 when there is none. Overlong forms, surrogates and
// values above U+10FFFF are not valid.
std::size_t utf8Length(std::string_view text) {
    const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto continues = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        if (!continues(1) || !continues(2)) return 0;
        if (first == 0xE0 && byte(1) < 0xA0) return 0;
        if (first == 0xED && byte(1) > 0x9F) return 0;
        return 3;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        if (!continues(1) || !continues(2) || !continues(3)) return 0;
        if (first == 0xF0 && byte(1) < 0x90) return 0;
        if (first == 0xF4 && byte(1) > 0x8F) return 0;
        return 4;
    }
    return 0;
}

void appendEscaped(std::string& out, unsigned char control) {
    switch (control) {
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            constexpr char kHex[] = "0123456789abcdef";
            out += "\\u00";
            out += kHex[control >> 4];
            out += kHex[control & 15];
    }
}

}  // namespace

JsonWriter::JsonWriter(Sink sink) : sink_(std::move(sink)) {}

void JsonWriter::beginObject() {
    open('{');
}
void JsonWriter::endObject() {
    close('}');
}
void JsonWriter::beginArray() {
    open('[');
}
void JsonWriter::endArray() {
    close(']');
}

void JsonWriter::key(std::string_view name) {
    precondition(!afterKey_ && !hasItems_.empty(), "a key stands inside an object, before its value");
    text(name);
    pending_ += " : ";
    afterKey_ = true;
}

void JsonWriter::number(double value) {
    if (!std::isfinite(value)) throw RecorderError("Eine Zahl ist zu groß, um geschrieben zu werden.");
    beginValue();
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    pending_.append(digits, end);
    flushIfLarge();
}

void JsonWriter::integer(std::int64_t value) {
    beginValue();
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    pending_.append(digits, end);
}

void JsonWriter::boolean(bool value) {
    beginValue();
    pending_ += value ? "true" : "false";
}

void JsonWriter::text(std::string_view value) {
    beginValue();
    pending_ += '"';
    while (!value.empty()) {
        const std::size_t length = utf8Length(value);
        const auto first = static_cast<unsigned char>(value.front());
        if (length == 0) {
            pending_ += kReplacement;
        } else if (first == '"' || first == '\\') {
            pending_ += '\\';
            pending_ += value.front();
        } else if (first < 0x20) {
            appendEscaped(pending_, first);
        } else {
            pending_ += value.substr(0, length);
        }
        value.remove_prefix(length == 0 ? 1 : length);
    }
    pending_ += '"';
    flushIfLarge();
}

void JsonWriter::finish() {
    precondition(hasItems_.empty() && !afterKey_, "every object and list is closed before the document ends");
    sink_(pending_);
    pending_.clear();
}

void JsonWriter::beginValue() {
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (hasItems_.empty()) return;
    if (hasItems_.back()) pending_ += ',';
    hasItems_.back() = true;
    newLine();
}

void JsonWriter::open(char bracket) {
    beginValue();
    pending_ += bracket;
    hasItems_.push_back(false);
}

void JsonWriter::close(char bracket) {
    precondition(!hasItems_.empty(), "what is closed was opened");
    const bool hadItems = hasItems_.back();
    hasItems_.pop_back();
    if (hadItems) newLine();
    pending_ += bracket;
    flushIfLarge();
}

void JsonWriter::newLine() {
    pending_ += '\n';
    pending_.append(hasItems_.size() * 2, ' ');
}

void JsonWriter::flushIfLarge() {
    if (pending_.size() < kPieceBytes) return;
    sink_(pending_);
    pending_.clear();
}

}  // namespace lumivastor::model

// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_search.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <compare>
#include <cstddef>
#include <cstdint>

#include "app/library/recording_texts.h"

namespace lumivastor::app {

namespace {

// The letters from U+00C0 to U+017F without their accents.
constexpr std::string_view kPlainLetters =
    "aaaaaaaceeeeiiiidnooooo*ouuuuypsaaaaaaaceeeeiiiidnooooo/ouuuuypy"
    "aaaaaaccccccccddddeeeeeeeeeegggggggghhhhiiiiiiiiiiiijjkkkllllllllll"
    "nnnnnnnnnoooooooorrrrrrssssssssttttttuuuuuuuuuuuuwwyyyzzzzzzs";
constexpr char32_t kFirstLetter = 0xC0;
static_assert(kPlainLetters.size() == 0x180 - kFirstLetter);
constexpr char32_t kFirstAccent = 0x300;
constexpr char32_t kLastAccent = 0x36F;

struct Letter {
    char32_t code;
    std::size_t length;  // in bytes
};

// The letter at `at`. Bytes that are no UTF-8 count as themselves.
Letter letterAt(std::string_view text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
    const unsigned first = byte(0);
    const std::size_t length = first < 0xC2 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 1;
    if (length == 1 || at + length > text.size()) return {first, 1};
    char32_t code = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return {first, 1};
        code = code << 6U | (byte(i) & 0x3FU);
    }
    return {code, length};
}

// Greek and Cyrillic capitals.
char32_t small(char32_t code) {
    if ((code >= 0x391 && code <= 0x3A9) || (code >= 0x410 && code <= 0x42F)) return code + 0x20;
    return code >= 0x400 && code <= 0x40F ? code + 0x50 : code;
}

std::string_view spelling(char32_t code, Umlauts umlauts) {
    if (code == 0xDF || code == 0x1E9E) return "ss";
    if (code == 0xC6 || code == 0xE6) return "ae";
    if (code == 0x152 || code == 0x153) return "oe";
    if (umlauts == Umlauts::plain) return {};
    if (code == 0xC4 || code == 0xE4) return "ae";
    if (code == 0xD6 || code == 0xF6) return "oe";
    return code == 0xDC || code == 0xFC ? "ue" : "";
}

void append(std::string& text, char32_t code) {
    if (code < 0x80) {
        text.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        text.push_back(static_cast<char>(0xC0U | code >> 6U));
        text.push_back(static_cast<char>(0x80U | (code & 0x3FU)));
    }
}

std::vector<std::string> wordsOf(std::string_view text) {
    std::vector<std::string> words(1);
    for (const char each : text) {
        if (each != ' ') {
            words.back().push_back(each);
        } else if (!words.back().empty()) {
            words.emplace_back();
        }
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

bool isDigit(char each) {
    return each >= '0' && each <= '9';
}

// Runs of digits are compared as numbers, however long they are.
std::strong_ordering naturalOrder(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (!isDigit(a[i]) || !isDigit(b[j])) {
            if (a[i] != b[j]) return static_cast<unsigned char>(a[i]) <=> static_cast<unsigned char>(b[j]);
            ++i;
            ++j;
            continue;
        }
        const auto number = [](std::string_view text, std::size_t& at) {
            while (at < text.size() && text[at] == '0') ++at;
            const std::size_t from = at;
            while (at < text.size() && isDigit(text[at])) ++at;
            return text.substr(from, at - from);
        };
        const std::string_view first = number(a, i);
        const std::string_view second = number(b, j);
        if (first.size() != second.size()) return first.size() <=> second.size();
        if (const auto order = first.compare(second); order != 0) return order <=> 0;
    }
    return a.size() - i <=> b.size() - j;
}

struct Sortable {
    const RecordingEntry* entry;
    std::string name;  // folded
};

std::strong_ordering byName(const Sortable& a, const Sortable& b) {
    const auto order = naturalOrder(a.name, b.name);
    return order != 0 ? order : a.entry->folder.native().compare(b.entry->folder.native()) <=> 0;
}

// Whether `a` comes before `b` by a value that either may lack.
template <typename Value>
bool comesBefore(const std::optional<Value>& a, const std::optional<Value>& b, bool largestFirst, const Sortable& first,
                 const Sortable& second) {
    if (a.has_value() != b.has_value()) return a.has_value();
    if (!a || *a == *b) return byName(first, second) < 0;
    return largestFirst ? *a > *b : *a < *b;
}

bool comesBefore(const Sortable& a, const Sortable& b, RecordingOrder order) {
    const RecordingEntry& first = *a.entry;
    const RecordingEntry& second = *b.entry;
    switch (order) {
        case RecordingOrder::newestFirst:
        case RecordingOrder::oldestFirst:
            return comesBefore(first.createdAt, second.createdAt, order == RecordingOrder::newestFirst, a, b);
        case RecordingOrder::longestFirst:
        case RecordingOrder::shortestFirst:
            return comesBefore(first.duration, second.duration, order == RecordingOrder::longestFirst, a, b);
        case RecordingOrder::largestFirst:
        case RecordingOrder::smallestFirst:
            return comesBefore(first.bytes, second.bytes, order == RecordingOrder::largestFirst, a, b);
        case RecordingOrder::nameAscending:
            return byName(a, b) < 0;
        case RecordingOrder::nameDescending:
            return byName(a, b) > 0;
    }
    return false;
}

}  // namespace

std::string foldedText(std::string_view text, Umlauts umlauts) {
    std::string folded;
    folded.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Letter letter = letterAt(text, at);
        at += letter.length;
        if (letter.code >= kFirstAccent && letter.code <= kLastAccent && letter.length > 1) continue;
        if (letter.length == 1) {
            folded.push_back(letter.code < 0x80 ? static_cast<char>(std::tolower(static_cast<int>(letter.code)))
                                                : static_cast<char>(letter.code));
        } else if (const std::string_view pair = spelling(letter.code, umlauts); !pair.empty()) {
            folded += pair;
        } else if (letter.code >= kFirstLetter && letter.code < kFirstLetter + kPlainLetters.size()) {
            folded.push_back(kPlainLetters[letter.code - kFirstLetter]);
        } else if (small(letter.code) != letter.code) {
            append(folded, small(letter.code));
        } else {
            folded += text.substr(at - letter.length, letter.length);
        }
    }
    return folded;
}

bool matchesQuery(const RecordingEntry& entry, std::string_view query) {
    std::string text = entry.name();
    if (entry.createdAt) text += " " + searchedDate(*entry.createdAt);
    const std::string plain = foldedText(text, Umlauts::plain);
    const std::string spelled = foldedText(text, Umlauts::spelled);
    const std::vector<std::string> words = wordsOf(query);
    return std::all_of(words.begin(), words.end(), [&](const std::string& word) {
        return plain.find(foldedText(word, Umlauts::plain)) != std::string::npos ||
               spelled.find(foldedText(word, Umlauts::spelled)) != std::string::npos;
    });
}

namespace {

// In the order of the enumeration.
constexpr std::array<std::string_view, 8> kOrderNames = {"newestFirst",    "oldestFirst",  "nameAscending",
                                                         "nameDescending", "longestFirst", "shortestFirst",
                                                         "largestFirst",   "smallestFirst"};

}  // namespace

std::string_view recordingOrderName(RecordingOrder order) {
    return kOrderNames.at(static_cast<std::size_t>(order));
}

RecordingOrder recordingOrderNamed(std::string_view name) {
    const auto found = std::find(kOrderNames.begin(), kOrderNames.end(), name);
    return found == kOrderNames.end() ? RecordingOrder::newestFirst
                                      : static_cast<RecordingOrder>(found - kOrderNames.begin());
}

std::vector<RecordingEntry> shownRecordings(const std::vector<RecordingEntry>& all, std::string_view query,
                                            RecordingOrder order) {
    std::vector<Sortable> found;
    for (const RecordingEntry& entry : all) {
        if (matchesQuery(entry, query)) found.push_back({&entry, foldedText(entry.name(), Umlauts::plain)});
    }
    std::sort(found.begin(), found.end(),
              [order](const Sortable& a, const Sortable& b) { return comesBefore(a, b, order); });
    std::vector<RecordingEntry> shown;
    shown.reserve(found.size());
    for (const Sortable& each : found) shown.push_back(*each.entry);
    return shown;
}

}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/journal/journal_records.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <initializer_list>
#include <set>
#include <system_error>
#include <type_traits>
#include <utility>

#include "base/file_bytes.h"
#include "base/formatted.h"
#include "base/recorder_error.h"
#include "base/stable_hash.h"
#include "base/system_error_text.h"
#include "capture/pointer/cursor_shapes.h"
#include "imaging/picture_limits.h"
#include "model/record_fields.h"

namespace lumivastor::capture {

namespace {

// Twenty million pointer events, ten times those of a long day. No recorder of ours writes more.
constexpr std::uint64_t kMaxJournalBytes = 1ull << 30;
constexpr std::size_t kChecksumDigits = 8;

// The same limits as for documents; see docs/decisions/0002-limits-of-documents.md.
constexpr double kLargest = 1e9;

std::string checksum(std::string_view payload) {
    StableHash hash;
    hash.add(payload.data(), payload.size());
    return formatted("%08x", hash.folded());
}

// Builds one line: words with a blank before each.
class Line {
  public:
    explicit Line(std::string_view kind) : payload_(kind) {}

    Line& word(std::string_view word) {
        payload_ += ' ';
        payload_ += word;
        return *this;
    }
    Line& number(double number) {
        std::array<char, 32> text{};
        const auto result = std::to_chars(text.data(), text.data() + text.size(), number);
        return word({text.data(), static_cast<std::size_t>(result.ptr - text.data())});
    }
    Line& numbers(std::initializer_list<double> numbers) {
        for (const double each : numbers) number(each);
        return *this;
    }
    Line& integer(std::int64_t number) { return word(std::to_string(number)); }
    // Blanks, line feeds and the percent sign itself as %XX.
    Line& text(std::string_view text) {
        payload_ += ' ';
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte <= ' ' || c == '%' || byte == 0x7F) {
                payload_ += formatted("%%%02X", byte);
            } else {
                payload_ += c;
            }
        }
        return *this;
    }
    std::string finished() const { return journalLine::checked(payload_); }

  private:
    std::string payload_;
};

template <class Enumeration>
std::string_view nameOf(Enumeration value) {
    for (const auto& [each, name] : model::EnumerationNames<Enumeration>::list) {
        if (each == value) return name;
    }
    return {};
}

[[noreturn]] void refuse(const std::string& what) {
    throw RecorderError(what);
}

// Takes one line's words apart.
class Words {
  public:
    explicit Words(std::string_view payload) : rest_(payload) {}

    bool atEnd() const { return ended_; }

    std::string_view word() {
        if (ended_) refuse("Es fehlt eine Angabe");
        const std::size_t blank = rest_.find(' ');
        const std::string_view word = rest_.substr(0, blank);
        ended_ = blank == std::string_view::npos;
        if (!ended_) rest_.remove_prefix(blank + 1);
        return word;
    }

    double number() {
        const std::string_view text = word();
        double number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || !(std::abs(number) <= kLargest)) {
            refuse("Eine Zahl ist fehlerhaft oder zu groß");
        }
        return number;
    }

    template <class Integer>
    Integer integer(std::type_identity_t<Integer> smallest, std::type_identity_t<Integer> largest) {
        const std::string_view text = word();
        Integer number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || end != text.data() + text.size() || number < smallest || number > largest) {
            refuse("Eine ganze Zahl ist fehlerhaft oder zu groß");
        }
        return number;
    }

    bool flag() { return integer<int>(0, 1) == 1; }

    std::string text() {
        const std::string_view escaped = word();
        std::string text;
        for (std::size_t i = 0; i < escaped.size(); ++i) {
            if (escaped[i] != '%') {
                text += escaped[i];
                continue;
            }
            unsigned byte = 0;
            const char* digits = escaped.data() + i + 1;
            if (i + 2 >= escaped.size() || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) {
                refuse("Ein Text ist fehlerhaft");
            }
            text += static_cast<char>(byte);
            i += 2;
        }
        return text;
    }

    Rect rect() {
        Rect rect;
        rect.x = number();
        rect.y = number();
        rect.width = number();
        rect.height = number();
        return rect;
    }

    template <class Enumeration>
    Enumeration enumeration() {
        const std::string_view text = word();
        for (const auto& [each, name] : model::EnumerationNames<Enumeration>::list) {
            if (name == text) return each;
        }
        refuse("Ein Wert ist unbekannt");
    }

    // "hidden", or "c" and a number: nothing that could name a file elsewhere.
    std::string shapeID() {
        const std::string_view text = word();
        const bool isNumbered = text.size() >= 2 && text.size() <= 10 && text.front() == 'c' &&
                                std::all_of(text.begin() + 1, text.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!isNumbered && text != kHiddenCursorID) refuse("Eine Cursorform ist fehlerhaft benannt");
        return std::string(text);
    }

  private:
    std::string_view rest_;
    bool ended_ = false;
};

void readStart(Words& words, JournalContent& content) {
    model::CaptureInfo& info = content.info;
    info.sourceKind = words.text();
    constexpr std::array<std::string_view, 4> kKinds = {"display", "window", "region", "device"};
    if (std::find(kKinds.begin(), kKinds.end(), *info.sourceKind) == kKinds.end()) refuse("Ein Wert ist unbekannt");
    info.displayID = words.integer<std::uint32_t>(0, UINT32_MAX);
    const Rect display = words.rect();
    info.displayX = display.x;
    info.displayY = display.y;
    info.displayWidth = display.width;
    info.displayHeight = display.height;
    content.geometry.displayBounds = words.rect();
    const Rect captured = words.rect();
    content.geometry.contentRect = captured;
    info.contentX = captured.x;
    info.contentY = captured.y;
    info.contentWidth = captured.width;
    info.contentHeight = captured.height;
    info.pointPixelScale = words.number();
    content.geometry.pointPixelScale = info.pointPixelScale;
    if (!(info.pointPixelScale > 0)) refuse("Der Maßstab ist fehlerhaft");
    info.pixelWidth = words.integer<int>(1, imaging::kMaxPictureEdge);
    info.pixelHeight = words.integer<int>(1, imaging::kMaxPictureEdge);
    if (!imaging::isDecodablePictureSize(info.pixelWidth, info.pixelHeight)) refuse("Die Bildgröße ist unzulässig");
    content.geometry.pixelSize = {static_cast<double>(info.pixelWidth), static_cast<double>(info.pixelHeight)};
    info.fps = words.integer<int>(1, 1000);
    info.systemAudio = words.flag();
    info.microphone = words.flag();
    if (!words.atEnd()) info.windowTitle = words.text();
}

void readEvent(Words& words, JournalContent& content) {
    RawEvent event;
    event.t = words.number();
    event.point.x = words.number();
    event.point.y = words.number();
    event.kind = words.enumeration<model::PointerKind>();
    if (event.kind == model::PointerKind::scroll) {
        event.dx = words.number();
        event.dy = words.number();
    } else if (event.kind != model::PointerKind::move) {
        event.button = words.enumeration<model::PointerButton>();
    }
    content.pointer.events.push_back(event);
}

void readShape(Words& words, JournalContent& content) {
    model::CursorImage image;
    image.id = words.shapeID();
    if (image.id == kHiddenCursorID) {
        image = hiddenCursor();
    } else {
        image.file = cursorFile(image.id);
        image.width = words.number();
        image.height = words.number();
        image.hotspotX = words.number();
        image.hotspotY = words.number();
        image.scale = words.number();
    }
    content.pointer.cursorImages.push_back(std::move(image));
}

// The second line of a pause, with its end, repeats its beginning: where the first line was lost, nothing is.
void readPause(Words& words, JournalContent& content) {
    const double from = words.number();
    const bool isByPointer = words.flag();
    const std::vector<Pause>& known = content.pauses.list();
    if (known.empty() || known.back().from < from) content.pauses.begin(from, isByPointer);
    if (!words.atEnd()) content.pauses.end(words.number());
}

// Whether the record is a known one that follows the start record.
bool readRecord(std::string_view kind, Words& words, JournalContent& content) {
    if (kind == "session") {
        content.session = {words.number(), words.number()};
    } else if (kind == "webcam") {
        content.webcamFirstPicture = words.number();
    } else if (kind == "pointer") {
        content.info.pointerKnown = words.enumeration<model::KnownPointer>();
    } else if (kind == "e") {
        readEvent(words, content);
    } else if (kind == "shape") {
        readShape(words, content);
    } else if (kind == "cursor") {
        const double t = words.number();
        content.pointer.cursorChanges.push_back({t, words.shapeID()});
    } else if (kind == "window") {
        const double t = words.number();
        content.windowTrack.push_back({t, words.rect()});
    } else if (kind == "display") {
        const double t = words.number();
        const double x = words.number();
        content.displayTrack.push_back({t, {x, words.number()}});
    } else if (kind == "counts") {
        content.counts.framesSkippedIdle = words.integer<std::int64_t>(0, INT64_MAX);
        content.counts.framesDropped = words.integer<std::int64_t>(0, INT64_MAX);
        content.counts.missingCursorPolls = words.integer<std::int64_t>(0, INT64_MAX);
    } else if (kind == "pause") {
        readPause(words, content);
    } else if (kind == "mark") {
        content.marks.push_back(words.number());
    } else {
        return false;
    }
    return true;
}

// The line's payload when its checksum is right.
std::optional<std::string_view> checkedPayload(std::string_view line) {
    if (line.size() <= kChecksumDigits || line[kChecksumDigits] != ' ') return std::nullopt;
    const std::string_view payload = line.substr(kChecksumDigits + 1);
    if (checksum(payload) != line.substr(0, kChecksumDigits)) return std::nullopt;
    return payload;
}

// Shapes and changes agree in a journal of ours unless a line between them was lost.
void dropUnknownShapes(RawPointerTrack& pointer) {
    std::set<std::string, std::less<>> known;
    std::erase_if(pointer.cursorImages,
                  [&known](const model::CursorImage& image) { return !known.insert(image.id).second; });
    std::erase_if(pointer.cursorChanges,
                  [&known](const RawCursorChange& change) { return !known.contains(change.id); });
}

}  // namespace

namespace journalLine {

std::string checked(std::string_view payload) {
    return checksum(payload) + " " + std::string(payload) + "\n";
}

std::string header() {
    return Line("LumiVastor-Journal").integer(1).finished();
}

std::string start(const model::CaptureInfo& info, const model::Geometry& geometry) {
    Line line("start");
    line.text(info.sourceKind.value_or("")).integer(info.displayID);
    line.numbers({info.displayX, info.displayY, info.displayWidth, info.displayHeight});
    const Rect& bounds = geometry.displayBounds;
    line.numbers({bounds.x, bounds.y, bounds.width, bounds.height});
    line.numbers({info.contentX, info.contentY, info.contentWidth, info.contentHeight, info.pointPixelScale});
    line.integer(info.pixelWidth).integer(info.pixelHeight).integer(info.fps);
    line.integer(info.systemAudio ? 1 : 0).integer(info.microphone ? 1 : 0);
    if (info.windowTitle) line.text(*info.windowTitle);
    return line.finished();
}

std::string session(double t0Host, double t0Media) {
    return Line("session").numbers({t0Host, t0Media}).finished();
}

std::string webcam(double firstPicture) {
    return Line("webcam").number(firstPicture).finished();
}

std::string pointer(model::KnownPointer known) {
    return Line("pointer").word(nameOf(known)).finished();
}

std::string event(const RawEvent& event) {
    Line line("e");
    line.numbers({event.t, event.point.x, event.point.y}).word(nameOf(event.kind));
    if (event.kind == model::PointerKind::scroll) {
        line.numbers({event.dx.value_or(0), event.dy.value_or(0)});
    } else if (event.kind != model::PointerKind::move) {
        line.word(nameOf(event.button.value_or(model::PointerButton::other)));
    }
    return line.finished();
}

std::string shape(const model::CursorImage& image) {
    Line line("shape");
    line.word(image.id);
    if (image.visible) line.numbers({image.width, image.height, image.hotspotX, image.hotspotY, image.scale});
    return line.finished();
}

std::string cursorChange(const RawCursorChange& change) {
    return Line("cursor").number(change.t).word(change.id).finished();
}

std::string window(const WindowSample& sample) {
    const Rect& rect = sample.rect;
    return Line("window").numbers({sample.t, rect.x, rect.y, rect.width, rect.height}).finished();
}

std::string display(const DisplaySample& sample) {
    return Line("display").numbers({sample.t, sample.point.x, sample.point.y}).finished();
}

std::string counts(const JournalCounts& counts) {
    return Line("counts")
        .integer(counts.framesSkippedIdle)
        .integer(counts.framesDropped)
        .integer(counts.missingCursorPolls)
        .finished();
}

std::string mark(double hostSeconds) {
    return Line("mark").number(hostSeconds).finished();
}

std::string pause(const Pause& pause) {
    Line line("pause");
    line.number(pause.from).integer(pause.isByPointer ? 1 : 0);
    if (pause.to) line.number(*pause.to);
    return line.finished();
}

}  // namespace journalLine

JournalContent parseJournal(std::string_view text) {
    JournalContent content;
    enum class Expected { header, start, records } expected = Expected::header;
    for (std::int64_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        // A line without its line feed is torn, however complete it looks.
        const auto payload = end == std::string_view::npos ? std::nullopt : checkedPayload(line);
        if (!payload) {
            ++content.damagedLines;
            continue;
        }
        try {
            Words words(*payload);
            const std::string_view kind = words.word();
            if (expected == Expected::header) {
                if (kind != "LumiVastor-Journal") refuse("Der Anfang fehlt");
                if (words.word() != "1") refuse("Es stammt von einer neueren Fassung von LumiVastor");
                expected = Expected::start;
            } else if (expected == Expected::start) {
                if (kind != "start") refuse("Der Anfang fehlt");
                readStart(words, content);
                expected = Expected::records;
            } else if (!readRecord(kind, words, content)) {
                refuse("Ein Eintrag ist unbekannt");
            }
            if (!words.atEnd()) refuse("Ein Eintrag ist zu lang");
        } catch (const RecorderError& error) {
            refuse(error.message() + formatted(" (Zeile %lld)", static_cast<long long>(number)));
        }
    }
    if (expected != Expected::records) refuse("Der Anfang fehlt");
    dropUnknownShapes(content.pointer);
    const auto isEarlier = [](const auto& a, const auto& b) { return a.t < b.t; };
    std::stable_sort(content.windowTrack.begin(), content.windowTrack.end(), isEarlier);
    std::stable_sort(content.displayTrack.begin(), content.displayTrack.end(), isEarlier);
    return content;
}

JournalContent loadJournal(const std::filesystem::path& folder) {
    const auto failed = [](const std::string& reason) {
        return RecorderError("Das Journal der Aufnahme kann nicht gelesen werden: " + reason + ".");
    };
    std::error_code error;
    const FileBytes bytes = readFile(folder / kJournalName, kMaxJournalBytes, error);
    if (error) throw failed(systemErrorText(error));
    try {
        return parseJournal(bytes.text());
    } catch (const RecorderError& reason) {
        throw failed(reason.message());
    }
}

}  // namespace lumivastor::capture

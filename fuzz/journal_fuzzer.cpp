// SPDX-License-Identifier: GPL-3.0-or-later

// A recording's journal from anywhere: read or refused; what was read survives being written, and a pointer track
// follows from it.

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "base/recorder_error.h"
#include "capture/journal/journal_records.h"
#include "capture/pointer/pointer_conversion.h"

namespace {

using namespace lumivastor;

std::string rewritten(const capture::JournalContent& content) {
    std::string text = capture::journalLine::header() + capture::journalLine::start(content.info, content.geometry);
    if (content.session) text += capture::journalLine::session(content.session->t0Host, content.session->t0Media);
    if (content.webcamFirstPicture) text += capture::journalLine::webcam(*content.webcamFirstPicture);
    if (content.info.pointerKnown) text += capture::journalLine::pointer(*content.info.pointerKnown);
    for (const auto& each : content.pointer.events) text += capture::journalLine::event(each);
    for (const auto& each : content.pointer.cursorImages) text += capture::journalLine::shape(each);
    for (const auto& each : content.pointer.cursorChanges) text += capture::journalLine::cursorChange(each);
    for (const auto& each : content.pauses.list()) text += capture::journalLine::pause(each);
    for (const double each : content.marks) text += capture::journalLine::mark(each);
    for (const auto& each : content.windowTrack) text += capture::journalLine::window(each);
    for (const auto& each : content.displayTrack) text += capture::journalLine::display(each);
    return text + capture::journalLine::counts(content.counts);
}

// A fuzzer hardly ever finds a checksum: lines without one get the right one.
std::string withChecksums(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines += capture::journalLine::checked(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

void tryToRead(std::string_view text) {
    capture::JournalContent content;
    try {
        content = capture::parseJournal(text);
    } catch (const RecorderError&) {
        return;
    }
    content.damagedLines = 0;
    if (capture::parseJournal(rewritten(content)) != content) std::abort();
    for (const auto& image : content.pointer.cursorImages) {
        if (image.file.find("..") != std::string::npos || image.file.starts_with('/')) std::abort();
    }
    const double t0 = content.session ? content.session->t0Host : 0;
    const model::PointerTrack track = capture::pointerTrack(content.pointer, t0, content.geometry, content.windowTrack,
                                                            content.displayTrack, content.pauses);
    // Two more for each pause: where the pointer was, and where it then is.
    const std::size_t most = content.pointer.events.size() + 2 * content.pauses.list().size();
    if (track.events.size() > most) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    tryToRead(text);
    tryToRead(withChecksums(text));
    return 0;
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/pointer_recorder.h"

#include <system_error>
#include <utility>

#include "base/file_replacement.h"
#include "base/log.h"
#include "base/private_folder.h"
#include "base/recorder_error.h"
#include "base/system_error_text.h"
#include "capture/journal/journal.h"
#include "capture/journal/journal_records.h"
#include "capture/planned_info.h"
#include "capture/pointer/cursor_shapes.h"
#include "capture/pointer/pointer_conversion.h"
#include "imaging/png_file.h"

namespace lumivastor::capture {

namespace {

constexpr const char* kCursorFolder = "cursors";

void makeCursorFolder(const std::filesystem::path& folder) {
    std::error_code error;
    makePrivateFolder(folder / kCursorFolder, error);
    if (error) {
        throw RecorderError("Der Ordner „cursors“ kann nicht angelegt werden: " + systemErrorText(error) + ".");
    }
}

void writeCursor(const std::filesystem::path& folder, const std::string& id,
                 const imaging::BgraPremultipliedBuffer& picture) {
    makeCursorFolder(folder);
    const std::filesystem::path file = folder / cursorFile(id);
    // Without waiting for the disk, because the screen is being recorded. `savePointerTrack` waits for all of them.
    if (const std::error_code error = replaceFile(file, imaging::encodedPng(picture), Durability::later)) {
        throw RecorderError("„" + file.filename().string() +
                            "“ konnte nicht geschrieben werden: " + systemErrorText(error) + ".");
    }
}

// The pictures must be on the disk before the document that names them.
void syncCursors(const std::filesystem::path& folder, const model::PointerTrack& track) {
    const auto sync = [&folder](const std::filesystem::path& name) {
        const std::error_code error = syncToDisk(folder / name);
        if (!error || error == std::errc::no_such_file_or_directory) return;
        Log::write("Pointer", name.string() + " ist vielleicht nicht auf dem Datenträger: " + systemErrorText(error));
    };
    for (const model::CursorImage& image : track.cursorImages) {
        if (!image.file.empty()) sync(image.file);
    }
    sync(kCursorFolder);
}

}  // namespace

PointerRecorder::PointerRecorder(const CaptureServices& services, std::filesystem::path folder)
    : services_(services), folder_(std::move(folder)) {}

PointerRecorder::~PointerRecorder() = default;

void PointerRecorder::start(const platform::PointSpace& space, Journal* journal) {
    journal_ = journal;
    scale_ = space.scale;
    monitor_ = services_.desktop.monitorPointer(
        space, [this](const platform::PointerEvent& event) { record(rawEvent(event)); });
    if (!monitor_) Log::write("Pointer", "Globaler Monitor konnte nicht angelegt werden");
    known_ = knownPointer(services_.desktop.pointerKnowledge());
    if (known_ && journal_ != nullptr) journal_->append(journalLine::pointer(*known_));
    if (!known_ || known_ == model::KnownPointer::positions) {
        const Point location = services_.desktop.pointerLocation(space).value_or(Point{space.origin});
        record({services_.hostClock(), location, model::PointerKind::move, {}, {}, {}});
    }
    sampleCursor();
    cursorTimer_ = services_.mainLoop.every(cursorPollInterval, [this] { sampleCursor(); });
    Log::write("Pointer", "Aufzeichnung gestartet");
}

void PointerRecorder::stop() {
    cursorTimer_.reset();
    monitor_.reset();
    Log::write("Pointer", "Aufzeichnung beendet, " + std::to_string(eventCount()) + " Ereignisse");
}

std::int64_t PointerRecorder::eventCount() const {
    const std::lock_guard hold(lock_);
    return static_cast<std::int64_t>(events_.size());
}

std::int64_t PointerRecorder::missingCursorPolls() const {
    const std::lock_guard hold(lock_);
    return missingCursorPolls_;
}

void PointerRecorder::record(const RawEvent& event) {
    {
        const std::lock_guard hold(lock_);
        events_.push_back(event);
    }
    if (journal_ != nullptr) journal_->append(journalLine::event(event));
}

void PointerRecorder::sampleCursor() {
    const double now = services_.hostClock();
    std::optional<platform::SystemCursor> cursor;
    try {
        cursor = services_.desktop.currentCursor(lastSerial_);
    } catch (const RecorderError&) {
        // A server that does not answer neither shows nor hides a cursor: there is nothing to record. The stream
        // reports the error to the owner.
        return;
    }
    std::string id = kHiddenCursorID;
    if (cursor) {
        const auto shape = shapeOf(*cursor);
        if (!shape) return;
        id = *shape;
    } else {
        bool isNew = false;
        {
            const std::lock_guard hold(lock_);
            ++missingCursorPolls_;
            isNew = cursorImages_.try_emplace(id, hiddenCursor()).second;
        }
        if (isNew && journal_ != nullptr) journal_->append(journalLine::shape(hiddenCursor()));
    }
    {
        const std::lock_guard hold(lock_);
        if (lastCursorID_ == id) return;
        cursorChanges_.push_back({now, id});
        lastCursorID_ = id;
    }
    if (journal_ != nullptr) journal_->append(journalLine::cursorChange({now, id}));
}

// The id of a cursor's shape, which is registered if it is new. nullopt when it has no picture.
std::optional<std::string> PointerRecorder::shapeOf(const platform::SystemCursor& cursor) {
    if (lastSerial_ == cursor.serial) return shapeOfLastSerial_;
    if (cursor.image.isEmpty()) return std::nullopt;
    const std::uint64_t fingerprint = cursorFingerprint(cursor);
    std::string id;
    model::CursorImage added;
    {
        const std::lock_guard hold(lock_);
        const auto known = fingerprintToID_.find(fingerprint);
        if (known != fingerprintToID_.end()) {
            id = known->second;
        } else {
            id = "c";
            id += std::to_string(fingerprintToID_.size());
            added = cursorImage(id, cursor, scale_);
            fingerprintToID_[fingerprint] = id;
            cursorImages_[id] = added;
        }
    }
    if (!added.id.empty()) {
        writePicture(id, cursor.image);
        // After its picture, so that a journal never names a missing one.
        if (journal_ != nullptr) journal_->append(journalLine::shape(added));
    }
    lastSerial_ = cursor.serial;
    shapeOfLastSerial_ = id;
    return id;
}

// At once, so that the shape outlives this process; a failed write is repeated when the track is saved.
void PointerRecorder::writePicture(const std::string& id, const imaging::BgraPremultipliedBuffer& picture) {
    try {
        writeCursor(folder_, id, picture);
    } catch (const RecorderError& error) {
        Log::write("Pointer", error.message());
        const std::lock_guard hold(lock_);
        unwrittenPictures_[id] = picture.copy();
    }
}

std::int64_t PointerRecorder::save(const std::filesystem::path& folder, double t0, const model::Geometry& geometry,
                                   const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack,
                                   const Pauses& pauses) {
    RawPointerTrack raw;
    std::map<std::string, imaging::BgraPremultipliedBuffer> pictures;
    {
        const std::lock_guard hold(lock_);
        raw.events = events_;
        raw.cursorChanges = cursorChanges_;
        for (const auto& [id, image] : cursorImages_) raw.cursorImages.push_back(image);
        pictures = std::move(unwrittenPictures_);
    }
    for (const auto& [id, picture] : pictures) writeCursor(folder, id, picture);
    return savePointerTrack(folder, raw, t0, geometry, windowTrack, displayTrack, pauses);
}

std::int64_t savePointerTrack(const std::filesystem::path& folder, const RawPointerTrack& raw, double t0,
                              const model::Geometry& geometry, const std::optional<WindowTrack>& windowTrack,
                              const DisplayTrack& displayTrack, const Pauses& pauses) {
    makeCursorFolder(folder);
    const model::PointerTrack track = pointerTrack(raw, t0, geometry, windowTrack, displayTrack, pauses);
    syncCursors(folder, track);
    track.save(folder);
    Log::write("Pointer", "gesichert: " + std::to_string(track.events.size()) + " Ereignisse, " +
                              std::to_string(track.cursorImages.size()) + " Cursorformen");
    return static_cast<std::int64_t>(track.events.size());
}

}  // namespace lumivastor::capture

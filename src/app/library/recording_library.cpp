// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/library/recording_library.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "app/library/trash.h"
#include "base/after.h"
#include "base/handled_error.h"
#include "base/log.h"
#include "base/thread_priority.h"
#include "render/overview/movie_picture.h"

namespace lumivastor::app {

namespace fs = std::filesystem;

namespace {

// Sizes and pictures arrive one by one; a list that is laid out for each would be slow.
constexpr double kNoticeDelay = 0.05;
constexpr std::size_t kMostWatched = 500;

// Without a slash at the end, so that it has a name.
fs::path plain(const fs::path& path) {
    fs::path normal = path.lexically_normal();
    return normal.has_filename() || !normal.has_relative_path() ? normal : normal.parent_path();
}

bool isGone(const fs::path& place) {
    std::error_code error;
    return fs::status(place, error).type() == fs::file_type::not_found;
}

}  // namespace

RecordingLibrary::RecordingLibrary(MainLoop& loop, Options options)
    : loop_(loop), options_(std::move(options)), cache_(options_.pictureCache) {
    for (const fs::path& place : options_.places) {
        if (place.is_absolute() && !isListedByRoot(plain(place))) places_.push_back(plain(place));
    }
    detailQueue_.async([] { lowerPriorityOfThisThread(); });
}

RecordingLibrary::~RecordingLibrary() {
    stop_.request_stop();
}

std::function<void(std::function<void()>)> RecordingLibrary::toMain() {
    return [&loop = loop_, alive = lifetime_.watch()](std::function<void()> work) {
        loop.async([alive, work = std::move(work)] {
            if (!alive.expired()) work();
        });
    };
}

std::function<bool()> RecordingLibrary::isStopped() const {
    return [stop = stop_.get_token()] { return stop.stop_requested(); };
}

// Reading

void RecordingLibrary::refresh() {
    read(options_.root);
    for (const fs::path& place : places_) read(place);
}

void RecordingLibrary::read(const fs::path& place) {
    if (!reading_.insert(place).second) {
        readsAgain_.insert(place);
        return;
    }
    SerialQueue& queue = place == options_.root ? rootQueue_ : placeQueue_;
    queue.async([this, place, main = toMain(), stopped = isStopped()] {
        FoundRecordings found;
        bool gone = false;
        try {
            found = recordingsIn(place, stopped);
            gone = found.entries.empty() && isGone(place);
        } catch (...) {
            Log::write("Editor", "Aufnahmen nicht gelesen: " + handledError("Unerwarteter Fehler").message());
        }
        main([this, place, found = std::move(found), gone] { placeRead(place, found, gone); });
    });
}

void RecordingLibrary::placeRead(const fs::path& place, FoundRecordings found, bool isGone) {
    reading_.erase(place);
    const bool isRoot = place == options_.root;
    const bool isRemembered = std::find(places_.begin(), places_.end(), place) != places_.end();
    isRead_ = isRead_ || isRoot;
    if (isRoot || (isRemembered && !isGone)) {
        read_[place] = {std::move(found.entries), found.isCut};
    } else {
        read_.erase(place);
    }
    if (!isRoot && isRemembered && isGone) {
        std::vector<fs::path> left = places_;
        std::erase(left, place);
        setPlaces(std::move(left));
    }
    collect();
    learnDetails();
    tell();
    if (readsAgain_.erase(place) > 0) read(place);
}

void RecordingLibrary::collect() {
    std::map<fs::path, RecordingEntry> all;
    isCut_ = false;
    for (const auto& [place, found] : read_) {
        isCut_ = isCut_ || found.isCut;
        for (const RecordingEntry& entry : found.entries) all.try_emplace(entry.folder, entry);
    }
    std::erase_if(details_, [&](const auto& each) { return !all.contains(each.first); });
    entries_.clear();
    for (auto& [folder, entry] : all) {
        if (const auto detail = details_.find(folder); detail != details_.end()) {
            entry.bytes = detail->second.bytes;
            if (entry.state == RecordingState::complete && !detail->second.fault.empty()) {
                entry.state = RecordingState::damaged;
                entry.fault = detail->second.fault;
            }
        }
        const RecordingUse use = useOf(folder);
        entry.isBeingRendered = entry.isBeingRendered || use == RecordingUse::rendered;
        entry.isBeingCompleted = use == RecordingUse::completed;
        entries_.push_back(std::move(entry));
    }
}

// Details

void RecordingLibrary::learnDetails() {
    // The newest are at the top of the list.
    std::vector<const RecordingEntry*> newestFirst;
    for (const RecordingEntry& entry : entries_) newestFirst.push_back(&entry);
    std::stable_sort(newestFirst.begin(), newestFirst.end(), [](const RecordingEntry* a, const RecordingEntry* b) {
        return a->createdAt.value_or(0) > b->createdAt.value_or(0);
    });
    std::vector<const RecordingEntry*> withoutPicture;
    for (const RecordingEntry* entry : newestFirst) {
        Detail& detail = details_[entry->folder];
        const RecordingEntry::Stamp before = std::exchange(detail.stamp, entry->stamp);
        if (before != entry->stamp) learnSize(*entry);
        const bool isOtherMovie =
            before.movieTime != entry->stamp.movieTime || before.movieBytes != entry->stamp.movieBytes;
        if (isOtherMovie) detail.hasPicture = false;
        // What is being written changes all the time.
        const bool isWhole = entry->state == RecordingState::complete || entry->state == RecordingState::damaged;
        if (isWhole && entry->hasMovie && !detail.hasPicture) {
            detail.hasPicture = true;
            withoutPicture.push_back(entry);
        }
    }
    // Sizes first: they take far less time.
    for (const RecordingEntry* entry : withoutPicture) learnPicture(*entry);
}

void RecordingLibrary::learnSize(const RecordingEntry& entry) {
    detailQueue_.async([this, folder = entry.folder, main = toMain(), stopped = isStopped()] {
        const auto bytes = bytesOnDisk(folder, stopped);
        if (!bytes) return;
        main([this, folder, bytes] {
            const auto detail = details_.find(folder);
            if (detail == details_.end() || detail->second.bytes == bytes) return;
            detail->second.bytes = bytes;
            tellSoon();
        });
    });
}

void RecordingLibrary::learnPicture(const RecordingEntry& entry) {
    detailQueue_.async([this, folder = entry.folder, main = toMain(), stopped = isStopped()] {
        if (stopped()) return;
        std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture;
        std::string fault;
        try {
            picture = render::moviePicture(folder / "source.mov", cache_);
        } catch (...) {
            const RecorderError error = handledError("source.mov ist nicht lesbar");
            // A shortage says nothing about the movie.
            if (!isOutOfMemory(error)) fault = error.message();
        }
        main([this, folder, picture, fault] {
            const auto detail = details_.find(folder);
            if (detail == details_.end()) return;
            detail->second.picture = picture;
            detail->second.fault = fault;
            tellSoon();
        });
    });
}

void RecordingLibrary::tell() {
    notice_.reset();
    if (onChange) onChange();
}

void RecordingLibrary::tellSoon() {
    if (notice_) return;
    notice_ = after(loop_, kNoticeDelay, [this] {
        collect();
        tell();
    });
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> RecordingLibrary::picture(const fs::path& folder) const {
    const auto detail = details_.find(folder);
    return detail != details_.end() ? detail->second.picture : nullptr;
}

std::vector<fs::path> RecordingLibrary::watchedFolders() const {
    std::error_code ignored;
    fs::path nearest = options_.root;
    while (nearest.has_relative_path() && !fs::exists(nearest, ignored)) nearest = nearest.parent_path();
    std::vector<fs::path> folders = {nearest};
    folders.insert(folders.end(), places_.begin(), places_.end());
    for (const RecordingEntry& entry : entries_) {
        if (folders.size() >= kMostWatched) break;
        folders.push_back(entry.folder);
    }
    return folders;
}

// Places elsewhere

// The root's recordings lie directly in it.
bool RecordingLibrary::isListedByRoot(const fs::path& folder) const {
    return folder == options_.root || folder.parent_path() == options_.root;
}

void RecordingLibrary::setPlaces(std::vector<fs::path> places) {
    if (places_ == places) return;
    places_ = std::move(places);
    if (options_.placesChanged) options_.placesChanged(places_);
}

void RecordingLibrary::remember(const fs::path& place) {
    const fs::path path = plain(place);
    std::error_code ignored;
    if (!path.is_absolute() || isListedByRoot(path)) return;
    // By another path.
    for (const fs::path& each : {path, path.parent_path()}) {
        if (fs::equivalent(each, options_.root, ignored)) return;
    }
    // A folder that is remembered lists it already.
    for (const fs::path& other : places_) {
        if (other == path.parent_path()) return;
    }
    std::vector<fs::path> places = places_;
    std::erase(places, path);
    places.push_back(path);
    if (places.size() > kMostPlaces) {
        read_.erase(places.front());
        places.erase(places.begin());
    }
    setPlaces(std::move(places));
    read(path);
}

void RecordingLibrary::add(const fs::path& place, std::function<void(std::optional<fs::path>)> completion) {
    const fs::path path = plain(place);
    placeQueue_.async([this, path, completion = std::move(completion), main = toMain(), stopped = isStopped()] {
        std::optional<fs::path> first;
        try {
            const FoundRecordings found = recordingsIn(path, stopped);
            if (!found.entries.empty()) first = found.entries.front().folder;
        } catch (...) {
            Log::write("Editor", "Ordner nicht gelesen: " + handledError("Unerwarteter Fehler").message());
        }
        main([this, path, first, completion] {
            if (first) remember(path);
            completion(first);
        });
    });
}

// Changes on the disk

namespace {

// Read again from the disk: another program may have begun to use it.
std::optional<std::string> refusalOf(const std::optional<RecordingEntry>& now, const fs::path& folder,
                                     RecordingUse use) {
    if (!now) return "„" + folder.filename().string() + "“ gibt es nicht mehr.";
    return useRefusal(*now, use);
}

}  // namespace

RecordingUse RecordingLibrary::useOf(const fs::path& folder) const {
    return options_.useOf ? options_.useOf(folder) : RecordingUse::none;
}

std::optional<std::string> RecordingLibrary::changeRefusal(const fs::path& folder) const {
    if (isChanging(folder)) return "„" + folder.filename().string() + "“ wird gerade verschoben.";
    const auto known = std::find_if(entries_.begin(), entries_.end(),
                                    [&](const RecordingEntry& entry) { return entry.folder == folder; });
    return refusalOf(known == entries_.end() ? std::nullopt : std::optional(*known), folder, useOf(folder));
}

void RecordingLibrary::rename(const fs::path& folder, const std::string& typed,
                              std::function<void(const RenameOutcome& outcome)> completion) {
    const std::string name = trimmedName(typed);
    changing_.insert(folder);
    changeQueue_.async([this, folder, name, use = useOf(folder), completion = std::move(completion), main = toMain()] {
        RenameOutcome outcome = folder;
        try {
            if (name != folder.filename().string()) {
                if (const auto refusal = refusalOf(readRecording(folder), folder, use)) {
                    throw RecorderError(*refusal);
                }
                if (const auto refusal = nameRefusal(name)) throw RecorderError(*refusal);
                outcome = renameFolder(folder, name);
            }
        } catch (...) {
            outcome = handledError("Umbenennen fehlgeschlagen");
        }
        main([this, folder, outcome, completion] {
            changing_.erase(changing_.find(folder));
            if (const auto* now = std::get_if<fs::path>(&outcome); now != nullptr && *now != folder) {
                renamed(folder, *now);
            }
            completion(outcome);
        });
    });
}

// At once, so that the list does not show the old name until it has been read.
void RecordingLibrary::renamed(const fs::path& folder, const fs::path& now) {
    for (auto& [place, found] : read_) {
        for (RecordingEntry& entry : found.entries) {
            if (entry.folder == folder) entry.folder = now;
        }
    }
    if (const auto detail = details_.extract(folder)) {
        Detail kept = detail.mapped();
        // What is still to be learned is on its way to the old name.
        if (!kept.bytes || !kept.picture) kept.stamp = {};
        details_.insert_or_assign(now, std::move(kept));
    }
    if (auto own = read_.extract(folder)) {
        own.key() = now;
        read_.insert(std::move(own));
    }
    std::vector<fs::path> places = places_;
    std::replace(places.begin(), places.end(), folder, now);
    setPlaces(std::move(places));
    collect();
    tell();
    refresh();
}

void RecordingLibrary::moveToTrash(std::vector<fs::path> folders,
                                   std::function<void(const TrashOutcome& outcome)> completion) {
    std::vector<std::pair<fs::path, RecordingUse>> items;
    for (fs::path& folder : folders) {
        changing_.insert(folder);
        const RecordingUse use = useOf(folder);
        items.emplace_back(std::move(folder), use);
    }
    changeQueue_.async([this, items = std::move(items), now = options_.wallClock(), completion = std::move(completion),
                        main = toMain()] {
        TrashOutcome outcome;
        for (const auto& [folder, use] : items) {
            try {
                if (const auto refusal = refusalOf(readRecording(folder), folder, use)) throw RecorderError(*refusal);
                app::moveToTrash(folder, options_.homeTrash, now);
                outcome.moved.push_back(folder);
            } catch (...) {
                outcome.refused.push_back(handledError("In den Papierkorb verschieben fehlgeschlagen"));
            }
        }
        main([this, items, outcome, completion] {
            for (const auto& [folder, use] : items) changing_.erase(changing_.find(folder));
            if (!outcome.moved.empty()) movedToTrash(outcome.moved);
            completion(outcome);
        });
    });
}

void RecordingLibrary::movedToTrash(const std::vector<fs::path>& folders) {
    const auto isGone = [&](const fs::path& folder) {
        return std::find(folders.begin(), folders.end(), folder) != folders.end();
    };
    for (auto& [place, found] : read_) {
        std::erase_if(found.entries, [&](const RecordingEntry& entry) { return isGone(entry.folder); });
    }
    std::vector<fs::path> places = places_;
    std::erase_if(places, isGone);
    setPlaces(std::move(places));
    collect();
    tell();
    refresh();
}

}  // namespace lumivastor::app

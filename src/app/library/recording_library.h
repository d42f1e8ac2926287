// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "app/library/recording_changes.h"
#include "app/library/recording_entry.h"
#include "app/library/recording_scan.h"
#include "base/lifetime.h"
#include "base/main_loop.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "imaging/pixel_buffer.h"
#include "render/overview/overview_cache.h"

namespace lumivastor::app {

/// The recordings that a list shows: those in the root, and those of places elsewhere that were opened or dropped. What
/// is known is there at once; sizes and pictures follow. Nothing here waits for the disk, which may be one that does
/// not answer. Main thread.
class RecordingLibrary {
  public:
    struct Options {
        std::filesystem::path root;
        /// The folder that keeps overviews, and pictures beside them; if empty, they are made again.
        std::filesystem::path pictureCache = {};
        std::filesystem::path homeTrash = {};
        /// What this program does with a recording; `none` unless set.
        std::function<RecordingUse(const std::filesystem::path&)> useOf = {};
        /// The places elsewhere that are remembered, and where they go when they change.
        std::vector<std::filesystem::path> places = {};
        std::function<void(const std::vector<std::filesystem::path>&)> placesChanged = {};
        std::function<std::time_t()> wallClock = [] { return std::time(nullptr); };
    };
    /// The loop outlives this object.
    RecordingLibrary(MainLoop& loop, Options options);
    /// Waits for the folder or the picture that is being read.
    ~RecordingLibrary();
    RecordingLibrary(const RecordingLibrary&) = delete;
    RecordingLibrary& operator=(const RecordingLibrary&) = delete;

    /// `entries` or a picture may have changed.
    std::function<void()> onChange;

    /// Reads everything in the background, and then again if this is called meanwhile.
    void refresh();
    /// Whether the root has been read.
    bool isRead() const { return isRead_; }
    /// Whether there are more folders than the list has room for.
    bool isCut() const { return isCut_; }
    /// In no particular order.
    const std::vector<RecordingEntry>& entries() const { return entries_; }
    /// Null while it is made, and where there is none.
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture(const std::filesystem::path& folder) const;
    const std::filesystem::path& root() const { return options_.root; }
    /// The folders whose changes concern the list: the root or what is there of it, the places, and the recordings.
    std::vector<std::filesystem::path> watchedFolders() const;

    /// No more than so many places elsewhere are remembered; the oldest is forgotten first.
    static constexpr std::size_t kMostPlaces = 30;
    /// Shows a recording, or a folder of them, from now on. Does nothing for what is below the root.
    void remember(const std::filesystem::path& place);
    /// The same for something that was dropped, unless it holds no recording. `completion` gets the first recording
    /// there; it is not called when this object is destroyed before.
    void add(const std::filesystem::path& place, std::function<void(std::optional<std::filesystem::path>)> completion);

    /// Why it can neither be renamed nor go to the trash now, as far as the list knows; nullopt when it can. The
    /// changes themselves look at the disk again.
    std::optional<std::string> changeRefusal(const std::filesystem::path& folder) const;
    /// Whether a change of it is on its way.
    bool isChanging(const std::filesystem::path& folder) const { return changing_.contains(folder); }

    /// The new path, or the sentence for the user.
    using RenameOutcome = std::variant<std::filesystem::path, RecorderError>;
    /// Gives a recording's folder the typed name. `completion` is not called when this object is destroyed before.
    void rename(const std::filesystem::path& folder, const std::string& typed,
                std::function<void(const RenameOutcome& outcome)> completion);
    struct TrashOutcome {
        std::vector<std::filesystem::path> moved;
        /// Why others stay where they are, as sentences for the user.
        std::vector<RecorderError> refused;
    };
    /// Moves each of them to the trash, unless it is in use. `completion` as for `rename`.
    void moveToTrash(std::vector<std::filesystem::path> folders,
                     std::function<void(const TrashOutcome& outcome)> completion);

  private:
    /// What is learned of a recording after it is listed.
    struct Detail {
        RecordingEntry::Stamp stamp;
        std::optional<std::uint64_t> bytes;
        std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture;
        std::string fault;        // of the movie
        bool hasPicture = false;  // it is made, or being made
    };
    struct Place {
        std::vector<RecordingEntry> entries;
        bool isCut = false;
    };

    void read(const std::filesystem::path& place);
    void placeRead(const std::filesystem::path& place, FoundRecordings found, bool isGone);
    void collect();
    void learnDetails();
    void learnSize(const RecordingEntry& entry);
    void learnPicture(const RecordingEntry& entry);
    void tell();
    void tellSoon();
    bool isListedByRoot(const std::filesystem::path& folder) const;
    void setPlaces(std::vector<std::filesystem::path> places);
    void renamed(const std::filesystem::path& folder, const std::filesystem::path& now);
    void movedToTrash(const std::vector<std::filesystem::path>& folders);
    RecordingUse useOf(const std::filesystem::path& folder) const;
    std::function<void(std::function<void()>)> toMain();
    std::function<bool()> isStopped() const;

    MainLoop& loop_;
    const Options options_;
    std::vector<std::filesystem::path> places_;  // elsewhere, the oldest first
    std::map<std::filesystem::path, Place> read_;
    std::map<std::filesystem::path, Detail> details_;
    std::vector<RecordingEntry> entries_;
    bool isRead_ = false;
    bool isCut_ = false;
    std::set<std::filesystem::path> reading_;
    std::set<std::filesystem::path> readsAgain_;  // of those
    std::multiset<std::filesystem::path> changing_;
    std::unique_ptr<MainLoop::Timer> notice_;  // of changes, for several at once
    const render::OverviewCache cache_;
    std::stop_source stop_;
    Lifetime lifetime_;
    // One each, so that a place that does not answer holds up neither the root nor the pictures there.
    SerialQueue rootQueue_{"library.root"};
    SerialQueue placeQueue_{"library.places"};
    SerialQueue changeQueue_{"library.changes"};
    SerialQueue detailQueue_{"library.details"};  // last: their threads use everything above
};

}  // namespace lumivastor::app

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "capture/capture_services.h"
#include "capture/pauses/pauses.h"
#include "capture/pointer/pointer_records.h"
#include "model/capture_geometry.h"
#include "model/capture_info.h"

namespace lumivastor::capture {

class Journal;

/// Records pointer events anywhere on the desktop and, 30 times a second, the shape of the cursor, and finally makes
/// the pointer track. Everything is also written to the recording's journal, and shapes are written to the folder as
/// soon as they appear.
class PointerRecorder {
  public:
    static constexpr double cursorPollInterval = 1.0 / 30;

    /// `folder` is the recording's.
    PointerRecorder(const CaptureServices& services, std::filesystem::path folder);
    /// Main thread.
    ~PointerRecorder();
    PointerRecorder(const PointerRecorder&) = delete;
    PointerRecorder& operator=(const PointerRecorder&) = delete;

    /// Positions and sizes are in points of `space`. `journal` may be null and outlives the recorder. Main thread,
    /// once.
    void start(const platform::PointSpace& space, Journal* journal);
    /// Main thread.
    void stop();

    /// Writes "pointer.json" and the cursor pictures that are not written yet. `t0` is the host clock at the movie's
    /// time zero; `windowTrack` is nullopt unless a window is recorded, `displayTrack` empty unless the display moved.
    /// Returns the number of samples saved. Throws `RecorderError`. Any thread, after `stop`.
    std::int64_t save(const std::filesystem::path& folder, double t0, const model::Geometry& geometry,
                      const std::optional<WindowTrack>& windowTrack, const DisplayTrack& displayTrack = {},
                      const Pauses& pauses = {});

    /// What is known of the pointer; nullopt when everything is. Any thread, after `start`.
    std::optional<model::KnownPointer> known() const { return known_; }

    /// Raw events so far. Any thread.
    std::int64_t eventCount() const;
    /// Polls that found no cursor, without those that the desktop did not answer. Any thread.
    std::int64_t missingCursorPolls() const;

  private:
    void record(const RawEvent& event);
    void sampleCursor();
    std::optional<std::string> shapeOf(const platform::SystemCursor& cursor);
    void writePicture(const std::string& id, const imaging::BgraPremultipliedBuffer& picture);

    const CaptureServices services_;
    const std::filesystem::path folder_;
    // Set once by `start`, before other threads use them.
    Journal* journal_ = nullptr;
    std::optional<model::KnownPointer> known_;

    mutable std::mutex lock_;
    // All of these are guarded by lock_.
    std::vector<RawEvent> events_;
    std::vector<RawCursorChange> cursorChanges_;
    std::map<std::string, model::CursorImage> cursorImages_;
    std::map<std::string, imaging::BgraPremultipliedBuffer>
        unwrittenPictures_;  // by shape; those that could not be written
    std::map<std::uint64_t, std::string> fingerprintToID_;
    std::optional<std::string> lastCursorID_;
    std::int64_t missingCursorPolls_ = 0;

    // Main thread only.
    double scale_ = 1;
    std::optional<std::uint64_t> lastSerial_;
    std::string shapeOfLastSerial_;
    std::unique_ptr<platform::PointerMonitor> monitor_;
    std::unique_ptr<MainLoop::Timer> cursorTimer_;
};

/// Writes "pointer.json" from data that was collected here or by an ended process. Returns the number of samples saved.
std::int64_t savePointerTrack(const std::filesystem::path& folder, const RawPointerTrack& raw, double t0,
                              const model::Geometry& geometry, const std::optional<WindowTrack>& windowTrack,
                              const DisplayTrack& displayTrack, const Pauses& pauses = {});

}  // namespace lumivastor::capture

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

#include "base/unique_descriptor.h"
#include "media/isobmff/fragments.h"
#include "media/writing/movie_sink.h"

namespace lumivastor::media {

/// A QuickTime movie that is readable while it is written (see fragments.h). Packets are collected in memory; a
/// fragment ends when a track's packets span more than the interval, or when the oldest has waited that long by the
/// clock, so that the rare pictures of a still screen are not lost. A separate thread writes fragments and waits for
/// the disk, so encoders wait only while several fragments do.
///
/// Pictures are never reordered here. The file is locked against `repairMovie` while it is open.
class FragmentedMovieSink final : public MovieSink {
  public:
    /// `interval` is more than 0.
    FragmentedMovieSink(std::filesystem::path path, const MediaTime& interval);
    ~FragmentedMovieSink() override;

    bool isFragmented() const override { return true; }
    std::int64_t diskWaits() const override { return diskWaits_; }
    int addStream(const AVCodecParameters& parameters, int timescale, int frameRate) override;
    void begin() override;
    void write(int stream, AVPacket& packet) override;
    void endAt(const MediaTime& end) override;
    void finish() override;
    void close() override;

  private:
    using Clock = std::chrono::steady_clock;
    struct Track {
        TrackHeader header;
        ffmpeg::CodecParametersHandle parameters;
        bool hasStartCodes = false;  // its packets are a byte stream; files have lengths instead
        std::int64_t lastTime = -1;  // of its last sample, in its own time
        FragmentTrack pending;
    };

    void append(Track& track, const AVPacket& packet);
    void cut();
    void cutWhenDue();
    void run();
    void store(const std::vector<std::uint8_t>& block, std::unique_lock<std::mutex>& held);
    void endThread();
    void throwIfFailed() const;
    [[noreturn]] void throwFailed(std::error_code error) const;

    const std::filesystem::path path_;
    const double interval_;  // seconds
    UniqueDescriptor file_;  // written to by thread_ alone between begin and finish
    std::uint64_t fileSize_ = 0;

    std::mutex lock_;               // guards all below
    std::condition_variable wake_;  // for thread_: something to do
    std::condition_variable room_;  // for encoders: fragments have been written
    std::vector<Track> tracks_;
    std::uint32_t nextNumber_ = 1;
    std::size_t pendingBytes_ = 0;
    bool hasPending_ = false;
    Clock::time_point deadline_;  // the latest time to cut what is pending
    std::deque<std::vector<std::uint8_t>> blocks_;
    bool ending_ = false;
    std::error_code error_;
    std::optional<MediaTime> end_;
    std::atomic<std::int64_t> diskWaits_ = 0;
    std::thread thread_;
};

}  // namespace lumivastor::media

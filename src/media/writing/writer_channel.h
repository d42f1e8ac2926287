// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "media/writing/asset_writer.h"

namespace lumivastor::media {

class WriterChannel;

/// The error of a picture encoder.
class EncoderFailure : public RecorderError {
  public:
    using RecorderError::RecorderError;
};

/// The state that a writer and its inputs share.
struct WriterShared {
    enum class Part { encoder, other };

    std::mutex lock;
    AssetWriter::Status status = AssetWriter::Status::unknown;  // guarded by lock
    std::optional<RecorderError> error;                         // guarded by lock; the first one
    bool encoderFailed = false;                                 // guarded by lock; the cause of that error
    bool sessionStarted = false;                                // guarded by lock
    MediaTime sessionStart;                                     // set once before sessionStarted
    std::vector<std::weak_ptr<WriterChannel>> channels;         // complete before writing starts, then only read
    std::unique_ptr<MovieSink> sink;                            // likewise

    /// Keeps the first error and calls every pump, so that it notices.
    void fail(const RecorderError& reason, Part part = Part::other) noexcept;
    /// Calls the pumps of all channels that have become ready.
    void wakePumps() noexcept;
};

/// Turns a track's samples into packets of the movie. Everything but `open` runs on the channel's thread.
class TrackEncoder {
  public:
    virtual ~TrackEncoder() = default;
    /// Opens the encoder and adds the stream; on the thread that starts the writer.
    virtual void open(MovieSink& sink) = 0;
    virtual void finish(MovieSink& sink) = 0;
};

/// The implementation of an input: its queue, its encoder thread, its pump. Shared, because a call of the pump may
/// still wait in the client's queue after the writer's destruction.
///
/// Ending a track, or telling a pump of an error, allocates no memory, so a writer that fails for lack of memory ends
/// like any other. Functions that allocate throw std::bad_alloc before they change anything.
class WriterChannel : public std::enable_shared_from_this<WriterChannel> {
  public:
    WriterChannel(std::shared_ptr<WriterShared> shared, std::string label, int capacity, int realTimeCapacity,
                  std::unique_ptr<TrackEncoder> encoder);

    TrackEncoder& encoder() { return *encoder_; }
    WriterShared& shared() { return *shared_; }

    void setRealTime(bool realTime);
    bool isReady() const;
    void request(SerialQueue& queue, std::function<void()> pump);
    void markAsFinished() noexcept;

    /// Runs `work` on the channel's thread after earlier work. `time` is the sample's, in seconds of the movie. False
    /// when the writer has failed.
    bool enqueue(double time, std::function<void(MovieSink&)> work);

    /// Calls the pump if there is one, no call is under way, and there is room.
    void wakePump() noexcept;

    /// Returns when all earlier work is done.
    void drain() noexcept { thread_.drain(); }

  private:
    bool isReadyLocked() const;
    void runPump();
    template <typename Work>
    void runGuarded(const Work& work) noexcept;

    const std::shared_ptr<WriterShared> shared_;
    const int capacity_;
    const int realTimeCapacity_;
    const std::unique_ptr<TrackEncoder> encoder_;
    // All of these are guarded by shared_->lock.
    bool realTime_ = false;
    bool finished_ = false;
    bool fed_ = false;  // has a pump or has been appended to
    int waiting_ = 0;
    double reached_ = 0;  // seconds of the movie
    SerialQueue* pumpQueue_ = nullptr;
    std::shared_ptr<const std::function<void()>> pump_;
    std::shared_ptr<SerialQueue::Prepared> pumpCall_;       // of pump_, for its queue
    bool pumpCalled_ = false;                               // waits in its queue, or runs
    std::shared_ptr<SerialQueue::Prepared> encoderFinish_;  // handed over once
    SerialQueue thread_;                                    // last: it uses everything above
};

}  // namespace lumivastor::media

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/capture_stream.h"
#include "platform/pictures/capture_buffer_pool.h"
#include "platform/pictures/frame_pacer.h"
#include "platform/pictures/picture_source.h"
#include "platform/sound/stream_sound.h"
#include "platform/sound_system.h"

namespace lumivastor::platform {

/// A capture stream over any picture source: asks the source at every multiple of the frame interval, and at once when
/// content arrives by itself in an interval that has no picture yet. Pictures are taken and delivered by the stream's
/// own thread; sound comes from the sound system.
class PacedCaptureStream : public CaptureStream {
  public:
    /// Opens the source. Runs within `start`, on its thread; throws `RecorderError`.
    using OpenSource = std::function<std::unique_ptr<PictureSource>()>;

    /// `threadName`: as `nameThisThread` takes it.
    PacedCaptureStream(const char* threadName, OpenSource openSource, std::shared_ptr<SoundSystem> sound,
                       const StreamConfiguration& configuration);
    ~PacedCaptureStream() override;
    PacedCaptureStream(const PacedCaptureStream&) = delete;
    PacedCaptureStream& operator=(const PacedCaptureStream&) = delete;

    void addScreenOutput(SerialQueue& queue, std::function<void(const ScreenSample&)> handler) override;
    void addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) override;
    void addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) override;
    void onStop(std::function<void(const RecorderError&)> handler) override;
    void onNotice(std::function<void(const std::string&)> handler) override;
    void onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) override;
    void start() override;
    void stop() override;
    std::int64_t picturesMissed() const override { return picturesMissed_; }

  private:
    enum class Wake { tick, arrival, stop };
    /// A decision of the pacer: at a tick or at the stop.
    using Decision = FramePacer::Action (FramePacer::*)(const FramePacer::Situation&);

    void run();
    Wake waitUntil(double hostSeconds);
    void contentArrived();
    void tick();
    void finish();
    void awaitRoom();
    void update(double now);
    void act(Decision decision, const FramePacer::Situation& situation);
    void takePicture(Decision decision, FramePacer::Situation situation);
    double pictureSeconds(double now) const;
    void deliver(ScreenSample sample);
    void endThread();

    const char* const threadName_;
    const OpenSource openSource_;
    const StreamConfiguration configuration_;
    StreamSound sound_;
    SerialQueue* queue_ = nullptr;
    std::function<void(const ScreenSample&)> handler_;
    std::function<void(const RecorderError&)> stopped_;
    std::function<void(const std::string&)> notice_;
    std::function<void(double, Point)> origin_;

    // Set up by `start`; afterwards only the thread uses them.
    std::unique_ptr<PictureSource> source_;
    std::unique_ptr<CaptureBufferPool> pool_;
    FramePacer pacer_;
    imaging::DamageArea pending_;  // what changed since the last picture
    double lastSeconds_ = 0;       // the time of the last sample with a picture
    double lastTakenAt_ = 0;       // when the last picture was taken
    std::string ended_;            // why the stream ended by itself
    std::atomic<std::int64_t> picturesMissed_ = 0;
    // The number of samples in the queue. Shared with the posted work.
    const std::shared_ptr<std::atomic<int>> waiting_ = std::make_shared<std::atomic<int>>(0);

    std::mutex lock_;
    std::condition_variable wake_;
    bool isStopping_ = false;  // guarded by lock_
    bool hasArrival_ = false;  // guarded by lock_
    std::thread thread_;
};

}  // namespace lumivastor::platform

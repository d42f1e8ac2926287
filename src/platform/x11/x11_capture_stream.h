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
#include "platform/sound/stream_sound.h"
#include "platform/sound_system.h"
#include "platform/x11/picture_source.h"
#include "platform/x11/screen_scales.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {

/// Pictures of an X11 desktop, taken on the stream's own thread ("x11.capture") and connection, and sound from the
/// sound system.
class X11CaptureStream : public platform::CaptureStream {
  public:
    X11CaptureStream(std::string displayName, const ScreenScales& environment,
                     std::shared_ptr<platform::SoundSystem> sound, platform::ContentFilter filter,
                     const platform::StreamConfiguration& configuration);
    ~X11CaptureStream() override;
    X11CaptureStream(const X11CaptureStream&) = delete;
    X11CaptureStream& operator=(const X11CaptureStream&) = delete;

    void addScreenOutput(SerialQueue& queue, std::function<void(const platform::ScreenSample&)> handler) override;
    void addSystemAudioOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override;
    void addMicrophoneOutput(SerialQueue& queue, std::function<void(const platform::SoundBuffer&)> handler) override;
    void onStop(std::function<void(const RecorderError&)> handler) override;
    void onNotice(std::function<void(const std::string&)> handler) override;
    void onDisplayOrigin(std::function<void(double hostSeconds, Point pixels)> handler) override;
    void start() override;
    void stop() override;

  private:
    std::unique_ptr<PictureSource> openSource() const;
    void run();
    bool waitUntil(double hostSeconds);
    void tick();
    void finish();
    void update(double now);
    /// A decision of the pacer: at a tick or at the stop.
    using Decision = platform::FramePacer::Action (platform::FramePacer::*)(const platform::FramePacer::Situation&);
    void act(Decision decision, const platform::FramePacer::Situation& situation);
    void takePicture(Decision decision, platform::FramePacer::Situation situation);
    void deliver(platform::FrameStatus status, double hostSeconds,
                 std::shared_ptr<const imaging::BgraPremultipliedBuffer> image);
    void endThread();

    const std::string displayName_;
    const ScreenScales environment_;
    const platform::ContentFilter filter_;
    const platform::StreamConfiguration configuration_;
    platform::StreamSound sound_;
    SerialQueue* queue_ = nullptr;
    std::function<void(const platform::ScreenSample&)> handler_;
    std::function<void(const RecorderError&)> stopped_;
    std::function<void(const std::string&)> notice_;
    std::function<void(double, Point)> origin_;

    // Set up by `start`; afterwards only the thread uses them.
    std::unique_ptr<XConnection> connection_;
    std::unique_ptr<PictureSource> source_;
    std::unique_ptr<platform::CaptureBufferPool> pool_;
    platform::FramePacer pacer_;
    platform::DamageArea pending_;  // what changed since the last picture
    std::string ended_;             // why the stream ended by itself
    // The number of samples in the queue. Shared with the posted work.
    const std::shared_ptr<std::atomic<int>> waiting_ = std::make_shared<std::atomic<int>>(0);

    std::mutex lock_;
    std::condition_variable wake_;
    bool isStopping_ = false;  // guarded by lock_
    std::thread thread_;
};

}  // namespace lumivastor::x11

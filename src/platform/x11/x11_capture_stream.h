#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "platform/capture_stream.h"
#include "platform/pictures/frame_pacer.h"
#include "platform/pictures/picture_store.h"
#include "platform/sound/stream_sound.h"
#include "platform/sound_system.h"
#include "platform/x11/picture_source.h"
#include "platform/x11/screen_scales.h"
#include "platform/x11/x_connection.h"

namespace lumivastor {

/// Pictures of an X11 desktop, taken on a thread and over a connection of its own, and sound from the sound system.
class X11CaptureStream : public CaptureStream {
  public:
    X11CaptureStream(std::string displayName, const ScreenScales& environment, std::shared_ptr<SoundSystem> sound,
                     ContentFilter filter, const StreamConfiguration& configuration);
    ~X11CaptureStream() override;
    X11CaptureStream(const X11CaptureStream&) = delete;
    X11CaptureStream& operator=(const X11CaptureStream&) = delete;

    void addScreenOutput(SerialQueue& queue, std::function<void(const ScreenSample&)> handler) override;
    void addSystemAudioOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) override;
    void addMicrophoneOutput(SerialQueue& queue, std::function<void(const SoundBuffer&)> handler) override;
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
    /// What the pacer decides: at a tick or at the stop.
    using Decision = FramePacer::Action (FramePacer::*)(const FramePacer::Situation&);
    void act(Decision decision, const FramePacer::Situation& situation);
    void takePicture(Decision decision, FramePacer::Situation situation);
    void deliver(FrameStatus status, double hostSeconds, std::shared_ptr<const BgraPremultipliedBuffer> image);
    void endThread();

    const std::string displayName_;
    const ScreenScales environment_;
    const ContentFilter filter_;
    const StreamConfiguration configuration_;
    StreamSound sound_;
    SerialQueue* queue_ = nullptr;
    std::function<void(const ScreenSample&)> handler_;
    std::function<void(const RecorderError&)> stopped_;
    std::function<void(const std::string&)> notice_;
    std::function<void(double, Point)> origin_;

    // Set up by `start`, then the thread's.
    std::unique_ptr<XConnection> connection_;
    std::unique_ptr<PictureSource> source_;
    std::unique_ptr<PictureStore> store_;
    FramePacer pacer_;
    DamageArea pending_;  // what changed since the last picture
    std::string ended_;   // why the stream ended by itself
    // Samples in the queue. Shared with the work that waits there.
    const std::shared_ptr<std::atomic<int>> waiting_ = std::make_shared<std::atomic<int>>(0);

    std::mutex lock_;
    std::condition_variable wake_;
    bool isStopping_ = false;  // guarded by lock_
    std::thread thread_;
};

}  // namespace lumivastor

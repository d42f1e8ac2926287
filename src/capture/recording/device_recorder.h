// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "base/serial_queue.h"
#include "capture/capture_services.h"
#include "capture/pauses/sound_pieces.h"
#include "capture/recording/fitted_picture.h"
#include "capture/recording/recorder_notifier.h"
#include "capture/recording/recorder_run.h"
#include "capture/recording/recording_files.h"
#include "capture/recording/recording_job.h"
#include "capture/recording/source_movie.h"
#include "model/capture_info.h"

namespace lumivastor::capture {

/// The size at which a device is recorded: that of its first picture, rounded down to even numbers.
PixelSize deviceSize(int pictureWidth, int pictureHeight);

/// The end of a device's movie: now, because a device without new content sends nothing; never before its last sample.
MediaTime deviceEndTime(const MediaTime& now, const MediaTime& lastPTS);

/// Records the screen of an external device (a capture card) into a recording folder like that of a screen:
/// "source.mov" with the device's picture, its sound if it has any, and the microphone; an empty pointer track; and the
/// webcam beside it. The movie begins with the first picture, because its size is not known before.
class DeviceRecorder final : public RecordingJob {
  public:
    struct Options {
        bool microphone = false;
        bool webcam = false;
        /// The device's own.
        bool sound = true;
    };

    /// Requests access on desktops that hide external devices from programs until they request it; no effect here.
    static void enableScreenCaptureDevices();
    /// The devices that deliver the screen of another machine, in the system's order.
    static std::vector<platform::CaptureDevice> availableDevices(platform::CaptureDevices& devices);

    DeviceRecorder(const RecordingServices& services, platform::CaptureDevice device, Options options,
                   std::filesystem::path folder);
    /// Ends a recording that was not stopped; its folder is then as after a crash, and a recovery can complete it.
    ~DeviceRecorder() override;

    void onStreamError(std::function<void(const RecorderError&)> handler) override {
        notifier_.onError(std::move(handler));
    }
    void onNotice(std::function<void(const std::string&)> handler) override { notifier_.onNotice(std::move(handler)); }
    void onSlowStep(std::function<void(const std::string&)> handler) override { run_.onSlowStep(std::move(handler)); }

    /// Opens the devices, which may take seconds; they start in the background. Throws `RecorderError`; nothing is left
    /// in the folder then.
    void start();
    void start(StartCompletion completion) override;

    /// If nothing was recorded, the completion gets the reason, and neither folder nor movies are left.
    void stop(StopCompletion completion) override;

    void pause(PauseCause cause) override;
    void resume() override;
    bool isPaused() const override { return files_.pauses()->isPaused(); }

    int mark() override { return running_ && !run_.isStopped() ? files_.mark() : 0; }

    Stats snapshot() const override;
    RecordingHealth health() const override;
    const std::filesystem::path& folder() const override { return files_.folder(); }
    const std::string& deviceName() const { return device_.name; }
    std::shared_ptr<WebcamPreview> webcamPreviewLayer() const override { return files_.webcamPreviewLayer(); }

  private:
    /// The newest picture of a pause, for the time where the pause lies.
    struct UnseenPicture {
        using Image = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;
        Image image;
        MediaTime time;
    };

    // The steps of a start, in order; the last belongs to the main thread, the others may run on any.
    RecorderRun::Start startSteps();
    void openDevice();
    void openMicrophone();
    void startWebcam();
    void chooseExpectedEncoder();
    void begin();
    void discard();

    void handlePicture(const platform::DeviceSample& sample);
    void handleSound(SourceMovie::SoundTrack track, const platform::SoundBuffer& sound);
    void take(const UnseenPicture::Image& image, MediaTime time);
    void takeUnseen();
    bool openMovieIfNeeded(const imaging::BgraPremultipliedBuffer& firstPicture);
    void openMovie();
    bool isMovieOpen() const;
    bool beginSessionIfNeeded(const MediaTime& time);

    void check();
    SpaceNeed spaceNeed() const;

    void stopSessions();
    Stats finish();
    void discardUnlessRecoverable();
    model::CaptureInfo info() const;

    const RecordingServices services_;
    const platform::CaptureDevice device_;
    const Options options_;
    RecorderNotifier notifier_{services_.mainLoop, "Device"};
    RecordingFiles files_;
    SourceMovie movie_;
    std::array<SoundCutter, 2> cutters_;  // by track, each for its own thread

    mutable std::mutex lock_;
    bool isMovieOpen_ = false;              // guarded by lock_; from then on the movie and the journal exist
    std::optional<RecorderError> noMovie_;  // why there is none; the device queue's, `finish`'s after that queue's end

    bool hasDeviceAudio_ = false;
    PixelSize size_;
    std::optional<PictureFitter> fitter_;                 // the device queue's
    std::optional<UnseenPicture> unseen_;                 // the device queue's; delivered in a pause
    MediaTime lastPictureTime_;                           // the device queue's
    std::optional<media::EncoderChoice> expectedChoice_;  // for the format that the device reported; set before it runs
    PixelSize expectedSize_;

    std::unique_ptr<platform::CaptureSession> session_;
    std::unique_ptr<platform::CaptureSession> micSession_;
    bool running_ = false;

    // The queues end before what their work uses.
    SerialQueue queue_{"lumivastor.device"};
    SerialQueue micQueue_{"lumivastor.device.mic"};
    RecorderRun run_{services_.mainLoop, notifier_, "lumivastor.device.work"};
};

}  // namespace lumivastor::capture

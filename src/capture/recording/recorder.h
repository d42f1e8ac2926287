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

#include "base/serial_queue.h"
#include "capture/capture_plan.h"
#include "capture/capture_services.h"
#include "capture/pauses/sound_pieces.h"
#include "capture/recording/appended_damage.h"
#include "capture/recording/pointer_recorder.h"
#include "capture/recording/recorder_notifier.h"
#include "capture/recording/recorder_run.h"
#include "capture/recording/recording_files.h"
#include "capture/recording/recording_job.h"
#include "capture/recording/source_movie.h"
#include "capture/recording/waiting_picture.h"
#include "capture/recording/window_frame_tracker.h"

namespace lumivastor::capture {

/// Records a display, a region of it or a window into "source.mov" of a recording folder, with system sound and
/// microphone if requested, and controls what is recorded beside it: pointer, window frame, webcam. Start and stop it
/// once.
class Recorder final : public RecordingJob {
  public:
    using Source = CaptureSource;
    using Options = CaptureOptions;

    Recorder(const CaptureServices& services, Options options, std::filesystem::path folder);
    /// Ends a recording that was not stopped; its folder is then as after a crash, and a recovery can complete it.
    ~Recorder() override;

    void onStreamError(std::function<void(const RecorderError&)> handler) override {
        notifier_.onError(std::move(handler));
    }
    void onNotice(std::function<void(const std::string&)> handler) override { notifier_.onNotice(std::move(handler)); }
    void onSlowStep(std::function<void(const std::string&)> handler) override { run_.onSlowStep(std::move(handler)); }

    /// Prepares everything and starts capture. Blocks, for a second or two if the encoder is not chosen yet. Throws
    /// `RecorderError`; nothing is left in the folder then.
    void start();
    void start(StartCompletion completion) override;

    /// If no start has succeeded, the completion gets an error that says so. A recording of sound alone is kept, too.
    /// If the movie's writer failed, what it had written is completed and kept, `onNotice` reports that, and the
    /// completion still gets `Stats`.
    void stop(StopCompletion completion) override;

    void pause(PauseCause cause) override;
    void resume() override { files_.resume(); }
    bool isPaused() const override { return files_.pauses()->isPaused(); }

    int mark() override { return stream_ && !run_.isStopped() ? files_.mark() : 0; }

    Stats snapshot() const override;
    RecordingHealth health() const override;
    const std::filesystem::path& folder() const override { return files_.folder(); }
    std::shared_ptr<WebcamPreview> webcamPreviewLayer() const override { return files_.webcamPreviewLayer(); }

  private:
    /// The newest picture of a pause, for the time where the pause lies. Like a waiting one it is not owned.
    struct UnseenPicture {
        std::weak_ptr<const imaging::BgraPremultipliedBuffer> image;
        MediaTime time;
        std::uint64_t number = 0;
    };

    // The steps of a start, in order. Steps that wait for devices or encoders may run on any thread.
    RecorderRun::Start startSteps();
    void prepare();
    void startTracker();
    void startWebcam();
    void startPointer();
    void startCapture();
    void abandon();
    void openMovie();
    void makeStream();

    void handleScreen(const platform::ScreenSample& sample);
    void handleSound(SourceMovie::SoundTrack track, const platform::SoundBuffer& sound);
    void handleDisplayOrigin(double hostSeconds, Point pixels);
    bool beginSessionIfNeeded(const MediaTime& time);
    void take(const WaitingPicture::Picture& picture);
    void takeUnseen();
    void appendWaiting(const MediaTime& now);
    void appendRest();
    void append(const WaitingPicture::Picture& picture);

    void check();
    JournalCounts counts() const;
    SpaceNeed spaceNeed() const;

    void stopCapture();
    Stats finish();
    void discardFolder();

    const CaptureServices services_;
    const Options options_;
    RecorderNotifier notifier_{services_.mainLoop, "Capture"};
    RecordingFiles files_;
    const std::unique_ptr<PointerRecorder> pointer_;
    std::unique_ptr<WindowFrameTracker> windowTracker_;
    std::optional<CapturePlan> plan_;
    double bytesPerSecond_ = 0;
    bool abandoned_ = false;  // main thread only: the start has failed

    mutable std::mutex lock_;
    DisplayTrack displayTrack_;  // guarded by lock_

    SourceMovie movie_;
    std::array<SoundCutter, 2> cutters_;   // by track, each for its own thread
    WaitingPicture::Image lastPicture_;    // the video queue's
    WaitingPicture waiting_;               // the video queue's
    std::optional<UnseenPicture> unseen_;  // the video queue's; delivered in a pause
    MediaTime lastPictureTime_;            // the video queue's
    AppendedDamage damage_;                // the video queue's
    std::unique_ptr<platform::CaptureStream> stream_;

    // The queues end before what their work uses.
    SerialQueue videoQueue_{"aufnahme.capture.video"};
    SerialQueue systemAudioQueue_{"aufnahme.capture.systemaudio"};
    SerialQueue microphoneQueue_{"aufnahme.capture.microphone"};
    RecorderRun run_{services_.mainLoop, notifier_, "aufnahme.capture.work"};
};

}  // namespace lumivastor::capture

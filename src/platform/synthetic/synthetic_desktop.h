// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/desktop.h"

namespace lumivastor::synthetic {

/// A desktop that a test drives by hand, without a display server and without waiting. The test emits every event with
/// the times that it chooses.
///
/// The `emit` functions return when the handlers have run; they must not be called from inside a handler. Any thread.
class SyntheticDesktop : public platform::Desktop {
  public:
    SyntheticDesktop();
    ~SyntheticDesktop() override;

    // What the desktop answers.

    void setContent(platform::ShareableContent content);
    /// Listing the content throws this from now on; nullopt makes it succeed again.
    void failContent(const std::optional<RecorderError>& error);
    /// The same with something else that a library throws.
    void failContent(std::exception_ptr error);
    /// The cursor for the next calls; nullopt hides it.
    void setCursor(std::optional<platform::SystemCursor> cursor);
    /// Asking for the cursor throws this from now on; nullopt makes it succeed again.
    void failCursor(std::optional<RecorderError> error);
    /// Returned unchanged for every point space.
    void setPointerLocation(std::optional<Point> location);
    void setWindowFrame(std::uint32_t windowID, std::optional<Rect> frame);
    /// Everything unless set.
    void setPointerKnowledge(platform::PointerKnowledge knowledge);
    /// Without, `monitorPointer` returns null.
    void setPointerCanBeWatched(bool can);

    /// The desktop has a dialog of its own from now on; what `pick` asks waits for `answerPick`.
    void setPicker(const platform::ContentPicker::Offer& offer);

    // What happens. Samples and sound go to the stream that was made last, while it runs and has an output for them.

    void emitScreen(const platform::ScreenSample& sample);
    void emitSystemAudio(const platform::SoundBuffer& sound);
    void emitMicrophone(const platform::SoundBuffer& sound);
    /// The stream ends by itself. Without effect unless it runs.
    void emitStop(const RecorderError& error);
    /// So many pictures of moving content could not be taken so far.
    void setPicturesMissed(std::int64_t count);
    void emitNotice(const std::string& notice);
    /// The captured display begins here from now on, in the desktop's pixels.
    void emitDisplayOrigin(double hostSeconds, Point pixels);
    /// Goes unchanged to every pointer monitor.
    void emitPointer(const platform::PointerEvent& event);

    /// The user's answer to the open dialog: a display or window, which is all that the desktop lists then, or an
    /// error.
    using PickAnswer = std::variant<platform::Display, platform::Window, RecorderError, std::exception_ptr>;
    void answerPick(PickAnswer answer);
    /// What a granted display shows before it is recorded; nullopt: nothing comes.
    void setStillPicture(std::optional<imaging::BgraPremultipliedBuffer> picture);
    /// The user takes a grant back that is not recorded yet.
    void endSharing();

    /// Starting or stopping a stream throws this from now on; nullopt makes it succeed again.
    void failStart(std::optional<RecorderError> error);
    void failStop(std::optional<RecorderError> error);
    /// Run inside `start` and `stop` of a stream while it counts as running, on the caller's thread: the place to emit
    /// a first and a last picture.
    void atStart(std::function<void()> work);
    void atStop(std::function<void()> work);

    // What was asked of the desktop.

    bool isStreamRunning() const;
    /// Of the stream that was made last.
    std::optional<platform::ContentFilter> filter() const;
    std::optional<platform::StreamConfiguration> configuration() const;
    bool hasSystemAudioOutput() const;
    bool hasMicrophoneOutput() const;
    /// What the open dialog was asked for; nullopt when none is open.
    std::optional<platform::ContentPicker::Request> openPick() const;
    /// How often a grant was given back.
    int releaseCount() const;
    /// Of the monitor that was made last.
    std::optional<platform::PointSpace> monitorSpace() const;
    int monitorCount() const;
    /// "monitorPointer", "endMonitor", "startStream", "stopStream", in the order in which they came.
    std::vector<std::string> calls() const;

    platform::ShareableContent shareableContent() override;
    std::unique_ptr<platform::CaptureStream> makeCaptureStream(
        const platform::ContentFilter& filter, const platform::StreamConfiguration& configuration) override;
    std::unique_ptr<platform::PointerMonitor> monitorPointer(const platform::PointSpace& space,
                                                             platform::PointerEventHandler handler) override;
    std::optional<Point> pointerLocation(const platform::PointSpace& space) override;
    platform::PointerKnowledge pointerKnowledge() override;
    std::optional<platform::SystemCursor> currentCursor(std::optional<std::uint64_t> knownSerial) override;
    std::optional<Rect> windowFrame(std::uint32_t windowID, const platform::PointSpace& space) override;
    platform::ContentPicker* contentPicker() override;

  private:
    struct State;
    class Picker;
    class Stream;
    class Monitor;

    const std::shared_ptr<State> state_;  // streams and monitors may outlive the desktop
    std::unique_ptr<Picker> picker_;      // null: lists
};

}  // namespace lumivastor::synthetic

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "base/geometry.h"
#include "platform/content_picker.h"
#include "platform/pipewire/pipewire_connection.h"
#include "platform/pipewire/screen_stream.h"
#include "platform/wayland/pointer_hub.h"
#include "platform/wayland/portal_connection.h"
#include "platform/wayland/portal_screencast.h"
#include "platform/wayland/screen_canvas.h"
#include "platform/wayland/screen_copier.h"

namespace lumivastor::wayland {

/// How a recording knows the pointer when its stream has it in this mode.
platform::PointerKnowledge knowledgeOf(CursorMode mode);

/// A display or window that the user has allowed to record, and its live stream, read by a thread of its own
/// ("wayland.stream"). The permission ends with this object. Any thread.
class GrantedScreen {
  public:
    struct Options {
        PortalSession::Options session;
        int maximumRate = 60;
    };

    /// Waits until the user has chosen and the stream tells its size. Null when `cancel` was called on the connection.
    /// Throws as `PortalSession::open` does, and `RecorderError` when the desktop sends no stream. From here on only
    /// the granted screen uses the connection, except for `cancel`.
    static std::unique_ptr<GrantedScreen> open(std::shared_ptr<PortalConnection> portal, const Options& options);

    ~GrantedScreen();
    GrantedScreen(const GrantedScreen&) = delete;
    GrantedScreen& operator=(const GrantedScreen&) = delete;

    const PortalSession& session() const { return *session_; }
    /// The size in pixels that the stream's buffers had when it was granted. The pictures in them may be smaller, or
    /// turned; the canvas has the first one, if it has come.
    PixelSize size() const { return size_; }

    ScreenCanvas& canvas() { return canvas_; }
    PointerHub& pointerHub() { return pointer_; }

    /// Fills the canvas from copies until the stream sends pictures of its own. Once.
    void useCopier(std::unique_ptr<ScreenCopier> copier);

    /// Why no picture can follow, as a German sentence; nullopt while pictures are possible.
    std::optional<std::string> ended() const;

  private:
    explicit GrantedScreen(std::shared_ptr<PortalConnection> portal) : portal_(std::move(portal)) {}

    void run(const Options& options, std::promise<void> opened);
    void openStream(const Options& options);
    void turn();
    void copyFirstPicture();
    void end(const std::string& reason);

    const std::shared_ptr<PortalConnection> portal_;
    std::unique_ptr<PortalSession> session_;
    PixelSize size_;
    ScreenCanvas canvas_;
    PointerHub pointer_;
    // Only the thread uses these.
    std::unique_ptr<pipewire::PipeWireConnection> connection_;
    std::unique_ptr<pipewire::ScreenStream> stream_;
    std::optional<std::string> streamEnd_;  // why the stream ended
    double copiedFrom_ = 0;                 // host seconds of the first copy
    double copiedAt_ = 0;                   // and of the last one

    mutable std::mutex lock_;
    std::unique_ptr<ScreenCopier> copier_;  // guarded by lock_; null once it is not needed any more
    std::optional<std::string> ended_;      // guarded by lock_
    std::atomic<bool> isStopping_ = false;
    std::thread thread_;
};

}  // namespace lumivastor::wayland

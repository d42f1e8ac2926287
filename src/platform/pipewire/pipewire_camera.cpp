// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_camera.h"

#include <algorithm>
#include <utility>

#include "base/host_clock.h"
#include "base/precondition.h"
#include "base/recorder_error.h"
#include "base/thread_name.h"
#include "platform/pipewire/camera_stream.h"
#include "platform/pipewire/pipewire_connection.h"

namespace lumivastor::pipewire {
namespace {

constexpr double kConnectSeconds = 3;
constexpr double kProbeSeconds = 1;
// How long the thread waits for a picture before it looks whether it is to stop.
constexpr double kSlice = 0.05;
// Some cameras take seconds until their first picture.
constexpr double kSilence = 8;
// A node that has just come may not have told its formats yet.
constexpr PixelSize kUnknownSize{1280, 720};

}  // namespace

std::vector<platform::CaptureDevice> findPipeWireCameras(
    const std::string& remote, const std::function<bool(const std::string& description)>& isCamera) {
    std::vector<platform::CaptureDevice> found;
    try {
        const PipeWireConnection connection(remote, kProbeSeconds);
        const auto preferred = connection.defaultName("video.source");
        for (const PipeWireConnection::Node& node : connection.nodes()) {
            if (node.mediaClass != "Video/Source" || !isCamera(node.description)) continue;
            platform::CaptureDevice camera{node.name, node.description};
            camera.isDefault = node.name == preferred;
            found.insert(camera.isDefault ? found.begin() : found.end(), std::move(camera));
        }
    } catch (const RecorderError&) {
        // Without a server there are none.
    }
    return found;
}

PipeWireCameraSession::PipeWireCameraSession(std::string remote, std::string node, std::string name)
    : remote_(std::move(remote)), node_(std::move(node)), name_(std::move(name)) {
    PipeWireConnection connection(remote_, kConnectSeconds);
    const auto found = connection.node(node_);
    if (!found) throw RecorderError("Die Kamera „" + name_ + "“ ist nicht mehr angeschlossen.");
    sizes_ = askForCameraSizes(connection, found->id);
}

PipeWireCameraSession::~PipeWireCameraSession() {
    stopRunning();
}

bool PipeWireCameraSession::canSetPreset(PixelSize size) const {
    return std::any_of(sizes_.begin(), sizes_.end(), [size](const CameraSizes& sizes) { return sizes.contains(size); });
}

void PipeWireCameraSession::setPreset(PixelSize size) {
    precondition(canSetPreset(size), "a preset that the camera has");
    preset_ = size;
}

PixelSize PipeWireCameraSession::activeFormat() const {
    return sizes_.empty() ? kUnknownSize : sizes_.front().maximum;
}

bool PipeWireCameraSession::addVideoOutput(SerialQueue& queue, bool discardsLate,
                                           std::function<void(const platform::DeviceSample&)> handler) {
    outputs_.setVideo(queue, discardsLate, std::move(handler));
    return true;
}

void PipeWireCameraSession::onInterruption(std::function<void(const std::string&)> handler) {
    interrupted_ = std::move(handler);
}

void PipeWireCameraSession::startRunning() {
    precondition(!thread_.joinable(), "a session runs once");
    thread_ = std::thread([this] {
        nameThisThread("pipewire.camera");
        std::string trouble;
        try {
            run();
        } catch (const RecorderError& error) {
            trouble = error.message();
        }
        if (!trouble.empty() && interrupted_) interrupted_(trouble);
    });
}

void PipeWireCameraSession::stopRunning() {
    if (!thread_.joinable()) return;
    stopping_ = true;
    thread_.join();
}

void PipeWireCameraSession::run() {
    const std::string gone = "Die Kamera „" + name_ + "“ wurde getrennt.";
    PipeWireConnection connection(remote_, kConnectSeconds);
    const auto node = connection.node(node_);
    if (!node) throw RecorderError(gone);
    double seen = hostClockSeconds();
    // Without a preset it must deliver what `activeFormat` promised.
    CameraStream stream(connection, *node, preset_ ? *preset_ : activeFormat(),
                        [this, &seen](platform::DeviceSample sample) {
                            seen = hostClockSeconds();
                            outputs_.deliver(std::move(sample));
                        });
    while (!stopping_) {
        connection.run(kSlice);
        if (stream.isBroken() || !connection.isAlive() || !connection.hasNode(node->id)) throw RecorderError(gone);
        if (hostClockSeconds() > seen + kSilence) {
            throw RecorderError("Die Kamera „" + name_ + "“ liefert keine Bilder.");
        }
    }
}

}  // namespace lumivastor::pipewire

// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/x11_capture_stream.h"

#include <utility>
#include <variant>

#include "base/recorder_error.h"
#include "platform/pictures/paced_capture_stream.h"
#include "platform/pictures/picture_source.h"
#include "platform/x11/display_source.h"
#include "platform/x11/window_source.h"
#include "platform/x11/x_connection.h"

namespace lumivastor::x11 {
namespace {

std::unique_ptr<platform::PictureSource> openOn(const XConnection& connection, const ScreenScales& environment,
                                                const platform::ContentFilter& filter,
                                                const platform::StreamConfiguration& configuration) {
    if (const auto* display = std::get_if<platform::DisplayFilter>(&filter)) {
        return std::make_unique<DisplaySource>(connection, *display, configuration, environment);
    }
    return std::make_unique<WindowSource>(connection, std::get<platform::WindowFilter>(filter).window.id,
                                          configuration);
}

// A display or a window with the connection it is read over. No call raises SIGPIPE when the server is gone.
class ConnectedSource final : public platform::PictureSource {
  public:
    ConnectedSource(const std::string& displayName, const ScreenScales& environment,
                    const platform::ContentFilter& filter, const platform::StreamConfiguration& configuration) {
        const BrokenPipeGuard guard;
        connection_ = std::make_unique<XConnection>(displayName);
        if (!connection_->hasDamage()) {
            throw RecorderError(
                "Dem Bildschirmserver fehlt die Erweiterung DAMAGE, ohne die sich der Bildschirm nicht aufnehmen "
                "lässt.");
        }
        if (!connection_->hasUsualPixels()) {
            throw RecorderError("Der Bildschirm lässt sich nur mit 24 Bit Farbtiefe aufnehmen.");
        }
        source_ = openOn(*connection_, environment, filter, configuration);
    }
    ~ConnectedSource() override {
        const BrokenPipeGuard guard;
        source_.reset();
        connection_.reset();
    }
    ConnectedSource(const ConnectedSource&) = delete;
    ConnectedSource& operator=(const ConnectedSource&) = delete;

    void update(imaging::DamageArea& damage) override {
        const BrokenPipeGuard guard;
        source_->update(damage);
    }
    bool isHidden() const override { return source_->isHidden(); }
    std::optional<std::string> ended() const override {
        if (connection_->isBroken()) return "Die Verbindung zum Bildschirm ist abgerissen.";
        return source_->ended();
    }
    std::optional<Point> takeOrigin() override { return source_->takeOrigin(); }
    std::optional<std::string> takeNotice() override { return source_->takeNotice(); }
    bool paint(imaging::DamageArea& damage, imaging::BgraPremultipliedBuffer& picture) override {
        const BrokenPipeGuard guard;
        return source_->paint(damage, picture);
    }

  private:
    std::unique_ptr<XConnection> connection_;
    std::unique_ptr<PictureSource> source_;
};

}  // namespace

std::unique_ptr<platform::CaptureStream> makeX11CaptureStream(const std::string& displayName,
                                                              const ScreenScales& environment,
                                                              std::shared_ptr<platform::SoundSystem> sound,
                                                              const platform::ContentFilter& filter,
                                                              const platform::StreamConfiguration& configuration) {
    const auto open = [=] {
        return std::make_unique<ConnectedSource>(displayName, environment, filter, configuration);
    };
    return std::make_unique<platform::PacedCaptureStream>("x11.capture", open, std::move(sound), configuration);
}

}  // namespace lumivastor::x11

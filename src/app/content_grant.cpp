// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/content_grant.h"

#include <utility>

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::app {

namespace {

/// How long a desktop may take to send a first picture.
constexpr double kFirstPictureSeconds = 2;

ContentGrant::Kind kindOf(const ContentGrant::Content& content) {
    return std::holds_alternative<platform::Display>(content) ? ContentGrant::Kind::display
                                                              : ContentGrant::Kind::window;
}

}  // namespace

ContentGrant::~ContentGrant() {
    cancel();
}

void ContentGrant::ask(const platform::ContentPicker::Request& request,
                       std::function<void(const Outcome&)> completion) {
    stop_ = {};
    held_.reset();
    queue_.async(
        [this, request, completion = std::move(completion), stop = stop_.get_token(), alive = lifetime_.watch()] {
            Outcome outcome;
            try {
                outcome = services_.desktop.contentPicker()->pick(request, stop);
            } catch (...) {
                outcome = handledError("Unerwarteter Fehler");
            }
            services_.mainLoop.async([this, outcome, completion, alive] {
                if (alive.expired()) return;
                if (const auto* content = std::get_if<std::optional<Content>>(&outcome)) held_ = *content;
                completion(outcome);
            });
        });
}

void ContentGrant::askForShortcut(std::function<void()> pressed, std::vector<platform::FurtherKeys> further,
                                  std::function<void(std::shared_ptr<platform::GlobalShortcut>)> completion) {
    stop_ = {};
    queue_.async([this, pressed = std::move(pressed), further = std::move(further), completion = std::move(completion),
                  stop = stop_.get_token(), alive = lifetime_.watch()] {
        std::shared_ptr<platform::GlobalShortcut> shortcut;
        try {
            shortcut = services_.grabStopShortcut(pressed, further, stop);
        } catch (...) {
            Log::write("Capture", handledError("Unerwarteter Fehler").message());
        }
        services_.mainLoop.async([shortcut, completion, alive] {
            if (!alive.expired()) completion(shortcut);
        });
    });
}

void ContentGrant::cancel() {
    stop_.request_stop();
}

std::optional<ContentGrant::Content> ContentGrant::held(Kind kind) const {
    if (!held_ || kindOf(*held_) != kind || !services_.desktop.contentPicker()->holdsGrant()) return std::nullopt;
    return held_;
}

void ContentGrant::takePicture(std::function<void(Picture)> completion) {
    queue_.async([this, completion = std::move(completion), alive = lifetime_.watch()] {
        Picture picture;
        try {
            if (auto taken = services_.desktop.contentPicker()->stillPicture(kFirstPictureSeconds)) {
                picture = std::make_shared<const imaging::BgraPremultipliedBuffer>(*std::move(taken));
            }
        } catch (...) {
            Log::write("Region", handledError("Unerwarteter Fehler").message());
        }
        services_.mainLoop.async([picture, completion, alive] {
            if (!alive.expired()) completion(picture);
        });
    });
}

void ContentGrant::release() {
    held_.reset();
    if (platform::ContentPicker* const picker = services_.desktop.contentPicker()) picker->release();
}

}  // namespace lumivastor::app

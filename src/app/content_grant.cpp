// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/content_grant.h"

#include <utility>

namespace lumivastor::app {

ContentGrant::~ContentGrant() {
    cancel();
}

void ContentGrant::ask(const platform::ContentPicker::Request& request,
                       std::function<void(const Outcome&)> completion) {
    stop_ = {};
    queue_.async(
        [this, request, completion = std::move(completion), stop = stop_.get_token(), alive = lifetime_.watch()] {
            Outcome outcome;
            try {
                outcome = services_.desktop.contentPicker()->pick(request, stop);
            } catch (const RecorderError& error) {
                outcome = error;
            }
            services_.mainLoop.async([outcome, completion, alive] {
                if (!alive.expired()) completion(outcome);
            });
        });
}

void ContentGrant::cancel() {
    stop_.request_stop();
}

void ContentGrant::release() {
    if (platform::ContentPicker* const picker = services_.desktop.contentPicker()) picker->release();
}

}  // namespace lumivastor::app

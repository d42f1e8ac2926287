// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_notifier.h"

#include "base/handled_error.h"
#include "base/log.h"

namespace lumivastor::capture {

RecorderNotifier::RecorderNotifier(MainLoop& mainLoop, const char* category)
    : mainLoop_(mainLoop), category_(category) {}

void RecorderNotifier::postToMain(std::function<void()> work) {
    mainLoop_.async([alive = watch_, work = std::move(work)] {
        if (!alive.expired()) work();
    });
}

void RecorderNotifier::giveUp(const RecorderError& reason) {
    {
        const std::lock_guard hold(lock_);
        if (std::exchange(gaveUp_, true)) return;
    }
    // With its own text: copies of an error share theirs, and this one goes to another thread.
    postToMain([this, reason = RecorderError(reason.message())] {
        // A copy: the handler may destroy its owner.
        const auto handler = onError_;
        if (handler && !isStopped_) handler(reason);
    });
}

void RecorderNotifier::guard(const std::function<void()>& work) {
    try {
        work();
    } catch (...) {
        const RecorderError error = handledError("Unerwarteter Fehler");
        log("Aufnahme gestört: " + error.message());
        giveUp(error);
    }
}

void RecorderNotifier::notice(const std::string& sentence) {
    log(sentence);
    postToMain([this, sentence] {
        const auto handler = onNotice_;
        if (handler) handler(sentence);
    });
}

void RecorderNotifier::log(const std::string& text) {
    Log::write(category_, text);
}

}  // namespace lumivastor::capture

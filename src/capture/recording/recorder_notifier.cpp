// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recorder_notifier.h"

#include <utility>

#include "base/log.h"

namespace lumivastor::capture {

RecorderNotifier::RecorderNotifier(MainLoop& mainLoop, const char* category, const ErrorCallback& onError,
                                   const NoticeCallback& onNotice)
    : mainLoop_(mainLoop), category_(category), onError_(onError), onNotice_(onNotice) {}

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
    // With a text of its own: copies of an error share it, and this one goes to another thread.
    postToMain([this, reason = RecorderError(reason.message())] {
        // A copy: the callback may destroy what holds it.
        const auto callback = onError_;
        if (callback && !isStopped_) callback(reason);
    });
}

void RecorderNotifier::notice(const std::string& sentence) {
    Log::write(category_, sentence);
    postToMain([this, sentence] {
        const auto callback = onNotice_;
        if (callback) callback(sentence);
    });
}

}  // namespace lumivastor::capture

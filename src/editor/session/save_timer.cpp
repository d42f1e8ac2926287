// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/save_timer.h"

#include <utility>

namespace lumivastor::editor {

SaveTimer::SaveTimer(MainLoop& loop, std::function<void()> save) : loop_(loop), save_(std::move(save)) {}

void SaveTimer::schedule() {
    timer_ = loop_.every(kDelay, [this] {
        timer_.reset();
        save_();
    });
}

void SaveTimer::cancel() {
    timer_.reset();
}

}  // namespace lumivastor::editor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTest>
#include <utility>

#include "support/await.h"

namespace lumivastor {

/// Runs Qt's event loop until `done()` is true; false when that takes longer than `timeout` seconds.
template <typename Done>
bool awaitInLoop(Done done, double timeout = kPatience) {
    return await(timeout, std::move(done), [] { QTest::qWait(1); });
}

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

/// Lowers the calling thread's share of busy processors to a tenth, and that of the threads that it starts from now on;
/// it does not interrupt others when it wakes. Not lower, because an owner may have to wait for the thread's next step
/// while an export uses all processors. A failure is ignored. For work that nobody waits for.
void lowerPriorityOfThisThread();

}  // namespace lumivastor

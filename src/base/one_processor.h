// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>

namespace lumivastor {

/// The processor of those that a thread may use, in ascending order, that work in the background should have: the last
/// one. The first serves most interrupts, and where processors differ, the slow and thrifty ones usually come last.
/// nullopt where there is no choice.
std::optional<int> backgroundProcessor(std::span<const int> allowed);

/// Confines the calling thread, and the threads that it starts from now on, to that processor: whatever they do, the
/// others stay free, and cool. A failure is ignored.
void confineThisThreadToOneProcessor();

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace lumivastor {

/// Plays a beep twice a second to a sink of a server that speaks PulseAudio's protocol, and knows when each was heard:
/// by the latencies that the server reports, with a line fitted through them. Runs on its own thread until it is
/// destroyed. Each beep is 20 ms of 1 kHz in both channels; between them is silence.
class Beeper {
  public:
    static constexpr double kBetweenBeeps = 0.5;

    /// Throws std::runtime_error without the server or the sink.
    Beeper(const std::string& server, const std::string& sink);
    ~Beeper();

    /// Host seconds of the beginning of every beep heard until now, ascending.
    std::vector<double> beeps() const;

  private:
    class Player;
    std::unique_ptr<Player> player_;
};

}  // namespace lumivastor

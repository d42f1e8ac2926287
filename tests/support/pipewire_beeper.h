// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace lumivastor {

/// As `Beeper`, over PipeWire's own interface, where the time of every frame is known exactly (what the server tells
/// over PulseAudio's protocol is two of its cycles too early). On threads of its own until it is destroyed.
class PipeWireBeeper {
  public:
    /// Throws std::runtime_error when the server is not there.
    PipeWireBeeper(const std::string& remote, const std::string& sink);
    ~PipeWireBeeper();

    /// Host seconds of the beginning of every beep that was heard up to now, ascending.
    std::vector<double> beeps() const;

  private:
    class Player;
    std::unique_ptr<Player> player_;
};

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>
#include <string>
#include <vector>

namespace lumivastor {

/// A program that runs while the object lives, and in any case ends with this process. Its output is discarded.
class RigProgram {
  public:
    /// `descriptor`, when not -1, stays open in the program under its own number. Throws std::runtime_error that names
    /// the Debian package to install when there is no such program.
    RigProgram(const std::vector<std::string>& command, const std::string& package, int descriptor = -1,
               const std::vector<std::string>& environment = {});
    ~RigProgram();
    RigProgram(const RigProgram&) = delete;
    RigProgram& operator=(const RigProgram&) = delete;

    pid_t id() const { return id_; }
    bool isRunning();
    /// Terminates it, waits, and kills it after a while.
    void end();
    /// Kills it, so that it cannot clean up.
    void kill();

  private:
    pid_t id_ = -1;
};

/// Reads the number that a program writes into a pipe when it is ready, as display servers do. Throws
/// std::runtime_error that names the program when there is none.
int awaitNumber(int descriptor, const std::string& program);

}  // namespace lumivastor

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/outcome.h"
#include "support/temporary_folder.h"

namespace lumivastor {

/// A program that a test runs, and its output. Killed when this object is destroyed.
class ProgramRun {
  public:
    /// `environment` overrides the test's own; an empty value removes a variable. Throws std::runtime_error.
    ProgramRun(const std::vector<std::string>& programAndArguments,
               const std::map<std::string, std::string>& environment);
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    pid_t process() const { return pid_; }
    void signal(int number) const;
    /// Waits until it ends. Returns its exit status, or the negative number of the signal that ended it. Throws
    /// std::runtime_error after twenty minutes.
    int wait();
    bool isRunning();

    std::string out() const { return folder_.read("out"); }
    std::string err() const { return folder_.read("err"); }

  private:
    TemporaryFolder folder_;
    pid_t pid_ = -1;
    int status_ = 0;
    bool ended_ = false;
};

/// Runs a program to its end in the test's own environment. Throws as ProgramRun does.
Outcome runProgram(const std::vector<std::string>& programAndArguments);

}  // namespace lumivastor

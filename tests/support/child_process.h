// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace lumivastor {

/// A program that runs beside a test. It is killed when this object is destroyed, and by the kernel when the test's
/// process or the thread that started it ends.
class ChildProcess {
  public:
    /// `program` is searched in PATH; `environment` overrides the test's own. Standard output and error go to the file
    /// `log`. Throws std::runtime_error that names the program when it cannot be run.
    ChildProcess(const std::vector<std::string>& programAndArguments,
                 const std::map<std::string, std::string>& environment, const std::filesystem::path& log);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Its number; negative once it has ended.
    pid_t process() const { return pid_; }
    bool isRunning();
    /// Waits until it has ended by itself. Returns whether its exit status was 0.
    bool wait();
    /// Kills it and waits until it is gone.
    void kill();
    void signal(int number);

  private:
    pid_t pid_ = -1;
};

/// The full path of a program; throws std::runtime_error that names the Debian package to install when there is none.
std::filesystem::path requireProgram(const std::string& name, const std::string& package);

}  // namespace lumivastor

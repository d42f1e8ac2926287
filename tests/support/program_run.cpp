// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/program_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "support/await.h"

namespace lumivastor {

namespace {

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> variables;
    for (char** each = environ; *each != nullptr; ++each) {
        const std::string variable = *each;
        if (!changes.contains(variable.substr(0, variable.find('=')))) variables.push_back(variable);
    }
    for (const auto& [name, value] : changes) {
        if (!value.empty()) variables.push_back(name + "=" + value);
    }
    return variables;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& each : texts) pointers.push_back(each.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

ProgramRun::ProgramRun(const std::vector<std::string>& programAndArguments,
                       const std::map<std::string, std::string>& environment) {
    std::vector<std::string> words = programAndArguments;
    std::vector<std::string> variables = environmentWith(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (folder_ / "out").c_str(), kFlags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (folder_ / "err").c_str(), kFlags, 0600);
    const int error = posix_spawnp(&pid_, words.front().c_str(), &actions, nullptr, pointersTo(words).data(),
                                   pointersTo(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        pid_ = -1;
        throw std::runtime_error("cannot run " + words.front());
    }
}

ProgramRun::~ProgramRun() {
    if (pid_ < 0 || ended_) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
}

void ProgramRun::signal(int number) const {
    if (!ended_) ::kill(pid_, number);
}

bool ProgramRun::isRunning() {
    if (!ended_ && ::waitpid(pid_, &status_, WNOHANG) == pid_) ended_ = true;
    return !ended_;
}

int ProgramRun::wait() {
    // Some export whole films.
    if (!await(20 * kPatience, [this] { return !isRunning(); })) throw std::runtime_error("the program does not end");
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

Outcome runProgram(const std::vector<std::string>& programAndArguments) {
    ProgramRun program(programAndArguments, {});
    const int status = program.wait();
    return {status, program.out(), program.err()};
}

}  // namespace lumivastor

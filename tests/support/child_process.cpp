// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace lumivastor {
namespace {

std::filesystem::path find(const std::string& program) {
    if (program.find('/') != std::string::npos) return access(program.c_str(), X_OK) == 0 ? program : "";
    const char* const path = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): tests do not set it
    std::istringstream folders(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::filesystem::path candidate = std::filesystem::path(folder) / program;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return {};
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& over) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (over.count(text.substr(0, text.find('='))) == 0) merged.push_back(text);
    }
    for (const auto& [name, value] : over) merged.push_back(name + "=" + value);
    return merged;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) all.push_back(text.data());
    all.push_back(nullptr);
    return all;
}

}  // namespace

std::filesystem::path requireProgram(const std::string& name, const std::string& package) {
    const std::filesystem::path found = find(name);
    if (found.empty()) {
        throw std::runtime_error("the program " + name + " is missing: install the package " + package);
    }
    return found;
}

ChildProcess::ChildProcess(const std::vector<std::string>& programAndArguments,
                           const std::map<std::string, std::string>& environment, const std::filesystem::path& log) {
    const std::filesystem::path program = find(programAndArguments.at(0));
    if (program.empty()) throw std::runtime_error("there is no program " + programAndArguments[0]);
    std::vector<std::string> arguments = programAndArguments;
    std::vector<std::string> merged = mergedEnvironment(environment);
    const std::vector<char*> argumentPointers = pointers(arguments);
    const std::vector<char*> environmentPointers = pointers(merged);
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("no process for " + program.string());
    if (pid_ > 0) return;

    // Between fork and exec only what is safe in a copy of a program with threads.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(127);
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (output >= 0) {
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
    }
    const int input = open("/dev/null", O_RDONLY);
    if (input >= 0) dup2(input, STDIN_FILENO);
    execve(program.c_str(), argumentPointers.data(), environmentPointers.data());
    _exit(127);
}

ChildProcess::~ChildProcess() {
    kill();
}

bool ChildProcess::isRunning() {
    if (pid_ < 0) return false;
    if (waitpid(pid_, nullptr, WNOHANG) == 0) return true;
    pid_ = -1;
    return false;
}

bool ChildProcess::wait() {
    int status = -1;
    if (pid_ >= 0) waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void ChildProcess::signal(int number) {
    if (isRunning()) ::kill(pid_, number);
}

void ChildProcess::kill() {
    if (!isRunning()) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

}  // namespace lumivastor

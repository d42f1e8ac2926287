// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/desktop_rig/rig_program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "support/await.h"

namespace lumivastor {
namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (const std::string& text : texts) all.push_back(const_cast<char*>(text.c_str()));
    all.push_back(nullptr);
    return all;
}

// In the child: nothing here may take memory.
[[noreturn]] void become(const std::vector<char*>& command, const std::vector<char*>& environment, int descriptor,
                         int failure) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nothing = open("/dev/null", O_RDWR);
    for (const int standard : {0, 1, 2}) dup2(nothing, standard);
    if (descriptor >= 0) fcntl(descriptor, F_SETFD, 0);
    if (environment.size() > 1) {
        execvpe(command.front(), command.data(), environment.data());
    } else {
        execvp(command.front(), command.data());
    }
    const int error = errno;
    [[maybe_unused]] const auto written = write(failure, &error, sizeof error);
    _exit(127);
}

}  // namespace

RigProgram::RigProgram(const std::vector<std::string>& command, const std::string& package, int descriptor,
                       const std::vector<std::string>& environment) {
    const auto arguments = pointers(command);
    std::vector<std::string> variables = environment;
    for (char** one = environ; *one != nullptr && !environment.empty(); ++one) variables.emplace_back(*one);
    const auto variablePointers = pointers(variables);
    // Closes by itself when the program takes over; otherwise tells why it did not.
    int failure[2];
    if (pipe2(failure, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    id_ = fork();
    if (id_ == 0) become(arguments, variablePointers, descriptor, failure[1]);
    close(failure[1]);
    int error = 0;
    const bool failed = id_ < 0 || read(failure[0], &error, sizeof error) == sizeof error;
    close(failure[0]);
    if (failed) {
        if (id_ > 0) waitpid(id_, nullptr, 0);
        throw std::runtime_error(command.front() + " cannot be started; install the package " + package);
    }
}

RigProgram::~RigProgram() {
    end();
}

bool RigProgram::isRunning() {
    if (id_ > 0 && waitpid(id_, nullptr, WNOHANG) == id_) id_ = -1;
    return id_ > 0;
}

void RigProgram::end() {
    if (!isRunning()) return;
    ::kill(id_, SIGTERM);
    await(5, [this] { return !isRunning(); });
    kill();
}

void RigProgram::kill() {
    if (!isRunning()) return;
    ::kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    id_ = -1;
}

int awaitNumber(int descriptor, const std::string& program) {
    std::string text;
    pollfd readable{descriptor, POLLIN, 0};
    while (text.find('\n') == std::string::npos) {
        char byte = 0;
        if (poll(&readable, 1, static_cast<int>(kPatience * 1000)) <= 0 || read(descriptor, &byte, 1) != 1) {
            throw std::runtime_error(program + " did not start");
        }
        text += byte;
    }
    return std::stoi(text);
}

}  // namespace lumivastor

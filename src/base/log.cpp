// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <system_error>
#include <utility>

#include "base/descriptor_io.h"
#include "base/formatted.h"
#include "base/serial_queue.h"
#include "base/unique_descriptor.h"

namespace lumivastor::Log {

namespace {

// Called once, under the lock of a static's initialization.
std::filesystem::path homeFolder() {
    // NOLINTBEGIN(concurrency-mt-unsafe): the environment and the user data base do not change while the program runs
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
    if (const passwd* user = getpwuid(getuid()); user != nullptr && user->pw_dir != nullptr) return user->pw_dir;
    // NOLINTEND(concurrency-mt-unsafe)
    return "/";
}

// Never destroyed: threads may still log while the program's static objects go.
SerialQueue& queue() {
    static auto* const queue = new SerialQueue("aufnahme.log");
    return *queue;
}

std::string stamp() {
    timeval now{};
    gettimeofday(&now, nullptr);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    return formatted("%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec,
                     static_cast<int>(now.tv_usec / 1000));
}

// Opened and closed for each line, so that a log that was moved or deleted is simply created again. Append mode and one
// write keep lines whole even when two processes log.
void append(const std::string& line) {
    const UniqueDescriptor file(::open(url().c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, 0600));
    if (file.isOpen()) static_cast<void>(writeAll(file.get(), line.data(), line.size()));
}

}  // namespace

const std::filesystem::path& url() {
    static const auto* const url = [] {
        const std::filesystem::path folder = homeFolder() / "Library" / "Logs";
        std::error_code ignored;
        std::filesystem::create_directories(folder, ignored);
        return new std::filesystem::path(folder / "LumiVastor.log");
    }();
    return *url;
}

void write(std::string category, std::string message) {
    try {
        queue().async([category = std::move(category), message = std::move(message)] {
            try {
                append(stamp() + " [" + category + "] " + message + "\n");
            } catch (...) {  // NOLINT(bugprone-empty-catch): a line that cannot be built is dropped
            }
        });
    } catch (...) {  // NOLINT(bugprone-empty-catch): logging never fails towards its caller
    }
}

void drain() noexcept {
    try {
        queue().drain();
    } catch (...) {  // NOLINT(bugprone-empty-catch): without a thread no line is waiting
    }
}

}  // namespace lumivastor::Log

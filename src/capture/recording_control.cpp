// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording_control.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/private_folder.h"
#include "base/system_error_text.h"
#include "base/thread_name.h"

namespace lumivastor::capture {
namespace {

constexpr const char* kPrefix = "recording-";
constexpr const char* kEnding = ".socket";
// What a recording answers once the stop is on its way.
constexpr char kTaken = '+';
constexpr int kAnswerMilliseconds = 2000;
constexpr int kBacklog = 4;

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path) return std::nullopt;
    std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
    return address;
}

UniqueDescriptor newSocket() {
    return UniqueDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

bool waitFor(int file, short events, int milliseconds) {
    pollfd entry{file, events, 0};
    return ::poll(&entry, 1, milliseconds) == 1 && (entry.revents & events) != 0;
}

enum class Answer { taken, silent, gone };

Answer ask(const std::filesystem::path& path) {
    const auto address = addressOf(path);
    const UniqueDescriptor socket = newSocket();
    if (!address || !socket.isOpen()) return Answer::silent;
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0) {
        return errno == ECONNREFUSED || errno == ENOENT ? Answer::gone : Answer::silent;
    }
    char answer = 0;
    if (!waitFor(socket.get(), POLLIN, kAnswerMilliseconds)) return Answer::silent;
    return ::recv(socket.get(), &answer, 1, 0) == 1 && answer == kTaken ? Answer::taken : Answer::silent;
}

// A folder that somebody else has made could be read by them, too.
bool isPrivate(const std::filesystem::path& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::getuid() &&
           (status.st_mode & 0077U) == 0;
}

bool isControl(const std::filesystem::path& path) {
    const std::string name = path.filename().string();
    return name.starts_with(kPrefix) && name.ends_with(kEnding);
}

}  // namespace

std::filesystem::path recordingControlFolder() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the environment does not change
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') return std::filesystem::path(runtime) / "lumivastor";
    std::error_code ignored;
    return std::filesystem::temp_directory_path(ignored) / ("lumivastor-" + std::to_string(::getuid()));
}

RecordingControl::RecordingControl(const std::filesystem::path& folder, std::function<void()> stop)
    : stop_(std::move(stop)) {
    static std::atomic<int> count = 0;
    std::error_code error;
    makePrivateFolder(folder, error);
    if (!error && !isPrivate(folder)) error = std::make_error_code(std::errc::permission_denied);
    path_ = folder / (kPrefix + std::to_string(::getpid()) + "-" + std::to_string(++count) + kEnding);
    const auto address = addressOf(path_);
    socket_ = newSocket();
    wake_ = UniqueDescriptor(::eventfd(0, EFD_CLOEXEC));
    const bool isListening =
        !error && address && socket_.isOpen() && wake_.isOpen() &&
        ::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) == 0 &&
        ::listen(socket_.get(), kBacklog) == 0;
    if (!isListening) {
        if (!error) error = {errno, std::generic_category()};
        Log::write("Capture", "„lumivastor stop“ erreicht diese Aufnahme nicht: " + systemErrorText(error));
        path_.clear();
        return;
    }
    thread_ = std::thread([this] { listen(); });
}

RecordingControl::~RecordingControl() {
    if (thread_.joinable()) {
        const std::uint64_t one = 1;
        while (::write(wake_.get(), &one, sizeof one) < 0 && errno == EINTR) continue;
        thread_.join();
    }
    if (!path_.empty()) ::unlink(path_.c_str());
}

// The folder is the user's alone, so everybody who can connect may stop the recording.
void RecordingControl::listen() {
    nameThisThread("control.stop");
    for (;;) {
        std::array<pollfd, 2> files{{{socket_.get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}}};
        if (::poll(files.data(), files.size(), -1) < 0 && errno != EINTR) return;
        if (files[1].revents != 0) return;
        if ((files[0].revents & POLLIN) == 0) continue;
        const UniqueDescriptor client(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!client.isOpen()) continue;
        stop_();
        ::send(client.get(), &kTaken, 1, MSG_NOSIGNAL);
    }
}

int stopRecordings(const std::filesystem::path& folder) {
    std::error_code error;
    std::vector<std::filesystem::path> controls;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isControl(entry->path())) controls.push_back(entry->path());
    }
    int taken = 0;
    for (const std::filesystem::path& path : controls) {
        const Answer answer = ask(path);
        if (answer == Answer::taken) ++taken;
        if (answer == Answer::gone) std::filesystem::remove(path, error);
    }
    return taken;
}

}  // namespace lumivastor::capture

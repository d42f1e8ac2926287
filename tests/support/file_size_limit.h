// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdint>
#include <stdexcept>

namespace lumivastor {

/// While it lives, this process cannot write a file beyond this many bytes, as on a full disk: writing fails with
/// std::errc::file_too_large. Pipes are not affected. One at a time.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::uint64_t bytes) {
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        if (getrlimit(RLIMIT_FSIZE, &before_) != 0) throw std::runtime_error("no limit of file sizes");
        const rlimit limit{bytes, before_.rlim_max};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("file sizes cannot be limited");
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int) = SIG_DFL;
};

}  // namespace lumivastor

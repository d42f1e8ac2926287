// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <utility>

namespace lumivastor {

/// Owns a file descriptor; closes it on destruction.
class UniqueDescriptor {
  public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor) : descriptor_(descriptor) {}
    UniqueDescriptor(UniqueDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }
    ~UniqueDescriptor() { reset(); }

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

    /// Closes now. Returns the result of close(), or 0 when no descriptor was open.
    int reset() {
        const int descriptor = std::exchange(descriptor_, -1);
        return descriptor >= 0 ? ::close(descriptor) : 0;
    }

  private:
    int descriptor_ = -1;
};

}  // namespace lumivastor

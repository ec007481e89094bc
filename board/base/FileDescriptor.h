// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include <unistd.h>

namespace VelrixBoard {

// Owns an open descriptor and closes it. Movable; empty is -1.
class FileDescriptor final {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int openDescriptor) : descriptor(openDescriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor, other.descriptor);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    int Get() const { return descriptor; }
    explicit operator bool() const { return descriptor >= 0; }

    // Releases ownership.
    int Release() { return std::exchange(descriptor, -1); }

    void Close() {
        if (descriptor >= 0)
            ::close(std::exchange(descriptor, -1));
    }

private:
    int descriptor = -1;
};

} // namespace VelrixBoard

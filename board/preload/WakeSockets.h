// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace VelrixBoard::Preload {

// A datagram socket with an abstract name that the kernel chose, for the time of one wait: whoever sends to the name
// wakes a thread that polls. From a lock-free pool of this process; the descriptors have high numbers, to keep low ones
// free.
class WakeSocket final {
public:
    WakeSocket();
    WakeSocket(const WakeSocket&) = delete;
    WakeSocket& operator=(const WakeSocket&) = delete;
    ~WakeSocket();

    // -1, and errno, when there is none.
    int Descriptor() const { return descriptor; }
    std::uint32_t Name() const { return name; }

    static void Drain(int descriptor);
    static void Wake(std::uint32_t name);

    // A descriptor of the pool, which the program must not touch.
    static bool IsOwn(int descriptor);

    // The lowest descriptor of the pool in the range, both ends included; -1 if there is none.
    static int LowestIn(unsigned first, unsigned last);

    // Drops a socket whose descriptor is being reused.
    static void Forget(int descriptor);

private:
    void Make();

    int descriptor = -1;
    int slot = -1;
    std::uint32_t name = 0;
};

} // namespace VelrixBoard::Preload

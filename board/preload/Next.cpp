// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Next.h"

#include <cstdlib>

#include <dlfcn.h>

#include "board/preload/Kernel.h"

namespace VelrixBoard::Preload {

void* NextAddress::Find() {
    void* const address = ::dlsym(RTLD_NEXT, name);
    if (address == nullptr) {
        Kernel::Say({"velrix-board: this machine's C library has no function ", name, "\n"});
        std::abort();
    }
    found.store(address, std::memory_order_relaxed);
    return address;
}

} // namespace VelrixBoard::Preload

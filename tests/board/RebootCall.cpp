// SPDX-License-Identifier: Apache-2.0
// A program that ends its machine by the system call, as no command does it: "restart" or "halt".
#include <string_view>

#include <dlfcn.h>
#include <sys/reboot.h>
#include <unistd.h>

#include "board/preload/Protocol.h"

int main(int argc, char** argv) {
    // Process 2 is a program on a board; on a machine, it is the kernel's. With the preloaded library, the call is not
    // the kernel's.
    const bool isPreloaded = ::dlsym(RTLD_DEFAULT, VelrixBoard::Preload::BEGIN_FUNCTION) != nullptr;
    if ((::getpid() != 2 && !isPreloaded) || argc != 2)
        return 99;
    ::reboot(std::string_view(argv[1]) == "restart" ? RB_AUTOBOOT : RB_POWER_OFF);
    return 98;
}

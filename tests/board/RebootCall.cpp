// SPDX-License-Identifier: Apache-2.0
// A program that makes the reboot system call directly: "restart" or "halt".
#include <string_view>

#include <dlfcn.h>
#include <sys/reboot.h>
#include <unistd.h>

#include "board/preload/Protocol.h"

int main(int argc, char** argv) {
    // Safety check: on a board process 2 is a program, on a machine a kernel thread. With the preloaded library the
    // call does not reach the kernel.
    const bool isPreloaded = ::dlsym(RTLD_DEFAULT, VelrixBoard::Preload::BEGIN_FUNCTION) != nullptr;
    if ((::getpid() != 2 && !isPreloaded) || argc != 2)
        return 99;
    ::reboot(std::string_view(argv[1]) == "restart" ? RB_AUTOBOOT : RB_POWER_OFF);
    return 98;
}

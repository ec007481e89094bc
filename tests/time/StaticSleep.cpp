// SPDX-License-Identifier: Apache-2.0
// A helper program that is linked statically, so that nothing can be loaded before it.
#include <ctime>

int main() {
    const timespec time{0, 200'000'000};
    return ::nanosleep(&time, nullptr);
}

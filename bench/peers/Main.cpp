// SPDX-License-Identifier: Apache-2.0
// Our jobs beside the least that the machine can do for the same, and beside those libraries of others that were found
// when this was built, in turn.
//
//     peer-bench FOLDER      FOLDER has the programs start-bench and start-bench-bare
#include <cstdio>

#include "bench/peers/Jobs.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: peer-bench FOLDER\n", stderr);
        return 2;
    }
    Bench::CompareFirstReads();
    Bench::CompareSettings();
    Bench::CompareLookUps();
    Bench::CompareDevices();
    Bench::CompareRecords();
    Bench::CompareStart(argv[1]);
    Bench::CompareSystemLog(); // last, since it hides the machine's devices
    return 0;
}

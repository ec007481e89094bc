// SPDX-License-Identifier: Apache-2.0
// A helper program: runs the steps named by its arguments, each of which waits in another way, and prints for each how
// long it took by the program's clock, in ms, and what the calls gave.
#include <cstdio>
#include <cstring>

#include "tests/time/Steps.h"

int main(int argc, char** argv) {
    using namespace VelrixBoard::Timed;
    for (int i = 1; i < argc; ++i) {
        bool isKnown = false;
        for (const auto& steps :
             {SleepSteps(), DescriptorSteps(), ThreadSteps(), SignalSteps(), ProcessSteps(), UnservedSteps()})
            for (const Step& step : steps) {
                if (std::strcmp(argv[i], step.name) != 0)
                    continue;
                isKnown = true;
                const timespec begin = Now(CLOCK_MONOTONIC);
                const std::string result = step.run();
                const timespec end = Now(CLOCK_MONOTONIC);
                const long took = (end.tv_sec - begin.tv_sec) * 1000 + (end.tv_nsec - begin.tv_nsec) / 1'000'000;
                std::printf("%s %ld %s\n", step.name, took, result.c_str());
                std::fflush(stdout);
            }
        if (!isKnown)
            return 2;
    }
    return 0;
}

// SPDX-License-Identifier: Apache-2.0
// write-probe VALUE-FILE COUNT RESULT: writes COUNT times to the value file and writes the board's processor time per
// write, from the schedstat file of the kernel on descriptor 9: "MICROSECONDS MICROSECONDS", the 90th percentile and
// the maximum.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int SCHEDSTAT = 9;

long long BoardTimeNs() {
    char text[128] = {};
    return ::pread(SCHEDSTAT, text, sizeof text - 1, 0) > 0 ? std::atoll(text) : -1;
}

} // namespace

int main(int, char** arguments) {
    const int file = ::open(arguments[1], O_WRONLY | O_CLOEXEC);
    std::vector<long long> times;
    for (int i = 0; i < std::atoi(arguments[2]); ++i) {
        const long long before = BoardTimeNs();
        if (before < 0 || ::write(file, i % 2 == 0 ? "1" : "0", 1) != 1)
            return 1;
        times.push_back((BoardTimeNs() - before) / 1000);
    }
    std::sort(times.begin(), times.end());
    std::FILE* result = std::fopen(arguments[3], "w");
    if (result == nullptr || times.empty())
        return 2;
    std::fprintf(result, "%lld %lld\n", times[times.size() * 9 / 10], times.back());
    return std::fclose(result) == 0 ? 0 : 3;
}

// SPDX-License-Identifier: Apache-2.0
// A helper program: runs the step named by its first argument.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/preload/Steps.h"

namespace VelrixBoard::Preload {

std::string Of(long long result) {
    return result < 0 ? strerrorname_np(errno) : std::to_string(result);
}

std::string Of(const void* result) {
    return result == nullptr ? strerrorname_np(errno) : "there";
}

std::string Of(const char* result) {
    return result == nullptr ? strerrorname_np(errno) : result;
}

void Print(const std::vector<std::string>& results) {
    std::string line;
    for (const std::string& result : results)
        line += (line.empty() ? "" : " ") + result;
    std::puts(line.c_str());
}

} // namespace VelrixBoard::Preload

int main(int argc, char** argv) {
    using namespace VelrixBoard::Preload;
    const std::string name = argc > 1 ? argv[1] : "";
    for (const auto& steps : {PathSteps(), ValueSteps(), WaitSteps(), ProcessSteps()})
        for (const Step& step : steps)
            if (name == step.name) {
                step.run(argc > 2 ? argv[2] : "");
                return 0;
            }
    std::fprintf(stderr, "no step %s\n", name.c_str());
    return 2;
}

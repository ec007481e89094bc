// SPDX-License-Identifier: Apache-2.0
extern "C" {
#include <iniparser/iniparser.h>
}

#include "bench/peers/Contest.h"

namespace {

std::shared_ptr<void> Read(const char* path) {
    dictionary* const file = iniparser_load(path);
    if (!file)
        Bench::Fail(path);
    return {file, [](void* made) { iniparser_freedict(static_cast<dictionary*>(made)); }};
}

// It compares each new key with all that are there.
const Bench::PeerReader reader{{"iniparser", &Read, 10'000}};

} // namespace

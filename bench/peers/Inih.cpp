// SPDX-License-Identifier: Apache-2.0
#include <INIReader.h>

#include "bench/peers/Contest.h"

namespace {

std::shared_ptr<void> Read(const char* path) {
    const auto file = std::make_shared<INIReader>(path);
    if (file->ParseError() != 0)
        Bench::Fail(path);
    return file;
}

const Bench::PeerReader reader{{"inih", &Read, 100'000'000}};

} // namespace

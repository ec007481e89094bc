// SPDX-License-Identifier: Apache-2.0
// Bytes as they are: its converter is in no package.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

#include "bench/peers/Contest.h"

namespace {

std::shared_ptr<void> Read(const char* path) {
    const auto file = std::make_shared<CSimpleIniA>();
    if (file->LoadFile(path) != SI_OK)
        Bench::Fail(path);
    return file;
}

const Bench::PeerReader reader{{"simpleini", &Read, 100'000'000}};

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include "runtime/TypeName.h"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

namespace System {

std::string TypeName(const char* mangledName) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(mangledName, nullptr, nullptr, &status),
                                                      &std::free);
    return name ? name.get() : mangledName;
}

} // namespace System

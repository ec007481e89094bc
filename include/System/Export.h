// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __cplusplus < 201703L
#error "These headers need C++17 or later; compile with -std=c++17."
// Ends the compilation here; the list of errors would not end otherwise.
#include <needs C++17>
#endif

// Before a class or a function that programs may use. Everything else stays inside the shared library, which is
// compiled with hidden names.
#define SYSTEM_EXPORT __attribute__((visibility("default")))

// SPDX-License-Identifier: Apache-2.0
#pragma once

// Says in which version of the language the headers are written.
#include <System/Export.h>

// Before a class or a function that programs may use. Everything else stays inside the shared library, which is
// compiled with hidden names.
#define VELRIX_EXPORT __attribute__((visibility("default")))

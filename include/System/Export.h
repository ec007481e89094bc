// SPDX-License-Identifier: Apache-2.0
#pragma once

// Before a class or a function that programs may use. Everything else stays inside the shared library, which is
// compiled with hidden names.
#define SYSTEM_EXPORT __attribute__((visibility("default")))

// SPDX-License-Identifier: Apache-2.0
#pragma once

// Defines a hook for the C library's function of that name:
//
//     VELRIX_PRELOADED(int, chdir, const char* path) { ... }
//
// The compiler sees another name, so that the attributes of the C library's declarations do not conflict.
#define VELRIX_PRELOADED(result, name, ...)                                                                            \
    extern "C" __attribute__((visibility("default"))) result velrix_##name(__VA_ARGS__) __asm__(#name);                \
    extern "C" result velrix_##name(__VA_ARGS__)

// An alias of the same function. On a 64-bit machine open64 is open.
#define VELRIX_PRELOADED_ALIAS(name, second)                                                                           \
    extern "C"                                                                                                         \
        __attribute__((visibility("default"), alias(#name))) decltype(velrix_##name) velrix_##second __asm__(#second)

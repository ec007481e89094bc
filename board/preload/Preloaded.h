// SPDX-License-Identifier: Apache-2.0
#pragma once

// Defines a function that stands in front of the C library's function of that name:
//
//     VELRIX_PRELOADED(int, chdir, const char* path) { ... }
//
// The compiler knows it by another name, so the C library's headers, whose declarations differ from one function to the
// next in what they promise, can be included with it.
#define VELRIX_PRELOADED(result, name, ...)                                                                            \
    extern "C" __attribute__((visibility("default"))) result velrix_##name(__VA_ARGS__) __asm__(#name);                \
    extern "C" result velrix_##name(__VA_ARGS__)

// A second name of the same function. On a 64-bit machine open64 is open.
#define VELRIX_PRELOADED_ALIAS(name, second)                                                                           \
    extern "C"                                                                                                         \
        __attribute__((visibility("default"), alias(#name))) decltype(velrix_##name) velrix_##second __asm__(#second)

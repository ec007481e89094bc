// SPDX-License-Identifier: Apache-2.0
// A library for the tests: there is no more to it than that it can be loaded.
extern "C" const char velrix_preloaded_plugin[] = "here";

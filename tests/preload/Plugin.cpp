// SPDX-License-Identifier: Apache-2.0
// A minimal loadable library.
extern "C" const char velrix_preloaded_plugin[] = "here";

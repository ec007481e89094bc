// SPDX-License-Identifier: Apache-2.0
// False positives of the thread sanitizer: the web server's library lazily initialises constants under a lock that is
// not instrumented. The panel sends the one that ends a stream.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:VelrixBoard::PanelConnection::write\n";
}
#endif
#endif

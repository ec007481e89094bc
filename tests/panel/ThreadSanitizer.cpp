// SPDX-License-Identifier: Apache-2.0
// What the thread sanitizer takes for a race and is none: the web server's library has constants that its functions
// make at their first use, under a lock that only instrumented code shows. The panel sends the one that ends a stream.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:VelrixBoard::PanelConnection::write\n";
}
#endif
#endif

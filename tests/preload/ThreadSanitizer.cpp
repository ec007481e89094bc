// SPDX-License-Identifier: Apache-2.0
// What the thread sanitizer takes for a race and is none: a descriptor's number that the stand-in's thread gave back,
// and that the test then gets for a file. The kernel orders the two; the sanitizer now and then does not see that.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:VelrixBoard::Preload::StandInBoard::AnswerOpen\n";
}
#endif
#endif

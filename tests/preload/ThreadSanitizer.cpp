// SPDX-License-Identifier: Apache-2.0
// The thread sanitizer now and then reports a race on a descriptor between the stand-in's socketpair and a file that
// the test opens once the program has ended. Both look correct; reuse of a descriptor's number is the likely cause, but
// not proven.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
    return "race:VelrixBoard::Preload::StandInBoard::AnswerOpen\n";
}
#endif
#endif

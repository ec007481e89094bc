// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "tests/support/FakeClock.h"

// Logs a scene's system calls to standard output, unbuffered and in one order across all files, threads and child
// processes, from before main to the destructors of statics:
//
//     ShutDown: OXBO_RESET1_N=0 QOR_RESET0_N=0 MS.green=0 MS.red=0 null=0
//
// A line is a step of the scene, a word a call: open(FILE) with "!" behind it if it failed, close(FILE), FILE=1 for a
// value written, FILE?1 for one read, sleep(1000) in microseconds. A program that links this interposes functions of
// the C library, and has a fake clock that only sleeps and explicit steps advance.
namespace SystemCallLog {

// Begins a line.
void Step(const std::string& text);

// Adds a word to the line.
void Note(const std::string& word);

// Disables logging; open files are still counted.
void SetEnabled(bool enabled);

// The number of open files.
int OpenFiles();

// Lets every later write to, or read from, the file fail with that error number; 0 ends that.
void FailWrites(const std::string& file, int errorNumber);
void FailReads(const std::string& file, int errorNumber);

// Lets fork, or the start of another program in a child, fail.
void FailFork();
void FailExec();

// Replaces the character that reads of a value return.
void AnswerReads(std::function<char()> answer);

// The fake clock, active from the first call on.
TestSupport::FakeClock& Clock();

} // namespace SystemCallLog

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "tests/support/FakeClock.h"

// What a scene makes the system do, written to standard output at once and in one order across all files, threads and
// child processes, from before main to the destructors of statics:
//
//     ShutDown: OXBO_RESET1_N=0 QOR_RESET0_N=0 MS.green=0 MS.red=0 null=0
//
// A line is a step of the scene, a word a call: open(FILE) with "!" behind it if it failed, close(FILE), FILE=1 for a
// value written, FILE?1 for one read, sleep(1000) in microseconds. The program that links this gets functions of its
// own in front of those of the C library, and a clock that stands still except when it sleeps or is told to go on.
namespace SystemCallLog {

// Begins a line.
void Step(const std::string& text);

// Adds a word to the line.
void Note(const std::string& word);

// While it is off nothing is written; files are counted all the same.
void SetEnabled(bool enabled);

// Files that were opened and are not closed yet.
int OpenFiles();

// Lets every later write to, or read from, the file fail with that error number; 0 ends that.
void FailWrites(const std::string& file, int errorNumber);
void FailReads(const std::string& file, int errorNumber);

// Lets fork, or the start of another program in a child, fail.
void FailFork();
void FailExec();

// Gives the character that a read of a value finds, in place of what is in the file.
void AnswerReads(std::function<char()> answer);

// The clock. It stands still from the first call on.
TestSupport::FakeClock& Clock();

} // namespace SystemCallLog

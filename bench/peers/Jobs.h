// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Bench {

// Each prints lines of Contest.h for the jobs of one kind.
void CompareDevices();
void CompareFirstReads(); // before all others: its children have the memory of this process
void CompareLookUps();
void CompareRecords();
void CompareSettings();
void CompareStart(const char* folder);
void CompareSystemLog();

} // namespace Bench

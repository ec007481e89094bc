// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/velrixctl/CommandLine.h"

namespace VelrixTools {

// What the commands do; each returns its exit code. CommandError and the libraries' exceptions end them.
int RunCheck(const CommandLine& line);
int RunDoctor(const CommandLine& line);
int RunExplain(const CommandLine& line);
int RunHelp(const CommandLine& line);
int RunIdentity(const CommandLine& line);
int RunIndicate(const CommandLine& line);
int RunLampTest(const CommandLine& line);
int RunLed(const CommandLine& line);
int RunPin(const CommandLine& line);
int RunPins(const CommandLine& line);
int RunResetOxbo(const CommandLine& line);
int RunSettings(const CommandLine& line);
int RunVersion(const CommandLine& line);
int RunWebLog(const CommandLine& line);

// The command of the table.
int Run(const CommandLine& line);

} // namespace VelrixTools

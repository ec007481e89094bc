// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/velrixctl/Diagnosis.h"

namespace VelrixTools {

enum class AccessMode { READ, WRITE };

// Whether this user can open the file so; opens and closes it. On failure the diagnosis says why and what to do: a
// missing file or folder, a directory in its place, the group that has the permission.
Diagnosis ExamineFile(const std::string& subject, const std::string& path, AccessMode mode);

// Whether this user can make files in the directory.
Diagnosis ExamineDirectory(const std::string& subject, const std::string& path);

// The first line of a file of sysfs, without blanks at its end; empty where there is none. Does not wait.
std::string FirstLine(const std::string& path);

// "user", for messages.
std::string UserName();

} // namespace VelrixTools

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <velrix/settings/SettingsFile.h>

namespace VelrixTools {

// What the doctor found at one place. All of it is a line each.
struct Diagnosis {
    enum class Verdict { GOOD, NOTE, WRONG };

    Verdict verdict = Verdict::GOOD;
    std::string subject; // "line OXBO_IRQ_N"
    std::string seen;
    std::string meaning; // empty where all is good
    std::string remedy;
};

using Diagnoses = std::vector<Diagnosis>;

// Of the file; the settings are the defaults where the library refuses it.
Diagnoses ExamineSettings();

// Of the value files that the settings name, without writing to any.
Diagnoses ExamineLines(const Velrix::Settings::SettingsFile& settings);
Diagnoses ExamineLeds(const Velrix::Settings::SettingsFile& settings);

// Of log directories, web log and system log; of the identity files; of the libraries of this process.
Diagnoses ExamineLogs(const Velrix::Settings::SettingsFile& settings);
Diagnoses ExamineIdentity(const Velrix::Settings::SettingsFile& settings);
Diagnoses ExamineLibraries();

} // namespace VelrixTools

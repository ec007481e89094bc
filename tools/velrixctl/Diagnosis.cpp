// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Diagnosis.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "tools/check/Judge.h"
#include "tools/check/ReadSettings.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/FileAccess.h"
#include "tools/velrixctl/IdentityFiles.h"
#include "tools/velrixctl/Libraries.h"

namespace VelrixTools {

namespace {

using Velrix::Settings::SettingsFile;
using Verdict = Diagnosis::Verdict;

// Where TraceListenerFactory puts the log files of applications.
constexpr const char* APPLICATION_LOGS = "/var/log/apps";
constexpr const char* SYSTEM_LOG = "/dev/log";

std::string Beside(const std::string& path, const char* name) {
    return std::filesystem::path(path).parent_path() / name;
}

// What the kernel's GPIO interface says of an exported line, in the files beside its value.
Diagnosis ExamineDirection(Diagnosis line, const SettingsKey& key, const std::string& path) {
    const std::string direction = FirstLine(Beside(path, "direction"));
    const std::string wanted = key.kind == KeyKind::INPUT ? "in" : "out";
    if (line.verdict != Verdict::GOOD || direction.empty() || direction == wanted)
        return line;
    return {Verdict::WRONG, line.subject, Escaped(Beside(path, "direction")) + " says \"" + Escaped(direction) + "\"",
            key.kind == KeyKind::INPUT ? "the board drives this input itself, and reads its own level"
                                       : "writes to this output fail or have no effect",
            "echo " + wanted + " > " + Escaped(Beside(path, "direction"))};
}

// The trigger that the kernel lets drive the LED: the word in brackets.
std::string TriggerOf(const std::string& path) {
    const std::string triggers = FirstLine(Beside(path, "trigger"));
    const std::size_t begin = triggers.find('['), end = triggers.find(']', begin);
    return begin == std::string::npos || end == std::string::npos ? "" : triggers.substr(begin + 1, end - begin - 1);
}

Diagnosis ExamineElement(Diagnosis element, const std::string& path) {
    if (element.verdict != Verdict::GOOD)
        return element;
    const std::string trigger = TriggerOf(path), most = FirstLine(Beside(path, "max_brightness"));
    if (!trigger.empty() && trigger != "none")
        return {Verdict::WRONG, element.subject,
                Escaped(Beside(path, "trigger")) + " has the trigger \"" + Escaped(trigger) + "\"",
                "the kernel drives this LED, too, and fights with what the library shows",
                "echo none > " + Escaped(Beside(path, "trigger"))};
    if (!most.empty() && most != "1")
        return {most == "0" ? Verdict::WRONG : Verdict::NOTE, element.subject,
                Escaped(Beside(path, "max_brightness")) + " says " + Escaped(most),
                most == "0" ? "this LED cannot be lit"
                            : "the library writes 1 to light it, which may be too dim to see",
                "let the LED's driver or device tree offer just off and on"};
    return element;
}

Diagnosis ExamineSystemLog() {
    const Diagnosis good{Verdict::GOOD, "system log", SYSTEM_LOG, "", ""};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, SYSTEM_LOG, sizeof address.sun_path - 1);
    const int log = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool connects = ::connect(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    const int error = errno;
    ::close(log);
    if (connects || error == EPROTOTYPE) // a daemon that listens for streams
        return good;
    return {Verdict::WRONG, good.subject, std::string(SYSTEM_LOG) + ": " + std::strerror(error),
            "records of the event log listeners are lost", "start the system log daemon"};
}

Diagnosis ExamineWebLog(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        return ExamineFile("web log", path, AccessMode::WRITE);
    Diagnosis folder = ExamineDirectory("web log", std::filesystem::path(path).parent_path());
    if (folder.verdict == Verdict::GOOD)
        folder.seen = Escaped(path) + ", which is made at the first use";
    else
        folder.meaning = "the library cannot make the web log, and Platform cannot be created";
    return folder;
}

// A file may be named after the first number alone, as the linker looks for it.
bool IsOwnVersion(const std::string& version) {
    const std::string own = VELRIX_VERSION;
    return !version.empty() && (own + ".").starts_with(version + ".");
}

} // namespace

Diagnoses ExamineSettings() {
    const std::string subject = "settings file";
    std::string text;
    if (::access(SETTINGS_FILE, F_OK) != 0)
        return {{Verdict::NOTE, subject, std::string(SETTINGS_FILE) + ": " + std::strerror(errno),
                 "the library uses the defaults", "nothing, if they are right: velrixctl settings"}};
    try {
        text = ReadSettings(SETTINGS_FILE);
    } catch (const UnreadableSettings& error) {
        return {{Verdict::WRONG, subject, std::string(SETTINGS_FILE) + ": " + error.what(),
                 "the library uses the defaults", "make it a file that " + UserName() + " may read"}};
    }
    Diagnoses diagnoses;
    for (const Finding& finding : JudgeSettings(text))
        diagnoses.push_back({finding.severity == Severity::ERROR ? Verdict::WRONG : Verdict::NOTE, subject,
                             std::string(SETTINGS_FILE) + ":" + std::to_string(finding.location.line) + ":" +
                                 std::to_string(finding.location.column) + ": " + finding.text,
                             finding.severity == Severity::ERROR
                                 ? "the library refuses the whole file, and no application starts"
                                 : "the library takes it, and it is probably not meant",
                             "correct the line; velrixctl check shows it"});
    if (diagnoses.empty())
        diagnoses.push_back({Verdict::GOOD, subject, SETTINGS_FILE, "", ""});
    return diagnoses;
}

Diagnoses ExamineLines(const SettingsFile& settings) {
    Diagnoses diagnoses;
    for (const SettingsKey* key : Lines()) {
        const std::string path = ValueOf(*key, settings);
        const AccessMode mode = key->kind == KeyKind::INPUT ? AccessMode::READ : AccessMode::WRITE;
        diagnoses.push_back(ExamineDirection(ExamineFile("line " + std::string(key->label), path, mode), *key, path));
    }
    return diagnoses;
}

Diagnoses ExamineLeds(const SettingsFile& settings) {
    Diagnoses diagnoses;
    for (const SettingsKey* key : LedElements()) {
        const std::string path = ValueOf(*key, settings);
        const std::string subject = "LED " + std::string(key->label) + " " + key->element;
        diagnoses.push_back(ExamineElement(ExamineFile(subject, path, AccessMode::WRITE), path));
    }
    return diagnoses;
}

Diagnoses ExamineLogs(const SettingsFile& settings) {
    return {ExamineDirectory("log directory", settings.log_dir->ToUtf8()),
            ExamineDirectory("applications' logs", APPLICATION_LOGS), ExamineWebLog(settings.web_log_file->ToUtf8()),
            ExamineSystemLog()};
}

Diagnoses ExamineIdentity(const SettingsFile& settings) {
    Diagnoses diagnoses;
    for (const IdentityFile& file : ReadIdentityFiles(settings))
        if (file.wrong.empty())
            diagnoses.push_back({Verdict::GOOD, "identity", file.path + " holds \"" + file.content + "\"", "", ""});
        else
            diagnoses.push_back({Verdict::WRONG, "identity", file.path + ": " + file.wrong,
                                 "applications that ask for the identity fail", file.remedy});
    return diagnoses;
}

Diagnoses ExamineLibraries() {
    Diagnoses diagnoses;
    for (const LoadedLibrary& library : LoadedLibraries()) {
        const std::string seen =
            Escaped(library.path) + (library.version.empty() ? "" : ", version " + library.version);
        if (IsOwnVersion(library.version))
            diagnoses.push_back({Verdict::GOOD, library.name, seen, "", ""});
        else
            diagnoses.push_back({Verdict::NOTE, library.name, seen,
                                 "velrixctl is of version " VELRIX_VERSION ", so their packages do not belong together",
                                 "install libenv1, libvelrix1 and velrixctl of one version"});
    }
    return diagnoses;
}

} // namespace VelrixTools

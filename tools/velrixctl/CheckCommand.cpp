// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "tools/check/Judge.h"
#include "tools/check/ReadSettings.h"
#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/Json.h"

namespace VelrixTools {

namespace {

struct JudgedFile {
    std::string name;
    std::string unreadable; // why; empty: it was read
    std::vector<Finding> findings;
};

JudgedFile JudgeFile(const std::string& name, const JudgeOptions& options) {
    try {
        return {name, "", JudgeSettings(ReadSettings(name), options)};
    } catch (const UnreadableSettings& error) {
        return {name, error.what(), {}};
    }
}

std::string Count(const std::vector<Finding>& findings, Severity severity) {
    std::size_t count = 0;
    for (const Finding& finding : findings)
        count += finding.severity == severity ? 1 : 0;
    return count == 0 ? "" : std::to_string(count) + " " + NameOf(severity) + (count == 1 ? "" : "s");
}

// "2 errors, 1 warning".
std::string Summary(const std::vector<Finding>& findings) {
    const std::string errors = Count(findings, Severity::ERROR), warnings = Count(findings, Severity::WARNING);
    return (errors.empty() ? "good" : errors) + (warnings.empty() ? "" : ", " + warnings);
}

void PrintText(const std::vector<JudgedFile>& files) {
    for (const JudgedFile& file : files) {
        if (!file.unreadable.empty())
            continue;
        for (const Finding& finding : file.findings)
            Print(Describe(file.name, finding, HasColours()));
        Print(Escaped(file.name) + ": " +
              In(HasErrors(file.findings) ? Colour::RED : Colour::GREEN, Summary(file.findings)) + "\n");
    }
}

Json FindingsAsJson(const std::vector<JudgedFile>& files) {
    Json all = Json::array();
    for (const JudgedFile& file : files) {
        if (!file.unreadable.empty())
            all.push_back(
                {{"file", file.name}, {"severity", "error"}, {"rule", "unreadable"}, {"text", file.unreadable}});
        for (const Finding& finding : file.findings)
            all.push_back({{"file", file.name},
                           {"line", finding.location.line},
                           {"column", finding.location.column},
                           {"width", finding.location.width},
                           {"severity", NameOf(finding.severity)},
                           {"rule", finding.rule},
                           {"text", finding.text},
                           {"source", finding.sourceLine}});
    }
    return all;
}

// A relative path stays relative, to the directory that the reader of the log chooses.
std::string UriOf(const std::string& path) {
    constexpr std::string_view PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        uri += PLAIN.find(c) != std::string_view::npos ? std::string(1, c)
                                                       : std::string{'%', DIGITS[byte / 16], DIGITS[byte % 16]};
    }
    return uri;
}

Json SarifResult(const std::string& file, const Finding& finding) {
    const Location& place = finding.location;
    const Json region = {{"startLine", place.line},
                         {"startColumn", place.column},
                         {"endColumn", place.column + place.width},
                         {"snippet", {{"text", finding.sourceLine}}}};
    const Json location = {{"physicalLocation", {{"artifactLocation", {{"uri", UriOf(file)}}}, {"region", region}}}};
    return {{"ruleId", finding.rule},
            {"level", NameOf(finding.severity)},
            {"message", {{"text", finding.text}}},
            {"locations", Json::array({location})}};
}

Json Sarif(const std::vector<JudgedFile>& files) {
    Json results = Json::array(), rules = Json::array(), notices = Json::array();
    std::set<std::string> names;
    for (const JudgedFile& file : files) {
        if (!file.unreadable.empty())
            notices.push_back({{"level", "error"}, {"message", {{"text", file.name + ": " + file.unreadable}}}});
        for (const Finding& finding : file.findings) {
            results.push_back(SarifResult(file.name, finding));
            if (names.insert(finding.rule).second)
                rules.push_back({{"id", finding.rule}});
        }
    }
    const Json driver = {{"name", "velrixctl"}, {"version", VELRIX_VERSION}, {"rules", rules}};
    const Json invocation = {{"executionSuccessful", notices.empty()}, {"toolExecutionNotifications", notices}};
    const Json run = {{"tool", {{"driver", driver}}},
                      {"columnKind", "unicodeCodePoints"},
                      {"invocations", Json::array({invocation})},
                      {"results", results}};
    return {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
            {"version", "2.1.0"},
            {"runs", Json::array({run})}};
}

} // namespace

int RunCheck(const CommandLine& line) {
    std::vector<std::string> names = line.Values("FILE");
    if (names.empty())
        names.emplace_back(SETTINGS_FILE);
    if (line.Has("--json") && line.Has("--sarif"))
        throw CommandError("--json and --sarif exclude each other");
    std::vector<JudgedFile> files;
    for (const std::string& name : names)
        files.push_back(JudgeFile(name, {line.Has("--paths")}));

    if (line.Has("--json"))
        PrintJson(FindingsAsJson(files));
    else if (line.Has("--sarif"))
        PrintJson(Sarif(files));
    else
        PrintText(files);

    int code = EXIT_GOOD;
    for (const JudgedFile& file : files) {
        if (!file.unreadable.empty())
            Complain("cannot read " + Escaped(file.name) + ": " + file.unreadable +
                     (file.name == SETTINGS_FILE ? "; the library uses the defaults" : ""));
        code = std::max(code, !file.unreadable.empty()   ? EXIT_FAILED
                              : HasErrors(file.findings) ? EXIT_WRONG
                                                         : EXIT_GOOD);
    }
    return code;
}

} // namespace VelrixTools

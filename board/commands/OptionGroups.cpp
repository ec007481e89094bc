// SPDX-License-Identifier: Apache-2.0
#include "board/commands/OptionGroups.h"

#include <algorithm>
#include <iterator>

namespace VelrixBoard {

namespace {

constexpr const char* PROGRAM = "The program and its board";
constexpr const char* VIEWS = "Views";
constexpr const char* INPUTS = "Inputs and faults";
constexpr const char* TIME = "Time";
constexpr const char* SEARCH = "The search";
constexpr const char* RECORDS = "Records and verdicts";

// The options of the commands that run a program, as their help lists them.
constexpr struct {
    std::string_view option;
    const char* group;
} OPTIONS[] = {
    {"--image", PROGRAM},    {"--settings", PROGRAM},    {"--directory", PROGRAM}, {"--isolation", PROGRAM},
    {"--as-root", PROGRAM},  {"--no-syslog", PROGRAM},   {"--on-reboot", PROGRAM}, {"--libraries", PROGRAM},
    {"--copy", PROGRAM},     {"--runs", SEARCH},         {"--seed", SEARCH},       {"--jobs", SEARCH},
    {"--length", SEARCH},    {"--limit", SEARCH},        {"--bounds", SEARCH},     {"--corpus", SEARCH},
    {"--quiet", SEARCH},     {"--print-bounds", SEARCH}, {"--time", TIME},         {"--date", TIME},
    {"--unserved", TIME},    {"--terminal", VIEWS},      {"--panel", VIEWS},       {"--panel-hold", VIEWS},
    {"--set", INPUTS},       {"--without", INPUTS},      {"--fault", INPUTS},      {"--oxbo-ready-after", INPUTS},
    {"--scenario", RECORDS}, {"--junit", RECORDS},       {"--name", RECORDS},      {"--timeline", RECORDS},
    {"--force", RECORDS},
};

const auto* Find(std::string_view option) {
    return std::find_if(std::begin(OPTIONS), std::end(OPTIONS), [&](const auto& row) { return row.option == option; });
}

} // namespace

std::string GroupOf(std::string_view option) {
    const auto* const row = Find(option);
    return row == std::end(OPTIONS) ? "" : row->group;
}

std::size_t PlaceOf(std::string_view option) {
    return static_cast<std::size_t>(Find(option) - std::begin(OPTIONS));
}

} // namespace VelrixBoard

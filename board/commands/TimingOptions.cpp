// SPDX-License-Identifier: Apache-2.0
#include "board/commands/TimingOptions.h"

#include <CLI/CLI.hpp>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

void TimingOptions::AddTo(CLI::App& command) {
    command
        .add_option(
            "--time", time,
            "How the board's time passes: as the machine's; skipping the time in which nothing on the board runs; "
            "or that way, but at most so many times faster than the machine's, as in 5x; virtual if not given for a "
            "scenario that nobody watches (--terminal, --panel) and a program that it reaches, else real")
        ->check([](const std::string& text) {
            return ParseTimeOptions(text) ? "" : "expected real, virtual, or a pace from 0.001x to 100000x";
        })
        ->type_name("real|virtual|FACTORx");
    command
        .add_option("--date", date,
                    "Where the board's wall clock begins, as 2038-01-19T03:14:00Z; not with --time real")
        ->check([](const std::string& text) {
            return ParseDate(text) ? "" : "expected a moment such as 2038-01-19T03:14:00Z, from 1970 to 2200";
        })
        ->type_name("DATE");
    command
        .add_option(
            "--unserved", unserved,
            "When a program waits in a way that the board's clock does not reach: let time pass as the machine's "
            "meanwhile, or end the run; real if not given, not with --time real")
        ->check(CLI::IsMember({"real", "fail"}))
        ->type_name("real|fail");
}

TimeOptions TimingOptions::Get(bool isUsuallyVirtual) const {
    const std::string usual = isUsuallyVirtual ? "virtual" : "real";
    TimeOptions options = ParseTimeOptions(time.empty() ? usual : time).value_or(TimeOptions());
    if (!options.isVirtual && !date.empty())
        throw CLI::ValidationError("--date", "needs --time virtual or a pace");
    if (!options.isVirtual && !unserved.empty())
        throw CLI::ValidationError("--unserved", "needs --time virtual or a pace");
    if (!date.empty())
        options.date = ParseDate(date);
    options.unserved = unserved == "fail" ? TimeOptions::Unserved::FAIL : TimeOptions::Unserved::REAL;
    return options;
}

} // namespace VelrixBoard

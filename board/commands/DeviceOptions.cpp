// SPDX-License-Identifier: Apache-2.0
#include "board/commands/DeviceOptions.h"

#include <string>

#include <CLI/CLI.hpp>

#include "board/virtual/Board.h"

namespace VelrixBoard {

void AddDeviceOptions(CLI::App& app, BoardOptions& options) {
    const auto takeFault = [&options](const std::string& text) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos)
            throw CLI::ValidationError("--fault", "takes NAME=FAULT, such as MS.red=EIO");
        try {
            options.faults.insert_or_assign(text.substr(0, equals), ParseFault(text.substr(equals + 1)));
        } catch (const FaultError& error) {
            throw CLI::ValidationError("--fault", error.what());
        }
    };
    app.add_option_function<std::vector<std::string>>(
           "--fault",
           [takeFault](const std::vector<std::string>& faults) {
               for (const std::string& fault : faults)
                   takeFault(fault);
           },
           "What is wrong with the value file of a line or LED element: EIO, ENOSPC, EACCES, slow:TIME such as "
           "slow:2s, or missing")
        ->type_name("NAME=FAULT");
    app.add_option_function<std::string>(
           "--on-reboot",
           [&options](const std::string& text) {
               options.onReboot = text == "restart" ? BoardOptions::OnReboot::RESTART : BoardOptions::OnReboot::EXIT;
           },
           "What follows when the program calls reboot and was ended: its restart, or the board's end; exit if not "
           "given")
        ->check(CLI::IsMember({"restart", "exit"}))
        ->type_name("restart|exit");
}

} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <exception>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"

using namespace VelrixTools;

int main(int argc, char** argv) {
    // A closed pipe is an error of a write, which is reported.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Run(CommandLine(argc, argv));
    } catch (const CommandError& error) {
        Complain(error.what());
        return error.Code();
    } catch (const System::IO::IOException& error) {
        Complain(std::string(error.what()) + "\n\"velrixctl doctor\" says what to do.");
    } catch (const System::Exception& error) {
        Complain(error.ToString()->ToUtf8());
    } catch (const std::exception& error) {
        Complain(error.what());
    }
    return EXIT_FAILED;
}

// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <csignal>
#include <exception>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"

using namespace VelrixTools;

namespace {

// The next file that is opened would get the number of a closed stream, and what is printed would go into that file,
// such as a line's value file. Writes to what is opened here fail instead.
void OpenMissingStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF && ::open("/dev/null", O_RDONLY) != stream)
            ::_exit(EXIT_FAILED);
}

} // namespace

int main(int argc, char** argv) {
    OpenMissingStreams();
    // A closed pipe is an error of a write: a command that drives the board has to leave it as it says.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Run(CommandLine(argc, argv));
    } catch (const CommandError& error) {
        if (*error.what() != '\0')
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

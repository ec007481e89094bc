// SPDX-License-Identifier: Apache-2.0
#include "board/commands/EmulatorCommand.h"
#include "board/commands/StandardStreams.h"

int main(int argc, char** argv) {
    VelrixBoard::OpenMissingStandardStreams();
    return VelrixBoard::RunEmulatorCommand(argc, argv);
}

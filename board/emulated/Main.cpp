// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/Command.h"
#include "board/virtual/StandardStreams.h"

int main(int argc, char** argv) {
    VelrixBoard::OpenMissingStandardStreams();
    return VelrixBoard::RunEmulatorCommand(argc, argv);
}

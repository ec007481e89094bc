// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/Command.h"

int main(int argc, char** argv) {
    return VelrixBoard::RunEmulatorCommand(argc, argv);
}

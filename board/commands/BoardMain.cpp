// SPDX-License-Identifier: Apache-2.0
#include "board/commands/BoardCommand.h"
#include "board/commands/StandardStreams.h"
#include "board/sandbox/RebootStub.h"

int main(int argc, char** argv) {
    VelrixBoard::OpenMissingStandardStreams();
    if (VelrixBoard::RebootStub::IsCalled())
        return VelrixBoard::RebootStub::Main(argc, argv);
    return VelrixBoard::RunCommand(argc, argv);
}

// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Command.h"
#include "board/virtual/RebootStub.h"
#include "board/virtual/StandardStreams.h"

int main(int argc, char** argv) {
    VelrixBoard::OpenMissingStandardStreams();
    if (VelrixBoard::RebootStub::IsCalled())
        return VelrixBoard::RebootStub::Main(argc, argv);
    return VelrixBoard::RunCommand(argc, argv);
}

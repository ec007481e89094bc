// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Command.h"
#include "board/virtual/RebootStub.h"

int main(int argc, char** argv) {
    if (VelrixBoard::RebootStub::IsCalled())
        return VelrixBoard::RebootStub::Main(argc, argv);
    return VelrixBoard::RunCommand(argc, argv);
}

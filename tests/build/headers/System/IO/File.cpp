// SPDX-License-Identifier: Apache-2.0
#include <System/IO/File.h>

using System::IO::File;

int UseFile() {
    try {
        return File::ReadAllText("/dev/null")->Length() + File::OpenRead("/dev/null")->ReadByte();
    } catch (const System::IO::IOException& exception) {
        return exception.ErrorCode();
    } catch (const System::ArgumentNullException&) {
        return -1;
    }
}

// SPDX-License-Identifier: Apache-2.0
#include <System/Convert.h>

#include <velrix/identity/HardwareInfo.h>
#include <velrix/identity/ProductInfo.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/IdentityFiles.h"
#include "tools/velrixctl/Json.h"

namespace VelrixTools {

int RunIdentity(const CommandLine& line) {
    bool isWrong = false;
    for (const IdentityFile& file : ReadIdentityFiles(*LoadSettings()))
        if (!file.wrong.empty()) {
            Complain(file.path + ": " + file.wrong + "\n  for example: " + file.remedy);
            isWrong = true;
        }
    if (isWrong)
        return EXIT_WRONG;

    const auto product = Velrix::ProductInfo::INSTANCE.Value();
    const auto hardware = Velrix::HardwareInfo::INSTANCE.Value();
    const std::string serial = System::Convert::ToString(product->SerialNumber, 16)->ToUtf8();
    const std::string version = product->Version->ToString()->ToUtf8();
    const std::string name = hardware->Name->ToUtf8(), revision = hardware->Version->ToString()->ToUtf8();
    if (line.Has("--json"))
        PrintJson({{"serialNumber", serial},
                   {"productVersion", version},
                   {"hardwareName", name},
                   {"hardwareRevision", revision}});
    else
        Print("serial number      " + serial + "\nproduct version    " + version + "\nhardware           " +
              Escaped(name) + "\nhardware revision  " + revision + "\n");
    return EXIT_GOOD;
}

} // namespace VelrixTools

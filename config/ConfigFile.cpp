// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ConfigFile.h>

#include "config/ConfigParser.h"

namespace Velrix {

using System::string_ptr;
using System::Collections::Generic::Dictionary;

std::shared_ptr<Dictionary<string_ptr, std::shared_ptr<Dictionary<string_ptr, string_ptr>>>>
ConfigFile::ReadAll(string_ptr path) {
    return ConfigParser::Create()->Parse(path);
}

} // namespace Velrix

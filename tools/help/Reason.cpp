// SPDX-License-Identifier: Apache-2.0
#include "tools/help/Reason.h"

#include "tools/completion/Words.h"

namespace VelrixTools {

namespace {

// "--isolation: x not in {auto,preload}".
constexpr const char* NOT_IN = " not in {";

std::string ReasonOfChoice(const std::string& message) {
    const std::size_t colon = message.find(": ");
    const std::size_t end = message.rfind(NOT_IN);
    const std::size_t begin = end + std::string(NOT_IN).size();
    const std::string choices = message.substr(begin, message.find('}', begin) - begin);
    return message.substr(0, colon) + " cannot be \"" + message.substr(colon + 2, end - colon - 2) +
           "\"; there are: " + Replaced(choices, ",", ", ");
}

} // namespace

std::string ReasonOf(const std::string& kind, const std::string& message,
                     const std::function<std::string(const std::string& option)>& valueOf) {
    const std::size_t choices = message.rfind(NOT_IN);
    if (kind == "ValidationError" && choices != std::string::npos && message.find(": ") < choices)
        return ReasonOfChoice(message);
    const std::size_t begin = message.find("--");
    if (begin == std::string::npos)
        return message;
    const std::string option = message.substr(begin, message.find_first_of(": =", begin) - begin);
    // Only flags are converted.
    if (kind == "ConversionError")
        return option + " takes no value";
    if (kind == "ArgumentMismatch")
        return message.find("At Most") == std::string::npos ? option + " takes " + valueOf(option)
                                                            : option + " is given more than once";
    return message;
}

} // namespace VelrixTools

// SPDX-License-Identifier: Apache-2.0
#include "board/files/ValueText.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::string_view_literals;

// "1", "0" or the error's name.
std::string Result(int (*parse)(std::string_view, bool&), std::string_view text) {
    std::string result;
    for (const bool before : {false, true}) {
        bool level = before;
        const int error = parse(text, level);
        if (error != 0 && level != before)
            return "level changed by an error";
        result = error == EINVAL ? "EINVAL" : error == ERANGE ? "ERANGE" : error != 0 ? "?" : level ? "1" : "0";
    }
    return result;
}

TEST(ValueTextTest, ReadsWhatTheKernelReads) {
    const struct {
        std::string_view text;
        const char* line;
        const char* led;
    } rows[] = {
        {"0", "0", "0"},
        {"1", "1", "1"},
        {"0\n", "0", "0"},
        {"1\n", "1", "1"},
        {"2", "1", "1"},
        {"255", "1", "1"},
        {"00", "0", "0"},
        {"01", "1", "1"},
        {"+1", "1", "1"},
        {"+0", "0", "0"},
        {"-1", "1", "EINVAL"},
        {"-0", "0", "EINVAL"},
        {"0x0", "0", "EINVAL"},
        {"0x1f", "1", "EINVAL"},
        {"0X1F\n", "1", "EINVAL"},
        {"0x", "EINVAL", "EINVAL"},
        {"0xg", "EINVAL", "EINVAL"},
        {"07", "1", "1"},
        {"08", "EINVAL", "1"},
        {"2147483647", "1", "1"},
        {"2147483648", "ERANGE", "1"},
        {"-2147483648", "1", "EINVAL"},
        {"-2147483649", "ERANGE", "EINVAL"},
        {"4294967295", "ERANGE", "1"},
        {"4294967296", "ERANGE", "ERANGE"},
        {"99999999999999999999", "ERANGE", "ERANGE"},
        {"99999999999x", "EINVAL", "EINVAL"},
        {"", "EINVAL", "EINVAL"},
        {"\n", "EINVAL", "EINVAL"},
        {"+", "EINVAL", "EINVAL"},
        {"-", "EINVAL", "EINVAL"},
        {"++1", "EINVAL", "EINVAL"},
        {"+-1", "EINVAL", "EINVAL"},
        {" 1", "EINVAL", "EINVAL"},
        {"1 ", "EINVAL", "EINVAL"},
        {"1\n\n", "EINVAL", "EINVAL"},
        {"\n1", "EINVAL", "EINVAL"},
        {"1\r\n", "EINVAL", "EINVAL"},
        {"1x", "EINVAL", "EINVAL"},
        {"on", "EINVAL", "EINVAL"},
        {"1\0x"sv, "1", "1"},
        {"\0"sv, "EINVAL", "EINVAL"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Result(ParseLineValue, row.text), row.line) << testing::PrintToString(row.text);
        EXPECT_EQ(Result(ParseLedValue, row.text), row.led) << testing::PrintToString(row.text);
    }
}

} // namespace
} // namespace VelrixBoard

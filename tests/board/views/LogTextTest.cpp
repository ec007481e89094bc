// SPDX-License-Identifier: Apache-2.0
#include "board/views/LogText.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using Weight = LogText::Weight;

TEST(LogTextTest, ReadsTheWebLogByItsMarkers) {
    const struct {
        const char* record;
        LogText read;
    } rows[] = {
        {">start", {"Operation started", Weight::LIGHT}},
        {">end", {"Operation ended", Weight::LIGHT}},
        {">br", {"", Weight::LIGHT}},
        {">other", {">other"}},
        {"+note", {"note"}},
        {"@wwarm", {"Warning: warm", Weight::WARNING}},
        {"@ehot", {"Error: hot", Weight::ERROR}},
        {"%Loading", {"Loading", Weight::NORMAL, 0, true}},
        {"%5 files", {"5 files", Weight::NORMAL, 0, true}},
        {"%", {"", Weight::NORMAL, 0, true}},
        {"%0", {"", Weight::NORMAL, 0}},
        {"%100", {"", Weight::NORMAL, 100}},
        {"%101", {"", Weight::NORMAL, 100}},
        {"%99999999999", {"", Weight::NORMAL, 100}},
        {"plain", {"plain"}},
        {"", {""}},
    };
    for (const auto& row : rows) {
        const LogText read = ReadWebLogRecord(row.record);

        EXPECT_EQ(read.text, row.read.text) << row.record;
        EXPECT_EQ(read.weight, row.read.weight) << row.record;
        EXPECT_EQ(read.percent, row.read.percent) << row.record;
        EXPECT_EQ(read.beginsBar, row.read.beginsBar) << row.record;
    }
}

TEST(LogTextTest, ReadsTheSystemLogByItsPriority) {
    const struct {
        const char* record;
        const char* text;
        Weight weight;
    } rows[] = {
        {"<8>gateway: gone", "fatal user gateway: gone", Weight::ERROR},
        {"<130>gateway: gone", "fatal local0 gateway: gone", Weight::ERROR},
        {"<136>gateway: gone", "fatal local1 gateway: gone", Weight::ERROR},
        {"<1000>gateway: gone", "fatal gateway: gone", Weight::ERROR},
        {"<11>Nov 21 10:00:00 gateway[7]: too hot: 99", "error gateway: too hot: 99", Weight::ERROR},
        {"<28>Nov  1 10:00:00 gateway: hm", "warning gateway: hm", Weight::WARNING},
        {"<13>gateway: note", "info gateway: note", Weight::NORMAL},
        {"<14>Now 21 is no time", "info Now 21 is no time", Weight::NORMAL},
        {"<15>gateway[x]: detail", "debug gateway[x]: detail", Weight::LIGHT},
        {"<15>", "debug ", Weight::LIGHT},
        {"<15", "<15", Weight::NORMAL},
        {"<x>gateway", "<x>gateway", Weight::NORMAL},
        {"<-1>gateway", "<-1>gateway", Weight::NORMAL},
        {"no priority", "no priority", Weight::NORMAL},
        {"", "", Weight::NORMAL},
    };
    for (const auto& row : rows) {
        const LogText read = ReadSystemLogRecord(row.record);

        EXPECT_EQ(read.text, row.text) << row.record;
        EXPECT_EQ(read.weight, row.weight) << row.record;
        EXPECT_FALSE(read.percent) << row.record;
    }
}

} // namespace
} // namespace VelrixBoard

// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventType.h>

#include <gtest/gtest.h>

#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using System::Diagnostics::TraceEventType;

TEST(TraceEventType, HasFiveLevelsOfRisingSeverity) {
    const struct {
        const std::shared_ptr<TraceEventType>& type;
        const char* name;
    } rows[] = {
        {TraceEventType::DEBUG, "DEBUG"},     {TraceEventType::INFORMATION, "INFORMATION"},
        {TraceEventType::WARNING, "WARNING"}, {TraceEventType::ERROR, "ERROR"},
        {TraceEventType::FATAL, "FATAL"},
    };

    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(rows[i].type->Name(), rows[i].name);
        EXPECT_EQ(rows[i].type->ToString(), rows[i].name);
        if (i > 0) {
            EXPECT_GT(rows[i].type->Severity(), rows[i - 1].type->Severity()) << rows[i].name;
        }
    }
}

TEST(TraceEventType, IsComparedByIdentity) {
    EXPECT_TRUE(TraceEventType::ERROR->Equals(TraceEventType::ERROR));
    EXPECT_FALSE(TraceEventType::ERROR->Equals(TraceEventType::FATAL));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventTypeFilter.h>

#include <string>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceEventTypeFilter;
using TestSupport::ExpectException;

const std::shared_ptr<TraceEventType> TYPES[] = {TraceEventType::DEBUG, TraceEventType::INFORMATION,
                                                 TraceEventType::WARNING, TraceEventType::ERROR, TraceEventType::FATAL};

// The types that pass, from DEBUG on.
std::string Passing(TraceEventTypeFilter& filter) {
    std::string passing;
    for (const auto& type : TYPES)
        passing += filter.ShouldTrace(type) ? '1' : '0';
    return passing;
}

TEST(TraceEventTypeFilter, PassesOneTypeAlone) {
    const char* const expected[] = {"10000", "01000", "00100", "00010", "00001"};

    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Passing(*TraceEventTypeFilter::FromType(TYPES[i])), expected[i]);
}

TEST(TraceEventTypeFilter, PassesATypeAndMoreSevereOnes) {
    const char* const expected[] = {"11111", "01111", "00111", "00011", "00001"};

    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Passing(*TraceEventTypeFilter::FromEqualOrHigherType(TYPES[i])), expected[i]);
}

TEST(TraceEventTypeFilter, RefusesNull) {
    const std::string message = ArgumentNullException("eventType").what();

    ExpectException<ArgumentNullException>(message, [] { TraceEventTypeFilter::FromType(nullptr); });
    ExpectException<ArgumentNullException>(message, [] { TraceEventTypeFilter::FromEqualOrHigherType(nullptr); });
    ExpectException<ArgumentNullException>(
        message, [] { TraceEventTypeFilter::FromType(TraceEventType::DEBUG)->ShouldTrace(nullptr); });
}

TEST(TraceEventTypeFilter, SurvivesEveryAllocationFailure) {
    EXPECT_GT(TestSupport::FailEachAllocation([] {
                  TraceEventTypeFilter::FromType(TraceEventType::DEBUG);
                  TraceEventTypeFilter::FromEqualOrHigherType(TraceEventType::DEBUG);
              }),
              1);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceListener.h>

#include <memory>

#include <gtest/gtest.h>

#include <System/Diagnostics/TraceEventTypeFilter.h>

namespace {

using namespace System;
using namespace System::Diagnostics;

// A minimal listener.
class SmallestListener final : public TraceListener {
public:
    void TraceEvent(std::shared_ptr<TraceEventArgs>, std::shared_ptr<TraceEventType>,
                    std::shared_ptr<Object>) override {}

    using Object::Self;
};

TEST(TraceListener, BeginsWithoutFilterAndOptions) {
    const auto listener = std::make_shared<SmallestListener>();

    EXPECT_EQ(listener->Filter, nullptr);
    EXPECT_EQ(listener->GetFilter(), nullptr);
    EXPECT_EQ(listener->Options(), TraceOptions::NONE);
    EXPECT_EQ(static_cast<int>(TraceOptions::NONE), 0);
}

TEST(TraceListener, KeepsTheFilterInAFieldForAll) {
    const auto listener = std::make_shared<SmallestListener>();
    const auto filter = TraceEventTypeFilter::FromType(TraceEventType::DEBUG);

    listener->SetFilter(filter);
    EXPECT_EQ(listener->Filter, filter);
    EXPECT_EQ(listener->GetFilter(), filter);

    listener->Filter = nullptr;
    EXPECT_EQ(listener->GetFilter(), nullptr);
}

TEST(TraceListener, HasNothingToFlushAndToCloseOfItsOwn) {
    const std::shared_ptr<TraceListener> listener = std::make_shared<SmallestListener>();

    EXPECT_NO_THROW(listener->Flush());
    EXPECT_NO_THROW(listener->Close());
}

TEST(TraceListener, KnowsItsOwnerThroughAVirtualBase) {
    const auto listener = std::make_shared<SmallestListener>();

    EXPECT_EQ(listener->Self<TraceListener>(), listener);
}

} // namespace

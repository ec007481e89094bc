// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/ProductInfo.h>

#include <cerrno>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>
#include <System/IO/Exceptions.h>

#include "tests/identity/Device.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"

using TestSupport::ExpectException;
using TestSupport::FailingSystemCalls;
using Velrix::ProductInfo;

namespace {

struct ProductDevice : Device {
    ProductDevice(const std::string& serialNumber, const std::string& version)
        : Device{{"serialnumber.product", serialNumber}, {"version.product", version}} {}
};

} // namespace

TEST(ProductInfo, ReadsSerialNumberAndVersion) {
    const struct {
        const char* file;
        unsigned long long serialNumber;
        const char* text;
    } rows[] = {
        {"1a2b3c4d", 0x1a2b3c4d, "ProductInfo[SerialNumber=1a2b3c4d, version=2.1.0]"},
        {"ff", 255, "ProductInfo[SerialNumber=ff, version=2.1.0]"},
        {"10", 16, "ProductInfo[SerialNumber=10, version=2.1.0]"},
        {"0", 0, "ProductInfo[SerialNumber=0, version=2.1.0]"},
        {"0xFFFFFFFFFFFFFFFF", 0xFFFFFFFFFFFFFFFF, "ProductInfo[SerialNumber=ffffffffffffffff, version=2.1.0]"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const ProductDevice device(row.file, "v2.1.0");

        const auto product = ProductInfo::Create();

        EXPECT_EQ(product->SerialNumber, row.serialNumber);
        EXPECT_TRUE(product->Version->Equals(Velrix::Version::Create(2, 1, 0)));
        EXPECT_EQ(product->ToString(), row.text);
    }
}

TEST(ProductInfo, CannotBeChanged) {
    EXPECT_TRUE((std::is_same_v<decltype(ProductInfo::SerialNumber), const unsigned long long>));
    EXPECT_TRUE((std::is_same_v<decltype(ProductInfo::Version), const std::shared_ptr<Velrix::Version>>));
}

TEST(ProductInfo, CutsVersionNumbersTo8Bits) {
    const ProductDevice device("1", "v1.256.300");

    EXPECT_EQ(ProductInfo::Create()->ToString(), "ProductInfo[SerialNumber=1, version=1.0.44]");
}

TEST(ProductInfo, RefusesASerialNumberThatIsNotHexadecimal) {
    const struct {
        const char* file;
        const char* shown;
    } rows[] = {{"1a2b3c4d\n", "1a2b3c4d\\n"}, {"ff ", "ff "}, {"xyz", "xyz"}, {"-1", "-1"}, {"", "\"\""}};

    for (const auto& row : rows) {
        SCOPED_TRACE(row.file);
        const ProductDevice device(row.file, "v2.1.0");
        try {
            ProductInfo::Create();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::FormatException& exception) {
            EXPECT_NE(std::string(exception.what()).find(row.shown), std::string::npos) << exception.what();
        }
    }

    const ProductDevice device("10000000000000000", "v2.1.0");
    EXPECT_THROW(ProductInfo::Create(), System::OverflowException);
}

TEST(ProductInfo, RefusesAVersionWithoutItsV) {
    const ProductDevice device("ff", "2.1.0");

    ExpectException<System::ArgumentException>("v", [] { ProductInfo::Create(); });
}

TEST(ProductInfo, RefusesAVersionWithoutThreeParts) {
    const ProductDevice device("ff", "v2.1");

    ExpectException<System::ArgumentException>("[2, 1]", [] { ProductInfo::Create(); });
}

TEST(ProductInfo, RefusesAVersionWithALineEnd) {
    const ProductDevice device("ff", "v2.1.0\n");

    try {
        ProductInfo::Create();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const System::FormatException& exception) {
        EXPECT_NE(std::string(exception.what()).find("0\\n"), std::string::npos) << exception.what();
    }
}

TEST(ProductInfo, HasNoDefaultForAMissingFile) {
    for (const char* const file : {"serialnumber.product", "version.product"}) {
        SCOPED_TRACE(file);
        const ProductDevice device("ff", "v2.1.0");
        device.folder.Remove(file);

        try {
            ProductInfo::Create();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::IO::FileNotFoundException& exception) {
            EXPECT_EQ(exception.Path(), device.folder.Path(file));
        }
    }
}

TEST(ProductInfo, HasNoDefaultForAFileThatCannotBeRead) {
    const ProductDevice device("ff", "v2.1.0");

    int number = 0;
    for (const char* const file : {"serialnumber.product", "version.product"}) {
        SCOPED_TRACE(file);
        const std::string path = device.folder.Path(file);
        const FailingSystemCalls failing("open", ++number, EACCES);
        ExpectException<System::IO::UnauthorizedAccessException>("Cannot open: " + path + ": Permission denied",
                                                                 [] { ProductInfo::Create(); });
    }

    const FailingSystemCalls failing("read", 1, EIO);
    ExpectException<System::IO::IOException>("Cannot read: " + device.folder.Path("serialnumber.product") +
                                                 ": Input/output error",
                                             [] { ProductInfo::Create(); });
}

TEST(ProductInfo, TracesNothing) {
    const ProductDevice device("ff", "2.1.0");

    const std::string trace = TraceOf([&] {
        EXPECT_THROW(ProductInfo::Create(), System::ArgumentException);
        device.folder.Write("version.product", "v1.256.300");
        ProductInfo::Create();
    });

    EXPECT_EQ(trace, "");
}

TEST(ProductInfo, ReadsTheSerialNumberFirst) {
    const ProductDevice device("no number", "no version");

    EXPECT_THROW(ProductInfo::Create(), System::FormatException);
}

TEST(ProductInfo, IsReadOnceAndAgainOnlyAfterAFailure) {
    const ProductDevice device("ff", "no version");
    EXPECT_THROW(ProductInfo::INSTANCE.Value(), System::ArgumentException);
    EXPECT_FALSE(ProductInfo::INSTANCE.IsValueCreated());

    device.folder.Write("version.product", "v1.2.3");
    const auto product = ProductInfo::INSTANCE.Value();
    device.folder.Write("version.product", "v4.5.6");

    EXPECT_EQ(product->ToString(), "ProductInfo[SerialNumber=ff, version=1.2.3]");
    EXPECT_EQ(ProductInfo::INSTANCE.Value(), product);
    EXPECT_NE(ProductInfo::Create(), product);
}

TEST(ProductInfo, SurvivesEveryAllocationFailure) {
    const ProductDevice device("ff", "v2.1.0");

    const long failures = TestSupport::FailEachAllocation([] { ProductInfo::Create()->ToString(); });

    EXPECT_GT(failures, 5);
}

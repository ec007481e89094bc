// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/Version.h>

using Velrix::Version;

bool UseVersion(const std::shared_ptr<Version>& other) {
    try {
        return Version::FromString("v1.2.3", "v", '.')->Equals(other);
    } catch (const System::FormatException&) {
        return false;
    } catch (const System::OverflowException&) {
        return false;
    } catch (const System::ArgumentException&) {
        return false;
    }
}

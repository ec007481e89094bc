// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// A folder of the test's own, gone with everything in it when the object goes. Failures fail the test.
class TemporaryFolder final {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::string& Path() const { return path; }
    std::string Path(const std::string& name) const { return path + "/" + name; }

    // Replaces the file's content; creates it if missing.
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;
    void Remove(const std::string& name) const;

private:
    std::string path;
};

} // namespace TestSupport

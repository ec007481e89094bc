// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// A temporary folder, removed by the destructor. Failures fail the test.
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

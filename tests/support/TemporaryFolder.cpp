// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace TestSupport {

TemporaryFolder::TemporaryFolder() : path((std::filesystem::temp_directory_path() / "velrix-test-XXXXXX").string()) {
    EXPECT_NE(mkdtemp(path.data()), nullptr) << path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    EXPECT_FALSE(error) << path << ": " << error.message();
}

void TemporaryFolder::Write(const std::string& name, const std::string& content) const {
    std::ofstream file(Path(name), std::ios::binary | std::ios::trunc);
    file << content << std::flush;
    EXPECT_TRUE(file) << Path(name);
}

std::string TemporaryFolder::Read(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    EXPECT_TRUE(file) << Path(name);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

void TemporaryFolder::Remove(const std::string& name) const {
    EXPECT_TRUE(std::filesystem::remove(Path(name))) << Path(name);
}

} // namespace TestSupport

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace VelrixTools {

// The largest file that is judged, in bytes. A settings file has a few thousand.
inline constexpr std::size_t LARGEST_FILE = 16U * 1024 * 1024;

// A file that cannot be read; the message says why, without the file's name.
class UnreadableSettings final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The bytes of a regular file, without waiting for a pipe or a device.
std::string ReadSettings(const std::string& path);

} // namespace VelrixTools

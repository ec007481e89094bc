// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

#include <System/Export.h>
#include <System/String.h>

namespace System::Detail {

// Makes texts that live and die together, such as those of one file: short ones share memory, and most cost no
// allocation. A block of memory, up to 16 kB, stays as long as any of the texts in it. One thread at a time.
class SYSTEM_EXPORT TextMaker final {
public:
    TextMaker() noexcept = default;
    TextMaker(const TextMaker&) = delete;
    TextMaker& operator=(const TextMaker&) = delete;
    ~TextMaker();

    // The text whose code units are the bytes, without an encoding.
    string_ptr Make(std::string_view bytes);

private:
    friend class System::string_ptr;

    void AddBlock();
    // Drops so many references to the block and frees it with the last one. Any thread may drop a text.
    static void Release(char* block, int count) noexcept;

    char* block = nullptr; // begins with its reference count: its texts and this maker
    std::size_t size = 0;  // of the block
    std::size_t used = 0;
    int unborn = 0; // references counted in advance, for texts to come
};

} // namespace System::Detail

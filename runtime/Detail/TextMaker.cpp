// SPDX-License-Identifier: Apache-2.0
#include <System/Detail/TextMaker.h>

#include <algorithm>
#include <atomic>
#include <new>

#include "runtime/Utf.h"

namespace System::Detail {

namespace {

using Holders = std::atomic<int>;

// Blocks grow, so that few texts hold little memory.
constexpr std::size_t FIRST_SIZE = 1024;
constexpr std::size_t LARGEST_SIZE = 16 * FIRST_SIZE;

// A longer text would waste much of a block.
constexpr std::size_t LONGEST_TEXT = FIRST_SIZE / 4;

// More texts than a block has room for.
constexpr int MOST_TEXTS = LARGEST_SIZE / sizeof(String) + 1;

} // namespace

TextMaker::~TextMaker() {
    Release(block, unborn);
}

string_ptr TextMaker::Make(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > LONGEST_TEXT)
        return String::FromBytes(bytes);
    constexpr std::size_t ALIGNMENT = alignof(String);
    const std::size_t needed =
        (sizeof(String) + bytes.size() * sizeof(char16_t) + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    if (size - used < needed)
        AddBlock();
    auto* const text = ::new (block + used) String(static_cast<int>(bytes.size()), static_cast<unsigned>(used));
    used += needed;
    --unborn;
    Utf::CopyPlain(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                   reinterpret_cast<char16_t*>(text + 1), [](unsigned char) { return 0; });
    return string_ptr(text);
}

// The block counts all texts that it may ever have in advance, so that making one does not touch the counter.
void TextMaker::AddBlock() {
    const std::size_t newSize = block ? std::min(2 * size, LARGEST_SIZE) : FIRST_SIZE;
    auto* const newBlock = static_cast<char*>(::operator new(newSize));
    ::new (newBlock) Holders(MOST_TEXTS);
    Release(block, unborn);
    block = newBlock;
    size = newSize;
    used = std::max(sizeof(Holders), alignof(String));
    unborn = MOST_TEXTS;
}

void TextMaker::Release(char* block, int count) noexcept {
    if (block && reinterpret_cast<Holders*>(block)->fetch_sub(count, std::memory_order_acq_rel) == count)
        ::operator delete(block);
}

} // namespace System::Detail

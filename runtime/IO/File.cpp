// SPDX-License-Identifier: Apache-2.0
#include <System/IO/File.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include <System/Collections/Generic/Array.h>

namespace System::IO {

namespace {

// The first block fits a value file; the next ones double up to the last.
constexpr int FIRST_BLOCK_SIZE = 4096;
constexpr int LAST_BLOCK_SIZE = 1 << 20;

} // namespace

std::shared_ptr<FileStream> File::OpenRead(string_ptr path) {
    return FileStream::Create(std::move(path), FileMode::OPEN, FileAccess::READ);
}

string_ptr File::ReadAllText(string_ptr path) {
    using Block = Collections::Generic::Array<unsigned char>;
    const std::shared_ptr<FileStream> stream = OpenRead(std::move(path));
    std::shared_ptr<Block> block = Block::Create(FIRST_BLOCK_SIZE);
    // Decodes in one piece, since a character may cross the boundary of two blocks.
    std::string bytes;
    while (const int count = stream->Read(block, 0, block->Length())) {
        bytes.append(reinterpret_cast<const char*>(block->Data()), static_cast<std::size_t>(count));
        if (count == block->Length() && count < LAST_BLOCK_SIZE)
            block = Block::Create(2 * count);
    }
    return std::string_view(bytes);
}

} // namespace System::IO

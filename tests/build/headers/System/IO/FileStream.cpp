// SPDX-License-Identifier: Apache-2.0
#include <System/IO/FileStream.h>

using System::Collections::Generic::Array;
using System::IO::FileStream;

int UseStream() {
    const auto buffer = Array<unsigned char>::Create(1);
    try {
        const auto stream = FileStream::Create("/dev/null", System::IO::FileMode::OPEN, System::IO::FileAccess::READ);
        return stream->Seek(0, System::IO::SeekOrigin::BEGIN) == 0 ? stream->Read(buffer, 0, 1) : stream->ReadByte();
    } catch (const System::IO::FileNotFoundException& exception) {
        return exception.ErrorCode();
    } catch (const System::IO::UnauthorizedAccessException& exception) {
        return exception.ErrorCode();
    } catch (const System::IO::IOException& exception) {
        return exception.Path()->Length();
    } catch (const System::ObjectDisposedException&) {
        return -1;
    } catch (const System::NotSupportedException&) {
        return -2;
    } catch (const System::ArgumentOutOfRangeException&) {
        return -3;
    }
}

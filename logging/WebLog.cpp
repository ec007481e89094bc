// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/WebLog.h>

#include <new>
#include <utility>

#include <System/Convert.h>
#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/Raisers.h>
#include <System/Text/Encoding.h>

#include "runtime/Threading/Uncancelled.h"

using System::string_ptr;
using System::Collections::Generic::Array;
using System::Collections::Generic::IArray;
using System::IO::FileAccess;
using System::IO::FileMode;
using System::IO::FileStream;
using System::Text::Encoding;

namespace Velrix {

const std::shared_ptr<Array<unsigned char>> WebLog::START = Encoding::ASCII->GetBytes(">start");
const std::shared_ptr<Array<unsigned char>> WebLog::END = Encoding::ASCII->GetBytes(">end");
const std::shared_ptr<Array<unsigned char>> WebLog::NOTIFY = Encoding::ASCII->GetBytes("+");
const std::shared_ptr<Array<unsigned char>> WebLog::WARNING = Encoding::ASCII->GetBytes("@w");
const std::shared_ptr<Array<unsigned char>> WebLog::ERROR = Encoding::ASCII->GetBytes("@e");
const std::shared_ptr<Array<unsigned char>> WebLog::LINEBREAK = Encoding::ASCII->GetBytes(">br");
const std::shared_ptr<Array<unsigned char>> WebLog::PROGRESS_BAR = Encoding::ASCII->GetBytes("%");
const std::shared_ptr<Array<unsigned char>> WebLog::NEWLINE = Encoding::ASCII->GetBytes("\n");

std::shared_ptr<WebLog> WebLog::Create(string_ptr path) {
    return std::shared_ptr<WebLog>(
        new WebLog(FileStream::Create(std::move(path), FileMode::APPEND, FileAccess::WRITE)));
}

WebLog::WebLog(std::shared_ptr<FileStream> ownStream) noexcept : stream(std::move(ownStream)) {}

// Some file systems report lost writes only on close. A destructor must not throw, so it traces the failure.
WebLog::~WebLog() {
    const System::Threading::Uncancelled uncancelled;
    try {
        try {
            stream->Close();
        } catch (const System::Exception& failure) {
            System::Diagnostics::Trace::TraceWarning(failure);
        }
    } catch (const std::bad_alloc&) { // no memory to trace; the file is closed all the same
    }
}

void WebLog::WriteBytes(std::shared_ptr<IArray<unsigned char>> bytes) {
    if (!bytes)
        System::_throw_argument_null_exception("bytes");
    stream->Write(bytes, 0, bytes->Length());
}

void WebLog::WriteString(string_ptr text) {
    WriteBytes(Encoding::ASCII->GetBytes(std::move(text)));
}

void WebLog::Start() {
    WriteBytes(START);
    WriteBytes(NEWLINE);
}

void WebLog::End() {
    WriteBytes(END);
    WriteBytes(NEWLINE);
}

void WebLog::Linebreak() {
    WriteBytes(LINEBREAK);
    WriteBytes(NEWLINE);
}

void WebLog::Notify(string_ptr message) {
    WriteBytes(NOTIFY);
    WriteString(std::move(message));
    WriteBytes(NEWLINE);
}

void WebLog::Warning(string_ptr message) {
    WriteBytes(WARNING);
    WriteString(std::move(message));
    WriteBytes(NEWLINE);
}

void WebLog::Error(string_ptr message) {
    WriteBytes(ERROR);
    WriteString(std::move(message));
    WriteBytes(NEWLINE);
}

void WebLog::BeginProgressBar(string_ptr title) {
    WriteBytes(PROGRESS_BAR);
    WriteString(std::move(title));
    WriteBytes(NEWLINE);
}

void WebLog::UpdateProgress(unsigned char percentage) {
    if (percentage > 100)
        System::_throw_not_greater_exception(percentage, 100, "percentage", "100");

    WriteBytes(PROGRESS_BAR);
    WriteString(System::Convert::ToString(percentage, 10));
    WriteBytes(NEWLINE);
}

} // namespace Velrix

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Array.h>
#include <System/IO/FileStream.h>
#include <System/Object.h>
#include <System/String.h>

#include <velrix/Export.h>

namespace Velrix {

// The status and progress log that the web interface of the device reads: lines of ASCII, each with a leading marker
// for the kind of record.
//
// Made by Create; the file is open as long as the object lives. Appends unbuffered. One thread at a time: a record is
// two or three writes, and concurrent records would mix. What a write throws passes out and leaves an incomplete
// record. Line ends in texts are not escaped. Characters outside of ASCII become '?'.
//
//     >start
//     %Updating module firmware      the title of a progress bar ...
//     %45                            ... and, as a bare number, its position
//     +Link is up                    also @w and @e: warning and error; >br and >end without a text
class VELRIX_EXPORT WebLog final : public System::Object {
public:
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> START;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> END;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> NOTIFY;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> WARNING;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> ERROR;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> LINEBREAK;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> PROGRESS_BAR;
    static const std::shared_ptr<System::Collections::Generic::Array<unsigned char>> NEWLINE;

    // Opens the file at path for appending, and creates it if missing; writes nothing. Failures are those of
    // System::IO::FileStream.
    static std::shared_ptr<WebLog> Create(System::string_ptr path);

    ~WebLog() override;

    // The bytes, or the text in ASCII, and nothing else: no marker and no line end. A null argument:
    // ArgumentNullException.
    void WriteBytes(std::shared_ptr<System::Collections::Generic::IArray<unsigned char>> bytes);
    void WriteString(System::string_ptr text);

    // One record each. A null text: ArgumentNullException, after the marker was written.
    void Start();
    void End();
    void Linebreak();
    void Notify(System::string_ptr message);
    void Warning(System::string_ptr message);
    void Error(System::string_ptr message);
    void BeginProgressBar(System::string_ptr title);

    // percentage is 0 to 100; above: ArgumentOutOfRangeException "percentage", nothing written.
    void UpdateProgress(unsigned char percentage);

private:
    explicit WebLog(std::shared_ptr<System::IO::FileStream> ownStream) noexcept;

    const std::shared_ptr<System::IO::FileStream> stream;
};

} // namespace Velrix

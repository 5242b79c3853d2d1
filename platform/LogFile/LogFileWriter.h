#pragma once
// Writes a recorded log (see LogFileFormat.h): the mark, then one record per
// Write with its recording time and raw bytes.
//
// Every failure is reported on standard error with the file name and makes
// the operation return false. After a failed write the file is closed, so a
// half-written record is never followed by more records.

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/Core/ByteVector.h"

class CLogFileWriter {
public:
    enum EOpenMode {
        kTruncate,  // start a new log, replacing whatever the file held
        kAppend,    // continue an existing, undamaged log (a missing or empty file starts anew)
    };

    CLogFileWriter();
    // Closes the file, flushing what is buffered.
    ~CLogFileWriter();
    CLogFileWriter(const CLogFileWriter&) = delete;
    CLogFileWriter& operator=(const CLogFileWriter&) = delete;

    // Opens path for writing; a file that is open already is closed first.
    // Appending is refused when the file is not a recorded log or its last
    // record is cut short, so foreign or damaged data is never extended.
    bool Open(const std::string& path, EOpenMode mode = kTruncate);
    bool IsOpen() const { return m_stream != nullptr; }

    // Appends one record; refused for more than LogFileFormat::kMaxRecordSize bytes.
    bool Write(double timestamp, const ByteVector& bytes);
    bool Write(double timestamp, const std::string& bytes);
    // Hands buffered records to the operating system.
    bool Flush();
    // Flushes and closes; true when everything reached the file.
    bool Close();

private:
    bool WriteRecord(double timestamp, const uint8_t* bytes, size_t size);
    // Checks that the existing file at m_path may be extended; sets isEmpty
    // when it is missing or holds no bytes (it then needs the mark).
    bool CanAppend(bool& isEmpty);
    void Report(const char* format, ...) __attribute__((format(printf, 2, 3)));

    FILE* m_stream;
    std::string m_path;
    bool m_reportedClosed;  // a write on the closed file was reported already
};

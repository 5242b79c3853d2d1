#pragma once
// Reads a recorded log (see LogFileFormat.h) record by record.
//
// A fault in the file (no mark, a truncated record, a record longer than the
// format allows, a read error) is reported once on standard error with the
// file name and byte offset, and the log then ends there: the records before
// the fault are still delivered, nothing after it is guessed at.

#include <cstdint>
#include <cstdio>
#include <string>

class CLogFileReader {
public:
    // Opens the log at path and checks its mark. A file that cannot be opened
    // is reported, and the reader then stands on /dev/null: its descriptor is
    // still readable, so a select loop that replays it meets the end at once
    // instead of waiting for data that never comes.
    explicit CLogFileReader(const std::string& path);
    ~CLogFileReader();
    CLogFileReader(const CLogFileReader&) = delete;
    CLogFileReader& operator=(const CLogFileReader&) = delete;

    // Fills the next record's recording time (seconds) and raw bytes and
    // returns non-zero; returns zero at the end of the log or after a fault.
    int GetNextBinary(double& timestamp, std::string& data);

    // Descriptor of the open stream for select(); -1 when there is none.
    int GetFileDescriptor() const;
    // True once a fault has ended the log.
    bool HasFailed() const { return m_failed; }
    const std::string& GetPath() const { return m_path; }

private:
    void ReadMark();
    // Reports a fault once and ends the log.
    void Fail(const char* format, ...) __attribute__((format(printf, 2, 3)));

    FILE* m_stream;  // kept first: the replay hands its descriptor to select()
    std::string m_path;
    uint64_t m_offset;  // bytes consumed so far
    bool m_ended;       // no more records will come
    bool m_failed;
};

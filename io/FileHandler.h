#pragma once
// Byte source that reads a raw capture of the receiver's byte stream from a
// file (io type 0). Writes are accepted and dropped, so the command path runs
// unchanged against a capture.

#include <cstdint>
#include <memory>
#include <string>

#include "io/InputOutputHandler.h"

class CFileHandler : public CInputOutputHandler {
public:
    CFileHandler();
    ~CFileHandler() override;
    CFileHandler(const CFileHandler&) = delete;
    CFileHandler& operator=(const CFileHandler&) = delete;

    // Opens the path read-only; 0 (with a perror line) when that fails.
    int Open() override;
    // Deliberately inverted, see FileHandler.cpp: 0 while the file is open.
    int Close() override;
    bool IsOpen() override { return m_isOpen; }
    // Reads at most count bytes; empty at the end of the file, when the file
    // is not open, or when a non-negative timeout passes without data.
    // Throws int 1 on a read error and int 2 when select() fails.
    ByteVector Read(int count) override;
    using CInputOutputHandler::Read;
    // Accepted and dropped: result 1.
    int Write(const std::string& text) override;
    int Write(const ByteVector& bytes) override;
    // Stores the path; refused with 0 while the file is open.
    int SetPortName(const std::string& name) override;
    // A negative timeout (the default) means blocking reads.
    int SetTimeout(Core::Time timeout) override;
    void SendBreak() override {}
    int SetBaudRate(int) override { return 1; }
    int GetFileDescriptor() override { return m_descriptor; }

private:
    void SetNonBlocking(bool nonBlocking);

    int m_descriptor;
    bool m_isOpen;
    std::string m_path;
    std::unique_ptr<uint8_t[]> m_buffer;  // grown on demand, never shrunk
    Core::Time m_timeout;
    int m_bufferCapacity;
};

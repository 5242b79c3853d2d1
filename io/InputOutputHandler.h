#pragma once
// The one interface through which the daemon reads the receiver's byte stream
// and writes commands to it, whatever carries them: a serial device, a raw
// capture file, a replayed recorded log or a port-router port.
//
// The sixteen operations keep a fixed order (destructors first) so every
// source offers the same set; a source that has no use for one does nothing.

#include <string>

#include "platform/Core/ByteVector.h"
#include "platform/Core/Time.h"

class CInputOutputHandler {
public:
    virtual ~CInputOutputHandler() {}

    // Opens the medium; non-zero on success.
    virtual int Open() = 0;
    virtual int Close() = 0;
    virtual bool IsOpen() = 0;
    // Reads at most count bytes; an empty result means nothing came.
    virtual ByteVector Read(int count) = 0;
    // Reads with the stored read size.
    virtual ByteVector Read() { return Read(m_readSize); }
    // Writes a command; 0 means the write did not happen.
    virtual int Write(const std::string& text) = 0;
    virtual int Write(const ByteVector& bytes) = 0;
    // Device path, file path or port number, according to the source.
    virtual int SetPortName(const std::string& name) = 0;
    virtual int SetTimeout(Core::Time timeout) = 0;
    virtual int SetReadSize(int size) {
        m_readSize = size;
        return 1;
    }
    // Holds the receiver's line in the break condition (serial sources only).
    virtual void SendBreak() = 0;
    // Kept so every source has the same sixteen operations; does nothing anywhere.
    virtual void Reserved() {}
    virtual int SetBaudRate(int rate) = 0;
    // Descriptor for select(); 0 or less is not watched.
    virtual int GetFileDescriptor() = 0;

    int GetReadSize() const { return m_readSize; }

protected:
    int m_readSize = 1024;
};

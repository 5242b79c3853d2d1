#pragma once
// A serial port in raw 8N1 mode without flow control, for a single-threaded
// select loop: its descriptor is non-blocking, a read never waits longer than
// the timeout, and a write waits only a bounded time for the line to take it.
//
// Faults are reported on standard error with the device name. A port whose
// device fails (gone, hung up, I/O error) closes itself, so a caller that
// reopens a closed port each pass recovers when the device comes back.

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Core/ByteVector.h"
#include "platform/Core/Time.h"

namespace Core {
namespace IO {

class Serial {
public:
    // Nothing is opened yet. The timeout bounds each Read: a negative one
    // makes Read take only what is already there.
    Serial(const std::string& device, int baudRate, Core::Time timeout);
    ~Serial();
    Serial(const Serial&) = delete;
    Serial& operator=(const Serial&) = delete;

    // Opens and configures the device; true when the port is open afterwards.
    bool Open();
    void Close();
    bool IsOpen() const { return m_fd >= 0; }

    // Up to count bytes; empty when nothing came within the timeout, when the
    // port is closed, or after a fault (which closes the port).
    ByteVector Read(int count);
    // Sends the whole buffer; false when it could not all be sent.
    bool Write(const std::string& text);
    bool Write(const ByteVector& bytes);

    // Takes effect at once on an open port, else at the next Open. A rate
    // without a termios speed is refused and the current rate kept.
    bool SetBaudRate(int rate);
    void SetTimeout(Core::Time timeout) { m_timeout = timeout; }
    // Holds the line in the break condition for the given seconds, then
    // releases it; returns after the break has lasted that long.
    bool SendBreak(float seconds);

    // Descriptor for select(); -1 while closed.
    int GetFileDescriptor() const { return m_fd; }
    const std::string& GetDeviceName() const { return m_device; }
    int GetBaudRate() const { return m_baudRate; }

    // True when rate is one this class can set.
    static bool IsSupportedBaudRate(int rate);

private:
    // Puts the open descriptor into raw 8N1 at the current rate, applied as
    // tcsetattr's when says; on refusal fills failure and returns false.
    bool Configure(int when, std::string& failure);
    bool WriteBytes(const uint8_t* data, size_t size);
    // Reports a read fault once per episode and closes the port.
    void FailRead(const std::string& reason);

    std::string m_device;
    int m_baudRate;
    Core::Time m_timeout;
    int m_fd;
    bool m_openFailureReported;  // cleared by the next successful Open
    bool m_readFailureReported;  // cleared by the next read that yields bytes
};

}  // namespace IO
}  // namespace Core

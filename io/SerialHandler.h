#pragma once
// The byte source for a receiver on a serial device.
//
// The port itself is a Core::IO::Serial, made by SetPortName from the stored
// name, baud rate and read timeout; start-up sets the rate first, so the port
// is created at the wanted rate. Until a name is set there is no port: it
// does not open, reads nothing, and its descriptor is -1.

#include <cstdint>
#include <memory>
#include <string>

#include "io/InputOutputHandler.h"

namespace Core {
namespace IO {
class Serial;
}  // namespace IO
}  // namespace Core

class CSerialHandler : public CInputOutputHandler {
public:
    CSerialHandler();
    // Closes and frees the port.
    ~CSerialHandler() override;

    // Non-zero when the port is open afterwards.
    int Open() override;
    // Always 1.
    int Close() override;
    bool IsOpen() override;
    using CInputOutputHandler::Read;
    ByteVector Read(int count) override;
    // 1 when the port was open and the text was handed to it; 0 and nothing
    // sent when it was closed.
    int Write(const std::string& text) override;
    int Write(const ByteVector& bytes) override;
    // Closes and replaces the port with one on the named device; always 1.
    int SetPortName(const std::string& name) override;
    // Stores the read timeout and passes it to the port; always 1.
    int SetTimeout(Core::Time timeout) override;
    // Opens the port if needed, then holds a 0.3 s break on the line.
    void SendBreak() override;
    // Stores the rate and passes it to the port (at once if it is open);
    // always 1, the port reports a rate it refuses.
    int SetBaudRate(int rate) override;
    // The port's descriptor; -1 while it is closed or there is none.
    int GetFileDescriptor() override;

private:
    std::string m_deviceName;
    int32_t m_baudRate;
    Core::Time m_readTimeout;
    std::unique_ptr<Core::IO::Serial> m_serial;
};

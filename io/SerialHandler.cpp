#include "io/SerialHandler.h"

#include "platform/Serial/Serial.h"

namespace {

// The break the receiver port breakout asks for: long enough for the
// receiver to see a break at any rate it may have been left at.
const float kBreakSeconds = 0.3f;

}  // namespace

// A negative timeout makes a read take only what has arrived, which is all
// the select loop needs: it reads only when the descriptor is readable.
CSerialHandler::CSerialHandler() : m_baudRate(115200), m_readTimeout(Core::Time::FromSeconds(-1)) {}

CSerialHandler::~CSerialHandler() {
    if (m_serial) m_serial->Close();
}

int CSerialHandler::Open() { return m_serial && m_serial->Open() ? 1 : 0; }

int CSerialHandler::Close() {
    if (m_serial) m_serial->Close();
    return 1;
}

bool CSerialHandler::IsOpen() { return m_serial && m_serial->IsOpen(); }

ByteVector CSerialHandler::Read(int count) {
    return m_serial ? m_serial->Read(count) : ByteVector();
}

int CSerialHandler::Write(const std::string& text) {
    if (!IsOpen()) return 0;
    m_serial->Write(text);
    return 1;
}

int CSerialHandler::Write(const ByteVector& bytes) {
    if (!IsOpen()) return 0;
    m_serial->Write(bytes);
    return 1;
}

int CSerialHandler::SetPortName(const std::string& name) {
    Close();
    m_serial.reset();
    m_deviceName = name;
    m_serial.reset(new Core::IO::Serial(m_deviceName, m_baudRate, m_readTimeout));
    return 1;
}

int CSerialHandler::SetTimeout(Core::Time timeout) {
    m_readTimeout = timeout;
    if (m_serial) m_serial->SetTimeout(timeout);
    return 1;
}

void CSerialHandler::SendBreak() {
    if (!IsOpen()) Open();
    if (m_serial) m_serial->SendBreak(kBreakSeconds);
}

int CSerialHandler::SetBaudRate(int rate) {
    m_baudRate = rate;
    if (m_serial) m_serial->SetBaudRate(rate);
    return 1;
}

int CSerialHandler::GetFileDescriptor() { return m_serial ? m_serial->GetFileDescriptor() : -1; }

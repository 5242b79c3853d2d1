#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIGB.h"

#include <algorithm>
#include <cstdint>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"

namespace Novatel {

namespace {

// The COMCONFIG body, in frame order (body offsets).
const size_t kNumberOfPortsOffset = 0;  // unsigned 32
const size_t kPortsOffset = 4;          // kPortSize bytes per port
const size_t kPortSize = 44;

// A port, in frame order (offsets inside the port); every field is an
// unsigned 32.
const size_t kPortOffset = 0;
const size_t kBaudRateOffset = 4;
const size_t kParityOffset = 8;
const size_t kDataBitsOffset = 12;
const size_t kStopBitsOffset = 16;
const size_t kHandshakeOffset = 20;
const size_t kEchoOffset = 24;
const size_t kBreakDetectionOffset = 28;
const size_t kReceiveInterfaceModeOffset = 32;
const size_t kTransmitInterfaceModeOffset = 36;
const size_t kResponsesOffset = 40;

// A flag word counts as set only when it is exactly 1.
const uint32_t kFlagSet = 1;

const char kParseFunction[] =
    "virtual void Novatel::CNovatelCOMCONFIGB::ParseSentenceData(const std::vector<unsigned char, "
    "std::allocator<unsigned char> >&)";

}  // namespace

CNovatelCOMCONFIGB::CNovatelCOMCONFIGB(const ByteVector& frame) : CNovatelBinaryRecord(frame) {
    CNovatelCOMCONFIGB::ParseSentenceData(frame);
}

CNovatelCOMCONFIGB::~CNovatelCOMCONFIGB() = default;

void CNovatelCOMCONFIGB::ParseSentenceData(const ByteVector& sentenceData) {
    const size_t body = m_header.m_headerLength;
    m_numberOfPorts = ReadUInt32(sentenceData, body + kNumberOfPortsOffset);
    // Never more entries than the frame could hold: a larger count fails the
    // check below anyway.
    m_ports.resize(std::min<size_t>(m_numberOfPorts, sentenceData.size() / kPortSize));
    // Computed wide so that no count can wrap it onto the frame's length.
    const uint64_t expectedLength =
        body + kPortsOffset + static_cast<uint64_t>(m_numberOfPorts) * kPortSize + kNovatelCrcSize;
    NOVATEL_CHECK_LENGTH(
        sentenceData.size() == expectedLength,
        "sentenceData.size() == (m_header.m_headerLength + 4 + (m_numberOfPorts * 44) + 4)",
        kParseFunction);

    for (size_t i = 0; i < m_ports.size(); ++i) {
        const size_t start = body + kPortsOffset + i * kPortSize;
        SPortConfig& port = m_ports[i];
        port.m_port = ReadUInt32(sentenceData, start + kPortOffset);
        port.m_baudRate = ReadUInt32(sentenceData, start + kBaudRateOffset);
        port.m_parity = ReadUInt32(sentenceData, start + kParityOffset);
        port.m_dataBits = ReadUInt32(sentenceData, start + kDataBitsOffset);
        port.m_stopBits = ReadUInt32(sentenceData, start + kStopBitsOffset);
        port.m_handshake = ReadUInt32(sentenceData, start + kHandshakeOffset);
        port.m_echo = ReadUInt32(sentenceData, start + kEchoOffset) == kFlagSet;
        port.m_breakDetection = ReadUInt32(sentenceData, start + kBreakDetectionOffset) == kFlagSet;
        port.m_receiveInterfaceMode = ReadUInt32(sentenceData, start + kReceiveInterfaceModeOffset);
        port.m_transmitInterfaceMode =
            ReadUInt32(sentenceData, start + kTransmitInterfaceModeOffset);
        port.m_responses = ReadUInt32(sentenceData, start + kResponsesOffset) == kFlagSet;
    }
}

}  // namespace Novatel

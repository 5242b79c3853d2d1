#include "tools/simulator/LogFields.h"

#include <cstdio>

namespace Simulator {

namespace {

std::string Format(const char* format, double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, format, decimals, value);
    return text;
}

}  // namespace

CLogFields& CLogFields::U8(uint8_t value) {
    m_binary.U8(value);
    m_ascii.push_back(std::to_string(value));
    return *this;
}

CLogFields& CLogFields::U16(uint16_t value) {
    m_binary.U16(value);
    m_ascii.push_back(std::to_string(value));
    return *this;
}

CLogFields& CLogFields::U32(uint32_t value) {
    m_binary.U32(value);
    m_ascii.push_back(std::to_string(value));
    return *this;
}

CLogFields& CLogFields::I32(int32_t value) {
    m_binary.I32(value);
    m_ascii.push_back(std::to_string(value));
    return *this;
}

CLogFields& CLogFields::Enum(uint32_t value, const std::string& name) {
    m_binary.U32(value);
    m_ascii.push_back(name);
    return *this;
}

CLogFields& CLogFields::Hex(uint32_t value) {
    m_binary.U32(value);
    char text[16];
    std::snprintf(text, sizeof text, "%08x", value);
    m_ascii.push_back(text);
    return *this;
}

CLogFields& CLogFields::F32(float value, int decimals) {
    m_binary.F32(value);
    m_ascii.push_back(Format("%.*f", value, decimals));
    return *this;
}

CLogFields& CLogFields::F64(double value, int decimals) {
    m_binary.F64(value);
    m_ascii.push_back(Format("%.*f", value, decimals));
    return *this;
}

CLogFields& CLogFields::Text(const std::string& text, size_t size) {
    m_binary.Text(text, size);
    m_ascii.push_back("\"" + text.substr(0, size) + "\"");
    return *this;
}

std::string CLogFields::Ascii() const {
    std::string joined;
    for (size_t i = 0; i < m_ascii.size(); ++i) {
        if (i > 0) joined += ",";
        joined += m_ascii[i];
    }
    return joined;
}

std::string TimeStatusName(uint8_t timeStatus) {
    switch (timeStatus) {
        case 20:
            return "UNKNOWN";
        case 60:
            return "APPROXIMATE";
        case 100:
            return "COARSE";
        case 160:
            return "FINE";
        case 170:
            return "FINEBACKUPSTEERING";
        case 180:
            return "FINESTEERING";
        default:
            return std::to_string(timeStatus);
    }
}

std::string BuildAsciiLog(const std::string& name, const std::string& port,
                          const Tools::SFrameHeader& header, const std::string& fields) {
    char head[160];
    std::snprintf(head, sizeof head, "%s,%s,%u,%.1f,%s,%u,%.3f,%08x,%04x,%u;", name.c_str(),
                  port.c_str(), static_cast<unsigned>(header.sequence), header.idleTime * 0.5,
                  TimeStatusName(header.timeStatus).c_str(), static_cast<unsigned>(header.week),
                  header.milliseconds / 1000.0, header.receiverStatus, 0u,
                  static_cast<unsigned>(header.softwareVersion));
    const std::string text = std::string(head) + fields;
    const uint32_t crc =
        Tools::NovatelCrc32(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    char tail[16];
    std::snprintf(tail, sizeof tail, "*%08x\r\n", crc);
    return "#" + text + tail;
}

std::string BuildNmeaSentence(const std::string& body) {
    unsigned checksum = 0;
    for (char c : body) checksum ^= static_cast<unsigned char>(c);
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", checksum & 0xFF);
    return "$" + body + tail;
}

}  // namespace Simulator

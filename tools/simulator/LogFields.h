#pragma once
// The body of one log written field by field once and rendered in both of the
// receiver's forms: the little-endian binary body and the comma-separated
// field list of the ASCII form. Also the two text framings: a NovAtel ASCII
// log ("#NAMEA,header;fields*CRC") and an NMEA sentence ("$...*hh").

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Core/ByteVector.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace Simulator {

class CLogFields {
public:
    CLogFields& U8(uint8_t value);
    CLogFields& U16(uint16_t value);
    CLogFields& U32(uint32_t value);
    CLogFields& I32(int32_t value);
    // A number the ASCII form shows by its enumeration name.
    CLogFields& Enum(uint32_t value, const std::string& name);
    // A 32-bit word the ASCII form shows in hexadecimal.
    CLogFields& Hex(uint32_t value);
    CLogFields& F32(float value, int decimals = 3);
    CLogFields& F64(double value, int decimals = 4);
    // A fixed-width text field, NUL padded; quoted in the ASCII form.
    CLogFields& Text(const std::string& text, size_t size);

    const ByteVector& Binary() const { return m_binary.Bytes(); }
    // The ASCII fields joined by commas.
    std::string Ascii() const;

private:
    Tools::CBodyWriter m_binary;
    std::vector<std::string> m_ascii;
};

// "#" + name + "," + header fields + ";" + fields + "*" + eight CRC digits + CR LF.
// The name is given with its trailing "A".
std::string BuildAsciiLog(const std::string& name, const std::string& port,
                          const Tools::SFrameHeader& header, const std::string& fields);

// "$" + body + "*" + two checksum digits + CR LF.
std::string BuildNmeaSentence(const std::string& body);

// The receiver's name of a time status value (FINESTEERING for 180).
std::string TimeStatusName(uint8_t timeStatus);

}  // namespace Simulator

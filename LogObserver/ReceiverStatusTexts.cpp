#include "LogObserver/ReceiverStatusTexts.h"

#include <cstddef>
#include <cstdio>

namespace ReceiverStatusTexts {

namespace {

struct SBitText {
    unsigned bit;
    const char* text;
};

// The receiver status word (message header, RXSTATUS). Bits 13, 14, 26, 27
// and 28 have no text.
const SBitText kStatusBits[] = {
    {0, "Error,"},
    {1, "Temperature warning,"},
    {2, "Voltage supply warning,"},
    {3, "Antenna not powered,"},
    {4, "Reserved 1,"},
    {5, "Antenna open,"},
    {6, "Antenna shorted,"},
    {7, "CPU overload,"},
    {8, "COM1 buffer overrun,"},
    {9, "COM2 buffer overrun,"},
    {10, "COM3 buffer overrun,"},
    {11, "USB buffer overrun,"},
    {12, "Reserved 2,"},
    {15, "L1 AGC error,"},
    {16, "Reserved,"},
    {17, "L2 AGC error,"},
    {18, "Almanac invalid,"},
    {19, "Position solution invalid,"},
    {20, "Fixed position set,"},
    {21, "Clock steering disabled,"},
    {22, "Clock model invalid,"},
    {23, "external oscillator,"},
    {24, "Software resource warning,"},
    {25, "Reserved 4,"},
    {29, "Auxiliary 3 status event,"},
    {30, "Auxiliary 2 status event,"},
    {31, "Auxiliary 1 status event,"},
};

// The receiver error word (RXSTATUS). Bits not listed have no text.
const SBitText kErrorBits[] = {
    {0, "DRAM Error,"},
    {1, "Invalid firmware,"},
    {2, "ROM error,"},
    {4, "ESN access error,"},
    {6, "Slow ADC error,"},
    {7, "Supply voltage outside limits,"},
    {8, "Thermometer error,"},
    {9, "Temperature outside limits,"},
    {10, "MINOS5 error,"},
    {11, "L1 PLL hardware error,"},
    {12, "L2 PLL hardware error,"},
    {13, "L1 hardware error,"},
    {14, "L2 hardware error,"},
    {15, "NVM Error,"},
    {16, "Software resource limit,"},
    {20, "Remote loading has begun,"},
    {21, "Export restriction error,"},
    {31, "Component hardware failure,"},
};

struct SNumberName {
    uint32_t number;
    const char* name;
};

// Interface modes of the COMCONFIG port records. Mode 11 is left without a
// name, so it is published as "UNKNOWN (11)" like any mode not listed.
const SNumberName kProtocols[] = {
    {0, "NONE"},     {1, "NOVATEL"}, {2, "RTCM"},  {3, "RTCA"},     {4, "CMR"},
    {5, "OMNISTAR"}, {6, "LB2"},     {7, "IMU"},   {8, "RTCMNOCR"}, {9, "CDGPS"},
    {10, "TCOM1"},   {12, "TCOM2"},  {13, "TAUX"}, {14, "RTCMV3"},  {15, "NOVATELBINARY"},
    {18, "GENERIC"}, {20, "MRTCA"},
};

// VERSION component types the receivers are known to list.
const SNumberName kComponentTypes[] = {
    {0, "UNKNOWN"},
    {1, "GPSCARD"},
    {2, "CONTROLLER"},
    {3, "ENCLOSURE"},
    {7, "IMUCARD"},
    {8, "USERINFO"},
    {12, "OEM6FPGA"},
    {13, "GPSCARD2"},
    {14, "BLUETOOTH"},
    {15, "WIFI"},
    {16, "CELLULAR"},
    {981073920, "DB_HEIGHTMODEL"},
    {981073921, "DB_USERAPP"},
    {981073925, "DB_USERAPPAUTO"},
    {981073928, "DB_WWWISO"},
};

template <size_t N>
std::string BitTexts(uint32_t word, const SBitText (&table)[N]) {
    std::string text;
    for (const SBitText& entry : table) {
        if (word & (1u << entry.bit)) text += entry.text;
    }
    return text;
}

template <size_t N>
const char* NameOf(uint32_t number, const SNumberName (&table)[N]) {
    for (const SNumberName& entry : table) {
        if (entry.number == number) return entry.name;
    }
    return nullptr;
}

}  // namespace

std::string StatusWordText(uint32_t statusWord) { return BitTexts(statusWord, kStatusBits); }

std::string ErrorWordText(uint32_t errorWord) {
    if (errorWord == 0) return "No Errors";
    return BitTexts(errorWord, kErrorBits);
}

std::string SBASSystemName(int32_t prn) {
    switch (prn) {
        case 122:
        case 134:
        case 135:
        case 138:
            return "WAAS";
        case 120:
        case 124:
        case 126:
        case 131:
            return "EGNOS";
        case 129:
        case 137:
            return "MSAS";
        default:
            return "";
    }
}

std::string PortProtocolName(uint32_t mode) {
    if (const char* name = NameOf(mode, kProtocols)) return name;
    char text[32];
    std::snprintf(text, sizeof text, "UNKNOWN (%d)", static_cast<int>(mode));
    return text;
}

std::string ComponentTypeName(uint32_t type) {
    if (const char* name = NameOf(type, kComponentTypes)) return name;
    return std::to_string(type);
}

}  // namespace ReceiverStatusTexts

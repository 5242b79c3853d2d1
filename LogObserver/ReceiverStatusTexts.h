#pragma once
// The texts the receiver status observer publishes for the receiver's own
// numbers: the bits of the receiver status and error words, the SBAS systems
// by PRN, the protocols of a port's interface modes and the VERSION component
// types. The texts are what the device's tools and operators read; they are
// kept byte for byte.

#include <cstdint>
#include <string>

namespace ReceiverStatusTexts {

// The texts of the set bits of a receiver status word, in bit order, each
// ending with its own comma ("Error,CPU overload,"); empty when none is set.
std::string StatusWordText(uint32_t statusWord);

// The texts of the set bits of a receiver error word, as StatusWordText;
// "No Errors" for a word of 0.
std::string ErrorWordText(uint32_t errorWord);

// The SBAS system of a PRN: "WAAS", "EGNOS" or "MSAS"; empty for any other.
std::string SBASSystemName(int32_t prn);

// The protocol of a COMCONFIG interface mode ("NOVATEL"); "UNKNOWN (<mode>)"
// for a mode without a name.
std::string PortProtocolName(uint32_t mode);

// The receiver's name of a VERSION component type ("GPSCARD"); the number in
// decimal for a type without a known name.
std::string ComponentTypeName(uint32_t type);

}  // namespace ReceiverStatusTexts

#pragma once
// The checksum tests of the two text sentence kinds: NMEA ("$" ... "*" and two
// hexadecimal digits, the exclusive-or of the bytes between them) and NovAtel
// ASCII ("#" ... "*" and eight hexadecimal digits, the receiver's CRC-32 of the
// bytes between them). The NMEA observer uses the NMEA test again on sentences
// it is handed.

#include "platform/Core/ByteVector.h"

// The bytes read as a hexadecimal number by the standard library's unsigned
// conversion: leading blanks, a sign and a "0x" are accepted as it accepts
// them, conversion stops at the first byte that is not a hexadecimal digit,
// and no digits (or no bytes) give 0. A wider value is cut to its low 32 bits.
unsigned HexToUInt(const ByteVector& bytes);

// True when the exclusive-or of the bytes between the first "$" and the first
// "*" after it equals the two hexadecimal digits that follow the "*".
bool HasValidNmeaChecksum(const ByteVector& sentence);

// True when the CRC-32 of the bytes between the first "#" and the last "*"
// equals the eight hexadecimal digits after the "*", and at least one byte (the
// line terminator) follows them.
bool HasValidAsciiChecksum(const ByteVector& sentence);

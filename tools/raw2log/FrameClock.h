#pragma once
// Finds the GPS time of NovAtel binary frames in a raw capture, for stamping
// the chunks of a capture that quillond-raw2log turns into a recorded log.
// Deliberately small: it only needs a frame's sync, its lengths, its CRC
// and the two time fields of its header.

#include <cstddef>
#include <cstdint>

namespace Raw2Log {

// Longest possible frame: a header of 255 bytes, a body of 65535, the CRC.
constexpr size_t kMaxFrameSize = 255 + 65535 + 4;

// Looks for the first frame that starts before startLimit, lies wholly inside
// bytes[0, size) and carries a correct CRC. On success stores its GPS time in
// seconds (week * 604800 + milliseconds / 1000) and returns true.
bool FindFirstFrameTime(const uint8_t* bytes, size_t size, size_t startLimit, double& gpsSeconds);

}  // namespace Raw2Log

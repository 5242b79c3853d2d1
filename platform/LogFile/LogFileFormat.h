#pragma once
// The layout of a recorded log, shared by CLogFileReader and CLogFileWriter.
//
// A log is the eight bytes "QUILLOG1" followed by records. A record is a
// 12-byte header (the recording time in seconds as an IEEE-754 double, then
// the byte count as an unsigned 32-bit integer, both little-endian) and that
// many raw bytes. Fields are assembled byte by byte so the file reads the same
// on big- and little-endian machines.

#include <cstddef>
#include <cstdint>

namespace LogFileFormat {

constexpr char kMark[] = "QUILLOG1";
constexpr size_t kMarkSize = 8;

constexpr size_t kTimestampOffset = 0;
constexpr size_t kTimestampSize = 8;
constexpr size_t kCountOffset = 8;
constexpr size_t kCountSize = 4;
constexpr size_t kRecordHeaderSize = 12;

// Largest byte count a record may carry; a longer one marks a damaged file.
constexpr uint32_t kMaxRecordSize = 1048576;

// Fills the 12 header bytes of a record.
void EncodeRecordHeader(double timestamp, uint32_t count, uint8_t header[kRecordHeaderSize]);

// Reads the recording time and byte count out of 12 header bytes.
void DecodeRecordHeader(const uint8_t header[kRecordHeaderSize], double& timestamp,
                        uint32_t& count);

}  // namespace LogFileFormat

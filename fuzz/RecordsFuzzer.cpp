// Fuzz target: the record factory and every decoder on CRC-valid frames. The
// input picks the message ID (mostly one of the decoded logs), the message
// type, the header length and the header fields; the rest is the body. The
// harness builds the sync bytes, header and CRC around it, so the decoders
// see what the binary framer would hand them. An input whose first byte
// chooses mode 2 is given to the factory as an NMEA sentence instead.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "fuzz/FuzzSupport.h"

namespace {

const uint16_t kDecodedIds[] = {
    Novatel::kVERSIONMessageID,   Novatel::kBESTPOSMessageID,    Novatel::kRANGEMessageID,
    Novatel::kTRACKSTATMessageID, Novatel::kRXSTATUSMessageID,   Novatel::kTIMEMessageID,
    Novatel::kPSRDOPMessageID,    Novatel::kREFSTATIONMessageID, Novatel::kBESTXYZMessageID,
    Novatel::kPSRXYZMessageID,    Novatel::kRTKXYZMessageID,     Novatel::kCOMCONFIGMessageID,
    Novatel::kPDPXYZMessageID,    Novatel::kOMNIHPPOSMessageID,  Novatel::kLBANDINFOMessageID,
    Novatel::kLBANDSTATMessageID, Novatel::kPDPSTATMessageID,    Novatel::kCHANCONFIGLISTMessageID,
    Novatel::kRTKSATSMessageID,   Novatel::kPDPSATSMessageID,
};
const size_t kDecodedIdCount = sizeof kDecodedIds / sizeof kDecodedIds[0];
const size_t kStandardHeaderLength = 28;

// Writes value little-endian at offset when the field fits the header.
void Put(ByteVector& frame, size_t offset, uint64_t value, size_t width) {
    for (size_t i = 0; i < width && offset + i < frame.size(); ++i) {
        frame[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

// The frame: sync, the header of the given length (standard fields where they
// fit, further header bytes from the input), the body and the CRC.
ByteVector BuildFrame(FuzzedDataProvider& input) {
    const uint8_t idChoice = input.ConsumeIntegral<uint8_t>();
    const uint16_t rawId = input.ConsumeIntegral<uint16_t>();
    const uint16_t messageId =
        idChoice < 3 * kDecodedIdCount ? kDecodedIds[idChoice % kDecodedIdCount] : rawId;
    // Mostly a log; now and then a command response (bit 7 of the type).
    const uint8_t messageType = input.ConsumeIntegral<uint8_t>() < 32 ? 0x80 : 0x00;
    // Mostly the standard header; now and then any length at all.
    const uint8_t lengthChoice = input.ConsumeIntegral<uint8_t>();
    const size_t headerLength = lengthChoice < 224 ? kStandardHeaderLength : lengthChoice;
    const uint16_t week = input.ConsumeIntegral<uint16_t>();
    const uint32_t milliseconds = input.ConsumeIntegral<uint32_t>();
    const uint32_t receiverStatus = input.ConsumeIntegral<uint32_t>();
    const std::vector<uint8_t> body = input.ConsumeBytes<uint8_t>(65535);

    // The header length counts from the first sync byte; a length below 28
    // cuts the standard fields short, and one below 10 still leaves the
    // message length in bytes 8 and 9, as a corrupted frame would.
    ByteVector frame(std::max<size_t>(headerLength, 10), 0);
    Put(frame, 0, 0x1244AA, 3);
    Put(frame, 3, headerLength, 1);
    Put(frame, 4, messageId, 2);
    Put(frame, 6, messageType, 1);
    Put(frame, 7, 0x20, 1);  // COM1
    Put(frame, 8, body.size(), 2);
    Put(frame, 12, 100, 1);  // idle time
    Put(frame, 13, 180, 1);  // FINESTEERING
    Put(frame, 14, week, 2);
    Put(frame, 16, milliseconds, 4);
    Put(frame, 20, receiverStatus, 4);
    frame.insert(frame.end(), body.begin(), body.end());
    const uint32_t crc = Crc32Block(frame.size(), frame.data());
    for (int shift = 0; shift < 32; shift += 8) frame.push_back(static_cast<uint8_t>(crc >> shift));
    return frame;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    if (data[0] % 16 == 2) {
        // An NMEA sentence: the record reads fields out of arbitrary text.
        ByteVector sentence(1, '$');
        sentence.insert(sentence.end(), data + 1, data + size);
        std::unique_ptr<CGPSRecord> record = Fuzz::CreateRecordOrExpectedEnding(sentence);
        FUZZ_CHECK(record != nullptr);
        FUZZ_CHECK(record->GetMessageID() == 65535);
        return 0;
    }
    FuzzedDataProvider input(data + 1, size - 1);
    const ByteVector frame = BuildFrame(input);
    FUZZ_CHECK(HasValidCrc(frame));
    bool endedExpectedly = false;
    std::unique_ptr<CGPSRecord> record =
        Fuzz::CreateRecordOrExpectedEnding(frame, &endedExpectedly);
    if (endedExpectedly) return 0;
    // The factory makes a record of every binary frame, whatever its body.
    FUZZ_CHECK(record != nullptr);
    unsigned week = 0;
    double seconds = 0.0;
    record->GetGPSTime(week, seconds);
    (void)record->GetMessageID();
    return 0;
}

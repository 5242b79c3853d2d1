#include "Logs/NovatelOEMV/RecordFactory.h"

#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryResponse.h"
#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"

namespace {

const uint8_t kNMEAStart = '$';
const uint8_t kNovatelASCIIStart = '#';

// Where the factory looks into a binary frame.
const size_t kMessageIDOffset = 4;    // unsigned 16
const size_t kMessageTypeOffset = 6;  // unsigned 8

}  // namespace

CGPSRecord* CreateRecord(const ByteVector& sentence) {
    if (sentence[0] == kNMEAStart) return new CNMEARecord(sentence);
    return CreateNovatelRecord(sentence);
}

CGPSRecord* CreateNovatelRecord(const ByteVector& sentence) {
    // ASCII sentences (logs and responses) are framed and counted but not decoded.
    if (sentence[0] == kNovatelASCIIStart) return nullptr;
    return CreateBinaryRecord(sentence);
}

Novatel::CNovatelBinaryRecord* CreateBinaryRecord(const ByteVector& frame) {
    if (ReadUInt8(frame, kMessageTypeOffset) & Novatel::kResponseMessageBit) {
        return new Novatel::CNovatelBinaryResponse(frame);
    }
    return CreateBinaryLog(ReadUInt16(frame, kMessageIDOffset), frame);
}

Novatel::CNovatelBinaryRecord* CreateBinaryLog(uint16_t messageId, const ByteVector& frame) {
    using namespace Novatel;
    // One row per log the system decodes, in ID order.
    switch (messageId) {
        case kVERSIONMessageID:
            return new CNovatelBinaryRecord(frame);
        case kBESTPOSMessageID:
            return new CNovatelBinaryRecord(frame);
        case kRANGEMessageID:
            return new CNovatelBinaryRecord(frame);
        case kTRACKSTATMessageID:
            return new CNovatelBinaryRecord(frame);
        case kRXSTATUSMessageID:
            return new CNovatelBinaryRecord(frame);
        case kTIMEMessageID:
            return new CNovatelBinaryRecord(frame);
        case kPSRDOPMessageID:
            return new CNovatelBinaryRecord(frame);
        case kREFSTATIONMessageID:
            return new CNovatelBinaryRecord(frame);
        case kBESTXYZMessageID:
            return new CNovatelBinaryRecord(frame);
        case kPSRXYZMessageID:
            return new CNovatelBinaryRecord(frame);
        case kRTKXYZMessageID:
            return new CNovatelBinaryRecord(frame);
        case kCOMCONFIGMessageID:
            return new CNovatelBinaryRecord(frame);
        case kPDPXYZMessageID:
            return new CNovatelBinaryRecord(frame);
        case kOMNIHPPOSMessageID:
            return new CNovatelBinaryRecord(frame);
        case kLBANDINFOMessageID:
            return new CNovatelBinaryRecord(frame);
        case kLBANDSTATMessageID:
            return new CNovatelBinaryRecord(frame);
        case kPDPSTATMessageID:
            return new CNovatelBinaryRecord(frame);
        case kCHANCONFIGLISTMessageID:
            return new CNovatelBinaryRecord(frame);
        case kRTKSATSMessageID:
            return new CNovatelBinaryRecord(frame);
        case kPDPSATSMessageID:
            return new CNovatelBinaryRecord(frame);
        default:
            return new CNovatelBinaryRecord(frame);
    }
}

#include "Logs/NovatelOEMV/RecordFactory.h"

#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTPOSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBESTXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryResponse.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLISTB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIGB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDINFOB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelLBANDSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelOMNIHPPOSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPDPXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRDOPB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelPSRXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRANGEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelREFSTATIONB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKSATSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRTKXYZB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelRXSTATUSB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTIMEB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTATB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSIONB.h"
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
            return new CNovatelVERSIONB(frame);
        case kBESTPOSMessageID:
            return new CNovatelBESTPOSB(frame);
        case kRANGEMessageID:
            return new CNovatelRANGEB(frame);
        case kTRACKSTATMessageID:
            return new CNovatelTRACKSTATB(frame);
        case kRXSTATUSMessageID:
            return new CNovatelRXSTATUSB(frame);
        case kTIMEMessageID:
            return new CNovatelTIMEB(frame);
        case kPSRDOPMessageID:
            return new CNovatelPSRDOPB(frame);
        case kREFSTATIONMessageID:
            return new CNovatelREFSTATIONB(frame);
        case kBESTXYZMessageID:
            return new CNovatelBESTXYZB(frame);
        case kPSRXYZMessageID:
            return new CNovatelPSRXYZB(frame);
        case kRTKXYZMessageID:
            return new CNovatelRTKXYZB(frame);
        case kCOMCONFIGMessageID:
            return new CNovatelCOMCONFIGB(frame);
        case kPDPXYZMessageID:
            return new CNovatelPDPXYZB(frame);
        case kOMNIHPPOSMessageID:
            return new CNovatelOMNIHPPOSB(frame);
        case kLBANDINFOMessageID:
            return new CNovatelLBANDINFOB(frame);
        case kLBANDSTATMessageID:
            return new CNovatelLBANDSTATB(frame);
        case kPDPSTATMessageID:
            return new CNovatelPDPSTATB(frame);
        case kCHANCONFIGLISTMessageID:
            return new CNovatelCHANCONFIGLISTB(frame);
        case kRTKSATSMessageID:
            return new CNovatelRTKSATSB(frame);
        case kPDPSATSMessageID:
            return new CNovatelPDPSATSB(frame);
        default:
            return new CNovatelBinaryRecord(frame);
    }
}

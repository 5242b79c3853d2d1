#pragma once
// The NovAtel binary message IDs that the system decodes or reacts to, by log
// name. The record factory maps them to record classes; observers compare a
// record's GetMessageID with them.

#include <cstdint>

namespace Novatel {

const uint16_t kVERSIONMessageID = 37;
const uint16_t kBESTPOSMessageID = 42;
const uint16_t kRANGEMessageID = 43;
const uint16_t kTRACKSTATMessageID = 83;
const uint16_t kRXSTATUSMessageID = 93;
const uint16_t kTIMEMessageID = 101;
const uint16_t kPSRDOPMessageID = 174;
const uint16_t kREFSTATIONMessageID = 175;
const uint16_t kBESTXYZMessageID = 241;
const uint16_t kPSRXYZMessageID = 243;
const uint16_t kRTKXYZMessageID = 244;
const uint16_t kCOMCONFIGMessageID = 317;
const uint16_t kPDPXYZMessageID = 471;
const uint16_t kOMNIHPPOSMessageID = 495;
const uint16_t kLBANDINFOMessageID = 730;
const uint16_t kLBANDSTATMessageID = 731;
const uint16_t kPDPSTATMessageID = 1085;
const uint16_t kCHANCONFIGLISTMessageID = 1148;
const uint16_t kRTKSATSMessageID = 1174;
const uint16_t kPDPSATSMessageID = 1234;

}  // namespace Novatel

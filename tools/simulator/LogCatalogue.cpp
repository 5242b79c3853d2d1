// The logs the simulated receiver knows by name: their message IDs, forms and
// whether the simulator produces them.

#include <cctype>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "tools/simulator/LogContent.h"

namespace Simulator {

namespace {

struct SCatalogueEntry {
    const char* name;
    uint16_t id;
    bool produced;
};

// Logs the receiver knows. Those not produced are accepted by LOG (the
// daemon asks for them) but the simulator has nothing to say in them.
const SCatalogueEntry kCatalogue[] = {
    {"VERSION", Novatel::kVERSIONMessageID, true},
    {"BESTPOS", Novatel::kBESTPOSMessageID, true},
    {"RANGE", Novatel::kRANGEMessageID, true},
    {"TRACKSTAT", Novatel::kTRACKSTATMessageID, true},
    {"RXSTATUS", Novatel::kRXSTATUSMessageID, true},
    {"TIME", Novatel::kTIMEMessageID, true},
    {"PSRDOP", Novatel::kPSRDOPMessageID, true},
    {"REFSTATION", Novatel::kREFSTATIONMessageID, true},
    {"BESTXYZ", Novatel::kBESTXYZMessageID, true},
    {"PSRXYZ", Novatel::kPSRXYZMessageID, true},
    {"RTKXYZ", Novatel::kRTKXYZMessageID, true},
    {"COMCONFIG", Novatel::kCOMCONFIGMessageID, true},
    {"PDPXYZ", Novatel::kPDPXYZMessageID, true},
    {"LBANDSTAT", Novatel::kLBANDSTATMessageID, true},
    {"PDPSTAT", Novatel::kPDPSTATMessageID, true},
    {"CHANCONFIGLIST", Novatel::kCHANCONFIGLISTMessageID, true},
    {"RTKSATS", Novatel::kRTKSATSMessageID, true},
    {"PDPSATS", Novatel::kPDPSATSMessageID, true},
    {"OMNIHPPOS", Novatel::kOMNIHPPOSMessageID, false},
    {"LBANDINFO", Novatel::kLBANDINFOMessageID, false},
    {"RAWEPHEM", 41, false},
    {"IONUTC", 8, false},
    {"ALMANAC", 73, false},
    {"BESTVEL", 99, false},
    {"RANGECMP", 140, false},
    {"PSRPOS", 47, false},
    {"RAWWAASFRAME", 287, false},
    {"RXCONFIG", 128, false},
    {"LOGLIST", 5, false},
    {"PORTSTATS", 72, false},
    {"PASSCOM2", 234, false},
    {"CBITHINT", 1245, false},
    {"GLORAWEPHEM", 792, false},
    {"GLORAWALM", 720, false},
    {"GLOCLOCK", 719, false},
    {"BASESTATIONOBS", 1254, false},
    {"PDPPOS", 469, false},
    {"PSRSATS", 1162, false},
    {"RTKDATA", 215, false},
    {"MATCHEDSATS", 1176, false},
};

const char* const kNmeaLogs[] = {"GPGSV", "GPGSA", "GPZDA", "GPGST", "GPGGA"};

std::string Upper(const std::string& text) {
    std::string upper = text;
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return upper;
}

}  // namespace

bool LookUpLog(const std::string& requested, SLogName& name) {
    const std::string upper = Upper(requested);
    for (const char* nmea : kNmeaLogs) {
        if (upper == nmea) {
            name.base = upper;
            name.id = 0;
            name.form = kNmeaForm;
            name.produced = true;
            return true;
        }
    }
    auto find = [&](const std::string& base, ELogForm form) {
        for (const SCatalogueEntry& entry : kCatalogue) {
            if (base == entry.name) {
                name.base = entry.name;
                name.id = entry.id;
                name.form = form;
                name.produced = entry.produced;
                return true;
            }
        }
        return false;
    };
    if (find(upper, kAsciiForm)) return true;
    if (upper.size() < 2) return false;
    const char form = upper.back();
    const std::string base = upper.substr(0, upper.size() - 1);
    if (form == 'B') return find(base, kBinaryForm);
    if (form == 'A') return find(base, kAsciiForm);
    return false;
}

std::string LogOutputName(const SLogName& name) {
    switch (name.form) {
        case kBinaryForm:
            return name.base + "B";
        case kAsciiForm:
            return name.base + "A";
        default:
            return name.base;
    }
}

bool IsSetupLog(uint16_t id) {
    return id == Novatel::kVERSIONMessageID || id == Novatel::kRXSTATUSMessageID ||
           id == Novatel::kCOMCONFIGMessageID || id == Novatel::kCHANCONFIGLISTMessageID ||
           id == Novatel::kREFSTATIONMessageID;
}

bool NeedsSky(const SLogName& name) {
    if (name.form == kNmeaForm) return name.base != "GPZDA";
    return name.id != Novatel::kTIMEMessageID && name.id != Novatel::kLBANDSTATMessageID &&
           !IsSetupLog(name.id);
}

}  // namespace Simulator

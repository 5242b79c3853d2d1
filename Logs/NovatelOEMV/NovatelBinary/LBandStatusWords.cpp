#include "Logs/NovatelOEMV/NovatelBinary/LBandStatusWords.h"

namespace {

// Printed before every name=value pair.
const char kSeparator = ' ';

bool Bit(uint32_t word, unsigned bit) { return ((word >> bit) & 1u) != 0; }

// One " Name=value" pair; flags print as 0 or 1.
template <typename T>
void Pair(std::ostream& out, const char* name, T value) {
    out << kSeparator << name << '=' << value;
}

void Pair(std::ostream& out, const char* name, bool value) {
    out << kSeparator << name << '=' << (value ? 1 : 0);
}

}  // namespace

// Signal tracking word bits.
void CLBandSignalTracking::Decode(uint16_t word) {
    m_rawWord = word;
    m_trackingState = word & 0x3u;  // bits 0-1
    m_bitTimingLock = Bit(word, 6);
    m_phaseLocked = Bit(word, 7);
    m_dcOffsetUnlocked = Bit(word, 8);
    m_agcUnlocked = Bit(word, 9);
    m_error = Bit(word, 15);
}

void CLBandSignalTracking::Print(std::ostream& out) const {
    out << "[CLBandSignalTracking]:";
    Pair(out, "TrackingState", m_trackingState);
    Pair(out, "BitTimingLock", m_bitTimingLock);
    Pair(out, "PhaseLocked", m_phaseLocked);
    Pair(out, "DCOffsetUnlocked", m_dcOffsetUnlocked);
    Pair(out, "AGCUnlocked", m_agcUnlocked);
    Pair(out, "Error", m_error);
    out << '\n';
}

// VBS status word bits.
void COmnistarVBSStatusWord::Decode(uint16_t word) {
    m_rawWord = word;
    m_subscriptionExpired = Bit(word, 0);
    m_outOfRegion = Bit(word, 1);
    m_wetError = Bit(word, 2);
    m_linkError = Bit(word, 3);
    m_noRemoteSites = Bit(word, 4);
    m_noAlmanac = Bit(word, 5);
    m_noPosition = Bit(word, 6);
    m_noTime = Bit(word, 7);
    m_updatingData = Bit(word, 15);
}

void COmnistarVBSStatusWord::Print(std::ostream& out) const {
    out << "[COmnistarVBSStatusWord]: ";
    Pair(out, "SignalState", m_rawWord);
    Pair(out, "SubscriptionExpired", m_subscriptionExpired);
    Pair(out, "OutOfRegion", m_outOfRegion);
    Pair(out, "WetError", m_wetError);
    Pair(out, "NoRemoteSites", m_noRemoteSites);
    Pair(out, "NoAlmanac", m_noAlmanac);
    Pair(out, "NoPosition", m_noPosition);
    Pair(out, "NoTime", m_noTime);
    Pair(out, "UpdatingData", m_updatingData);
    out << '\n';
}

// HP status word bits.
void COmnistarHPStatusWord::Decode(uint32_t word) {
    m_rawWord = word;
    m_subscriptionExpired = Bit(word, 0);
    m_outOfRegion = Bit(word, 1);
    m_wetError = Bit(word, 2);
    m_linkError = Bit(word, 3);
    m_noMeasurements = Bit(word, 4);
    m_noEphemeris = Bit(word, 5);
    m_noInitialPosition = Bit(word, 6);
    m_noTimeSet = Bit(word, 7);
    m_velocityError = Bit(word, 8);
    m_noBaseStations = Bit(word, 9);
    m_noMappingMessage = Bit(word, 10);
    m_staticInitialisationMode = Bit(word, 26);
    m_updatingData = Bit(word, 31);
}

void COmnistarHPStatusWord::Print(std::ostream& out) const {
    out << "[COmnistarHPStatusWord]:";
    Pair(out, "SubExpired", m_subscriptionExpired);
    Pair(out, "OutOfRegion", m_outOfRegion);
    Pair(out, "WetError", m_wetError);
    Pair(out, "LinkError", m_linkError);
    Pair(out, "NoMeasurements", m_noMeasurements);
    Pair(out, "NoEphemeris", m_noEphemeris);
    Pair(out, "NoInitialPosition", m_noInitialPosition);
    Pair(out, "NoTimeSet", m_noTimeSet);
    Pair(out, "VelocityError", m_velocityError);
    Pair(out, "NoBaseStations", m_noBaseStations);
    Pair(out, "NoMappingMessage", m_noMappingMessage);
    Pair(out, "StaticInitialisationMode", m_staticInitialisationMode);
    Pair(out, "UpdatingData", m_updatingData);
    out << '\n';
}

// HP additional status word bits; bits 0, 4 and 5 report the negative.
void COmnistarHPAdditionalStatusWord::Decode(uint16_t word) {
    m_rawWord = word;
    m_solutionConverged = !Bit(word, 0);
    m_satelliteListAvailable = Bit(word, 1);
    m_hpAuthorised = !Bit(word, 4);
    m_xpAuthorised = !Bit(word, 5);
}

void COmnistarHPAdditionalStatusWord::Print(std::ostream& out) const {
    out << "[COmnistarHPAdditionalStatusWord]:";
    Pair(out, "SolutionConverged", m_solutionConverged);
    Pair(out, "SatelliteListAvailable", m_satelliteListAvailable);
    Pair(out, "HPAuthorised", m_hpAuthorised);
    Pair(out, "XPAuthorised", m_xpAuthorised);
    out << '\n';
}

#include "tools/simulator/LogContent.h"

#include <cmath>

#include "Logs/NovatelOEMV/NovatelMessageIDs.h"

namespace Simulator {

namespace {

const uint32_t kSolutionComputed = 0;
const uint32_t kTypeSingle = 16;
const uint32_t kTypeWaas = 18;
const uint32_t kTypeNarrowInt = 50;
const uint32_t kDopplerVelocity = 8;
const uint32_t kGlonassPrnOffset = 37;  // GLONASS slot 1 is PRN 38 in the receiver's logs
const float kUndulation = 47.0f;        // geoid above the ellipsoid, metres

// A smooth deterministic wander in [-1, 1], different for every seed.
double Wander(double seed, double t) {
    return 0.5 * std::sin(1.3 * t + 0.7 * seed) + 0.3 * std::sin(3.1 * t + 1.9 * seed) +
           0.2 * std::sin(0.37 * t + seed);
}

uint16_t ReportedPrn(const SSatelliteView& view) {
    return static_cast<uint16_t>(view.system == kGLONASS ? view.prn + kGlonassPrnOffset : view.prn);
}

// The channel tracking status word of an L1 channel in phase lock.
uint32_t ChannelStatus(const STrackedSatellite& satellite) {
    return 4u                                    // tracking state: phase lock loop
           | (satellite.channel & 0x1Fu) << 5    // channel number
           | 1u << 10 | 1u << 11 | 1u << 12      // phase locked, parity known, code locked
           | 1u << 13                            // correlator type
           | (satellite.view.system & 7u) << 16  // satellite system
           | 1u << 27 | 1u << 28;                // primary L1 channel, carrier phase measured
}

bool TracksSbas(const SSnapshot& snapshot) {
    for (const STrackedSatellite& s : snapshot.tracked)
        if (s.view.system == kSBAS) return true;
    return false;
}

unsigned UsedCount(const SSnapshot& snapshot) {
    unsigned used = 0;
    for (const STrackedSatellite& s : snapshot.tracked)
        if (s.view.system != kSBAS) ++used;
    return used;
}

std::string PositionTypeName(uint32_t type) {
    switch (type) {
        case kTypeSingle:
            return "SINGLE";
        case kTypeWaas:
            return "WAAS";
        case kTypeNarrowInt:
            return "NARROW_INT";
        default:
            return std::to_string(type);
    }
}

struct SSolution {
    uint32_t type;
    double noise;  // metres of wander
    float sigma;   // reported standard deviation, metres
    float differentialAge;
    const char* station;
};

// The Cartesian body shared by BESTXYZ, PSRXYZ, RTKXYZ and PDPXYZ.
CLogFields Cartesian(const SSnapshot& snapshot, const SSolution& solution, double seed) {
    const double t = snapshot.elapsed;
    const SVector& p = snapshot.geometry.antenna;
    const SVector& v = snapshot.geometry.velocity;
    const uint8_t tracked = static_cast<uint8_t>(snapshot.tracked.size());
    const uint8_t used = static_cast<uint8_t>(UsedCount(snapshot));
    bool glonass = false;
    for (const STrackedSatellite& s : snapshot.tracked) glonass |= s.view.system == kGLONASS;
    CLogFields fields;
    fields.Enum(kSolutionComputed, "SOL_COMPUTED")
        .Enum(solution.type, PositionTypeName(solution.type))
        .F64(p.x + solution.noise * Wander(seed, t))
        .F64(p.y + solution.noise * Wander(seed + 1.0, t))
        .F64(p.z + solution.noise * Wander(seed + 2.0, t))
        .F32(solution.sigma, 4)
        .F32(solution.sigma * 0.8f, 4)
        .F32(solution.sigma * 1.6f, 4)
        .Enum(kSolutionComputed, "SOL_COMPUTED")
        .Enum(kDopplerVelocity, "DOPPLER_VELOCITY")
        .F64(v.x + 0.02 * Wander(seed + 3.0, t))
        .F64(v.y + 0.02 * Wander(seed + 4.0, t))
        .F64(v.z + 0.02 * Wander(seed + 5.0, t))
        .F32(0.03f, 4)
        .F32(0.03f, 4)
        .F32(0.05f, 4)
        .Text(solution.station, 4)
        .F32(0.150f)
        .F32(solution.differentialAge)
        .F32(0.0f)
        .U8(tracked)
        .U8(used)
        .U8(used)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(static_cast<uint8_t>(glonass ? 0x11 : 0x01));  // GPS L1, GLONASS L1
    return fields;
}

SSolution PdpSolution(const SSnapshot& s) {
    return {TracksSbas(s) ? kTypeWaas : kTypeSingle, 0.3, 0.45f, 0.0f, "0"};
}
SSolution PsrSolution(const SSnapshot& s) {
    return {TracksSbas(s) ? kTypeWaas : kTypeSingle, 1.0, 1.3f, 0.0f, "0"};
}
const SSolution kRtkSolution = {kTypeNarrowInt, 0.008, 0.012f, 1.0f, "1"};

CLogFields BestPos(const SSnapshot& snapshot) {
    const double t = snapshot.elapsed;
    const SEpochGeometry& g = snapshot.geometry;
    const uint8_t used = static_cast<uint8_t>(UsedCount(snapshot));
    CLogFields fields;
    fields.Enum(kSolutionComputed, "SOL_COMPUTED")
        .Enum(kTypeNarrowInt, PositionTypeName(kTypeNarrowInt))
        .F64(g.latitudeDegrees + 1e-9 * Wander(7.0, t), 11)
        .F64(g.longitudeDegrees + 1e-9 * Wander(8.0, t), 11)
        .F64(g.heightMetres - kUndulation + 0.01 * Wander(9.0, t))
        .F32(kUndulation, 4)
        .Enum(61, "WGS84")
        .F32(0.010f, 4)
        .F32(0.009f, 4)
        .F32(0.020f, 4)
        .Text("1", 4)
        .F32(1.0f)
        .F32(0.0f)
        .U8(static_cast<uint8_t>(snapshot.tracked.size()))
        .U8(used)
        .U8(used)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(0x01);
    return fields;
}

CLogFields Range(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.U32(static_cast<uint32_t>(snapshot.tracked.size()));
    for (const STrackedSatellite& s : snapshot.tracked) {
        const SSatelliteView& v = s.view;
        const double noise = 0.3 * Wander(v.prn, snapshot.elapsed);
        const double ambiguity = 1000.0 * v.prn;
        fields.U16(ReportedPrn(v))
            .U16(static_cast<uint16_t>(v.system == kGLONASS ? v.glonassFrequency + 7 : 0))
            .F64(v.rangeMetres + noise, 3)
            .F32(0.08f)
            .F64(-(v.rangeMetres / v.wavelength) + ambiguity, 3)
            .F32(0.008f)
            .F32(static_cast<float>(-v.rangeRate / v.wavelength))
            .F32(static_cast<float>(v.carrierToNoise))
            .F32(static_cast<float>(s.lockTime))
            .Hex(ChannelStatus(s));
    }
    return fields;
}

CLogFields TrackStat(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.Enum(kSolutionComputed, "SOL_COMPUTED")
        .Enum(kTypeSingle, "SINGLE")
        .F32(5.0f, 1)
        .U32(static_cast<uint32_t>(snapshot.tracked.size()));
    for (const STrackedSatellite& s : snapshot.tracked) {
        const SSatelliteView& v = s.view;
        fields.U16(ReportedPrn(v))
            .U16(static_cast<uint16_t>(v.system == kGLONASS ? v.glonassFrequency + 7 : 0))
            .Hex(ChannelStatus(s))
            .F64(v.rangeMetres + 0.3 * Wander(v.prn, snapshot.elapsed), 3)
            .F32(static_cast<float>(-v.rangeRate / v.wavelength))
            .F32(static_cast<float>(v.carrierToNoise))
            .F32(static_cast<float>(s.lockTime))
            .F32(static_cast<float>(0.4 * Wander(v.prn + 50.0, snapshot.elapsed)))
            .Enum(0, "GOOD")
            .F32(v.system == kSBAS ? 0.0f : 1.0f);
    }
    return fields;
}

CLogFields PsrDop(const SSnapshot& snapshot) {
    std::vector<SSatelliteView> used;
    for (const STrackedSatellite& s : snapshot.tracked)
        if (s.view.system != kSBAS) used.push_back(s.view);
    const SDilution dop = CScenario::Dilution(used);
    CLogFields fields;
    fields.F32(static_cast<float>(dop.gdop), 4)
        .F32(static_cast<float>(dop.pdop), 4)
        .F32(static_cast<float>(dop.hdop), 4)
        .F32(static_cast<float>(dop.htdop), 4)
        .F32(static_cast<float>(dop.tdop), 4)
        .F32(5.0f, 1)
        .U32(static_cast<uint32_t>(used.size()));
    for (const SSatelliteView& v : used) fields.U32(ReportedPrn(v));
    return fields;
}

CLogFields RxStatus() {
    CLogFields fields;
    fields.Hex(0).U32(4);
    // Receiver status and the three auxiliary words: word, priority, set and clear masks.
    for (uint32_t group = 0; group < 4; ++group) fields.Hex(0).Hex(0).Hex(0xFFFFFFFF).Hex(0);
    return fields;
}

CLogFields Time(const SSnapshot& snapshot) {
    const SUtc utc = UtcOf(snapshot.week, snapshot.milliseconds);
    const uint32_t millisecondsOfMinute = static_cast<uint32_t>(std::lround(utc.second * 1000.0));
    CLogFields fields;
    fields.Enum(0, "VALID")
        .F64(1.2e-9 * (1.0 + Wander(11.0, snapshot.elapsed)), 12)
        .F64(3.0e-9, 12)
        .F64(-18.0, 9)
        .U32(static_cast<uint32_t>(utc.year))
        .U8(static_cast<uint8_t>(utc.month))
        .U8(static_cast<uint8_t>(utc.day))
        .U8(static_cast<uint8_t>(utc.hour))
        .U8(static_cast<uint8_t>(utc.minute))
        .U32(millisecondsOfMinute)
        .Enum(1, "VALID");
    return fields;
}

CLogFields Version(const SSnapshot& snapshot) {
    const SReceiverIdentity& identity = *snapshot.identity;
    CLogFields fields;
    fields.U32(2);
    fields.Enum(1, "GPSCARD")
        .Text(identity.model, 16)
        .Text(identity.serialNumber, 16)
        .Text("OEMV3-1.01", 16)
        .Text(identity.softwareVersion, 16)
        .Text("EBV3.100", 16)
        .Text("2011/Mar/09", 12)
        .Text("11:04:53", 12);
    fields.Enum(3, "ENCLOSURE")
        .Text("", 16)
        .Text("NMJ12340001", 16)
        .Text("REV_1", 16)
        .Text("", 16)
        .Text("", 16)
        .Text("", 12)
        .Text("", 12);
    return fields;
}

CLogFields ComConfig(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.U32(static_cast<uint32_t>(snapshot.ports->size()));
    for (const SPortConfig& port : *snapshot.ports) {
        fields.Enum(port.id, port.name)
            .U32(port.baud)
            .U32(port.parity)
            .U32(port.dataBits)
            .U32(port.stopBits)
            .U32(port.handshake)
            .U32(port.echo ? 1 : 0)
            .U32(port.breakDetection ? 1 : 0)
            .U32(port.receiveMode)
            .U32(port.transmitMode)
            .U32(port.responses ? 1 : 0);
    }
    return fields;
}

CLogFields ChanConfigList(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.U32(snapshot.currentChannelSet).U32(static_cast<uint32_t>(snapshot.channelSets->size()));
    for (const ChannelSet& set : *snapshot.channelSets) {
        fields.U32(static_cast<uint32_t>(set.size()));
        for (const auto& group : set) fields.U32(group.first).U32(group.second);
    }
    return fields;
}

CLogFields SatelliteList(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.U32(UsedCount(snapshot));
    for (const STrackedSatellite& s : snapshot.tracked) {
        if (s.view.system == kSBAS) continue;
        fields.Enum(s.view.system, s.view.system == kGLONASS ? "GLONASS" : "GPS")
            .U16(ReportedPrn(s.view))
            .U16(static_cast<uint16_t>(s.view.glonassFrequency))
            .U32(1)  // used in the solution
            .Hex(s.view.system == kGLONASS ? 0x10 : 0x01);
    }
    return fields;
}

CLogFields PdpStat(const SSnapshot& snapshot) {
    const uint32_t used = UsedCount(snapshot);
    CLogFields fields;
    fields
        .U32(0)                                 // filter status: solution computed
        .U32(1)                                 // converged
        .U32(used)                              // satellites in the filter
        .U32(snapshot.phaseDropped ? 0 : used)  // phase measurements used
        .U32(used)                              // code measurements used
        .F64(0.35 + 0.05 * Wander(21.0, snapshot.elapsed), 5)
        .F64(0.012, 5)
        .F64(0.008, 5);
    return fields;
}

CLogFields RefStation(const SSnapshot& snapshot) {
    CLogFields fields;
    fields.U32(0)
        .F64(snapshot.base.x)
        .F64(snapshot.base.y)
        .F64(snapshot.base.z)
        .U32(0)             // station health
        .Enum(4, "RTCMV3")  // station type
        .Text("1", 8);      // five characters of ID, padded to the body's end
    return fields;
}

CLogFields LBandStat(const SSnapshot& snapshot) {
    const uint32_t seconds = static_cast<uint32_t>(snapshot.elapsed);
    CLogFields fields;
    fields
        .U32(1545485)  // kHz
        .F32(static_cast<float>(42.0 + Wander(31.0, snapshot.elapsed)), 1)
        .F32(static_cast<float>(snapshot.elapsed), 1)
        .F32(0.0f)
        .U16(0x00C3)  // tracking state 3, bit timing and phase locked
        .U16(0)
        .U32(seconds * 60)
        .U32(seconds)
        .U32(0)
        .U16(0)
        .U16(0x0002)  // satellite list available, converged, services authorised
        .U32(seconds * 40)
        .Hex(0)
        .U32(0);
    return fields;
}

}  // namespace

CLogFields BuildLogFields(uint16_t id, const SSnapshot& snapshot) {
    switch (id) {
        case Novatel::kPDPXYZMessageID:
            return Cartesian(snapshot, PdpSolution(snapshot), 1.0);
        case Novatel::kPSRXYZMessageID:
            return Cartesian(snapshot, PsrSolution(snapshot), 2.0);
        case Novatel::kRTKXYZMessageID:
            return Cartesian(snapshot, kRtkSolution, 3.0);
        case Novatel::kBESTXYZMessageID:
            return Cartesian(snapshot, kRtkSolution, 3.0);
        case Novatel::kBESTPOSMessageID:
            return BestPos(snapshot);
        case Novatel::kRANGEMessageID:
            return Range(snapshot);
        case Novatel::kTRACKSTATMessageID:
            return TrackStat(snapshot);
        case Novatel::kPSRDOPMessageID:
            return PsrDop(snapshot);
        case Novatel::kRXSTATUSMessageID:
            return RxStatus();
        case Novatel::kTIMEMessageID:
            return Time(snapshot);
        case Novatel::kVERSIONMessageID:
            return Version(snapshot);
        case Novatel::kCOMCONFIGMessageID:
            return ComConfig(snapshot);
        case Novatel::kCHANCONFIGLISTMessageID:
            return ChanConfigList(snapshot);
        case Novatel::kRTKSATSMessageID:
            return SatelliteList(snapshot);
        case Novatel::kPDPSATSMessageID:
            return SatelliteList(snapshot);
        case Novatel::kPDPSTATMessageID:
            return PdpStat(snapshot);
        case Novatel::kREFSTATIONMessageID:
            return RefStation(snapshot);
        case Novatel::kLBANDSTATMessageID:
            return LBandStat(snapshot);
        default:
            return CLogFields();
    }
}

}  // namespace Simulator

#pragma once
// What a TRACKSTAT log says about the satellites in view: how many of each
// system the receiver tracks and uses in its solution, which SBAS satellites
// it tracks, and the sky view for the position service. The receiver lists
// one channel per signal, so a satellite tracked on L1 and L2 counts once.

#include <cstdint>
#include <vector>

#include "platform/Position/PositionAPI.h"

namespace Novatel {
class CNovatelTRACKSTAT;
}  // namespace Novatel

struct STrackingSummary {
    int32_t gpsTracked = 0;
    int32_t gpsUsed = 0;
    int32_t glonassTracked = 0;
    int32_t glonassUsed = 0;
    int32_t sbasTracked = 0;
    int32_t sbasUsed = 0;
    std::vector<int32_t> sbasPRNs;  // tracked SBAS PRNs, in channel order
    // One entry per tracked satellite, in channel order.
    std::vector<CPositionAPI::sSSatinfo> skyView;

    int32_t TotalTracked() const { return gpsTracked + glonassTracked + sbasTracked; }
    int32_t TotalUsed() const { return gpsUsed + glonassUsed + sbasUsed; }
};

// Fields of the channel tracking status word the summary reads.
namespace TrackingStatus {
const uint32_t kCodeLockedBit = 1u << 12;   // the channel tracks the satellite's code
const unsigned kSatelliteSystemShift = 16;  // 3 bits: 0 GPS, 1 GLONASS, 2 SBAS
const uint32_t kSatelliteSystemMask = 0x7;
const unsigned kSignalTypeShift = 21;  // 5 bits: 0 the L1 C/A signal of every system
const uint32_t kSignalTypeMask = 0x1F;
const uint32_t kSystemGPS = 0;
const uint32_t kSystemGLONASS = 1;
const uint32_t kSystemSBAS = 2;
const uint32_t kSignalL1CA = 0;
}  // namespace TrackingStatus

// The receiver's GLONASS PRNs are the orbital slot plus this.
const int32_t kGLONASSPRNOffset = 37;
// The range reject code of a measurement used in the solution.
const uint32_t kRangeUsed = 0;

// Counts the satellites of a TRACKSTAT log. A satellite is tracked when one of
// its channels has code lock, and used when one of its tracked channels has
// its range used (reject code 0). Channels of other systems (L-band, ...) and
// idle channels (PRN 0) are left out.
STrackingSummary SummariseTracking(const Novatel::CNovatelTRACKSTAT& record);

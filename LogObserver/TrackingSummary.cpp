#include "LogObserver/TrackingSummary.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelTRACKSTAT.h"

namespace {

// The position service's system number of a tracking status system; false
// for a system it does not show.
bool PositionSystemOf(uint32_t trackingSystem, int& system) {
    switch (trackingSystem) {
        case TrackingStatus::kSystemGPS:
            system = CPositionAPI::SYSTEM_GPS;
            return true;
        case TrackingStatus::kSystemGLONASS:
            system = CPositionAPI::SYSTEM_GLONASS;
            return true;
        case TrackingStatus::kSystemSBAS:
            system = CPositionAPI::SYSTEM_SBAS;
            return true;
        default:
            return false;
    }
}

}  // namespace

STrackingSummary SummariseTracking(const Novatel::CNovatelTRACKSTAT& record) {
    STrackingSummary summary;
    // Where each satellite (system, receiver PRN) sits in the sky view, and
    // whether its entry's C/N0 already comes from an L1 C/A channel.
    std::map<std::pair<int, int>, std::pair<size_t, bool>> seen;

    for (const Novatel::CNovatelTRACKSTAT::SChannel& channel : record.GetChannels()) {
        const uint32_t status = channel.m_trackingStatus;
        int system = 0;
        if (channel.m_prn == 0 || (status & TrackingStatus::kCodeLockedBit) == 0 ||
            !PositionSystemOf((status >> TrackingStatus::kSatelliteSystemShift) &
                                  TrackingStatus::kSatelliteSystemMask,
                              system)) {
            continue;
        }
        const bool l1 = ((status >> TrackingStatus::kSignalTypeShift) &
                         TrackingStatus::kSignalTypeMask) == TrackingStatus::kSignalL1CA;
        const bool used = channel.m_rejectCode == kRangeUsed;
        const std::pair<int, int> key(system, channel.m_prn);

        auto found = seen.find(key);
        if (found == seen.end()) {
            CPositionAPI::sSSatinfo satellite;
            satellite.system = system;
            satellite.prn = channel.m_prn;
            if (system == CPositionAPI::SYSTEM_GLONASS) satellite.prn -= kGLONASSPRNOffset;
            satellite.carrierToNoise = channel.m_carrierToNoise;
            satellite.used = used;
            found = seen.emplace(key, std::make_pair(summary.skyView.size(), l1)).first;
            summary.skyView.push_back(satellite);
            if (system == CPositionAPI::SYSTEM_GPS) ++summary.gpsTracked;
            if (system == CPositionAPI::SYSTEM_GLONASS) ++summary.glonassTracked;
            if (system == CPositionAPI::SYSTEM_SBAS) {
                ++summary.sbasTracked;
                summary.sbasPRNs.push_back(channel.m_prn);
            }
        } else {
            CPositionAPI::sSSatinfo& satellite = summary.skyView[found->second.first];
            // The sky view shows the L1 C/A signal's strength when there is one.
            if (l1 && !found->second.second) {
                satellite.carrierToNoise = channel.m_carrierToNoise;
                found->second.second = true;
            }
            satellite.used = satellite.used || used;
        }
    }

    for (const CPositionAPI::sSSatinfo& satellite : summary.skyView) {
        if (!satellite.used) continue;
        if (satellite.system == CPositionAPI::SYSTEM_GPS) ++summary.gpsUsed;
        if (satellite.system == CPositionAPI::SYSTEM_GLONASS) ++summary.glonassUsed;
        if (satellite.system == CPositionAPI::SYSTEM_SBAS) ++summary.sbasUsed;
    }
    // A GLONASS satellite whose slot the receiver does not know yet (PRN 37
    // or less) counts, but the position service has no place for it.
    summary.skyView.erase(std::remove_if(summary.skyView.begin(), summary.skyView.end(),
                                         [](const CPositionAPI::sSSatinfo& satellite) {
                                             return satellite.system ==
                                                        CPositionAPI::SYSTEM_GLONASS &&
                                                    satellite.prn < 1;
                                         }),
                          summary.skyView.end());
    return summary;
}

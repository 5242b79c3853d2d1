#pragma once
// The NMEA service's interface for the rest of the daemon. Any number of
// handles may exist (each observer that feeds the service owns one); they all
// feed the one service of the process, set at start-up. Without a service
// (it could not listen, or a test runs an observer alone) what a handle gets
// is dropped.

#include <cstdint>
#include <string>

#include "platform/Net/NMEASentences.h"

class CNMEAService;

class CNMEAHandlerAPI {
public:
    // A handle that feeds the given service, or the process's service when null.
    explicit CNMEAHandlerAPI(CNMEAService* service = nullptr) : m_service(service) {}

    // Sets the service that handles without one of their own feed; null for none.
    static void SetService(CNMEAService* service);
    static CNMEAService* GetService();

    // One whole sentence from the receiver, with its name ("GPGSV") and time
    // in milliseconds, for every client of the service.
    void SetNMEAString(const std::string& name, int64_t timeMilliseconds,
                       const std::string& sentence);
    // The geoidal separation (metres) that GPGGA sentences carry from now on.
    void SetNMEAGeoidalSeparationValue(double separation);
    // One position solution, sent on as GPGGA and GPRMC sentences.
    void AddPositionFix(const SNMEAFix& fix);

private:
    CNMEAService* Target() const;

    CNMEAService* m_service;
};

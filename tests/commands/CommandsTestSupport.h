#pragma once
// Helpers for the command tests: a byte source that keeps what is written to
// it, a private store pointing the log clients at a stub, and the receiver
// configuration the command manager builds from an empty store.

#include <string>
#include <vector>

#include "tests/support/LogServerStub.h"
#include "tests/support/MemorySource.h"
#include "tests/support/TestSupport.h"

namespace CommandsTest {

// A receiver port in memory, closed until opened: reads give nothing, writes
// are kept in order.
class CRecordingSource : public TestSupport::CMemorySource {
public:
    CRecordingSource() { m_open = false; }
};

// A store file in dir pointing the log clients at the stub, with extra text appended.
inline std::string WriteStore(const TestSupport::TempDir& dir,
                              const TestSupport::CLogServerStub& server,
                              const std::string& extra = "") {
    return TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port(), extra);
}

// The receiver configuration for an empty store and no constellation manager,
// each line with its "\r\n".
inline std::vector<std::string> DefaultConfiguration() {
    const char* const lines[] = {
        "unlogall thisport",
        "sbascontrol disable",
        "rtksource auto any",
        "psrdiffsource auto any",
        "setionotype auto",
        "interfacemode usb1 novatel novatel",
        "interfacemode usb2 novatel novatel",
        "interfacemode usb3 novatel novatel",
        "com com2 115200 n 8 1 n off on",
        "interfacemode com2 CMR none",
        "log versionb once",
        "log rxstatusb once",
        "log psrdopb ontime 10",
        "log rxstatusb onchanged",
        "log comconfigb ontime 10",
        "log trackstatb ontime 3",
        "pdpfilter enable",
        "pdpmode relative dynamic",
        "dynamics air",
        "psrvelocitytype DOPPLER",
        "log pdpxyzb ontime 0.1",
        "log pdpstatb ontime 0.1",
        "log rangeb ontime 0.5",
        "log timeb ontime 0.1",
        "log gpgsv ontime 1",
        "log gpgsa ontime 1",
        "log gpzda ontime 1",
        "log gpgst ontime 1",
        "log refstationb ontime 10",
        "LOG CHANCONFIGLISTB ONCE",
        "LOG LOGLISTB ONCE",
        "LOG RXCONFIGB ONCE",
    };
    std::vector<std::string> configuration;
    for (const char* line : lines) configuration.push_back(std::string(line) + "\r\n");
    return configuration;
}

}  // namespace CommandsTest

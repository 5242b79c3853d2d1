#pragma once
// The receiver configuration the daemon builds from a store with every key at
// its default and SBAS not in use, without its selectchanconfig line: the
// lines as the receiver reads them, without their "\r\n". Stated here once,
// independently of the command manager that builds it.

#include <string>
#include <vector>

namespace TestSupport {

inline std::vector<std::string> DefaultReceiverConfiguration() {
    return {
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
}

}  // namespace TestSupport

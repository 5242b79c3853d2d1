#pragma once
// Novatel::CNovatelCOMCONFIG: the receiver's COMCONFIG log, the configuration
// of each of its communication ports (serial settings and the protocols it
// reads and writes there). The receiver status observer publishes the ports
// the device uses.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelCOMCONFIG : public virtual CNovatelRecord {
public:
    // One port's configuration. Numbers are the receiver's own enumerations;
    // a flag is set only when the receiver sent exactly 1 for it.
    struct SPortConfig {
        uint32_t m_port = 0;  // port identifier
        uint32_t m_baudRate = 0;
        uint32_t m_parity = 0;
        uint32_t m_dataBits = 0;
        uint32_t m_stopBits = 0;
        uint32_t m_handshake = 0;
        bool m_echo = false;
        bool m_breakDetection = false;
        uint32_t m_receiveInterfaceMode = 0;   // protocol the receiver accepts on the port
        uint32_t m_transmitInterfaceMode = 0;  // protocol the receiver sends on the port
        bool m_responses = false;              // whether commands are answered there
    };

    ~CNovatelCOMCONFIG() override = default;

    // The number of ports the log lists.
    uint32_t GetNumberOfPorts() const { return m_numberOfPorts; }
    // The ports in the order the receiver lists them.
    const std::vector<SPortConfig>& GetPorts() const { return m_ports; }

protected:
    uint32_t m_numberOfPorts = 0;
    std::vector<SPortConfig> m_ports;
};

}  // namespace Novatel

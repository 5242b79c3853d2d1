#pragma once
// Novatel::CNovatelCHANCONFIGLIST: the receiver's CHANCONFIGLIST log, the
// channel configuration sets the receiver offers and which one it runs. Each
// set divides the receiver's channels among signal types (so many channels
// for GPS L1, so many for SBAS L1, ...). The constellation manager reads the
// set in use and the offered sets to choose the receiver's configuration.

#include <cstdint>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelCHANCONFIGLIST : public virtual CNovatelRecord {
public:
    // One group of a set: channels assigned to one signal type (the
    // receiver's signal type enumeration, kept as a number).
    struct SChannelGroup {
        uint32_t number_channels = 0;
        uint32_t signal_type = 0;
    };

    // One configuration set, named after the receiver's own fields.
    struct SChannelConfigSet {
        uint32_t set_number = 0;      // 1-based position in the list
        uint32_t number_signals = 0;  // how many groups follow
        std::vector<SChannelGroup> signals;
    };

    ~CNovatelCHANCONFIGLIST() override = default;

    // The number of the set the receiver runs (as "selectchanconfig" takes it).
    uint32_t GetCurrentConfigSet() const { return m_currentConfigSet; }
    // The number of sets the log lists.
    uint32_t GetNumberOfConfigSets() const { return m_numberOfConfigSets; }
    // The sets in the order the receiver lists them.
    const std::vector<SChannelConfigSet>& GetConfigSets() const { return m_configSets; }

protected:
    uint32_t m_currentConfigSet = 0;
    uint32_t m_numberOfConfigSets = 0;
    std::vector<SChannelConfigSet> m_configSets;
};

}  // namespace Novatel

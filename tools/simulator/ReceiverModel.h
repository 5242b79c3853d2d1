#pragma once
// What the simulated receiver is and holds between logs: its identity, its
// ports, its channel configuration sets, and the snapshot of one instant that
// every log is written from.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/simulator/Scenario.h"

namespace Simulator {

// The receiver's interface mode numbers, as COMCONFIG reports them.
enum EInterfaceMode : uint32_t {
    kModeNone = 0,
    kModeNovatel = 1,
    kModeRtcm = 2,
    kModeRtca = 3,
    kModeCmr = 4,
    kModeOmnistar = 5,
    kModeRtcmNoCr = 8,
    kModeCdgps = 9,
    kModeRtcmV3 = 14,
    kModeNovatelBinary = 15,
    kModeGeneric = 18,
};

struct SPortConfig {
    std::string name;  // "COM1"
    uint32_t id = 0;   // the receiver's port enumeration
    uint32_t baud = 9600;
    uint32_t parity = 0;  // 0 none, 1 even, 2 odd
    uint32_t dataBits = 8;
    uint32_t stopBits = 1;
    uint32_t handshake = 0;  // 0 none, 1 XON/XOFF, 2 CTS/RTS
    bool echo = false;
    bool breakDetection = true;
    uint32_t receiveMode = kModeNovatel;
    uint32_t transmitMode = kModeNovatel;
    bool responses = true;
};

// Channel groups of one configuration set: (number of channels, signal type).
typedef std::vector<std::pair<uint32_t, uint32_t>> ChannelSet;

// Signal type codes of the channel configuration list.
const uint32_t kSignalGpsL1 = 0;
const uint32_t kSignalSbasL1 = 4;
const uint32_t kSignalGlonassL1 = 10;

struct SReceiverIdentity {
    std::string model;            // "L12LGRV"; a "G" means GLONASS capable
    std::string softwareVersion;  // "L6X10200"
    std::string serialNumber = "SIM12345678";
    uint16_t softwareBuild = 3681;  // header field of every binary log
};

// One tracked satellite: its view and the channel's state.
struct STrackedSatellite {
    SSatelliteView view;
    uint32_t channel = 0;
    double lockTime = 0.0;  // seconds since the channel locked
};

// Everything a log needs about one instant.
struct SSnapshot {
    uint16_t week = 0;
    uint32_t milliseconds = 0;  // GPS milliseconds of week
    double elapsed = 0.0;       // seconds since the simulation started
    SEpochGeometry geometry;
    std::vector<STrackedSatellite> tracked;  // by system, then PRN
    SVector base;                            // reference station ECEF
    bool phaseDropped = false;               // PDP filter without phase measurements
    const SReceiverIdentity* identity = nullptr;
    const std::vector<SPortConfig>* ports = nullptr;
    const std::vector<ChannelSet>* channelSets = nullptr;
    uint32_t currentChannelSet = 1;  // 1-based
};

}  // namespace Simulator

#pragma once
// The logs the simulated receiver knows by name, and the contents of each one
// it produces, written from a snapshot of one instant. Binary and ASCII forms
// share one field list (CLogFields); NMEA sentences are text of their own.

#include <cstdint>
#include <string>

#include "tools/simulator/LogFields.h"
#include "tools/simulator/ReceiverModel.h"

namespace Simulator {

enum ELogForm { kBinaryForm, kAsciiForm, kNmeaForm };

struct SLogName {
    std::string base;  // the log's name without the form letter: "BESTPOS", "GPGSV"
    uint16_t id = 0;   // NovAtel message ID; 0 for NMEA sentences
    ELogForm form = kAsciiForm;
    bool produced = false;  // false: accepted by LOG but never output
};

// Looks up a requested name ("bestposb", "VERSIONA", "version", "gpgsv");
// false for a name the receiver does not know.
bool LookUpLog(const std::string& requested, SLogName& name);

// The name as the receiver writes it in its output: base plus "B" or "A".
std::string LogOutputName(const SLogName& name);

// True for logs whose contents change only when the receiver's setup does
// (ONCHANGED outputs them on such a change; the others once a second).
bool IsSetupLog(uint16_t id);

// Whether the log's contents depend on the satellites or the antenna.
bool NeedsSky(const SLogName& name);

// The body of a produced NovAtel log.
CLogFields BuildLogFields(uint16_t id, const SSnapshot& snapshot);

// One NMEA log: one or more complete sentences with checksums and CR LF.
std::string BuildNmea(const std::string& base, const SSnapshot& snapshot);

// UTC of a GPS time (18 leap seconds).
struct SUtc {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0.0;
};
SUtc UtcOf(uint16_t week, uint32_t milliseconds);

}  // namespace Simulator

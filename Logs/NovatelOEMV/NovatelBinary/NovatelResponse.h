#pragma once
// Novatel::CNovatelResponse: the receiver's answer to a command, as the fields
// and accessors that every form of response shares. The receiver sends one
// for each command line it is given; the system does not match them to the
// commands it sent, it only shows them (the screen dump) as they arrive.

#include <cstdint>
#include <string>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelResponse : public virtual CNovatelRecord {
public:
    ~CNovatelResponse() override = default;
    CNovatelResponse* AsResponse() override { return this; }

    // The receiver's response ID (1 means OK; other values name the error).
    uint32_t GetResponseID() const { return m_responseID; }
    // The response text as the receiver wrote it ("OK" or the error message),
    // up to the first NUL: the terminator kept in m_responseText is not part
    // of it. Empty when the receiver sent no text.
    std::string GetResponseText() const { return std::string(m_responseText.c_str()); }

protected:
    uint32_t m_responseID = 0;
    // The text bytes with one NUL appended, or empty when there are none.
    std::string m_responseText;
};

}  // namespace Novatel

#pragma once
// Novatel::CNovatelBinaryResponse: a binary command response, that is any
// binary message whose message type has kResponseMessageBit set, whatever its
// message ID (the ID is that of the command answered). The body is the
// response ID followed by the response text, which runs to the end of the
// body and carries no terminator of its own.

#include "Logs/NovatelOEMV/NovatelBinary/NovatelResponse.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelBinaryResponse : public CNovatelBinaryRecord, public virtual CNovatelResponse {
public:
    explicit CNovatelBinaryResponse(const ByteVector& frame);
    ~CNovatelBinaryResponse() override;

protected:
    // Reads the response ID and takes the text, with a NUL appended, from the
    // rest of the body as long as the header's message length says. The text is
    // left empty when those bytes do not lie wholly inside the frame.
    void ParseSentenceData(const ByteVector& sentenceData) override;
};

}  // namespace Novatel

#pragma once
// Novatel::CNovatelCHANCONFIGLISTB: decodes the binary CHANCONFIGLIST log
// into CNovatelCHANCONFIGLIST.

#include <cstddef>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLIST.h"
#include "Logs/NovatelOEMV/NovatelBinaryRecord.h"

namespace Novatel {

class CNovatelCHANCONFIGLISTB : public CNovatelBinaryRecord, public virtual CNovatelCHANCONFIGLIST {
public:
    explicit CNovatelCHANCONFIGLISTB(const ByteVector& frame);
    ~CNovatelCHANCONFIGLISTB() override;

protected:
    // Reads the set in use and the number of sets, then the sets one after
    // the other. A set whose groups run past the frame ends the process.
    void ParseSentenceData(const ByteVector& sentenceData) override;

private:
    // Decodes the set that starts at frame offset startIndex, after checking
    // that the frame holds all its groups; returns where the next set starts.
    size_t ParseConfigSet(const ByteVector& sentenceData, size_t startIndex,
                          SChannelConfigSet& set);
};

}  // namespace Novatel

#pragma once
// Test helper: cuts a simulated receiver's output with the daemon's three
// framers and turns every sentence into a record with the daemon's factory.

#include <memory>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tools/simulator/SimulatedReceiver.h"

namespace SimulatorTest {

struct SDecoded {
    std::vector<std::unique_ptr<CGPSRecord>> records;  // binary logs and NMEA sentences
    std::vector<std::string> asciiLogs;                // checksum-valid "#..." sentences
    int binaryFailures = 0;                            // frames the CRC rejected
    int textFailures = 0;                              // text sentences with a bad checksum

    // Records of one message ID, in order.
    template <typename T>
    std::vector<const T*> Of(uint16_t messageId) const {
        std::vector<const T*> found;
        for (const auto& record : records)
            if (record->GetMessageID() == messageId)
                found.push_back(dynamic_cast<const T*>(record.get()));
        return found;
    }
    size_t Count(uint16_t messageId) const { return Of<CGPSRecord>(messageId).size(); }
};

inline void Drain(CSentenceConstructor& framer, SDecoded& decoded, bool binary) {
    ByteVector sentence;
    for (;;) {
        const int result = framer.GetSentence(sentence);
        if (result == 0) return;
        if (result < 0) {
            (binary ? decoded.binaryFailures : decoded.textFailures)++;
            continue;
        }
        if (sentence[0] == '#') {
            decoded.asciiLogs.emplace_back(sentence.begin(), sentence.end());
            continue;
        }
        decoded.records.emplace_back(CreateRecord(sentence));
    }
}

inline SDecoded Decode(const ByteVector& bytes) {
    Novatel::CNovatelBinarySentenceConstructor binary;
    Novatel::CNovatelASCIISentenceConstructor ascii;
    CNMEASentenceConstructor nmea;
    SDecoded decoded;
    binary.AddData(bytes);
    ascii.AddData(bytes);
    nmea.AddData(bytes);
    Drain(binary, decoded, true);
    Drain(ascii, decoded, false);
    Drain(nmea, decoded, false);
    return decoded;
}

inline std::string Text(const ByteVector& bytes) { return std::string(bytes.begin(), bytes.end()); }

// A receiver with default settings, or the given ones, that has run the commands.
inline ByteVector RunCommands(Simulator::CSimulatedReceiver& receiver,
                              const std::vector<std::string>& commands, uint32_t milliseconds = 0) {
    for (const std::string& command : commands) receiver.Receive(command + "\r\n");
    receiver.Advance(milliseconds);
    return receiver.TakeOutput();
}

}  // namespace SimulatorTest

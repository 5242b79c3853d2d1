#pragma once
// The receiver's own ASCII rendering of a recording ("twin"), for checking
// decoded binary logs field by field, and the binary frames of a recording.
//
// A twin line looks like
//   #BESTPOSA,COM1,0,65.5,FINESTEERING,1687,419928.000,00000000,6145,3153;SOL_COMPUTED,...*49329266
// Header fields come before ';', body fields after it, up to '*'. Quotes
// around text fields are removed.

#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "platform/Core/Utilities.h"
#include "tests/framing/FramingTestSupport.h"
#include "tests/support/TestSupport.h"

namespace LogsTest {

struct SAsciiLog {
    std::string name;                 // "BESTPOSA"
    std::vector<std::string> header;  // port, sequence, idle, time status, week, seconds, ...
    std::vector<std::string> body;
};

inline std::string Unquoted(const std::string& field) {
    if (field.size() >= 2 && field.front() == '"' && field.back() == '"') {
        return field.substr(1, field.size() - 2);
    }
    return field;
}

// Every complete "#...;...*" line of the twin, in file order.
inline std::vector<SAsciiLog> ReadAsciiTwin(const std::string& path) {
    std::vector<SAsciiLog> logs;
    std::string text = TestSupport::ReadWholeFile(path);
    for (const std::string& rawLine : Core::Utilities::SplitString(text, '\n')) {
        std::string line = Core::Utilities::trim(rawLine);
        std::string::size_type semicolon = line.find(';');
        std::string::size_type star = line.rfind('*');
        if (line.empty() || line[0] != '#' || semicolon == std::string::npos || star == std::string::npos ||
            star < semicolon) {
            continue;
        }
        SAsciiLog log;
        std::vector<std::string> header = Core::Utilities::SplitString(line.substr(1, semicolon - 1), ',');
        log.name = header[0];
        log.header.assign(header.begin() + 1, header.end());
        for (const std::string& field :
             Core::Utilities::SplitString(line.substr(semicolon + 1, star - semicolon - 1), ',')) {
            log.body.push_back(Unquoted(field));
        }
        logs.push_back(log);
    }
    return logs;
}

// The twin's logs of one name ("BESTPOSA"), in order.
inline std::vector<SAsciiLog> LogsNamed(const std::vector<SAsciiLog>& logs, const std::string& name) {
    std::vector<SAsciiLog> named;
    for (const SAsciiLog& log : logs) {
        if (log.name == name) named.push_back(log);
    }
    return named;
}

// Every binary frame with a good CRC in a recording, in stream order.
inline std::vector<ByteVector> BinaryFramesOf(const std::string& path) {
    Novatel::CNovatelBinarySentenceConstructor framer;
    std::string bytes = TestSupport::ReadWholeFile(path);
    return FramingTest::Feed(framer, ByteVector(bytes.begin(), bytes.end())).sentences;
}

// The frames of one message ID, in order (responses excluded).
inline std::vector<ByteVector> FramesWithId(const std::vector<ByteVector>& frames, unsigned messageId) {
    std::vector<ByteVector> matching;
    for (const ByteVector& frame : frames) {
        if (frame.size() >= 28 && (frame[4] | (frame[5] << 8)) == static_cast<int>(messageId) &&
            (frame[6] & 0x80) == 0) {
            matching.push_back(frame);
        }
    }
    return matching;
}

}  // namespace LogsTest

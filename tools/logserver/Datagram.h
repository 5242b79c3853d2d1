#pragma once
// One datagram as the log server understands it: checked against the format of
// docs/datagrams.md and taken apart, or refused with the reason.

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace LogServer {

// A checked datagram. Only the fields of its kind are meaningful.
struct SDatagram {
    nlohmann::json json;  // the whole object as received
    std::string client;
    std::string type;  // "value", "line", "event", "raw", "alarm" or "condition"
    double time = 0.0;

    std::string key;     // value
    std::string text;    // value: its text; line: the line
    int64_t level = 0;   // line
    std::string name;    // event, raw, condition
    int64_t number = 0;  // condition: its value
    // raw
    uint64_t offset = 0;
    uint64_t total = 0;
    std::string bytes;  // the piece's bytes, decoded
    // alarm
    bool raise = false;
    int64_t code = 0;
    int64_t index = 0;
    int64_t argument = 0;
};

// Checks and takes apart the bytes of one datagram. False, with a short
// reason in error, for anything that is not a datagram of a known kind with
// every field of that kind present and of the right type (other fields are
// ignored). A raw piece must lie inside its block, and the block be at most
// maxRawBlock bytes.
bool ParseDatagram(const std::string& payload, uint64_t maxRawBlock, SDatagram& datagram,
                   std::string& error);

// Decodes base64 (standard alphabet, "=" padding, no line breaks). False for
// any other character, a wrong length or misplaced padding.
bool DecodeBase64(const std::string& text, std::string& bytes);

}  // namespace LogServer

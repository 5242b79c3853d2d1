#include "tools/logserver/Datagram.h"

#include <cmath>

namespace LogServer {

namespace {

using Json = nlohmann::json;

// The value of the 6-bit group a base64 character stands for, or -1.
int Base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

// Field readers: each fills the value and returns true, or sets the reason.
bool GetString(const Json& object, const char* field, std::string& value, std::string& error) {
    auto found = object.find(field);
    if (found == object.end() || !found->is_string()) {
        error = std::string("field \"") + field + "\" missing or not a string";
        return false;
    }
    value = found->get<std::string>();
    return true;
}

bool GetInteger(const Json& object, const char* field, int64_t& value, std::string& error) {
    auto found = object.find(field);
    if (found == object.end() || !found->is_number_integer()) {
        error = std::string("field \"") + field + "\" missing or not an integer";
        return false;
    }
    if (found->is_number_unsigned() && found->get<uint64_t>() > static_cast<uint64_t>(INT64_MAX)) {
        error = std::string("field \"") + field + "\" out of range";
        return false;
    }
    value = found->get<int64_t>();
    return true;
}

bool GetCount(const Json& object, const char* field, uint64_t& value, std::string& error) {
    int64_t signedValue = 0;
    if (!GetInteger(object, field, signedValue, error)) return false;
    if (signedValue < 0) {
        error = std::string("field \"") + field + "\" is negative";
        return false;
    }
    value = static_cast<uint64_t>(signedValue);
    return true;
}

bool ParseRaw(const Json& object, uint64_t maxRawBlock, SDatagram& datagram, std::string& error) {
    std::string encoded;
    if (!GetString(object, "name", datagram.name, error) ||
        !GetCount(object, "offset", datagram.offset, error) ||
        !GetCount(object, "total", datagram.total, error) ||
        !GetString(object, "data", encoded, error)) {
        return false;
    }
    if (!DecodeBase64(encoded, datagram.bytes)) {
        error = "field \"data\" is not base64";
        return false;
    }
    if (datagram.total > maxRawBlock) {
        error = "raw block of " + std::to_string(datagram.total) + " bytes is larger than " +
                std::to_string(maxRawBlock);
        return false;
    }
    if (datagram.bytes.empty() || datagram.offset > datagram.total ||
        datagram.bytes.size() > datagram.total - datagram.offset) {
        error = "raw piece does not lie inside its block";
        return false;
    }
    return true;
}

bool ParseAlarm(const Json& object, SDatagram& datagram, std::string& error) {
    std::string action;
    if (!GetString(object, "action", action, error)) return false;
    if (action != "raise" && action != "clear") {
        error = "alarm action \"" + action + "\" is neither raise nor clear";
        return false;
    }
    datagram.raise = action == "raise";
    return GetInteger(object, "code", datagram.code, error) &&
           GetInteger(object, "index", datagram.index, error) &&
           GetInteger(object, "argument", datagram.argument, error);
}

}  // namespace

bool ParseDatagram(const std::string& payload, uint64_t maxRawBlock, SDatagram& datagram,
                   std::string& error) {
    datagram = SDatagram();
    // No exceptions: a parse failure gives a discarded value.
    Json object = Json::parse(payload, nullptr, false);
    if (object.is_discarded()) {
        error = "not JSON";
        return false;
    }
    if (!object.is_object()) {
        error = "not a JSON object";
        return false;
    }
    if (!GetString(object, "client", datagram.client, error) ||
        !GetString(object, "type", datagram.type, error)) {
        return false;
    }
    auto time = object.find("time");
    if (time == object.end() || !time->is_number() || !std::isfinite(time->get<double>())) {
        error = "field \"time\" missing or not a number";
        return false;
    }
    datagram.time = time->get<double>();

    const std::string& type = datagram.type;
    bool good = false;
    if (type == "value") {
        int64_t category = 0;
        int64_t index = 0;
        good = GetString(object, "key", datagram.key, error) &&
               GetString(object, "value", datagram.text, error) &&
               GetInteger(object, "category", category, error) &&
               GetInteger(object, "index", index, error);
    } else if (type == "line") {
        good = GetInteger(object, "level", datagram.level, error) &&
               GetString(object, "text", datagram.text, error);
    } else if (type == "event") {
        good = GetString(object, "name", datagram.name, error);
    } else if (type == "raw") {
        good = ParseRaw(object, maxRawBlock, datagram, error);
    } else if (type == "alarm") {
        good = ParseAlarm(object, datagram, error);
    } else if (type == "condition") {
        good = GetString(object, "name", datagram.name, error) &&
               GetInteger(object, "value", datagram.number, error);
    } else {
        error = "unknown type \"" + type + "\"";
    }
    if (good) datagram.json = std::move(object);
    return good;
}

bool DecodeBase64(const std::string& text, std::string& bytes) {
    bytes.clear();
    if (text.size() % 4 != 0) return false;
    bytes.reserve(text.size() / 4 * 3);
    for (size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        int values[4];
        int padding = 0;
        for (int j = 0; j < 4; ++j) {
            const char c = text[i + j];
            if (c == '=' && last && j >= 2) {
                values[j] = 0;
                ++padding;
                continue;
            }
            values[j] = padding > 0 ? -1 : Base64Value(c);  // nothing after padding
            if (values[j] < 0) return false;
        }
        const uint32_t group =
            (static_cast<uint32_t>(values[0]) << 18) | (static_cast<uint32_t>(values[1]) << 12) |
            (static_cast<uint32_t>(values[2]) << 6) | static_cast<uint32_t>(values[3]);
        bytes += static_cast<char>((group >> 16) & 0xFF);
        if (padding < 2) bytes += static_cast<char>((group >> 8) & 0xFF);
        if (padding < 1) bytes += static_cast<char>(group & 0xFF);
    }
    return true;
}

}  // namespace LogServer

#pragma once
// BListC lists as JSON arrays, for the message-passing layer and its tools:
// integers as JSON integers, doubles as JSON numbers that always carry a
// fraction or an exponent (2.0, 1e+21) so they read back as doubles, strings
// as strings (bytes that are not UTF-8 are replaced), nested lists as arrays,
// a null list as null.

#include <nlohmann/json.hpp>

#include "platform/MPI/BList.h"

namespace MPI {

using Json = nlohmann::ordered_json;

// The list as JSON; a double that is not finite becomes null.
Json ToJson(const BListC& list);

// A JSON array as a list: integers within the signed 32-bit range become
// integers, other numbers doubles, true and false the integers 1 and 0, null a
// null list, arrays nested lists. Throws BListC::TypeError for anything else
// (an object, an integer beyond 32 bits, a value that is not an array).
BListC FromJson(const Json& array);

// Compact JSON text of a list, safe to send as one line.
std::string ToJsonText(const BListC& list);

}  // namespace MPI

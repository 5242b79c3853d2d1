#pragma once
// Novatel::LogCast: a record as one log class, for the observers that react to a
// few logs among every record. The message ID is compared first and the dynamic
// cast, which walks the record tree's virtual bases, is made only for a record
// that carries the log's ID; the cast still decides (a command response carries
// the ID of the command it answers and is not the log).

#include <cstdint>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"

namespace Novatel {

// `record` as a `Log` when its message ID is `messageId` and it is one; else null.
template <typename Log, typename Record>
Log* LogCast(Record* record, uint16_t messageId) {
    if (record == nullptr || record->GetMessageID() != messageId) return nullptr;
    return dynamic_cast<Log*>(record);
}

}  // namespace Novatel

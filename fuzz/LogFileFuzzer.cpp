// Fuzz target: the recorded-log reader on an arbitrary file. It must deliver
// records until the end or a fault, each no larger than the format allows and
// together no larger than the file, and never read on after a fault.

#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/FuzzSupport.h"
#include "platform/LogFile/LogFileFormat.h"
#include "platform/LogFile/LogFileReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = Fuzz::ScratchPath("recorded.log");
    Fuzz::WriteFile(path, data, size);
    {
        CLogFileReader reader(path);
        FUZZ_CHECK(reader.GetFileDescriptor() >= 0);
        size_t consumed = LogFileFormat::kMarkSize;
        double timestamp = 0.0;
        std::string record;
        while (reader.GetNextBinary(timestamp, record)) {
            FUZZ_CHECK(record.size() <= LogFileFormat::kMaxRecordSize);
            consumed += LogFileFormat::kRecordHeaderSize + record.size();
            FUZZ_CHECK(consumed <= size);
        }
        // The end, once met, stays.
        FUZZ_CHECK(!reader.GetNextBinary(timestamp, record));
    }
    std::remove(path.c_str());
    return 0;
}

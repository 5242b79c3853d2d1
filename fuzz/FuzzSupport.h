#pragma once
// Helpers shared by the fuzz targets: a private scratch file for the targets
// whose code under test reads a path, and the record factory run with the
// deliberate malformed-log endings taken as an expected outcome.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NovatelLengthCheck.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Core/ByteVector.h"

#ifndef QUILLOND_FUZZ_EXPECTED_ABORT
#error \
    "fuzz targets need the QUILLOND_FUZZ_EXPECTED_ABORT build (configure with -DQUILLOND_FUZZ=ON)"
#endif

namespace Fuzz {

// A path of this process's own in a memory-backed directory when there is one
// (writes and syncs cost little there), else in $TMPDIR or /tmp. Several
// fuzzing jobs may run at once, so the process id is part of the name.
inline std::string ScratchPath(const std::string& name) {
    std::string directory = "/dev/shm";
    if (::access(directory.c_str(), W_OK) != 0) {
        const char* tmp = std::getenv("TMPDIR");
        directory = tmp && *tmp ? tmp : "/tmp";
    }
    return directory + "/quillond-fuzz-" + std::to_string(::getpid()) + "-" + name;
}

// Removes a scratch file and the lock file the configuration store keeps beside it.
inline void RemoveScratch(const std::string& path) {
    std::remove(path.c_str());
    std::remove((path + ".lock").c_str());
}

// Writes the bytes to the path, replacing the file. Aborts when it cannot:
// the target would fuzz nothing.
inline void WriteFile(const std::string& path, const uint8_t* data, size_t size) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || (size > 0 && std::fwrite(data, 1, size, file) != size) || std::fclose(file) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
}

// The factory's record for a sentence, or null when it makes none or the
// record's log ended the process in a release build (an expected outcome:
// the daemon deliberately stops on a log whose length contradicts its counts).
inline std::unique_ptr<CGPSRecord> CreateRecordOrExpectedEnding(const ByteVector& sentence,
                                                                bool* endedExpectedly = nullptr) {
    if (endedExpectedly) *endedExpectedly = false;
    try {
        return std::unique_ptr<CGPSRecord>(CreateRecord(sentence));
    } catch (const Novatel::CMalformedLogEnding&) {
        if (endedExpectedly) *endedExpectedly = true;
        return nullptr;
    }
}

// Ends the run with a report when a property of the code under test fails.
#define FUZZ_CHECK(condition)                                                                     \
    do {                                                                                          \
        if (!(condition)) {                                                                       \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                         \
        }                                                                                         \
    } while (0)

}  // namespace Fuzz

#pragma once
// The length checks of binary logs that end the process. A log whose frame
// length does not match the counts it carries is taken as a broken link to
// the receiver, and the daemon stops with an assertion-style line on standard
// error:
//   <source path>:<line>: <function>: Assertion `<condition>' failed.
// The source path is relative to the repository root, whatever directory the
// build ran in. Unlike assert, the check holds in every build (NDEBUG or not).
//
// The caller states the condition twice: as the value to test, computed so that
// no count in the frame can make it wrap, and as the text to report.
//
// Fuzz builds (QUILLOND_FUZZ_EXPECTED_ABORT defined) print the same text but
// throw CMalformedLogEnding instead of ending the process, so that a fuzz
// target can tell these deliberate endings from real faults. Other builds never
// define the switch and end exactly as described above.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#ifdef QUILLOND_FUZZ_EXPECTED_ABORT
#include <stdexcept>
#include <string>
#endif

namespace Novatel {

#ifdef QUILLOND_FUZZ_EXPECTED_ABORT
// Thrown, in fuzz builds only, where a malformed log would end the process.
class CMalformedLogEnding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
#endif

// The part of a __FILE__ path below the repository root. The root is taken
// from this header's own path, which the compiler names the same way as the
// sources it builds; a path outside the root comes back whole.
inline const char* RepositoryRelativePath(const char* file) {
    static const char kThisHeader[] = "Logs/NovatelOEMV/NovatelLengthCheck.h";
    const size_t headerLength = sizeof kThisHeader - 1;
    const char* self = __FILE__;
    const size_t selfLength = std::strlen(self);
    if (selfLength < headerLength ||
        std::strcmp(self + selfLength - headerLength, kThisHeader) != 0) {
        return file;
    }
    const size_t rootLength = selfLength - headerLength;
    return std::strncmp(file, self, rootLength) == 0 ? file + rootLength : file;
}

// Writes the assertion line for a failed length check and aborts.
[[noreturn]] inline void LengthCheckFailed(const char* file, int line, const char* function,
                                           const char* condition) {
    std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", RepositoryRelativePath(file), line,
                 function, condition);
    std::fflush(stderr);
#ifdef QUILLOND_FUZZ_EXPECTED_ABORT
    throw CMalformedLogEnding(condition);
#else
    std::abort();
#endif
}

// Ends the process with the given exit status after a malformed log that is
// reported by a printed line rather than an assertion.
[[noreturn]] inline void MalformedLogExit(int status) {
#ifdef QUILLOND_FUZZ_EXPECTED_ABORT
    std::fflush(stdout);
    throw CMalformedLogEnding("exit status " + std::to_string(status));
#else
    std::exit(status);
#endif
}

}  // namespace Novatel

// Ends the process unless `holds` is true, naming this source line, the
// function text and the condition text given.
#define NOVATEL_CHECK_LENGTH(holds, condition, function) \
    ((holds) ? static_cast<void>(0)                      \
             : ::Novatel::LengthCheckFailed(__FILE__, __LINE__, (function), (condition)))

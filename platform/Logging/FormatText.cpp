#include "platform/Logging/FormatText.h"

#include <cstdio>
#include <vector>

namespace Logging {

std::string FormatText(const char* format, va_list args) {
    // Measure with a copy of the arguments, then print with the originals
    // into a buffer of the right size.
    va_list measureArgs;
    va_copy(measureArgs, args);
    // The analyzer takes a va_list parameter for uninitialised; it is the caller's, started.
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
    const int length = std::vsnprintf(nullptr, 0, format, measureArgs);
    va_end(measureArgs);
    if (length <= 0) return std::string();

    std::vector<char> buffer(static_cast<size_t>(length) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    return std::string(buffer.data(), static_cast<size_t>(length));
}

}  // namespace Logging

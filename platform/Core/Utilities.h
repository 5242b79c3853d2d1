#pragma once
// Small text helpers shared by the daemon and its tools.

#include <cstdint>
#include <string>
#include <vector>

namespace Core {
namespace Utilities {

// Splits text at every delimiter; empty fields are kept, so "a,,b" gives
// three fields and "" gives one empty field.
std::vector<std::string> SplitString(const std::string& text, char delimiter);

// Reads a whole decimal number (optional sign, blanks around it allowed) that
// fits in 32 bits. Returns false, leaving value alone, for anything else.
bool ParseInt(const std::string& text, int32_t& value);

std::string StringToUpper(const std::string& text);

// Text without leading and trailing blanks (space, tab, CR, LF, FF, VT).
std::string trim(const std::string& text);

}  // namespace Utilities
}  // namespace Core
